// SPDX-License-Identifier: Apache-2.0
//
// The accounting allocator. A block starts on a cache line; right before it stands its header: the
// number of its accounting cell and its size, so that memacct_free needs nothing but the address.
// Blocks are not whole lines apart: that would waste memory, and at an even distance half of the
// processor's cache would never hold the first line of one. The header carries a seal made of its
// own address: a block that is given back twice, or was never handed out here, ends the process as
// the C library's free does, rather than spoiling the figures unseen.
#include "memacct.h"

#include "memacct_cells.h"
#include "memacct_figures.h"
#include "memacct_file.h"

#include <cstdio>
#include <cstdlib>
#include <new>

using memacct::account_itself;
using memacct::cell;
using memacct::cell_at;
using memacct::overflow_cell;

namespace
{

constexpr size_t line_size = 64;
constexpr uintptr_t seal_mark = 0x5ca1ab1e;

enum : uint32_t { ok, bad_argument, no_room, not_known };

struct block_header {
    size_t size;
    uint32_t cell_number;
    uint32_t offset; // of the block within the memory that malloc gave
    uintptr_t seal;
};

static_assert(sizeof(block_header) <= line_size && line_size % alignof(block_header) == 0);

uintptr_t seal_of(const block_header *header)
{
    return reinterpret_cast<uintptr_t>(header) ^ seal_mark;
}

// To the first line that leaves room for the header before it.
uint32_t offset_to_line(uintptr_t memory)
{
    const uintptr_t earliest = memory + sizeof(block_header);
    const uintptr_t block = (earliest + line_size - 1) / line_size * line_size;
    return static_cast<uint32_t>(block - memory);
}

// Volatile, because a compiler may drop what is written just before a free.
void break_seal(block_header *header) { *static_cast<volatile uintptr_t *>(&header->seal) = 0; }

[[noreturn]] void refuse_block(const void *block)
{
    fprintf(stderr, "memacct_free: %p is not a live block\n", block);
    abort();
}

// An earlier opening may have named more types than the new one does.
void forget_names(uint32_t id)
{
    for (uint32_t number = 0; number < memacct::cell_count; ++number) {
        const uint64_t key = cell_at(number).key.load();
        if (key != memacct::free_key && key >> 32 == id)
            memacct::set_name(number, nullptr);
    }
}

uint32_t set_name(uint32_t id, uint32_t type, const char *name)
{
    const uint32_t number = memacct::find_or_take(id, type);
    if (number == overflow_cell)
        return no_room;
    memacct::set_name(number, name);
    return ok;
}

const char *account_name(uint32_t id)
{
    const uint32_t number = memacct::find(id, account_itself);
    return number == overflow_cell ? nullptr : memacct::name_of(number);
}

memacct_figures_t figures_of(uint32_t number)
{
    const cell &c = cell_at(number);
    const uint64_t key = c.key.load();
    const auto id = static_cast<uint32_t>(key >> 32);
    return {.id = id,
            .type = static_cast<uint32_t>(key),
            .account_name = account_name(id),
            .type_name = memacct::name_of(number),
            .live_blocks = c.live_blocks.load(),
            .live_bytes = c.live_bytes.load(),
            .total_allocations = c.total_allocations.load(),
            .peak_bytes = c.peak_bytes.load()};
}

// A block under the account's own cell cannot be told from the account; its bytes go with the rest.
uint32_t cell_for_blocks(uint32_t id, uint32_t type)
{
    return type == account_itself ? overflow_cell : memacct::find_or_take(id, type);
}

} // namespace

uint32_t memacct_init(const char *name, uint32_t id, const char *const *type_names,
                      uint32_t num_types)
{
    if (name == nullptr || (type_names == nullptr && num_types != 0))
        return bad_argument;
    memacct::show_cells();
    forget_names(id);
    uint32_t result = set_name(id, account_itself, name);
    for (uint32_t type = 0; type < num_types && result == ok; ++type)
        result = set_name(id, type, type_names[type]);
    return result;
}

void *memacct_alloc(uint32_t id, uint32_t type, size_t size)
{
    if (size > SIZE_MAX / 2)
        return nullptr;
    auto *memory = static_cast<char *>(malloc(sizeof(block_header) + line_size - 1 + size));
    if (memory == nullptr)
        return nullptr;
    memacct::show_cells_of_child();
    const uint32_t offset = offset_to_line(reinterpret_cast<uintptr_t>(memory));
    auto *header = new (memory + offset - sizeof(block_header)) block_header{
        .size = size, .cell_number = cell_for_blocks(id, type), .offset = offset, .seal = 0};
    header->seal = seal_of(header);
    memacct::count_allocation(cell_at(header->cell_number), size);
    return header + 1;
}

void memacct_free(void *block)
{
    if (block == nullptr)
        return;
    auto *header = static_cast<block_header *>(block) - 1;
    if (header->seal != seal_of(header))
        refuse_block(block);
    break_seal(header);
    memacct::count_release(cell_at(header->cell_number), header->size);
    free(static_cast<char *>(block) - header->offset);
}

uint32_t memacct_figures_get(uint32_t id, uint32_t type, memacct_figures_t *figures)
{
    if (figures == nullptr)
        return bad_argument;
    const uint32_t number = type == account_itself ? overflow_cell : memacct::find(id, type);
    if (number == overflow_cell)
        return not_known;
    *figures = figures_of(number);
    return ok;
}

uint32_t memacct_figures_next(uint32_t *position, memacct_figures_t *figures)
{
    if (position == nullptr || figures == nullptr)
        return bad_argument;
    while (*position < memacct::cell_count) {
        const uint32_t number = (*position)++;
        if (static_cast<uint32_t>(cell_at(number).key.load()) == account_itself)
            continue; // free, or an account's own name
        *figures = figures_of(number);
        return ok;
    }
    return not_known;
}

uint32_t memacct_figures_get_overflow(memacct_figures_t *figures)
{
    if (figures == nullptr)
        return bad_argument;
    *figures = figures_of(overflow_cell);
    return ok;
}
