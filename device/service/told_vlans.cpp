// SPDX-License-Identifier: Apache-2.0
//
// told_vlans.cpp: VLANs and VRFs as an inventory tells them.
//
// Invariant: by_bd_ and by_flood_ lead to exactly the VLANs whose number is not open.
#include <fmt/format.h>

#include "told_device.h"

namespace device
{
namespace
{

constexpr u32 first_flood_index = 0x00020001;

u32 primary_of(const told_vlan &vlan) { return vlan.primary == 0 ? vlan.id : vlan.primary; }

problem check_number(const std::unordered_map<u32, u32> &taken, const char *field, u32 number,
                     u32 id)
{
    const auto at = taken.find(number);
    if (number == 0 || at == taken.end() || at->second == id)
        return {};
    return {field, fmt::format("{} is that of VLAN {} already", number, at->second)};
}

} // namespace

problem told_device::add_vrf(const told_vrf &vrf)
{
    for (const auto &[name, other] : vrfs_) {
        if (name == vrf.name)
            return {"name", fmt::format("there is a VRF {} already", name)};
        if (other.context == vrf.context)
            return {"context", fmt::format("{} is that of VRF {} already", vrf.context, name)};
    }
    vrfs_[vrf.name] = vrf;
    return {};
}

problem told_device::check_vlan_numbers(const told_vlan &vlan) const
{
    const problem wrong = check_number(by_bd_, "bd", vlan.bd, vlan.id);
    return wrong ? wrong : check_number(by_flood_, "flood_index", vlan.flood_index, vlan.id);
}

problem told_device::add_vlan(const told_vlan &vlan)
{
    if (vlans_.contains(vlan.id))
        return {"id", fmt::format("there is a VLAN {} already", vlan.id)};
    if (problem wrong = check_vlan_numbers(vlan))
        return wrong;
    enter(vlan);
    return {};
}

// A primary is none's secondary.
problem told_device::check_primary(u32 id) const
{
    const u32 primary = primary_of(vlans_.at(id));
    if (primary == id)
        return {};
    const auto at = vlans_.find(primary);
    if (at == vlans_.end())
        return {"primary", fmt::format("there is no VLAN {}", primary)};
    const u32 above = primary_of(at->second);
    if (above != primary)
        return {"primary", fmt::format("VLAN {} is a secondary of {} itself", primary, above)};
    return {};
}

problem told_device::check_secondaries(u32 id) const
{
    for (const auto &[other, vlan] : vlans_)
        if (other != id && primary_of(vlan) == id)
            return {"", fmt::format("VLAN {} is the primary of {}", id, other)};
    return {};
}

problem told_device::change_vlan(const told_vlan &vlan)
{
    const auto at = vlans_.find(vlan.id);
    if (at == vlans_.end())
        return {"", fmt::format("there is no VLAN {}", vlan.id)};
    problem wrong = check_vlan_numbers(vlan);
    if (!wrong && primary_of(vlan) != vlan.id)
        wrong = check_secondaries(vlan.id);
    if (wrong)
        return wrong;
    const told_vlan held = at->second;
    leave(held);
    enter(vlan);
    wrong = check_primary(vlan.id);
    if (wrong) {
        leave(vlan);
        enter(held);
    }
    return wrong;
}

void told_device::set_vlan_numbers(u32 id, u32 bd, u32 flood_index)
{
    told_vlan vlan = vlans_.at(id);
    leave(told_vlan(vlan));
    vlan.bd = bd;
    vlan.flood_index = flood_index;
    enter(vlan);
}

problem told_device::remove_vlan(u32 id)
{
    const auto at = vlans_.find(id);
    if (at == vlans_.end())
        return {"", fmt::format("there is no VLAN {}", id)};
    if (problem wrong = check_secondaries(id))
        return wrong;
    leave(told_vlan(at->second));
    return {};
}

void told_device::number_vlans()
{
    u32 bd = 1, flood_index = first_flood_index;
    for (auto &[id, vlan] : vlans_) {
        for (; vlan.bd == 0; ++bd)
            if (by_bd_.emplace(bd, id).second)
                vlan.bd = bd;
        for (; vlan.flood_index == 0; ++flood_index)
            if (by_flood_.emplace(flood_index, id).second)
                vlan.flood_index = flood_index;
    }
}

void told_device::enter(const told_vlan &vlan)
{
    vlans_[vlan.id] = vlan;
    if (vlan.bd != 0)
        by_bd_[vlan.bd] = vlan.id;
    if (vlan.flood_index != 0)
        by_flood_[vlan.flood_index] = vlan.id;
}

void told_device::leave(const told_vlan &vlan)
{
    vlans_.erase(vlan.id);
    by_bd_.erase(vlan.bd);
    by_flood_.erase(vlan.flood_index);
}

} // namespace device
