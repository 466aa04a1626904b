// SPDX-License-Identifier: Apache-2.0
//
// commands.h: what the shell understands.
#ifndef VARNSH_COMMANDS_H
#define VARNSH_COMMANDS_H

#include <string_view>

#include "roster.h"

namespace shell
{

// Exit codes, and what became of one command.
enum verdict { done = 0, unanswered = 1, not_understood = 2 };

class interpreter
{
public:
    // Runs one command; what is wrong with it is said on standard error.
    verdict run(std::string_view command);

    bool ended() const { return ended_; }

private:
    friend struct command;
    using words_t = std::vector<std::string>;

    verdict show(const words_t &words);
    verdict query(const words_t &words);
    verdict stats(const words_t &words);
    verdict stale(const words_t &words);
    verdict requests(const words_t &words);
    verdict bench(const words_t &words);
    verdict await(const words_t &words);
    verdict rescan(const words_t &words);
    verdict echo(const words_t &words);
    verdict help(const words_t &words);
    verdict quit(const words_t &words);

    verdict show_all_interfaces();
    verdict show_entry(const std::string &word);
    verdict find(const std::string &word, listed &found);
    verdict run_outside(std::string_view command);

    roster interfaces_;
    u64 requests_before_ = 0;
    bool ended_ = false;
};

} // namespace shell

#endif
