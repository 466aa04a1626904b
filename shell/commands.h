// SPDX-License-Identifier: Apache-2.0
//
// commands.h: what the shell understands.
#ifndef VARNSH_COMMANDS_H
#define VARNSH_COMMANDS_H

#include <string_view>

#include "notices.h"
#include "roster.h"
#include "words.h"

namespace shell
{

struct command;

// Exit codes, and what became of one command.
enum verdict { done = 0, unanswered = 1, not_understood = 2 };

// The words behind a command's name, its options taken out.
struct order {
    words given;
    bool direct = false;
    bool json = false;
};

class interpreter
{
public:
    // The path of the service's socket is only shown.
    explicit interpreter(std::string socket) : told_(interfaces_), socket_(std::move(socket)) {}

    // Runs one command; what is wrong with it is said on standard error. What the device told until
    // then is taken in first.
    verdict run(std::string_view command);

    // What may stand at the end of an unfinished command, in place of its last word.
    std::vector<std::string> completions(std::string_view unfinished);

    bool ended() const { return ended_; }

    notices &told() { return told_; }

private:
    friend struct command;

    // commands.cpp
    verdict show(const order &what);
    verdict query(const order &what);
    verdict rescan(const order &what);
    verdict echo(const order &what);
    verdict help(const order &what);
    verdict quit(const order &what);
    // commands_cache.cpp
    verdict stale(const order &what);
    verdict flush(const order &what);
    verdict disable(const order &what);
    verdict restore(const order &what);
    verdict stats(const order &what);
    verdict metrics(const order &what);
    verdict requests(const order &what);
    verdict bench(const order &what);
    // commands_services.cpp
    verdict pc(const order &what);
    verdict vlan(const order &what);
    // commands_live.cpp
    verdict await(const order &what);
    verdict watch(const order &what);
    verdict top(const order &what);

    verdict show_all_interfaces(const order &what);
    verdict show_entry(const std::string &word);
    verdict find(const std::string &word, listed &found);
    verdict run_outside(std::string_view command);
    verdict carry_out(const command &row, words given);
    verdict flush_all(u32 level);
    verdict flush_one(const std::string &word, u32 level);
    std::string name_for(const notice &seen);
    std::string row_for(const notice &seen);
    std::string ask_about_all();

    // Says what was wrong with the command that is running, and how it is used.
    verdict misused(const std::string &reason = {}) const;
    verdict unknown_attribute(const std::string &name) const;

    roster interfaces_;
    notices told_;
    std::string socket_;
    const command *running_ = nullptr;
    u64 requests_before_ = 0;
    bool ended_ = false;
};

// Says it on standard error, behind what was printed before.
verdict say(verdict outcome, const std::string &text);
verdict unless_empty(const std::string &reason);

// What a flush can be limited to, in the order of the options of varn.h: 0, 1, 2 and 3.
inline constexpr std::string_view flush_levels[] = {"low", "med", "crit", "all"};

} // namespace shell

#endif
