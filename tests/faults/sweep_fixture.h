// SPDX-License-Identifier: Apache-2.0
//
// What the sweeps over single faults and over pairs share: an operation in a situation, run cleanly once, and at
// the end the number of runs with faults.
#pragma once

#include "sweep.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <tuple>

using act = std::tuple<operation, situation>;

inline std::string name_of_act(const testing::TestParamInfo<act> &each)
{
    return std::string(std::get<0>(each.param).name) + "_" + name_of(std::get<1>(each.param));
}

class fault_sweep : public testing::TestWithParam<act>
{
protected:
    ~fault_sweep() override { disarm_all(); }

    void check(const std::vector<fault> &faults) const
    {
        check_with_faults(which, where, clean, when_missing, faults);
    }

    const operation which = std::get<0>(GetParam());
    const situation where = std::get<1>(GetParam());
    const std::string when_missing = run_cleanly(which, situation::missing).result;
    const clean_run clean = run_cleanly(which, where);
};

struct tell_the_count : testing::Environment {
    explicit tell_the_count(const char *of) : what(of) {}
    void TearDown() override { std::printf("%s: %lu\n", what, faults_run()); }

    const char *what;
};
