// SPDX-License-Identifier: Apache-2.0
//
// The ground of the tests of the dumps: a print callback of the test's own, which keeps each piece
// as it came, and which can take itself away after a number of pieces.
#pragma once

#include "log_lines.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

constexpr std::uintptr_t terminal = 0x7; // the client's argument of every dump

// What came out of the dumps since the start of the test.
struct printed_pieces {
    std::vector<std::string> pieces;
    std::size_t stop_after = 0; // 0 = never
    bool wrong_argument = false;
};

inline printed_pieces &printout()
{
    static printed_pieces kept;
    return kept;
}

__attribute__((format(printf, 2, 3))) inline void keep_piece(std::uintptr_t arg, const char *format,
                                                             ...)
{
    char text[512];
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    printed_pieces &all = printout();
    all.pieces.emplace_back(text);
    all.wrong_argument |= arg != terminal;
    if (all.pieces.size() == all.stop_after)
        varn.config.print = nullptr;
}

class dump_test : public varn_test
{
protected:
    dump_test() { printout() = {}; }

    // Starts the cache with the test's own print callback.
    void start_printing(const config &with)
    {
        start(with);
        varn.config.print = keep_piece;
    }

    // The text printed since the last printed().
    static std::string printed()
    {
        std::string text;
        for (const std::string &each : printout().pieces)
            text += each;
        EXPECT_FALSE(printout().wrong_argument);
        printout().pieces.clear();
        return text;
    }
};
