// SPDX-License-Identifier: Apache-2.0
//
// Getting an entry by one of its identifiers, as the queries do.
#ifndef VARN_ENTRIES_H
#define VARN_ENTRIES_H

#include "index.h"

// What a hit never comes to: kept out of its way, with the registers and the frame that it needs.
#define COLD [[gnu::cold, gnu::noinline]]

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

// The short way to an entry: both gates open and the iod in the directory. Null only says that the
// long way is to be gone.
inline varn_if_entry_t *entry_at_hand(u32 iod, attribute a)
{
    return is_answered_by_iod(a) ? find_in_directory(iod) : nullptr;
}

// The same for an attribute that is clean, which counts the hit.
inline varn_if_entry_t *hit_at_hand(u32 iod, attribute a)
{
    varn_if_entry_t *entry = entry_at_hand(iod, a);
    if (!entry || is_dirty(*entry, a))
        return nullptr;
    count_hit(a, iod, entry);
    return entry;
}

// Both gates of a query open, and an entry to be had; else null.
inline varn_if_entry_t *entry_if_cached(u32 iod, attribute a)
{
    return is_answered_by_iod(a) ? entry_of_iod(iod) : nullptr;
}

// The entry of an if-index, created where creation on a miss is on, or null.
varn_if_entry_t *entry_of_if(u32 if_index);

// Counts the miss, in `refreshes` too, and refreshes the whole entry. False: that failed, and the
// entry may be gone.
bool freshen(varn_if_entry_t *entry, attribute a, uint64_t &refreshes);

// Counts a hit on a clean attribute, else freshens the entry.
inline bool is_fresh(varn_if_entry_t *entry, attribute a, uint64_t &refreshes)
{
    if (is_dirty(*entry, a))
        return freshen(entry, a, refreshes);
    count_hit(a, entry->iod, entry);
    return true;
}

} // namespace ifcache

#endif
