// SPDX-License-Identifier: Apache-2.0
//
// An open-addressed table of cells. A cell's key is set once, by compare-and-exchange, and cells
// are never given back; so a probe that meets a free cell knows that the pair has none.
#include "memacct_cells.h"

namespace memacct
{

namespace
{

constinit cell cells[cell_count + 1];

uint32_t first_probe(uint64_t key)
{
    return static_cast<uint32_t>(key * 0x9e3779b97f4a7c15u >> 32) % cell_count;
}

// True when the cell is the key's, now or already before. Free cells are taken if so asked.
bool belongs_to(cell &c, uint64_t key, bool take)
{
    uint64_t holder = c.key.load(std::memory_order_acquire);
    if (holder == free_key && take && c.key.compare_exchange_strong(holder, key))
        return true;
    return holder == key;
}

uint32_t probe(uint64_t key, bool take)
{
    if (key == free_key)
        return overflow_cell;
    uint32_t number = first_probe(key);
    for (uint32_t tried = 0; tried < cell_count; ++tried) {
        if (belongs_to(cells[number], key, take))
            return number;
        if (!take && cells[number].key.load(std::memory_order_acquire) == free_key)
            return overflow_cell;
        number = (number + 1) % cell_count;
    }
    return overflow_cell;
}

void raise_to(std::atomic<uint64_t> &peak, uint64_t value)
{
    uint64_t seen = peak.load(std::memory_order_relaxed);
    while (seen < value && !peak.compare_exchange_weak(seen, value, std::memory_order_relaxed)) {
    }
}

} // namespace

cell &cell_at(uint32_t number) { return cells[number]; }

uint32_t find_or_take(uint32_t id, uint32_t type) { return probe(key_of(id, type), true); }

uint32_t find(uint32_t id, uint32_t type) { return probe(key_of(id, type), false); }

void count_allocation(cell &c, size_t size)
{
    c.live_blocks.fetch_add(1, std::memory_order_relaxed);
    c.total_allocations.fetch_add(1, std::memory_order_relaxed);
    raise_to(c.peak_bytes, c.live_bytes.fetch_add(size, std::memory_order_relaxed) + size);
}

void count_release(cell &c, size_t size)
{
    c.live_blocks.fetch_sub(1, std::memory_order_relaxed);
    c.live_bytes.fetch_sub(size, std::memory_order_relaxed);
}

} // namespace memacct
