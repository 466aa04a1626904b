// SPDX-License-Identifier: Apache-2.0
//
// The allocator's figures where other processes can read them: PROGRAM.PID.STARTED.mem beside the
// history files, made when the first account is opened, a header and then the cells themselves. The
// cells are mapped, so that counting costs no system call. Where no file can be made the figures
// stay in plain memory. A forked child starts with its parent's figures and makes a file of its own
// at its first allocation. Numbers are fixed-width in the order of the machine.
#ifndef DEVICE_RUNTIME_MEMACCT_FILE_H
#define DEVICE_RUNTIME_MEMACCT_FILE_H

#include "memacct_cells.h"

#include <string_view>

namespace memacct
{

constexpr std::string_view file_suffix = ".mem";
constexpr uint32_t file_magic = 0x4d454d41; // a machine of the other byte order finds no magic
constexpr uint32_t file_version = 1;

struct file_header {
    uint32_t magic;
    uint32_t version;
    uint32_t cell_size;
    uint32_t cell_count;             // the overflow cell not counted
    alignas(8) uint64_t started_ns;  // real time at which the file was made
    alignas(8) uint64_t start_ticks; // when the process began, in the kernel's count; 0: not known
    uint32_t pid;
    char program[64]; // zero-terminated
    unsigned char unused[4096 - 100];
};

constexpr size_t file_size = sizeof(file_header) + (cell_count + 1) * sizeof(cell);

static_assert(sizeof(file_header) == 4096 && offsetof(file_header, program) == 36);

// Moves the cells into a file, if this process has none yet and has not tried.
void show_cells();

// The same in a child of a process that did so. Costs a comparison anywhere else.
void show_cells_of_child();

// When a process began, in the kernel's count; 0: there is none, or it cannot be told.
uint64_t start_ticks(uint32_t pid);

} // namespace memacct

#endif
