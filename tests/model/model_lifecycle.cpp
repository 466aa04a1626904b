// SPDX-License-Identifier: Apache-2.0
//
// Start, stop, switching off and on; the tables as objects; memory.
#include "model_tables.h"

#include <strings.h>

namespace naive
{

cache::cache()
{
    if_table = {&varn.if_table, false, 0, [](const entry &of) { return of.if_index; }, true, {}};
    iod_table = {&varn.iod_table, false, 0, [](const entry &of) { return of.iod; }, false, {}};
    pi_table = {&varn.pi_table, false, 0, [](const entry &of) { return of.pi; }, false, {}};
    lif_table = {&varn.lif_table, false, 0, [](const entry &of) { return of.lif; }, false, {}};
    vlan_table = {
        &varn.vlan_table, false, 0, [](const vlan_entry &of) { return u32{of.vlan}; }, false, {}};
    pc_table = {&varn.pc_table, false, 0, [](const pc_entry &of) { return of.pc_ifindex; },
                false,          {}};
}

u32 cache::init(const varn_config_t *given)
{
    if (given == nullptr)
        return 0;
    permissions.fill(0xFFFFFFFF);
    for (table<entry> *each : {&if_table, &iod_table, &pi_table, &lif_table})
        each->forget();
    vlan_table.forget();
    pc_table.forget();
    count = counts{};
    is_cleaned_up = false;
    enabled = 0;
    config = *given;
    config.create_on_miss = 1;
    config.sync |= u64{1} << 25;
    if (config.num_buckets == 0)
        config.num_buckets = 16384;
    const std::string account = "Varn,VARN_MEM_NONE,VARN_MEM_varn_if_entry_t,"
                                "VARN_MEM_varn_vlan_entry_t,VARN_MEM_varn_pc_entry_t";
    ask_about(memacct_init, account, 544, 4);
    if (!make_table(if_table, 4, varn_if_hash, varn_if_get_key, varn_if_keys_equal) ||
        (syncs(1) &&
         !make_table(iod_table, 16, varn_iod_hash, varn_iod_get_key, varn_iod_keys_equal)) ||
        (syncs(2) && !make_table(pi_table, 28, varn_pi_hash, varn_pi_get_key, varn_pi_keys_equal)))
        return 0;
    if (syncs(3) &&
        !make_table(lif_table, 40, varn_lif_hash, varn_lif_get_key, varn_lif_keys_equal))
        return 0;
    vlan_table_init();
    pc_table_init();
    enabled = 1;
    return 1;
}

template <typename Record>
bool cache::make_table(table<Record> &of, std::size_t link_position, ht_hash_fn hash,
                       ht_get_key_fn get_key, ht_keys_equal_fn keys_equal)
{
    if (init_object(of, link_position, hash, get_key, keys_equal))
        return true;
    report("varn_init", "Couldn't initialize hash table\n");
    clean_table(of);
    return false;
}

u32 cache::cleanup()
{
    clean_table(lif_table);
    clean_table(pi_table);
    clean_table(iod_table);
    clean_table(if_table);
    clean_table(vlan_table);
    is_cleaned_up = true;
    return 1;
}

void cache::disable_cache()
{
    if (enabled == 0)
        return;
    saved_sync = static_cast<u32>(config.sync);
    config.sync = 0;
    enabled = 0;
}

void cache::restore_cache()
{
    if (enabled != 0)
        return;
    config.sync = saved_sync;
    enabled = 1;
}

void cache::set_print(varn_print_arg_fn print_function, uintptr_t arg)
{
    config.debug_print_arg = print_function;
    config.debug_arg = arg;
}

const char *cache::mem_type_find(u32 value)
{
    switch (value) {
    case 0:
        return "VARN_MEM_NONE";
    case 1:
        return "VARN_MEM_varn_if_entry_t";
    case 2:
        return "VARN_MEM_varn_vlan_entry_t";
    case 3:
        return "VARN_MEM_varn_pc_entry_t";
    case 4:
        return "VARN_MEM_MAX";
    default:
        return nullptr;
    }
}

u32 cache::mem_type_str2enum(const char *name)
{
    for (u32 value = 1; value <= 4; ++value)
        if (strcasecmp(name, mem_type_find(value)) == 0)
            return value;
    return 0;
}

// The order in which they were allocated cannot be told from an address; the If table's is as good,
// and the same whenever a history is run again.
std::vector<entry *> cache::entries() const
{
    std::vector<entry *> all;
    for (const table<entry> *each : {&if_table, &iod_table, &pi_table, &lif_table})
        for (const auto &[bucket, record] : each->filed)
            if (std::find(all.begin(), all.end(), record) == all.end())
                all.push_back(record);
    return all;
}

} // namespace naive
