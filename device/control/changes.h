// SPDX-License-Identifier: Apache-2.0
//
// changes.h: commands that the service carries out, one or a file of them.
#ifndef VARNCTL_CHANGES_H
#define VARNCTL_CHANGES_H

#include "control_commands.h"

namespace control
{

// The words must have been understood.
exit_code change(const words &given, const options &chosen);

// One command a line, words divided by blanks; a word that begins with # begins a comment.
exit_code script(const std::string &path, const options &chosen);

} // namespace control

#endif
