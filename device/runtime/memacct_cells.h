// SPDX-License-Identifier: Apache-2.0
//
// The accounting of the allocator, apart from the allocating: one cell for each memory type of each
// account. Cells are found by (account, type), taken by the first who names or uses the pair, and
// never given back, so that a block can remember its cell by number. All members are atomic: there
// is no lock that a fork could leave taken.
#ifndef DEVICE_RUNTIME_MEMACCT_CELLS_H
#define DEVICE_RUNTIME_MEMACCT_CELLS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace memacct
{

constexpr uint32_t cell_count = 1024;
constexpr uint32_t overflow_cell = cell_count; // shared by all pairs that came too late

// The pseudo-type under which an account keeps its own name.
constexpr uint32_t account_itself = UINT32_MAX;

constexpr uint64_t key_of(uint32_t id, uint32_t type) { return uint64_t{id} << 32 | type; }
constexpr uint64_t free_key = key_of(UINT32_MAX, UINT32_MAX);

struct cell {
    std::atomic<uint64_t> key{free_key};
    std::atomic<const char *> name{nullptr};
    std::atomic<uint64_t> live_blocks{0};
    std::atomic<uint64_t> live_bytes{0};
    std::atomic<uint64_t> total_allocations{0};
    std::atomic<uint64_t> peak_bytes{0};
};

// Gives the cell of a number below or equal to overflow_cell.
cell &cell_at(uint32_t number);

// Gives the number of the pair's cell, taking one if it has none; overflow_cell when all are taken.
uint32_t find_or_take(uint32_t id, uint32_t type);

// Gives the number of the pair's cell, or overflow_cell when it has none.
uint32_t find(uint32_t id, uint32_t type);

void count_allocation(cell &c, size_t size);
void count_release(cell &c, size_t size);

} // namespace memacct

#endif
