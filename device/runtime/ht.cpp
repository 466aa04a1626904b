// SPDX-License-Identifier: Apache-2.0
//
// The hash table under every cache table: intrusive, chained, with a fixed bucket count.
//
// A bucket points straight at the first record of its chain, so a lookup in a chain of one touches
// the bucket and the record. A link has only 32 bits a word, so what a record knows of its
// neighbour is a *slot*: an index into the table's slot array, where the neighbour's address
// stands. Invariants, for every record that stands in the table:
//   - slots[own] is the record, and no other slot is;
//   - next is the slot of the chain's following record, or no_slot at the end;
//   - the record is reached from the bucket that its key hashes to.
// The words lie in memory of the client, who may hand in a record with anything in them. They are
// hints: a slot counts only if it was handed out and its record and it point at each other.
//
// Buckets and slots are one reservation of address space made by ht_init. The system fills in pages
// when they are first touched, so that an insert asks nobody for memory and a small table is small.
#include "ht.h"

#include <sys/mman.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

namespace
{

// Records in one table at most. It costs 8 MiB of address space a table (4 MiB with 32-bit
// pointers), of which only touched pages become memory.
constexpr uint32_t slot_capacity = 1u << 20;
constexpr uint32_t no_slot = slot_capacity;

struct entry_link {
    uint32_t own;
    uint32_t next;
};

// What ht_t keeps in its state bytes. The members that a lookup reads come first.
struct core {
    ht_hash_fn hash;
    ht_get_key_fn get_key;
    ht_keys_equal_fn keys_equal;
    void **buckets;
    uintptr_t *slots; // a record's address, or for a free slot: next free slot * 2 + 1
    uint32_t link_position;
    uint32_t slots_used; // slots from here on were never handed out
    uint32_t free_slot;  // head of the list of slots that were given back, or no_slot
    size_t mapped_bytes;
    unsigned long size_hwm;
};

static_assert(std::is_trivially_copyable_v<core>);
static_assert(sizeof(core) <= sizeof(ht_t::state));
static_assert(offsetof(ht_t, state) % alignof(core) == 0 && alignof(ht_t) >= alignof(core));
static_assert(sizeof(ht_t) == 16 * sizeof(void *));
static_assert(sizeof(entry_link) == 8);

core &core_of(ht_t *table)
{
    return *std::launder(static_cast<core *>(static_cast<void *>(table->state)));
}

bool is_initialised(const ht_t *table) { return table != nullptr && table->num_buckets != 0; }

char *link_address(const core &c, void *entry)
{
    return static_cast<char *>(entry) + c.link_position;
}

entry_link link_of(const core &c, void *entry)
{
    entry_link link;
    memcpy(&link, link_address(c, entry), sizeof link);
    return link;
}

void set_link(const core &c, void *entry, entry_link link)
{
    memcpy(link_address(c, entry), &link, sizeof link);
}

bool is_free(uintptr_t slot_word) { return (slot_word & 1) != 0; }

// A free slot is told from a taken one by its lowest bit, which no record's address has.
bool has_odd_address(const void *entry) { return is_free(reinterpret_cast<uintptr_t>(entry)); }

bool stands(const core &c, void *entry)
{
    const uint32_t own = link_of(c, entry).own;
    return own < c.slots_used && c.slots[own] == reinterpret_cast<uintptr_t>(entry);
}

void *successor(const core &c, void *entry)
{
    const uint32_t next = link_of(c, entry).next;
    if (next >= c.slots_used || is_free(c.slots[next]))
        return nullptr;
    void *follower = reinterpret_cast<void *>(c.slots[next]);
    return link_of(c, follower).own == next ? follower : nullptr;
}

// Most hash functions stay below the bucket count; only one that does not pays for a division.
uint32_t bucket_of(const ht_t *table, const core &c, const void *key)
{
    const auto num_buckets = static_cast<uint32_t>(table->num_buckets);
    const uint32_t hash = c.hash(key, num_buckets);
    return hash < num_buckets ? hash : hash % num_buckets;
}

// Inlined by order: a call would spill and reload every register of a lookup once more.
[[gnu::always_inline]] inline void *find_in_chain(const core &c, void *entry, const void *key)
{
    while (entry != nullptr && c.keys_equal(c.get_key(entry), key) == 0)
        entry = successor(c, entry);
    return entry;
}

uint32_t take_slot(core &c)
{
    if (c.free_slot != no_slot) {
        const uint32_t slot = c.free_slot;
        c.free_slot = static_cast<uint32_t>(c.slots[slot] >> 1);
        return slot;
    }
    return c.slots_used < slot_capacity ? c.slots_used++ : no_slot;
}

void give_slot_back(core &c, uint32_t slot)
{
    c.slots[slot] = static_cast<uintptr_t>(c.free_slot) << 1 | 1;
    c.free_slot = slot;
}

// Takes the record out of the chain that starts at head. False: it is not in that chain.
bool unchain(core &c, void *&head, void *entry)
{
    const uint32_t next = link_of(c, entry).next;
    if (head == entry) {
        head = successor(c, entry);
        return true;
    }
    for (void *before = head; before != nullptr; before = successor(c, before)) {
        if (successor(c, before) == entry) {
            set_link(c, before, {link_of(c, before).own, next});
            return true;
        }
    }
    return false;
}

// 0 when it is more than an address can tell.
size_t bytes_for(uint32_t num_buckets)
{
    const uint64_t words = uint64_t{num_buckets} + slot_capacity;
    return words <= PTRDIFF_MAX / sizeof(void *) ? static_cast<size_t>(words * sizeof(void *)) : 0;
}

// Huge pages would turn the first touch of a bucket or a slot into megabytes.
void *reserve(size_t bytes)
{
    if (bytes == 0)
        return nullptr;
    void *area = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (area == MAP_FAILED)
        return nullptr;
    madvise(area, bytes, MADV_NOHUGEPAGE);
    return area;
}

uint32_t chain_length(const core &c, void *head)
{
    uint32_t length = 0;
    for (void *entry = head; entry != nullptr; entry = successor(c, entry))
        ++length;
    return length;
}

// The walk's own words.
enum : unsigned { pending_entry, next_bucket, end_bucket };

} // namespace

