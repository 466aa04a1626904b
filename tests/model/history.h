// SPDX-License-Identifier: Apache-2.0
//
// A history: a world, a library as it is at load time, and steps. A step carries its own seed, from
// which its arguments and its mischief are drawn, so that it does much the same when others are
// taken away. One that was written and not drawn has a tape before its seed.
#pragma once

#include "dice.h"

#include <optional>
#include <string>
#include <vector>

namespace naive
{

struct step {
    u32 operation;
    u64 seed;
    std::vector<u8> tape{}; // drawn from before the seed
};

struct history {
    u64 seed = 0; // of the world
    bool is_rough = false;
    std::vector<step> steps;
};

struct failure {
    std::size_t at;               // the step
    std::string what;             // the difference
    std::vector<std::string> log; // what the library asked in that step
    std::vector<std::string> told;
};

history draw_history(u64 seed, u64 most_steps);

// Runs it from the start. Told are the steps as a person reads them, when asked for.
std::optional<failure> run(const history &of, bool tell = false);

// Takes away whatever is not needed for a failure.
history shrunk(history of);

// The failure as a person reads it: the history made shorter, step by step, with what the library
// asked in the last one.
std::string told_failure(const history &of);

} // namespace naive
