// SPDX-License-Identifier: Apache-2.0
//
// control_commands.h: what varnctl can be told: the commands that change a device, whose table the
// service has as well, and a few of its own. Words in, exit code out.
#ifndef VARNCTL_CONTROL_COMMANDS_H
#define VARNCTL_CONTROL_COMMANDS_H

#include <optional>
#include <string>
#include <vector>

namespace control
{

using words = std::vector<std::string>;

enum exit_code { done = 0, refused = 1, not_understood = 2 };

struct options {
    bool json = false;
    bool keep_going = false;
    std::optional<std::string> level; // of history
    std::optional<unsigned> last;     // of history
};

exit_code run(const words &command, const options &chosen);

// What every command does, one a line.
std::string overview();

} // namespace control

#endif
