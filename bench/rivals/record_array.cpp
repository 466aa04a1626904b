// SPDX-License-Identifier: Apache-2.0
//
// An array of the records themselves, without a check: no pointer to follow, and all of it taken
// from the start.
#include "rival.h"

namespace rival
{
namespace
{

record *records;

const record *find(uint32_t iod) { return &records[iod]; }

void fill(uint32_t count)
{
    records = new record[most_records];
    for (uint32_t iod = 1; iod <= count; ++iod)
        set_values(records[iod], iod);
}

void remove(uint32_t iod) { records[iod].iod = 0; }
void insert(uint32_t iod) { records[iod].iod = iod; }

} // namespace
} // namespace rival

#include "rival_calls.h"
