// SPDX-License-Identifier: Apache-2.0
//
// The reference device as the benchmarks meet it: a running service with at least one interface.
// The library is started against it once, before the first benchmark.
#pragma once

#include <cstdint>

namespace bench
{

// Connects and starts the library with everything cached that an interface has. Ends the program
// with a clear line when there is no service.
void start();

// The interface that is asked about.
uint32_t iod();
uint32_t if_index();

} // namespace bench
