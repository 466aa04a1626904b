// SPDX-License-Identifier: Apache-2.0
//
// A round of questions in each of the patterns. They stand in a shared library of their own, as the
// code of most clients does: some processors charge every call between a program and a library that
// lies far from it three cycles more, which would be measured with the shorter answers.
#pragma once

#include <cstdint>

#include "subjects.h"

namespace bench
{

constexpr uint32_t round_length = 64;

// The four patterns. `order` holds iods, whose place wraps at a power of two.
struct rounds {
    // Asks about the iods from `at` on; gives the sum of the answers.
    uint32_t (*randomly)(question ask, const uint16_t *order, uint32_t at);

    // The place of the next iod is known when the answer, which is 1, is there. Gives that place.
    uint32_t (*dependently)(question ask, const uint16_t *order, uint32_t at);

    // Asks about the iods 1 to count in turn, from the one behind `iod` on. Gives the last one.
    uint32_t (*in_order)(question ask, uint32_t iod, uint32_t count);

    // Asks each iod five questions.
    uint32_t (*five)(const subject &of, const uint16_t *order, uint32_t at);
};

// The rounds of one call site, 0 to num_sites - 1. What is compared is asked from sites of its own,
// as in a program: a call instruction that has called several functions costs up to three cycles
// more on some processors, whichever of them it calls, and which of two subjects met a fresh one
// would be chance.
constexpr unsigned num_sites = 80;
const rounds &rounds_at(unsigned site);

} // namespace bench
