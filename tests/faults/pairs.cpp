// SPDX-License-Identifier: Apache-2.0
//
// Two calls of one operation fail together: every pair, each call in its first way. Run on demand
// (./run pairs); the single faults are part of every check.
#include "sweep_fixture.h"

namespace
{

std::vector<fault> every_call(const clean_run &clean)
{
    std::vector<fault> all;
    for (const auto &[function, calls] : clean.calls)
        for (unsigned long nth = 1; nth <= calls; ++nth)
            all.push_back({function, nth, &function->ways.front()});
    return all;
}

using TwoFaults = fault_sweep;

TEST_P(TwoFaults, GiveTheStatedResultAndLeaveTheCacheWhole)
{
    const std::vector<fault> calls = every_call(clean);
    for (auto first = calls.begin(); first != calls.end(); ++first)
        for (auto second = std::next(first); second != calls.end(); ++second)
            check({*first, *second});
}

INSTANTIATE_TEST_SUITE_P(OfEveryOperation, TwoFaults,
                         testing::Combine(testing::ValuesIn(operations()),
                                          testing::ValuesIn(situations)),
                         name_of_act);

testing::Environment *const told_at_the_end =
    testing::AddGlobalTestEnvironment(new tell_the_count("pairs of faults"));

} // namespace
