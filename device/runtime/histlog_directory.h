// SPDX-License-Identifier: Apache-2.0
//
// Where history files live and what they are called: PROGRAM.PID.STARTED.hist, the start in
// nanoseconds of real time as 16 hexadecimal digits. Files outlive their processes; the number of
// them is bounded, and room is made by removing the oldest whose process is dead. The files with the
// allocator's figures lie beside them and end in .mem.
#ifndef DEVICE_RUNTIME_HISTLOG_DIRECTORY_H
#define DEVICE_RUNTIME_HISTLOG_DIRECTORY_H

#include "device/runtime/histlog_read.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace histlog
{

constexpr size_t kept_files = 64;

// Gives the first usable directory, made if need be, or an empty text.
std::string writing_directory();

// Removes the oldest files of dead processes until fewer than kept_files are left, if it can.
void make_room(const std::string &directory);

std::string file_name(const std::string &program, uint32_t pid, uint64_t started_ns,
                      std::string_view suffix = history_suffix);

// This program's name as it can stand in a file name and in a header's field of that size.
std::string program_name(size_t field_size);

// Real time in nanoseconds.
uint64_t now_ns();

} // namespace histlog

#endif
