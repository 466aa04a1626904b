// SPDX-License-Identifier: Apache-2.0
//
// shrink.cpp: chunks of steps are left out while the rest still fails, from halves down to single
// steps. Comparisons ask a great many questions; what is left of them is then told question by
// question and shrunk once more.
#include "shrink.h"

#include <algorithm>
#include <chrono>

namespace coherence
{
namespace
{

using steady = std::chrono::steady_clock;

// Repeating a history over a large device takes its time; what is found by then is short enough.
constexpr std::chrono::seconds patience{20};

struct attempt {
    const scenario &where;
    steady::time_point end = steady::now() + patience;

    bool fails(const std::vector<step> &steps) const
    {
        return steady::now() < end && repeat_history(where, steps).found.has_value();
    }
};

std::vector<step> without(const std::vector<step> &steps, std::size_t begin, std::size_t end)
{
    std::vector<step> rest(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(begin));
    rest.insert(rest.end(), steps.begin() + static_cast<std::ptrdiff_t>(end), steps.end());
    return rest;
}

// Leaves out every chunk of a size that is not needed. True: there was one.
bool drop_chunks(const attempt &repeat, std::vector<step> &steps, std::size_t chunk)
{
    bool dropped = false;
    for (std::size_t at = 0; at < steps.size();) {
        std::vector<step> rest = without(steps, at, std::min(at + chunk, steps.size()));
        if (repeat.fails(rest)) {
            steps = std::move(rest);
            dropped = true;
        } else {
            at += chunk;
        }
    }
    return dropped;
}

void drop_what_is_not_needed(const attempt &repeat, std::vector<step> &steps)
{
    for (std::size_t chunk = steps.size() / 2; chunk > 1; chunk /= 2)
        drop_chunks(repeat, steps, chunk);
    while (drop_chunks(repeat, steps, 1)) {
    }
}

} // namespace

shrunk shrink(const scenario &where, const std::vector<step> &steps, const query &of)
{
    scenario narrowed = where;
    narrowed.only = &of;
    shrunk result{steps, repeat_history(narrowed, steps).found};
    if (!result.found)
        return result;
    const attempt repeat{narrowed};
    drop_what_is_not_needed(repeat, result.steps);
    std::vector<step> single = with_single_questions(narrowed, result.steps);
    if (repeat.fails(single)) {
        drop_what_is_not_needed(repeat, single);
        result.steps = std::move(single);
    }
    result.found = repeat_history(narrowed, result.steps).found;
    return result;
}

std::string text_of(const shrunk &history)
{
    std::string text;
    for (const step &each : history.steps)
        text.append("  ").append(text_of(each)).append("\n");
    text.append("  (everything dispatched)\n");
    return history.found ? text.append(text_of(*history.found)) : text;
}

} // namespace coherence
