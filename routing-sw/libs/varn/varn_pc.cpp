// SPDX-License-Identifier: Apache-2.0
//
// The port-channel cache: for each port-channel the member that serves each hash bucket. A bucket
// is dirty (ask again) or valid; an invalidation makes every bucket of a port-channel dirty at
// once. The table exists only when VARN_BIT_PC was cached at varn_init.
//
// Which of varn_enabled and the PC bit an operation asks differs on purpose from one to the next.
#include <cstddef>
#include <cstring>

#include "aggsvc.h"
#include "ht.h"
#include "if_index.h"
#include "ifsvc.h"
#include "memacct.h"
#include "varn/attributes.h"
#include "varn/memory.h"
#include "varn/messages.h"
#include "varn/misuse.h"
#include "varn/print.h"

using namespace ifcache;

namespace
{

constexpr u32 member_name_size = 100;

u32 key_of(const void *key) { return *static_cast<const u32 *>(key); }

varn_pc_entry_t *find(u32 pc_ifindex)
{
    return static_cast<varn_pc_entry_t *>(ht_lookup(&varn.pc_table, &pc_ifindex));
}

void mark_all_dirty(varn_pc_entry_t &entry)
{
    for (u32 &dirty : entry.rbh_dirty)
        dirty = 1;
}

varn_pc_entry_t *create_dirty(u32 pc_ifindex)
{
    void *block = allocate(VARN_MEM_varn_pc_entry_t, sizeof(varn_pc_entry_t),
                           "../routing-sw/libs/varn/varn_pc", {"varn_pc_create_entry", __LINE__});
    if (!block)
        return nullptr;
    std::memset(block, 0, sizeof(varn_pc_entry_t));
    auto *entry = static_cast<varn_pc_entry_t *>(block);
    ++varn.pc_allocs;
    mark_all_dirty(*entry);
    entry->pc_ifindex = pc_ifindex;
    if (!varn_pc_insert_entry(entry)) {
        ++varn.pc_frees;
        memacct_free(entry);
        return nullptr;
    }
    return entry;
}

// Asks for the member of a bucket. Deliberate: 0 or 1; the service's own code is only reported.
u32 ask_member(u32 pc_ifindex, u32 rbh, u32 *member)
{
    const u32 code = aggsvc_get_pc_mbr_ifidx_from_rbh(pc_ifindex, rbh, member);
    if (code == 0)
        return 0;
    REPORT("varn_aggsvc_get_pc_mbr_ifidx_from_rbh",
           "get_pc_mbr_ifidx_for_all_rbh bad for ifindex 0x%x, bndl_port %d, retval 0x%x\n",
           pc_ifindex, rbh, code);
    return 1;
}

void print_pc_entry(uintptr_t arg, const void *entry)
{
    varn_pc_entry_print(arg, static_cast<const varn_pc_entry_t *>(entry));
}

} // namespace

uint32_t varn_pc_hash(const void *key, uint32_t num_buckets)
{
    MUST(RULE_NULL, key);
    return key_of(key) % num_buckets;
}

const void *varn_pc_get_key(const void *entry)
{
    MUST(RULE_NULL, entry);
    return entry;
}

uint32_t varn_pc_keys_equal(const void *key_a, const void *key_b)
{
    MUST(RULE_NULL, key_a && key_b);
    return key_of(key_a) == key_of(key_b);
}

uint32_t varn_pc_table_init(void)
{
    VISIT();
    if (!is_cached(VARN_BIT_PC))
        return 1;
    if (ht_init(&varn.pc_table, 0, offsetof(varn_pc_entry_t, link), varn.config.num_buckets, 0.0,
                varn_pc_hash, varn_pc_get_key, varn_pc_keys_equal))
        return 1;
    REPORT("varn_pc_table_init", "Couldn't initialize pc hash table\n");
    ht_cleanup(&varn.pc_table);
    return 0;
}

varn_pc_entry_t *varn_pc_create_entry(uint32_t pc_ifindex, int create)
{
    VISIT();
    if (!varn_enabled)
        return nullptr;
    varn_pc_entry_t *entry = find(pc_ifindex);
    return entry || !create ? entry : create_dirty(pc_ifindex);
}

uint32_t varn_pc_insert_entry(varn_pc_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    if (!entry)
        return 0;
    if (ht_insert(&varn.pc_table, entry, 0))
        return 1;
    REPORT("varn_pc_insert_entry", "*** Failed to add pc entry\n");
    return 0;
}

uint32_t varn_pc_delete_entry(varn_pc_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    MUST(RULE_WORKED, !is_worked_on(entry));
    if (!entry)
        return 0;
    if (!ht_remove_entry(&varn.pc_table, entry)) {
        REPORT("varn_pc_delete_entry", "*** Failed to delete pc entry: possible leak?\n");
        return 0;
    }
    ++varn.pc_frees;
    memacct_free(entry);
    return 1;
}

uint32_t varn_pc_remove_entry_by_if_index(uint32_t pc_ifindex)
{
    VISIT();
    varn_pc_entry_t *entry = varn_enabled ? find(pc_ifindex) : nullptr;
    if (!entry)
        return 0;
    varn_pc_delete_entry(entry); // Deliberate: 1 whatever it gives.
    return 1;
}

