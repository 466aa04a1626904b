// SPDX-License-Identifier: Apache-2.0
//
// What goes wrong during one step. Drawn from the step's own seed, so that a step misbehaves alike
// whatever stands before it.
#pragma once

#include "dice.h"

namespace naive
{

enum class trouble { none, failure, odd_answer };

struct mischief {
    dice chance;
    u32 services = 0; // one service call in so many goes wrong; 0: none
    u32 types = 0;    // the same for the if-index helpers
    u32 inserts = 0, removals = 0, table_inits = 0, walks = 0, statistics = 0;
    u32 allocations = 0;
    u32 log_failures = 0;

    bool strikes(u32 one_in) { return one_in != 0 && chance.one_in(one_in); }

    trouble with_service(u32 one_in)
    {
        if (!strikes(one_in))
            return trouble::none;
        return chance.one_in(2) ? trouble::failure : trouble::odd_answer;
    }
};

// In force while the library runs.
mischief &the_mischief();

// Draws one. A rough history may also see removals from a table fail, after which keys change in
// tables: the doubles complain of that, and nobody listens.
mischief draw_mischief(dice &chance, bool rough);

// Watches every platform function: what it is asked and what it answers goes to the log.
void watch_the_platform();
void watch_the_process(); // its second half: tables, allocator, log

} // namespace naive
