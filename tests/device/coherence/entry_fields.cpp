// SPDX-License-Identifier: Apache-2.0
//
// entry_fields.cpp: what a client reads off the entries of the cache. A value counts only while its
// attribute is cached and not dirty, and what does not count is nothing known. No entry is created
// by looking at it. Not here: what a query answers by it alone (type, port mode of a physical port,
// first member).
#include <algorithm>

#include "ht.h"
#include "idxsvc.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "questions.h"
#include "supvr.h"
#include "varn.h"
#include "vrfsvc.h"

namespace coherence
{
namespace
{

answer nothing()
{
    answer made;
    made.is_known = false;
    return made;
}

bool is_cached(unsigned bit) { return (varn.config.sync & VARN_MASK(bit)) != 0; }

template <class entry, class key>
const entry *find(ht_t &table, key of)
{
    return static_cast<const entry *>(ht_lookup(&table, &of));
}

// Entries are filled by iod: without iods nothing in them counts.
const varn_if_entry_t *valid_entry(const asked &what, unsigned bit)
{
    if (!is_cached(VARN_BIT_IOD) || !is_cached(bit))
        return nullptr;
    const auto *entry = find<varn_if_entry_t>(varn.if_table, what.about.if_index);
    return entry == nullptr || (entry->dirty & VARN_MASK(bit)) != 0 ? nullptr : entry;
}

template <unsigned bit, auto read>
answer field(const asked &what)
{
    const varn_if_entry_t *entry = valid_entry(what, bit);
    return entry == nullptr ? nothing() : number(read(*entry));
}

template <auto ask>
answer by_iod(const asked &what)
{
    u32 iod = 0;
    return ifsvc_get_iod_frm_ifindex(what.about.if_index, &iod) == 0 ? number(ask(iod)) : nothing();
}

u32 ask_table(u32 iod) { return vrfsvc_if_get_table_id(iod, 1, "base"); }

answer cached_mac(const asked &what)
{
    const varn_if_entry_t *entry = valid_entry(what, VARN_BIT_MAC);
    if (entry == nullptr)
        return nothing();
    answer made;
    made.size = 6;
    std::copy_n(entry->mac, 6, made.values.begin());
    return made;
}

answer direct_mac(const asked &what)
{
    u32 iod = 0;
    u8 mac[6]{};
    if (ifsvc_get_iod_frm_ifindex(what.about.if_index, &iod) != 0)
        return nothing();
    ifsvc_get_if_src_mac_addr(iod, mac);
    answer made;
    made.size = 6;
    std::copy_n(mac, 6, made.values.begin());
    return made;
}

answer cached_port_mode(const asked &what)
{
    const varn_if_entry_t *entry = valid_entry(what, VARN_BIT_VLAN);
    return entry == nullptr || entry->vlan == 0 ? nothing() : number(entry->port_mode);
}

answer direct_port_mode(const asked &what)
{
    u32 iod = 0;
    vlan_key_t info{};
    u32 mode = 0;
    if (ifsvc_get_iod_frm_ifindex(what.about.if_index, &iod) != 0 ||
        ifsvc_get_vlan_info(iod, &info, &mode) != 1)
        return nothing();
    return number(mode);
}

// An identifier that the interface does not have is absent.
template <auto ask, u32 absent>
answer identifier(const asked &what)
{
    u32 output = absent;
    ask(static_cast<std::int32_t>(what.about.if_index), &output);
    return number(output);
}

answer direct_iod(const asked &what)
{
    u32 iod = 0;
    ifsvc_get_iod_frm_ifindex(what.about.if_index, &iod);
    return number(iod);
}

// ---- Extensions

template <u32 slot>
u32 ask_extension(u32 iod)
{
    return ifsvc_get_extension(iod, slot == 0 ? varn.config.uuid : varn.config.extn_uuid[slot - 1]);
}

// The size counts where a decoder was given the data.
answer cached_size(const asked &what)
{
    const varn_if_entry_t *entry = valid_entry(what, VARN_BIT_EXTN);
    return entry == nullptr || varn.config.extn_decode[0] == nullptr ? nothing()
                                                                     : number(entry->extn_size[0]);
}

u32 ask_size(u32 iod)
{
    u32 size = 0;
    ifsvc_get_private_data(iod, varn.config.uuid, &size);
    return size;
}

// ---- Port-channels and VLANs

answer cached_bucket(const asked &what)
{
    const auto *entry = find<varn_pc_entry_t>(varn.pc_table, what.about.if_index);
    if (!is_cached(VARN_BIT_PC) || entry == nullptr || entry->rbh_dirty[what.variant] != 0)
        return nothing();
    return number(entry->rbh_mbr_ifindex[what.variant]);
}

answer direct_bucket(const asked &what)
{
    return number(find_query("varn_aggsvc_get_pc_mbr_ifidx_from_rbh").direct(what).values[0]);
}

template <unsigned bit, auto read>
answer vlan_field(const asked &what)
{
    const auto *entry = find<varn_vlan_entry_t>(varn.vlan_table, what.vlan);
    if (!is_cached(bit) || entry == nullptr || (entry->dirty & VARN_MASK(bit)) != 0)
        return nothing();
    return number(read(*entry));
}

// The values of a query's direct answer, without its code.
answer values_of(const char *query, const asked &what)
{
    const answer direct = find_query(query).direct(what);
    return number(direct.values[0]);
}

answer direct_bd(const asked &what) { return values_of("varn_vlan_get_bd", what); }
answer direct_flood_index(const asked &what) { return values_of("varn_vlan_to_flood_di", what); }
answer direct_primary(const asked &what) { return values_of("varn_pvlan_get_pvlan", what); }

#define FIELD(bit, name)                                                                           \
    field<VARN_BIT_##bit, [](const varn_if_entry_t &e) -> u32 { return e.name; }>
#define VLAN_FIELD(bit, name)                                                                      \
    vlan_field<VARN_BIT_##bit, [](const varn_vlan_entry_t &e) -> u32 { return e.name; }>

constexpr subject an_interface = subject::interface;

// clang-format off
constexpr query fields[] = {
    { "entry.iod",        an_interface, 1, FIELD(IOD, iod),               direct_iod },
    { "entry.pi",         an_interface, 1, FIELD(PI, pi),
      identifier<idxsvc_lib_ifidx_to_di, VARN_NO_PI> },
    { "entry.lif",        an_interface, 1, FIELD(LIF, lif),
      identifier<lifsvc_query_ifindex_to_lif, VARN_NO_LIF> },
    { "entry.mac",        an_interface, 1, cached_mac,                    direct_mac },
    { "entry.encap",      an_interface, 1, FIELD(ENCAP, encap),     by_iod<ifsvc_get_if_encaptype> },
    { "entry.extn[0]",    an_interface, 1, FIELD(EXTN, extn[0]),    by_iod<ask_extension<0>> },
    { "entry.extn[1]",    an_interface, 1, FIELD(EXTN1, extn[1]),   by_iod<ask_extension<1>> },
    { "entry.extn[2]",    an_interface, 1, FIELD(EXTN2, extn[2]),   by_iod<ask_extension<2>> },
    { "entry.extn[3]",    an_interface, 1, FIELD(EXTN3, extn[3]),   by_iod<ask_extension<3>> },
    { "entry.extn_size[0]", an_interface, 1, cached_size,           by_iod<ask_size> },
    { "entry.context_id", an_interface, 1, FIELD(CONTEXT, context_id),
      by_iod<vrfsvc_if_get_context_id> },
    { "entry.base_tid",   an_interface, 1, FIELD(BASE_TID, base_tid),     by_iod<ask_table> },
    { "entry.vlan",       an_interface, 1, FIELD(VLAN, vlan),       by_iod<ifsvc_get_if_vlanid> },
    { "entry.mtu",        an_interface, 1, FIELD(MTU, mtu),         by_iod<ifsvc_get_if_mtu> },
    { "entry.port_mode",  an_interface, 1, cached_port_mode,        direct_port_mode },
    { "entry.switchport", an_interface, 1, FIELD(SWITCHPORT, switchport),
      by_iod<ifsvc_is_switchport> },
    { "entry.switching",  an_interface, 1, FIELD(SWITCHING, switching),
      by_iod<ifsvc_is_switching_enabled_on_iod> },
    { "entry.linkup",     an_interface, 1, FIELD(LINKUP, linkup),   by_iod<ifsvc_is_linkup> },
    { "entry.protoup",    an_interface, 1, FIELD(PROTOUP, protoup), by_iod<ifsvc_is_protoup> },
    { "entry.ethernet",   an_interface, 1, FIELD(ETHERNET, ethernet), by_iod<ifsvc_is_ethernet> },
    { "entry.is_vlan",    an_interface, 1, FIELD(IS_VLAN, is_vlan), by_iod<ifsvc_is_vlan> },
    { "entry.null",       an_interface, 1, FIELD(NULL, null),       by_iod<ifsvc_is_null0> },
    { "entry.p2p",        an_interface, 1, FIELD(P2P, p2p),         by_iod<ifsvc_is_native_p2p> },
    { "entry.loopback",   an_interface, 1, FIELD(LOOPBACK, loopback), by_iod<ifsvc_is_loopback> },
    { "entry.mvpn",       an_interface, 1, FIELD(MVPN, mvpn), by_iod<ifsvc_is_mvpn_tunnel> },

    { "pc_entry.rbh_mbr_ifindex", an_interface, VARN_NUM_RBH, cached_bucket, direct_bucket },
    { "vlan_entry.bd",    subject::vlan, 1, VLAN_FIELD(BD, bd),     direct_bd },
    { "vlan_entry.flood_di", subject::vlan, 1, VLAN_FIELD(FINDEX, flood_di), direct_flood_index },
    { "vlan_entry.pvlan", subject::vlan, 1, VLAN_FIELD(PVLAN, pvlan), direct_primary },
};
// clang-format on

} // namespace

std::span<const query> entry_fields() { return fields; }

} // namespace coherence
