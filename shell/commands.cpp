// SPDX-License-Identifier: Apache-2.0
//
// commands.cpp: one row a command: its name, its arguments and what they mean, and the member that
// carries it out. A member gets the words behind the name, as many as its row allows.
#include "commands.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include <fmt/format.h>

#include "attributes.h"
#include "bench.h"
#include "cache.h"
#include "tables.h"
#include "varn_device.h"
#include "words.h"

namespace shell
{

struct command {
    std::string_view name;
    std::string_view takes;
    std::size_t least, most; // words behind the name
    verdict (interpreter::*carry_out)(const words &);
    std::string_view meaning;

    static const std::vector<command> &all();
    static const command *find(std::string_view name);
    static std::vector<std::string> names();
};

const std::vector<command> &command::all()
{
    constexpr std::size_t any = 1000;
    // clang-format off
    using sh = interpreter;
    static const std::vector<command> rows = {
        { "show",     "WHAT [IF]",               1, 2,   &sh::show,
          "a table of all interfaces, or a dump of the library's own" },
        { "query",    "[--direct] ATTRIBUTE IF", 2, 3,   &sh::query,
          "one answer; --direct asks the service" },
        { "stats",    "",                        0, 0,   &sh::stats,
          "hits, misses and updates of each attribute" },
        { "stale",    "IF [ATTRIBUTE]",          1, 2,   &sh::stale,
          "mark what is cached of an interface as stale" },
        { "requests", "",                        0, 0,   &sh::requests,
          "requests sent since this was last asked" },
        { "bench",    "[IF]",                    0, 1,   &sh::bench,
          "the cost of a cached and of a direct answer" },
        { "await",    "ATTRIBUTE IF ANSWER",     3, 3,   &sh::await,
          "wait up to 5 s until the service gives that answer" },
        { "rescan",   "",                        0, 0,   &sh::rescan,
          "read the list of interfaces anew" },
        { "echo",     "[-n] TEXT",               0, any, &sh::echo,
          "print the text; -n: without a line end" },
        { "help",     "",                        0, 0,   &sh::help,     "this list" },
        { "quit",     "",                        0, 0,   &sh::quit,     "leave" },
    };
    // clang-format on
    return rows;
}

const command *command::find(std::string_view name)
{
    const auto row = std::ranges::find(all(), name, &command::name);
    return row == all().end() ? nullptr : &*row;
}

std::vector<std::string> command::names()
{
    std::vector<std::string> names;
    for (const command &row : all())
        names.emplace_back(row.name);
    return names;
}

namespace
{

constexpr auto patience = std::chrono::seconds(5);
constexpr auto glance = std::chrono::milliseconds(20);

verdict say(verdict outcome, const std::string &text)
{
    std::fflush(stdout);
    std::fprintf(stderr, "varnsh: %s\n", text.c_str());
    return outcome;
}

verdict unless_empty(const std::string &reason)
{
    return reason.empty() ? done : say(unanswered, reason);
}

// What the library prints of itself. Its argument has no meaning for our sink, but 0 would silence it.
constexpr uintptr_t to_stdout = 1;

struct dump {
    std::string_view name;
    void (*print)(uintptr_t arg);
};

constexpr dump dumps[] = {
    {"stats", varn_dump}, {"tables", varn_if_dump},      {"vlan", varn_vlan_dump},
    {"pc", varn_pc_dump}, {"iodmap", varn_dump_iod_bmp},
};

std::vector<std::string> shown_words()
{
    std::vector<std::string> names{"interfaces", "entry"};
    for (const dump &row : dumps)
        names.emplace_back(row.name);
    return names;
}

verdict unknown_attribute(const std::string &name)
{
    return say(not_understood, "no attribute " + name + suggestion(name, attribute_names()));
}

} // namespace

verdict interpreter::run(std::string_view text)
{
    if (text.starts_with('!'))
        return run_outside(text.substr(1));
    words given = split_words(text);
    if (given.empty())
        return done;
    const std::string name = given.front();
    given.erase(given.begin());
    const command *row = command::find(name);
    if (row == nullptr)
        return say(not_understood, "no command " + name + suggestion(name, command::names()));
    if (given.size() < row->least || given.size() > row->most)
        return say(not_understood, fmt::format("usage: {} {}", row->name, row->takes));
    const verdict outcome = (this->*row->carry_out)(given);
    std::fflush(stdout);
    return outcome;
}

verdict interpreter::run_outside(std::string_view text)
{
    std::fflush(stdout);
    const int status = std::system(std::string(text).c_str());
    return status == 0 ? done : say(unanswered, "that command failed:" + std::string(text));
}

verdict interpreter::find(const std::string &word, listed &found)
{
    std::string reason;
    const std::optional<listed> entry = interfaces_.find(word, reason);
    if (!entry)
        return say(unanswered, reason);
    found = *entry;
    return done;
}

verdict interpreter::show(const words &given)
{
    if (given.size() == 2)
        return given[0] == "entry" ? show_entry(given[1])
                                   : say(not_understood, "usage: show entry IF");
    if (given[0] == "interfaces")
        return show_all_interfaces();
    const auto row = std::ranges::find(dumps, given[0], &dump::name);
    if (row == std::end(dumps))
        return say(not_understood,
                   "nothing to show under " + given[0] + suggestion(given[0], shown_words()));
    row->print(to_stdout);
    return done;
}

verdict interpreter::show_all_interfaces()
{
    const std::vector<listed> &all = interfaces_.all();
    if (all.empty())
        return unless_empty(interfaces_.failure());
    return unless_empty(show_interfaces(all));
}

verdict interpreter::show_entry(const std::string &word)
{
    listed subject;
    if (const verdict outcome = find(word, subject); outcome != done)
        return outcome;
    if (entry_at_hand(subject.iod) == nullptr)
        return say(unanswered, "nothing is cached of " + subject.name);
    varn_if_print_iod(to_stdout, subject.iod);
    return done;
}

verdict interpreter::query(const words &given)
{
    const bool direct = given[0] == "--direct";
    if (given.size() != (direct ? 3 : 2))
        return say(not_understood, "usage: query [--direct] ATTRIBUTE IF");
    const std::string &name = given[direct ? 1 : 0];
    unsigned bit = no_bit;
    if (!find_attribute(name, bit))
        return unknown_attribute(name);
    listed subject;
    if (const verdict outcome = find(given.back(), subject); outcome != done)
        return outcome;

    attempt asking(subject.iod);
    const std::string answer = ask_attribute(name, subject.iod, direct);
    const std::string reason = asking.failure();
    if (!reason.empty())
        return say(unanswered, reason);
    fmt::print("{}\n", answer);
    return done;
}

verdict interpreter::stats(const words &)
{
    show_stats();
    return done;
}

// As a client does that was told of a change: nothing is asked now, the next query asks.
verdict interpreter::stale(const words &given)
{
    unsigned bit = no_bit;
    if (given.size() == 2 && !find_attribute(given[1], bit))
        return unknown_attribute(given[1]);
    listed subject;
    if (const verdict outcome = find(given[0], subject); outcome != done)
        return outcome;
    attempt asking(subject.iod);
    varn_if_entry_t *entry =
        varn_if_create_entry_by_if(subject.if_index, 0, VARN_NO_PI, VARN_NO_LIF);
    if (entry == nullptr)
        return say(unanswered, "no entry for " + subject.name + " can be had");
    entry->dirty |= given.size() == 1 ? askable() : bit == no_bit ? 0 : VARN_MASK(bit);
    return done;
}

verdict interpreter::requests(const words &)
{
    const u64 sent = varn_device_requests();
    fmt::print("{} requests to the service\n", sent - requests_before_);
    requests_before_ = sent;
    return done;
}

// Without a name: the first interface that is not a loopback.
verdict interpreter::bench(const words &given)
{
    listed subject;
    if (!given.empty()) {
        if (const verdict outcome = find(given[0], subject); outcome != done)
            return outcome;
        return unless_empty(shell::bench(subject));
    }
    const auto &all = interfaces_.all();
    if (all.empty())
        return say(unanswered,
                   interfaces_.failure().empty() ? "no interfaces" : interfaces_.failure());
    const auto other = std::ranges::find_if(
        all, [](const listed &entry) { return varn_ifsvc_is_loopback(entry.iod) == 0; });
    return unless_empty(shell::bench(other == all.end() ? all.front() : *other));
}

verdict interpreter::await(const words &given)
{
    unsigned bit = no_bit;
    if (!find_attribute(given[0], bit))
        return unknown_attribute(given[0]);
    listed subject;
    if (const verdict outcome = find(given[1], subject); outcome != done)
        return outcome;
    const auto end = std::chrono::steady_clock::now() + patience;
    for (;;) {
        attempt asking(subject.iod);
        const std::string answer = ask_attribute(given[0], subject.iod, true);
        const std::string reason = asking.failure();
        if (reason.empty() && answer == given[2])
            return done;
        if (std::chrono::steady_clock::now() >= end)
            return say(unanswered, reason.empty() ? "the answer stays " + answer : reason);
        std::this_thread::sleep_for(glance);
    }
}

verdict interpreter::rescan(const words &) { return unless_empty(interfaces_.scan()); }

verdict interpreter::echo(const words &given)
{
    const bool goes_on = !given.empty() && given.front() == "-n";
    fmt::print("{}{}", fmt::join(given.begin() + goes_on, given.end(), " "), goes_on ? " " : "\n");
    return done;
}

verdict interpreter::help(const words &)
{
    for (const command &row : command::all())
        fmt::print("{:<32}  {}\n", fmt::format("{} {}", row.name, row.takes), row.meaning);
    fmt::print("{:<32}  {}\n", "!COMMAND", "run a command of the system's shell");
    fmt::print("\nWHAT is one of:\n{}\nOf these entry takes an IF.\n",
               fmt::join(shown_words(), " "));
    fmt::print("\nIF is a name, an iod or a 0x if-index. ATTRIBUTE is one of:\n{}\n",
               fmt::join(attribute_names(), " "));
    return done;
}

verdict interpreter::quit(const words &)
{
    ended_ = true;
    return done;
}

} // namespace shell
