// SPDX-License-Identifier: Apache-2.0
//
// answers.cpp: one function for each answer that takes more than a field.
#include "answers.h"

#include "device/runtime/if_index_types.h"
#include "if_index.h"

namespace device
{
namespace
{

const interface *master(const device_model &model, const interface &member, mastery role)
{
    const interface *found = model.find_key(member.master_key);
    return found != nullptr && found->masters == role ? found : nullptr;
}

// Without a link there is no protocol.
bool is_operational(const link_facts &port) { return port.link && port.protoup; }

const interface *bridge_of(const device_model &model, const interface &port)
{
    return master(model, port, mastery::bridge);
}

// A bridge that does not filter keeps a PVID for its ports too, which nothing follows from.
port_vlans vlans_of(const device_model &model, const interface &port)
{
    const interface *bridge = bridge_of(model, port);
    if (bridge != nullptr)
        return bridge->filters_vlans ? port.bridge_vlans : port_vlans{};
    return port.switchport ? port.own_vlans : port_vlans{};
}

u32 port_mode(const attributes &port, const port_vlans &vlans)
{
    if (!port.switchport)
        return routed_port;
    return vlans.trunk ? trunk_port : access_port;
}

// A VRF master stands in its own context.
const interface *routing_master(const device_model &model, const interface &member)
{
    return member.masters == mastery::vrf ? &member : master(model, member, mastery::vrf);
}

// A VRF's context takes the number of its master's iod, moved past the default context's.
void work_out_routing(const device_model &model, const interface &entry, attributes &now)
{
    const interface *vrf = routing_master(model, entry);
    now.context = vrf != nullptr           ? default_context + vrf->iod
                  : entry.own_context != 0 ? entry.own_context
                                           : default_context;
    now.table = vrf != nullptr ? vrf->table : entry.own_context != 0 ? entry.own_table : main_table;
}

std::vector<u32> operational_members(const device_model &model, const interface &bundle)
{
    std::vector<u32> found;
    for (const u32 iod : model.members_of(bundle.key)) {
        const interface *port = model.find_iod(iod);
        if (is_operational(*port))
            found.push_back(port->if_index);
    }
    return found;
}

// The hash buckets go round the operational members, by their iods.
void work_out_bundle(const device_model &model, const interface &bundle, attributes &now)
{
    const std::vector<u32> members = operational_members(model, bundle);
    if (members.empty())
        return;
    now.first_member = members.front();
    for (u32 bucket = 0; bucket < num_rbh; ++bucket)
        now.rbh.push_back(members[bucket % members.size()]);
}

u32 if_index_of(const interface *found) { return found == nullptr ? 0 : found->if_index; }

} // namespace

attributes work_out(const device_model &model, const interface &entry)
{
    attributes now;
    now.name = entry.name;
    now.linkup = entry.link;
    now.protoup = is_operational(entry);
    now.switchport = entry.switchport || bridge_of(model, entry) != nullptr;
    now.switching = now.switchport && entry.forwards;
    now.ethernet = entry.ethernet;
    now.p2p = entry.p2p;
    now.loopback = entry.loopback;
    now.encap = entry.encap;
    now.mtu = entry.mtu;
    now.mac = entry.mac;
    const port_vlans vlans = vlans_of(model, entry);
    now.vlan = entry.is_vlan() ? entry.vlan : vlans.pvid;
    now.port_mode = port_mode(now, vlans);
    work_out_routing(model, entry, now);
    now.parent = if_index_of(model.find_key(entry.parent_key));
    now.port_channel = if_index_of(master(model, entry, mastery::port_channel));
    if (entry.masters == mastery::port_channel)
        work_out_bundle(model, entry, now);
    return now;
}

} // namespace device
