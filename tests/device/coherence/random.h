// SPDX-License-Identifier: Apache-2.0
//
// random.h: a sequence of numbers from a seed, the same everywhere (splitmix64).
#ifndef TESTS_COHERENCE_RANDOM_H
#define TESTS_COHERENCE_RANDOM_H

#include <array>
#include <cstddef>

#include "device_under_test.h"

namespace coherence
{

class random_numbers
{
public:
    explicit random_numbers(u64 seed) : state_(seed) {}

    u64 next()
    {
        state_ += 0x9E3779B97F4A7C15;
        u64 z = state_;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }

    // Below the bound, which is not 0.
    u32 below(std::size_t bound) { return static_cast<u32>(next() % bound); }
    bool one_in(u32 n) { return below(n) == 0; }

    template <class list>
    const auto &pick(const list &from)
    {
        return from[below(std::size(from))];
    }

private:
    u64 state_;
};

} // namespace coherence

#endif
