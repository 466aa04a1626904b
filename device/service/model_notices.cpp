// SPDX-License-Identifier: Apache-2.0
//
// model_notices.cpp: settle(). What was touched is worked out anew, compared with what was answered
// so far, and the difference goes through the table of notices.
#include <utility>

#include "answers.h"
#include "device/runtime/if_index_types.h"
#include "device_model.h"
#include "if_index.h"
#include "notice_table.h"

namespace device
{
namespace
{

using wire::notice;
using wire::notice_kind;

constexpr u64 l3_mtu = u64{1} << 12; // the number of the parameter that an MTU is

u8 role_of(const interface &entry)
{
    const u8 what = entry.type == IF_INDEX_TYPE_PHYSICAL ? physical
                    : entry.type == IF_INDEX_TYPE_PC     ? bundle
                                                         : other;
    return what | (entry.now.switchport ? switched : routed);
}

u8 l3_bundle_state(const attributes &now)
{
    return now.protoup ? wire::l3_up : now.linkup ? wire::l3_link_up : wire::l3_down;
}

u8 state_in(notice_kind kind, const attributes &now)
{
    switch (kind) {
    case notice_kind::physical_state:
        return now.linkup ? wire::physical_there : wire::physical_gone;
    case notice_kind::l2_state:
    case notice_kind::l2_bundle_state:
        return now.protoup ? wire::l2_up : wire::l2_down;
    case notice_kind::l3_state:
        return now.protoup ? wire::l3_up : wire::l3_down;
    case notice_kind::l3_bundle_state:
        return l3_bundle_state(now);
    default:
        return 0;
    }
}

bool carries_mtu(notice_kind kind)
{
    return kind == notice_kind::l2_state || kind == notice_kind::l2_bundle_state ||
           kind == notice_kind::l3_state || kind == notice_kind::l3_bundle_state;
}

bool is_l2(notice_kind kind)
{
    return kind == notice_kind::l2_state || kind == notice_kind::l2_bundle_state;
}

struct change {
    const interface &entry;
    attributes before;
    attribute_set what;
    std::set<u32> removed_keys; // of extensions
};

notice make(notice_kind kind, const change &of)
{
    const attributes &now = of.entry.now;
    notice made;
    made.kind = kind;
    made.if_index = of.entry.if_index;
    made.iod = of.entry.iod;
    made.state = state_in(kind, now);
    if (carries_mtu(kind))
        made.mtu = now.mtu;
    if (is_l2(kind) || kind == notice_kind::router_mac)
        made.mac = now.mac;
    if (is_l2(kind))
        made.vlan = now.vlan;
    if (kind == notice_kind::first_member) {
        made.old_member = of.before.first_member;
        made.new_member = now.first_member;
    }
    if (kind == notice_kind::l3_parameters && of.what[bit_of(attribute::mtu)])
        made.parameters = l3_mtu;
    return made;
}

// A notice about members is about port-channels: the interface itself, or those that it was and is in.
std::vector<u32> concerned_bundles(const change &of)
{
    if (of.entry.masters == mastery::port_channel)
        return {of.entry.if_index};
    std::vector<u32> bundles;
    for (const u32 if_index : {of.before.port_channel, of.entry.now.port_channel})
        if (if_index != 0)
            bundles.push_back(if_index);
    return bundles;
}

// Most kinds are one notice; these two are one for each port-channel and each key.
void add_notices(notice_kind kind, const change &of, std::vector<notice> &made)
{
    notice told = make(kind, of);
    if (kind == notice_kind::members) {
        told.iod = 0;
        for (const u32 if_index : concerned_bundles(of)) {
            told.if_index = if_index;
            made.push_back(told);
        }
    } else if (kind == notice_kind::extension_removed) {
        for (const u32 key : of.removed_keys) {
            told.key = key;
            made.push_back(told);
        }
    } else {
        made.push_back(told);
    }
}

std::vector<notice> notices_about(const change &of)
{
    std::vector<notice> made;
    const kind_set kinds = notices_of(of.what, role_of(of.entry));
    for (std::size_t n = 0; n < kinds.size(); ++n)
        if (kinds[n])
            add_notices(static_cast<notice_kind>(n), of, made);
    return made;
}

notice about_vlan(notice_kind kind, u16 vlan)
{
    notice made;
    made.kind = kind;
    made.vlan = vlan;
    return made;
}

} // namespace

void device_model::send(const notice &made)
{
    if (listener_)
        listener_(made);
}

// A new interface is announced and no more: nobody can have believed anything about it.
void device_model::publish(interface &entry)
{
    change of{entry, std::exchange(entry.now, work_out(*this, entry)), {}, {}};
    of.what = difference(of.before, entry.now);
    if (const auto noted = attached_.find(entry.iod); noted != attached_.end()) {
        of.removed_keys = noted->second.removed;
        of.what[bit_of(attribute::extension)] = noted->second.changed;
        of.what[bit_of(attribute::extension_removed)] = !of.removed_keys.empty();
    }
    if (!entry.announced) {
        entry.announced = true;
        send(make(notice_kind::added, of));
        return;
    }
    for (const notice &made : notices_about(of))
        send(made);
}

void device_model::settle()
{
    for (const notice &made : std::exchange(gone_, {}))
        send(made);
    const std::set<u16> vlans = std::exchange(changed_vlans_, {});
    for (const u16 vlan : vlans)
        if (find_vlan(vlan) == nullptr)
            send(about_vlan(notice_kind::vlan_deleted, vlan));
    for (const auto &[iod, keys] : attached_)
        touch(iod);
    for (const u32 iod : std::exchange(touched_, {}))
        if (const auto at = by_iod_.find(iod); at != by_iod_.end())
            publish(at->second);
    attached_.clear();
    for (const u16 vlan : vlans)
        if (find_vlan(vlan) != nullptr)
            send(about_vlan(notice_kind::vlan_changed, vlan));
}

} // namespace device
