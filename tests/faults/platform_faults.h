// SPDX-License-Identifier: Apache-2.0
//
// Every platform function that the library calls, with the ways in which one call of it goes wrong:
// it fails, or it succeeds with an extreme value. A sweep arms the n-th call of a function and lets
// the act run.
#pragma once

#include "scripted_device.h"

#include <functional>
#include <string>
#include <vector>

// One way for a call to go wrong.
struct misbehaviour {
    const char *what;
    std::function<void(unsigned long nth)> arm; // the nth call of the function from now
    // A table that says it does not hold what it holds, or keeps what it was told to drop, and an
    // interface of iod 0: the library must survive these, but its tables can no longer agree.
    bool breaks_the_contract = false;
};

struct platform_function {
    const char *name;
    std::function<unsigned long()> asked;
    std::vector<misbehaviour> ways;
};

const std::vector<platform_function> &platform_functions();

// Takes back what was armed.
void disarm_all();
