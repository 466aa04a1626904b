// SPDX-License-Identifier: Apache-2.0
//
// words.h: what people type: split into commands and words, numbers read, slips of the pen met with
// the nearest thing that exists.
#ifndef VARNSH_WORDS_H
#define VARNSH_WORDS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace shell
{

using words = std::vector<std::string>;

// Commands are divided by ';' or line ends; a '!' command takes the rest of its line.
std::vector<std::string> split_commands(std::string_view text);
words split_words(std::string_view command);

// A number in decimal or, after 0x, in hexadecimal; nothing else, and nothing behind it.
std::optional<std::uint32_t> read_number(std::string_view text);

// " (did you mean NAME?)" for the candidate that is close enough, else empty.
std::string suggestion(std::string_view typed, const std::vector<std::string> &candidates);

} // namespace shell

#endif
