// SPDX-License-Identifier: Apache-2.0
//
// The tables are read through the double, which tells what stands in them without a call.
#include "comparison.h"

#include <cstring>

namespace naive
{

namespace
{

[[noreturn]] void differ(const std::string &what, u64 library, u64 model)
{
    throw difference(scripted::spell(what, ": the library has ", scripted::hex(library),
                                     ", the model ", scripted::hex(model)));
}

std::string at_number(const char *name, u32 number)
{
    return scripted::spell(name, "[", scripted::dec(number), "]");
}

struct checker {
    const char *of;

    void operator()(const char *field, u64 library, u64 model) const
    {
        if (library != model)
            differ(scripted::spell(of, ".", field), library, model);
    }
};

void compare_index(const char *name, const varn_index_counters_t &library,
                   const index_counts &model)
{
    const checker same{name};
    same("inserts", library.inserts, model.inserts);
    same("removes", library.removes, model.removes);
    same("insert_fail", library.insert_fail, model.insert_fail);
    same("remove_fail", library.remove_fail, model.remove_fail);
}

void compare_slots(const counts &model)
{
    for (unsigned slot = 0; slot < 32; ++slot) {
        if (varn.misses[slot] != model.misses[slot])
            differ(at_number("misses", slot), varn.misses[slot], model.misses[slot]);
        if (varn.hits[slot] != model.hits[slot])
            differ(at_number("hits", slot), varn.hits[slot], model.hits[slot]);
        if (varn.updates[slot] != model.updates[slot])
            differ(at_number("updates", slot), varn.updates[slot], model.updates[slot]);
    }
}

void compare_counts(const counts &model)
{
    const checker same{"varn"};
    compare_slots(model);
    same("if_allocs", varn.if_allocs, model.if_allocs);
    same("if_frees", varn.if_frees, model.if_frees);
    same("if_destroys", varn.if_destroys, model.if_destroys);
    same("iod_remaps", varn.iod_remaps, model.iod_remaps);
    same("pi_remaps", varn.pi_remaps, model.pi_remaps);
    same("lif_remaps", varn.lif_remaps, model.lif_remaps);
    compare_index("varn.if_index", varn.if_index, model.if_index);
    compare_index("varn.iod_index", varn.iod_index, model.iod_index);
    compare_index("varn.pi_index", varn.pi_index, model.pi_index);
    compare_index("varn.lif_index", varn.lif_index, model.lif_index);
    same("phy_updates", varn.phy_updates, model.phy);
    same("l2_updates", varn.l2_updates, model.l2);
    same("l3_updates", varn.l3_updates, model.l3);
    same("l3_param_updates", varn.l3_param_updates, model.l3_param);
    same("l2_bundle_updates", varn.l2_bundle_updates, model.l2_bundle);
    same("l3_bundle_updates", varn.l3_bundle_updates, model.l3_bundle);
    same("aggsvc_updates", varn.aggsvc_updates, model.aggsvc);
    same("if_refreshes", varn.if_refreshes, model.if_refreshes);
    same("iod_refreshes", varn.iod_refreshes, model.iod_refreshes);
    same("pi_refreshes", varn.pi_refreshes, model.pi_refreshes);
    same("lif_refreshes", varn.lif_refreshes, model.lif_refreshes);
    same("create_fail", varn.create_fail, model.create_fail);
}

void compare_side_counts(const counts &model)
{
    const checker same{"varn"};
    same("vlan_misses.bd", varn.vlan_misses.bd, model.bd_misses);
    same("vlan_hits.bd", varn.vlan_hits.bd, model.bd_hits);
    same("vlan_updates.bd", varn.vlan_updates.bd, model.bd_updates);
    same("vlan_misses.findex", varn.vlan_misses.findex, model.findex_misses);
    same("vlan_hits.findex", varn.vlan_hits.findex, model.findex_hits);
    same("vlan_updates.findex", varn.vlan_updates.findex, model.findex_updates);
    same("vlan_misses.pvlan", varn.vlan_misses.pvlan, model.pvlan_misses);
    same("vlan_hits.pvlan", varn.vlan_hits.pvlan, model.pvlan_hits);
    same("vlan_updates.pvlan", varn.vlan_updates.pvlan, model.pvlan_updates);
    same("vlan_allocs", varn.vlan_allocs, model.vlan_allocs);
    same("vlan_frees", varn.vlan_frees, model.vlan_frees);
    same("pc_hits", varn.pc_hits, model.pc_hits);
    same("pc_misses", varn.pc_misses, model.pc_misses);
    same("pc_updates", varn.pc_updates, model.pc_updates);
    same("pc_allocs", varn.pc_allocs, model.pc_allocs);
    same("pc_frees", varn.pc_frees, model.pc_frees);
}

u64 number_of(auto pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

void compare_config(const varn_config_t &library, const varn_config_t &model)
{
    const checker same{"varn.config"};
    same("num_buckets", library.num_buckets, model.num_buckets);
    same("sync", library.sync, model.sync);
    same("crit", library.crit, model.crit);
    same("med", library.med, model.med);
    same("low", library.low, model.low);
    same("once", library.once, model.once);
    same("uuid", library.uuid, model.uuid);
    for (unsigned slot = 0; slot < 4; ++slot)
        same("extn_decode", number_of(library.extn_decode[slot]),
             number_of(model.extn_decode[slot]));
    for (unsigned slot = 0; slot < 3; ++slot)
        same("extn_uuid", library.extn_uuid[slot], model.extn_uuid[slot]);
    same("debug_print", number_of(library.debug_print), number_of(model.debug_print));
    same("error_print", number_of(library.error_print), number_of(model.error_print));
    same("debug_print_arg", number_of(library.debug_print_arg), number_of(model.debug_print_arg));
    same("error_cb", number_of(library.error_cb), number_of(model.error_cb));
    same("print", number_of(library.print), number_of(model.print));
    same("debug_arg", library.debug_arg, model.debug_arg);
    same("error_arg", library.error_arg, model.error_arg);
    same("create_on_miss", library.create_on_miss, model.create_on_miss);
    same("track_l3", library.track_l3, model.track_l3);
    same("extn_free", number_of(library.extn_free), number_of(model.extn_free));
    same("on_create", number_of(library.on_create), number_of(model.on_create));
}

void compare_objects(const cache &model)
{
    const checker same{"exported"};
    same("varn_enabled", varn_enabled, model.enabled);
    same("varn_do_sync", varn_do_sync, model.saved_sync);
    same("varn_error_cb", varn_error_cb, model.error_switch);
    if (model.print_str != varn_print_str)
        throw difference(scripted::spell("varn_print_str: the library has ",
                                         scripted::quoted(varn_print_str), ", the model ",
                                         scripted::quoted(model.print_str.c_str())));
}

void compare_permissions(const cache &model)
{
    for (u32 word = 0; word < VARN_IODBMP_WORDS; ++word)
        if (varn_iodbmp[word] != model.permissions[word])
            differ(at_number("varn_iodbmp", word), varn_iodbmp[word], model.permissions[word]);
}

void compare_flags(const varn_if_entry_t &library, const entry &model)
{
    const checker same{"entry"};
    same("switchport", library.switchport, model.switchport);
    same("switching", library.switching, model.switching);
    same("linkup", library.linkup, model.linkup);
    same("protoup", library.protoup, model.protoup);
    same("ethernet", library.ethernet, model.ethernet);
    same("is_vlan", library.is_vlan, model.is_vlan);
    same("ips", library.ips, model.ips);
    same("null", library.null, model.null);
    same("loopback", library.loopback, model.loopback);
    same("p2p", library.p2p, model.p2p);
    same("mvpn", library.mvpn, model.mvpn);
}

void compare_record(const varn_if_entry_t &library, const entry &model)
{
    const checker same{"entry"};
    same("if_index", library.if_index, model.if_index);
    same("iod", library.iod, model.iod);
    same("pi", library.pi, model.pi);
    same("lif", library.lif, model.lif);
    same("mac", std::memcmp(library.mac, model.mac.data(), 6) == 0, 1);
    same("encap", library.encap, model.encap);
    for (unsigned slot = 0; slot < 4; ++slot) {
        same("extn", library.extn[slot], model.extn[slot]);
        same("extn_size", library.extn_size[slot], model.extn_size[slot]);
    }
    same("context_id", library.context_id, model.context_id);
    same("base_tid", library.base_tid, model.base_tid);
    same("vlan", library.vlan, model.vlan);
    same("mtu", library.mtu, model.mtu);
    same("port_mode", library.port_mode, model.port_mode);
    compare_flags(library, model);
    same("valid", library.valid, model.valid);
    same("dirty", library.dirty, model.dirty);
    same("aggsvc_if", library.aggsvc_if, model.aggsvc_if);
    same("if_type", library.if_type, model.if_type);
    same("ref_count", library.ref_count, model.ref_count);
    same("iod_remaps", library.iod_remaps, model.iod_remaps);
    same("pi_remaps", library.pi_remaps, model.pi_remaps);
    same("lif_remaps", library.lif_remaps, model.lif_remaps);
}

void compare_record(const varn_vlan_entry_t &library, const vlan_entry &model)
{
    const checker same{"vlan entry"};
    same("vlan", library.vlan, model.vlan);
    same("bd", library.bd, model.bd);
    same("flood_di", library.flood_di, model.flood_di);
    same("pvlan", library.pvlan, model.pvlan);
    same("dirty", library.dirty, model.dirty);
}

void compare_record(const varn_pc_entry_t &library, const pc_entry &model)
{
    const checker same{"pc entry"};
    same("pc_ifindex", library.pc_ifindex, model.pc_ifindex);
    for (unsigned rbh = 0; rbh < 16; ++rbh) {
        same("rbh_dirty", library.rbh_dirty[rbh], model.rbh_dirty[rbh]);
        same("rbh_mbr_ifindex", library.rbh_mbr_ifindex[rbh], model.rbh_mbr_ifindex[rbh]);
    }
}

template <typename Library, typename Record>
void compare_table(const char *name, const ht_t &library, const table<Record> &model)
{
    const checker same{name};
    same("num_entries", library.num_entries, model.filed.size());
    same("num_buckets", library.num_buckets, model.buckets);
    const std::vector<void *> records = scripted::records_in(&library);
    same("records", records.size(), model.filed.size());
    for (const auto &[bucket, record] : model.filed) {
        if (std::find(records.begin(), records.end(), record->at) == records.end())
            throw difference(scripted::spell(name, " lacks a record that the model's table has"));
        compare_record(*static_cast<const Library *>(record->at), *record);
    }
}

} // namespace

void compare_state(const cache &model)
{
    compare_objects(model);
    compare_counts(model.count);
    compare_side_counts(model.count);
    compare_config(varn.config, model.config);
    compare_permissions(model);
    compare_table<varn_if_entry_t>("if_table", varn.if_table, model.if_table);
    compare_table<varn_if_entry_t>("iod_table", varn.iod_table, model.iod_table);
    compare_table<varn_if_entry_t>("pi_table", varn.pi_table, model.pi_table);
    compare_table<varn_if_entry_t>("lif_table", varn.lif_table, model.lif_table);
    compare_table<varn_vlan_entry_t>("vlan_table", varn.vlan_table, model.vlan_table);
    compare_table<varn_pc_entry_t>("pc_table", varn.pc_table, model.pc_table);
}

} // namespace naive
