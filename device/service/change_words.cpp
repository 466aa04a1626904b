// SPDX-License-Identifier: Apache-2.0
//
// change_words.cpp: the table of commands, and one function for the words of each.
#include "change_words.h"

#include <algorithm>
#include <cstdint>

#include <fmt/format.h>

#include "nearest.h"

namespace device
{
namespace
{

using words = std::vector<std::string>;

constexpr std::size_t any_number = SIZE_MAX;

// clang-format off
constexpr change_command commands[] = {
    { verb::set,    "set",     "set IF FIELD VALUE [FIELD VALUE]...",              3, any_number,
      "change fields of an interface" },
    { verb::add,    "add",     "add IF TYPE [FIELD VALUE]...",                     2, any_number,
      "make an interface" },
    { verb::remove, "delete",  "delete IF",                                        1, 1,
      "remove an interface" },
    { verb::member, "member",  "member PC add|remove IF",                          3, 3,
      "put an interface into a port-channel, or take it out" },
    { verb::vlan,   "vlan",    "vlan ID add|set|delete|show [FIELD VALUE]...",     2, any_number,
      "make, change, remove or show a VLAN" },
    { verb::attach, "private", "private IF KEY EXTENSION [HEXBYTES] | private IF KEY none", 3, 4,
      "attach data to an interface, or take it away" },
    { verb::show,   "show",    "show [IF]",                                        0, 1,
      "show one interface, or the device" },
};
// clang-format on

// Fields and values in turn, none of them twice.
template <typename record, typename change>
std::string read_pairs(const words &given, std::size_t from, std::span<const field<record>> fields,
                       std::vector<change> &changes)
{
    for (std::size_t n = from; n < given.size(); n += 2) {
        const field<record> *what = find_field(fields, given[n]);
        if (what == nullptr)
            return unknown_field(given[n], names_of(fields));
        if (n + 1 == given.size())
            return fmt::format("{}: there is no value behind it", given[n]);
        const bool again = std::ranges::any_of(
            changes, [what](const change &earlier) { return earlier.what == what; });
        if (again)
            return fmt::format("{}: stands twice", given[n]);
        field_value value;
        const std::string wrong = read_word(what->as, given[n + 1], value);
        if (!wrong.empty())
            return fmt::format("{}: {}", given[n], wrong);
        changes.push_back({what, std::move(value)});
    }
    return {};
}

// One word as a field takes it.
template <typename record>
std::string read_field(std::span<const field<record>> fields, const char *name,
                       const std::string &word, record &to)
{
    const field<record> *what = find_field(fields, name);
    field_value value;
    const std::string wrong = read_word(what->as, word, value);
    if (!wrong.empty())
        return fmt::format("{}: {}", name, wrong);
    what->set(to, value);
    return {};
}

std::string read_set(const words &given, change_request &asked)
{
    asked.name = given[1];
    return read_pairs(given, 2, interface_fields(), asked.fields);
}

// The name and the type are the first two fields.
std::string read_add(const words &given, change_request &asked)
{
    words pairs = {"name", given[1], "type", given[2]};
    pairs.insert(pairs.end(), given.begin() + 3, given.end());
    return read_pairs(pairs, 0, interface_fields(), asked.fields);
}

std::string no_such_word(const std::string &word, const words &known)
{
    return fmt::format("must be one of {}, and is {}{}", fmt::join(known, ", "), in_quotes(word),
                       nearest(word, known));
}

std::string read_member(const words &given, change_request &asked)
{
    asked.name = given[1];
    asked.joins = given[2] == "add";
    asked.member = given[3];
    if (!asked.joins && given[2] != "remove")
        return "member: " + no_such_word(given[2], {"add", "remove"});
    return {};
}

std::string read_vlan(const words &given, change_request &asked)
{
    static const words actions = {"add", "set", "delete", "show"}; // as in vlan_action
    told_vlan named;
    std::string wrong = read_field(vlan_fields(), "id", given[1], named);
    if (!wrong.empty())
        return wrong;
    const auto action = std::ranges::find(actions, given[2]);
    if (action == actions.end())
        return "vlan: " + no_such_word(given[2], actions);
    asked.vlan = named.id;
    asked.action = static_cast<vlan_action>(action - actions.begin());
    const bool takes_fields = asked.action == vlan_action::add || asked.action == vlan_action::set;
    if (!takes_fields && given.size() > 3)
        return fmt::format("vlan: {} takes no fields", given[2]);
    return read_pairs(given, 3, vlan_fields().subspan(1), asked.vlan_changes); // all but the id
}

std::string read_private(const words &given, change_request &asked)
{
    asked.name = given[1];
    std::string wrong = read_field(private_fields(), "key", given[2], asked.attached);
    asked.detaches = given[3] == "none" && given.size() == 4;
    if (!wrong.empty() || asked.detaches)
        return wrong;
    wrong = read_field(private_fields(), "extension", given[3], asked.attached);
    if (wrong.empty() && given.size() > 4)
        wrong = read_field(private_fields(), "block", given[4], asked.attached);
    if (wrong.empty() && asked.attached.extension == 0 && asked.attached.block.empty())
        wrong = "private: extension 0 without a block is nothing; none takes data away";
    return wrong;
}

std::string read_words_of(const words &given, change_request &asked)
{
    switch (asked.what) {
    case verb::set:
        return read_set(given, asked);
    case verb::add:
        return read_add(given, asked);
    case verb::member:
        return read_member(given, asked);
    case verb::vlan:
        return read_vlan(given, asked);
    case verb::attach:
        return read_private(given, asked);
    default:
        asked.name = given.size() > 1 ? given[1] : "";
        return {};
    }
}

} // namespace

std::span<const change_command> change_commands() { return commands; }

const change_command *find_command(const std::string &word)
{
    const auto *found = std::ranges::find(commands, word, &change_command::word);
    return found == std::end(commands) ? nullptr : found;
}

std::string read_change(const std::vector<std::string> &given, change_request &asked)
{
    if (given.empty())
        return "there is no command";
    const change_command *command = find_command(given.front());
    if (command == nullptr) {
        words known;
        for (const change_command &each : commands)
            known.emplace_back(each.word);
        return fmt::format("there is no command {}{}", in_quotes(given.front()),
                           nearest(given.front(), known));
    }
    if (given.size() - 1 < command->least || given.size() - 1 > command->most)
        return fmt::format("{}: too {} words", command->word,
                           given.size() - 1 < command->least ? "few" : "many");
    asked.what = command->what;
    return read_words_of(given, asked);
}

} // namespace device
