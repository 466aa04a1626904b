// SPDX-License-Identifier: Apache-2.0
//
// Physical, L2 and L3 state notifications. The three differ on purpose in what they count before
// their checks, in what they ask of the services, and in whether they create and remove entries.
// Entries are found by the record's iod alone.
#include "state_changes.h"

#include <cstring>

#include "fetches.h"
#include "if_index.h"
#include "ifsvc.h"
#include "index.h"
#include "messages.h"
#include "misuse.h"
#include "scalars.h"

using namespace ifcache;

namespace
{

constexpr uint8_t phy_gone = 2;
constexpr uint8_t l2_down = 2;
constexpr uint8_t l3_up = 1;

bool has_moving_identity(uint8_t type)
{
    return type == IF_INDEX_TYPE_SVI || type == IF_INDEX_TYPE_PC;
}

void invalidate_members(uint8_t type, u32 if_index)
{
    if (is_cached(VARN_BIT_PC) && type == IF_INDEX_TYPE_PC)
        varn_pc_invalidate(if_index);
}

void follow_identity(varn_if_entry_t *entry, uint8_t type, u32 if_index)
{
    if (has_moving_identity(type))
        refetch_identity(entry);
    invalidate_members(type, if_index);
}

void set_l2_down(varn_if_entry_t &entry)
{
    entry.linkup = 0;
    entry.protoup = 0;
    mark_clean(entry, linkup.id);
    mark_clean(entry, protoup.id);
}

// Deliberate: link and protocol are asked whether cached or not, but for the link of a physical
// port; what follows them leaves its dirty bits.
void take_l2_up(varn_if_entry_t *entry, uint8_t type, const varn_l2_update_t &record)
{
    if (type != IF_INDEX_TYPE_PHYSICAL)
        update_and_clean(linkup, *entry, record.iod);
    update_and_clean(protoup, *entry, record.iod);
    take_l2_values(*entry, record);
    follow_identity(entry, type, record.if_index);
}

// Deliberate: only a management port has its MAC forced, but every type its ethernet flag.
void ask_on_l3_up(varn_if_entry_t &entry, uint8_t type, u32 iod)
{
    if (type == IF_INDEX_TYPE_MGMT)
        mark_dirty(entry, mac_attribute);
    varn_ifsvc_get_if_mac_addr(iod);
    varn_ifsvc_get_if_encaptype(iod);
    mark_dirty(entry, ethernet.id);
    varn_ifsvc_is_ethernet(iod);
}

// Deliberate: link and protocol are asked whether cached or not, of every type; MAC, switchport and
// MTU leave their dirty bits, and a tunnel keeps its MTU.
void take_l3(varn_if_entry_t *entry, uint8_t type, const varn_l3_update_t &record)
{
    update_and_clean(linkup, *entry, record.iod);
    update_and_clean(protoup, *entry, record.iod);
    if (is_cached(mac_attribute)) {
        count_update(mac_attribute);
        fetch_mac(*entry, record.iod);
    }
    if (is_cached(switchport.id))
        update(switchport, *entry, record.iod);
    if (is_cached(mtu.id) && type != IF_INDEX_TYPE_GRE) {
        mtu.store(*entry, record.mtu);
        count_update(mtu.id);
    }
    if (record.state == l3_up)
        ask_on_l3_up(*entry, type, record.iod);
    follow_identity(entry, type, record.if_index);
}

int32_t l3_change_of_entry(varn_if_entry_t *entry, uint8_t type, const varn_l3_update_t &record)
{
    if (varn.config.track_l3 && record.state != l3_up) {
        TRACE("Removing varn entry for if-iod %d on l3-change.\n", record.iod);
        varn_if_remove_entry_by_iod(record.iod);
        return 0;
    }
    take_l3(entry, type, record);
    return 0;
}

// Deliberate: 0 whatever became of the creation.
int32_t l3_change_without_entry(const varn_l3_update_t &record)
{
    if (varn.config.track_l3 && record.state == l3_up) {
        TRACE("Creating varn entry for if-iod %d on l3-change.\n", record.iod);
        varn_if_create_entry_by_iod(record.iod);
        return 0;
    }
    TRACE("Not creating cache entry for if-iod %d on l3-change, %d, state: %d\n", record.iod,
          varn.config.track_l3, record.state);
    return -1;
}

} // namespace

void ifcache::refetch_identity(varn_if_entry_t *entry)
{
    mark_as_cached(*entry, pi_attribute);
    mark_as_cached(*entry, lif_attribute);
    varn_if_update_entry(entry, 0);
}

