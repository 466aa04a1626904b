// SPDX-License-Identifier: Apache-2.0
//
// The library filled with the entries of interfaces 1 to N of the platform stub, with everything
// cached; and the iods that the benchmarks ask about.
#pragma once

#include <cstdint>
#include <vector>

namespace bench
{

// Starts the library with a trace sink that discards and makes every interface entry.
void populate_entries(uint32_t count);

// The same with every VLAN entry and port-channel entry. Every query of them hits afterwards.
void populate(uint32_t count);

// Takes the entry of an iod out of the cache, and makes it again.
void remove_entry(uint32_t iod);
void insert_entry(uint32_t iod);

// Traces go to the event history from now on, or to the sink that discards.
void trace_into_history();
void discard_traces();

// A power of two of random iods from 1 to `count`: the same in every run.
std::vector<uint16_t> random_iods(uint32_t count);
constexpr uint32_t num_random_iods = 1 << 16;

} // namespace bench
