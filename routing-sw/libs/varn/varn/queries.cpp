// SPDX-License-Identifier: Apache-2.0
//
// The cached queries. Most go one road, told once in three layers of which each query uses the
// lowest that it needs: entry_if_cached (both gates open and an entry to be had), fresh_entry
// (count the hit or the miss, fetch what is dirty) and cached<row> (one number, answered from the
// entry or passed on by the service). A query that departs from the road is a function of its own
// below it.
//
// Each query tries the short way first (entry_at_hand, hit_at_hand of entries.h), which changes
// nothing unless it answers. The road stands behind it in a cold function, so that a hit saves no
// register and has no frame.
//
// A dirty attribute counts as a miss and not as an update: a query never updates.
#include <cstring>

#include "attributes.h"
#include "entries.h"
#include "fetches.h"
#include "if_index.h"
#include "ifsvc.h"
#include "index.h"
#include "misuse.h"
#include "scalars.h"
#include "supvr.h"

using namespace ifcache;

namespace
{

// Null: the service is to be asked. `fetch` stores an answer in the entry and says whether it
// counts; one that does not leaves the attribute dirty.
template <class fetcher>
varn_if_entry_t *fresh_entry(u32 iod, attribute a, fetcher fetch)
{
    varn_if_entry_t *entry = entry_if_cached(iod, a);
    if (!entry) {
        count_miss(a, iod, nullptr);
        return nullptr;
    }
    if (!is_dirty(*entry, a)) {
        count_hit(a, iod, entry);
        return entry;
    }
    count_miss(a, iod, entry);
    if (fetch(*entry))
        mark_clean(*entry, a);
    return entry;
}

bool counts(zero when_zero, u32 value) { return value || when_zero == zero::is_an_answer; }

template <const scalar &row>
COLD u32 not_at_hand(u32 iod)
{
    const varn_if_entry_t *entry = fresh_entry(iod, row.id, [iod](varn_if_entry_t &dirty) {
        row.store(dirty, row.ask(iod));
        return counts(row.when_zero, row.load(dirty));
    });
    return entry ? row.load(*entry) : row.pass(row.ask(iod));
}

template <const scalar &row>
u32 cached(u32 iod)
{
    const varn_if_entry_t *entry = hit_at_hand(iod, row.id);
    return entry ? row.load(*entry) : not_at_hand<row>(iod);
}

COLD const varn_if_entry_t *mac_not_at_hand(u32 iod)
{
    return fresh_entry(iod, mac_attribute, [iod](varn_if_entry_t &dirty) {
        fetch_mac(dirty, iod);
        return is_known(dirty.mac);
    });
}

const varn_if_entry_t *entry_with_mac(u32 iod)
{
    const varn_if_entry_t *entry = hit_at_hand(iod, mac_attribute);
    return entry ? entry : mac_not_at_hand(iod);
}

COLD u32 type_not_at_hand(u32 iod, uint8_t type, u32 (*ask)(u32 iod))
{
    const varn_if_entry_t *entry = entry_if_cached(iod, if_type_attribute);
    if (entry)
        return entry->if_type == type;
    count_miss(if_type_attribute, iod, nullptr);
    return ask(iod);
}

// Deliberate: no hit is counted and no dirty bit looked at; the type never goes stale.
u32 is_of_type(u32 iod, uint8_t type, u32 (*ask)(u32 iod))
{
    const varn_if_entry_t *entry = entry_at_hand(iod, if_type_attribute);
    return entry ? entry->if_type == type : type_not_at_hand(iod, type, ask);
}

COLD const varn_if_entry_t *vlan_not_at_hand(u32 iod)
{
    return fresh_entry(iod, vlan_attribute, [iod](varn_if_entry_t &dirty) {
        fetch_vlan(dirty, iod);
        return true;
    });
}

// Deliberate: a failed answer leaves VLAN 0 and counts.
bool fetch_vlan_info(varn_if_entry_t &dirty, u32 iod)
{
    varn_vlan_info_t info{};
    u32 port_mode = 0;
    dirty.vlan = 0;
    if (ifsvc_get_vlan_info(iod, &info, &port_mode) == 1) {
        dirty.vlan = static_cast<uint16_t>(info.vlan);
        dirty.port_mode = port_mode;
    }
    return true;
}

COLD const varn_if_entry_t *vlan_info_not_at_hand(u32 iod)
{
    return fresh_entry(iod, vlan_attribute,
                       [iod](varn_if_entry_t &dirty) { return fetch_vlan_info(dirty, iod); });
}

// A dirty iod bit means that nothing about the entry's identity is sure: the whole entry is
// refreshed.
bool has_sure_identity(varn_if_entry_t *entry)
{
    return is_fresh(entry, iod_attribute, varn.iod_refreshes);
}

COLD u32 if_index_not_at_hand(u32 iod, u32 *if_index)
{
    varn_if_entry_t *entry = entry_if_cached(iod, iod_attribute);
    if (!entry) {
        count_miss(iod_attribute, iod, nullptr);
        return ifsvc_get_ifindex_frm_iod(iod, if_index);
    }
    if (!has_sure_identity(entry))
        return VARN_ERR_IOD_CHANGED;
    *if_index = entry->if_index;
    return 0;
}

// Names are handed out in turn from a ring, so that ten of them stand side by side.
constexpr u32 name_size = 255;
constexpr u32 num_names = 10;
char names[num_names][name_size];
u32 name_position;

} // namespace

