// SPDX-License-Identifier: Apache-2.0
//
// The exported objects, start and stop. Three states: unloaded (all zero), running (varn_enabled 1)
// and disabled (varn_enabled 0, sync 0, tables and entries kept). The order of varn_init is fixed:
// the configuration first, then the tables that its sync mask asks for, and varn_enabled last.
#include <cstring>

#include "directory.h"
#include "ht.h"
#include "memacct.h"
#include "memory.h"
#include "messages.h"
#include "misuse.h"

using namespace ifcache;

varn_global_t varn;
uint32_t varn_enabled;
uint32_t varn_do_sync;
uint32_t varn_error_cb;
uint32_t varn_iodbmp[VARN_IODBMP_WORDS];
char varn_print_str[128];

namespace
{

constexpr uint32_t default_num_buckets = 16384;
constexpr uint64_t low_half = 0xFFFFFFFF;

void take_configuration(const varn_config_t &config)
{
    varn.config = config;
    varn.config.create_on_miss = 1;
    varn.config.sync |= VARN_MASK(VARN_BIT_IF_TYPE);
    if (varn.config.num_buckets == 0)
        varn.config.num_buckets = default_num_buckets;
}

void register_memory_types()
{
    const char *names[VARN_MEM_MAX];
    for (uint32_t type = 0; type < VARN_MEM_MAX; ++type)
        names[type] = __varn_mem_type_t_find(type);
    memacct_init("Varn", account_id, names, VARN_MEM_MAX);
}

bool make_table(ht_t &table, size_t link, ht_hash_fn hash, ht_get_key_fn get_key,
                ht_keys_equal_fn keys_equal)
{
    if (ht_init(&table, 0, static_cast<uint32_t>(link), varn.config.num_buckets, 0.0, hash, get_key,
                keys_equal))
        return true;
    REPORT("varn_init", "Couldn't initialize hash table\n");
    ht_cleanup(&table);
    return false;
}

// Deliberate: a failure leaves the tables made before it as they are.
bool make_interface_tables()
{
    if (!make_table(varn.if_table, offsetof(varn_if_entry_t, if_link), varn_if_hash,
                    varn_if_get_key, varn_if_keys_equal))
        return false;
    if (is_cached(VARN_BIT_IOD) &&
        !make_table(varn.iod_table, offsetof(varn_if_entry_t, iod_link), varn_iod_hash,
                    varn_iod_get_key, varn_iod_keys_equal))
        return false;
    if (is_cached(VARN_BIT_PI) && !make_table(varn.pi_table, offsetof(varn_if_entry_t, pi_link),
                                              varn_pi_hash, varn_pi_get_key, varn_pi_keys_equal))
        return false;
    if (is_cached(VARN_BIT_LIF) &&
        !make_table(varn.lif_table, offsetof(varn_if_entry_t, lif_link), varn_lif_hash,
                    varn_lif_get_key, varn_lif_keys_equal))
        return false;
    return true;
}

} // namespace

uint32_t varn_init(const varn_config_t *config)
{
    ENTER();
    MUST(RULE_SWITCHED, may_start());
    if (!config)
        return 0;
    const varn_config_t given = *config; // it may be the library's own copy
    CLEANED_UP(false);
    std::memset(varn_iodbmp, 0xFF, sizeof varn_iodbmp);
    std::memset(&varn, 0, sizeof varn);
    clear_directory();
    take_configuration(given);
    register_memory_types();
    if (!make_interface_tables()) {
        varn_enabled = 0;
        return 0;
    }
    varn_vlan_table_init();
    varn_pc_table_init();
    varn_enabled = 1;
    return 1;
}

// Deliberate: the PC table, the entries and varn_enabled are left alone.
uint32_t varn_cleanup(void)
{
    ENTER();
    MUST(RULE_SWITCHED, may_start());
    CLEANED_UP(true);
    ht_cleanup(&varn.lif_table);
    ht_cleanup(&varn.pi_table);
    ht_cleanup(&varn.iod_table);
    clear_directory();
    ht_cleanup(&varn.if_table);
    ht_cleanup(&varn.vlan_table);
    return 1;
}

void varn_disable_cache(void)
{
    VISIT();
    MUST(RULE_SWITCHED, may_switch());
    if (!varn_enabled)
        return;
    varn_do_sync = static_cast<uint32_t>(varn.config.sync & low_half);
    varn.config.sync = 0;
    varn_enabled = 0;
}

// Deliberate: the high half of sync does not come back.
void varn_restore_cache(void)
{
    VISIT();
    MUST(RULE_SWITCHED, may_switch());
    if (varn_enabled)
        return;
    varn.config.sync = varn_do_sync;
    varn_enabled = 1;
}

uint32_t varn_is_enabled(void) { return varn_enabled; }

void varn_set_print(varn_print_arg_fn print, uintptr_t arg)
{
    VISIT();
    varn_attr_set_debug_print_arg(print, arg);
}

void varn_attr_set_debug_print_arg(varn_print_arg_fn print, uintptr_t arg)
{
    VISIT();
    varn.config.debug_print_arg = print;
    varn.config.debug_arg = arg;
}

void varn_attr_get_debug_print_arg(varn_print_arg_fn *print, uintptr_t *arg)
{
    VISIT();
    MUST(RULE_NULL, print && arg);
    *print = varn.config.debug_print_arg;
    *arg = varn.config.debug_arg;
}
