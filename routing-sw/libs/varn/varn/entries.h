// SPDX-License-Identifier: Apache-2.0
//
// Getting the entry of an iod, as every query does.
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

} // namespace ifcache

#endif