// ---- One number: the road

uint32_t varn_ifsvc_is_linkup(uint32_t iod)
{
    VISIT();
    return cached<linkup>(iod);
}

uint32_t varn_ifsvc_is_protoup(uint32_t iod)
{
    VISIT();
    return cached<protoup>(iod);
}

uint32_t varn_ifsvc_is_switchport(uint32_t iod)
{
    VISIT();
    return cached<switchport>(iod);
}

uint32_t varn_ifsvc_is_switching_enabled_on_iod(uint32_t iod)
{
    VISIT();
    return cached<switching>(iod);
}

uint32_t varn_ifsvc_is_ethernet(uint32_t iod)
{
    VISIT();
    return cached<ethernet>(iod);
}

uint32_t varn_ifsvc_is_vlan(uint32_t iod)
{
    VISIT();
    return cached<is_vlan>(iod);
}

uint32_t varn_ifsvc_is_null0(uint32_t iod)
{
    VISIT();
    return cached<null0>(iod);
}

uint32_t varn_ifsvc_is_native_p2p(uint32_t iod)
{
    VISIT();
    return cached<p2p>(iod);
}

uint32_t varn_ifsvc_is_loopback(uint32_t iod)
{
    VISIT();
    return cached<loopback>(iod);
}

uint32_t varn_ifsvc_is_mvpn_tunnel(uint32_t iod)
{
    VISIT();
    return cached<mvpn>(iod);
}

uint32_t varn_ifsvc_get_if_mtu(uint32_t iod)
{
    VISIT();
    return cached<mtu>(iod);
}

uint32_t varn_ifsvc_get_if_encaptype(uint32_t iod)
{
    VISIT();
    return cached<encap>(iod);
}

// ---- Read off the type

uint32_t varn_ifsvc_is_gre_tunnel(uint32_t iod)
{
    VISIT();
    return is_of_type(iod, IF_INDEX_TYPE_GRE, ifsvc_is_gre_tunnel);
}

uint32_t varn_ifsvc_is_super_802_3ad(uint32_t iod)
{
    VISIT();
    return is_of_type(iod, IF_INDEX_TYPE_PC, ifsvc_is_super_802_3ad);
}

uint32_t varn_ifsvc_is_cbus(uint32_t iod)
{
    VISIT();
    return is_of_type(iod, IF_INDEX_TYPE_CBUS, ifsvc_is_cbus);
}

uint32_t varn_ifsvc_is_mgmtether(uint32_t iod)
{
    VISIT();
    return is_of_type(iod, IF_INDEX_TYPE_MGMT, ifsvc_is_mgmtether);
}

// ---- Never cached

uint32_t varn_ifsvc_is_dci_tunnel(uint32_t iod)
{
    VISIT();
    ++varn.misses[VARN_SLOT_IS_DCI_TUNNEL];
    return ifsvc_is_dci_tunnel(iod);
}

uint32_t varn_ifsvc_is_dci_overlay(uint32_t iod)
{
    VISIT();
    ++varn.misses[VARN_SLOT_IS_DCI_OVERLAY];
    return ifsvc_is_dci_overlay(iod);
}

uint32_t varn_ifsvc_is_6to4_tunnel(uint32_t iod)
{
    VISIT();
    return ifsvc_is_6to4_tunnel(iod);
}

uint32_t varn_ifsvc_is_mpls_tunnel(uint32_t iod)
{
    VISIT();
    return ifsvc_is_mpls_tunnel(iod);
}

