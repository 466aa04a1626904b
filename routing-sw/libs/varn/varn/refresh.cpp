// SPDX-License-Identifier: Apache-2.0
//
// Bringing one entry up to date: what is dirty is asked of its service, in a fixed order, and
// stored. First the identity: the if-index must still belong to the entry's iod, and the entry
// follows its pi and lif through the tables. Then the values.
//
// Only the dirty mask decides what is asked; the sync mask is not looked at, but for the
// extensions. An answer of zero to a question that knows no zero leaves its attribute dirty.
#include "attributes.h"
#include "extensions.h"
#include "fetches.h"
#include "idxsvc.h"
#include "if_index.h"
#include "ifsvc.h"
#include "index.h"
#include "lifsvc.h"
#include "messages.h"
#include "misuse.h"
#include "scalars.h"

using namespace ifcache;

namespace
{

// Deliberate: the entry removed is the one under the iod that the service gave, and the iod's dirty
// bit is never cleared here.
bool has_kept_its_iod(varn_if_entry_t &entry)
{
    count_update(iod_attribute);
    u32 iod = 0;
    const u32 code = ifsvc_get_iod_frm_ifindex(entry.if_index, &iod);
    if (code == 0 && iod == entry.iod)
        return true;
    REPORT("varn_if_update_entry",
           "If->iod mapping changed for if-index 0x%x, entry->iod=%d, iod=%d, err: 0x%x\n",
           entry.if_index, entry.iod, iod, code);
    count_up(entry.iod_remaps);
    varn_if_remove_entry_by_iod(iod);
    ++varn.iod_remaps;
    return false;
}

// ---- Port index

u32 ask_pi(varn_if_entry_t &entry, uint8_t type)
{
    if (type == IF_INDEX_TYPE_SVI) {
        mark_clean(entry, pi_attribute);
        return VARN_NO_PI;
    }
    u32 pi = 0;
    const u32 code = idxsvc_lib_ifidx_to_di(static_cast<int32_t>(entry.if_index), &pi);
    count_update(pi_attribute);
    return code ? VARN_NO_PI : pi;
}

// Deliberate: counted whatever the delete returned; the lif does likewise.
void drop_pi_link(varn_if_entry_t &holder, varn_if_entry_t &refreshed)
{
    varn_pi_delete_entry(&holder);
    ++varn.pi_remaps;
    count_up(refreshed.pi_remaps);
}

void file_under_pi(varn_if_entry_t &entry, u32 pi)
{
    TRACE("Creating pi entry for if-index 0x%x, iod %d, pi 0x%x\n", entry.if_index, entry.iod, pi);
    entry.pi = pi;
    if (!varn_pi_insert_entry(&entry)) {
        REPORT("varn_if_update_entry", "Pi-insert for if-index 0x%x, iod %d, pi %d failed\n",
               entry.if_index, entry.iod, pi);
        entry.pi = VARN_NO_PI;
        return;
    }
    mark_clean(entry, pi_attribute);
}

void move_to_pi(varn_if_entry_t &entry, u32 pi)
{
    varn_if_entry_t *other = pi == VARN_NO_PI ? nullptr : find_by_pi(pi);
    if (other && other != &entry) {
        WORK_ON(other);
        TRACE(
            "Removing stale pi entry for if-index 0x%x, iod %d, pi 0x%x  for if-index 0x%x, iod %d\n",
            other->if_index, other->iod, pi, entry.if_index, entry.iod);
        drop_pi_link(*other, entry);
    }
    if (entry.pi != VARN_NO_PI) {
        TRACE("Removing stale entry for if-index 0x%x, iod %d, pi 0x%x  for new port-index 0x%x\n",
              entry.if_index, entry.iod, entry.pi, pi);
        drop_pi_link(entry, entry);
    }
    if (pi != VARN_NO_PI)
        file_under_pi(entry, pi);
}

// Deliberate: an unchanged pi cleans the bit only of an entry that was filled before, and only
// where there is one; an unchanged lif (below) cleans it also where there is none.
void refresh_pi(varn_if_entry_t &entry, uint8_t type, bool is_new)
{
    if (!is_dirty(entry, pi_attribute))
        return;
    const u32 pi = ask_pi(entry, type);
    if (pi == entry.pi) {
        if (!is_new && pi != VARN_NO_PI)
            mark_clean(entry, pi_attribute);
        return;
    }
    if (!is_new)
        // Deliberate: the values stand one place off their labels.
        TRACE("If->pi mapping changed for if-index 0x%x, entry->pi=%d, pi=%d, port_index=%d\n",
              entry.if_index, entry.iod, entry.pi, pi);
    move_to_pi(entry, pi);
}

// ---- Logical interface

u32 ask_lif(const varn_if_entry_t &entry)
{
    u32 lif = 0;
    const u32 code = lifsvc_query_ifindex_to_lif(static_cast<int32_t>(entry.if_index), &lif);
    count_update(lif_attribute);
    return code ? VARN_NO_LIF : lif;
}

void drop_lif_link(varn_if_entry_t &holder, varn_if_entry_t &refreshed)
{
    varn_lif_delete_entry(&holder);
    ++varn.lif_remaps;
    count_up(refreshed.lif_remaps);
}

void file_under_lif(varn_if_entry_t &entry, u32 lif)
{
    TRACE("Creating lif entry for if-index 0x%x, iod %d, lif 0x%x\n", entry.if_index, entry.iod,
          lif);
    entry.lif = lif;
    if (!varn_lif_insert_entry(&entry)) {
        REPORT("varn_if_update_entry", "Lif-insert for if-index 0x%x, iod %d, lif %d failed\n",
               entry.if_index, entry.iod, lif);
        entry.lif = VARN_NO_LIF;
        return;
    }
    mark_clean(entry, lif_attribute);
}

void move_to_lif(varn_if_entry_t &entry, u32 lif)
{
    varn_if_entry_t *other = lif == VARN_NO_LIF ? nullptr : find_by_lif(lif);
    if (other && other != &entry) {
        WORK_ON(other);
        TRACE(
            "Removing stale lif entry for if-index 0x%x, iod %d, lif 0x%x  for if-index 0x%x, iod %d\n",
            other->if_index, other->iod, lif, entry.if_index, entry.iod);
        drop_lif_link(*other, entry);
    }
    if (entry.lif != VARN_NO_LIF) {
        // Deliberate: the line speaks of a port-index here too.
        TRACE(
            "Removing stale lif entry for if-index 0x%x, iod %d, lif 0x%x  for new port-index 0x%x\n",
            entry.if_index, entry.iod, entry.lif, lif);
        drop_lif_link(entry, entry);
    }
    if (lif != VARN_NO_LIF)
        file_under_lif(entry, lif);
}

void refresh_lif(varn_if_entry_t &entry, bool is_new)
{
    if (!is_dirty(entry, lif_attribute))
        return;
    const u32 lif = ask_lif(entry);
    if (lif == entry.lif) {
        if (!is_new) {
            mark_clean(entry, lif_attribute);
            TRACE("lif same as lifsvc's value, clear dirty bit\n");
        }
        return;
    }
    if (!is_new)
        TRACE("If->lif mapping changed for if-index 0x%x, entry->iod=%d, lif=0x%x\n",
              entry.if_index, entry.iod, lif);
    move_to_lif(entry, lif);
}

// ---- Values

void refresh_aggsvc_if(varn_if_entry_t &entry, uint8_t type)
{
    if (!is_dirty(entry, aggsvc_if_attribute))
        return;
    if (type != IF_INDEX_TYPE_PC) {
        mark_clean(entry, aggsvc_if_attribute);
        return;
    }
    count_update(aggsvc_if_attribute);
    u32 member = 0;
    if (ask_first_member(entry.if_index, member))
        return;
    entry.aggsvc_if = member;
    mark_clean(entry, aggsvc_if_attribute);
}

void refresh_extensions(varn_if_entry_t &entry)
{
    for (unsigned k = 0; k < num_extensions; ++k) {
        const attribute extn = extn_attribute(k);
        if (!is_cached(extn) || !is_dirty(entry, extn))
            continue;
        fetch_extension(entry, k);
        count_update(extn);
        if (entry.extn[k])
            mark_clean(entry, extn);
    }
}

void refresh_mac(varn_if_entry_t &entry)
{
    if (!is_dirty(entry, mac_attribute))
        return;
    fetch_mac(entry, entry.iod);
    count_update(mac_attribute);
    if (is_known(entry.mac))
        mark_clean(entry, mac_attribute);
}

// Deliberate: the service is asked and its answer is not kept; asking at all makes the flag 1.
void refresh_ips(varn_if_entry_t &entry, uint8_t type)
{
    if (!is_dirty(entry, ips_attribute) || type != IF_INDEX_TYPE_PHYSICAL)
        return;
    u32 port_mode = 0;
    ask_port_mode(entry.if_index, port_mode);
    entry.ips = 1;
    mark_clean(entry, ips_attribute);
    count_update(ips_attribute);
}

// Deliberate: the flag is_vlan comes along and the same question is asked twice; its own dirty bit,
// and that of the parent, are left alone.
void refresh_vlan(varn_if_entry_t &entry)
{
    if (!is_dirty(entry, vlan_attribute))
        return;
    is_vlan.store(entry, is_vlan.ask(entry.iod));
    if (fetch_vlan(entry, entry.iod) == vlan_source::sub_interface &&
        is_dirty(entry, subif_attribute))
        entry.aggsvc_if = ifsvc_get_sub_interface_parent(entry.iod);
    mark_clean(entry, vlan_attribute);
    count_update(vlan_attribute);
}

void refresh_values(varn_if_entry_t &entry, uint8_t type)
{
    refresh_aggsvc_if(entry, type);
    refresh_flag(switchport, entry);
    refresh_flag(linkup, entry);
    refresh_flag(protoup, entry);
    refresh_value(encap, entry);
    refresh_flag(switching, entry);
    refresh_extensions(entry);
    refresh_mac(entry);
    refresh_flag(ethernet, entry);
    refresh_flag(loopback, entry);
    refresh_flag(p2p, entry);
    refresh_flag(null0, entry);
    refresh_value(context, entry);
    refresh_value(base_tid, entry);
    refresh_ips(entry, type);
    refresh_vlan(entry);
    refresh_value(mtu, entry);
}

} // namespace

