// SPDX-License-Identifier: Apache-2.0
//
// completion.h: what may stand where the cursor is. Read off the usage of a command, so that there
// is no second description of what it takes: "[--direct] ATTRIBUTE IF" are options, then one word
// after the other; a word in brackets may be left out, and a|b|c are the very words.
#ifndef VARNSH_COMPLETION_H
#define VARNSH_COMPLETION_H

#include <functional>
#include <string>
#include <string_view>

#include "words.h"

namespace shell
{

struct unfinished_command {
    words before;     // the words that stand already, the command's name first
    std::string last; // what was typed of the next one; "" behind a blank
};

// The last of the commands of a line.
unfinished_command read_unfinished(std::string_view line);

words options_of(std::string_view usage);

// `named` gives the words that a name in capitals stands for.
words candidates_for(std::string_view usage, const unfinished_command &typed,
                     const std::function<words(std::string_view)> &named);

words beginning_with(std::string_view start, words candidates);

// The longest text with which all of them begin.
std::string shared_beginning(const words &candidates);

// All of them, below one another where they do not fit beside one another.
std::string in_columns(const words &candidates, std::size_t width);

} // namespace shell

#endif
