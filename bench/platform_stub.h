// SPDX-License-Identifier: Apache-2.0
//
// A platform without a service: the functions that the library asks answer for interfaces 1 to N
// within the process, at the cost of a call. What is measured over it is the library's own work.
//
// Interface i has iod, port index and lif i. Every eighth is a port-channel, whose first operational
// member is the port before it; all others are physical ports.
#pragma once

#include <cstdint>

namespace bench
{

uint32_t if_index_of(uint32_t iod);

// The last port-channel up to an iod, or the first one.
uint32_t pc_index_of(uint32_t iod);

} // namespace bench
