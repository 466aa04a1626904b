// SPDX-License-Identifier: Apache-2.0
//
// liburcu's lock-free resizable hash table, with the cheapest flavour of read-side protection
// (QSBR), a bucket for each possible record and the key as its own hash.
#include "rival.h"

#include <urcu-qsbr.h>
#include <urcu/rculfhash.h>

namespace rival
{
namespace
{

struct linked {
    cds_lfht_node node;
    record values;
};

cds_lfht *records;
linked *removed;

linked *linked_of(cds_lfht_node *node) { return reinterpret_cast<linked *>(node); }

int matches(cds_lfht_node *node, const void *key)
{
    return linked_of(node)->values.iod == *static_cast<const uint32_t *>(key);
}

linked *look_up(uint32_t iod)
{
    cds_lfht_iter at;
    urcu_qsbr_read_lock();
    cds_lfht_lookup(records, iod, matches, &iod, &at);
    urcu_qsbr_read_unlock();
    return linked_of(cds_lfht_iter_get_node(&at));
}

const record *find(uint32_t iod) { return &look_up(iod)->values; }

void add(linked *made)
{
    cds_lfht_node_init(&made->node);
    cds_lfht_add(records, made->values.iod, &made->node);
}

void fill(uint32_t count)
{
    urcu_qsbr_register_thread();
    records = cds_lfht_new_flavor(most_records, most_records, most_records, 0, &urcu_qsbr_flavor,
                                  nullptr);
    for (uint32_t iod = 1; iod <= count; ++iod) {
        auto *made = new (std::align_val_t{64}) linked;
        set_values(made->values, iod);
        add(made);
    }
}

void remove(uint32_t iod)
{
    removed = look_up(iod);
    cds_lfht_del(records, &removed->node);
}

void insert(uint32_t) { add(removed); }

} // namespace
} // namespace rival

#include "rival_calls.h"
