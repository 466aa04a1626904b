// SPDX-License-Identifier: Apache-2.0
//
// process_tests.cpp: the same histories and the same comparison over the wire: the service is a
// process, it is stopped, killed and started on other inventories, and a flood of changes meets a
// client that does not read.
//
// VARN_SEED makes it one history of that seed, VARN_STEPS says how long all are together.
#include <cstdio>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

#include "history.h"
#include "wire_device.h"

namespace
{

using namespace coherence;

constexpr u32 short_queue = 32, usual_queue = 4096;
constexpr std::size_t num_histories = 4;

scenario over_the_wire(u64 seed)
{
    random_numbers from(seed);
    scenario where;
    where.seed = from.next();
    where.config = random_configuration(from.next());
    where.sample = 30;
    where.most = 600;
    const u32 queue = from.one_in(2) ? short_queue : usual_queue;
    where.make_device = [queue, seed] { return std::make_unique<wire_device>(queue, seed); };
    return where;
}

std::string last_steps(const std::vector<step> &done)
{
    constexpr std::size_t most = 60;
    std::string text = "the last steps:\n";
    for (std::size_t n = done.size() > most ? done.size() - most : 0; n < done.size(); ++n)
        text.append("  ").append(text_of(done[n])).append("\n");
    return text;
}

outcome run_history(u64 seed, std::size_t steps)
{
    std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
    const scenario where = over_the_wire(seed);
    std::vector<step> done;
    const outcome result = make_history(where, seed, steps, done);
    EXPECT_FALSE(result.found) << "VARN_SEED=" << seed << "\n"
                               << text_of(where.config) << "\n"
                               << text_of(*result.found) << last_steps(done);
    return result;
}

TEST(CoherenceOverTheWire, HoldsOverRandomHistories)
{
    const char *steps = std::getenv("VARN_STEPS"), *given = std::getenv("VARN_SEED");
    const std::size_t all = steps != nullptr ? std::strtoull(steps, nullptr, 0) : COHERENCE_STEPS;
    if (given != nullptr) {
        run_history(std::strtoull(given, nullptr, 0), all);
        return;
    }
    outcome sum;
    for (std::size_t n = 0; n < num_histories; ++n) {
        const u64 seed = n == 0 ? std::random_device{}() : n;
        const outcome result = run_history(seed, all / num_histories);
        sum.questions += result.questions;
        sum.changes += result.changes;
        sum.refused += result.refused;
    }
    std::printf(
        "%llu changes of which %llu refused, %llu questions, %llu notices of which %llu lost\n",
        static_cast<unsigned long long>(sum.changes), static_cast<unsigned long long>(sum.refused),
        static_cast<unsigned long long>(sum.questions),
        static_cast<unsigned long long>(wire_device::notices),
        static_cast<unsigned long long>(wire_device::lost));
    EXPECT_GT(wire_device::notices, sum.changes / 2);
    EXPECT_GT(wire_device::lost, 0u);
    EXPECT_LT(sum.refused * 2, sum.changes) << "most changes change something";
}

} // namespace
