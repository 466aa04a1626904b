// SPDX-License-Identifier: Apache-2.0
//
// requests.h: the functions of the platform headers by shape, for the rules that hold for all of a
// shape: what is answered for an interface that is not there, and while no service answers.
#ifndef TESTS_CONTRACT_PORT_REQUESTS_H
#define TESTS_CONTRACT_PORT_REQUESTS_H

#include <span>

#include "known_world.h"

namespace port_contract
{

// Gives its value; 0 stands for what is not known.
struct value_request {
    const char *name;
    u32 (*ask)(u32 iod);
};

enum class by : u8 { iod, if_index, port_channel, vlan };

// Gives a code, and outputs that a failure leaves alone. `ask` gives whether it succeeded, in
// whatever way the function says so.
struct code_request {
    const char *name;
    by key;
    bool may_write; // a failure may have written
    bool (*ask)(u32 key, u32 *output);
};

// For messages.
inline void PrintTo(const value_request &row, std::ostream *out) { *out << row.name; }
inline void PrintTo(const code_request &row, std::ostream *out) { *out << row.name; }

std::span<const value_request> value_requests();
std::span<const code_request> code_requests();

} // namespace port_contract

#endif
