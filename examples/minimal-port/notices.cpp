// SPDX-License-Identifier: Apache-2.0
//
// notices.cpp: how a client of this device keeps its cache true: each change goes to the handler
// that the cache has for it, and what has none marks the interface's entry as not to be trusted. All
// on the thread that asks the cache, and never from within a request.
//
// It asks of the configuration that crit is sync without VARN_BIT_IOD.
#include <arpa/inet.h>

#include <cstring>

#include "device.h"
#include "varn.h"

namespace minimal
{
namespace
{

constexpr u32 flush_crit = 2;

template <class entry, class forgetter>
void forget_table(ht_t &table, forgetter forget)
{
    ht_iterator_t walk;
    ht_iterator_init(&walk, &table, 0, table.num_buckets);
    while (void *each = ht_iterator_next(&walk)) // the record given last may be removed
        forget(static_cast<entry *>(each));
}

void forget_everything()
{
    forget_table<varn_if_entry_t>(varn.if_table, varn_if_destroy_entry);
    forget_table<varn_pc_entry_t>(varn.pc_table, [](const varn_pc_entry_t *entry) {
        varn_pc_remove_entry_by_if_index(entry->pc_ifindex);
    });
    forget_table<varn_vlan_entry_t>(varn.vlan_table, [](const varn_vlan_entry_t *entry) {
        varn_vlan_remove_entry_by_vlan(entry->vlan);
    });
}

// What has no handler. Only where there is an entry: a flush by a key would create one.
void take_other(const change &told, varn_if_entry_t *entry)
{
    if (told.kind == vlan_changed)
        varn_vlan_update_vlan(static_cast<u16>(told.after));
    else if (told.kind == vlan_deleted)
        varn_vlan_remove_entry_by_vlan(static_cast<int>(told.after));
    else if (entry != nullptr) {
        varn_flush_if_entry(entry, flush_crit);
        varn_if_update_entry(entry, 0);
    }
}

void take_mtu(const change &told)
{
    const varn_l3_param_update_t record{0, told.iod};
    bitset_t changed{};
    changed.word[VARN_L3_PARAM_MTU / 32] = 1u << VARN_L3_PARAM_MTU % 32;
    varn_update_l3_param(&record, &changed);
}

void take_mac(const change &told)
{
    varn_mac_update_t record{};
    record.if_index = told.if_index;
    std::memcpy(record.mac, varn_get_if_src_mac_addr(told.iod), sizeof record.mac);
    varn_update_router_mac(&record);
}

// The one record whose words are big-endian.
void take_first_member(const change &told)
{
    const varn_fop_update_t record{htonl(told.if_index), 0, htonl(told.before), htonl(told.after)};
    varn_update_aggsvc_fop(&record);
}

void take(const change &told)
{
    auto *entry = static_cast<varn_if_entry_t *>(ht_lookup(&varn.if_table, &told.if_index));
    const auto iod = static_cast<std::int32_t>(told.iod);
    switch (told.kind) {
    case linkup:
        if (entry != nullptr)
            varn_update_is_linkup_dirty_bit(iod, 0, 1);
        break;
    case mtu:
        take_mtu(told);
        break;
    case mac_address:
        take_mac(told);
        break;
    case switchport: // what is no switchport any more has no VLAN any more
    case access_vlan:
    case port_mode:
        varn_update_switchport(iod);
        varn_update_vlan(iod);
        break;
    case first_member:
        take_first_member(told);
        break;
    case members:
        if (varn_pc_create_entry(told.if_index, 0) != nullptr)
            varn_pc_invalidate(told.if_index);
        break;
    case removed:
        varn_if_remove_entry_by_if(told.if_index);
        varn_pc_remove_entry_by_if_index(told.if_index);
        break;
    case lost:
        forget_everything();
        break;
    default:
        take_other(told, entry);
    }
}

// A handler asked, nobody answered, and a 0 may have been kept: who wants to know asks again.
void forget_interface_of(const change &told)
{
    varn_if_remove_entry_by_iod(told.iod);
    varn_if_remove_entry_by_if(told.if_index);
}

} // namespace

// While the cache is off its handlers do nothing: the changes wait until it is on again.
void dispatch()
{
    change told{};
    while (varn_is_enabled() != 0 && next_change(told)) {
        const u32 before = num_unanswered();
        take(told);
        if (num_unanswered() != before)
            forget_interface_of(told);
    }
}

} // namespace minimal
