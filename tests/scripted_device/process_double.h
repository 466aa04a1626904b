// SPDX-License-Identifier: Apache-2.0
//
// The doubles of what concerns the process itself: the event-history log, the thread id (77 unless
// a test says otherwise) and the backtrace.
#pragma once

#include "service.h"

#include <cstdint>
#include <string>
#include <vector>

namespace scripted
{

// A record of the event history. A record is opaque to the log; nearly all of them begin with a
// 32-bit code and a text, so these are read out of it.
struct history_record {
    std::uint32_t uuid;
    std::uint32_t event_id;
    std::uint32_t level;
    std::uint32_t inst;
    std::uint32_t length;
    std::uint32_t code; // 0 for a record of less than 4 bytes
    std::string text;   // the bytes behind the code, up to the first zero
    std::vector<std::uint8_t> bytes;
};

struct backtrace_record {
    std::string function;
    std::uint32_t priority;
};

// All since the last reset() or forget_history(); a record of a failed write is none.
SCRIPTED_API const std::vector<history_record> &history();
SCRIPTED_API void forget_history();
// The texts alone, one after the other as they stand: most end in a newline of their own.
SCRIPTED_API std::string history_text();

SCRIPTED_API const std::vector<backtrace_record> &stack_traces();

SCRIPTED_API void reset_process();

} // namespace scripted