uint32_t varn_pc_invalidate(uint32_t pc_ifindex)
{
    VISIT();
    if (!varn_enabled || !is_cached(VARN_BIT_PC))
        return 0;
    varn_pc_entry_t *entry = varn_pc_create_entry(pc_ifindex, 0);
    if (!entry) {
        // Deliberate: the line speaks of memory although none was asked for.
        REPORT("varn_pc_invalidate", "No Memory available for aggsvc entry ifindex 0x%x\n",
               pc_ifindex);
        return 0;
    }
    ++varn.pc_updates;
    mark_all_dirty(*entry);
    TRACE("PC Varn invalidated for 0x%x\n", pc_ifindex);
    return 1;
}

// Deliberate: varn_enabled is not asked, and the port-channel is named whatever became of it.
uint32_t varn_pc_invalidate_entry_by_phy_if(uint32_t port_ifindex)
{
    VISIT();
    if (!is_cached(VARN_BIT_PC))
        return 0;
    uint8_t type = 0;
    if (if_index_get_type(port_ifindex, &type)) {
        REPORT("varn_pc_invalidate_entry_by_phy_if", "Invalid interface index 0x%x\n",
               port_ifindex);
        return 0;
    }
    if (type != IF_INDEX_TYPE_PHYSICAL)
        return 0;
    aggsvc_pc_for_port_t membership{};
    if (const u32 code = aggsvc_get_pc_for_port(port_ifindex, &membership)) {
        REPORT("varn_pc_invalidate_entry_by_phy_if",
               "aggsvc_get_pc_for_port failed with 0x%x for 0x%x\n", code, port_ifindex);
        return 0;
    }
    const u32 pc_ifindex = membership.pc_ifindex;
    if (pc_ifindex)
        varn_pc_invalidate(pc_ifindex);
    return pc_ifindex;
}

uint32_t varn_aggsvc_get_pc_mbr_ifidx_from_rbh(uint32_t pc_ifindex, uint8_t rbh, uint32_t *member)
{
    VISIT();
    MUST(RULE_NULL, member);
    *member = 0;
    if (!is_cached(VARN_BIT_PC)) {
        ++varn.pc_misses;
        PROBE_MISS(VARN_BIT_PC, pc_ifindex, nullptr);
        return ask_member(pc_ifindex, rbh, member);
    }
    varn_pc_entry_t *entry = varn_pc_create_entry(pc_ifindex, 1);
    if (!entry) {
        // Deliberate: also while the cache is off, when no memory was wanted and no service is
        // asked.
        REPORT("varn_aggsvc_get_pc_mbr_ifidx_from_rbh",
               "No Memory available for aggsvc entry ifindex 0x%x\n", pc_ifindex);
        return 1;
    }
    MUST(RULE_RBH, rbh < VARN_NUM_RBH);
    if (!entry->rbh_dirty[rbh]) {
        ++varn.pc_hits;
        PROBE_HIT(VARN_BIT_PC, entry->pc_ifindex, entry);
        *member = entry->rbh_mbr_ifindex[rbh];
        return 0;
    }
    ++varn.pc_misses;
    PROBE_MISS(VARN_BIT_PC, pc_ifindex, entry);
    if (ask_member(pc_ifindex, rbh, member))
        return 1;
    // Deliberate: a member of 0 is an answer here.
    entry->rbh_mbr_ifindex[rbh] = *member;
    entry->rbh_dirty[rbh] = 0;
    TRACE("Varn PC ifindex: 0x%x, rbh: %d, phy: 0x%x\n", pc_ifindex, rbh, *member);
    return 0;
}

// ---- Dumps

void varn_pc_entry_print(uintptr_t arg, const varn_pc_entry_t *entry)
{
    VISIT();
    if (!entry)
        return;
    WORK_ON(entry);
    PRINT(arg, "Member Bundle-Port-distribution:\n");
    for (int rbh = 0; rbh < VARN_NUM_RBH; ++rbh) {
        if (entry->rbh_dirty[rbh])
            continue;
        // Deliberate: asked before the sink is looked at.
        char name[member_name_size] = "";
        ifsvc_get_ifindex_name(entry->rbh_mbr_ifindex[rbh], name, member_name_size);
        PRINT(arg, "      [%d]  %s\n", rbh, name);
    }
}

void varn_pc_print(uintptr_t arg, uint32_t pc_ifindex)
{
    VISIT();
    if (varn_enabled && is_cached(VARN_BIT_PC))
        varn_pc_entry_print(arg, find(pc_ifindex));
}

void varn_pc_print_table(uintptr_t arg, ht_t *table)
{
    VISIT();
    if (!varn_enabled || !is_cached(VARN_BIT_PC))
        return;
    if (!print_entries(arg, table, print_pc_entry))
        REPORT("varn_pc_print_table", "Couldn't init iterator\n");
}

void varn_pc_dump(uintptr_t arg)
{
    VISIT();
    if (!varn_enabled || !is_cached(VARN_BIT_PC))
        return;
    PRINT(arg, "PC table\n");
    varn_pc_print_table(arg, &varn.pc_table);
    varn_print_stats(arg, &varn.pc_table);
}
