// SPDX-License-Identifier: Apache-2.0
//
// The accounting of the allocator, apart from the allocating: one cell for each memory type of each
// account. Cells are found by (account, type), taken by the first who names or uses the pair, and
// never given back, so that a block can remember its cell by number. All members are atomic: there
// is no lock that a fork could leave taken.
//
// The cells stand in plain memory until they are moved into a file that others can read; see
// memacct_file.h. Wherever they are, counting is a few additions.
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

constexpr size_t name_size = 88;

// Of one size in 32-bit and 64-bit processes: it is part of a file's form.
struct cell {
    alignas(8) std::atomic<uint64_t> key{free_key};
    alignas(8) std::atomic<uint64_t> live_blocks{0};
    alignas(8) std::atomic<uint64_t> live_bytes{0};
    alignas(8) std::atomic<uint64_t> total_allocations{0};
    alignas(8) std::atomic<uint64_t> peak_bytes{0};
    char name[name_size] = {}; // a copy for other processes; cut, and ended by a zero
};

static_assert(sizeof(cell) == 128 && std::atomic<uint64_t>::is_always_lock_free);

// Gives the cell of a number below or equal to overflow_cell.
cell &cell_at(uint32_t number);

// What a cell's type, or the account, is called; null where it has no name.
const char *name_of(uint32_t number);
void set_name(uint32_t number, const char *name);

// Moves all figures to another place for cell_count + 1 cells, zeros so far. What other threads
// count at this moment may be lost.
void move_cells(void *area);

// What is in that place, kept in plain memory as well, before a fork; and plain memory taken back
// into use, by the child.
void save_cells();
void take_saved_cells();

// Gives the number of the pair's cell, taking one if it has none; overflow_cell when all are taken.
uint32_t find_or_take(uint32_t id, uint32_t type);

// Gives the number of the pair's cell, or overflow_cell when it has none.
uint32_t find(uint32_t id, uint32_t type);

void count_allocation(cell &c, size_t size);
void count_release(cell &c, size_t size);

} // namespace memacct

#endif
