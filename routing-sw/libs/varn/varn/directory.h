// SPDX-License-Identifier: Apache-2.0
//
// The iod directory: for each iod that can have an entry, the entry that stands in the Iod table
// under it. The table owns the lookup by iod; the directory stands in front of it so that a hit
// costs an array access, and changes no result: a slot that is empty only means that the table is
// to be asked.
//
// Invariant: a slot that is not empty holds the entry that a lookup in the Iod table would give.
#ifndef VARN_DIRECTORY_H
#define VARN_DIRECTORY_H

#include <cassert>

#include "attributes.h"

namespace ifcache
{

inline constexpr u32 directory_slots = VARN_IODBMP_WORDS * 32;

extern varn_if_entry_t *iod_directory[directory_slots];

// The entry of an iod, or null: ask the table. The key in the entry is not read, so that a hit
// touches one line of it.
inline varn_if_entry_t *find_in_directory(u32 iod)
{
    if (iod >= directory_slots)
        return nullptr;
    varn_if_entry_t *entry = iod_directory[iod];
    assert(!entry || entry->iod == iod);
    return entry;
}

// After the Iod table took an entry in, and after it gave one back that stood under that iod.
void enter_in_directory(varn_if_entry_t *entry);
void leave_directory(const varn_if_entry_t *entry, u32 iod);

// When the Iod table is no more. Touches no page of the directory that was never filled.
void clear_directory();

} // namespace ifcache

#endif
