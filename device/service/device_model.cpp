// SPDX-License-Identifier: Apache-2.0
//
// device_model.cpp: identities and the answers that need more than one interface.
//
// Invariant: by_iod_ owns every interface, and each of the four other indexes has exactly one entry
// for each interface that has that number, leading back to it.
#include "device_model.h"

#include "device/runtime/if_index_types.h"
#include "if_index.h"
#include "wire.h"

namespace device
{
namespace
{

// Lifs and port indexes are numbers of their own; the offsets make a mix-up with an iod visible.
constexpr u32 first_lif = 0x00100000;
constexpr u32 first_port_index = 0x00010000;

} // namespace

bool interface::is_vlan() const
{
    return type == IF_INDEX_TYPE_SVI || type == IF_INDEX_TYPE_VLAN_SUBIF;
}

bool device_model::put(const link_facts &facts)
{
    const interface *known = find_key(facts.key);
    if (known != nullptr && known->type == facts.type && known->vlan == facts.vlan) {
        static_cast<link_facts &>(by_iod_.at(known->iod)) = facts;
        return true;
    }
    remove(facts.key); // what its if-index is made of has changed: another interface
    return admit(facts);
}

bool device_model::admit(const link_facts &facts)
{
    const u32 iod = next_free_iod();
    const u32 if_index = make_if_index(facts);
    if (iod == 0 || if_index == 0 || by_if_index_.contains(if_index))
        return false;

    interface &added = by_iod_[iod];
    static_cast<link_facts &>(added) = facts;
    added.iod = last_iod_ = iod;
    added.if_index = if_index;
    added.lif = first_lif + iod;
    by_key_[facts.key] = iod;
    by_if_index_[if_index] = iod;
    by_lif_[added.lif] = iod;
    if (facts.type != IF_INDEX_TYPE_SVI) {
        added.port_index = first_port_index + iod;
        by_port_index_[added.port_index] = iod;
    }
    return true;
}

void device_model::remove(u32 key)
{
    const interface *gone = find_key(key);
    if (gone == nullptr)
        return;
    by_key_.erase(key);
    by_if_index_.erase(gone->if_index);
    by_lif_.erase(gone->lif);
    by_port_index_.erase(gone->port_index);
    by_iod_.erase(gone->iod);
}

void device_model::set_port_vlans(const std::map<u32, port_vlans> &ports)
{
    for (auto &[iod, known] : by_iod_) {
        const auto told = ports.find(known.key);
        known.vlans = told == ports.end() ? port_vlans{} : told->second;
    }
}

u32 device_model::next_free_iod()
{
    for (u32 step = 1; step <= max_iod; ++step) {
        const u32 iod = (last_iod_ + step - 1) % max_iod + 1;
        if (!by_iod_.contains(iod))
            return iod;
    }
    return 0;
}

// The if-index of a VLAN's interface follows from the VLAN; all others are counted, type by type.
u32 device_model::make_if_index(const link_facts &facts)
{
    u32 if_index = 0;
    if (facts.type == IF_INDEX_TYPE_SVI)
        return if_index_vlan_port_init(&if_index, facts.vlan, wire::vinst) == 0 ? if_index : 0;
    if (if_index_build(facts.type, last_ordinal_[facts.type] + 1, &if_index) != 0)
        return 0;
    ++last_ordinal_[facts.type];
    return if_index;
}

interface *device_model::find_iod(u32 iod)
{
    const auto at = by_iod_.find(iod);
    return at == by_iod_.end() ? nullptr : &at->second;
}

const interface *device_model::find_iod(u32 iod) const
{
    const auto at = by_iod_.find(iod);
    return at == by_iod_.end() ? nullptr : &at->second;
}

const interface *device_model::find(const index &from, u32 key) const
{
    const auto at = from.find(key);
    return at == from.end() ? nullptr : find_iod(at->second);
}

const interface *device_model::find_if_index(u32 if_index) const
{
    return find(by_if_index_, if_index);
}

const interface *device_model::find_lif(u32 lif) const { return find(by_lif_, lif); }

const interface *device_model::find_port_index(u32 port_index) const
{
    return find(by_port_index_, port_index);
}

const interface *device_model::find_key(u32 key) const { return find(by_key_, key); }

const interface *device_model::master(const interface &member, mastery role) const
{
    const interface *found = find_key(member.master_key);
    return found != nullptr && found->masters == role ? found : nullptr;
}

bool device_model::is_switchport(const interface &port) const
{
    return master(port, mastery::bridge) != nullptr;
}

bool device_model::is_switching(const interface &port) const
{
    return is_switchport(port) && port.forwards;
}

// A bridge that does not filter keeps a PVID for its ports too, which nothing follows from.
bool device_model::is_in_vlans(const interface &port) const
{
    const interface *bridge = master(port, mastery::bridge);
    return bridge != nullptr && bridge->filters_vlans;
}

u32 device_model::access_vlan(const interface &port) const
{
    return is_in_vlans(port) ? port.vlans.pvid : 0;
}

u32 device_model::port_mode(const interface &port) const
{
    if (!is_switchport(port))
        return routed_port;
    return is_in_vlans(port) && port.vlans.trunk ? trunk_port : access_port;
}

// A VRF master stands in its own context.
const interface *device_model::routing_master(const interface &member) const
{
    return member.masters == mastery::vrf ? &member : master(member, mastery::vrf);
}

// A VRF's context takes the number of its master's iod, moved past the default context's.
u32 device_model::context_id(const interface &member) const
{
    const interface *vrf = routing_master(member);
    return vrf == nullptr ? default_context : default_context + vrf->iod;
}

u32 device_model::table_id(const interface &member) const
{
    const interface *vrf = routing_master(member);
    return vrf == nullptr ? main_table : vrf->table;
}

u32 device_model::parent_if_index(const interface &child) const
{
    const interface *parent = find_key(child.parent_key);
    return parent == nullptr ? 0 : parent->if_index;
}

u32 device_model::port_channel_if_index(const interface &port) const
{
    const interface *pc = master(port, mastery::port_channel);
    return pc == nullptr ? 0 : pc->if_index;
}

u32 device_model::first_operational_member(const interface &pc) const
{
    for (const auto &[iod, port] : by_iod_)
        if (port.protoup && port.master_key == pc.key)
            return port.if_index;
    return 0;
}

} // namespace device
