// SPDX-License-Identifier: Apache-2.0
//
// input.h: where commands come from. While either reader waits for input, the notices that come in
// are handed out, so that the cache is true also for whoever comes back after a while.
#ifndef VARNSH_INPUT_H
#define VARNSH_INPUT_H

#include <memory>
#include <string>

#include "commands.h"

namespace shell
{

// Lines of a file or a pipe.
class plain_lines
{
public:
    explicit plain_lines(notices &told) : told_(told) {}

    // False: there are no more.
    bool next(std::string &line);

private:
    notices &told_;
    std::string read_ahead_;
    bool at_end_ = false;
};

// Lines that a person types: with editing, completion, and a history that outlives the process.
class edited_lines
{
public:
    explicit edited_lines(interpreter &commands);
    ~edited_lines();
    edited_lines(const edited_lines &) = delete;
    edited_lines &operator=(const edited_lines &) = delete;

    bool next(std::string &line);

private:
    struct editor;
    std::unique_ptr<editor> editor_;
};

} // namespace shell

#endif
