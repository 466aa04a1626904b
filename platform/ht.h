/* SPDX-License-Identifier: Apache-2.0 */
/*
 * ht.h: the intrusive hash table under every cache table.
 *
 * A table links records that its client owns. The record carries two 32-bit words, the *link*,
 * which belong to the table while the record stands in it; their position within the record is
 * fixed when the table is initialised. One record may stand in several tables by carrying several
 * links. The table never copies, allocates or frees a record, and an insert allocates nothing.
 * A table holds at least 32767 records, one for each iod.
 *
 * What the cache relies on, for every implementation:
 *   1. Keys are read through the three callbacks and never copied. A key does not change while its
 *      record stands in the table.
 *   2. Two records with equal keys cannot stand in one table: the second insert is refused. A
 *      record that already stands in the table is refused as well.
 *   3. Removal is of that very record, found by its address; a record with an equal key is not
 *      removed in its place.
 *   4. A lookup changes nothing, the statistics included.
 *   5. A hash value that is not below the bucket count is reduced into it by the table.
 *   6. On a table that was never initialised (all bytes zero), was cleaned up or is null, no
 *      callback is called: a lookup finds nothing, insert and removal give 0, a walk starts and
 *      yields nothing, the statistics are zeros and clean-up may be repeated.
 *   7. Results: non-zero is success and 0 is failure, for every function that returns a uint32_t.
 *
 * Threading: none. The caller serialises all calls on one table.
 *
 * Parameters, where a comment says nothing else
 *
 *   table     the table; where it may be null, 6 says what follows
 *   entry     the record
 *   key       pointer to the key
 *   flags     0
 *   iterator  the walk
 *   stats     takes the figures
 */
#ifndef HT_H
#define HT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Gives the bucket number of *key for a table of num_buckets buckets. */
typedef uint32_t (*ht_hash_fn)(const void *key, uint32_t num_buckets);

/* Gives the address of the key within a record. */
typedef const void *(*ht_get_key_fn)(const void *entry);

/* Gives 1 when the two keys are equal, else 0. */
typedef uint32_t (*ht_keys_equal_fn)(const void *key_a, const void *key_b);

/*
 * A table. The object belongs to the client, which zeroes it before first use. The first two
 * members are public and may be read at any time; the rest belongs to the implementation. The size
 * is part of the binary interface: sixteen words of the size of a pointer.
 */
typedef struct ht {
    unsigned long num_entries; /* records in the table now; 0 when never initialised */
    unsigned long num_buckets; /* bucket count; 0 when never initialised */
    unsigned char state[14 * sizeof(void *)]; /* the implementation's own */
} ht_t;

/* A walk over a table. The object belongs to the client and needs no clean-up. */
typedef struct ht_iterator {
    ht_t *table;     /* null: the walk yields nothing */
    uintptr_t at[3]; /* the implementation's own */
} ht_iterator_t;

/* What ht_get_stats reports. Lookup lengths count the records compared by a successful lookup. */
typedef struct ht_stats {
    unsigned long size_hwm;     /* largest number of records that the table held so far */
    unsigned long worst_lookup; /* records in the longest chain */
    double average_lookup;      /* mean over all records of their place in the chain, from 1; 0.0
                                   for an empty table */
} ht_stats_t;

/*
 * Makes an empty table.
 *   flags          0; no other value is used.
 *   link_position  byte offset of the two link words within a record; a multiple of 4.
 *   num_buckets    bucket count, at least 1.
 *   growth_factor  0.0: the bucket count is fixed. No other value is used.
 *   hash           gives the bucket of a key.
 *   get_key        gives the key of a record.
 *   keys_equal     compares two keys.
 * Returns 0 when memory is wanting or an argument is out of range; the table is then as one that
 * was never initialised. What an already initialised table held is not released.
 */
uint32_t ht_init(ht_t *table, uint32_t flags, uint32_t link_position, uint32_t num_buckets,
                 double growth_factor, ht_hash_fn hash, ht_get_key_fn get_key,
                 ht_keys_equal_fn keys_equal);

/*
 * Releases what ht_init took and leaves the table as never initialised. The records are not touched.
 * Returns non-zero; 0 only for a null table.
 */
uint32_t ht_cleanup(ht_t *table);

/*
 * Files a record under its key. flags is 0. Calls no allocator. Returns 0, with nothing changed,
 * for a null record, a duplicate key, a record that already stands in the table, and a table that
 * is full, which is not before it holds 32767 records.
 */
uint32_t ht_insert(ht_t *table, void *entry, uint32_t flags);

/* Gives the record with this key, or null. */
void *ht_lookup(ht_t *table, const void *key);

/*
 * Takes this very record out of the table; its key must still be the one it was filed under.
 * Returns 0, with nothing changed, when the record does not stand in the table.
 */
uint32_t ht_remove_entry(ht_t *table, void *entry);

/*
 * Starts a walk. A null table starts a walk that yields nothing.
 *   start        first bucket: 0.
 *   num_buckets  how many buckets: the table's own count.
 * Returns 0 only when the walk cannot be started.
 */
uint32_t ht_iterator_init(ht_iterator_t *iterator, ht_t *table, uint32_t start,
                          unsigned long num_buckets);

/*
 * Gives the next record, each exactly once, or null at the end. The record yielded last may be
 * removed before the next call; any other change of the table ends what is promised about the walk.
 */
void *ht_iterator_next(ht_iterator_t *iterator);

/*
 * Fills *stats. Returns 0 only for a null argument; for a null table *stats is zeroed all the same.
 */
uint32_t ht_get_stats(ht_t *table, ht_stats_t *stats);

#ifdef __cplusplus
}
#endif

#endif
