// SPDX-License-Identifier: Apache-2.0
//
// What the tests of start and stop share.
#pragma once

#include "varn.h"
#include "varn_fixture.h"

#include <algorithm>

// The attributes that each have a table of their own. The If table is always there.
constexpr u64 every_table = bits(1, 2, 3, 10, 33);

inline bool is_all(const void *object, std::size_t size, unsigned char byte)
{
    const auto *bytes = static_cast<const unsigned char *>(object);
    return std::all_of(bytes, bytes + size, [byte](unsigned char each) { return each == byte; });
}
