// SPDX-License-Identifier: Apache-2.0
//
// inventory.cpp: what a file says, and what follows for the model.
#include "inventory.h"

#include "device/runtime/if_index_types.h"
#include "if_index.h"
#include "inventory_reading.h"
#include "inventory_writing.h"

namespace device
{

inventory::inventory(device_model &model) : model_(model) {}

std::string inventory::load(const std::string &path)
{
    std::string text;
    const std::string wrong = read_file(path, text);
    return wrong.empty() ? load_text(path, text) : wrong;
}

std::string inventory::load_text(const std::string &file_name, const std::string &text)
{
    told_inventory told{told_device(device_.next_key()), {}};
    std::string wrong = read_inventory(file_name, text, told);
    if (!wrong.empty())
        return wrong;
    clear_model();
    device_ = std::move(told.device);
    for (const auto &[id, vlan] : device_.vlans())
        tell(vlan);
    for (const auto &[key, entry] : device_.interfaces())
        tell(entry);
    for (const auto &[key, attached] : told.attachments)
        attach(key, attached);
    model_.settle();
    return {};
}

std::string inventory::text() const { return write_inventory(device_, model_); }

void inventory::clear_model()
{
    for (const auto &[key, entry] : device_.interfaces())
        model_.remove(key);
    for (const auto &[id, vlan] : device_.vlans())
        model_.remove_vlan(static_cast<u16>(id));
}

u32 inventory::key_of(const std::string &name) const
{
    const told_interface *found = device_.find(name);
    return found == nullptr ? 0 : found->key;
}

link_facts inventory::facts_of(const told_interface &told) const
{
    link_facts facts;
    facts.key = told.key;
    facts.name = told.name;
    facts.kind = type_of(told.type).name;
    facts.type = told.type;
    facts.ordinal = told.type == IF_INDEX_TYPE_SVI ? 0 : told.ordinal;
    facts.masters = told.type == IF_INDEX_TYPE_PC ? mastery::port_channel : mastery::none;
    facts.admin_up = told.protocol;
    facts.link = told.link;
    facts.protoup = told.protocol;
    facts.forwards = told.forwarding;
    facts.loopback = told.loopback;
    facts.p2p = told.p2p;
    facts.ethernet = told.ethernet;
    facts.encap = static_cast<u16>(told.encap);
    facts.mtu = static_cast<u16>(told.mtu);
    facts.vlan = static_cast<u16>(told.owns_vlan() ? told.vlan : 0);
    for (std::size_t n = 0; n < facts.mac.size(); ++n)
        facts.mac[n] = static_cast<u8>(told.mac >> (40 - 8 * n));
    facts.master_key = key_of(told.member_of);
    facts.parent_key = key_of(told.parent);
    facts.switchport = told.mode != static_cast<u8>(port_role::routed);
    facts.own_vlans.pvid = static_cast<u16>(told.owns_vlan() ? 0 : told.vlan);
    facts.own_vlans.trunk = told.mode == static_cast<u8>(port_role::trunk);
    if (const auto vrf = device_.vrfs().find(told.vrf); vrf != device_.vrfs().end()) {
        facts.own_context = vrf->second.context;
        facts.own_table = vrf->second.table;
    }
    return facts;
}

// Nothing that was checked is refused: identities are free, and there are as many as interfaces.
void inventory::tell(const told_interface &told) { model_.put(facts_of(told)); }

void inventory::tell(const told_vlan &told)
{
    model_.put_vlan(static_cast<u16>(told.id),
                    {static_cast<u16>(told.primary), static_cast<u16>(told.bd), told.flood_index});
}

void inventory::attach(u32 key, const told_private &told)
{
    model_.attach(model_.find_key(key)->iod, told.key, {told.extension, bytes_of(told.block)});
}

} // namespace device