uint32_t varn_if_update_entry(varn_if_entry_t *entry, uint32_t is_new)
{
    VISIT();
    if (!varn_enabled || !entry)
        return 0;
    MUST(RULE_WALKING, !is_walking());
    WORK_ON(entry);
    PROBE_REFRESH(entry, entry->iod, uint64_t{entry->dirty});
    TRACE("Varn-update for if-index 0x%x, iod %d\n", entry->if_index, entry->iod);
    uint8_t type = 0;
    if (if_index_get_type(entry->if_index, &type)) {
        REPORT("varn_if_update_entry", "Invalid interface index 0x%x\n", entry->if_index);
        return 0;
    }
    if (!is_new && is_dirty(*entry, iod_attribute) && !has_kept_its_iod(*entry))
        return 0;
    refresh_pi(*entry, type, is_new);
    refresh_lif(*entry, is_new);
    refresh_values(*entry, type);
    mark_clean(*entry, VARN_BIT_PVLAN);
    mark_clean(*entry, VARN_BIT_BD);
    mark_clean(*entry, VARN_BIT_FINDEX);
    return 1;
}

uint32_t varn_if_update_if(uint32_t if_index)
{
    VISIT();
    varn_if_entry_t *entry = varn_enabled ? find_by_if(if_index) : nullptr;
    if (!entry)
        return 0;
    ++varn.if_refreshes;
    return varn_if_update_entry(entry, 0);
}
