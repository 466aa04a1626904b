// SPDX-License-Identifier: Apache-2.0
//
// follower.cpp: one function a notice. Handlers ask the service, and what a service that is gone
// does not answer would be kept as 0: so an interface about which a request failed is taken out of
// the cache, and asked for when somebody wants to know.
#include "follower.h"

#include <cstdint>

#include "ht.h"
#include "if_index.h"
#include "varn.h"

namespace shell
{
namespace
{

using u32 = std::uint32_t;

constexpr u32 flush_crit = 2;

bool leaves_open(u32 code)
{
    return code == VARN_DEVICE_E_NO_SERVICE || code == VARN_DEVICE_E_TIMEOUT ||
           code == VARN_DEVICE_E_BAD_ANSWER;
}

// Watches over the requests of one handler.
class guard
{
public:
    explicit guard(u32 iod, u32 if_index = 0) : iod_(iod), if_index_(if_index)
    {
        varn_device_clear_error();
    }
    guard(const guard &) = delete;
    guard &operator=(const guard &) = delete;

    ~guard()
    {
        if (!leaves_open(varn_device_last_error()))
            return;
        varn_if_remove_entry_by_iod(iod_);
        varn_if_remove_entry_by_if(if_index_);
    }

private:
    u32 iod_, if_index_;
};

varn_if_entry_t *entry_of_if(u32 if_index)
{
    return static_cast<varn_if_entry_t *>(ht_lookup(&varn.if_table, &if_index));
}

// ---- What the cache has handlers for

void physical_state(uintptr_t, const varn_phy_update *record)
{
    const guard watch(record->iod, record->if_index);
    varn_update_phy_state(record);
}

void l2_state(uintptr_t, const varn_l2_update *record)
{
    const guard watch(record->iod, record->if_index);
    varn_update_l2_state(record);
}

void l3_state(uintptr_t, varn_l3_update *record)
{
    const guard watch(record->iod, record->if_index);
    varn_update_l3_state(record);
}

void l2_bundle_state(uintptr_t, const varn_l2_update *record)
{
    const guard watch(record->iod, record->if_index);
    varn_update_l2_bundle_state(record);
}

void l3_bundle_state(uintptr_t, const varn_l3_update *record)
{
    const guard watch(record->iod, record->if_index);
    varn_update_l3_bundle_state(record);
}

void l3_parameters(uintptr_t, const varn_l3_param_update *record, const bitset_t *changed)
{
    const guard watch(record->iod);
    varn_update_l3_param(record, changed);
}

void switchport(uintptr_t, u32 iod)
{
    const guard watch(iod);
    varn_update_switchport(static_cast<std::int32_t>(iod));
}

void vlan(uintptr_t, u32 iod)
{
    const guard watch(iod);
    varn_update_vlan(static_cast<std::int32_t>(iod));
}

void router_mac(uintptr_t, const varn_mac_update *record)
{
    const guard watch(0, record->if_index);
    varn_update_router_mac(record);
}

// The if-index in the record is big-endian; an interface in doubt is found by the other notices.
void first_member(uintptr_t, const varn_fop_update *record)
{
    const auto *byte = reinterpret_cast<const std::uint8_t *>(&record->pc_ifindex);
    const guard watch(0, u32{byte[0]} << 24 | u32{byte[1]} << 16 | u32{byte[2]} << 8 | byte[3]);
    varn_update_aggsvc_fop(record);
}

// ---- Recipes

void linkup(uintptr_t, u32 if_index, u32 iod)
{
    if (entry_of_if(if_index) != nullptr)
        varn_update_is_linkup_dirty_bit(static_cast<std::int32_t>(iod), 0, 1);
}

void extension_removed(uintptr_t, u32, u32 iod, u32 key)
{
    if (key == varn.config.uuid)
        varn_remove_extension0(static_cast<std::int32_t>(iod));
}

// What a query would not set right again by itself: the parent of a VLAN sub-interface, which only a
// refresh that finds the VLAN dirty asks for, and the size of private data, which only a decoder is
// told.
bool needs_refresh(const varn_if_entry_t &entry)
{
    const bool keeps_parent = entry.aggsvc_if != 0 && entry.if_type != IF_INDEX_TYPE_PC;
    return keeps_parent || varn.config.extn_decode[0] != nullptr;
}

void changed(uintptr_t, u32 if_index, u32 iod)
{
    varn_if_entry_t *entry = entry_of_if(if_index);
    if (entry == nullptr)
        return;
    const guard watch(iod, if_index);
    varn_flush_if_entry(entry, flush_crit);
    if (needs_refresh(*entry))
        varn_if_update_entry(entry, 0);
}

void removed(uintptr_t, u32 if_index, u32)
{
    varn_if_remove_entry_by_if(if_index);
    varn_pc_remove_entry_by_if_index(if_index);
}

void members(uintptr_t, u32 pc_ifindex)
{
    if (varn_pc_create_entry(pc_ifindex, 0) != nullptr)
        varn_pc_invalidate(pc_ifindex);
}

void vlan_changed(uintptr_t, u32 number)
{
    varn_vlan_update_vlan(static_cast<std::uint16_t>(number));
}

void vlan_deleted(uintptr_t, u32 number)
{
    varn_vlan_remove_entry_by_vlan(static_cast<int>(number));
}

void lost(uintptr_t, const char *) { forget_everything(); }

// A walk survives the removal of the entry that it gave last.
template <typename Entry, typename Forget>
void forget_table(ht_t &table, Forget forget)
{
    ht_iterator_t walk;
    ht_iterator_init(&walk, &table, 0, table.num_buckets);
    while (void *entry = ht_iterator_next(&walk))
        forget(static_cast<Entry *>(entry));
}

} // namespace

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

varn_device_notices_t follower_notices()
{
    varn_device_notices_t callbacks{};
    callbacks.physical_state = physical_state;
    callbacks.l2_state = l2_state;
    callbacks.l3_state = l3_state;
    callbacks.l2_bundle_state = l2_bundle_state;
    callbacks.l3_bundle_state = l3_bundle_state;
    callbacks.l3_parameters = l3_parameters;
    callbacks.switchport = switchport;
    callbacks.vlan = vlan;
    callbacks.router_mac = router_mac;
    callbacks.first_member = first_member;
    callbacks.linkup = linkup;
    callbacks.extension_removed = extension_removed;
    callbacks.changed = changed;
    callbacks.removed = removed;
    callbacks.members = members;
    callbacks.vlan_changed = vlan_changed;
    callbacks.vlan_deleted = vlan_deleted;
    callbacks.lost = lost;
    return callbacks;
}

} // namespace shell
