// SPDX-License-Identifier: Apache-2.0
//
// A query that takes more than an iod, or another identifier, is wrapped: the call is then direct
// and its outputs are dropped.
#include "exported_queries.h"

#include "platform_stub.h"
#include "varn.h"

namespace
{

using bench::if_index_of;
using bench::pc_index_of;
using u32 = uint32_t;

uint16_t vlan_of(u32 iod) { return static_cast<uint16_t>(iod % 4094 + 1); }
int32_t as_signed(u32 number) { return static_cast<int32_t>(number); }

u32 mac_address(u32 iod) { return *varn_ifsvc_get_if_mac_addr(iod); }

u32 is_mac_address(u32 iod)
{
    constexpr uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
    return varn_ifsvc_is_if_mac_addr(iod, mac);
}

u32 vlan_info(u32 iod)
{
    varn_vlan_info_t info;
    u32 mode;
    return varn_ifsvc_get_vlan_info(iod, &info, &mode);
}

u32 name(u32 iod) { return static_cast<u32>(*varn_ifsvc_get_if_name(iod)); }

// The common shape: a key, an output, a code.
template <auto ask>
u32 of_iod(u32 iod)
{
    u32 answer = 0;
    return ask(iod, &answer);
}

template <auto ask>
u32 of_signed(u32 iod)
{
    u32 answer = 0;
    return ask(as_signed(iod), &answer);
}

template <auto ask>
u32 of_if_index(u32 iod)
{
    u32 answer = 0;
    return ask(if_index_of(iod), &answer);
}

template <auto ask>
u32 of_signed_if_index(u32 iod)
{
    u32 answer = 0;
    return ask(as_signed(if_index_of(iod)), &answer);
}

template <auto ask>
u32 with_key(u32 iod)
{
    return ask(iod, 0x11);
}

u32 private_data(u32 iod)
{
    u32 size;
    return static_cast<u32>(varn_ifsvc_get_private_data(iod, 0x11, &size));
}

u32 l2_info(u32 iod)
{
    u32 if_index, found, linkup, switchport, switching, protoup, data;
    uint16_t encap;
    return varn_get_if_l2_info_by_pi(iod, &if_index, &found, &linkup, &encap, &switchport,
                                     &switching, &protoup, &data);
}

u32 first_member(u32 iod)
{
    u32 member;
    return varn_aggsvc_get_fop(pc_index_of(iod), &member);
}

u32 bucket_member(u32 iod)
{
    u32 member;
    return varn_aggsvc_get_pc_mbr_ifidx_from_rbh(pc_index_of(iod), 3, &member);
}

u32 bridge_domain(u32 iod)
{
    uint16_t bd;
    return varn_vlan_get_bd({1, vlan_of(iod)}, &bd);
}

u32 flood_index(u32 iod)
{
    u32 di;
    uint16_t bd;
    return varn_vlan_to_flood_di(vlan_of(iod), &di, &bd);
}

u32 primary_vlan(u32 iod)
{
    u32 pvlan;
    return varn_pvlan_get_pvlan(vlan_of(iod), &pvlan);
}

// clang-format off
constexpr bench::exported_query all[] = {
    {"varn_ifsvc_is_linkup", varn_ifsvc_is_linkup},
    {"varn_ifsvc_is_protoup", varn_ifsvc_is_protoup},
    {"varn_ifsvc_is_switchport", varn_ifsvc_is_switchport},
    {"varn_ifsvc_is_switching_enabled_on_iod", varn_ifsvc_is_switching_enabled_on_iod},
    {"varn_ifsvc_is_ethernet", varn_ifsvc_is_ethernet},
    {"varn_ifsvc_is_vlan", varn_ifsvc_is_vlan},
    {"varn_ifsvc_is_null0", varn_ifsvc_is_null0},
    {"varn_ifsvc_is_native_p2p", varn_ifsvc_is_native_p2p},
    {"varn_ifsvc_is_loopback", varn_ifsvc_is_loopback},
    {"varn_ifsvc_is_mvpn_tunnel", varn_ifsvc_is_mvpn_tunnel},
    {"varn_ifsvc_get_if_mtu", varn_ifsvc_get_if_mtu},
    {"varn_ifsvc_get_if_encaptype", varn_ifsvc_get_if_encaptype},
    {"varn_ifsvc_is_gre_tunnel", varn_ifsvc_is_gre_tunnel},
    {"varn_ifsvc_is_super_802_3ad", varn_ifsvc_is_super_802_3ad},
    {"varn_ifsvc_is_cbus", varn_ifsvc_is_cbus},
    {"varn_ifsvc_is_mgmtether", varn_ifsvc_is_mgmtether},
    {"varn_ifsvc_get_if_mac_addr", mac_address},
    {"varn_ifsvc_is_if_mac_addr", is_mac_address},
    {"varn_ifsvc_get_if_vlanid", varn_ifsvc_get_if_vlanid},
    {"varn_ifsvc_get_vlan_info", vlan_info},
    {"varn_ifsvc_get_if_name", name},
    {"varn_ifsvc_get_ifindex_frm_iod", of_iod<varn_ifsvc_get_ifindex_frm_iod>},
    {"varn_ifsvc_get_iod_frm_ifindex", of_if_index<varn_ifsvc_get_iod_frm_ifindex>},
    {"varn_ifsvc_is_iod_svi", varn_ifsvc_is_iod_svi},
    {"varn_ifsvc_get_extension", with_key<varn_ifsvc_get_extension>},
    {"varn_ifsvc_get_extension1", with_key<varn_ifsvc_get_extension1>},
    {"varn_ifsvc_get_extension2", with_key<varn_ifsvc_get_extension2>},
    {"varn_ifsvc_get_extension3", with_key<varn_ifsvc_get_extension3>},
    {"varn_ifsvc_is_extension_set", with_key<varn_ifsvc_is_extension_set>},
    {"varn_ifsvc_is_extension1_set", with_key<varn_ifsvc_is_extension1_set>},
    {"varn_ifsvc_is_extension2_set", with_key<varn_ifsvc_is_extension2_set>},
    {"varn_ifsvc_is_extension3_set", with_key<varn_ifsvc_is_extension3_set>},
    {"varn_ifsvc_get_private_data", private_data},
    {"varn_lifsvc_query_lif_to_ifindex", of_signed<varn_lifsvc_query_lif_to_ifindex>},
    {"varn_lifsvc_query_ifindex_to_lif", of_signed_if_index<varn_lifsvc_query_ifindex_to_lif>},
    {"varn_idxsvc_lib_ifidx_to_di", of_signed_if_index<varn_idxsvc_lib_ifidx_to_di>},
    {"varn_idxsvc_lib_si_to_ifidx", of_signed<varn_idxsvc_lib_si_to_ifidx>},
    {"varn_portsvc_gldb_get_ifindex_port_mode", of_if_index<varn_portsvc_gldb_get_ifindex_port_mode>},
    {"varn_get_if_l2_info_by_pi", l2_info},
    {"varn_aggsvc_get_fop", first_member},
    {"varn_aggsvc_get_pc_mbr_ifidx_from_rbh", bucket_member},
    {"varn_vlan_get_bd", bridge_domain},
    {"varn_vlan_to_flood_di", flood_index},
    {"varn_pvlan_get_pvlan", primary_vlan},
};
// clang-format on

} // namespace

std::span<const bench::exported_query> bench::exported_queries() { return all; }
