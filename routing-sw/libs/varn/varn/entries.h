// SPDX-License-Identifier: Apache-2.0
//
// Getting an entry by one of its identifiers, as the queries do.
#ifndef VARN_ENTRIES_H
#define VARN_ENTRIES_H

#include "index.h"

namespace ifcache
{

// Gives the entry of an iod that was not found in the Iod table, created from its if-index, or
// null.
varn_if_entry_t *create_missing_by_iod(u32 iod);

// The lookup stands here so that a hit makes no call on its way to the table.
inline varn_if_entry_t *entry_of_iod(u32 iod)
{
    varn_if_entry_t *entry = find_by_iod(iod);
    if (entry || !varn.config.create_on_miss)
        return entry;
    return create_missing_by_iod(iod);
}

// Both gates of a query open, and an entry to be had; else null.
inline varn_if_entry_t *entry_if_cached(u32 iod, attribute a)
{
    return is_answered_by_iod(a) ? entry_of_iod(iod) : nullptr;
}

// The entry of an if-index, created where creation on a miss is on, or null.
varn_if_entry_t *entry_of_if(u32 if_index);

// Counts a hit on a clean attribute. A dirty one is a miss, which `refreshes` counts too, and the
// whole entry is refreshed. False: that failed, and the entry may be gone.
bool is_fresh(varn_if_entry_t *entry, attribute a, uint64_t &refreshes);

} // namespace ifcache

#endif
