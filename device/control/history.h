// SPDX-License-Identifier: Apache-2.0
//
// history.h: the event histories of client processes.
#ifndef VARNCTL_HISTORY_H
#define VARNCTL_HISTORY_H

#include "control_commands.h"

namespace control
{

// Of a program or a process, or (empty) of all.
exit_code history(const std::string &whose, const options &chosen);

} // namespace control

#endif
