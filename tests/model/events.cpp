// SPDX-License-Identifier: Apache-2.0
//
// The log itself, and one line of it as a person reads it.
#include "events.h"

#include "scripted_device.h"

#include <cstdio>

namespace naive
{

const char *const heard_debug_print = "debug_print";
const char *const heard_debug_print_arg = "debug_print_arg";
const char *const heard_error_print = "error_print";
const char *const heard_error_cb = "error_cb";
const char *const heard_print = "print";
const char *const heard_on_create = "on_create";
const char *const heard_extn_free = "extn_free";
const char *const heard_decoder = "extn_decode";
const char *const heard_nested_answer = "(answer to a query from on_create)";
const char *const heard_stdout = "(standard output)";

event_log &the_log()
{
    static event_log kept;
    return kept;
}

std::string formatted(const char *format, std::va_list values)
{
    char text[2048];
    std::vsnprintf(text, sizeof text, format, values);
    return text;
}

std::string told(const event &what)
{
    using scripted::add_to_list;
    std::string given;
    for (unsigned at = 0; at < what.n_in; ++at)
        add_to_list(given, scripted::hex(what.in[at]));
    if (!what.text.empty())
        add_to_list(given, scripted::quoted(what.text.c_str()));
    std::string line = scripted::spell(what.name, "(", given, ") = ", scripted::hex(what.result));
    for (unsigned at = 0; what.written && at < what.n_out; ++at)
        line += scripted::spell(" -> ", scripted::hex(what.out[at]));
    if (!what.answer.empty())
        line += scripted::spell(" ", scripted::quoted(what.answer.c_str()));
    return what.spoiled ? line + " (told to fail)" : line;
}

} // namespace naive
