// SPDX-License-Identifier: Apache-2.0
//
// input.cpp: the plain reader. It reads what is there and no more than that, so that it never waits
// within a read.
#include "input.h"

#include <unistd.h>

namespace shell
{

bool plain_lines::next(std::string &line)
{
    for (;;) {
        const std::size_t end = read_ahead_.find('\n');
        if (end != read_ahead_.npos) {
            line = read_ahead_.substr(0, end);
            read_ahead_.erase(0, end + 1);
            return true;
        }
        if (at_end_) {
            line.swap(read_ahead_);
            read_ahead_.clear();
            return !line.empty();
        }
        told_.wait_for(STDIN_FILENO, for_ever);
        char buffer[4096];
        const ssize_t got = read(STDIN_FILENO, buffer, sizeof buffer);
        at_end_ = got <= 0;
        if (got > 0)
            read_ahead_.append(buffer, static_cast<std::size_t>(got));
    }
}

} // namespace shell
