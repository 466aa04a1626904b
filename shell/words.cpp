// SPDX-License-Identifier: Apache-2.0
//
// words.cpp: text in, words out. Pure.
#include "words.h"

#include <algorithm>
#include <charconv>
#include <numeric>

namespace shell
{
namespace
{

constexpr std::string_view blanks = " \t\r";

std::string_view trimmed(std::string_view text)
{
    const std::size_t from = text.find_first_not_of(blanks);
    if (from == text.npos)
        return {};
    return text.substr(from, text.find_last_not_of(blanks) - from + 1);
}

// Insertions, deletions and replacements that make one text of the other.
std::size_t distance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] != b[j - 1]);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

} // namespace

std::vector<std::string> split_commands(std::string_view text)
{
    std::vector<std::string> commands;
    while (!text.empty()) {
        const bool to_line_end = trimmed(text).starts_with('!');
        const std::size_t end = text.find_first_of(to_line_end ? "\n" : ";\n");
        const std::string_view command = trimmed(text.substr(0, end));
        if (!command.empty() && command.front() != '#')
            commands.emplace_back(command);
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
    }
    return commands;
}

words split_words(std::string_view command)
{
    words found;
    for (command = trimmed(command); !command.empty(); command = trimmed(command)) {
        const std::size_t end = std::min(command.find_first_of(blanks), command.size());
        found.emplace_back(command.substr(0, end));
        command.remove_prefix(end);
    }
    return found;
}

std::optional<std::uint32_t> read_number(std::string_view text)
{
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal)
        text.remove_prefix(2);
    std::uint32_t number = 0;
    const char *end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
    if (read.ec != std::errc{} || read.ptr != end)
        return std::nullopt;
    return number;
}

std::string suggestion(std::string_view typed, const std::vector<std::string> &candidates)
{
    const std::string *nearest = nullptr;
    std::size_t least = std::max<std::size_t>(2, typed.size() / 3) + 1;
    for (const std::string &candidate : candidates) {
        const std::size_t away = distance(typed, candidate);
        if (away < least) {
            least = away;
            nearest = &candidate;
        }
    }
    return nearest == nullptr ? "" : " (did you mean " + *nearest + "?)";
}

} // namespace shell
