// SPDX-License-Identifier: Apache-2.0
//
// control_commands.cpp: finds the command that is meant and checks what it is given.
#include "control_commands.h"

#include <cstdio>

#include <fmt/format.h>

#include "change_words.h"
#include "changes.h"
#include "history.h"
#include "memory.h"
#include "nearest.h"

namespace control
{
namespace
{

struct own_command {
    const char *word;
    const char *usage;
    std::size_t least, most; // of words behind the first
    bool takes_level;        // and --last
    exit_code (*run)(const words &given, const options &chosen);
    const char *doc;
};

exit_code show_history(const words &given, const options &chosen)
{
    return history(given.size() > 1 ? given[1] : "", chosen);
}

exit_code show_memory(const words &given, const options &chosen)
{
    return memory(given.size() > 1 ? given[1] : "", chosen);
}

exit_code run_script(const words &given, const options &chosen) { return script(given[1], chosen); }

// clang-format off
constexpr own_command own_commands[] = {
    { "script",  "script FILE [--keep-going]",                                   1, 1, false, run_script,
      "carry out the commands above, one a line; - is standard input" },
    { "history", "history [PROGRAM|PID] [--level LEVEL] [--last N] [--json]",    0, 1, true,  show_history,
      "what client processes recorded, also those that ended" },
    { "memory",  "memory [PROGRAM|PID] [--json]",                                0, 1, false, show_memory,
      "what client processes hold at this moment" },
};
// clang-format on

const own_command *find_own(const std::string &word)
{
    for (const own_command &each : own_commands)
        if (word == each.word)
            return &each;
    return nullptr;
}

exit_code misunderstood(const std::string &what, const char *usage)
{
    std::fprintf(stderr, "varnctl: %s\nusage: varnctl %s\n", what.c_str(), usage);
    return not_understood;
}

exit_code no_such_command(const std::string &word)
{
    words known;
    for (const device::change_command &each : device::change_commands())
        known.emplace_back(each.word);
    for (const own_command &each : own_commands)
        known.emplace_back(each.word);
    return misunderstood(fmt::format("there is no command {}{}", device::in_quotes(word),
                                     device::nearest(word, known)),
                         "[OPTIONS] COMMAND...    (--help lists the commands)");
}

exit_code run_own(const own_command &command, const words &given, const options &chosen)
{
    if (given.size() - 1 < command.least || given.size() - 1 > command.most)
        return misunderstood(fmt::format("{}: too {} words", command.word,
                                         given.size() - 1 < command.least ? "few" : "many"),
                             command.usage);
    if (!command.takes_level && (chosen.level || chosen.last))
        return misunderstood(fmt::format("{}: takes no --level and no --last", command.word),
                             command.usage);
    return command.run(given, chosen);
}

} // namespace

exit_code run(const words &given, const options &chosen)
{
    if (const own_command *own = find_own(given.front()))
        return run_own(*own, given, chosen);
    const device::change_command *command = device::find_command(given.front());
    if (command == nullptr)
        return no_such_command(given.front());
    device::change_request asked;
    const std::string wrong = device::read_change(given, asked);
    if (wrong.empty() && !chosen.level && !chosen.last)
        return change(given, chosen);
    return misunderstood(
        wrong.empty() ? fmt::format("{}: takes no --level and no --last", command->word) : wrong,
        command->usage);
}

std::string overview()
{
    std::string text = "Commands:\n";
    for (const device::change_command &each : device::change_commands())
        text.append(fmt::format("  {}\n      {}\n", each.usage, each.doc));
    for (const own_command &each : own_commands)
        text.append(fmt::format("  {}\n      {}\n", each.usage, each.doc));
    return text;
}

} // namespace control
