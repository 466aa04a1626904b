// SPDX-License-Identifier: Apache-2.0
//
// history.cpp: histories are made up, repeated, and taken apart.
#include "history.h"

#include "stage.h"

namespace coherence
{

std::string text_of(const step &each)
{
    std::string text = each.what->name;
    for (const std::string &word : each.said)
        text.append(" ").append(word);
    if (each.number != 0 || each.seed != 0)
        text.append(" (").append(std::to_string(each.number));
    if (each.seed != 0)
        text.append(", ").append(std::to_string(each.seed));
    return each.number != 0 || each.seed != 0 ? text.append(")") : text;
}

outcome make_history(const scenario &where, u64 seed, std::size_t steps, std::vector<step> &done)
{
    random_numbers from(seed);
    stage on(where);
    while (on.result.steps < steps && !on.result.found) {
        done.push_back(random_step(from, on));
        done.back().what->act(on, done.back());
        ++on.result.steps;
    }
    if (on.result.found)
        return on.result;
    if (!on.is_connected())
        on.reconnect();
    on.compare_everything();
    return on.result;
}

outcome repeat_history(const scenario &where, const std::vector<step> &steps)
{
    stage on(where);
    for (const step &each : steps) {
        if (on.result.found)
            return on.result;
        each.what->act(on, each);
        ++on.result.steps;
    }
    if (!on.is_connected())
        on.reconnect();
    on.compare_everything();
    return on.result;
}

namespace
{

void add_questions(const stage &on, std::vector<step> &to)
{
    const deed &ask = find_deed("ask");
    for (const query &of : exported_queries())
        for (u32 variant = 0; variant < of.variants; ++variant) {
            if (of.about == subject::vlan)
                for (const u16 vlan : on.people().everyone().vlans)
                    to.push_back({&ask, {of.name, std::to_string(vlan)}, variant, 0});
            else
                for (const std::string &name : on.people().names())
                    to.push_back({&ask, {of.name, name}, variant, 0});
        }
}

} // namespace

std::vector<step> with_single_questions(const scenario &where, const std::vector<step> &steps)
{
    std::vector<step> all;
    stage on(where);
    for (const step &each : steps) {
        if (std::string_view(each.what->name).starts_with("compare")) {
            all.push_back({&find_deed("dispatch"), {}, 0, 0});
            add_questions(on, all);
        } else {
            all.push_back(each);
        }
        each.what->act(on, each);
    }
    return all;
}

} // namespace coherence
