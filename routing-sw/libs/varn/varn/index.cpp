// SPDX-License-Identifier: Apache-2.0
//
// The If, Iod, Pi and Lif tables: the callbacks that the hash table works with, and putting an
// entry into a table and taking it out. An entry carries one link for each table, so it can stand
// in all four at once and nothing is allocated for an index. ref_count says in how many it stands.
//
// The If table owns the entries: taking an entry out of it releases the entry, and the caller sees
// to it that this comes last.
#include "index.h"

#include <cstring>

#include "memacct.h"
#include "messages.h"
#include "misuse.h"
#include "syslog_backtrace.h"

using namespace ifcache;

namespace
{

constexpr u32 if_hash_prime = 15991;
// Deliberate: not the byte of a record that was never filed.
constexpr int released_poison = 0x4C;

u32 key_of(const void *key) { return *static_cast<const u32 *>(key); }

u32 keys_equal(const void *key_a, const void *key_b) { return key_of(key_a) == key_of(key_b); }

// The remainder. Bucket counts are mostly powers of two, as the default is, and a division is the
// dearest part of a lookup.
u32 key_modulo(const void *key, u32 num_buckets)
{
    const bool is_power_of_two = (num_buckets & (num_buckets - 1)) == 0;
    return is_power_of_two ? key_of(key) & (num_buckets - 1) : key_of(key) % num_buckets;
}

const varn_if_entry_t &entry_of(const void *entry)
{
    return *static_cast<const varn_if_entry_t *>(entry);
}

// One row an index: where its table, key and counters are, and what its key is when there is none.
struct index {
    ht_t varn_global_t::*table;
    varn_index_counters_t varn_global_t::*counters;
    u32 varn_if_entry_t::*key;
    u32 absent;
    unsigned bit;
};

constexpr index if_index{&varn_global_t::if_table, &varn_global_t::if_index,
                         &varn_if_entry_t::if_index, 0, VARN_BIT_IF_INDEX};
constexpr index iod_index{&varn_global_t::iod_table, &varn_global_t::iod_index,
                          &varn_if_entry_t::iod, VARN_NO_IOD, VARN_BIT_IOD};
constexpr index pi_index{&varn_global_t::pi_table, &varn_global_t::pi_index, &varn_if_entry_t::pi,
                         VARN_NO_PI, VARN_BIT_PI};
constexpr index lif_index{&varn_global_t::lif_table, &varn_global_t::lif_index,
                          &varn_if_entry_t::lif, VARN_NO_LIF, VARN_BIT_LIF};

template <class complaint>
u32 insert(const index &in, varn_if_entry_t *entry, complaint complain)
{
    if (!entry)
        return 0;
    if (!ht_insert(&(varn.*in.table), entry, 0)) {
        complain();
        ++(varn.*in.counters).insert_fail;
        return 0;
    }
    count_up(entry->ref_count);
    ++(varn.*in.counters).inserts;
    return 1;
}

template <class complaint>
u32 remove(const index &from, varn_if_entry_t *entry, complaint complain)
{
    if (!entry || !is_cached(from.bit))
        return 0;
    if (!ht_remove_entry(&(varn.*from.table), entry)) {
        complain();
        ++(varn.*from.counters).remove_fail;
        return 0;
    }
    count_down(entry->ref_count);
    ++(varn.*from.counters).removes;
    entry->*from.key = from.absent;
    return 1;
}

void release(varn_if_entry_t *entry)
{
    if (varn.config.extn_free && entry->extn[0]) {
        CALL_OUT();
        varn.config.extn_free(entry->extn[0]);
    }
    std::memset(static_cast<void *>(entry), released_poison, sizeof *entry);
    memacct_free(entry);
    ++varn.if_frees;
}

} // namespace

// Deliberate: the fixed prime ignores the bucket count.
uint32_t varn_if_hash(const void *key, uint32_t)
{
    MUST(RULE_NULL, key);
    return key_of(key) % if_hash_prime;
}

const void *varn_if_get_key(const void *entry)
{
    MUST(RULE_NULL, entry);
    return &entry_of(entry).if_index;
}

uint32_t varn_if_keys_equal(const void *key_a, const void *key_b)
{
    MUST(RULE_NULL, key_a && key_b);
    return keys_equal(key_a, key_b);
}

uint32_t varn_iod_hash(const void *key, uint32_t num_buckets)
{
    MUST(RULE_NULL, key);
    return key_modulo(key, num_buckets);
}

const void *varn_iod_get_key(const void *entry)
{
    MUST(RULE_NULL, entry);
    return &entry_of(entry).iod;
}

