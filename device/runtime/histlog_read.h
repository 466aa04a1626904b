// SPDX-License-Identifier: Apache-2.0
//
// Reading the event histories that processes left, or are still writing. A history file is not
// trusted: whatever in it does not hold together is left out and counted, and nothing else in the
// file suffers from it.
#ifndef DEVICE_RUNTIME_HISTLOG_READ_H
#define DEVICE_RUNTIME_HISTLOG_READ_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace histlog
{

struct record {
    uint64_t sequence; // from 1, a number a record within one file
    uint64_t time_ns;  // real time, in nanoseconds
    uint32_t uuid;
    uint32_t event_id;
    uint32_t level;
    uint32_t inst;
    std::vector<unsigned char> bytes;
};

struct history {
    std::string program;
    uint32_t pid = 0;
    uint64_t started_ns = 0;
    std::vector<record> records; // oldest first
    uint32_t damaged = 0;        // slots that hold something else than a record
};

// What a file's name says; the file itself need not be one.
struct history_file {
    std::string path;
    std::string program;
    uint32_t pid;
    uint64_t started_ns;
};

enum class read_result { ok, cannot_read, not_a_history };

// Gives the directories in which a process of this user with this environment may have written, in
// the order in which one looks for a place.
std::vector<std::string> directories();

constexpr std::string_view history_suffix = ".hist";

// Gives the history files of a directory, or others with names of that form, oldest first; none if
// it cannot be read.
std::vector<history_file> list(const std::string &directory,
                               std::string_view suffix = history_suffix);

// Reads one file. *out is written with read_result::ok only.
read_result read(const std::string &path, history *out);

} // namespace histlog

#endif
