// SPDX-License-Identifier: Apache-2.0
//
// What every rival exports: the questions of the library about records of the library's own kind,
// found by another container. Each rival is a shared library of its own, so that a question costs
// the same call across libraries everywhere; none of them counts, or knows what is stale.
//
// A rival's file defines find, fill, insert and remove in `namespace rival` and then includes
// rival_calls.h, which makes the exported functions from them.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <new>

#include "varn.h"

namespace rival
{

using record = varn_if_entry_t;

constexpr uint32_t most_records = 32768;

inline void set_values(record &made, uint32_t iod)
{
    made = record{};
    made.iod = iod;
    made.linkup = made.protoup = made.switchport = 1;
    made.mtu = 1500;
    made.encap = 1;
}

// Starts on a cache line and takes as much memory as one of the library's own entries in the
// reference device: a header before it and what the alignment costs.
inline record *new_record(uint32_t iod)
{
    constexpr uintptr_t line = 64, header = 24;
    void *memory = std::malloc(header + line - 1 + sizeof(record));
    const uintptr_t earliest = reinterpret_cast<uintptr_t>(memory) + header;
    void *block = reinterpret_cast<void *>((earliest + line - 1) / line * line);
    auto *made = new (block) record;
    set_values(*made, iod);
    return made;
}

} // namespace rival

#define RIVAL_EXPORT extern "C" __attribute__((visibility("default")))
