// SPDX-License-Identifier: Apache-2.0
//
// bench.h: what the same question costs from the cache and as a request.
#ifndef VARNSH_BENCH_H
#define VARNSH_BENCH_H

#include "roster.h"
#include "tables.h"

namespace shell
{

// Prints medians and ratios for some attributes of one interface. Empty, or why it ended early.
std::string bench(const listed &subject, shape shown_as);

} // namespace shell

#endif
