// SPDX-License-Identifier: Apache-2.0
//
// Every call that every operation makes goes wrong alone, in each of its ways.
#include "sweep_fixture.h"

namespace
{

using OneFault = fault_sweep;

TEST_P(OneFault, GivesTheStatedResultAndLeavesTheCacheWhole)
{
    for (const auto &[function, calls] : clean.calls)
        for (unsigned long nth = 1; nth <= calls; ++nth)
            for (const misbehaviour &way : function->ways)
                check({{function, nth, &way}});
}

INSTANTIATE_TEST_SUITE_P(OfEveryOperation, OneFault,
                         testing::Combine(testing::ValuesIn(operations()),
                                          testing::ValuesIn(situations)),
                         name_of_act);

testing::Environment *const told_at_the_end =
    testing::AddGlobalTestEnvironment(new tell_the_count("single faults"));

} // namespace
