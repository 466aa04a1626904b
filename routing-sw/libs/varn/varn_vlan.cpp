// SPDX-License-Identifier: Apache-2.0
//
// The VLAN cache: for each VLAN its bridge domain, flood destination index and primary VLAN, each
// with a dirty bit of its own. An entry that is handed out has just been refreshed if anything in
// it was dirty; a refresh cleans all of it or nothing. The table exists only when VARN_BIT_VLAN was
// cached at varn_init; the gates of the queries are their own bits. Table keys are 16 bits wide.
#include <cstddef>
#include <cstring>

#include "ht.h"
#include "idxsvc.h"
#include "ifsvc.h"
#include "memacct.h"
#include "supvr.h"
#include "varn/attributes.h"
#include "varn/index.h"
#include "varn/memory.h"
#include "varn/messages.h"
#include "varn/misuse.h"
#include "varn/print.h"

using namespace ifcache;

namespace
{

uint16_t key_of(const void *key) { return *static_cast<const uint16_t *>(key); }

varn_vlan_entry_t *find_vlan(uint16_t vlan)
{
    return static_cast<varn_vlan_entry_t *>(ht_lookup(&varn.vlan_table, &vlan));
}

// The verbs of attributes.h, for the entries of this cache.
bool is_dirty(const varn_vlan_entry_t &entry, unsigned bit) { return entry.dirty & VARN_MASK(bit); }
void mark_clean(varn_vlan_entry_t &entry, unsigned bit) { entry.dirty &= ~VARN_MASK(bit); }

vlan_key_t service_key(u32 vlan)
{
    vlan_key_t key;
    key.vinst = supvr_vinst_get();
    key.vlan = vlan;
    return key;
}

// ---- Refresh: three steps, each true when it succeeded or had nothing to do

bool refresh_pvlan(varn_vlan_entry_t &entry, vlan_key_t key)
{
    if (!is_dirty(entry, VARN_BIT_PVLAN))
        return true;
    const u32 code = vlan_get_bd_and_primary_vlan(key, &entry.bd, &entry.pvlan);
    if (code)
        TRACE("1 vlan_get_bd_and_primary_vlan returned 0x%x for vlan %d\n", code, entry.vlan);
    ++varn.vlan_updates.pvlan;
    return code == 0;
}

bool refresh_bd(varn_vlan_entry_t &entry, vlan_key_t key)
{
    if (!is_dirty(entry, VARN_BIT_BD))
        return true;
    const u32 code = vlan_get_bd(key, &entry.bd);
    if (code)
        TRACE("1 vlan_get_bd returned bad 0x%x for vlan %d\n", code, entry.vlan);
    ++varn.vlan_updates.bd;
    return code == 0;
}

bool fetch_flood_di(varn_vlan_entry_t &entry, vlan_key_t key)
{
    u32 code = vlan_get_bd(key, &entry.bd);
    if (code) {
        TRACE("2 vlan_get_bd returned bad 0x%x for vlan %d\n", code, entry.vlan);
        return false;
    }
    code = idxsvc_lib_bd_to_di(entry.bd, &entry.flood_di);
    if (code)
        TRACE("idxsvc_lib_bd_to_di returned bad 0x%x\n", code);
    return code == 0;
}

bool refresh_flood_di(varn_vlan_entry_t &entry, vlan_key_t key)
{
    if (!is_dirty(entry, VARN_BIT_FINDEX))
        return true;
    const bool succeeded = fetch_flood_di(entry, key);
    ++varn.vlan_updates.findex;
    return succeeded;
}

// ---- Entries

varn_vlan_entry_t *create(uint16_t vlan)
{
    void *block =
        allocate(VARN_MEM_varn_vlan_entry_t, sizeof(varn_vlan_entry_t),
                 "../routing-sw/libs/varn/varn_vlan", {"varn_vlan_create_entry_by_vlan", __LINE__});
    if (!block)
        return nullptr;
    std::memset(block, 0, sizeof(varn_vlan_entry_t));
    auto *entry = static_cast<varn_vlan_entry_t *>(block);
    entry->dirty = varn.config.sync;
    ++varn.vlan_allocs;
    entry->vlan = vlan;
    if (!varn_vlan_insert_entry(entry)) {
        ++varn.vlan_frees;
        memacct_free(entry);
        return nullptr;
    }
    return entry;
}

// The entry of a VLAN, created where it was missing and refreshed where it was dirty, or null.
inline varn_vlan_entry_t *entry_of_vlan(uint16_t vlan)
{
    if (!varn_enabled)
        return nullptr;
    varn_vlan_entry_t *entry = find_vlan(vlan);
    if (entry && entry->dirty == 0)
        return entry;
    if (!entry)
        entry = create(vlan);
    varn_vlan_update_entry(entry);
    return entry;
}

// The interface of a VLAN that went away keeps its entry but not its place in the Lif table.
// Deliberate: with lifs not cached the line is traced and the bit cleaned, and nothing is removed.
void drop_stale_lif(int vlan)
{
    const u32 iod = ifsvc_get_svi_iod_for_vlan(supvr_vinst_get(), static_cast<u32>(vlan));
    varn_if_entry_t *svi = iod ? find_by_iod(iod) : nullptr;
    if (!svi || ifcache::is_dirty(*svi, lif_attribute) || svi->lif == VARN_NO_LIF)
        return;
    WORK_ON(svi);
    TRACE("Vlan %d deleted, removing stale lif entry for if-index 0x%x, iod %d, lif 0x%x\n", vlan,
          svi->if_index, svi->iod, svi->lif);
    varn_lif_delete_entry(svi);
    mark_as_cached(*svi, lif_attribute);
}

// ---- Queries that the cache cannot answer

// Deliberate: the query of the bridge domain counts on the same row again, and its result is not
// tested.
u32 ask_flood_di(uint16_t vlan, u32 *di, uint16_t *bd)
{
    ++varn.vlan_misses.bd;
    PROBE_MISS(VARN_BIT_FINDEX, u32{vlan}, nullptr);
    varn_vlan_get_bd(service_key(vlan), bd);
    return idxsvc_lib_bd_to_di(*bd, di);
}

u32 ask_pvlan(int vlan, u32 *pvlan)
{
    ++varn.vlan_misses.pvlan;
    PROBE_MISS(VARN_BIT_PVLAN, static_cast<u32>(vlan), nullptr);
    uint16_t bd = 0;
    return vlan_get_bd_and_primary_vlan(service_key(static_cast<u32>(vlan)), &bd, pvlan);
}

void print_vlan_entry(uintptr_t arg, const void *entry)
{
    varn_vlan_entry_print(arg, static_cast<const varn_vlan_entry_t *>(entry));
}

} // namespace

