// SPDX-License-Identifier: Apache-2.0
//
// Reading the allocator's figures of other processes, while they run. A file is not trusted: one
// that does not hold together is none, and texts are cut at their ends.
#ifndef DEVICE_RUNTIME_MEMACCT_READ_H
#define DEVICE_RUNTIME_MEMACCT_READ_H

#include <cstdint>
#include <string>
#include <vector>

namespace memacct
{

// One memory type of one account; see memacct_figures.h.
struct shown_type {
    uint32_t id;
    uint32_t type;
    std::string account_name; // empty: none
    std::string type_name;
    uint64_t live_blocks;
    uint64_t live_bytes;
    uint64_t total_allocations;
    uint64_t peak_bytes;
};

struct shown_process {
    std::string program;
    uint32_t pid = 0;
    uint64_t started_ns = 0;
    std::vector<shown_type> types; // by account and type
};

enum class figures_result { ok, cannot_read, not_figures };

// Reads one file. *out is written with figures_result::ok only.
figures_result read_figures(const std::string &path, shown_process *out);

// Whether the process that made the file still runs: a process of that number that began later is
// another one.
bool is_running(const std::string &path, uint32_t pid);

} // namespace memacct

#endif
