// SPDX-License-Identifier: Apache-2.0
//
// picture.cpp: comparing and wording. The difference is short however large the device is.
#include "picture.h"

#include <set>

#include <fmt/format.h>

namespace
{

constexpr std::size_t most_lines = 60;

std::string value_at(const picture &from, const std::string &what)
{
    const auto at = from.find(what);
    return at == from.end() ? "nothing" : at->second;
}

} // namespace

std::string difference(const picture &told_by_ip, const picture &answered)
{
    std::set<std::string> all;
    for (const auto *side : {&told_by_ip, &answered})
        for (const auto &[what, value] : *side)
            all.insert(what);
    std::string lines;
    std::size_t count = 0;
    for (const std::string &what : all) {
        const std::string told = value_at(told_by_ip, what), answer = value_at(answered, what);
        if (told != answer && ++count <= most_lines)
            lines += fmt::format("{}: ip tells \"{}\", the answer is \"{}\"\n", what, told, answer);
    }
    if (count > most_lines)
        lines += fmt::format("and {} more\n", count - most_lines);
    return lines;
}

std::string words(const std::vector<std::pair<const char *, bool>> &list)
{
    std::string joined;
    for (const auto &[word, holds] : list) {
        if (!holds)
            continue;
        if (!joined.empty())
            joined.push_back(' ');
        joined.append(word);
    }
    return joined;
}

picture groups(const std::map<std::string, std::string> &group_of_interface)
{
    std::map<std::string, std::string> first;
    picture made;
    for (const auto &[name, group] : group_of_interface)
        made[name] = first.emplace(group, name).first->second;
    return made;
}