uint32_t varn_vlan_hash(const void *key, uint32_t num_buckets)
{
    MUST(RULE_NULL, key);
    return key_of(key) % num_buckets;
}

const void *varn_vlan_get_key(const void *entry)
{
    MUST(RULE_NULL, entry);
    return entry;
}

uint32_t varn_vlan_keys_equal(const void *key_a, const void *key_b)
{
    MUST(RULE_NULL, key_a && key_b);
    return key_of(key_a) == key_of(key_b);
}

uint32_t varn_vlan_table_init(void)
{
    VISIT();
    if (!is_cached(VARN_BIT_VLAN))
        return 1;
    if (ht_init(&varn.vlan_table, 0, offsetof(varn_vlan_entry_t, link), varn.config.num_buckets,
                0.0, varn_vlan_hash, varn_vlan_get_key, varn_vlan_keys_equal))
        return 1;
    REPORT("varn_vlan_table_init", "Couldn't initialize hash table\n");
    ht_cleanup(&varn.vlan_table);
    return 0;
}

// Deliberate: all or nothing; a step that succeeded beside one that failed is asked again.
uint32_t varn_vlan_update_entry(varn_vlan_entry_t *entry)
{
    VISIT();
    if (!entry)
        return 0;
    WORK_ON(entry);
    const vlan_key_t key = service_key(entry->vlan);
    const bool pvlan_is_good = refresh_pvlan(*entry, key);
    const bool bd_is_good = refresh_bd(*entry, key);
    const bool flood_di_is_good = refresh_flood_di(*entry, key);
    if (pvlan_is_good && bd_is_good && flood_di_is_good)
        entry->dirty = 0;
    return 1;
}

varn_vlan_entry_t *varn_vlan_create_entry_by_vlan(uint16_t vlan)
{
    VISIT();
    return entry_of_vlan(vlan);
}

