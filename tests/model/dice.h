// SPDX-License-Identifier: Apache-2.0
//
// Chance, from a seed: the same on every machine.
#pragma once

#include "events.h"

#include <initializer_list>

namespace naive
{

class dice
{
public:
    dice() = default;
    explicit dice(u64 seed) : state_(seed) {}

    u64 word()
    {
        u64 mixed = state_ += 0x9E3779B97F4A7C15;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
        return mixed ^ (mixed >> 31);
    }
    u32 number() { return static_cast<u32>(word() >> 32); }
    u32 below(std::size_t limit) { return static_cast<u32>((word() >> 32) % limit); }
    bool one_in(u32 chances) { return below(chances) == 0; }

    template <typename List>
    auto one_of(const List &list)
    {
        return *(std::begin(list) + below(std::size(list)));
    }
    u32 one_of(std::initializer_list<u32> list) { return *(list.begin() + below(list.size())); }

    // A number that code trips over, or any.
    u32 odd_number()
    {
        const u32 pick = one_of({0, 1, 2, 3, 16, 0xFF, 0x100, 0xFFFF, 0x10000, 0x10001, 0x7FFFFFFF,
                                 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF});
        return one_in(4) ? number() : pick;
    }

private:
    u64 state_ = 0;
};

} // namespace naive
