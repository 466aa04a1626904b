// SPDX-License-Identifier: Apache-2.0
//
// Chance, from a seed: the same on every machine. Or from a tape, which somebody else wrote: each
// draw takes as few of its bytes as it needs, so that one byte stands for one decision, and a zero
// for the plain one. Behind the end of the tape it is the seed again.
#pragma once

#include "events.h"

#include <initializer_list>
#include <span>

namespace naive
{

class dice
{
public:
    dice() = default;
    explicit dice(u64 seed, std::span<const u8> tape = {}) : state_(seed), tape_(tape) {}

    u64 word()
    {
        if (!tape_.empty())
            return taken(8);
        u64 mixed = state_ += 0x9E3779B97F4A7C15;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
        return mixed ^ (mixed >> 31);
    }
    u32 number() { return static_cast<u32>(tape_.empty() ? word() >> 32 : taken(4)); }
    u8 byte() { return static_cast<u8>(tape_.empty() ? word() : taken(1)); }
    u32 below(std::size_t limit)
    {
        if (tape_.empty())
            return static_cast<u32>((word() >> 32) % limit);
        return static_cast<u32>(limit - 1 - taken(limit <= 0x100 ? 1 : 4) % limit);
    }
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
    // So many bytes of the tape, the last one first; zeros where it is too short.
    u64 taken(std::size_t count)
    {
        u64 number = 0;
        for (; count != 0; --count) {
            number = number << 8 | (tape_.empty() ? 0 : tape_.front());
            tape_ = tape_.subspan(tape_.empty() ? 0 : 1);
        }
        return number;
    }

    u64 state_ = 0;
    std::span<const u8> tape_;
};

} // namespace naive