uint32_t varn_vlan_insert_entry(varn_vlan_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    if (!entry)
        return 0;
    if (ht_insert(&varn.vlan_table, entry, 0))
        return 1;
    REPORT("varn_vlan_insert_entry", "*** Failed to add entry\n");
    return 0;
}

uint32_t varn_vlan_delete_entry(varn_vlan_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    MUST(RULE_WORKED, !is_worked_on(entry));
    if (!entry)
        return 0;
    if (!ht_remove_entry(&varn.vlan_table, entry)) {
        REPORT("varn_vlan_delete_entry", "*** Failed to delete entry: possible leak?\n");
        return 0;
    }
    ++varn.vlan_frees;
    memacct_free(entry);
    return 1;
}

uint32_t varn_vlan_remove_entry_by_vlan(int vlan)
{
    VISIT();
    if (!varn_enabled)
        return 0;
    drop_stale_lif(vlan);
    varn_vlan_entry_t *entry = find_vlan(static_cast<uint16_t>(vlan));
    if (!entry)
        return 0;
    varn_vlan_delete_entry(entry); // Deliberate: 1 whatever it gives.
    return 1;
}

uint32_t varn_vlan_update_vlan(uint16_t vlan)
{
    VISIT();
    varn_vlan_entry_t *entry = varn_enabled ? find_vlan(vlan) : nullptr;
    if (!entry)
        return 0;
    entry->dirty = varn.config.sync;
    return varn_vlan_update_entry(entry);
}

// Deliberate: the mask replaces what was dirty; a flush of an interface adds to it.
void varn_flush_vlan_entry(varn_vlan_entry_t *entry, uint32_t level)
{
    VISIT();
    if (entry)
        entry->dirty = flush_mask(level);
}

// Deliberate: creates and fetches a missing entry first, and gives 1 also when there is none to be
// had.
uint32_t varn_vlan_flush_vlan(uint16_t vlan, uint32_t level)
{
    VISIT();
    if (!varn_enabled)
        return 0;
    varn_flush_vlan_entry(varn_vlan_create_entry_by_vlan(vlan), level);
    return 1;
}

uint32_t varn_vlan_flush_all(uint32_t level)
{
    VISIT();
    if (!varn_enabled)
        return 0;
    ht_iterator_t walk;
    if (!ht_iterator_init(&walk, &varn.vlan_table, 0, varn.vlan_table.num_buckets)) {
        REPORT("varn_vlan_flush_all", "Couldn't init iterator\n");
        return 0;
    }
    while (void *entry = ht_iterator_next(&walk))
        varn_flush_vlan_entry(static_cast<varn_vlan_entry_t *>(entry), level);
    return 1;
}

// ---- Queries

// Deliberate: from the cache the result is 0 also when the service failed.
uint32_t varn_vlan_get_bd(vlan_key_t key, uint16_t *bd)
{
    VISIT();
    MUST(RULE_NULL, bd);
    const u32 vlan = key.vlan;
    varn_vlan_entry_t *entry =
        is_cached(VARN_BIT_BD) ? entry_of_vlan(static_cast<uint16_t>(vlan)) : nullptr;
    if (!entry) {
        ++varn.vlan_misses.bd;
        PROBE_MISS(VARN_BIT_BD, vlan, nullptr);
        return vlan_get_bd(key, bd);
    }
    WORK_ON(entry);
    if (is_dirty(*entry, VARN_BIT_BD)) {
        ++varn.vlan_misses.bd;
        PROBE_MISS(VARN_BIT_BD, vlan, entry);
        if (const u32 code = vlan_get_bd(key, &entry->bd))
            TRACE("varn_vlan_get_bd: bad rv 0x%x for vlan %d\n", code, vlan);
        else
            mark_clean(*entry, VARN_BIT_BD);
    } else {
        ++varn.vlan_hits.bd;
        PROBE_HIT(VARN_BIT_BD, entry->vlan, entry);
    }
    *bd = entry->bd;
    return 0;
}

