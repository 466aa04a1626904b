// SPDX-License-Identifier: Apache-2.0
//
// The list, in the order of the header.
#include "misuse_calls.h"

namespace
{

using calls_of = std::vector<exported_call>;

calls_of of_the_tables()
{
    return {CALL(varn_if_insert_entry, nullptr),  CALL(varn_iod_insert_entry, nullptr),
            CALL(varn_pi_insert_entry, nullptr),  CALL(varn_lif_insert_entry, nullptr),
            CALL(varn_iod_delete_entry, nullptr), CALL(varn_pi_delete_entry, nullptr),
            CALL(varn_lif_delete_entry, nullptr), CALL(varn_if_delete_entry, nullptr),
            CALL(varn_vlan_table_init),           CALL(varn_pc_table_init)};
}

calls_of of_the_entries()
{
    return {CALL(varn_if_create_entry_by_if, port7, 7, none, none),
            CALL(varn_if_create_entry_by_iod, 7),
            CALL(varn_if_create_entry_by_pi, 0x107),
            CALL(varn_if_create_entry_by_lif, 0x2007),
            CALL(varn_find_entry_by_iod, 7),
            CALL(varn_if_destroy_entry, nullptr),
            CALL(varn_if_remove_entry_by_if, port7),
            CALL(varn_if_remove_entry_by_iod, 7),
            CALL(varn_if_remove_entry_by_pi, 0x107),
            CALL(varn_if_remove_entry_by_lif, 0x2007),
            CALL(varn_if_remove_entry_by_if_ext, port7, 7, 1),
            CALL(varn_if_update_entry, nullptr, 0),
            CALL(varn_if_update_if, port7),
            CALL(varn_get_if_src_mac_addr, 7),
            CALL(varn_flush_if_entry, nullptr, 1),
            CALL(varn_if_flush_all, 1),
            CALL(varn_if_flush_if, port7, 1),
            CALL(varn_if_flush_iod, 7, 1),
            CALL(varn_if_flush_pi, 0x107, 1),
            CALL(varn_if_flush_lif, 0x2007, 1)};
}

calls_of of_the_queries()
{
    return {CALL(varn_ifsvc_is_linkup, 7),
            CALL(varn_ifsvc_is_protoup, 7),
            CALL(varn_ifsvc_is_switchport, 7),
            CALL(varn_ifsvc_is_switching_enabled_on_iod, 7),
            CALL(varn_ifsvc_is_ethernet, 7),
            CALL(varn_ifsvc_is_vlan, 7),
            CALL(varn_ifsvc_is_null0, 7),
            CALL(varn_ifsvc_is_native_p2p, 7),
            CALL(varn_ifsvc_is_loopback, 7),
            CALL(varn_ifsvc_is_mvpn_tunnel, 7),
            CALL(varn_ifsvc_is_gre_tunnel, 7),
            CALL(varn_ifsvc_is_super_802_3ad, 7),
            CALL(varn_ifsvc_is_cbus, 7),
            CALL(varn_ifsvc_is_mgmtether, 7),
            CALL(varn_ifsvc_is_dci_tunnel, 7),
            CALL(varn_ifsvc_is_dci_overlay, 7),
            CALL(varn_ifsvc_is_6to4_tunnel, 7),
            CALL(varn_ifsvc_is_mpls_tunnel, 7),
            CALL(varn_ifsvc_get_if_mtu, 7),
            CALL(varn_ifsvc_get_if_encaptype, 7),
            CALL(varn_ifsvc_get_if_mac_addr, 7),
            CALL(varn_ifsvc_is_if_mac_addr, 7, six_bytes),
            CALL(varn_ifsvc_get_if_vlanid, 7),
            CALL(varn_ifsvc_get_vlan_info, 7, &vlan_record, &word),
            CALL(varn_ifsvc_get_if_name, 7),
            CALL(varn_ifsvc_get_ifindex_frm_iod, 7, &word),
            CALL(varn_ifsvc_get_iod_frm_ifindex, port7, &word),
            CALL(varn_ifsvc_is_iod_svi, 7),
            CALL(varn_ifsvc_get_svi_iod_for_vlan, 20, 1)};
}

calls_of of_the_extensions()
{
    return {CALL(varn_ifsvc_get_extension, 7, 1),
            CALL(varn_ifsvc_get_extension1, 7, 1),
            CALL(varn_ifsvc_get_extension2, 7, 1),
            CALL(varn_ifsvc_get_extension3, 7, 1),
            CALL(varn_ifsvc_is_extension_set, 7, 1),
            CALL(varn_ifsvc_is_extension1_set, 7, 1),
            CALL(varn_ifsvc_is_extension2_set, 7, 1),
            CALL(varn_ifsvc_is_extension3_set, 7, 1),
            CALL(varn_ifsvc_set_extension, 7, 1, 2),
            CALL(varn_ifsvc_set_extension1, 7, 1, 2),
            CALL(varn_ifsvc_set_extension2, 7, 1, 2),
            CALL(varn_ifsvc_set_extension3, 7, 1, 2),
            CALL(varn_ifsvc_update_private_data, 7, 1, 2, 3),
            CALL(varn_ifsvc_get_private_data, 7, 1, &word)};
}

calls_of of_the_translations()
{
    return {CALL(varn_lifsvc_query_lif_to_ifindex, 0x2007, &word),
            CALL(varn_idxsvc_lib_ifidx_to_di, port7, &word),
            CALL(varn_idxsvc_lib_si_to_ifidx, 0x107, &word),
            CALL(varn_lifsvc_query_ifindex_to_lif, port7, &word),
            CALL(varn_portsvc_gldb_get_ifindex_port_mode, port7, &word),
            CALL(varn_get_if_l2_info_by_pi, 0x107, &word, &word, &word, &half, &word, &word, &word,
                 &word),
            CALL(varn_aggsvc_get_fop, channel3, &word)};
}

calls_of of_the_side_caches()
{
    return {CALL(varn_pc_create_entry, channel3, 1),
            CALL(varn_pc_insert_entry, nullptr),
            CALL(varn_pc_delete_entry, nullptr),
            CALL(varn_pc_remove_entry_by_if_index, channel3),
            CALL(varn_pc_invalidate, channel3),
            CALL(varn_pc_invalidate_entry_by_phy_if, port7),
            CALL(varn_aggsvc_get_pc_mbr_ifidx_from_rbh, channel3, 1, &word),
            CALL(varn_vlan_create_entry_by_vlan, 20),
            CALL(varn_vlan_insert_entry, nullptr),
            CALL(varn_vlan_delete_entry, nullptr),
            CALL(varn_vlan_remove_entry_by_vlan, 20),
            CALL(varn_vlan_update_entry, nullptr),
            CALL(varn_vlan_update_vlan, 20),
            CALL(varn_flush_vlan_entry, nullptr, 1),
            CALL(varn_vlan_flush_vlan, 20, 1),
            CALL(varn_vlan_flush_all, 1),
            CALL(varn_vlan_get_bd, {1, 20}, &half),
            CALL(varn_vlan_to_flood_di, 20, &word, &half),
            CALL(varn_pvlan_get_pvlan, 20, &word)};
}

calls_of of_the_handlers()
{
    return {CALL(varn_update_phy_state, &phy_record),
            CALL(varn_update_l2_state, &l2_record),
            CALL(varn_update_l3_state, &l3_record),
            CALL(varn_update_switchport, 7),
            CALL(varn_update_l2_bundle_state, &l2_record),
            CALL(varn_update_l3_bundle_state, &l3_record),
            CALL(varn_update_l3_param, &l3_param_record, nullptr),
            CALL(varn_update_vlan, 7),
            CALL(varn_remove_extension0, 7),
            CALL(varn_update_is_linkup_dirty_bit, 7, 0, 1),
            CALL(varn_update_router_mac, &mac_record),
            CALL(varn_update_aggsvc_fop, &fop_record)};
}

calls_of of_the_dumps()
{
    return {CALL(varn_print_global, 5),
            CALL(varn_dump, 5),
            CALL(varn_if_dump, 5),
            CALL(varn_pc_dump, 5),
            CALL(varn_vlan_dump, 5),
            CALL(varn_print_stats, 5, &varn.if_table),
            CALL(varn_dump_iod_bmp, 5),
            CALL(varn_if_print_table, 5, &varn.if_table),
            CALL(varn_iod_print_table, 5, &varn.iod_table),
            CALL(varn_pi_print_table, 5, &varn.pi_table),
            CALL(varn_lif_print_table, 5, &varn.lif_table),
            CALL(varn_pc_print_table, 5, &varn.pc_table),
            CALL(varn_vlan_print_table, 5, &varn.vlan_table),
            CALL(varn_if_entry_print, 5, nullptr),
            CALL(varn_if_print_iod, 5, 7),
            CALL(varn_pc_entry_print, 5, nullptr),
            CALL(varn_pc_print, 5, channel3),
            CALL(varn_vlan_entry_print, 5, nullptr),
            CALL(varn_vlan_print, 5, 20),
            CALL(varn_format_mac, six_bytes),
            CALL(varn_set_print, nullptr, 0),
            CALL(varn_attr_set_debug_print_arg, nullptr, 0),
            CALL(varn_attr_get_debug_print_arg, &trace_function, &trace_argument)};
}

} // namespace

std::vector<exported_call> calls_of_the_lifecycle()
{
    return {CALL(varn_init, &varn.config), CALL(varn_cleanup), CALL(varn_disable_cache),
            CALL(varn_restore_cache)};
}

std::vector<exported_call> calls_of_a_running_cache()
{
    std::vector<exported_call> all;
    for (const auto &part :
         {of_the_tables(), of_the_entries(), of_the_queries(), of_the_extensions(),
          of_the_translations(), of_the_side_caches(), of_the_handlers(), of_the_dumps()})
        all.insert(all.end(), part.begin(), part.end());
    return all;
}
