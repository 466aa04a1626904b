// SPDX-License-Identifier: Apache-2.0
//
// ht.cpp: the hash table. Two link words of 32 bits have room for one pointer, so each record
// carries the address of its successor in the chain, and a table is an array of first records. The
// words are aligned to 4 bytes alone: they are copied, never pointed at.
//
// Nothing is asked for while records come and go; what a table needs, ht_init asks for at once. A
// record is told by its address: a removal walks the chain of its key until it meets that record.
// Whether a record already stands in the table needs no question of its own, because its key does.
#include "ht.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace
{

struct core {
    ht_hash_fn hash;
    ht_get_key_fn get_key;
    ht_keys_equal_fn keys_equal;
    uint32_t link_position;
    unsigned long size_hwm;
    void **first; // a chain for each bucket
};

static_assert(sizeof(core) <= sizeof(ht_t::state) && sizeof(void *) <= 2 * sizeof(uint32_t));

bool is_table(const ht_t *table) { return table != nullptr && table->num_buckets != 0; }

core &core_of(ht_t *table) { return *std::launder(reinterpret_cast<core *>(table->state)); }

void *next_of(const core &in, void *entry)
{
    void *next;
    memcpy(&next, static_cast<char *>(entry) + in.link_position, sizeof next);
    return next;
}

void set_next(const core &in, void *entry, void *next)
{
    memcpy(static_cast<char *>(entry) + in.link_position, &next, sizeof next);
}

// The hash function may give any number.
void *&chain_of(const ht_t *table, const core &in, const void *key)
{
    return in.first[in.hash(key, static_cast<uint32_t>(table->num_buckets)) % table->num_buckets];
}

enum { pending, next_bucket, end_bucket }; // the walk's own words

} // namespace

uint32_t ht_init(ht_t *table, uint32_t flags, uint32_t link_position, uint32_t num_buckets,
                 double growth_factor, ht_hash_fn hash, ht_get_key_fn get_key,
                 ht_keys_equal_fn keys_equal)
{
    if (table == nullptr)
        return 0;
    *table = ht_t{};
    if (flags != 0 || link_position % 4 != 0 || num_buckets == 0 || growth_factor != 0.0)
        return 0;
    auto **first = static_cast<void **>(calloc(num_buckets, sizeof(void *)));
    if (first == nullptr)
        return 0;
    new (table->state) core{hash, get_key, keys_equal, link_position, 0, first};
    table->num_buckets = num_buckets;
    return 1;
}

uint32_t ht_cleanup(ht_t *table)
{
    if (is_table(table))
        free(core_of(table).first);
    if (table != nullptr)
        *table = ht_t{};
    return table != nullptr;
}

void *ht_lookup(ht_t *table, const void *key)
{
    if (!is_table(table))
        return nullptr;
    const core &in = core_of(table);
    void *entry = chain_of(table, in, key);
    while (entry != nullptr && in.keys_equal(in.get_key(entry), key) == 0)
        entry = next_of(in, entry);
    return entry;
}

uint32_t ht_insert(ht_t *table, void *entry, uint32_t)
{
    if (!is_table(table) || entry == nullptr)
        return 0;
    core &in = core_of(table);
    const void *key = in.get_key(entry);
    if (ht_lookup(table, key) != nullptr)
        return 0;
    void *&first = chain_of(table, in, key);
    set_next(in, entry, first);
    first = entry;
    in.size_hwm = std::max(in.size_hwm, ++table->num_entries);
    return 1;
}

uint32_t ht_remove_entry(ht_t *table, void *entry)
{
    if (!is_table(table) || entry == nullptr)
        return 0;
    const core &in = core_of(table);
    void *&first = chain_of(table, in, in.get_key(entry));
    void *before = nullptr;
    void *each = first;
    for (; each != nullptr && each != entry; each = next_of(in, each))
        before = each;
    if (each == nullptr)
        return 0;
    if (before == nullptr)
        first = next_of(in, entry);
    else
        set_next(in, before, next_of(in, entry));
    --table->num_entries;
    return 1;
}

uint32_t ht_iterator_init(ht_iterator_t *iterator, ht_t *table, uint32_t start,
                          unsigned long num_buckets)
{
    if (iterator == nullptr)
        return 0;
    *iterator = ht_iterator_t{table, {0, start, 0}};
    if (is_table(table) && start < table->num_buckets)
        iterator->at[end_bucket] =
            start + std::min<unsigned long>(num_buckets, table->num_buckets - start);
    return 1;
}

// The successor is found before a record is given, because the caller may remove and free it.
void *ht_iterator_next(ht_iterator_t *iterator)
{
    if (!is_table(iterator->table))
        return nullptr;
    const core &in = core_of(iterator->table);
    void *entry = reinterpret_cast<void *>(iterator->at[pending]);
    while (entry == nullptr && iterator->at[next_bucket] < iterator->at[end_bucket])
        entry = in.first[iterator->at[next_bucket]++];
    void *next = entry == nullptr ? nullptr : next_of(in, entry);
    iterator->at[pending] = reinterpret_cast<uintptr_t>(next);
    return entry;
}

uint32_t ht_get_stats(ht_t *table, ht_stats_t *stats)
{
    if (stats == nullptr)
        return 0;
    *stats = ht_stats_t{};
    if (!is_table(table))
        return table != nullptr;
    const core &in = core_of(table);
    double places = 0.0;
    for (unsigned long bucket = 0; bucket < table->num_buckets; ++bucket) {
        unsigned long place = 0;
        for (void *entry = in.first[bucket]; entry != nullptr; entry = next_of(in, entry))
            places += static_cast<double>(++place);
        stats->worst_lookup = std::max(stats->worst_lookup, place);
    }
    stats->size_hwm = in.size_hwm;
    if (table->num_entries != 0)
        stats->average_lookup = places / static_cast<double>(table->num_entries);
    return 1;
}
