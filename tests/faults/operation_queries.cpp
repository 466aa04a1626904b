// SPDX-License-Identifier: Apache-2.0
//
// Queries and translations. A query by iod hangs on its own service alone, because it asks that
// service itself when no entry can be had; whatever goes through the identity of an entry hangs on
// the identity too.
#include "operation_rows.h"

namespace
{

std::string bytes(const std::uint8_t *mac) { return scripted::mac_text(mac); }

std::string vlan_info()
{
    varn_vlan_info_t info{};
    u32 mode = 0;
    const u32 result = varn_ifsvc_get_vlan_info(7, &info, &mode);
    return spell(dec(result), " -> ", dec(info.vinst), "/", dec(info.vlan), " ", dec(mode));
}

std::string l2_info()
{
    u32 if_index = 0, iod = 0, linkup = 0, switchport = 0, switching = 0, protoup = 0, data = 0;
    std::uint16_t encap = 0;
    const u32 code = varn_get_if_l2_info_by_pi(0x107, &if_index, &iod, &linkup, &encap, &switchport,
                                               &switching, &protoup, &data);
    return hex(code);
}

std::string private_data()
{
    u32 size = 0;
    return hex(varn_ifsvc_get_private_data(7, 0x11, &size));
}

std::string bridge_domain()
{
    std::uint16_t bd = 0;
    const u32 code = varn_vlan_get_bd({1, 20}, &bd);
    return spell(hex(code), " -> ", dec(bd));
}

std::string flood_index()
{
    u32 di = 0;
    std::uint16_t bd = 0;
    const u32 code = varn_vlan_to_flood_di(20, &di, &bd);
    return spell(hex(code), " -> ", hex(di), " ", dec(bd));
}

} // namespace

