// SPDX-License-Identifier: Apache-2.0
//
// The ground of the targets that call the library beside the scripted device: a library as it is at
// load time, a small world whose interfaces move, and what must hold between any two calls.
#pragma once

#include "input.h"
#include "scripted_device.h"
#include "varn.h"

namespace fuzz
{

// Empties world, library, tables and the told steps.
void begin_library();

// Identifiers that mean something, and a few that do not.
u32 some_if_index(input &given);
u32 some_iod(input &given);
u32 some_pi(input &given);
u32 some_lif(input &given);
u16 some_vlan(input &given);
u32 some_channel(input &given);

// Six ports, two port-channels with members, an SVI, two sub-interfaces and some VLANs.
void give_world();
// One interface or VLAN changes, moves to another identifier, goes or comes back.
void change_world(input &given);

// A configuration by the bytes, its callbacks from a table of valid ones, or null.
varn_config_t some_config(input &given);

// One query or another, of an interface that may be there.
void ask_something(input &given);

// Says what was done, for whoever reads about a failure.
void note_step(const std::string &what);

// What holds between any two calls (tests/support/varn_invariants.h); and what is found by an iod is
// what stands in the table under it.
void check_library();

// Every entry, every side record and the tables are given back; nothing is left.
void end_library();

} // namespace fuzz
