// SPDX-License-Identifier: Apache-2.0
//
// Notifications of single attributes. None of these handlers creates or removes an entry: an
// interface without one is filled on its first query. They differ on purpose in what they count, in
// whether they look at sync, and in whether they clean a dirty bit.
#include <cstring>

#include "fetches.h"
#include "ifsvc.h"
#include "index.h"
#include "messages.h"
#include "misuse.h"
#include "scalars.h"
#include "state_changes.h"

using namespace ifcache;

namespace
{

constexpr uint8_t bundle_up = 1;
constexpr uint8_t bundle_link_up = 16;

u32 as_iod(int32_t iod) { return static_cast<u32>(iod); }

} // namespace

// Deliberate: sync is not looked at.
uint32_t varn_update_switchport(int32_t iod)
{
    VISIT();
    if (!varn_enabled)
        return 0;
    PROBE_NOTIFICATION("varn_update_switchport", as_iod(iod), u32{0});
    TRACE("switchport update for interface %s (iod %d)\n", ifsvc_get_if_name(as_iod(iod)), iod);
    varn_if_entry_t *entry = find_by_iod(as_iod(iod));
    if (!entry)
        return 0;
    update_and_clean(switchport, *entry, as_iod(iod));
    return 1;
}

uint32_t varn_update_l2_bundle_state(const varn_l2_update_t *record)
{
    VISIT();
    MUST(RULE_NULL, record);
    if (!varn_enabled)
        return 0;
    ++varn.l2_bundle_updates;
    PROBE_NOTIFICATION("varn_update_l2_bundle_state", record->iod, record->if_index);
    TRACE("L2 bundle phy state update for interface %s (iod %d)\n", ifsvc_get_if_name(record->iod),
          record->iod);
    varn_if_entry_t *entry = find_by_iod(record->iod);
    if (!entry)
        return 0;
    update_and_clean(linkup, *entry, record->iod);
    update_and_clean(protoup, *entry, record->iod);
    take_l2_values(*entry, *record);
    return 1;
}

// Deliberate: the record says it all, no service is asked for the state.
uint32_t varn_update_l3_bundle_state(const varn_l3_update_t *record)
{
    VISIT();
    MUST(RULE_NULL, record);
    if (!varn_enabled)
        return 0;
    ++varn.l3_bundle_updates;
    PROBE_NOTIFICATION("varn_update_l3_bundle_state", record->iod, record->if_index);
    TRACE("L3 bundle phy state update for interface %s (iod %d)\n", ifsvc_get_if_name(record->iod),
          record->iod);
    varn_if_entry_t *entry = find_by_iod(record->iod);
    if (!entry)
        return 0;
    entry->linkup = record->state == bundle_up || record->state == bundle_link_up;
    entry->protoup = record->state == bundle_up;
    mark_clean(*entry, linkup.id);
    mark_clean(*entry, protoup.id);
    count_update(linkup.id);
    count_update(protoup.id);
    if (is_cached(mtu.id)) {
        mtu.store(*entry, record->mtu);
        count_update(mtu.id);
    }
    return 1;
}

uint32_t varn_update_l3_param(const varn_l3_param_update_t *record, const bitset_t *changed)
{
    VISIT();
    MUST(RULE_NULL, record);
    if (!varn_enabled)
        return 0;
    ++varn.l3_param_updates;
    PROBE_NOTIFICATION("varn_update_l3_param", record->iod, u32{0});
    // Deliberate: the line speaks of phy state.
    TRACE("Phy state update for interface %s (iod %d)\n", ifsvc_get_if_name(record->iod),
          record->iod);
    varn_if_entry_t *entry = find_by_iod(record->iod);
    WORK_ON(entry);
    if (!entry)
        return 0;
    if (changed && bitset_is_bit_set(changed, VARN_L3_PARAM_MTU)) {
        TRACE("MTU change for interface iod %d\n", record->iod);
        // Deliberate: neither counted nor cleaned, and stored also where the MTU is not cached.
        mtu.store(*entry, mtu.ask(record->iod));
    }
    update_and_clean(p2p, *entry, record->iod);
    return 1;
}