uint32_t ht_init(ht_t *table, uint32_t flags, uint32_t link_position, uint32_t num_buckets,
                 double growth_factor, ht_hash_fn hash, ht_get_key_fn get_key,
                 ht_keys_equal_fn keys_equal)
{
    if (table == nullptr)
        return 0;
    *table = ht_t{};
    if (flags != 0 || link_position % 4 != 0 || num_buckets == 0 || !(growth_factor == 0.0) ||
        hash == nullptr || get_key == nullptr || keys_equal == nullptr)
        return 0;
    const size_t bytes = bytes_for(num_buckets);
    void *area = reserve(bytes);
    if (area == nullptr)
        return 0;
    new (table->state) core{.hash = hash,
                            .get_key = get_key,
                            .keys_equal = keys_equal,
                            .buckets = static_cast<void **>(area),
                            .slots = static_cast<uintptr_t *>(area) + num_buckets,
                            .link_position = link_position,
                            .slots_used = 0,
                            .free_slot = no_slot,
                            .mapped_bytes = bytes,
                            .size_hwm = 0};
    table->num_buckets = num_buckets;
    return 1;
}

uint32_t ht_cleanup(ht_t *table)
{
    if (table == nullptr)
        return 0;
    if (is_initialised(table))
        munmap(core_of(table).buckets, core_of(table).mapped_bytes);
    *table = ht_t{};
    return 1;
}

uint32_t ht_insert(ht_t *table, void *entry, uint32_t flags)
{
    if (!is_initialised(table) || entry == nullptr || has_odd_address(entry) || flags != 0)
        return 0;
    core &c = core_of(table);
    if (stands(c, entry))
        return 0;
    const void *key = c.get_key(entry);
    void *&head = c.buckets[bucket_of(table, c, key)];
    if (find_in_chain(c, head, key) != nullptr)
        return 0;
    const uint32_t slot = take_slot(c);
    if (slot == no_slot)
        return 0;
    c.slots[slot] = reinterpret_cast<uintptr_t>(entry);
    set_link(c, entry, {slot, head == nullptr ? no_slot : link_of(c, head).own});
    head = entry;
    if (++table->num_entries > c.size_hwm)
        c.size_hwm = table->num_entries;
    return 1;
}

void *ht_lookup(ht_t *table, const void *key)
{
    if (!is_initialised(table))
        return nullptr;
    const core &c = core_of(table);
    return find_in_chain(c, c.buckets[bucket_of(table, c, key)], key);
}

uint32_t ht_remove_entry(ht_t *table, void *entry)
{
    if (!is_initialised(table) || entry == nullptr)
        return 0;
    core &c = core_of(table);
    if (!stands(c, entry))
        return 0;
    const uint32_t slot = link_of(c, entry).own;
    if (!unchain(c, c.buckets[bucket_of(table, c, c.get_key(entry))], entry))
        return 0;
    give_slot_back(c, slot);
    --table->num_entries;
    return 1;
}

uint32_t ht_iterator_init(ht_iterator_t *iterator, ht_t *table, uint32_t start,
                          unsigned long num_buckets)
{
    if (iterator == nullptr)
        return 0;
    *iterator = ht_iterator_t{.table = table, .at = {}};
    if (!is_initialised(table) || start >= table->num_buckets)
        return 1;
    const unsigned long left = table->num_buckets - start;
    iterator->at[next_bucket] = start;
    iterator->at[end_bucket] = start + (num_buckets < left ? num_buckets : left);
    return 1;
}

// The record to yield next is found before the last one is handed out, because the caller may
// remove and free that one.
void *ht_iterator_next(ht_iterator_t *iterator)
{
    if (iterator == nullptr || !is_initialised(iterator->table))
        return nullptr;
    const core &c = core_of(iterator->table);
    void *entry = reinterpret_cast<void *>(iterator->at[pending_entry]);
    while (entry == nullptr && iterator->at[next_bucket] < iterator->at[end_bucket])
        entry = c.buckets[iterator->at[next_bucket]++];
    void *following = entry == nullptr ? nullptr : successor(c, entry);
    iterator->at[pending_entry] = reinterpret_cast<uintptr_t>(following);
    return entry;
}

uint32_t ht_get_stats(ht_t *table, ht_stats_t *stats)
{
    if (stats == nullptr)
        return 0;
    *stats = ht_stats_t{};
    if (!is_initialised(table))
        return table != nullptr;
    const core &c = core_of(table);
    double places = 0.0; // the sum of all records' places in their chains
    for (unsigned long bucket = 0; bucket < table->num_buckets; ++bucket) {
        const double length = chain_length(c, c.buckets[bucket]);
        places += length * (length + 1.0) / 2.0;
        if (length > static_cast<double>(stats->worst_lookup))
            stats->worst_lookup = static_cast<unsigned long>(length);
    }
    stats->size_hwm = c.size_hwm;
    if (table->num_entries != 0)
        stats->average_lookup = places / static_cast<double>(table->num_entries);
    return 1;
}