void ifcache::take_l2_values(varn_if_entry_t &entry, const varn_l2_update_t &record)
{
    if (is_cached(mac_attribute)) {
        count_update(mac_attribute);
        std::memcpy(entry.mac, record.mac, sizeof entry.mac);
    }
    if (is_cached(mtu.id)) {
        count_update(mtu.id);
        mtu.store(entry, record.mtu);
    }
    if (record.vlan_present && is_cached(vlan_attribute)) {
        count_update(vlan_attribute);
        const u32 vlan = record.flags & VARN_L2_VLAN_A ? record.vlan_a : record.vlan_b;
        entry.vlan = static_cast<uint16_t>(vlan);
    }
    if (is_cached(switchport.id))
        update(switchport, entry, record.iod);
    if (is_cached(switching.id))
        update(switching, entry, record.iod);
}

uint32_t varn_update_phy_state(const varn_phy_update_t *record)
{
    VISIT();
    MUST(RULE_NULL, record);
    if (!varn_enabled)
        return 0;
    ++varn.phy_updates;
    PROBE_NOTIFICATION("varn_update_phy_state", record->iod, record->if_index);
    if (is_cached(VARN_BIT_PC))
        varn_pc_invalidate_entry_by_phy_if(record->if_index);
    varn_if_entry_t *entry = find_by_iod(record->iod);
    WORK_ON(entry);
    TRACE("Interface %s (iod %d): entry 0x%x, state %d\n", ifsvc_get_if_name(record->iod),
          record->iod, low_word(entry), record->state);
    if (record->state == phy_gone) {
        if (!entry)
            return 0;
        TRACE("Deleting varn entry for if-iod %d on phy-change.\n", record->iod);
        varn_if_remove_entry_by_iod(record->iod);
        return 1;
    }
    if (!entry) {
        TRACE("Creating varn entry for if-iod %d on phy-change.\n", record->iod);
        varn_if_create_entry_by_iod(record->iod);
        return 1;
    }
    // Deliberate: the notification is trusted; no service is asked for the link and the dirty bit
    // stays.
    entry->linkup = 1;
    return 1;
}

int32_t varn_update_l2_state(const varn_l2_update_t *record)
{
    VISIT();
    MUST(RULE_NULL, record);
    if (!varn_enabled)
        return -1;
    // Deliberate: counted before the checks, unlike L3.
    ++varn.l2_updates;
    PROBE_NOTIFICATION("varn_update_l2_state", record->iod, record->if_index);
    uint8_t type = 0;
    if (const u32 code = if_index_get_type(record->if_index, &type)) {
        REPORT("varn_update_l2_state", " Invalid interface index 0x%x\n", record->if_index);
        return static_cast<int32_t>(code);
    }
    TRACE("L2 protocol-change update for interface %s (iod %d)\n", ifsvc_get_if_name(record->iod),
          record->iod);
    varn_if_entry_t *entry = find_by_iod(record->iod);
    if (!entry)
        return -1;
    if (record->state == l2_down)
        set_l2_down(*entry);
    else
        take_l2_up(entry, type, *record);
    return 0;
}

int32_t varn_update_l3_state(varn_l3_update_t *record)
{
    VISIT();
    MUST(RULE_NULL, record);
    if (!varn_enabled)
        return -1;
    PROBE_NOTIFICATION("varn_update_l3_state", record->iod, record->if_index);
    uint8_t type = 0;
    if (const u32 code = if_index_get_type(record->if_index, &type)) {
        REPORT("varn_update_l3_state", " Invalid interface index 0x%x\n", record->if_index);
        return static_cast<int32_t>(code);
    }
    if (record->iod == VARN_NO_IOD) {
        if (const u32 code = ifsvc_get_iod_frm_ifindex(record->if_index, &record->iod)) {
            REPORT("varn_update_l3_state",
                   "ifsvc_get_iod_frm_ifindex failed for if-index 0x%x, err: 0x%x\n",
                   record->if_index, code);
            return static_cast<int32_t>(code);
        }
    }
    // Deliberate: counted after the checks, unlike L2.
    ++varn.l3_updates;
    TRACE("L3 Protocol-change update for interface %s (iod %d)\n", ifsvc_get_if_name(record->iod),
          record->iod);
    varn_if_entry_t *entry = find_by_iod(record->iod);
    return entry ? l3_change_of_entry(entry, type, *record) : l3_change_without_entry(*record);
}
