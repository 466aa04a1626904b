// SPDX-License-Identifier: Apache-2.0
//
// inventory_changes.cpp: one function for each command. What is told changes first, since that may
// be refused; then the model is told.
#include <fmt/format.h>

#include "change_words.h"
#include "inventory.h"
#include "inventory_writing.h"
#include "nearest.h"

namespace device
{
namespace
{

inventory::outcome refused(const problem &wrong) { return {false, wrong.shown()}; }

inventory::outcome done(std::string answer = {}) { return {true, std::move(answer)}; }

} // namespace

inventory::outcome inventory::change(const std::vector<std::string> &words)
{
    change_request asked;
    std::string wrong = read_change(words, asked);
    if (!wrong.empty())
        return {false, std::move(wrong)};
    outcome result = carry_out(asked);
    model_.settle();
    return result;
}

inventory::outcome inventory::carry_out(const change_request &asked)
{
    switch (asked.what) {
    case verb::set:
        return set(asked);
    case verb::add:
        return add(asked);
    case verb::remove:
        return remove(asked);
    case verb::member:
        return change_member(asked);
    case verb::vlan:
        return change_vlan(asked);
    case verb::attach:
        return change_private(asked);
    default:
        return show(asked);
    }
}

inventory::outcome inventory::no_interface(const std::string &name) const
{
    return {false, fmt::format("there is no interface {}{}", in_quotes(name),
                               nearest(name, device_.interface_names()))};
}

inventory::outcome inventory::set(const change_request &asked)
{
    const told_interface *held = device_.find(asked.name);
    if (held == nullptr)
        return no_interface(asked.name);
    told_interface wanted = *held;
    problem wrong = assign(wanted, asked.fields);
    if (!wrong)
        wrong = device_.change(wanted);
    if (wrong)
        return refused(wrong);
    tell(wanted);
    return done();
}

inventory::outcome inventory::add(const change_request &asked)
{
    told_interface wanted = default_interface(interface_types().front().number);
    problem wrong = assign(wanted, asked.fields);
    if (!wrong)
        wrong = device_.check_references(wanted);
    if (!wrong)
        wrong = device_.add(wanted);
    if (wrong)
        return refused(wrong);
    tell(wanted);
    return done();
}

inventory::outcome inventory::remove(const change_request &asked)
{
    const told_interface *held = device_.find(asked.name);
    if (held == nullptr)
        return no_interface(asked.name);
    const u32 key = held->key;
    if (const problem wrong = device_.remove(asked.name))
        return refused(wrong);
    model_.remove(key);
    return done();
}

inventory::outcome inventory::change_member(const change_request &asked)
{
    for (const std::string &name : {asked.name, asked.member})
        if (device_.find(name) == nullptr)
            return no_interface(name);
    told_interface wanted = *device_.find(asked.member);
    if (asked.joins && !wanted.member_of.empty())
        return {false, fmt::format("{} is in {} already", wanted.name, wanted.member_of)};
    if (!asked.joins && wanted.member_of != asked.name)
        return {false, fmt::format("{} is not in {}", wanted.name, asked.name)};
    const auto *what = find_field(interface_fields(), "member_of");
    problem wrong = assign(wanted, {{what, {0, asked.joins ? asked.name : ""}}});
    if (!wrong)
        wrong = device_.change(wanted);
    if (wrong)
        return refused(wrong);
    tell(wanted);
    return done();
}

inventory::outcome inventory::change_vlan(const change_request &asked)
{
    switch (asked.action) {
    case vlan_action::add:
        return add_vlan(asked);
    case vlan_action::set:
        return set_vlan(asked);
    case vlan_action::remove:
        return remove_vlan(asked);
    default:
        return show_vlan(asked);
    }
}

inventory::outcome inventory::add_vlan(const change_request &asked)
{
    told_vlan wanted;
    wanted.id = asked.vlan;
    for (const auto &each : asked.vlan_changes)
        each.what->set(wanted, each.value);
    if (const problem wrong = device_.add_vlan(wanted))
        return refused(wrong);
    if (const problem wrong = device_.check_primary(wanted.id)) {
        device_.remove_vlan(wanted.id);
        return refused(wrong);
    }
    tell(wanted);
    // What was left open has been chosen.
    const vlan_facts *chosen = model_.find_vlan(static_cast<u16>(wanted.id));
    device_.set_vlan_numbers(wanted.id, chosen->bd, chosen->flood_index);
    return done();
}

inventory::outcome inventory::set_vlan(const change_request &asked)
{
    const auto held = device_.vlans().find(asked.vlan);
    if (held == device_.vlans().end())
        return no_vlan(asked.vlan);
    told_vlan wanted = held->second;
    for (const auto &each : asked.vlan_changes)
        each.what->set(wanted, each.value);
    if (const problem wrong = device_.change_vlan(wanted))
        return refused(wrong);
    tell(wanted);
    return done();
}

inventory::outcome inventory::remove_vlan(const change_request &asked)
{
    if (const problem wrong = device_.remove_vlan(asked.vlan))
        return refused(wrong);
    model_.remove_vlan(static_cast<u16>(asked.vlan));
    return done();
}

inventory::outcome inventory::show_vlan(const change_request &asked) const
{
    const auto held = device_.vlans().find(asked.vlan);
    return held == device_.vlans().end() ? no_vlan(asked.vlan) : done(write_vlan(held->second));
}

inventory::outcome inventory::no_vlan(u32 id)
{
    return {false, fmt::format("there is no VLAN {}", id)};
}

inventory::outcome inventory::change_private(const change_request &asked)
{
    const u32 key = key_of(asked.name);
    if (key == 0)
        return no_interface(asked.name);
    const told_private nothing = {asked.attached.key, 0, {}};
    attach(key, asked.detaches ? nothing : asked.attached);
    return done();
}

inventory::outcome inventory::show(const change_request &asked) const
{
    if (asked.name.empty())
        return done(text());
    const told_interface *found = device_.find(asked.name);
    return found == nullptr ? no_interface(asked.name) : done(write_interface(*found, model_));
}

} // namespace device
