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

// Asks about the iods of `order` from `at` on, whose place wraps at a power of two; gives the sum of
// the answers.
uint32_t ask_randomly(question ask, const uint16_t *order, uint32_t at);

// The place of the next iod is known when the answer, which is 1, is there. Gives that place.
uint32_t ask_dependently(question ask, const uint16_t *order, uint32_t at);

// Asks about the iods 1 to count in turn, from the one behind `iod` on. Gives the last one.
uint32_t ask_in_order(question ask, uint32_t iod, uint32_t count);

// Asks each iod five questions.
uint32_t ask_five(const subject &of, const uint16_t *order, uint32_t at);

} // namespace bench
