// SPDX-License-Identifier: Apache-2.0
//
// absl::flat_hash_map with the records in its slots, as it is meant to be used.
#include "rival.h"

#include <absl/container/flat_hash_map.h>

namespace rival
{
namespace
{

absl::flat_hash_map<uint32_t, record> *records;

const record *find(uint32_t iod) { return &records->find(iod)->second; }

void insert(uint32_t iod) { set_values((*records)[iod], iod); }
void remove(uint32_t iod) { records->erase(iod); }

void fill(uint32_t count)
{
    records = new absl::flat_hash_map<uint32_t, record>;
    for (uint32_t iod = 1; iod <= count; ++iod)
        insert(iod);
}

} // namespace
} // namespace rival

#include "rival_calls.h"
