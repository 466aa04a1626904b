// SPDX-License-Identifier: Apache-2.0
//
// memory.h: what running client processes hold, by account and memory type.
#ifndef VARNCTL_MEMORY_H
#define VARNCTL_MEMORY_H

#include "control_commands.h"

namespace control
{

// Of a program or a process, or (empty) of all.
exit_code memory(const std::string &whose, const options &chosen);

} // namespace control

#endif
