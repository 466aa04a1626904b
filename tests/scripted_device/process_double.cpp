// SPDX-License-Identifier: Apache-2.0
//
// Journal lines of the log are kept short, for a test compares many of them: level, code and text.
// The other members stand in history().
#include "process_double.h"

#include <algorithm>

namespace scripted
{

namespace
{

using u32 = std::uint32_t;

struct process_state {
    std::vector<history_record> history;
    std::vector<backtrace_record> stack_traces;
};

process_state &the_process()
{
    static process_state kept;
    return kept;
}

history_record read_record(u32 uuid, u32 event_id, u32 level, u32 inst, u32 length,
                           const void *record)
{
    const auto *bytes = static_cast<const std::uint8_t *>(record);
    history_record read{uuid, event_id, level, inst, length, 0, "", {bytes, bytes + length}};
    if (length < sizeof read.code)
        return read;
    std::memcpy(&read.code, bytes, sizeof read.code);
    const auto text = read.bytes.begin() + sizeof read.code;
    read.text.assign(text, std::find(text, read.bytes.end(), 0));
    return read;
}

u32 keep(u32 uuid, u32 event_id, u32 level, u32 inst, u32 length, const void *record)
{
    the_process().history.push_back(read_record(uuid, event_id, level, inst, length, record));
    return 0;
}

std::string history_line(u32 result, u32 uuid, u32 event_id, u32 level, u32 inst, u32 length,
                         const void *record)
{
    const history_record read = read_record(uuid, event_id, level, inst, length, record);
    const std::string line = spell("history(level ", dec(level), ", code ", dec(read.code), ", ",
                                   quoted(read.text.c_str()), ")");
    return result == 0 ? line : spell(line, " = ", hex(result));
}

void keep_backtrace(const char *function, u32 priority)
{
    the_process().stack_traces.push_back({function, priority});
}

service do_log{histlog_his_log_event_for_uuid_inst,
               "histlog_his_log_event_for_uuid_inst",
               messages,
               history_line,
               'c',
               keep};
service ask_thread{thrsvc_get_thread_pid, "thrsvc_get_thread_pid", threads, "", 'd',
                   [] { return u32{77}; }};
service do_backtrace{syslog_backtrace, "syslog_backtrace", backtraces, "td", '.', keep_backtrace};

} // namespace

const std::vector<history_record> &history() { return the_process().history; }

void forget_history() { the_process().history.clear(); }

std::string history_text()
{
    std::string all;
    for (const history_record &each : history())
        all += each.text;
    return all;
}

const std::vector<backtrace_record> &stack_traces() { return the_process().stack_traces; }

void reset_process() { the_process() = process_state{}; }

} // namespace scripted

using namespace scripted;

std::uint32_t histlog_his_log_event_for_uuid_inst(std::uint32_t uuid, std::uint32_t event_id,
                                                  std::uint32_t level, std::uint32_t inst,
                                                  std::uint32_t length, const void *record)
{
    return do_log(uuid, event_id, level, inst, length, record);
}
std::uint32_t thrsvc_get_thread_pid(void) { return ask_thread(); }
void syslog_backtrace(const char *function, std::uint32_t priority)
{
    do_backtrace(function, priority);
}
