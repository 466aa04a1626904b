// SPDX-License-Identifier: Apache-2.0
//
// The event-history side of the messages. A record is a code word and a text of at most 200 bytes
// with its zero; a longer text is cut, and the length handed over is that of the text as cut. The
// thread's id is asked once for each record, after the callbacks have run.
#include "messages.h"

#include <cstdarg>
#include <cstring>

#include "histlog.h"
#include "thrsvc.h"

namespace ifcache
{

namespace
{

constexpr uint32_t event_id = 0x730000;

} // namespace

void write_history(log_kind kind, const char *format, ...)
{
    const bool is_error = kind == log_kind::error;
    varn_log_record_t record;
    record.code = is_error ? VARN_LOG_ERROR : VARN_LOG_TRACE;

    // The prefix is at most 14 characters, so that the rest always has room.
    const int prefix =
        std::snprintf(record.text, sizeof record.text, "[%u]: ", thrsvc_get_thread_pid());
    const size_t used = static_cast<size_t>(prefix);
    va_list values;
    va_start(values, format);
    std::vsnprintf(record.text + used, sizeof record.text - used, format, values);
    va_end(values);

    const size_t length = std::strlen(record.text) + 1 + sizeof record.code;
    histlog_his_log_event_for_uuid_inst(varn.config.uuid, event_id, is_error ? 2 : 1, 0,
                                        static_cast<uint32_t>(length), &record);
}

} // namespace ifcache
