// SPDX-License-Identifier: Apache-2.0
//
// Records and callbacks for the tests of the hash table: keys of 16 and of 32 bits, links in front
// of the key, behind it and far from it, and hash functions from kind to hostile. Every callback
// counts its calls, so that a test can say "no callback was called".
#ifndef TESTS_CONTRACT_HT_RECORDS_H
#define TESTS_CONTRACT_HT_RECORDS_H

#include "ht.h"

#include <cstddef>
#include <cstdint>

namespace ht_contract
{

inline unsigned callback_calls = 0;

template <typename number>
struct link_first {
    using key_type = number;
    uint32_t link[2];
    number key;
};

template <typename number>
struct link_behind_key {
    using key_type = number;
    number key;
    alignas(4) uint32_t link[2];
};

template <typename number>
struct link_far {
    using key_type = number;
    number key;
    unsigned char body[260];
    alignas(4) uint32_t link[2];
};

// A record in two tables at once, by two keys.
struct two_links {
    uint32_t number;
    uint32_t number_link[2];
    uint32_t letter;
    uint32_t letter_link[2];
};

template <typename record>
const void *get_key(const void *entry)
{
    ++callback_calls;
    return &static_cast<const record *>(entry)->key;
}

inline const void *get_number(const void *entry)
{
    ++callback_calls;
    return &static_cast<const two_links *>(entry)->number;
}

inline const void *get_letter(const void *entry)
{
    ++callback_calls;
    return &static_cast<const two_links *>(entry)->letter;
}

template <typename number>
uint32_t keys_equal(const void *a, const void *b)
{
    ++callback_calls;
    return *static_cast<const number *>(a) == *static_cast<const number *>(b) ? 1 : 0;
}

template <typename number>
uint32_t modulo(const void *key, uint32_t num_buckets)
{
    ++callback_calls;
    return *static_cast<const number *>(key) % num_buckets;
}

// Gives a bucket number that knows nothing of the bucket count.
template <typename number>
uint32_t whole_key(const void *key, uint32_t)
{
    ++callback_calls;
    return *static_cast<const number *>(key);
}

template <typename number>
uint32_t always_zero(const void *, uint32_t)
{
    ++callback_calls;
    return 0;
}

template <typename number>
uint32_t always_largest(const void *, uint32_t)
{
    ++callback_calls;
    return UINT32_MAX;
}

// Just beyond the table for half of the keys, its last bucket for the others.
template <typename number>
uint32_t around_the_end(const void *key, uint32_t num_buckets)
{
    ++callback_calls;
    return num_buckets - *static_cast<const number *>(key) % 2;
}

template <typename number>
struct named_hash {
    const char *name;
    ht_hash_fn function;
};

template <typename number>
inline constexpr named_hash<number> hashes[] = {
    {"modulo", modulo<number>},
    {"whole_key", whole_key<number>},
    {"always_zero", always_zero<number>},
    {"always_largest", always_largest<number>},
    {"around_the_end", around_the_end<number>},
};

// A table that is cleaned up at the end of its test.
struct table_t {
    ht_t ht{};

    table_t() = default;
    table_t(const table_t &) = delete;
    table_t &operator=(const table_t &) = delete;
    ~table_t() { ht_cleanup(&ht); }
};

template <typename record>
uint32_t init(table_t &table, uint32_t num_buckets,
              ht_hash_fn hash = modulo<typename record::key_type>)
{
    using number = typename record::key_type;
    return ht_init(&table.ht, 0, offsetof(record, link), num_buckets, 0.0, hash, get_key<record>,
                   keys_equal<number>);
}

} // namespace ht_contract

#endif
