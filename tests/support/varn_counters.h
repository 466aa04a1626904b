// SPDX-License-Identifier: Apache-2.0
//
// Which counters of the global record have moved, as one text: "misses[15] +1, if_allocs +1". A
// test that compares it says also that no other counter moved.
#pragma once

#include <string>

// The counters that changed since the last call of either function, in the order of the record.
std::string counters_moved();
void forget_counters();