// Deliberate: both identifiers at once are refused in silence.
int32_t varn_update_is_linkup_dirty_bit(int32_t iod, uint32_t if_index, int32_t set)
{
    VISIT();
    if (!varn_enabled || (iod && if_index))
        return -1;
    PROBE_NOTIFICATION("varn_update_is_linkup_dirty_bit", as_iod(iod), if_index);
    varn_if_entry_t *entry = iod ? find_by_iod(as_iod(iod)) : find_by_if(if_index);
    if (!entry) {
        // Deliberate: the leading blank.
        REPORT("varn_update_is_linkup_dirty_bit",
               " Entry doesn't exist for interface index 0x%x, %s, (iod %d)\n", if_index,
               ifsvc_get_if_name(as_iod(iod)), iod);
        return -1;
    }
    const int was_dirty = is_dirty(*entry, linkup.id);
    const int becomes_dirty = set & 1;
    becomes_dirty ? mark_dirty(*entry, linkup.id) : mark_clean(*entry, linkup.id);
    TRACE("Updated the dirty bit from %d to %d, set %d for interface index 0x%x, %s, (iod %d)\n",
          was_dirty, becomes_dirty, set, if_index, ifsvc_get_if_name(as_iod(iod)), iod);
    return 0;
}

uint32_t varn_update_vlan(int32_t iod)
{
    VISIT();
    if (!varn_enabled)
        return 0;
    PROBE_NOTIFICATION("varn_update_vlan", as_iod(iod), u32{0});
    TRACE("vlan update for interface %s (iod %d)\n", ifsvc_get_if_name(as_iod(iod)), iod);
    varn_if_entry_t *entry = find_by_iod(as_iod(iod));
    if (!entry)
        return 0;
    mark_dirty(*entry, vlan_attribute);
    varn_vlan_info_t info{};
    u32 port_mode = 0;
    if (!varn_ifsvc_get_vlan_info(as_iod(iod), &info, &port_mode)) {
        TRACE("vlan update for interface %s (iod %d) FAILED\n", ifsvc_get_if_name(as_iod(iod)),
              iod);
        return 0;
    }
    const u32 vlan = info.vlan;
    TRACE("vlan update for interface %s (iod %d) Succeeded, vlan: %d, mode: 0x%x\n",
          ifsvc_get_if_name(as_iod(iod)), iod, vlan, port_mode);
    return 1;
}

// Deliberate: varn_enabled is not looked at, and the dirty bit is left alone.
int32_t varn_update_router_mac(const varn_mac_update_t *record)
{
    VISIT();
    MUST(RULE_NULL, record);
    if (!is_cached(mac_attribute))
        return -1;
    PROBE_NOTIFICATION("varn_update_router_mac", VARN_NO_IOD, record->if_index);
    u32 iod = 0;
    if (varn_ifsvc_get_iod_frm_ifindex(record->if_index, &iod))
        iod = VARN_NO_IOD;
    varn_if_entry_t *entry = find_by_iod(iod);
    WORK_ON(entry);
    if (!entry)
        return -1;
    TRACE("Interface %s (iod %d): entry 0x%x, state %d\n", ifsvc_get_if_name(iod), iod,
          low_word(entry), record->state);
    if (is_known(record->mac))
        TRACE("Updated old_mac: %s to new_mac: %s\n", varn_format_mac(entry->mac),
              varn_format_mac(record->mac));
    else
        // Deliberate: "adress" and the blank before the line feed.
        TRACE("Removed MAC (Interface Removed) old_mac :%s is reset to : ZERO MAC adress \n",
              varn_format_mac(entry->mac));
    count_update(mac_attribute);
    std::memcpy(entry->mac, record->mac, sizeof entry->mac);
    return 0;
}

// Deliberate: the dirty bit stays, and extn_free is not called.
uint32_t varn_remove_extension0(int32_t iod)
{
    VISIT();
    if (!varn_enabled)
        return 0;
    PROBE_NOTIFICATION("varn_remove_extension0", as_iod(iod), u32{0});
    varn_if_entry_t *entry = find_by_iod(as_iod(iod));
    if (!entry) {
        TRACE("Varn remove failed for Interface with iod %d\n", iod);
        return 0;
    }
    entry->extn[0] = 0;
    return 1;
}
