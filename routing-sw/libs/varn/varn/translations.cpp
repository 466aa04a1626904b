// SPDX-License-Identifier: Apache-2.0
//
// One identifier for another: if-index, lif, port index and port mode, answered from the entry. The
// four translations go one road (gate, entry, hit or refresh, answer). Deliberate: they and the
// port mode look at their sync bit alone, the combined query at varn_enabled alone.
#include "entries.h"
#include "extensions.h"
#include "fetches.h"
#include "idxsvc.h"
#include "if_index.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "messages.h"
#include "misuse.h"
#include "scalars.h"

using namespace ifcache;

namespace
{

constexpr u32 routed_port_mode = 0x200;

varn_if_entry_t *entry_of_pi(u32 pi)
{
    return varn.config.create_on_miss ? varn_if_create_entry_by_pi(pi) : find_by_pi(pi);
}

varn_if_entry_t *entry_of_lif(u32 lif)
{
    return varn.config.create_on_miss ? varn_if_create_entry_by_lif(lif) : find_by_lif(lif);
}

// An entry where the translation's gate is open and one is to be had; else the miss is counted.
varn_if_entry_t *entry_or_miss(attribute a, varn_if_entry_t *(*entry_of)(u32 key), int32_t key)
{
    varn_if_entry_t *entry = is_cached(a) ? entry_of(static_cast<u32>(key)) : nullptr;
    if (!entry)
        count_miss(a, static_cast<u32>(key), nullptr);
    return entry;
}

// The flag is 1 for a port that was asked about, whatever the answer. Deliberate: no other type is
// asked, and its bit is cleaned all the same.
u32 fetch_port_mode(varn_if_entry_t &entry, u32 *port_mode)
{
    uint8_t type = 0;
    if (if_index_get_type(entry.if_index, &type)) {
        REPORT("varn_portsvc_gldb_get_ifindex_port_mode", " Invalid interface index 0x%x\n",
               entry.if_index);
        return VARN_ERR_IF_TYPE;
    }
    entry.ips = 0;
    if (type == IF_INDEX_TYPE_PHYSICAL) {
        ask_port_mode(entry.if_index, *port_mode);
        entry.ips = 1;
    }
    mark_clean(entry, ips_attribute);
    return 0;
}

// Where the combined query writes. Handed on by value, so that it stands in registers and is not read
// again behind a probe.
struct l2_outputs {
    u32 *if_index, *iod, *linkup;
    uint16_t *encap;
    u32 *switchport, *switching, *protoup, *private_data;
};

// The if-index is there; the rest comes from the cached queries, in this order. Deliberate: the
// first one is not tested, and the others are asked about the caller's iod as it stands.
void ask_front_ends(const l2_outputs out)
{
    varn_ifsvc_get_iod_frm_ifindex(*out.if_index, out.iod);
    const u32 iod = *out.iod;
    *out.linkup = varn_ifsvc_is_linkup(iod);
    *out.encap = static_cast<uint16_t>(varn_ifsvc_get_if_encaptype(iod));
    *out.switchport = varn_ifsvc_is_switchport(iod);
    *out.switching = varn_ifsvc_is_switching_enabled_on_iod(iod);
    *out.protoup = varn_ifsvc_is_protoup(iod);
    u32 size = 0;
    *out.private_data = static_cast<u32>(varn_ifsvc_get_private_data(iod, varn.config.uuid, &size));
}

u32 ask_services(u32 pi, const l2_outputs out)
{
    count_miss(pi_attribute, pi, nullptr);
    const u32 code = idxsvc_lib_si_to_ifidx(static_cast<int32_t>(pi), out.if_index);
    if (code == 0)
        ask_front_ends(out);
    return code;
}

// Deliberate: unlike elsewhere the private data counts undecoded too.
void fetch_private_data(varn_if_entry_t &entry)
{
    const uintptr_t data = ifsvc_get_private_data(entry.iod, varn.config.uuid, &entry.extn_size[0]);
    CALL_OUT();
    entry.extn[0] =
        varn.config.extn_decode[0]
            ? varn.config.extn_decode[0](reinterpret_cast<const void *>(data), entry.extn_size[0])
            : static_cast<u32>(data);
}

void read_private_data(varn_if_entry_t &entry)
{
    const attribute extn = extn_attribute(0);
    if (is_dirty(entry, extn)) {
        count_miss(extn, entry.iod, &entry);
        fetch_private_data(entry);
    } else {
        count_hit(extn, entry.iod, &entry);
    }
    mark_by_value(entry, 0);
}

void update_if_dirty(const scalar &row, varn_if_entry_t &entry)
{
    if (is_dirty(entry, row.id))
        update(row, entry, entry.iod);
}

void read_l2_info(varn_if_entry_t &entry, const l2_outputs out)
{
    WORK_ON(&entry);
    *out.if_index = entry.if_index;
    *out.iod = entry.iod;
    refresh_flag(linkup, entry);
    *out.linkup = entry.linkup;
    refresh_flag(protoup, entry);
    *out.protoup = entry.protoup;
    refresh_value(encap, entry);
    *out.encap = entry.encap;
    // Deliberate: these two stay dirty and are asked again on every call.
    update_if_dirty(switchport, entry);
    update_if_dirty(switching, entry);
    *out.switchport = entry.switchport;
    *out.switching = entry.switching;
    read_private_data(entry);
    *out.private_data = entry.extn[0];
}

} // namespace

