// SPDX-License-Identifier: Apache-2.0
//
// boost::intrusive::unordered_set: the records carry the link, the key is its own hash, and there
// is a bucket for each possible record, so that chains are of one.
#include "rival.h"

#include <boost/intrusive/unordered_set.hpp>

namespace rival
{
namespace
{

namespace bi = boost::intrusive;

struct linked : bi::unordered_set_base_hook<bi::link_mode<bi::normal_link>> {
    record values;
};

struct key_of {
    using type = uint32_t;
    const uint32_t &operator()(const linked &entry) const { return entry.values.iod; }
};

struct own_hash {
    size_t operator()(uint32_t key) const { return key; }
};

using set = bi::unordered_set<linked, bi::key_of_value<key_of>, bi::hash<own_hash>,
                              bi::power_2_buckets<true>, bi::constant_time_size<false>>;

set::bucket_type *buckets;
set *records;
linked *removed;

const record *find(uint32_t iod) { return &records->find(iod)->values; }

void fill(uint32_t count)
{
    buckets = new set::bucket_type[most_records];
    records = new set(set::bucket_traits(buckets, most_records));
    for (uint32_t iod = 1; iod <= count; ++iod) {
        auto *made = new (std::align_val_t{64}) linked;
        set_values(made->values, iod);
        records->insert(*made);
    }
}

void remove(uint32_t iod)
{
    const auto found = records->find(iod);
    removed = &*found;
    records->erase(found);
}

void insert(uint32_t) { records->insert(*removed); }

} // namespace
} // namespace rival

#include "rival_calls.h"
