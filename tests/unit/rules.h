// SPDX-License-Identifier: Apache-2.0
//
// The last words of a debug build that finds its caller at fault, by the rule's number in varn.h. An
// emulator that runs the test has a line of its own behind them.
#pragma once

#include <string>

inline std::string stop_of(const std::string &function, unsigned rule)
{
    static const char *const rules[] = {
        "",
        "the hash bucket is 0 to 15",
        "the iod is below 32768",
        "a null pointer where none is allowed",
        "two threads in the library at once",
        "called between varn_cleanup and varn_init",
        "a callback removed the entry that the call works on",
        "a callback changed the tables while one is printed or flushed",
        "a callback started, stopped or switched the cache",
    };
    return "^varn: " + function + ": rule " + std::to_string(rule) + ": " + rules[rule] +
           "\n(qemu: [^\n]*\n)?$";
}
