// SPDX-License-Identifier: Apache-2.0
//
// model_vlans.cpp: the VLANs of the device and the numbers that they hold. A secondary VLAN names
// its primary; whether that one exists is the source's affair.
#include <utility>

#include "device_model.h"

namespace device
{

namespace
{

// The number that is held where the wish allows it, else one that was free. 0: not to be had.
u32 claim_number(number_pool &from, u32 wish, u32 held)
{
    if (held != 0 && (wish == 0 || wish == held))
        return held;
    if (wish == 0)
        return from.next();
    return from.take(wish) ? wish : 0;
}

void drop_number(number_pool &to, u32 held, u32 kept)
{
    if (held != 0 && held != kept)
        to.give_back(held);
}

} // namespace

// Numbers that stay are not given back in between. False: nothing is claimed.
bool device_model::claim(vlan_facts &wanted, const vlan_facts &held)
{
    const u32 bd = claim_number(bds_, wanted.bd, held.bd);
    if (bd == 0)
        return false;
    const u32 flood = claim_number(flood_indexes_, wanted.flood_index, held.flood_index);
    if (flood == 0) {
        drop_number(bds_, bd, held.bd);
        return false;
    }
    wanted.bd = static_cast<u16>(bd);
    wanted.flood_index = flood;
    return true;
}

bool device_model::put_vlan(u16 vlan, const vlan_facts &facts)
{
    const auto known = vlans_.find(vlan);
    const vlan_facts held = known == vlans_.end() ? vlan_facts{} : known->second;
    vlan_facts wanted = facts;
    if (wanted.primary == 0)
        wanted.primary = vlan;
    if (!claim(wanted, held))
        return false;
    if (wanted == held)
        return true;
    drop_number(bds_, held.bd, wanted.bd);
    drop_number(flood_indexes_, held.flood_index, wanted.flood_index);
    flood_by_bd_.erase(held.bd);
    flood_by_bd_[wanted.bd] = wanted.flood_index;
    vlans_[vlan] = wanted;
    changed_vlans_.insert(vlan);
    return true;
}

void device_model::remove_vlan(u16 vlan)
{
    const auto known = vlans_.find(vlan);
    if (known == vlans_.end())
        return;
    bds_.give_back(known->second.bd);
    flood_indexes_.give_back(known->second.flood_index);
    flood_by_bd_.erase(known->second.bd);
    vlans_.erase(known);
    changed_vlans_.insert(vlan);
}

const vlan_facts *device_model::find_vlan(u16 vlan) const
{
    const auto at = vlans_.find(vlan);
    return at == vlans_.end() ? nullptr : &at->second;
}

u32 device_model::flood_index_of(u16 bd) const
{
    const auto at = flood_by_bd_.find(bd);
    return at == flood_by_bd_.end() ? 0 : at->second;
}

} // namespace device