std::vector<operation> queries()
{
    return {
        {"is_linkup",
         [] { return dec(varn_ifsvc_is_linkup(7)); },
         {"ifsvc_is_linkup"},
         {"0", "1", "2", "4294967295"}},
        {"is_protoup",
         [] { return dec(varn_ifsvc_is_protoup(7)); },
         {"ifsvc_is_protoup"},
         {"0", "1", "2", "4294967295"}},
        {"is_switchport",
         [] { return dec(varn_ifsvc_is_switchport(7)); },
         {"ifsvc_is_switchport"},
         {"0", "1", "2", "4294967295"}},
        {"is_switching",
         [] { return dec(varn_ifsvc_is_switching_enabled_on_iod(7)); },
         {"ifsvc_is_switching_enabled_on_iod"},
         {"0", "1", "2", "4294967295"}},
        {"is_ethernet",
         [] { return dec(varn_ifsvc_is_ethernet(7)); },
         {"ifsvc_is_ethernet"},
         {"0", "1", "2", "4294967295"}},
        {"is_vlan",
         [] { return dec(varn_ifsvc_is_vlan(7)); },
         {"ifsvc_is_vlan"},
         {"0", "1", "2", "4294967295"}},
        {"is_null0",
         [] { return dec(varn_ifsvc_is_null0(7)); },
         {"ifsvc_is_null0"},
         {"0", "1", "2", "4294967295"}},
        {"is_native_p2p",
         [] { return dec(varn_ifsvc_is_native_p2p(7)); },
         {"ifsvc_is_native_p2p"},
         {"0", "1", "2", "4294967295"}},
        {"is_loopback",
         [] { return dec(varn_ifsvc_is_loopback(7)); },
         {"ifsvc_is_loopback"},
         {"0", "1", "2", "4294967295"}},
        {"is_mvpn_tunnel",
         [] { return dec(varn_ifsvc_is_mvpn_tunnel(7)); },
         {"ifsvc_is_mvpn_tunnel"},
         {"0", "1", "2", "4294967295"}},
        {"is_gre_tunnel",
         [] { return dec(varn_ifsvc_is_gre_tunnel(7)); },
         identity_and({"ifsvc_is_gre_tunnel"}),
         {"0", "1", "2", "4294967295"}},
        {"is_super_802_3ad",
         [] { return dec(varn_ifsvc_is_super_802_3ad(16003)); },
         identity_and({"ifsvc_is_super_802_3ad"}),
         {"0", "1", "2", "4294967295"}},
        {"is_cbus",
         [] { return dec(varn_ifsvc_is_cbus(7)); },
         identity_and({"ifsvc_is_cbus"}),
         {"0", "1", "2", "4294967295"}},
        {"is_mgmtether",
         [] { return dec(varn_ifsvc_is_mgmtether(7)); },
         identity_and({"ifsvc_is_mgmtether"}),
         {"0", "1", "2", "4294967295"}},
        {"is_dci_tunnel",
         [] { return dec(varn_ifsvc_is_dci_tunnel(7)); },
         {"ifsvc_is_dci_tunnel"},
         {"0", "2", "4294967295"}},
        {"is_dci_overlay",
         [] { return dec(varn_ifsvc_is_dci_overlay(7)); },
         {"ifsvc_is_dci_overlay"},
         {"0", "2", "4294967295"}},
        {"is_6to4_tunnel",
         [] { return dec(varn_ifsvc_is_6to4_tunnel(7)); },
         {"ifsvc_is_6to4_tunnel"},
         {"0", "2", "4294967295"}},
        {"is_mpls_tunnel",
         [] { return dec(varn_ifsvc_is_mpls_tunnel(7)); },
         {"ifsvc_is_mpls_tunnel"},
         {"0", "2", "4294967295"}},
        {"get_if_mtu",
         [] { return dec(varn_ifsvc_get_if_mtu(7)); },
         {"ifsvc_get_if_mtu"},
         {"9216", "0", "2", "65535"}},
        {"get_if_encaptype",
         [] { return dec(varn_ifsvc_get_if_encaptype(7)); },
         {"ifsvc_get_if_encaptype"},
         {"3", "0", "2", "65535"}},
        {"get_if_mac_addr",
         [] { return bytes(varn_ifsvc_get_if_mac_addr(7)); },
         {"ifsvc_get_if_src_mac_addr"},
         same},
        {"get_if_src_mac_addr",
         [] { return bytes(varn_get_if_src_mac_addr(7)); },
         {"ifsvc_get_if_src_mac_addr"},
         same},
        {"is_if_mac_addr",
         [] {
             const std::uint8_t mac[6] = {1, 2, 3, 4, 5, 6};
             return dec(varn_ifsvc_is_if_mac_addr(7, mac));
         },
         {"ifsvc_get_if_src_mac_addr", "ifsvc_is_if_mac_addr"},
         {"0", "1", "2", "4294967295"}},
        {"get_if_vlanid",
         [] { return dec(varn_ifsvc_get_if_vlanid(9)); },
         {"ifsvc_get_if_vlanid", "ifsvc_is_vlan", "ifsvc_is_switchport", "ifsvc_get_vlan_info"},
         {"30", "0", "2", "65535"}},
        {"get_vlan_info",
         vlan_info,
         {"ifsvc_get_vlan_info", "ifsvc_is_vlan", "ifsvc_is_switchport", "ifsvc_get_if_vlanid",
          "supvr_vinst_get"},
         same},
        {"get_if_name", [] { return std::string(varn_ifsvc_get_if_name(7)); },
         identity_and({"ifsvc_get_if_name", "ifsvc_get_ifindex_name"}), same},
        {"get_ifindex_frm_iod",
         [] { return code_and([](u32 *out) { return varn_ifsvc_get_ifindex_frm_iod(7, out); }); },
         identity,
         {"0x0 -> 0x1a000007", "0x0 -> 0x0", "0x0 -> 0xffffffff", "0x40e30001 -> 0x0",
          "0x41 -> 0x0", "0xffffffff -> 0x0"}},
        {"get_iod_frm_ifindex",
         [] {
             return code_and([](u32 *out) { return varn_ifsvc_get_iod_frm_ifindex(port7, out); });
         },
         identity,
         {"0x0 -> 0x7", "0x0 -> 0x0", "0x0 -> 0xffffffff", "0x40e30001 -> 0x0", "0x41 -> 0x0",
          "0xffffffff -> 0x0"}},
        {"is_iod_svi",
         [] { return dec(varn_ifsvc_is_iod_svi(20020)); },
         identity_and({"ifsvc_is_ifindex_svi"}),
         {"0", "1", "2", "4294967295"}},
        {"get_svi_iod_for_vlan",
         [] { return dec(varn_ifsvc_get_svi_iod_for_vlan(20, 1)); },
         identity_and({"if_index_vlan_port_init"}),
         {"20020", "0", "4294967295"}},
        {"get_extension",
         [] { return hex(varn_ifsvc_get_extension(7, 0x11)); },
         identity_and({"ifsvc_get_extension", "ifsvc_get_private_data", "memacct_alloc"}),
         {"0x0", "0x1", "0x2", "0x3", "0x4", "0x5a", "0xffffffff"}},
        {"is_extension_set",
         [] { return dec(varn_ifsvc_is_extension_set(7, 0x11)); },
         {"ifsvc_get_private_data", "ifsvc_is_extension_set"},
         {"0", "1", "2", "4294967295"}},
        {"is_extension1_set",
         [] { return dec(varn_ifsvc_is_extension1_set(7, 0x12)); },
         {"ifsvc_get_extension", "ifsvc_is_extension_set"},
         {"0", "1", "2", "4294967295"}},
        {"set_extension2", [] { return dec(varn_ifsvc_set_extension2(7, 0x13, 5)); }, same, same},
        {"update_private_data", [] { return dec(varn_ifsvc_update_private_data(7, 0x11, 5, 3)); },
         identity_and({"memacct_alloc"}), zero_or_one},
        {"get_private_data", private_data, {"ifsvc_get_private_data"}, same},
    };
}

