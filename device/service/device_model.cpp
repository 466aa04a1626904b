// SPDX-License-Identifier: Apache-2.0
//
// device_model.cpp: identities, families, and what is noted until the next settle().
//
// Invariants: by_iod_ owns every interface, and each of the four other indexes has exactly one entry
// for each interface that has that number, leading back to it; members_ and children_ hold an
// interface exactly under the master and the parent that its facts name, whether those exist or not.
#include "device_model.h"

#include "device/runtime/if_index_types.h"
#include "if_index.h"
#include "wire.h"

namespace device
{
namespace
{

// Lifs and port indexes are numbers of their own; the offsets make a mix-up with an iod visible.
constexpr u32 first_lif = 0x00100000;
constexpr u32 first_port_index = 0x00010000;

bool is_same_interface(const link_facts &known, const link_facts &told)
{
    return known.type == told.type && known.vlan == told.vlan && known.ordinal == told.ordinal;
}

// What the answers of members and children are made of.
bool concerns_others(const link_facts &before, const link_facts &after)
{
    return before.masters != after.masters || before.filters_vlans != after.filters_vlans ||
           before.table != after.table;
}

} // namespace

bool interface::is_vlan() const
{
    return type == IF_INDEX_TYPE_SVI || type == IF_INDEX_TYPE_VLAN_SUBIF;
}

bool device_model::put(const link_facts &facts)
{
    const interface *known = find_key(facts.key);
    if (known == nullptr || !is_same_interface(*known, facts)) {
        remove(facts.key); // what its if-index is made of has changed: another interface
        return admit(facts);
    }
    interface &entry = by_iod_.at(known->iod);
    if (static_cast<const link_facts &>(entry) == facts)
        return true;
    if (concerns_others(entry, facts))
        touch_dependents(facts.key);
    leave(entry);
    static_cast<link_facts &>(entry) = facts;
    join(entry);
    return true;
}

bool device_model::admit(const link_facts &facts)
{
    const u32 if_index = make_if_index(facts);
    if (if_index == 0 || by_if_index_.contains(if_index))
        return false;
    const u32 iod = iods_.next();
    if (iod == 0)
        return false;

    interface &added = by_iod_[iod];
    static_cast<link_facts &>(added) = facts;
    added.iod = iod;
    added.if_index = if_index;
    added.lif = first_lif + iod;
    by_key_[facts.key] = iod;
    by_if_index_[if_index] = iod;
    by_lif_[added.lif] = iod;
    if (facts.type != IF_INDEX_TYPE_SVI) {
        added.port_index = first_port_index + iod;
        by_port_index_[added.port_index] = iod;
    }
    join(added);
    touch_dependents(facts.key);
    return true;
}

void device_model::remove(u32 key)
{
    const interface *gone = find_key(key);
    if (gone == nullptr)
        return;
    const u32 iod = gone->iod;
    leave(*gone);
    touch_dependents(key);
    touched_.erase(iod);
    attached_.erase(iod);
    if (gone->announced)
        note_removal(*gone);
    by_key_.erase(key);
    by_if_index_.erase(gone->if_index);
    by_lif_.erase(gone->lif);
    by_port_index_.erase(gone->port_index);
    by_iod_.erase(iod);
    iods_.give_back(iod);
}

// A port that goes with its link up loses the link first.
void device_model::note_removal(const interface &gone)
{
    wire::notice made;
    made.if_index = gone.if_index;
    made.iod = gone.iod;
    if (gone.type == IF_INDEX_TYPE_PHYSICAL && gone.now.linkup) {
        made.kind = wire::notice_kind::physical_state;
        made.state = wire::physical_gone;
        gone_.push_back(made);
        made.state = 0;
    }
    made.kind = wire::notice_kind::removed;
    gone_.push_back(made);
}

// ---- Families

void device_model::join(const interface &entry)
{
    if (entry.master_key != 0)
        members_[entry.master_key].insert(entry.iod);
    if (entry.parent_key != 0)
        children_[entry.parent_key].insert(entry.iod);
    touch_around(entry);
}

void device_model::leave(const interface &entry)
{
    touch_around(entry);
    const auto drop = [&](families &from, u32 key) {
        const auto at = from.find(key);
        if (at != from.end() && at->second.erase(entry.iod) != 0 && at->second.empty())
            from.erase(at);
    };
    drop(members_, entry.master_key);
    drop(children_, entry.parent_key);
}

const std::set<u32> &device_model::members_of(u32 key) const
{
    static const std::set<u32> none;
    const auto at = members_.find(key);
    return at == members_.end() ? none : at->second;
}

// The interface and the bundle that is made of it.
void device_model::touch_around(const interface &entry)
{
    touch(entry.iod);
    const interface *master = find_key(entry.master_key);
    if (master != nullptr && master->masters == mastery::port_channel)
        touch(master->iod);
}

void device_model::touch_dependents(u32 key)
{
    for (const u32 iod : members_of(key))
        touch(iod);
    const auto at = children_.find(key);
    if (at != children_.end())
        touched_.insert(at->second.begin(), at->second.end());
}

void device_model::set_bridge_vlans(const std::map<u32, port_vlans> &ports)
{
    for (auto &[iod, known] : by_iod_) {
        const auto told = ports.find(known.key);
        const port_vlans vlans = told == ports.end() ? port_vlans{} : told->second;
        if (vlans != known.bridge_vlans)
            touch(iod);
        known.bridge_vlans = vlans;
    }
}

void device_model::attach(u32 iod, u32 key, attachment what)
{
    auto &held = by_iod_.at(iod).attachments;
    const auto at = held.find(key);
    const bool takes_away = what == attachment{};
    if (at == held.end() ? takes_away : at->second == what)
        return;
    attached_keys &noted = attached_[iod];
    if (takes_away) {
        held.erase(at);
        noted.removed.insert(key);
    } else {
        held[key] = std::move(what);
        noted.removed.erase(key);
        noted.changed = true;
    }
}

// The if-index of a VLAN's interface follows from the VLAN; all others are counted, type by type,
// unless their source numbers them.
u32 device_model::make_if_index(const link_facts &facts)
{
    u32 if_index = 0;
    if (facts.type == IF_INDEX_TYPE_SVI)
        return if_index_vlan_port_init(&if_index, facts.vlan, wire::vinst) == 0 ? if_index : 0;
    if (facts.ordinal != 0)
        return if_index_build(facts.type, facts.ordinal, &if_index) == 0 ? if_index : 0;
    u32 &last = last_ordinal_[facts.type];
    do {
        last = last < IF_INDEX_ORDINAL_MAX ? last + 1 : 1;
        if (if_index_build(facts.type, last, &if_index) != 0)
            return 0;
    } while (by_if_index_.contains(if_index));
    return if_index;
}

// ---- Finding

const interface *device_model::find_iod(u32 iod) const
{
    const auto at = by_iod_.find(iod);
    return at == by_iod_.end() ? nullptr : &at->second;
}

const interface *device_model::find(const index &from, u32 key) const
{
    const auto at = from.find(key);
    return at == from.end() ? nullptr : find_iod(at->second);
}

const interface *device_model::find_if_index(u32 if_index) const
{
    return find(by_if_index_, if_index);
}

const interface *device_model::find_lif(u32 lif) const { return find(by_lif_, lif); }

const interface *device_model::find_port_index(u32 port_index) const
{
    return find(by_port_index_, port_index);
}

const interface *device_model::find_key(u32 key) const { return find(by_key_, key); }

} // namespace device
