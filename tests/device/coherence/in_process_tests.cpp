// SPDX-License-Identifier: Apache-2.0
//
// in_process_tests.cpp: once the notices are dispatched, every cached answer equals the direct one,
// but for the written list of differences. Many short histories, each over a device and a client of
// its own.
//
// VARN_STEPS says how many steps in all, VARN_SEED makes it one history of that seed.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

#include "differences.h"
#include "in_process_device.h"
#include "shrink.h"

namespace
{

using namespace coherence;

constexpr std::size_t steps_of_history = 2000;

u64 from_environment(const char *name, u64 otherwise)
{
    const char *value = std::getenv(name);
    return value == nullptr ? otherwise : std::strtoull(value, nullptr, 0);
}

// 30 iods are left beside those of the world.
constexpr u32 crowd = 32767 - 30 - 30;

scenario in_process(u64 seed, u32 bystanders = 0)
{
    random_numbers from(seed);
    scenario where;
    where.seed = from.next();
    where.config = random_configuration(from.next());
    const std::size_t room = from.one_in(4) ? 16 : 4096;
    where.make_device = [room, bystanders] {
        return std::make_unique<in_process_device>(room, bystanders);
    };
    return where;
}

// Everything that is needed to see it again.
std::string report(const scenario &where, u64 seed, const std::vector<step> &done,
                   const mismatch &found)
{
    std::string text = "VARN_SEED=" + std::to_string(seed) + " VARN_STEPS=";
    text.append(std::to_string(done.size())).append("\n").append(text_of(where.config));
    text.append("\n").append(text_of(found)).append("the shortest history that shows it:\n");
    return text.append(text_of(shrink(where, done, *found.of)));
}

// Empty: no mismatch.
std::string run_history(u64 seed, std::size_t steps, outcome &sum, u32 bystanders = 0)
{
    const scenario where = in_process(seed, bystanders);
    std::vector<step> done;
    const outcome of = make_history(where, seed, steps, done);
    sum.steps += of.steps;
    sum.changes += of.changes;
    sum.refused += of.refused;
    sum.questions += of.questions;
    return of.found ? report(where, seed, done, *of.found) : "";
}

TEST(Coherence, OfAGivenHistoryHolds)
{
    const u64 seed = from_environment("VARN_SEED", 1);
    outcome sum;
    const auto steps = static_cast<std::size_t>(from_environment("VARN_STEPS", steps_of_history));
    const std::string wrong = run_history(seed, std::min(steps, steps_of_history), sum);
    EXPECT_TRUE(wrong.empty()) << wrong;
}

TEST(Coherence, HoldsWhereIodsAreGivenOutAnew)
{
    {
        in_process_device device(4096, crowd);
        device.restart(world_inventory(1));
        const std::vector<u32> first = device.iods();
        for (u32 n = 0; n < 100; ++n) {
            EXPECT_EQ(device.change({"delete", "gre1"}), "");
            EXPECT_EQ(device.change({"add", "gre1", "gre"}), "");
        }
        EXPECT_LT(device.iods().back(), 32768u);
        EXPECT_EQ(device.iods().size(), first.size());
    }
    outcome sum;
    for (u64 seed = 1; seed <= 3; ++seed) {
        const std::string wrong = run_history(seed, steps_of_history, sum, crowd);
        ASSERT_TRUE(wrong.empty()) << wrong;
    }
}

TEST(Coherence, HoldsOverRandomHistoriesAndEveryDifferenceIsNeeded)
{
    const u64 steps = from_environment("VARN_STEPS", COHERENCE_STEPS);
    const u64 random_seed = std::random_device{}();
    std::printf("random seed %llu\n", static_cast<unsigned long long>(random_seed));
    outcome sum;
    for (u64 n = 0; sum.steps < steps; ++n) {
        // One half is the same on every run.
        const u64 seed = n % 2 == 0 ? n : random_seed + n;
        const std::string wrong = run_history(seed, steps_of_history, sum);
        ASSERT_TRUE(wrong.empty()) << wrong;
    }
    std::printf("%zu steps, %llu changes of which %llu refused, %llu questions\n", sum.steps,
                static_cast<unsigned long long>(sum.changes),
                static_cast<unsigned long long>(sum.refused),
                static_cast<unsigned long long>(sum.questions));
    EXPECT_LT(sum.refused * 2, sum.changes) << "most changes change something";
    EXPECT_EQ(unneeded_differences(), "");
}

} // namespace
