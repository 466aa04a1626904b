// SPDX-License-Identifier: Apache-2.0
//
// The exported operations that call out of the library, one row each: the call, what it gives as a
// text (result, then outputs), which platform functions its result hangs on, and what varn.h says
// that it then may give. Whatever else goes wrong, the result is that of a run without faults.
//
// They are run on a small world (port 7 in port-channel 3 beside port 8, sub-interface 9, the VLAN
// interface of VLAN 20) in three situations of the cache.
#pragma once

#include <ostream>
#include <set>
#include <string>
#include <vector>

struct operation {
    const char *name;
    std::string (*run)();
    // A platform function, or "everything".
    std::set<std::string> hangs_on;
    // Results that varn.h allows when one of these goes wrong; none named: any.
    std::set<std::string> stated;
};

const std::vector<operation> &operations();
inline void PrintTo(const operation &which, std::ostream *out) { *out << which.name; }

enum class situation { missing, stale, clean };
constexpr situation situations[] = {situation::missing, situation::stale, situation::clean};
const char *name_of(situation which);
inline void PrintTo(situation which, std::ostream *out) { *out << name_of(which); }

// A library as at load time, on a fresh world, started and brought into the situation.
void prepare(situation which);

// Takes every entry out of the cache by the library's own calls.
void empty_the_cache();

// What does not hold, a line each. `tables_lied`: the tables broke their contract, so that only
// what concerns memory is asked.
std::string broken_after_faults(bool tables_lied);
