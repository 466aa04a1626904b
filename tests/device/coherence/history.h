// SPDX-License-Identifier: Apache-2.0
//
// history.h: what happens to a device and to its client, step by step, at random but repeatable. A
// step is data: it names interfaces and not numbers, so that a history from which steps were taken
// out still makes sense.
#ifndef TESTS_COHERENCE_HISTORY_H
#define TESTS_COHERENCE_HISTORY_H

#include <functional>
#include <memory>
#include <optional>

#include "client.h"
#include "comparison.h"
#include "device_under_test.h"
#include "random.h"
#include "world.h"

namespace coherence
{

struct deed;

struct step {
    const deed *what = nullptr;
    words said;
    u32 number = 0;
    u64 seed = 0; // of a sample, of an inventory
};

std::string text_of(const step &each);

// Where a history happens.
struct scenario {
    u64 seed = 0; // of the inventory that it begins with
    varn_config_t config{};
    std::function<std::unique_ptr<device_under_test>()> make_device;
    const query *only = nullptr; // the one query whose mismatches count; null: all
    u32 sample = 40;             // questions of a sample
    u32 most = 0;                // of a comparison of everything; 0: really all
};

struct outcome {
    std::optional<mismatch> found;
    std::size_t steps = 0; // done, the one that found it included
    u64 changes = 0, refused = 0, questions = 0;
};

// Makes up as many steps as are asked for and carries them out. `done` is what was done.
outcome make_history(const scenario &where, u64 seed, std::size_t steps, std::vector<step> &done);

// Carries out a given history, and in the end compares everything.
outcome repeat_history(const scenario &where, const std::vector<step> &steps);

// The same history with each comparison in place of the questions that it asks.
std::vector<step> with_single_questions(const scenario &where, const std::vector<step> &steps);

} // namespace coherence

#endif