std::vector<operation> translations()
{
    return {
        {"ifidx_to_di",
         [] {
             return code_and([](u32 *out) {
                 return varn_idxsvc_lib_ifidx_to_di(static_cast<std::int32_t>(port7), out);
             });
         },
         identity_and({"idxsvc_lib_ifidx_to_di"}),
         {"0x0 -> 0x107", "0x0 -> 0xffffffff", "0x0 -> 0x0", "0x40e00002 -> 0x0", "0x41 -> 0x0",
          "0xffffffff -> 0x0"}},
        {"si_to_ifidx",
         [] { return code_and([](u32 *out) { return varn_idxsvc_lib_si_to_ifidx(0x107, out); }); },
         identity_and({"idxsvc_lib_si_to_ifidx"}),
         {"0x0 -> 0x1a000007", "0x0 -> 0x0", "0x0 -> 0xffffffff", "0x40e00002 -> 0x0",
          "0x41 -> 0x0", "0xffffffff -> 0x0"}},
        {"lif_to_ifindex",
         [] {
             return code_and(
                 [](u32 *out) { return varn_lifsvc_query_lif_to_ifindex(0x2007, out); });
         },
         identity_and({"lifsvc_query_lif_to_ifindex"}),
         {"0x0 -> 0x1a000007", "0x0 -> 0x0", "0x0 -> 0xffffffff", "0x41080003 -> 0x0",
          "0x41 -> 0x0", "0xffffffff -> 0x0"}},
        {"ifindex_to_lif",
         [] {
             return code_and([](u32 *out) {
                 return varn_lifsvc_query_ifindex_to_lif(static_cast<std::int32_t>(port7), out);
             });
         },
         identity_and({"lifsvc_query_ifindex_to_lif", "memacct_alloc"}),
         {"0x0 -> 0x0", "0x0 -> 0x2007", "0x0 -> 0xffffffff", "0x41080003 -> 0x0", "0x41 -> 0x0",
          "0xffffffff -> 0x0"}},
        {"port_mode",
         [] {
             return code_and(
                 [](u32 *out) { return varn_portsvc_gldb_get_ifindex_port_mode(port7, out); });
         },
         identity_and({"ifsvc_get_ifindex_port_mode_list", "memacct_alloc"}),
         {"0x0 -> 0x200", "0x0 -> 0x0", "0x40290000 -> 0x0", "0x0 -> 0xffffffff", "0x41 -> 0x0",
          "0xffffffff -> 0x0"}},
        {"l2_info_by_pi",
         l2_info,
         identity_and({"idxsvc_lib_si_to_ifidx"}),
         {"0x0", "0x40e00002", "0x41", "0xffffffff"}},
        {"get_fop",
         [] { return code_and([](u32 *out) { return varn_aggsvc_get_fop(channel, out); }); },
         {"aggsvc_get_pc_info"},
         {"0x0 -> 0x1a000007", "0x0 -> 0xffffffff", "0x40e30001 -> 0x0", "0x41 -> 0x0",
          "0xffffffff -> 0x0"}},
        {"pc_mbr_from_rbh",
         [] {
             return code_and(
                 [](u32 *out) { return varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, 1, out); });
         },
         {"aggsvc_get_pc_mbr_ifidx_from_rbh", "ht_insert", "ht_lookup", "memacct_alloc"},
         {"0x0 -> 0x1a000008", "0x1 -> 0x0", "0x0 -> 0x0", "0x0 -> 0xffffffff"}},
        {"vlan_get_bd", bridge_domain, {"vlan_get_bd", "vlan_get_bd_and_primary_vlan"}, same},
        {"vlan_to_flood_di",
         flood_index,
         {"vlan_get_bd", "vlan_get_bd_and_primary_vlan", "idxsvc_lib_bd_to_di"},
         same},
        {"pvlan",
         [] { return code_and([](u32 *out) { return varn_pvlan_get_pvlan(20, out); }); },
         {"vlan_get_bd_and_primary_vlan"},
         {"0x0 -> 0x14", "0x0 -> 0x0", "0x0 -> 0xffffffff"}},
    };
}
