// SPDX-License-Identifier: Apache-2.0
//
// commands.cpp: one row a command: its name, its arguments and what they mean, and the member that
// carries it out. A member gets the words behind the name, as many as its row allows, without the
// options, of which it gets only those that its row allows. Completion reads the same rows.
#include "commands.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "attributes.h"
#include "cache.h"
#include "completion.h"
#include "tables.h"
#include "varn_device.h"

namespace shell
{

struct command {
    std::string_view name;
    std::string_view takes;  // for a reader, and for completion.h
    std::size_t least, most; // words behind the name
    verdict (interpreter::*carry_out)(const order &);
    std::string_view meaning;

    static const std::vector<command> &all();
    static const command *find(std::string_view name);
    static std::vector<std::string> names();

    std::string usage() const
    {
        return fmt::format("usage: {}{}{}", name, takes.empty() ? "" : " ", takes);
    }
    bool takes_options() const { return most != any_number; }

    static constexpr std::size_t any_number = 1000;
};

const std::vector<command> &command::all()
{
    // clang-format off
    using sh = interpreter;
    static const std::vector<command> rows = {
        { "show",     "[--json] WHAT [IF]",        1, 2, &sh::show,
          "a table of all interfaces, or a dump of the library's own" },
        { "query",    "[--direct] [--json] ATTRIBUTE IF", 2, 2, &sh::query,
          "one answer; --direct asks the service" },
        { "pc",       "[--direct] IF",             1, 1, &sh::pc,
          "first member and hash buckets of a port-channel" },
        { "vlan",     "[--direct] VLAN",           1, 1, &sh::vlan,
          "bridge domain, flood index and primary VLAN of a VLAN" },
        { "watch",    "[SECONDS]",                 0, 1, &sh::watch,
          "one line per notice, and what the next query cost" },
        { "top",      "[SECONDS]",                 0, 1, &sh::top,
          "asks everything every second and shows what that costs" },
        { "await",    "ATTRIBUTE IF ANSWER",       3, 3, &sh::await,
          "wait up to 5 s until the service gives that answer" },
        { "stats",    "[--json]",                  0, 0, &sh::stats,
          "hits, misses and updates of each attribute" },
        { "metrics",  "",                          0, 0, &sh::metrics,
          "the same and more as OpenMetrics text" },
        { "requests", "",                          0, 0, &sh::requests,
          "requests sent since this was last asked" },
        { "bench",    "[--json] [IF]",             0, 1, &sh::bench,
          "the cost of a cached and of a direct answer" },
        { "stale",    "IF [ATTRIBUTE]",            1, 2, &sh::stale,
          "mark what is cached of an interface as stale" },
        { "flush",    "[IF] [low|med|crit|all]",   0, 2, &sh::flush,
          "the library's flush, of an interface or of everything" },
        { "disable",  "",                          0, 0, &sh::disable,
          "switch the cache off: every query is a request" },
        { "restore",  "",                          0, 0, &sh::restore,
          "switch it on again, empty" },
        { "rescan",   "",                          0, 0, &sh::rescan,
          "read the list of interfaces anew" },
        { "echo",     "[-n] TEXT",                 0, any_number, &sh::echo,
          "print the text; -n: without a line end" },
        { "help",     "",                          0, 0, &sh::help,     "this list" },
        { "quit",     "",                          0, 0, &sh::quit,     "leave" },
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

namespace
{

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

// Takes an option out of the words if it stands among them and the usage has it.
bool take_option(words &given, std::string_view usage, std::string_view option)
{
    if (usage.find(option) == usage.npos)
        return false;
    return std::erase(given, option) != 0;
}

std::string stray_option(const words &given)
{
    const auto stray =
        std::ranges::find_if(given, [](const std::string &word) { return word.starts_with("--"); });
    return stray == given.end() ? std::string() : *stray;
}

} // namespace

verdict interpreter::misused(const std::string &reason) const
{
    if (!reason.empty())
        say(not_understood, reason);
    return say(not_understood, running_->usage());
}

verdict interpreter::unknown_attribute(const std::string &name) const
{
    return misused("no attribute " + name + suggestion(name, attribute_names()));
}

verdict interpreter::run(std::string_view text)
{
    told_.take();
    if (text.starts_with('!'))
        return run_outside(text.substr(1));
    words given = split_words(text);
    if (given.empty())
        return done;
    const std::string name = given.front();
    given.erase(given.begin());
    running_ = command::find(name);
    if (running_ == nullptr)
        return say(not_understood, fmt::format("no command {}{}; help lists them", name,
                                               suggestion(name, command::names())));
    const verdict outcome = carry_out(*running_, std::move(given));
    std::fflush(stdout);
    return outcome;
}

verdict interpreter::carry_out(const command &row, words given)
{
    order what;
    if (row.takes_options()) {
        what.direct = take_option(given, row.takes, "--direct");
        what.json = take_option(given, row.takes, "--json");
        if (const std::string stray = stray_option(given); !stray.empty())
            return misused(
                fmt::format("no option {}{}", stray, suggestion(stray, options_of(row.takes))));
    }
    if (given.size() < row.least || given.size() > row.most)
        return misused();
    what.given = std::move(given);
    return (this->*row.carry_out)(what);
}

std::vector<std::string> interpreter::completions(std::string_view unfinished)
{
    const unfinished_command typed = read_unfinished(unfinished);
    if (typed.before.empty())
        return beginning_with(typed.last, command::names());
    const command *row = command::find(typed.before.front());
    if (row == nullptr)
        return {};
    return beginning_with(typed.last,
                          candidates_for(row->takes, typed, [this](std::string_view kind) {
                              if (kind == "WHAT")
                                  return shown_words();
                              if (kind == "ATTRIBUTE")
                                  return attribute_names();
                              if (kind != "IF")
                                  return words{};
                              interfaces_.all();
                              return interfaces_.names();
                          }));
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

verdict interpreter::show(const order &what)
{
    const std::string &subject = what.given[0];
    if (what.given.size() == 2)
        return subject == "entry" && !what.json ? show_entry(what.given[1]) : misused();
    if (subject == "interfaces")
        return show_all_interfaces(what);
    const auto row = std::ranges::find(dumps, subject, &dump::name);
    if (row == std::end(dumps) && subject != "entry")
        return misused("nothing to show under " + subject + suggestion(subject, shown_words()));
    if (what.json)
        return misused("only interfaces can be shown as JSON");
    if (row == std::end(dumps))
        return misused();
    row->print(to_stdout);
    return done;
}

verdict interpreter::show_all_interfaces(const order &what)
{
    const std::vector<listed> &all = interfaces_.all();
    const std::string reason = interfaces_.failure();
    if (all.empty() && !reason.empty())
        return say(unanswered, reason);
    const std::string last = show_interfaces(all, what.json ? shape::json : shape::text);
    return unless_empty(last.empty() ? reason : last);
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

namespace
{

nlohmann::ordered_json typed(const std::string &answer, form shown_as)
{
    if (shown_as == form::yes_no)
        return answer == "yes";
    const std::optional<u32> number = read_number(answer);
    if (shown_as == form::number && number)
        return *number;
    return answer == "none" ? nlohmann::ordered_json() : nlohmann::ordered_json(answer);
}

} // namespace

verdict interpreter::query(const order &what)
{
    const std::string &name = what.given[0];
    unsigned bit = no_bit;
    if (!find_attribute(name, bit))
        return unknown_attribute(name);
    listed subject;
    if (const verdict outcome = find(what.given[1], subject); outcome != done)
        return outcome;

    const u64 requests_before = varn_device_requests();
    attempt asking(subject.iod);
    const std::string answer = ask_attribute(name, subject.iod, what.direct);
    const std::string reason = asking.failure();
    if (!reason.empty())
        return say(unanswered, reason);
    if (!what.json) {
        fmt::print("{}\n", answer);
        return done;
    }
    const nlohmann::ordered_json object = {{"interface", subject.name},
                                           {"attribute", name},
                                           {"answer", typed(answer, form_of(name))},
                                           {"requests", varn_device_requests() - requests_before}};
    fmt::print("{}\n", object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    return done;
}

verdict interpreter::rescan(const order &) { return unless_empty(interfaces_.scan()); }

verdict interpreter::echo(const order &what)
{
    const words &given = what.given;
    const bool goes_on = !given.empty() && given.front() == "-n";
    fmt::print("{}{}", fmt::join(given.begin() + goes_on, given.end(), " "), goes_on ? " " : "\n");
    return done;
}

verdict interpreter::help(const order &)
{
    for (const command &row : command::all())
        fmt::print("{:<38}  {}\n", fmt::format("{} {}", row.name, row.takes), row.meaning);
    fmt::print("{:<38}  {}\n", "!COMMAND", "run a command of the system's shell");
    fmt::print("\nWHAT is one of:\n{}\nOf these entry takes an IF, and interfaces --json.\n",
               fmt::join(shown_words(), " "));
    fmt::print("\nIF is a name, an iod or a 0x if-index. ATTRIBUTE is one of:\n{}\n",
               fmt::join(attribute_names(), " "));
    return done;
}

verdict interpreter::quit(const order &)
{
    ended_ = true;
    return done;
}

} // namespace shell
