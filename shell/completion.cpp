// SPDX-License-Identifier: Apache-2.0
//
// completion.cpp: text in, candidates out. Pure.
#include "completion.h"

#include <algorithm>

namespace shell
{
namespace
{

struct place {
    std::string name;
    bool optional;
};

bool is_option(std::string_view word) { return word.starts_with("--"); }

// The words of a usage that are no options.
std::vector<place> places_of(std::string_view usage)
{
    std::vector<place> places;
    for (const std::string &word : split_words(usage)) {
        const bool optional = word.front() == '[';
        std::string name = optional ? word.substr(1, word.size() - 2) : word;
        if (!name.starts_with('-'))
            places.push_back({std::move(name), optional});
    }
    return places;
}

words alternatives(std::string_view name)
{
    words all;
    while (!name.empty()) {
        const std::size_t end = std::min(name.find('|'), name.size());
        all.emplace_back(name.substr(0, end));
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return all;
}

} // namespace

unfinished_command read_unfinished(std::string_view line)
{
    const std::size_t divided = line.find_last_of(';');
    if (divided != line.npos)
        line.remove_prefix(divided + 1);
    unfinished_command typed{split_words(line), {}};
    const bool in_a_word = !line.empty() && line.back() != ' ' && line.back() != '\t';
    if (in_a_word && !typed.before.empty()) {
        typed.last = typed.before.back();
        typed.before.pop_back();
    }
    return typed;
}

words options_of(std::string_view usage)
{
    words options;
    for (const std::string &word : split_words(usage))
        if (word.starts_with("[--"))
            options.push_back(word.substr(1, word.size() - 2));
    return options;
}

// A word that may be left out gives way to the one behind it.
words candidates_for(std::string_view usage, const unfinished_command &typed,
                     const std::function<words(std::string_view)> &named)
{
    if (typed.last.starts_with('-'))
        return options_of(usage);
    const std::vector<place> places = places_of(usage);
    const auto stand = std::count_if(typed.before.begin() + 1, typed.before.end(),
                                     [](const std::string &word) { return !is_option(word); });
    words found;
    for (auto at = static_cast<std::size_t>(stand); at < places.size(); ++at) {
        const std::string &name = places[at].name;
        const words here = name.find('|') != name.npos ? alternatives(name) : named(name);
        found.insert(found.end(), here.begin(), here.end());
        if (!places[at].optional)
            break;
    }
    return found;
}

words beginning_with(std::string_view start, words candidates)
{
    std::erase_if(candidates, [=](const std::string &word) { return !word.starts_with(start); });
    std::ranges::sort(candidates);
    return candidates;
}

std::string shared_beginning(const words &candidates)
{
    if (candidates.empty())
        return {};
    std::string shared = candidates.front();
    for (const std::string &word : candidates) {
        const auto [here, there] = std::ranges::mismatch(shared, word);
        shared.erase(here, shared.end());
    }
    return shared;
}

std::string in_columns(const words &candidates, std::size_t width)
{
    std::size_t widest = 1;
    for (const std::string &word : candidates)
        widest = std::max(widest, word.size() + 2);
    const std::size_t in_a_row = std::max<std::size_t>(width / widest, 1);
    const std::size_t rows = (candidates.size() + in_a_row - 1) / in_a_row;
    std::string text;
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t at = row; at < candidates.size(); at += rows) {
            const bool last = at + rows >= candidates.size();
            text.append(candidates[at]);
            text.append(last ? 0 : widest - candidates[at].size(), ' ');
        }
        text.append(row + 1 < rows ? "\n" : "");
    }
    return text;
}

} // namespace shell
