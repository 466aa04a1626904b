// SPDX-License-Identifier: Apache-2.0
//
// records.cpp: one function a kind of record, one row a kind of notice. The records are the
// services' own messages, which the cache declares; nothing else of it is known here.
#include "records.h"

#include <cstring>
#include <iterator>

#include "routing-sw/libs/varn/varn.h"

namespace client
{
namespace
{

using wire::notice;
using callbacks = varn_device_notices_t;

// The words of a first-member record are big-endian on every host.
std::uint32_t in_network_order(std::uint32_t value)
{
    const std::uint8_t bytes[4] = {
        static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
        static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    std::uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

varn_l2_update_t l2_record(const notice &told)
{
    varn_l2_update_t record{};
    record.if_index = told.if_index;
    record.iod = told.iod;
    record.vlan_present = told.vlan != 0;
    record.flags = told.vlan != 0 ? VARN_L2_VLAN_A : 0;
    std::memcpy(record.mac, told.mac.data(), sizeof record.mac);
    record.state = told.state;
    record.mtu = told.mtu;
    record.vlan_a = told.vlan;
    return record;
}

varn_l3_update_t l3_record(const notice &told)
{
    varn_l3_update_t record{};
    record.if_index = told.if_index;
    record.iod = told.iod;
    record.state = told.state;
    record.mtu = told.mtu;
    return record;
}

void physical_state(const notice &told, const callbacks &to)
{
    varn_phy_update_t record{};
    record.if_index = told.if_index;
    record.iod = told.iod;
    record.state = told.state;
    to.physical_state(to.arg, &record);
}

template <auto callback>
void l2(const notice &told, const callbacks &to)
{
    const varn_l2_update_t record = l2_record(told);
    (to.*callback)(to.arg, &record);
}

template <auto callback>
void l3(const notice &told, const callbacks &to)
{
    varn_l3_update_t record = l3_record(told);
    (to.*callback)(to.arg, &record);
}

void l3_parameters(const notice &told, const callbacks &to)
{
    varn_l3_param_update_t record{};
    record.iod = told.iod;
    const bitset_t changed = {{static_cast<std::uint32_t>(told.parameters),
                               static_cast<std::uint32_t>(told.parameters >> 32)}};
    to.l3_parameters(to.arg, &record, &changed);
}

void router_mac(const notice &told, const callbacks &to)
{
    varn_mac_update_t record{};
    record.if_index = told.if_index;
    std::memcpy(record.mac, told.mac.data(), sizeof record.mac);
    to.router_mac(to.arg, &record);
}

void first_member(const notice &told, const callbacks &to)
{
    varn_fop_update_t record{};
    record.pc_ifindex = in_network_order(told.if_index);
    record.old_member = in_network_order(told.old_member);
    record.new_member = in_network_order(told.new_member);
    to.first_member(to.arg, &record);
}

template <auto callback>
void by_iod(const notice &told, const callbacks &to)
{
    (to.*callback)(to.arg, told.iod);
}

template <auto callback>
void by_interface(const notice &told, const callbacks &to)
{
    (to.*callback)(to.arg, told.if_index, told.iod);
}

template <auto callback>
void by_vlan(const notice &told, const callbacks &to)
{
    (to.*callback)(to.arg, told.vlan);
}

void extension_removed(const notice &told, const callbacks &to)
{
    to.extension_removed(to.arg, told.if_index, told.iod, told.key);
}

void members(const notice &told, const callbacks &to) { to.members(to.arg, told.if_index); }

template <auto callback>
bool wants(const callbacks &to)
{
    return to.*callback != nullptr;
}

struct row {
    wire::notice_kind kind;
    bool (*wanted)(const callbacks &to);
    void (*hand_over)(const notice &told, const callbacks &to);
};

using kind = wire::notice_kind;
using c = callbacks;

// clang-format off
constexpr row rows[] = {
    { kind::removed,           wants<&c::removed>,           by_interface<&c::removed> },
    { kind::vlan_deleted,      wants<&c::vlan_deleted>,      by_vlan<&c::vlan_deleted> },
    { kind::added,             wants<&c::added>,             by_interface<&c::added> },
    { kind::physical_state,    wants<&c::physical_state>,    physical_state },
    { kind::l2_state,          wants<&c::l2_state>,          l2<&c::l2_state> },
    { kind::l3_state,          wants<&c::l3_state>,          l3<&c::l3_state> },
    { kind::l2_bundle_state,   wants<&c::l2_bundle_state>,   l2<&c::l2_bundle_state> },
    { kind::l3_bundle_state,   wants<&c::l3_bundle_state>,   l3<&c::l3_bundle_state> },
    { kind::l3_parameters,     wants<&c::l3_parameters>,     l3_parameters },
    { kind::switchport,        wants<&c::switchport>,        by_iod<&c::switchport> },
    { kind::router_mac,        wants<&c::router_mac>,        router_mac },
    { kind::first_member,      wants<&c::first_member>,      first_member },
    { kind::linkup,            wants<&c::linkup>,            by_interface<&c::linkup> },
    { kind::extension_removed, wants<&c::extension_removed>, extension_removed },
    { kind::changed,           wants<&c::changed>,           by_interface<&c::changed> },
    { kind::vlan,              wants<&c::vlan>,              by_iod<&c::vlan> },
    { kind::members,           wants<&c::members>,           members },
    { kind::vlan_changed,      wants<&c::vlan_changed>,      by_vlan<&c::vlan_changed> },
};
// clang-format on

// All kinds but `lost`, which comes with its reason.
static_assert(std::size(rows) == wire::num_notice_kinds - 1);

// The one number beside the interface: the port-channel or the VLAN that a notice is about alone.
std::uint32_t number_of(const notice &told)
{
    if (told.iod != 0)
        return 0;
    return told.if_index != 0 ? told.if_index : told.vlan;
}

} // namespace

void deliver(const notice &told, std::uint64_t sequence, const char *why, const callbacks &to)
{
    const bool is_about_one = told.iod != 0;
    if (to.any != nullptr)
        to.any(to.arg, wire::notice_names[static_cast<std::size_t>(told.kind)], sequence,
               is_about_one ? told.if_index : 0, told.iod, number_of(told));
    if (told.kind == kind::lost) {
        if (to.lost != nullptr)
            to.lost(to.arg, why);
        return;
    }
    for (const row &candidate : rows)
        if (candidate.kind == told.kind && candidate.wanted(to))
            candidate.hand_over(told, to);
}

} // namespace client
