// SPDX-License-Identifier: Apache-2.0
//
// An open-addressed table of cells. A cell's key is set once, by compare-and-exchange, and cells
// are never given back; so a probe that meets a free cell knows that the pair has none.
#include "memacct_cells.h"

#include <cstring>
#include <new>

namespace memacct
{

namespace
{

constinit cell plain_cells[cell_count + 1];
constinit std::atomic<cell *> cells{plain_cells};
constinit std::atomic<const char *> names[cell_count + 1];

void copy(std::atomic<uint64_t> &to, const std::atomic<uint64_t> &from)
{
    to.store(from.load(std::memory_order_relaxed), std::memory_order_relaxed);
}

// Free cells are left alone, so that memory which nobody used stays untouched.
void copy_cells(cell *to, const cell *from)
{
    for (uint32_t number = 0; number <= cell_count; ++number) {
        if (number != overflow_cell && from[number].key.load() == free_key)
            continue;
        copy(to[number].key, from[number].key);
        copy(to[number].live_blocks, from[number].live_blocks);
        copy(to[number].live_bytes, from[number].live_bytes);
        copy(to[number].total_allocations, from[number].total_allocations);
        copy(to[number].peak_bytes, from[number].peak_bytes);
        memcpy(to[number].name, from[number].name, name_size);
    }
}

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
        if (belongs_to(cell_at(number), key, take))
            return number;
        if (!take && cell_at(number).key.load(std::memory_order_acquire) == free_key)
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

cell &cell_at(uint32_t number) { return cells.load(std::memory_order_acquire)[number]; }

const char *name_of(uint32_t number) { return names[number].load(); }

void set_name(uint32_t number, const char *name)
{
    names[number].store(name);
    char(&copy)[name_size] = cell_at(number).name;
    memset(copy, 0, name_size);
    if (name != nullptr)
        strncpy(copy, name, name_size - 1);
}

void move_cells(void *area)
{
    auto *there = new (area) cell[cell_count + 1];
    copy_cells(there, cells.load());
    cells.store(there);
}

void save_cells()
{
    if (cells.load() != plain_cells)
        copy_cells(plain_cells, cells.load());
}

void take_saved_cells() { cells.store(plain_cells); }

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
