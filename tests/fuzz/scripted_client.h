// SPDX-License-Identifier: Apache-2.0
//
// A double of the client library's own functions (varn_device.h), beside the scripted device, which
// answers for the platform's. Its device can fall silent and come back; what changes in its world is
// told by notices, which wait until they are dispatched.
//
// Nothing waits: the descriptor is always readable, a steady clock goes on by itself each time that
// it is read, a live command gets a Ctrl-C with its third look at the descriptor, and a command for
// the system's shell is not run.
#pragma once

#include "device/service/notice.h"

#include <cstddef>

namespace fuzz
{

void reset_client();

// Hands out a notice with the next dispatching.
void tell(const wire::notice &notice);

// While it is silent, requests fail.
void fall_silent(bool silent);

// While it lives, commands for the system's shell are counted and not run.
class kept_from_system
{
public:
    kept_from_system();
    ~kept_from_system();
    kept_from_system(const kept_from_system &) = delete;
    kept_from_system &operator=(const kept_from_system &) = delete;
};
std::size_t kept_commands();

} // namespace fuzz
