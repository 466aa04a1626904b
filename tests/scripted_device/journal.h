// SPDX-License-Identifier: Apache-2.0
//
// The journal: one line for each platform function that was called, in the order in which the calls
// began. A line is opened when the call begins and written when its result is known, so a call made
// from within another one stands behind it. Service requests are recorded from the start; the
// in-process libraries only where a test says so, because most tests do not care.
//
// Beside it stands the list of complaints: breaches of the contract that a double has seen (a block
// freed twice, a key that changed while its record was filed). A good test ends with none.
#pragma once

#include "platform.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace scripted
{

// What is recorded together.
enum family : unsigned {
    services,    // ifsvc, lifsvc, idxsvc, aggsvc, vlansvc, vrfsvc, supvr: other processes
    tables,      // ht
    allocations, // memacct
    messages,    // histlog
    types,       // if_index_get_type, if_index_vlan_port_init
    threads,     // thrsvc
    backtraces,  // syslog_backtrace
    bit_tests    // bitset
};

// Switches the recording of a family on or off; in force until the next reset().
SCRIPTED_API void record(family what, bool on = true);
SCRIPTED_API bool is_recorded(family what);

// The lines since the last calls(), forget() or reset(), joined by newlines, none at the end.
SCRIPTED_API std::string calls();

// Drops the lines that nobody asked for.
SCRIPTED_API void forget();

// Joins its arguments as calls() joins the journal.
template <typename... Line>
std::string lines(const std::string &first, const Line &...rest)
{
    std::string joined = first;
    ((joined += '\n', joined += rest), ...);
    return joined;
}

// The contract's breaches since the last reset().
SCRIPTED_API const std::vector<std::string> &complaints();
SCRIPTED_API void complain(const std::string &about);

// Writes a line of the test's own, such as a callback of the client: it stands in the order of the
// calls, whatever is recorded.
SCRIPTED_API void note(const std::string &line);

// For the doubles: opens a line of a family, and writes it once its text is known.
SCRIPTED_API std::size_t open_line(family what);
SCRIPTED_API void write_line(std::size_t line, const std::string &text);
constexpr std::size_t no_line = static_cast<std::size_t>(-1);

SCRIPTED_API void reset_journal();

} // namespace scripted
