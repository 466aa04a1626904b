// SPDX-License-Identifier: Apache-2.0
//
// questions.cpp: the exported queries. Most have one of a few shapes, told once: a number by iod, a
// code and an output by some identifier, a flag of an extension slot. Flags are compared as 0 or 1
// and 16-bit values as such, since that is what the cache promises of them.
//
// A slot of extensions is asked under its own key alone: the key that a caller gives goes to the
// service and does not choose the slot.
#include "questions.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "aggsvc.h"
#include "idxsvc.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "supvr.h"
#include "varn.h"

namespace coherence
{

answer number(u32 value)
{
    answer made;
    made.size = 1;
    made.values[0] = value;
    return made;
}

answer code_and(u32 code, u32 value)
{
    answer made = number(value);
    made.code = code;
    return made;
}

u32 first_word(const void *block, u32 size)
{
    u32 value = 0;
    if (block != nullptr && size >= sizeof value)
        std::memcpy(&value, block, sizeof value);
    return value;
}

namespace
{

u32 flag(u32 value) { return value != 0; }
u32 low_16_bits(u32 value) { return value & 0xFFFF; }

answer bytes(const u8 *mac)
{
    answer made;
    made.size = 6;
    for (std::size_t n = 0; n < 6; ++n)
        made.values[n] = mac[n];
    return made;
}

// ---- A number by iod

template <auto ask, auto shape>
answer of_iod(const asked &what)
{
    return number(shape(ask(what.about.iod)));
}

// ---- A code and an output

template <auto ask, auto member>
answer translate(const asked &what)
{
    u32 output = untouched;
    const u32 code = ask(static_cast<std::int32_t>(what.about.*member), &output);
    return code_and(code, output);
}

template <auto ask, auto member>
answer look_up(const asked &what)
{
    u32 output = untouched;
    const u32 code = ask(what.about.*member, &output);
    return code_and(code, output);
}

// ---- MAC addresses

answer cached_mac(const asked &what) { return bytes(varn_ifsvc_get_if_mac_addr(what.about.iod)); }
answer cached_src_mac(const asked &what) { return bytes(varn_get_if_src_mac_addr(what.about.iod)); }

std::array<u8, 6> own_mac(u32 iod)
{
    std::array<u8, 6> mac{};
    ifsvc_get_if_src_mac_addr(iod, mac.data());
    return mac;
}

answer direct_mac(const asked &what) { return bytes(own_mac(what.about.iod).data()); }

// By variant: the interface's own, another one, none.
std::array<u8, 6> mac_to_compare(const asked &what)
{
    std::array<u8, 6> mac{};
    if (what.variant < 2)
        mac = own_mac(what.about.iod);
    if (what.variant == 1)
        mac[5] ^= 1;
    return mac;
}

template <auto ask>
answer is_mac(const asked &what)
{
    return number(flag(ask(what.about.iod, mac_to_compare(what).data())));
}

// ---- VLAN of an interface, name

template <auto ask>
answer vlan_info(const asked &what)
{
    vlan_key_t info{};
    u32 mode = untouched;
    answer made;
    made.code = ask(what.about.iod, &info, &mode);
    made.size = made.code == 1 ? 3 : 0;
    if (made.size != 0)
        made.values = {info.vinst, info.vlan, mode};
    return made;
}

template <auto ask>
answer name(const asked &what)
{
    answer made;
    made.text = ask(what.about.iod);
    return made;
}

// ---- VLAN interfaces

answer direct_is_svi(const asked &what)
{
    u32 if_index = 0;
    const u32 code = ifsvc_get_ifindex_frm_iod(what.about.iod, &if_index);
    return number(code == 0 && ifsvc_is_ifindex_svi(if_index));
}

answer cached_svi_of_vlan(const asked &what)
{
    return number(varn_ifsvc_get_svi_iod_for_vlan(what.vlan, supvr_vinst_get()));
}

answer direct_svi_of_vlan(const asked &what)
{
    return number(ifsvc_get_svi_iod_for_vlan(supvr_vinst_get(), what.vlan));
}

// ---- Extensions and private data

u32 key_of_slot(u32 slot) { return slot == 0 ? varn.config.uuid : varn.config.extn_uuid[slot - 1]; }

template <auto ask, u32 slot, auto shape>
answer extension(const asked &what)
{
    return number(shape(ask(what.about.iod, key_of_slot(slot))));
}

u32 whole(u32 value) { return value; }

// What is found at the address, or what the decoder makes of it.
answer block(uintptr_t found, u32 size, bool is_decoded)
{
    answer made = number(size);
    if (is_decoded)
        made.code = static_cast<u32>(found);
    else if (found != 0)
        made.text.assign(reinterpret_cast<const char *>(found), size);
    return made;
}

answer cached_private_data(const asked &what)
{
    u32 size = untouched;
    const uintptr_t found = varn_ifsvc_get_private_data(what.about.iod, varn.config.uuid, &size);
    return block(found, size, varn.config.extn_decode[0] != nullptr);
}

answer direct_private_data(const asked &what)
{
    u32 size = untouched;
    const uintptr_t found = ifsvc_get_private_data(what.about.iod, varn.config.uuid, &size);
    const bool is_decoded = varn.config.extn_decode[0] != nullptr;
    return block(is_decoded ? first_word(reinterpret_cast<const void *>(found), size) : found, size,
                 is_decoded);
}

// ---- Port mode, L2 information

answer direct_port_mode(const asked &what)
{
    ifsvc_port_mode_t request{};
    request.if_index = what.about.if_index;
    const u32 code = ifsvc_get_ifindex_port_mode_list(&request, 1);
    return code_and(code, request.port_mode);
}

// Where the answer is an address in the client library, it is left out.
answer l2_info(u32 code, const std::array<u32, 8> &out)
{
    answer made;
    made.code = code;
    if (code != 0)
        return made;
    made.size = varn.config.extn_decode[0] != nullptr ? 8 : 7;
    std::copy_n(out.begin(), made.size, made.values.begin());
    return made;
}

answer cached_l2_info(const asked &what)
{
    std::array<u32, 8> out{};
    u16 encap = 0;
    const u32 code = varn_get_if_l2_info_by_pi(what.about.pi, &out[0], &out[1], &out[2], &encap,
                                               &out[4], &out[5], &out[6], &out[7]);
    out[3] = encap;
    return l2_info(code, out);
}

answer direct_l2_info(const asked &what)
{
    std::array<u32, 8> out{};
    const u32 code = idxsvc_lib_si_to_ifidx(static_cast<std::int32_t>(what.about.pi), &out[0]);
    if (code == 0) {
        ifsvc_get_iod_frm_ifindex(out[0], &out[1]);
        out[2] = ifsvc_is_linkup(out[1]);
        out[3] = low_16_bits(ifsvc_get_if_encaptype(out[1]));
        out[4] = ifsvc_is_switchport(out[1]);
        out[5] = ifsvc_is_switching_enabled_on_iod(out[1]);
        out[6] = ifsvc_is_protoup(out[1]);
        asked same = what;
        same.about.iod = out[1];
        out[7] = direct_private_data(same).code;
    }
    return l2_info(code, out);
}

// ---- Port-channels

answer direct_first_member(const asked &what)
{
    aggsvc_pc_info_t info{};
    info.pc_ifindex = what.about.if_index;
    info.first_operational_mbr = untouched;
    const u32 code = aggsvc_get_pc_info(&info);
    return code_and(code, info.first_operational_mbr);
}

answer cached_bucket(const asked &what)
{
    u32 member = untouched;
    const u32 code = varn_aggsvc_get_pc_mbr_ifidx_from_rbh(what.about.if_index,
                                                           static_cast<u8>(what.variant), &member);
    return code_and(code, member);
}

answer direct_bucket(const asked &what)
{
    u32 member = untouched;
    const u32 code = aggsvc_get_pc_mbr_ifidx_from_rbh(what.about.if_index, what.variant, &member);
    return code_and(code, member);
}

// ---- VLANs

vlan_key_t key_of(const asked &what)
{
    vlan_key_t key;
    key.vinst = supvr_vinst_get();
    key.vlan = what.vlan;
    return key;
}

template <auto ask>
answer bridge_domain(const asked &what)
{
    u16 bd = 0;
    const u32 code = ask(key_of(what), &bd);
    return code_and(code, bd);
}

answer flood_index(u32 code, u32 di, u32 bd)
{
    answer made = code_and(code, di);
    made.size = 2;
    made.values[1] = bd;
    return made;
}

answer cached_flood_index(const asked &what)
{
    u32 di = 0;
    u16 bd = 0;
    const u32 code = varn_vlan_to_flood_di(what.vlan, &di, &bd);
    return flood_index(code, di, bd);
}

answer direct_flood_index(const asked &what)
{
    u32 di = 0;
    u16 bd = 0;
    vlan_get_bd(key_of(what), &bd);
    const u32 code = idxsvc_lib_bd_to_di(bd, &di);
    return flood_index(code, di, bd);
}

answer cached_primary(const asked &what)
{
    u32 primary = 0;
    const u32 code = varn_pvlan_get_pvlan(what.vlan, &primary);
    return code_and(code, primary);
}

answer direct_primary(const asked &what)
{
    u32 primary = 0;
    u16 bd = 0;
    const u32 code = vlan_get_bd_and_primary_vlan(key_of(what), &bd, &primary);
    return code_and(code, primary);
}

#define FLAG(ask)        of_iod<varn_##ask, flag>, of_iod<ask, flag>
#define VALUE(ask)       of_iod<varn_##ask, low_16_bits>, of_iod<ask, low_16_bits>
#define SLOT(ask, n)     extension<ask, n, whole>, extension<ifsvc_get_extension, n, whole>
#define SLOT_SET(ask, n) extension<ask, n, flag>, extension<ifsvc_is_extension_set, n, flag>

constexpr subject an_interface = subject::interface;

// clang-format off
constexpr query queries[] = {
    { "varn_ifsvc_is_linkup",          an_interface, 1, FLAG(ifsvc_is_linkup) },
    { "varn_ifsvc_is_protoup",         an_interface, 1, FLAG(ifsvc_is_protoup) },
    { "varn_ifsvc_is_switchport",      an_interface, 1, FLAG(ifsvc_is_switchport) },
    { "varn_ifsvc_is_switching_enabled_on_iod", an_interface, 1,
      FLAG(ifsvc_is_switching_enabled_on_iod) },
    { "varn_ifsvc_is_ethernet",        an_interface, 1, FLAG(ifsvc_is_ethernet) },
    { "varn_ifsvc_is_vlan",            an_interface, 1, FLAG(ifsvc_is_vlan) },
    { "varn_ifsvc_is_null0",           an_interface, 1, FLAG(ifsvc_is_null0) },
    { "varn_ifsvc_is_native_p2p",      an_interface, 1, FLAG(ifsvc_is_native_p2p) },
    { "varn_ifsvc_is_loopback",        an_interface, 1, FLAG(ifsvc_is_loopback) },
    { "varn_ifsvc_is_mvpn_tunnel",     an_interface, 1, FLAG(ifsvc_is_mvpn_tunnel) },
    { "varn_ifsvc_is_gre_tunnel",      an_interface, 1, FLAG(ifsvc_is_gre_tunnel) },
    { "varn_ifsvc_is_super_802_3ad",   an_interface, 1, FLAG(ifsvc_is_super_802_3ad) },
    { "varn_ifsvc_is_cbus",            an_interface, 1, FLAG(ifsvc_is_cbus) },
    { "varn_ifsvc_is_mgmtether",       an_interface, 1, FLAG(ifsvc_is_mgmtether) },
    { "varn_ifsvc_is_dci_tunnel",      an_interface, 1, FLAG(ifsvc_is_dci_tunnel) },
    { "varn_ifsvc_is_dci_overlay",     an_interface, 1, FLAG(ifsvc_is_dci_overlay) },
    { "varn_ifsvc_is_6to4_tunnel",     an_interface, 1, FLAG(ifsvc_is_6to4_tunnel) },
    { "varn_ifsvc_is_mpls_tunnel",     an_interface, 1, FLAG(ifsvc_is_mpls_tunnel) },

    { "varn_ifsvc_get_if_mtu",         an_interface, 1, VALUE(ifsvc_get_if_mtu) },
    { "varn_ifsvc_get_if_encaptype",   an_interface, 1, VALUE(ifsvc_get_if_encaptype) },
    { "varn_ifsvc_get_if_vlanid",      an_interface, 1, VALUE(ifsvc_get_if_vlanid) },
    { "varn_ifsvc_get_if_mac_addr",    an_interface, 1, cached_mac, direct_mac },
    { "varn_get_if_src_mac_addr",      an_interface, 1, cached_src_mac, direct_mac },
    { "varn_ifsvc_is_if_mac_addr",     an_interface, 3,
      is_mac<varn_ifsvc_is_if_mac_addr>, is_mac<ifsvc_is_if_mac_addr> },
    { "varn_ifsvc_get_vlan_info",      an_interface, 1,
      vlan_info<varn_ifsvc_get_vlan_info>, vlan_info<ifsvc_get_vlan_info> },
    { "varn_ifsvc_get_if_name",        an_interface, 1,
      name<varn_ifsvc_get_if_name>, name<ifsvc_get_if_name> },

    { "varn_ifsvc_get_ifindex_frm_iod", an_interface, 1,
      look_up<varn_ifsvc_get_ifindex_frm_iod, &identity::iod>,
      look_up<ifsvc_get_ifindex_frm_iod, &identity::iod> },
    { "varn_ifsvc_get_iod_frm_ifindex", an_interface, 1,
      look_up<varn_ifsvc_get_iod_frm_ifindex, &identity::if_index>,
      look_up<ifsvc_get_iod_frm_ifindex, &identity::if_index> },
    { "varn_ifsvc_is_iod_svi",         an_interface, 1,
      of_iod<varn_ifsvc_is_iod_svi, flag>, direct_is_svi },
    { "varn_ifsvc_get_svi_iod_for_vlan", subject::vlan, 1,
      cached_svi_of_vlan, direct_svi_of_vlan },

    { "varn_ifsvc_get_extension",      an_interface, 1, SLOT(varn_ifsvc_get_extension, 0) },
    { "varn_ifsvc_get_extension1",     an_interface, 1, SLOT(varn_ifsvc_get_extension1, 1) },
    { "varn_ifsvc_get_extension2",     an_interface, 1, SLOT(varn_ifsvc_get_extension2, 2) },
    { "varn_ifsvc_get_extension3",     an_interface, 1, SLOT(varn_ifsvc_get_extension3, 3) },
    { "varn_ifsvc_is_extension_set",   an_interface, 1, SLOT_SET(varn_ifsvc_is_extension_set, 0) },
    { "varn_ifsvc_is_extension1_set",  an_interface, 1, SLOT_SET(varn_ifsvc_is_extension1_set, 1) },
    { "varn_ifsvc_is_extension2_set",  an_interface, 1, SLOT_SET(varn_ifsvc_is_extension2_set, 2) },
    { "varn_ifsvc_is_extension3_set",  an_interface, 1, SLOT_SET(varn_ifsvc_is_extension3_set, 3) },
    { "varn_ifsvc_get_private_data",   an_interface, 1, cached_private_data, direct_private_data },

    { "varn_lifsvc_query_lif_to_ifindex", an_interface, 1,
      translate<varn_lifsvc_query_lif_to_ifindex, &identity::lif>,
      translate<lifsvc_query_lif_to_ifindex, &identity::lif> },
    { "varn_lifsvc_query_ifindex_to_lif", an_interface, 1,
      translate<varn_lifsvc_query_ifindex_to_lif, &identity::if_index>,
      translate<lifsvc_query_ifindex_to_lif, &identity::if_index> },
    { "varn_idxsvc_lib_ifidx_to_di",   an_interface, 1,
      translate<varn_idxsvc_lib_ifidx_to_di, &identity::if_index>,
      translate<idxsvc_lib_ifidx_to_di, &identity::if_index> },
    { "varn_idxsvc_lib_si_to_ifidx",   an_interface, 1,
      translate<varn_idxsvc_lib_si_to_ifidx, &identity::pi>,
      translate<idxsvc_lib_si_to_ifidx, &identity::pi> },
    { "varn_portsvc_gldb_get_ifindex_port_mode", an_interface, 1,
      look_up<varn_portsvc_gldb_get_ifindex_port_mode, &identity::if_index>, direct_port_mode },
    { "varn_get_if_l2_info_by_pi",     an_interface, 1, cached_l2_info, direct_l2_info },

    { "varn_aggsvc_get_fop",           an_interface, 1,
      look_up<varn_aggsvc_get_fop, &identity::if_index>, direct_first_member },
    { "varn_aggsvc_get_pc_mbr_ifidx_from_rbh", an_interface, VARN_NUM_RBH,
      cached_bucket, direct_bucket },

    { "varn_vlan_get_bd",              subject::vlan, 1,
      bridge_domain<varn_vlan_get_bd>, bridge_domain<vlan_get_bd> },
    { "varn_vlan_to_flood_di",         subject::vlan, 1, cached_flood_index, direct_flood_index },
    { "varn_pvlan_get_pvlan",          subject::vlan, 1, cached_primary, direct_primary },
};
// clang-format on

} // namespace

std::span<const query> exported_queries() { return queries; }

std::span<const query> all_queries()
{
    static const std::vector<query> all = [] {
        std::vector<query> both(exported_queries().begin(), exported_queries().end());
        both.insert(both.end(), entry_fields().begin(), entry_fields().end());
        return both;
    }();
    return all;
}

const query &find_query(const std::string &name)
{
    for (const query &candidate : all_queries())
        if (name == candidate.name)
            return candidate;
    throw std::out_of_range(name);
}

std::string text_of(const answer &what)
{
    if (!what.is_known)
        return "nothing";
    char part[16];
    std::snprintf(part, sizeof part, "%#x", what.code);
    std::string text = "code ";
    text.append(part);
    for (u32 n = 0; n < what.size; ++n) {
        std::snprintf(part, sizeof part, " %#x", what.values[n]);
        text.append(part);
    }
    if (!what.text.empty())
        text.append(" '").append(what.text).append("'");
    return text;
}

} // namespace coherence
