// SPDX-License-Identifier: Apache-2.0
//
// Lookups in the four indexes. A lookup gives the entry or null, changes nothing and may be made of
// a table that does not exist, where it finds nothing.
#ifndef VARN_INDEX_H
#define VARN_INDEX_H

#include "directory.h"
#include "ht.h"

namespace ifcache
{

inline varn_if_entry_t *find(ht_t &table, u32 key)
{
    return static_cast<varn_if_entry_t *>(ht_lookup(&table, &key));
}

inline varn_if_entry_t *find_by_if(u32 if_index) { return find(varn.if_table, if_index); }
inline varn_if_entry_t *find_by_iod(u32 iod)
{
    varn_if_entry_t *entry = find_in_directory(iod);
    return entry ? entry : find(varn.iod_table, iod);
}
inline varn_if_entry_t *find_by_pi(u32 pi) { return find(varn.pi_table, pi); }
inline varn_if_entry_t *find_by_lif(u32 lif) { return find(varn.lif_table, lif); }

} // namespace ifcache

#endif
