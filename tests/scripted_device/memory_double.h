// SPDX-License-Identifier: Apache-2.0
//
// The allocator double. A fresh block is full of 0xA5, so that a byte which its owner forgot to
// clear shows. A block that was handed back keeps its place until reset(): what it held at that
// moment is in released(), a write into it afterwards, a second release and the release of a record
// that still stands in a table are complaints.
//
// Failures: on(memacct_alloc).fails_call(3), on(memacct_alloc).of(544, 1).fails().
#pragma once

#include "service.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace scripted
{

struct block {
    const void *address;
    std::uint32_t id;
    std::uint32_t type;
    std::size_t size;
};

struct released_block : block {
    std::vector<std::uint8_t> bytes; // what the block held when it was handed back

    // Whether every byte of it was this one.
    SCRIPTED_API bool is_all(std::uint8_t byte) const;
};

struct account {
    std::string name;
    std::uint32_t id;
    std::vector<std::string> type_names;
};

SCRIPTED_API const std::vector<released_block> &released();
SCRIPTED_API std::vector<block> live_blocks();       // by address
SCRIPTED_API const std::vector<account> &accounts(); // what memacct_init was told, in order

// Complains of every released block that was written to since; reset() does so too late to be seen.
SCRIPTED_API void check_released();

SCRIPTED_API void reset_memory();

} // namespace scripted
