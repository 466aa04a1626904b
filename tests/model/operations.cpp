// SPDX-License-Identifier: Apache-2.0
//
// The list, and the rows that are plain: the same call on both sides. Weights say how often an
// operation comes; what empties the cache comes seldom, so that histories have something to lose.
#include "both_sides.h"

namespace naive
{

// clang-format off
#define ROW(weight, name, ...) \
    row(weight, "varn_" #name, ::varn_##name, &cache::name __VA_OPT__(,) __VA_ARGS__)

void add_queries(std::vector<operation> &to)
{
    const auto iod = a::iod, number = a::number;
    to.insert(to.end(), {
        ROW(6, ifsvc_is_linkup, iod),
        ROW(4, ifsvc_is_protoup, iod),
        ROW(4, ifsvc_is_switchport, iod),
        ROW(4, ifsvc_is_switching_enabled_on_iod, iod),
        ROW(4, ifsvc_is_ethernet, iod),
        ROW(4, ifsvc_is_vlan, iod),
        ROW(4, ifsvc_is_null0, iod),
        ROW(4, ifsvc_is_native_p2p, iod),
        ROW(4, ifsvc_is_loopback, iod),
        ROW(4, ifsvc_is_mvpn_tunnel, iod),
        ROW(3, ifsvc_is_gre_tunnel, iod),
        ROW(3, ifsvc_is_super_802_3ad, iod),
        ROW(3, ifsvc_is_cbus, iod),
        ROW(3, ifsvc_is_mgmtether, iod),
        ROW(1, ifsvc_is_dci_tunnel, iod),
        ROW(1, ifsvc_is_dci_overlay, iod),
        ROW(1, ifsvc_is_6to4_tunnel, iod),
        ROW(1, ifsvc_is_mpls_tunnel, iod),
        ROW(6, ifsvc_get_if_mtu, iod),
        ROW(6, ifsvc_get_if_encaptype, iod),
        ROW(5, ifsvc_is_if_mac_addr, iod, number),
        ROW(6, ifsvc_get_if_vlanid, iod),
        ROW(6, ifsvc_get_vlan_info, iod, number, number),
        ROW(6, ifsvc_get_ifindex_frm_iod, iod, number),
        ROW(6, ifsvc_get_iod_frm_ifindex, a::if_index, number),
        ROW(3, ifsvc_is_iod_svi, iod),
        ROW(3, ifsvc_get_svi_iod_for_vlan, a::vlan, number),
    });
}

void add_extensions_and_translations(std::vector<operation> &to)
{
    const auto iod = a::iod, key = a::key, number = a::number;
    to.insert(to.end(), {
        ROW(4, ifsvc_get_extension, iod, key),
        ROW(4, ifsvc_get_extension1, iod, key),
        ROW(4, ifsvc_get_extension2, iod, key),
        ROW(4, ifsvc_get_extension3, iod, key),
        ROW(4, ifsvc_is_extension_set, iod, key),
        ROW(4, ifsvc_is_extension1_set, iod, key),
        ROW(4, ifsvc_is_extension2_set, iod, key),
        ROW(4, ifsvc_is_extension3_set, iod, key),
        ROW(3, ifsvc_set_extension, iod, key, number),
        ROW(3, ifsvc_set_extension1, iod, key, number),
        ROW(3, ifsvc_set_extension2, iod, key, number),
        ROW(3, ifsvc_set_extension3, iod, key, number),
        ROW(4, ifsvc_update_private_data, iod, key, number, number),
        ROW(6, ifsvc_get_private_data, iod, key, number),
        ROW(6, lifsvc_query_ifindex_to_lif, a::if_index, number),
        ROW(6, lifsvc_query_lif_to_ifindex, a::lif, number),
        ROW(6, idxsvc_lib_ifidx_to_di, a::if_index, number),
        ROW(6, idxsvc_lib_si_to_ifidx, a::pi, number),
        ROW(6, portsvc_gldb_get_ifindex_port_mode, a::if_index, number),
        ROW(8, get_if_l2_info_by_pi, a::pi, number, number, number, number, number, number, number,
            number),
        ROW(6, aggsvc_get_fop, a::channel, number),
    });
}

void add_entry_operations(std::vector<operation> &to)
{
    const auto record = a::record, option = a::option;
    to.insert(to.end(), {
        ROW(6, if_create_entry_by_if, a::if_index, a::iod, a::pi, a::lif),
        ROW(6, if_create_entry_by_iod, a::iod),
        ROW(4, if_create_entry_by_pi, a::pi),
        ROW(4, if_create_entry_by_lif, a::lif),
        ROW(4, find_entry_by_iod, a::iod),
        ROW(3, if_destroy_entry, record),
        ROW(3, if_remove_entry_by_if, a::if_index),
        ROW(3, if_remove_entry_by_iod, a::iod),
        ROW(3, if_remove_entry_by_pi, a::pi),
        ROW(3, if_remove_entry_by_lif, a::lif),
        ROW(8, if_update_entry, record, a::yes),
        ROW(6, if_update_if, a::if_index),
        ROW(6, flush_if_entry, record, option),
        ROW(4, if_flush_all, option),
        ROW(4, if_flush_if, a::if_index, option),
        ROW(4, if_flush_iod, a::iod, option),
        ROW(4, if_flush_pi, a::pi, option),
        ROW(4, if_flush_lif, a::lif, option),
        ROW(1, if_insert_entry, record),
        ROW(1, iod_insert_entry, record),
        ROW(1, iod_delete_entry, record),
        ROW(2, pi_delete_entry, record),
        ROW(2, lif_delete_entry, record),
        ROW(1, if_delete_entry, record),
    });
}

void add_handlers(std::vector<operation> &to)
{
    const auto record = a::record;
    to.insert(to.end(), {
        ROW(8, update_phy_state, record),
        ROW(8, update_l2_state, record),
        ROW(8, update_l3_state, record),
        ROW(4, update_switchport, a::iod),
        ROW(5, update_l2_bundle_state, record),
        ROW(5, update_l3_bundle_state, record),
        ROW(5, update_l3_param, record, record),
        ROW(5, update_vlan, a::iod),
        ROW(3, remove_extension0, a::iod),
        ROW(2, update_is_linkup_dirty_bit, a::iod, a::if_index, a::yes),
        ROW(6, update_router_mac, record),
        ROW(8, update_aggsvc_fop, record),
    });
}

void add_side_caches(std::vector<operation> &to)
{
    const auto record = a::record, number = a::number, vlan = a::vlan, channel = a::channel;
    to.insert(to.end(), {
        ROW(2, pc_create_entry, channel, a::yes),
        ROW(1, pc_insert_entry, record),
        ROW(1, pc_delete_entry, record),
        ROW(1, pc_remove_entry_by_if_index, channel),
        ROW(3, pc_invalidate, channel),
        ROW(3, pc_invalidate_entry_by_phy_if, a::if_index),
        ROW(12, aggsvc_get_pc_mbr_ifidx_from_rbh, channel, a::rbh, number),
        ROW(1, pc_table_init),
        ROW(4, vlan_create_entry_by_vlan, vlan),
        ROW(1, vlan_insert_entry, record),
        ROW(1, vlan_delete_entry, record),
        ROW(4, vlan_remove_entry_by_vlan, vlan),
        ROW(3, vlan_update_entry, record),
        ROW(3, vlan_update_vlan, vlan),
        ROW(4, flush_vlan_entry, record, a::option),
        ROW(4, vlan_flush_vlan, vlan, a::option),
        ROW(3, vlan_flush_all, a::option),
        ROW(8, vlan_get_bd, number, number),
        ROW(8, vlan_to_flood_di, vlan, number, number),
        ROW(8, pvlan_get_pvlan, vlan, number),
        ROW(1, vlan_table_init),
    });
}

void add_dumps(std::vector<operation> &to)
{
    const auto sink = a::sink, record = a::record;
    to.insert(to.end(), {
        ROW(1, print_global, sink),
        ROW(1, dump, sink),
        ROW(1, if_dump, sink),
        ROW(2, pc_dump, sink),
        ROW(2, vlan_dump, sink),
        ROW(1, print_stats, sink, record),
        ROW(1, dump_iod_bmp, sink),
        ROW(1, if_print_table, sink, record),
        ROW(1, iod_print_table, sink, record),
        ROW(1, pi_print_table, sink, record),
        ROW(1, lif_print_table, sink, record),
        ROW(4, if_entry_print, sink, record),
        ROW(2, if_print_iod, sink, a::iod),
        ROW(2, pc_entry_print, sink, record),
        ROW(2, pc_print, sink, a::channel),
        ROW(2, vlan_entry_print, sink, record),
        ROW(2, vlan_print, sink, a::vlan),
    });
}
#undef ROW
// clang-format on

namespace
{

struct operation_list {
    std::vector<operation> all;
    u32 weights = 0;

    operation_list()
    {
        add_lifecycle(all); // varn_init is the first
        add_queries(all);
        add_extensions_and_translations(all);
        add_entry_operations(all);
        add_handlers(all);
        add_side_caches(all);
        add_dumps(all);
        for (const operation &each : all)
            weights += each.weight;
    }
};

const operation_list &the_operations()
{
    static const operation_list kept;
    return kept;
}

} // namespace

u32 draw_operation(dice &chance)
{
    u32 left = chance.below(the_operations().weights);
    u32 at = 0;
    while (left >= the_operations().all[at].weight)
        left -= the_operations().all[at++].weight;
    return at;
}

u32 number_of_operations() { return static_cast<u32>(the_operations().all.size()); }

const operation &operation_at(u32 number) { return the_operations().all[number]; }

} // namespace naive
