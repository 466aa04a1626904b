// SPDX-License-Identifier: Apache-2.0
//
// device.cpp: the state of the device, and the queue of its changes. Two rules hold it together:
// what changes an answer notes a change, and nothing else does; and the lowest free iod goes to the
// next interface, which may so have the iod and the if-index of one that is gone. The removal was
// noted before, and clients hear of it first.
#include "device.h"

#include <algorithm>
#include <deque>

#include "if_index.h"
#include "supvr.h"

namespace minimal
{
namespace
{

constexpr u32 most_iods = 32767;
constexpr std::size_t most_changes = 256;

std::map<u32, interface> interfaces; // by iod
std::map<u32, vlan> vlans;
std::deque<change> changes; // the oldest first
bool is_silent;
u32 unanswered;

// A client that does not listen loses the queue as a whole, and is told so.
void enqueue(const change &noted)
{
    if (changes.size() == most_changes)
        changes.assign(1, change{lost, 0, 0, 0, 0});
    changes.push_back(noted);
}

bool answers()
{
    unanswered += is_silent ? 1 : 0;
    return !is_silent;
}

template <class values, class condition>
auto *find_where(values &in, condition holds)
{
    const auto at = std::ranges::find_if(in, [&](auto &each) { return holds(each.second); });
    return at == in.end() ? nullptr : &at->second;
}

// A port that goes, or leaves, is nobody's member any more.
void leave(const interface &port)
{
    const u32 gone = port.values[if_index];
    for (auto &[number, pc] : interfaces) {
        if (pc.values[first_member] == gone)
            set(pc, first_member, 0);
        for (u32 rbh = 0; rbh < pc.buckets.size(); ++rbh)
            if (pc.buckets[rbh] == gone)
                set_bucket(pc, rbh, 0);
    }
}

} // namespace

// ---- Reading

const interface *find(what by, u32 value)
{
    return !answers() || value == none
               ? nullptr
               : find_where(interfaces, [=](auto &each) { return each.values[by] == value; });
}

const vlan *find_vlan(u32 number)
{
    return !answers() || !vlans.contains(number) ? nullptr : &vlans[number];
}

const vlan *find_bridge_domain(u32 bd)
{
    return answers() ? find_where(vlans, [=](const vlan &each) { return each.bd == bd; }) : nullptr;
}

u32 num_unanswered() { return unanswered; }

// ---- Changing

interface *named(const std::string &name)
{
    return find_where(interfaces, [&](const interface &each) { return each.name == name; });
}

u32 if_index_of(const char *name)
{
    const interface *found = name == nullptr ? nullptr : named(name);
    return found == nullptr ? 0 : found->values[if_index];
}

bool add(const std::string &name, u8 of_type, u32 vlan, const char *on)
{
    u32 free = 1;
    while (interfaces.contains(free))
        ++free;
    u32 number = u32{of_type} << 24 | free;
    if (free > most_iods || named(name) != nullptr ||
        (of_type == IF_INDEX_TYPE_SVI &&
         if_index_vlan_port_init(&number, static_cast<u16>(vlan), supvr_vinst_get()) != 0))
        return false;
    interface &made = interfaces[free];
    made.name = name;
    made.values[iod] = free;
    made.values[if_index] = number;
    made.values[type] = of_type;
    made.values[parent] = if_index_of(on);
    made.values[access_vlan] = vlan;
    made.values[mtu] = 1500;
    made.values[pi] = of_type == IF_INDEX_TYPE_SVI ? none : 0x1000 + free;
    made.values[lif] = 0x10000 + free;
    return true;
}

void take_away(const std::string &name)
{
    const interface *gone = named(name);
    leave(*gone);
    note(*gone, removed);
    interfaces.erase(gone->values[iod]);
}

void set(interface &of, what which, u32 to)
{
    if (which == port_channel && of.values[which] != to)
        leave(of);
    note(of, which, of.values[which], to);
    of.values[which] = to;
}

void set_bucket(interface &pc, u32 rbh, u32 member)
{
    pc.buckets[rbh] = member;
    note(pc, members);
}

void put_vlan(u32 number, const vlan &to)
{
    vlans[number] = to;
    enqueue({vlan_changed, 0, 0, 0, number});
}

void remove_vlan(u32 number)
{
    vlans.erase(number);
    enqueue({vlan_deleted, 0, 0, 0, number});
}

void be_silent(bool is) { is_silent = is; }

// ---- What changed

void note(const interface &of, what kind, u32 before, u32 after)
{
    enqueue({kind, of.values[if_index], of.values[iod], before, after});
}

bool next_change(change &taken)
{
    if (changes.empty())
        return false;
    taken = changes.front();
    changes.pop_front();
    return true;
}

} // namespace minimal
