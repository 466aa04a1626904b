// SPDX-License-Identifier: Apache-2.0
//
// nearest.cpp: how far two words are apart, and how a word is shown to whoever typed it.
#include "nearest.h"

#include <algorithm>
#include <numeric>

#include <nlohmann/json.hpp>

namespace device
{
namespace
{

constexpr std::size_t longest_compared = 64; // nobody mistypes a longer word by a letter
constexpr std::size_t longest_shown = 60;

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

std::string nearest(std::string_view typed, const std::vector<std::string> &candidates)
{
    if (typed.size() > longest_compared)
        return "";
    const std::string *found = nullptr;
    std::size_t least = std::max<std::size_t>(2, typed.size() / 3) + 1;
    for (const std::string &candidate : candidates) {
        const std::size_t away = distance(typed, candidate);
        if (away < least && away < typed.size()) {
            least = away;
            found = &candidate;
        }
    }
    return found == nullptr ? "" : " (did you mean " + *found + "?)";
}

std::string in_quotes(std::string_view text)
{
    const bool cut = text.size() > longest_shown;
    std::string shown(text.substr(0, longest_shown));
    if (cut)
        shown.append("...");
    using json = nlohmann::json;
    return json(shown).dump(-1, ' ', true, json::error_handler_t::replace);
}

} // namespace device
