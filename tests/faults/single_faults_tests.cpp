// SPDX-License-Identifier: Apache-2.0
//
// Every call that every operation makes goes wrong alone, in each of its ways.
#include "sweep.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <tuple>

namespace
{

using act = std::tuple<operation, situation>;

class OneFault : public testing::TestWithParam<act>
{
protected:
    ~OneFault() override { disarm_all(); }
};

TEST_P(OneFault, GivesTheStatedResultAndLeavesTheCacheWhole)
{
    const auto &[which, where] = GetParam();
    const std::string when_missing = run_cleanly(which, situation::missing).result;
    const clean_run clean = run_cleanly(which, where);
    for (const auto &[function, calls] : clean.calls)
        for (unsigned long nth = 1; nth <= calls; ++nth)
            for (const misbehaviour &way : function->ways)
                check_with_faults(which, where, clean, when_missing, {{function, nth, &way}});
}

INSTANTIATE_TEST_SUITE_P(OfEveryOperation, OneFault,
                         testing::Combine(testing::ValuesIn(operations()),
                                          testing::ValuesIn(situations)),
                         [](const auto &each) {
                             return std::string(std::get<0>(each.param).name) + "_" +
                                    name_of(std::get<1>(each.param));
                         });

class tell_the_count : public testing::Environment
{
    void TearDown() override { std::printf("single faults: %lu\n", faults_run()); }
};
testing::Environment *const told_at_the_end = testing::AddGlobalTestEnvironment(new tell_the_count);

} // namespace
