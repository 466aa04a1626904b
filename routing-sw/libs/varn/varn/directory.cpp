// SPDX-License-Identifier: Apache-2.0
//
// Filling and emptying the iod directory. The slots that were ever filled lie between two marks.
#include "directory.h"

namespace
{

using ifcache::u32;

// What was ever filled lies in [lowest, end).
u32 lowest;
u32 end;

void widen_to(u32 iod)
{
    if (lowest == end) {
        lowest = iod;
        end = iod + 1;
        return;
    }
    lowest = iod < lowest ? iod : lowest;
    end = iod >= end ? iod + 1 : end;
}

} // namespace

namespace ifcache
{

varn_if_entry_t *iod_directory[directory_slots];

// An occupied slot means that the table holds the iod twice: it alone knows which one it gives.
void enter_in_directory(varn_if_entry_t *entry)
{
    const u32 iod = entry->iod;
    if (iod >= directory_slots)
        return;
    widen_to(iod);
    iod_directory[iod] = iod_directory[iod] ? nullptr : entry;
}

void leave_directory(const varn_if_entry_t *entry, u32 iod)
{
    if (iod < directory_slots && iod_directory[iod] == entry)
        iod_directory[iod] = nullptr;
}

void clear_directory()
{
    for (u32 iod = lowest; iod < end; ++iod)
        iod_directory[iod] = nullptr;
    lowest = end = 0;
}

} // namespace ifcache
