// SPDX-License-Identifier: Apache-2.0
//
// The rules of a run with faults.
#include "sweep.h"

#include "varn_fixture.h"

#include <algorithm>

namespace
{

bool any_lies(const std::vector<fault> &faults)
{
    return std::any_of(faults.begin(), faults.end(),
                       [](const fault &each) { return each.way->breaks_the_contract; });
}

bool hangs_on_any(const operation &which, const std::vector<fault> &faults)
{
    return std::any_of(faults.begin(), faults.end(), [&](const fault &each) {
        return which.hangs_on.contains(each.function->name);
    });
}

void check_result(const operation &which, const std::string &result, const std::string &clean,
                  const std::vector<fault> &faults)
{
    if (result == clean)
        return;
    if (!hangs_on_any(which, faults))
        ADD_FAILURE() << result << " instead of " << clean << ", which hangs on nothing of this";
    else if (!which.stated.empty() && !which.stated.contains(result))
        ADD_FAILURE() << "no such result is stated: " << result;
}

} // namespace

std::string told(const std::vector<fault> &faults)
{
    std::string text;
    for (const fault &each : faults)
        add_to_list(
            text, spell("call ", dec(each.nth), " of ", each.function->name, " ", each.way->what));
    return text;
}

clean_run run_cleanly(const operation &which, situation where)
{
    disarm_all();
    prepare(where);
    std::vector<unsigned long> before;
    for (const platform_function &each : platform_functions())
        before.push_back(each.asked());
    clean_run clean;
    clean.result = which.run();
    std::size_t at = 0;
    for (const platform_function &each : platform_functions())
        if (const unsigned long calls = each.asked() - before[at++]; calls != 0)
            clean.calls.emplace_back(&each, calls);
    EXPECT_EQ(broken_after_faults(false), "");
    return clean;
}

void check_with_faults(const operation &which, situation where, const clean_run &clean,
                       const std::string &clean_when_missing, const std::vector<fault> &faults)
{
    SCOPED_TRACE(told(faults));
    ++faults_run();
    prepare(where);
    for (const fault &each : faults)
        each.way->arm(each.nth);
    check_result(which, which.run(), clean.result, faults);
    disarm_all();
    const bool tables_lied = any_lies(faults);
    EXPECT_EQ(broken_after_faults(tables_lied), "");
    if (tables_lied)
        return;
    empty_the_cache();
    EXPECT_EQ(live_blocks().size(), 0u) << "not every block came back";
    EXPECT_EQ(which.run(), clean_when_missing) << "the next call, without faults";
    EXPECT_EQ(broken_after_faults(false), "");
}

unsigned long &faults_run()
{
    static unsigned long count;
    return count;
}
