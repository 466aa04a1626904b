// SPDX-License-Identifier: Apache-2.0
//
// Interfaces stand in the order in which they were given; where two claim one identity, the last
// given answers for it. The lookup tables are made anew after an identity has changed, so that a
// world of many thousand interfaces answers quickly.
#include "world.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <unordered_map>
#include <unordered_set>

namespace scripted
{

namespace
{

using finder = std::unordered_map<std::uint32_t, interface *>;

struct world {
    std::list<interface> interfaces;
    std::map<std::uint32_t, vlan> vlans;
    finder iods, if_indexes, pis, lifs;
    bool is_indexed = false;
    std::unordered_set<std::uint32_t> ever_given; // if-indexes; spares most calls the search
};

world &the_world()
{
    static world kept;
    return kept;
}

void index_identities(world &all)
{
    for (finder *each : {&all.iods, &all.if_indexes, &all.pis, &all.lifs})
        each->clear();
    for (interface &each : all.interfaces) {
        all.iods[each.is.iod] = &each;
        all.if_indexes[each.is.if_index] = &each;
        all.pis[each.is.pi] = &each;
        all.lifs[each.is.lif] = &each;
    }
    all.iods.erase(0);
    all.pis.erase(none);
    all.lifs.erase(none);
    all.is_indexed = true;
}

interface *found_in(finder world::*identity, std::uint32_t key)
{
    world &all = the_world();
    if (!all.is_indexed)
        index_identities(all);
    const auto found = (all.*identity).find(key);
    return found == (all.*identity).end() ? nullptr : found->second;
}

const facts *facts_of(const interface *found) { return found == nullptr ? nullptr : &found->is; }

constexpr std::uint32_t index_of_type(std::uint8_t type, std::uint32_t n)
{
    return std::uint32_t{type} << 24 | (n & 0xFFFFFF);
}

mac_address mac_of(std::uint32_t iod)
{
    return {0x02, 0, 0, 0, static_cast<std::uint8_t>(iod >> 8), static_cast<std::uint8_t>(iod)};
}

} // namespace

void identities_changed() { the_world().is_indexed = false; }

interface &interface::of_type(std::uint8_t type)
{
    return if_index(index_of_type(type, is.if_index))
        .mgmt(type == IF_INDEX_TYPE_MGMT)
        .cbus(type == IF_INDEX_TYPE_CBUS)
        .is_svi(type == IF_INDEX_TYPE_SVI)
        .super_802_3ad(type == IF_INDEX_TYPE_PC)
        .gre(type == IF_INDEX_TYPE_GRE);
}

interface port(std::uint32_t n)
{
    interface made;
    made.if_index(n).of_type(IF_INDEX_TYPE_PHYSICAL).iod(n).pi(0x100 + n).lif(0x2000 + n);
    return made.name(spell("eth", dec(n))).mac(mac_of(n));
}

interface port_channel(std::uint32_t n)
{
    interface made;
    made.if_index(n).of_type(IF_INDEX_TYPE_PC).iod(16000 + n).pi(0x8000 + n).lif(0x8000 + n);
    return made.name(spell("port-channel", dec(n))).mac(mac_of(16000 + n));
}

interface svi(std::uint32_t vlan_id)
{
    interface made;
    made.if_index(vlan_id).of_type(IF_INDEX_TYPE_SVI).iod(20000 + vlan_id).lif(0xA000 + vlan_id);
    made.is_vlan(1).vlanid(vlan_id);
    return made.name(spell("Vlan", dec(vlan_id))).mac(mac_of(20000 + vlan_id));
}

void put(const interface &added)
{
    auto &all = the_world().interfaces;
    if (!the_world().ever_given.insert(added.is.if_index).second)
        std::erase_if(all, [&](const auto &each) { return each.is.if_index == added.is.if_index; });
    all.push_back(added);
    identities_changed();
}

void put(const vlan &added) { the_world().vlans.insert_or_assign(added.id, added); }

interface &the(std::uint32_t iod)
{
    interface *found = found_in(&world::iods, iod);
    if (found == nullptr) {
        std::fprintf(stderr, "scripted device: the(%u) is not in the world\n", iod);
        std::abort();
    }
    return *found;
}

void gone(std::uint32_t iod)
{
    std::erase_if(the_world().interfaces,
                  [iod](const interface &each) { return each.is.iod == iod; });
    identities_changed();
}

void gone(const vlan &removed) { the_world().vlans.erase(removed.id); }

const facts *by_iod(std::uint32_t iod) { return facts_of(found_in(&world::iods, iod)); }
const facts *by_if_index(std::uint32_t if_index)
{
    return facts_of(found_in(&world::if_indexes, if_index));
}
const facts *by_pi(std::uint32_t pi) { return facts_of(found_in(&world::pis, pi)); }
const facts *by_lif(std::uint32_t lif) { return facts_of(found_in(&world::lifs, lif)); }

const vlan *by_vlan(std::uint32_t id)
{
    const auto found = the_world().vlans.find(id);
    return found == the_world().vlans.end() ? nullptr : &found->second;
}

const vlan *by_bridge_domain(std::uint16_t bd)
{
    for (const auto &[id, each] : the_world().vlans)
        if (each.bridge_domain == bd)
            return &each;
    return nullptr;
}

void reset_world() { the_world() = world{}; }

} // namespace scripted