// Deliberate: counted on the bd row, never on that of the flood index, and 0 also when both
// services failed.
uint32_t varn_vlan_to_flood_di(uint16_t vlan, uint32_t *di, uint16_t *bd)
{
    VISIT();
    MUST(RULE_NULL, di && bd);
    varn_vlan_entry_t *entry =
        is_cached(VARN_BIT_FINDEX) ? varn_vlan_create_entry_by_vlan(vlan) : nullptr;
    if (!entry)
        return ask_flood_di(vlan, di, bd);
    WORK_ON(entry);
    if (is_dirty(*entry, VARN_BIT_FINDEX)) {
        const vlan_key_t key = service_key(vlan);
        ++varn.vlan_misses.bd;
        PROBE_MISS(VARN_BIT_FINDEX, u32{vlan}, entry);
        const u32 bd_code = vlan_get_bd(key, &entry->bd);
        // Deliberate: asked whatever the first one gave, unlike in the refresh.
        const u32 di_code = idxsvc_lib_bd_to_di(entry->bd, &entry->flood_di);
        if (bd_code || di_code)
            TRACE("varn_vlan_to_flood_di: Status1 0x%x, Status2 0x%x vlan %d\n", bd_code, di_code,
                  vlan);
        else
            mark_clean(*entry, VARN_BIT_FINDEX);
    } else {
        ++varn.vlan_hits.bd;
        PROBE_HIT(VARN_BIT_FINDEX, entry->vlan, entry);
    }
    *di = entry->flood_di;
    *bd = entry->bd;
    return 0;
}

// Deliberate: 0 on every path; the texts of the two traces differ in their blanks, and a failure of
// the cached path's own question is not traced.
uint32_t varn_pvlan_get_pvlan(int vlan, uint32_t *pvlan)
{
    VISIT();
    MUST(RULE_NULL, pvlan);
    if (!is_cached(VARN_BIT_PVLAN)) {
        if (const u32 code = ask_pvlan(vlan, pvlan))
            TRACE("2 vlan_get_bd_and_primary_vlan ret0x%x vlan %d\n", code, vlan);
        return 0;
    }
    varn_vlan_entry_t *entry = varn_vlan_create_entry_by_vlan(static_cast<uint16_t>(vlan));
    if (!entry) {
        if (const u32 code = ask_pvlan(vlan, pvlan))
            TRACE("3vlan_get_bd_and_primary_vlan ret 0x%x vlan %d\n", code, vlan);
        return 0;
    }
    if (is_dirty(*entry, VARN_BIT_PVLAN)) {
        ++varn.vlan_misses.pvlan;
        PROBE_MISS(VARN_BIT_PVLAN, static_cast<u32>(vlan), entry);
        const vlan_key_t key = service_key(static_cast<u32>(vlan));
        if (!vlan_get_bd_and_primary_vlan(key, &entry->bd, &entry->pvlan))
            mark_clean(*entry, VARN_BIT_PVLAN);
    } else {
        ++varn.vlan_hits.pvlan;
        PROBE_HIT(VARN_BIT_PVLAN, entry->vlan, entry);
    }
    *pvlan = entry->pvlan;
    return 0;
}

// ---- Dumps

void varn_vlan_entry_print(uintptr_t arg, const varn_vlan_entry_t *entry)
{
    VISIT();
    if (!entry)
        return;
    PRINT(arg, "Entry(0x%p) - vlan %d, pvlan %d%s FI 0x%x%s BD 0x%x%s\n",
          static_cast<const void *>(entry), entry->vlan, entry->pvlan,
          marker(entry->dirty, VARN_BIT_PVLAN), entry->flood_di,
          marker(entry->dirty, VARN_BIT_FINDEX), entry->bd, end_marker(entry->dirty, VARN_BIT_BD));
}

void varn_vlan_print(uintptr_t arg, uint16_t vlan)
{
    VISIT();
    if (varn_enabled)
        varn_vlan_entry_print(arg, find_vlan(vlan));
}

void varn_vlan_print_table(uintptr_t arg, ht_t *table)
{
    VISIT();
    if (varn_enabled && !print_entries(arg, table, print_vlan_entry))
        REPORT("varn_vlan_print_table", "Couldn't init iterator\n");
}

void varn_vlan_dump(uintptr_t arg)
{
    VISIT();
    if (!varn_enabled)
        return;
    PRINT(arg, "Vlan table\n");
    varn_vlan_print_table(arg, &varn.vlan_table);
    varn_print_stats(arg, &varn.vlan_table);
}