uint32_t varn_idxsvc_lib_ifidx_to_di(int32_t if_index, uint32_t *di)
{
    VISIT();
    MUST(RULE_NULL, di);
    varn_if_entry_t *entry = entry_or_miss(pi_attribute, entry_of_if, if_index);
    if (!entry)
        return idxsvc_lib_ifidx_to_di(if_index, di);
    if (!is_fresh(entry, pi_attribute, varn.pi_refreshes))
        return VARN_ERR_PI_REFRESH;
    *di = entry->pi;
    return 0;
}

uint32_t varn_idxsvc_lib_si_to_ifidx(int32_t si, uint32_t *if_index)
{
    VISIT();
    MUST(RULE_NULL, if_index);
    varn_if_entry_t *entry = entry_or_miss(pi_attribute, entry_of_pi, si);
    if (!entry)
        return idxsvc_lib_si_to_ifidx(si, if_index);
    if (!is_fresh(entry, pi_attribute, varn.pi_refreshes))
        return VARN_ERR_PI_REFRESH;
    *if_index = entry->if_index;
    return 0;
}

uint32_t varn_lifsvc_query_lif_to_ifindex(int32_t lif, uint32_t *if_index)
{
    VISIT();
    MUST(RULE_NULL, if_index);
    varn_if_entry_t *entry = entry_or_miss(lif_attribute, entry_of_lif, lif);
    if (!entry)
        return lifsvc_query_lif_to_ifindex(lif, if_index);
    if (!is_fresh(entry, lif_attribute, varn.lif_refreshes))
        return VARN_ERR_LIF_REFRESH;
    *if_index = entry->if_index;
    return 0;
}

// Deliberate: an answer from the cache does not write the output.
uint32_t varn_lifsvc_query_ifindex_to_lif(int32_t if_index, uint32_t *lif)
{
    VISIT();
    MUST(RULE_NULL, lif);
    varn_if_entry_t *entry = entry_or_miss(lif_attribute, entry_of_if, if_index);
    if (!entry)
        return lifsvc_query_ifindex_to_lif(if_index, lif);
    return is_fresh(entry, lif_attribute, varn.lif_refreshes) ? 0 : VARN_ERR_LIF_REFRESH;
}

// Deliberate: the cache knows two port modes and overwrites what the service gave.
uint32_t varn_portsvc_gldb_get_ifindex_port_mode(uint32_t if_index, uint32_t *port_mode)
{
    VISIT();
    MUST(RULE_NULL, port_mode);
    varn_if_entry_t *entry =
        entry_or_miss(ips_attribute, entry_of_if, static_cast<int32_t>(if_index));
    if (!entry)
        return ask_port_mode(if_index, *port_mode);
    if (is_dirty(*entry, ips_attribute)) {
        count_miss(ips_attribute, if_index, entry);
        if (const u32 code = fetch_port_mode(*entry, port_mode))
            return code;
    } else {
        count_hit(ips_attribute, if_index, entry);
    }
    *port_mode = entry->ips ? routed_port_mode : 0;
    return 0;
}

uint32_t varn_get_if_l2_info_by_pi(uint32_t pi, uint32_t *if_index, uint32_t *iod,
                                   uint32_t *is_linkup, uint16_t *encap_type,
                                   uint32_t *is_switchport, uint32_t *is_switching,
                                   uint32_t *is_protoup, uint32_t *private_data)
{
    VISIT();
    MUST(RULE_NULL, if_index && iod && is_linkup && encap_type && is_switchport && is_switching &&
                        is_protoup && private_data);
    const l2_outputs out{if_index,      iod,          is_linkup,  encap_type,
                         is_switchport, is_switching, is_protoup, private_data};
    if (!varn_enabled) {
        const u32 code = varn_idxsvc_lib_si_to_ifidx(static_cast<int32_t>(pi), out.if_index);
        if (code == 0)
            ask_front_ends(out);
        return code;
    }
    varn_if_entry_t *entry = entry_of_pi(pi);
    if (!entry)
        return ask_services(pi, out);
    if (!is_fresh(entry, pi_attribute, varn.pi_refreshes))
        return VARN_ERR_PI_REFRESH;
    read_l2_info(*entry, out);
    return 0;
}
