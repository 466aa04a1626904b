// SPDX-License-Identifier: Apache-2.0
//
// requests.cpp: one row a function. A function with arguments of its own is wrapped, so that its row
// looks like the others; an output narrower than 32 bits begins with the low bytes of `untouched`.
#include "requests.h"

#include <cstring>

#include "aggsvc.h"
#include "idxsvc.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "supvr.h"
#include "vlansvc.h"
#include "vrfsvc.h"

namespace port_contract
{
namespace
{

constexpr u32 some_key = 0x51;
constexpr u8 some_mac[6] = {2, 1, 2, 3, 4, 5};

u32 base_table(u32 iod) { return vrfsvc_if_get_table_id(iod, 1, "base"); }
u32 extension(u32 iod) { return ifsvc_get_extension(iod, some_key); }
u32 extension_set(u32 iod) { return ifsvc_is_extension_set(iod, some_key); }
u32 is_mac(u32 iod) { return ifsvc_is_if_mac_addr(iod, some_mac); }

// Both of the block and of its size, which is always written.
u32 private_data(u32 iod)
{
    u32 size = untouched;
    return ifsvc_get_private_data(iod, some_key, &size) != 0 || size != 0;
}

template <auto function>
bool translate(u32 key, u32 *output)
{
    return function(key, output) == 0;
}

template <auto function>
bool translate_signed(u32 key, u32 *output)
{
    return function(static_cast<std::int32_t>(key), output) == 0;
}

bool mac(u32 iod, u32 *output)
{
    u8 bytes[6];
    std::memcpy(bytes, output, 4);
    std::memset(bytes + 4, 0xEE, 2);
    const bool is_good = ifsvc_get_if_src_mac_addr(iod, bytes) == 0;
    std::memcpy(output, bytes, 4);
    if (bytes[4] != 0xEE || bytes[5] != 0xEE)
        *output = 0;
    return is_good;
}

// Success is 1 there, and 0 is none.
bool vlan_info(u32 iod, u32 *output)
{
    vlan_key_t info{};
    u32 mode = 0;
    return ifsvc_get_vlan_info(iod, &info, &mode) == 1 && (*output = info.vlan, true);
}

bool name(u32 if_index, u32 *output)
{
    char buffer[64] = "left over";
    const bool is_good = ifsvc_get_ifindex_name(if_index, buffer, sizeof buffer) == 0;
    if (!is_good && buffer[0] != '\0')
        *output = 0; // a failing call leaves an empty text
    return is_good;
}

bool port_mode(u32 if_index, u32 *output)
{
    ifsvc_port_mode_t request{};
    request.if_index = if_index;
    request.port_mode = *output;
    const bool is_good = ifsvc_get_ifindex_port_mode_list(&request, 1) == 0;
    *output = request.port_mode;
    return is_good;
}

bool first_member(u32 pc, u32 *output)
{
    aggsvc_pc_info_t info;
    std::memset(&info, 0xA5, sizeof info);
    info.pc_ifindex = pc;
    info.first_operational_mbr = *output;
    const bool is_good = aggsvc_get_pc_info(&info) == 0;
    *output = info.first_operational_mbr;
    return is_good;
}

bool membership(u32 port, u32 *output)
{
    aggsvc_pc_for_port_t answer;
    std::memset(&answer, 0xA5, sizeof answer);
    answer.pc_ifindex = *output;
    const bool is_good = aggsvc_get_pc_for_port(port, &answer) == 0;
    *output = answer.pc_ifindex;
    return is_good;
}

bool bucket(u32 pc, u32 *output) { return aggsvc_get_pc_mbr_ifidx_from_rbh(pc, 3, output) == 0; }

vlan_key_t key_of(u32 vlan)
{
    vlan_key_t key;
    key.vinst = supvr_vinst_get();
    key.vlan = vlan;
    return key;
}

bool bridge_domain(u32 vlan, u32 *)
{
    u16 bd = 0;
    return vlan_get_bd(key_of(vlan), &bd) == 0;
}

bool primary(u32 vlan, u32 *)
{
    u16 bd = 0;
    u32 primary = 0;
    return vlan_get_bd_and_primary_vlan(key_of(vlan), &bd, &primary) == 0;
}

// clang-format off
constexpr value_request values[] = {
    { "ifsvc_is_linkup",                    ifsvc_is_linkup },
    { "ifsvc_is_protoup",                   ifsvc_is_protoup },
    { "ifsvc_is_switchport",                ifsvc_is_switchport },
    { "ifsvc_is_switching_enabled_on_iod",  ifsvc_is_switching_enabled_on_iod },
    { "ifsvc_is_ethernet",                  ifsvc_is_ethernet },
    { "ifsvc_is_vlan",                      ifsvc_is_vlan },
    { "ifsvc_is_null0",                     ifsvc_is_null0 },
    { "ifsvc_is_native_p2p",                ifsvc_is_native_p2p },
    { "ifsvc_is_loopback",                  ifsvc_is_loopback },
    { "ifsvc_is_mvpn_tunnel",               ifsvc_is_mvpn_tunnel },
    { "ifsvc_is_gre_tunnel",                ifsvc_is_gre_tunnel },
    { "ifsvc_is_super_802_3ad",             ifsvc_is_super_802_3ad },
    { "ifsvc_is_cbus",                      ifsvc_is_cbus },
    { "ifsvc_is_mgmtether",                 ifsvc_is_mgmtether },
    { "ifsvc_is_dci_tunnel",                ifsvc_is_dci_tunnel },
    { "ifsvc_is_dci_overlay",               ifsvc_is_dci_overlay },
    { "ifsvc_is_6to4_tunnel",               ifsvc_is_6to4_tunnel },
    { "ifsvc_is_mpls_tunnel",               ifsvc_is_mpls_tunnel },
    { "ifsvc_get_if_mtu",                   ifsvc_get_if_mtu },
    { "ifsvc_get_if_encaptype",             ifsvc_get_if_encaptype },
    { "ifsvc_get_if_vlanid",                ifsvc_get_if_vlanid },
    { "ifsvc_get_sub_interface_parent",     ifsvc_get_sub_interface_parent },
    { "ifsvc_is_if_mac_addr",               is_mac },
    { "ifsvc_get_extension",                extension },
    { "ifsvc_is_extension_set",             extension_set },
    { "ifsvc_get_private_data",             private_data },
    { "vrfsvc_if_get_context_id",           vrfsvc_if_get_context_id },
    { "vrfsvc_if_get_table_id",             base_table },
};

constexpr code_request codes[] = {
    { "ifsvc_get_if_src_mac_addr",        by::iod,          false, mac },
    { "ifsvc_get_vlan_info",              by::iod,          true,  vlan_info },
    { "ifsvc_get_ifindex_frm_iod",        by::iod,          false, translate<ifsvc_get_ifindex_frm_iod> },
    { "ifsvc_get_iod_frm_ifindex",        by::if_index,     false, translate<ifsvc_get_iod_frm_ifindex> },
    { "ifsvc_get_ifindex_name",           by::if_index,     false, name },
    { "ifsvc_get_ifindex_port_mode_list", by::if_index,     false, port_mode },
    { "lifsvc_query_ifindex_to_lif",      by::if_index,     false, translate_signed<lifsvc_query_ifindex_to_lif> },
    { "idxsvc_lib_ifidx_to_di",           by::if_index,     false, translate_signed<idxsvc_lib_ifidx_to_di> },
    { "aggsvc_get_pc_for_port",           by::if_index,     false, membership },
    { "aggsvc_get_pc_info",               by::port_channel, false, first_member },
    { "aggsvc_get_pc_mbr_ifidx_from_rbh", by::port_channel, false, bucket },
    { "vlan_get_bd",                      by::vlan,         true,  bridge_domain },
    { "vlan_get_bd_and_primary_vlan",     by::vlan,         true,  primary },
};
// clang-format on

} // namespace

std::span<const value_request> value_requests() { return values; }
std::span<const code_request> code_requests() { return codes; }

} // namespace port_contract
