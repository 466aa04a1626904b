// SPDX-License-Identifier: Apache-2.0
//
// The library's exported objects are put back to their load-time state by hand; what it keeps
// beside them is emptied by varn_cleanup.
#include "history.h"

#include "comparison.h"
#include "mischief.h"
#include "operations.h"

#include <algorithm>
#include <cstring>

namespace naive
{

namespace
{

void bring_back_load_time()
{
    varn_cleanup();
    std::memset(static_cast<void *>(&varn), 0, sizeof varn);
    std::memset(varn_iodbmp, 0, sizeof varn_iodbmp);
    std::memset(varn_print_str, 0, sizeof varn_print_str);
    varn_enabled = varn_do_sync = varn_error_cb = 0;
}

void begin(const history &of, dice &chance, universe &all)
{
    the_mischief() = mischief();
    scripted::reset();
    bring_back_load_time();
    scripted::reset();
    scripted::record(scripted::services, false);
    scripted::name_table(&varn.if_table, "If");
    scripted::name_table(&varn.iod_table, "Iod");
    scripted::name_table(&varn.pi_table, "Pi");
    scripted::name_table(&varn.lif_table, "Lif");
    watch_the_platform();
    chance = dice(of.seed);
    all = draw_universe(chance);
    for (std::size_t left = all.if_indexes.size(); left != 0; --left)
        put_interface(chance, all);
    for (std::size_t left = all.vlans.size(); left != 0; --left)
        put_vlan(chance, all);
}

void run_step(const step &now, act &on)
{
    const bool is_free = !on.model.is_cleaned_up || now.operation == 0;
    if (!is_free) {
        on.told = "(nothing: only varn_init may follow varn_cleanup)";
        return;
    }
    the_mischief() = draw_mischief(on.chance, on.is_rough);
    operation_at(now.operation).run(on);
    compare_state(on.model);
    if (!on.is_rough && !scripted::complaints().empty())
        throw difference("complaint: " + scripted::complaints().front());
}

std::vector<std::string> told_log()
{
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < the_log().size(); ++at)
        lines.push_back(told(the_log()[at]));
    return lines;
}

} // namespace

history draw_history(u64 seed, u64 most_steps)
{
    dice chance(seed);
    history drawn;
    drawn.seed = chance.word();
    drawn.is_rough = chance.one_in(4);
    const u64 lengths[] = {40, 150, 300, 500, 900};
    const u64 length = std::min(chance.one_of(lengths), most_steps);
    while (drawn.steps.size() < length)
        drawn.steps.push_back({draw_operation(chance), chance.word()});
    // Most begin with a start; a few ask a library that was never started.
    if (!chance.one_in(10))
        drawn.steps.front().operation = 0;
    return drawn;
}

std::optional<failure> run(const history &of, bool tell)
{
    dice chance(0);
    universe all;
    begin(of, chance, all);
    cache model;
    failure found{};
    for (const step &now : of.steps) {
        act on{dice(now.seed, now.tape), model, all, of.is_rough, ""};
        try {
            run_step(now, on);
        } catch (const difference &unlike) {
            found.what = unlike.what();
            found.log = told_log();
            found.told.push_back(on.told);
            return found;
        }
        if (tell)
            found.told.push_back(on.told);
        ++found.at;
    }
    return std::nullopt;
}

history shrunk(history of)
{
    if (const auto found = run(of))
        of.steps.resize(found->at + 1);
    for (std::size_t chunk = of.steps.size() / 2; chunk != 0;) {
        bool has_shrunk = false;
        for (std::size_t at = 0; at + chunk < of.steps.size();) {
            history shorter = of;
            const auto first = shorter.steps.begin() + static_cast<std::ptrdiff_t>(at);
            shorter.steps.erase(first, first + static_cast<std::ptrdiff_t>(chunk));
            if (const auto found = run(shorter)) {
                shorter.steps.resize(found->at + 1);
                of = shorter;
                has_shrunk = true;
            } else {
                at += chunk;
            }
        }
        if (!has_shrunk || chunk > 1)
            chunk = chunk == 1 ? 0 : chunk / 2;
    }
    return of;
}

std::string told_failure(const history &of)
{
    const auto found = run(shrunk(of), true);
    if (!found)
        return "  (it does not fail again)\n";
    std::string text;
    for (std::size_t at = 0; at < found->told.size(); ++at)
        text += scripted::spell("  ", std::to_string(at + 1), "  ", found->told[at], "\n");
    text += "  what the library asked in the last step:\n";
    for (std::size_t at = 0; at < found->log.size(); ++at)
        text += scripted::spell("  ", std::to_string(at), "  ", found->log[at], "\n");
    return scripted::spell(text, "  difference: ", found->what, "\n");
}

} // namespace naive
