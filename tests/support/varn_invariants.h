// SPDX-License-Identifier: Apache-2.0
//
// What holds between any two calls of the library, whatever befell it:
//   - an entry's ref_count is the number of the four tables that hold it;
//   - an entry that the Iod, Pi or Lif table holds stands in the If table;
//   - an entry whose iod, pi or lif is absent is not in that table, and one that has it is;
//   - no entry's valid mask was ever written;
//   - a table's inserts less its removes are the entries that it holds;
//   - the allocations less the releases that were counted are the blocks that live;
//   - no double has seen a breach of the contract.
// Tables and callbacks are left alone by the check, and nothing of it reaches the journal.
#pragma once

#include "varn.h"

#include <cstddef>
#include <set>
#include <string>

// Blocks that lived when the counters were zeroed by varn_init.
struct live_before {
    std::size_t if_entries = 0;
    std::size_t vlan_entries = 0;
    std::size_t pc_entries = 0;
};
live_before count_live();

// What does not hold, a line each; empty when all does. The entries in `loose` were made by the
// test itself, which gave them keys without filing them.
std::string broken_invariants(const live_before &before,
                              const std::set<const varn_if_entry_t *> &loose);
