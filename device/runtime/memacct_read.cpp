// SPDX-License-Identifier: Apache-2.0
//
// Reading a file of figures. It is copied with read(2), not mapped, so that a file that is cut short
// meanwhile cannot hurt the reader.
#include "memacct_read.h"

#include "memacct_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <tuple>

namespace memacct
{

namespace
{

// A cell as its bytes stand in the file.
struct cell_bytes {
    uint64_t key, live_blocks, live_bytes, total_allocations, peak_bytes;
    char name[name_size];
};

static_assert(sizeof(cell_bytes) == sizeof(cell) &&
              offsetof(cell_bytes, name) == offsetof(cell, name));

// Up to size bytes of a regular file: opening another kind must not hang. False: cannot be read.
bool read_bytes(const std::string &path, size_t size, std::vector<char> &bytes)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return false;
    struct stat status {
    };
    ssize_t got = fstat(file, &status) == 0 && S_ISREG(status.st_mode) ? 1 : -1;
    bytes.resize(size);
    size_t have = 0;
    while (got > 0 && have < size) {
        got = ::read(file, bytes.data() + have, size - have);
        have += got > 0 ? static_cast<size_t>(got) : 0;
    }
    close(file);
    bytes.resize(have);
    return got >= 0;
}

bool holds_together(const file_header &header)
{
    return header.magic == file_magic && header.version == file_version &&
           header.cell_size == sizeof(cell) && header.cell_count == cell_count &&
           memchr(header.program, 0, sizeof header.program) != nullptr;
}

std::string text_of(const char (&name)[name_size]) { return {name, strnlen(name, name_size)}; }

std::vector<cell_bytes> cells_of(const std::vector<char> &bytes)
{
    std::vector<cell_bytes> cells(cell_count + 1);
    memcpy(cells.data(), bytes.data() + sizeof(file_header), cells.size() * sizeof(cell_bytes));
    return cells;
}

std::vector<shown_type> types_of(const std::vector<cell_bytes> &cells)
{
    std::map<uint32_t, std::string> accounts;
    for (const cell_bytes &c : cells)
        if (c.key != free_key && static_cast<uint32_t>(c.key) == account_itself)
            accounts[static_cast<uint32_t>(c.key >> 32)] = text_of(c.name);
    std::vector<shown_type> types;
    for (size_t number = 0; number < cells.size(); ++number) {
        const cell_bytes &c = cells[number];
        const bool is_overflow = number == overflow_cell && c.total_allocations != 0;
        if (static_cast<uint32_t>(c.key) == account_itself && !is_overflow)
            continue; // free, or an account's own name
        const auto id = static_cast<uint32_t>(c.key >> 32);
        types.push_back({id, static_cast<uint32_t>(c.key), accounts[id], text_of(c.name),
                         c.live_blocks, c.live_bytes, c.total_allocations, c.peak_bytes});
    }
    std::sort(types.begin(), types.end(), [](const shown_type &a, const shown_type &b) {
        return std::tie(a.id, a.type) < std::tie(b.id, b.type);
    });
    return types;
}

} // namespace

figures_result read_figures(const std::string &path, shown_process *out)
{
    std::vector<char> bytes;
    if (!read_bytes(path, file_size, bytes))
        return figures_result::cannot_read;
    file_header header;
    if (bytes.size() != file_size)
        return figures_result::not_figures;
    memcpy(&header, bytes.data(), sizeof header);
    if (!holds_together(header))
        return figures_result::not_figures;
    *out = {header.program, header.pid, header.started_ns, types_of(cells_of(bytes))};
    return figures_result::ok;
}

// The count stands behind the program's name, which is in parentheses and may hold anything.
uint64_t start_ticks(uint32_t pid)
{
    std::vector<char> bytes;
    char path[32];
    snprintf(path, sizeof path, "/proc/%u/stat", pid);
    if (!read_bytes(path, 1024, bytes))
        return 0;
    bytes.push_back(0);
    const char *at = strrchr(bytes.data(), ')');
    constexpr int fields_behind_name = 20;
    for (int field = 0; at != nullptr && field < fields_behind_name; ++field)
        at = strchr(at + 1, ' ');
    return at == nullptr ? 0 : strtoull(at, nullptr, 10);
}

bool is_running(const std::string &path, uint32_t pid)
{
    const auto process = static_cast<pid_t>(pid);
    if (process <= 0 || (kill(process, 0) != 0 && errno == ESRCH))
        return false;
    std::vector<char> bytes;
    file_header header{};
    if (!read_bytes(path, sizeof header, bytes) || bytes.size() != sizeof header)
        return true; // not for us to judge
    memcpy(&header, bytes.data(), sizeof header);
    const uint64_t now = start_ticks(pid);
    return !holds_together(header) || header.start_ticks == 0 || now == 0 ||
           now == header.start_ticks;
}

} // namespace memacct
