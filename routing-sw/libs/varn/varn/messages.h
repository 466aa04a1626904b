// SPDX-License-Identifier: Apache-2.0
//
// The two ways in which the library speaks. A *report* is an error: it goes to the client's error
// callbacks while varn_error_cb is exactly 1, and always to the event history. A *trace* is an
// informational line: a client that installs debug_print_arg takes it away from the event history,
// debug_print alone receives it in addition.
//
// Both hand the client's printf-like callbacks the message's own format and values, which no
// va_list can do; that is why they are templates. The macros add the source line and let the
// compiler check the values against the format.
#ifndef VARN_MESSAGES_H
#define VARN_MESSAGES_H

#include <cstdint>
#include <cstdio>

#include "../varn.h"
#include "misuse.h"

namespace ifcache
{

// The exported function that reports, and the line at which it does.
struct site {
    const char *function;
    int line;
};

enum class log_kind { error, trace };

// Writes "[thread id]: message" into the device's event history.
void write_history(log_kind kind, const char *format, ...);

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security" // the macros below check every format

template <class... values>
void report(site at, const char *format, values... v)
{
    CALL_OUT();
    std::snprintf(varn_print_str, sizeof varn_print_str, format, v...);
    if (varn_error_cb == 1 && varn.config.error_cb)
        varn.config.error_cb(varn.config.error_arg, "%s:%d: %s\n", at.function, at.line,
                             varn_print_str);
    else if (varn_error_cb == 1 && varn.config.error_print)
        varn.config.error_print(format, v...);
    write_history(log_kind::error, format, v...);
}

template <class... values>
void trace(const char *format, values... v)
{
    CALL_OUT();
    if (varn.config.debug_print_arg)
        varn.config.debug_print_arg(varn.config.debug_arg, format, v...);
    else if (varn.config.debug_print)
        varn.config.debug_print(format, v...);
    // Read again: the callback may have installed or removed a sink.
    if (!varn.config.debug_print_arg)
        write_history(log_kind::trace, format, v...);
}

#pragma GCC diagnostic pop

// An address as a message with 0x%x shows it.
inline unsigned low_word(const void *address)
{
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(address));
}

} // namespace ifcache

// Never evaluated: it is there for the compiler's check of the format.
#define CHECK_FORMAT(...) static_cast<void>(sizeof(std::printf(__VA_ARGS__)))

// `function` is the exported name under which the message is known, typed out at the site.
#define REPORT(function, ...)                                                                      \
    (CHECK_FORMAT(__VA_ARGS__), ifcache::report({function, __LINE__}, __VA_ARGS__))

#define TRACE(...) (CHECK_FORMAT(__VA_ARGS__), ifcache::trace(__VA_ARGS__))

#endif
