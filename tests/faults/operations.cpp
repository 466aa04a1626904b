// SPDX-License-Identifier: Apache-2.0
//
// The operations on tables and entries, the dumps, and all of them together.
#include "operation_rows.h"

namespace
{

// Entries are not released by a new start: only an empty cache is started anew.
std::string start_again()
{
    if (varn.if_table.num_entries != 0)
        return "1";
    const varn_config_t kept = varn.config;
    varn_cleanup();
    return dec(varn_init(&kept));
}

std::vector<operation> table_operations()
{
    const names creation = identity_and({"memacct_alloc"});
    return {
        {"create_by_if", [] { return given(varn_if_create_entry_by_if(port7, 0, none, none)); },
         creation, entry_or_null},
        {"create_by_iod", [] { return given(varn_if_create_entry_by_iod(7)); }, creation,
         entry_or_null},
        {"create_by_pi", [] { return given(varn_if_create_entry_by_pi(0x107)); },
         identity_and({"memacct_alloc", "idxsvc_lib_si_to_ifidx"}), entry_or_null},
        {"create_by_lif", [] { return given(varn_if_create_entry_by_lif(0x2007)); },
         identity_and({"memacct_alloc", "lifsvc_query_lif_to_ifindex"}), entry_or_null},
        {"find_by_iod", [] { return given(varn_find_entry_by_iod(7)); }, creation, entry_or_null},
        {"remove_by_if",
         [] { return dec(varn_if_remove_entry_by_if(port7)); },
         {"ht_lookup"},
         zero_or_one},
        {"remove_by_iod",
         [] { return dec(varn_if_remove_entry_by_iod(7)); },
         {"ht_lookup"},
         zero_or_one},
        {"remove_by_pi",
         [] { return dec(varn_if_remove_entry_by_pi(0x107)); },
         {"ht_lookup"},
         zero_or_one},
        {"remove_by_lif",
         [] { return dec(varn_if_remove_entry_by_lif(0x2007)); },
         {"ht_lookup"},
         zero_or_one},
        {"remove_by_if_ext",
         [] { return dec(varn_if_remove_entry_by_if_ext(port7, 7, 1)); },
         {"ht_lookup"},
         zero_or_one},
        {"update_if", [] { return dec(varn_if_update_if(port7)); }, identity, zero_or_one},
        {"flush_all", [] { return dec(varn_if_flush_all(2)); }, {"ht_iterator_init"}, {"0"}},
        {"flush_if", [] { return silent(varn_if_flush_if, port7, 1); }, same, same},
        {"flush_iod", [] { return silent(varn_if_flush_iod, 7, 1); }, same, same},
        {"flush_pi", [] { return silent(varn_if_flush_pi, 0x107, 1); }, same, same},
        {"flush_lif", [] { return silent(varn_if_flush_lif, 0x2007, 1); }, same, same},
        {"pc_create",
         [] { return given(varn_pc_create_entry(channel, 1)); },
         {"memacct_alloc", "ht_insert", "ht_lookup"},
         {"null"}},
        {"pc_remove",
         [] { return dec(varn_pc_remove_entry_by_if_index(channel)); },
         {"ht_lookup"},
         {"0"}},
        {"pc_invalidate", [] { return dec(varn_pc_invalidate(channel)); }, {"ht_lookup"}, {"0"}},
        {"pc_invalidate_by_port",
         [] { return hex(varn_pc_invalidate_entry_by_phy_if(port7)); },
         {"if_index_get_type", "aggsvc_get_pc_for_port"},
         {"0x0", "0xffffffff"}},
        {"vlan_create",
         [] { return given(varn_vlan_create_entry_by_vlan(20)); },
         {"memacct_alloc", "ht_insert", "ht_lookup"},
         {"null"}},
        {"vlan_remove",
         [] { return dec(varn_vlan_remove_entry_by_vlan(20)); },
         {"ht_lookup"},
         {"0", "1"}},
        {"vlan_update", [] { return dec(varn_vlan_update_vlan(20)); }, {"ht_lookup"}, {"0"}},
        {"vlan_flush", [] { return dec(varn_vlan_flush_vlan(20, 2)); }, same, same},
        {"vlan_flush_all", [] { return dec(varn_vlan_flush_all(2)); }, {"ht_iterator_init"}, {"0"}},
    };
}

std::vector<operation> dumps()
{
    return {
        {"dump", [] { return silent(varn_dump, 5); }, same, same},
        {"if_dump", [] { return silent(varn_if_dump, 5); }, same, same},
        {"pc_dump", [] { return silent(varn_pc_dump, 5); }, same, same},
        {"vlan_dump", [] { return silent(varn_vlan_dump, 5); }, same, same},
        {"print_iod", [] { return silent(varn_if_print_iod, 5, 7); }, same, same},
        {"pc_print", [] { return silent(varn_pc_print, 5, channel); }, same, same},
        {"vlan_print", [] { return silent(varn_vlan_print, 5, std::uint16_t{20}); }, same, same},
        {"start_again", start_again, {"ht_init"}, zero_or_one},
    };
}

} // namespace

const std::vector<operation> &operations()
{
    static const std::vector<operation> all = [] {
        std::vector<operation> rows;
        for (const auto &part :
             {queries(), translations(), table_operations(), handlers(), dumps()})
            rows.insert(rows.end(), part.begin(), part.end());
        return rows;
    }();
    return all;
}
