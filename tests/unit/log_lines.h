// SPDX-License-Identifier: Apache-2.0
//
// How messages of the library stand in the journal, and an address in a dump.
#pragma once

#include "varn_fixture.h"

#include <cstdio>
#include <string>

// An informational line.
inline std::string traced(const std::string &text)
{
    return spell("history(level 1, code 121, ", quoted(("[77]: " + text).c_str()), ")");
}

// An error of a function: the client's callback and the event history.
inline std::string reported(const std::string &function, const std::string &text)
{
    return lines(
        spell("error_cb(0x6, \"%s:%d: %s\\n\", ", function, ", line, ", quoted(text.c_str()), ")"),
        spell("history(level 2, code 122, ", quoted(("[77]: " + text).c_str()), ")"));
}

// Behind the "0x" that the dumps write before it.
inline std::string told_address(const void *address)
{
    char text[40];
    std::snprintf(text, sizeof text, "0x%p", address);
    return text;
}
