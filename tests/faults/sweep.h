// SPDX-License-Identifier: Apache-2.0
//
// One run of an operation with faults in it, and what it is held against.
#pragma once

#include "operations.h"
#include "platform_faults.h"

#include <string>
#include <vector>

// A call out of the library: the nth call of a function during the act, and a way to go wrong.
struct fault {
    const platform_function *function;
    unsigned long nth;
    const misbehaviour *way;
};

std::string told(const std::vector<fault> &faults);

// What the operation gives, and which calls it makes, when nothing goes wrong.
struct clean_run {
    std::string result;
    std::vector<std::pair<const platform_function *, unsigned long>> calls; // how often each
};
clean_run run_cleanly(const operation &which, situation where);

// Prepares, arms, runs, and checks the result, the invariants, that the cache can be emptied without
// a leak, and that the next call gives what it gives on an empty cache. Adds 1 to faults_run().
void check_with_faults(const operation &which, situation where, const clean_run &clean,
                       const std::string &clean_when_missing, const std::vector<fault> &faults);

unsigned long &faults_run();
