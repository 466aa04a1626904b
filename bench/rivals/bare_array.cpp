// SPDX-License-Identifier: Apache-2.0
//
// The least that can be asked for: an array of pointers to the records, without a check. A
// removed record keeps its memory.
#include "rival.h"

namespace rival
{
namespace
{

record *records[most_records];
record *removed;

const record *find(uint32_t iod) { return records[iod]; }

void fill(uint32_t count)
{
    for (uint32_t iod = 1; iod <= count; ++iod)
        records[iod] = new_record(iod);
}

void remove(uint32_t iod)
{
    removed = records[iod];
    records[iod] = nullptr;
}

void insert(uint32_t iod) { records[iod] = removed; }

} // namespace
} // namespace rival

#include "rival_calls.h"
