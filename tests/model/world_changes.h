// SPDX-License-Identifier: Apache-2.0
//
// The world of a history: a handful of interfaces and VLANs whose facts change as the history goes
// on. The identifiers come from small pools, so that interfaces move, meet and take over each
// other's iods, pis and lifs.
#pragma once

#include "dice.h"

#include <string>
#include <vector>

namespace naive
{

struct universe {
    std::vector<u32> if_indexes, iods, pis, lifs, channels, vlans;
};

universe draw_universe(dice &chance);

// Puts an interface with facts by chance into the world, or replaces one.
std::string put_interface(dice &chance, const universe &all);
std::string put_vlan(dice &chance, const universe &all);
// Changes, moves or removes something; says what it did.
std::string change_world(dice &chance, const universe &all);

} // namespace naive
