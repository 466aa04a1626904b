// SPDX-License-Identifier: Apache-2.0
//
// told_device.cpp: interfaces, and what each of them needs of the others.
//
// Invariant: by_name_ and by_number_ lead to exactly the interfaces that there are.
#include "told_device.h"

#include <algorithm>
#include <span>

#include <fmt/format.h>

#include "device/runtime/if_index_types.h"
#include "device_model.h"
#include "if_index.h"
#include "nearest.h"

namespace device
{
namespace
{

constexpr u32 max_ordinal = 32767;
constexpr std::size_t most_named = 3; // of the interfaces that stand in the way

// What its if-index will be made of.
u32 number_of(const told_interface &entry)
{
    const u32 within = entry.type == IF_INDEX_TYPE_SVI ? entry.vlan : entry.ordinal;
    return u32{entry.type} << 24 | within;
}

bool can_be_parent(u8 type)
{
    return type == IF_INDEX_TYPE_PHYSICAL || type == IF_INDEX_TYPE_MGMT || type == IF_INDEX_TYPE_PC;
}

std::string some_of(const std::vector<std::string> &names)
{
    const auto shown = std::span(names).first(std::min(names.size(), most_named));
    const std::string text = fmt::format("{}", fmt::join(shown, ", "));
    return shown.size() == names.size()
               ? text
               : fmt::format("{} and {} more", text, names.size() - shown.size());
}

template <typename tables>
std::vector<std::string> keys_of(const tables &of)
{
    std::vector<std::string> names;
    names.reserve(of.size());
    for (const auto &[name, row] : of)
        names.push_back(name);
    return names;
}

std::string no_interface(const std::string &name, const std::vector<std::string> &known)
{
    return fmt::format("there is no interface {}{}", name, nearest(name, known));
}

problem retype(told_interface &entry, u8 type)
{
    told_interface made = default_interface(type);
    made.key = entry.key;
    for (const auto &each : interface_fields()) {
        const field_value held = each.get(entry);
        if (each.as.written == form::name_or_none && !held.text.empty() && !each.types[type])
            return {"type", fmt::format("{} has a {}, {}, which no {} has", entry.name,
                                        each.as.name, held.text, type_of(type).name)};
        const bool kept = !each.follows_type && each.types[type] && each.types[entry.type];
        if (kept && each.as.name != std::string_view("type") &&
            each.as.name != std::string_view("ordinal"))
            each.set(made, held);
    }
    entry = made;
    return {};
}

} // namespace

problem assign(told_interface &to, const std::vector<assignment> &what)
{
    for (const assignment &each : what)
        if (each.what->as.name == std::string_view("type")) {
            const u8 type = interface_types()[each.value.number].number;
            if (problem wrong = type == to.type ? problem{} : retype(to, type))
                return wrong;
        }
    for (const assignment &each : what) {
        if (!each.what->types[to.type])
            return {each.what->as.name, fmt::format("an interface of type {} has no {}",
                                                    type_of(to.type).name, each.what->as.name)};
        each.what->set(to, each.value);
    }
    return {};
}

const told_interface *told_device::find(const std::string &name) const
{
    const auto at = by_name_.find(name);
    return at == by_name_.end() ? nullptr : &by_key_.at(at->second);
}

std::vector<std::string> told_device::interface_names() const
{
    std::vector<std::string> names;
    for (const auto &[key, entry] : by_key_)
        names.push_back(entry.name);
    return names;
}

void told_device::reserve(const told_interface &wanted)
{
    if (wanted.ordinal != 0)
        reserved_.insert(number_of(wanted));
}

// The next one of the type that is free: what was given back stays out of use for a while.
u32 told_device::choose_ordinal(u8 type)
{
    u32 &last = last_ordinal_[type];
    for (u32 tried = 0; tried < max_ordinal; ++tried) {
        last = last < max_ordinal ? last + 1 : 1;
        const u32 number = u32{type} << 24 | last;
        if (!by_number_.contains(number) && !reserved_.contains(number))
            return last;
    }
    return 0;
}

problem told_device::check_identity(told_interface &wanted)
{
    const auto same_name = by_name_.find(wanted.name);
    if (same_name != by_name_.end() && same_name->second != wanted.key)
        return {"name", fmt::format("there is an interface {} already", wanted.name)};
    if (wanted.owns_vlan() && wanted.vlan == 0)
        return {"vlan",
                fmt::format("an interface of type {} must have one", type_of(wanted.type).name)};
    const bool is_counted = wanted.type != IF_INDEX_TYPE_SVI;
    if (is_counted && wanted.ordinal == 0 && (wanted.ordinal = choose_ordinal(wanted.type)) == 0)
        return {"ordinal", fmt::format("none is left for type {}", type_of(wanted.type).name)};
    const auto same_number = by_number_.find(number_of(wanted));
    if (same_number != by_number_.end() && same_number->second != wanted.key)
        return {is_counted ? "ordinal" : "vlan",
                fmt::format("{} of type {} is that of {} already",
                            is_counted ? wanted.ordinal : wanted.vlan, type_of(wanted.type).name,
                            by_key_.at(same_number->second).name)};
    return {};
}

problem told_device::check_references(const told_interface &wanted) const
{
    if (!wanted.vrf.empty() && !vrfs_.contains(wanted.vrf))
        return {"vrf", fmt::format("there is no VRF {}{}", wanted.vrf,
                                   nearest(wanted.vrf, keys_of(vrfs_)))};
    const told_interface *bundle = find(wanted.member_of);
    if (!wanted.member_of.empty() && bundle == nullptr)
        return {"member_of", no_interface(wanted.member_of, interface_names())};
    if (bundle != nullptr && bundle->type != IF_INDEX_TYPE_PC)
        return {"member_of", fmt::format("{} is of type {} and no port-channel", bundle->name,
                                         type_of(bundle->type).name)};
    const told_interface *parent = find(wanted.parent);
    if (!wanted.parent.empty() && parent == nullptr)
        return {"parent", no_interface(wanted.parent, interface_names())};
    if (parent != nullptr && !can_be_parent(parent->type))
        return {"parent", fmt::format("{} is of type {}, on which nothing can stand", parent->name,
                                      type_of(parent->type).name)};
    return {};
}

problem told_device::add(told_interface &wanted)
{
    if (by_key_.size() == max_iod)
        return {"",
                fmt::format("there are {} interfaces already, and no more can be had", max_iod)};
    if (problem wrong = check_identity(wanted))
        return wrong;
    wanted.key = next_key_++;
    enter(wanted);
    return {};
}

problem told_device::check_dependents(const told_interface &held, const char *field) const
{
    if (const auto members = members_of(held.name); !members.empty())
        return {field, fmt::format("{} has members: {}", held.name, some_of(members))};
    if (const auto children = children_of(held.name); !children.empty())
        return {field, fmt::format("{} is the parent of {}", held.name, some_of(children))};
    return {};
}

problem told_device::change(told_interface &wanted)
{
    const told_interface held = by_key_.at(wanted.key);
    problem wrong = check_identity(wanted);
    if (!wrong)
        wrong = check_references(wanted);
    if (!wrong && wanted.type != held.type)
        wrong = check_dependents(held, "type");
    if (wrong)
        return wrong;
    leave(held);
    enter(wanted);
    if (wanted.name == held.name)
        return {};
    for (auto &[key, other] : by_key_) {
        if (other.member_of == held.name)
            other.member_of = wanted.name;
        if (other.parent == held.name)
            other.parent = wanted.name;
    }
    return {};
}

problem told_device::remove(const std::string &name)
{
    const told_interface *held = find(name);
    if (held == nullptr)
        return {"", no_interface(name, interface_names())};
    if (problem wrong = check_dependents(*held, ""))
        return wrong;
    leave(told_interface(*held));
    return {};
}

std::vector<std::string> told_device::members_of(const std::string &name) const
{
    std::vector<std::string> names;
    for (const auto &[key, entry] : by_key_)
        if (entry.member_of == name)
            names.push_back(entry.name);
    return names;
}

std::vector<std::string> told_device::children_of(const std::string &name) const
{
    std::vector<std::string> names;
    for (const auto &[key, entry] : by_key_)
        if (entry.parent == name)
            names.push_back(entry.name);
    return names;
}

void told_device::enter(const told_interface &entry)
{
    by_key_[entry.key] = entry;
    by_name_[entry.name] = entry.key;
    by_number_[number_of(entry)] = entry.key;
}

void told_device::leave(const told_interface &entry)
{
    by_name_.erase(entry.name);
    by_number_.erase(number_of(entry));
    by_key_.erase(entry.key);
}

} // namespace device