// ---- MAC address

const uint8_t *varn_ifsvc_get_if_mac_addr(uint32_t iod)
{
    VISIT();
    const varn_if_entry_t *entry = entry_with_mac(iod);
    return entry ? entry->mac : varn_get_if_src_mac_addr(iod);
}

uint32_t varn_ifsvc_is_if_mac_addr(uint32_t iod, const uint8_t *mac)
{
    VISIT();
    MUST(RULE_NULL, mac);
    const varn_if_entry_t *entry = entry_with_mac(iod);
    if (!entry)
        return ifsvc_is_if_mac_addr(iod, mac);
    return std::memcmp(mac, entry->mac, sizeof entry->mac) == 0;
}

// ---- VLAN

uint32_t varn_ifsvc_get_if_vlanid(uint32_t iod)
{
    VISIT();
    const varn_if_entry_t *entry = hit_at_hand(iod, vlan_attribute);
    if (!entry)
        entry = vlan_not_at_hand(iod);
    return entry ? entry->vlan : low_16_bits(ifsvc_get_if_vlanid(iod));
}

// Deliberate: the cache answers 1 also when the service had failed.
uint32_t varn_ifsvc_get_vlan_info(uint32_t iod, varn_vlan_info_t *info, uint32_t *port_mode)
{
    VISIT();
    MUST(RULE_NULL, info && port_mode);
    const varn_if_entry_t *entry = hit_at_hand(iod, vlan_attribute);
    if (!entry)
        entry = vlan_info_not_at_hand(iod);
    if (!entry)
        return ifsvc_get_vlan_info(iod, info, port_mode);
    info->vinst = supvr_vinst_get();
    info->vlan = entry->vlan;
    *port_mode = entry->port_mode;
    return 1;
}

// ---- Name

// Deliberate: the name is not kept and its dirty bit not looked at; what is saved is the way to the
// if-index.
const char *varn_ifsvc_get_if_name(uint32_t iod)
{
    VISIT();
    const varn_if_entry_t *entry = entry_if_cached(iod, name_attribute);
    if (!entry) {
        count_miss(name_attribute, iod, nullptr);
        return ifsvc_get_if_name(iod);
    }
    name_position = (name_position + 1) % num_names;
    char *name = names[name_position];
    PROBE_HIT(name_attribute.bit, entry->iod, entry); // here: nothing is kept for it over the call
    ifsvc_get_ifindex_name(entry->if_index, name, name_size);
    ++varn.hits[name_attribute.slot];
    return name;
}

// ---- Identity

uint32_t varn_ifsvc_get_ifindex_frm_iod(uint32_t iod, uint32_t *if_index)
{
    VISIT();
    MUST(RULE_NULL, if_index);
    if (iod == VARN_NO_IOD) {
        *if_index = 0;
        return 0;
    }
    const varn_if_entry_t *entry = hit_at_hand(iod, iod_attribute);
    if (!entry)
        return if_index_not_at_hand(iod, if_index);
    *if_index = entry->if_index;
    return 0;
}

// Unlike the other queries this one creates no entry.
uint32_t varn_ifsvc_get_iod_frm_ifindex(uint32_t if_index, uint32_t *iod)
{
    VISIT();
    MUST(RULE_NULL, iod);
    varn_if_entry_t *entry = is_cached(iod_attribute) ? find_by_if(if_index) : nullptr;
    if (!entry) {
        count_miss(iod_attribute, if_index, nullptr);
        return ifsvc_get_iod_frm_ifindex(if_index, iod);
    }
    if (!has_sure_identity(entry))
        return VARN_ERR_IOD_CHANGED;
    *iod = entry->iod;
    return 0;
}

uint32_t varn_ifsvc_is_iod_svi(uint32_t iod)
{
    VISIT();
    u32 if_index = 0;
    if (iod == VARN_NO_IOD || varn_ifsvc_get_ifindex_frm_iod(iod, &if_index))
        return 0;
    return ifsvc_is_ifindex_svi(if_index);
}

uint32_t varn_ifsvc_get_svi_iod_for_vlan(uint16_t vlan, uint32_t arg)
{
    VISIT();
    u32 if_index = 0;
    u32 iod = 0;
    if (if_index_vlan_port_init(&if_index, vlan, arg) ||
        varn_ifsvc_get_iod_frm_ifindex(if_index, &iod))
        return 0;
    return iod;
}
