// SPDX-License-Identifier: Apache-2.0
//
// The reference device's hash table with the library's own callbacks: what a hit would cost
// without the iod directory.
#include "rival.h"

#include <cstddef>

#include "ht.h"

namespace rival
{
namespace
{

ht_t table;
record *removed;

record *look_up(uint32_t iod) { return static_cast<record *>(ht_lookup(&table, &iod)); }

const record *find(uint32_t iod) { return look_up(iod); }

void fill(uint32_t count)
{
    constexpr uint32_t default_num_buckets = 16384;
    ht_init(&table, 0, offsetof(record, iod_link), default_num_buckets, 0.0, varn_iod_hash,
            varn_iod_get_key, varn_iod_keys_equal);
    for (uint32_t iod = 1; iod <= count; ++iod)
        ht_insert(&table, new_record(iod), 0);
}

void remove(uint32_t iod)
{
    removed = look_up(iod);
    ht_remove_entry(&table, removed);
}

void insert(uint32_t) { ht_insert(&table, removed, 0); }

} // namespace
} // namespace rival

#include "rival_calls.h"