uint32_t varn_iod_keys_equal(const void *key_a, const void *key_b)
{
    MUST(RULE_NULL, key_a && key_b);
    return keys_equal(key_a, key_b);
}

uint32_t varn_pi_hash(const void *key, uint32_t num_buckets)
{
    MUST(RULE_NULL, key);
    return key_modulo(key, num_buckets);
}

const void *varn_pi_get_key(const void *entry)
{
    MUST(RULE_NULL, entry);
    return &entry_of(entry).pi;
}

uint32_t varn_pi_keys_equal(const void *key_a, const void *key_b)
{
    MUST(RULE_NULL, key_a && key_b);
    return keys_equal(key_a, key_b);
}

uint32_t varn_lif_hash(const void *key, uint32_t num_buckets)
{
    MUST(RULE_NULL, key);
    return key_modulo(key, num_buckets);
}

const void *varn_lif_get_key(const void *entry)
{
    MUST(RULE_NULL, entry);
    return &entry_of(entry).lif;
}

uint32_t varn_lif_keys_equal(const void *key_a, const void *key_b)
{
    MUST(RULE_NULL, key_a && key_b);
    return keys_equal(key_a, key_b);
}

uint32_t varn_if_insert_entry(varn_if_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    return insert(if_index, entry, [entry] {
        REPORT("varn_if_insert_entry", "Failed to add varn entry for if-index 0x%x\n",
               entry->if_index);
    });
}

uint32_t varn_iod_insert_entry(varn_if_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    const u32 inserted = insert(iod_index, entry, [entry] {
        REPORT("varn_iod_insert_entry", "Failed to add iod entry for if 0x%x, iod %d\n",
               entry->if_index, entry->iod);
    });
    if (inserted)
        enter_in_directory(entry);
    return inserted;
}

uint32_t varn_pi_insert_entry(varn_if_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    return insert(pi_index, entry, [entry] {
        REPORT("varn_pi_insert_entry", "Failed to add pi entry for if 0x%x, iod %d, pi 0x%x\n",
               entry->if_index, entry->iod, entry->pi);
    });
}

uint32_t varn_lif_insert_entry(varn_if_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    return insert(lif_index, entry, [entry] {
        REPORT("varn_lif_insert_entry", "Failed to add lif entry for if 0x%x, iod %d, lif 0x%x\n",
               entry->if_index, entry->iod, entry->lif);
    });
}

uint32_t varn_iod_delete_entry(varn_if_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    const u32 iod = entry ? entry->iod : VARN_NO_IOD;
    const u32 removed = remove(iod_index, entry, [entry] {
        // Deliberate: no blank behind the semicolon, unlike the two below.
        REPORT("varn_iod_delete_entry",
               "Failed to del iod entry for if 0x%x, iod %d;possible leak?\n", entry->if_index,
               entry->iod);
    });
    if (removed)
        leave_directory(entry, iod);
    return removed;
}

uint32_t varn_pi_delete_entry(varn_if_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    return remove(pi_index, entry, [entry] {
        REPORT("varn_pi_delete_entry",
               "Failed to del pi entry for if 0x%x, iod %d, pi 0x%x; possible leak?\n",
               entry->if_index, entry->iod, entry->pi);
    });
}

uint32_t varn_lif_delete_entry(varn_if_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    return remove(lif_index, entry, [entry] {
        REPORT("varn_lif_delete_entry",
               "Failed to del lif entry for if 0x%x, iod %d, lif 0x%x; possible leak?\n",
               entry->if_index, entry->iod, entry->lif);
    });
}

uint32_t varn_if_delete_entry(varn_if_entry_t *entry)
{
    VISIT();
    MUST(RULE_WALKING, !is_walking());
    MUST(RULE_WORKED, !is_worked_on(entry));
    WORK_ON(entry);
    if (!entry)
        return 0;
    if (!ht_remove_entry(&varn.if_table, entry)) {
        REPORT("varn_if_delete_entry", "Failed to delete entry for if 0x%x: possible leak?\n",
               entry->if_index);
        ++varn.if_index.remove_fail;
        return 0;
    }
    count_down(entry->ref_count);
    if (entry->ref_count != 0) {
        // Deliberate: not freed, because another table still leads to it.
        REPORT("varn_if_delete_entry", "Failed to delete entry for if 0x%x: ref-cnt !0?\n",
               entry->if_index);
        syslog_backtrace("varn_if_delete_entry", 7);
        ++varn.if_index.removes;
        return 1;
    }
    release(entry);
    ++varn.if_index.removes;
    return 1;
}
