// SPDX-License-Identifier: Apache-2.0
//
// Two calls of one operation fail together: every pair, each call in its first way. Run on demand
// (./run pairs); the single faults are part of every check.
#include "sweep.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <tuple>

namespace
{

using act = std::tuple<operation, situation>;

class TwoFaults : public testing::TestWithParam<act>
{
protected:
    ~TwoFaults() override { disarm_all(); }
};

std::vector<fault> every_call(const clean_run &clean)
{
    std::vector<fault> all;
    for (const auto &[function, calls] : clean.calls)
        for (unsigned long nth = 1; nth <= calls; ++nth)
            all.push_back({function, nth, &function->ways.front()});
    return all;
}

TEST_P(TwoFaults, GiveTheStatedResultAndLeaveTheCacheWhole)
{
    const auto &[which, where] = GetParam();
    const std::string when_missing = run_cleanly(which, situation::missing).result;
    const clean_run clean = run_cleanly(which, where);
    const std::vector<fault> calls = every_call(clean);
    for (auto first = calls.begin(); first != calls.end(); ++first)
        for (auto second = std::next(first); second != calls.end(); ++second)
            check_with_faults(which, where, clean, when_missing, {*first, *second});
}

INSTANTIATE_TEST_SUITE_P(OfEveryOperation, TwoFaults,
                         testing::Combine(testing::ValuesIn(operations()),
                                          testing::ValuesIn(situations)),
                         [](const auto &each) {
                             return std::string(std::get<0>(each.param).name) + "_" +
                                    name_of(std::get<1>(each.param));
                         });

class tell_the_count : public testing::Environment
{
    void TearDown() override { std::printf("pairs of faults: %lu\n", faults_run()); }
};
testing::Environment *const told_at_the_end = testing::AddGlobalTestEnvironment(new tell_the_count);

} // namespace
