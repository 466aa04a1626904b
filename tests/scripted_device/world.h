// SPDX-License-Identifier: Apache-2.0
//
// The small world from which the scripted device answers: interfaces and VLANs, as a test gives
// them. Every attribute has a sensible default; a value is answered as it was given, also an odd
// one (linkup(2)). What was never given is unknown: services that return a value say 0, the others
// an error code.
//
//                     if-index     iod        pi          lif         name
//   port(7)           0x1a000007   7          0x107       0x2007      eth7
//   port_channel(3)   0x16000003   16003      0x8003      0x8003      port-channel3
//   svi(20)           0x09000014   20020      none        0xa014      Vlan20
//
// A VLAN is known to the VLAN service when it was given: vlan(20) has bridge domain 520, flood
// index 0x4014 and is its own primary VLAN.
#pragma once

#include "platform.h"
#include "service_text.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace scripted
{

constexpr std::uint32_t none = 0xFFFFFFFF;        // a pi or lif that is absent
constexpr std::uint32_t unknown = 0x40040004;     // the world's code for what it does not know
constexpr std::uint32_t routed_port_mode = 0x200; // what the port-mode list says of a routed port

struct facts {
    std::uint32_t if_index = 0;
    std::uint32_t iod = 0;
    std::uint32_t pi = none;
    std::uint32_t lif = none;
    std::string name;
    mac_address mac{};
    std::uint32_t mtu = 1500;
    std::uint32_t encap = 1;
    std::uint32_t linkup = 1, protoup = 1, ethernet = 1;
    std::uint32_t switchport = 0, switching = 0;
    std::uint32_t is_vlan = 0, null0 = 0, p2p = 0, loopback = 0, mvpn = 0;
    std::uint32_t gre = 0, port_channel = 0, cbus = 0, mgmt = 0, svi = 0;
    std::uint32_t dci_tunnel = 0, dci_overlay = 0, tunnel_6to4 = 0, mpls = 0;
    std::uint32_t vlanid = 0;      // of a VLAN sub-interface or VLAN interface
    std::uint32_t parent = 0;      // if-index that a sub-interface stands on
    std::uint32_t access_vlan = 1; // of a switchport, with its port mode
    std::uint32_t port_mode = 1;
    std::uint32_t list_port_mode = routed_port_mode; // in the port-mode list
    std::uint32_t context = 1;
    std::uint32_t base_table = 0x10001;
    std::uint32_t in_channel = 0; // if-index of the port-channel that a port is in
    std::uint32_t first_member = 0;
    std::vector<std::uint32_t> members; // by hash bucket, in turn
    std::map<std::uint32_t, std::uint32_t> extensions;
    std::map<std::uint32_t, std::vector<std::uint8_t>> private_data;
};

// Tells the world that an identity of some interface has changed.
SCRIPTED_API void identities_changed();

// An interface under construction, or a living one that a test changes.
class interface
{
public:
    using u32 = std::uint32_t;

    interface &if_index(u32 value) { return identity(is.if_index, value); }
    interface &iod(u32 value) { return identity(is.iod, value); }
    interface &pi(u32 value) { return identity(is.pi, value); }
    interface &lif(u32 value) { return identity(is.lif, value); }
    // Changes the type byte of the if-index, and the yes-or-no questions that go with it.
    SCRIPTED_API interface &of_type(std::uint8_t type);

    interface &name(const std::string &value) { return set(is.name, value); }
    interface &mac(const mac_address &value) { return set(is.mac, value); }
    interface &mtu(u32 value) { return set(is.mtu, value); }
    interface &encap(u32 value) { return set(is.encap, value); }
    interface &linkup(u32 value) { return set(is.linkup, value); }
    interface &protoup(u32 value) { return set(is.protoup, value); }
    interface &ethernet(u32 value) { return set(is.ethernet, value); }
    interface &switchport(u32 value) { return set(is.switchport, value); }
    interface &switching(u32 value) { return set(is.switching, value); }
    interface &is_vlan(u32 value) { return set(is.is_vlan, value); }
    interface &null0(u32 value) { return set(is.null0, value); }
    interface &p2p(u32 value) { return set(is.p2p, value); }
    interface &loopback(u32 value) { return set(is.loopback, value); }
    interface &mvpn(u32 value) { return set(is.mvpn, value); }
    interface &gre(u32 value) { return set(is.gre, value); }
    interface &super_802_3ad(u32 value) { return set(is.port_channel, value); }
    interface &cbus(u32 value) { return set(is.cbus, value); }
    interface &mgmt(u32 value) { return set(is.mgmt, value); }
    interface &is_svi(u32 value) { return set(is.svi, value); }
    interface &dci_tunnel(u32 value) { return set(is.dci_tunnel, value); }
    interface &dci_overlay(u32 value) { return set(is.dci_overlay, value); }
    interface &tunnel_6to4(u32 value) { return set(is.tunnel_6to4, value); }
    interface &mpls(u32 value) { return set(is.mpls, value); }
    interface &vlanid(u32 value) { return set(is.vlanid, value); }
    interface &parent(u32 value) { return set(is.parent, value); }
    // A VLAN sub-interface of `parent`.
    interface &sub_interface(u32 parent_if_index, u32 vlan)
    {
        return is_vlan(1).vlanid(vlan).parent(parent_if_index);
    }
    // A switchport that forwards, with its access VLAN and port mode.
    interface &access(u32 vlan, u32 mode = 1)
    {
        return switchport(1).switching(1).access_vlan(vlan).port_mode(mode);
    }
    interface &access_vlan(u32 value) { return set(is.access_vlan, value); }
    interface &port_mode(u32 value) { return set(is.port_mode, value); }
    interface &list_port_mode(u32 value) { return set(is.list_port_mode, value); }
    interface &context(u32 value) { return set(is.context, value); }
    interface &base_table(u32 value) { return set(is.base_table, value); }
    interface &in_channel(u32 pc_if_index) { return set(is.in_channel, pc_if_index); }
    interface &first_member(u32 value) { return set(is.first_member, value); }
    // The members by hash bucket, in turn; the first one is the first operational member.
    interface &members(const std::vector<u32> &value)
    {
        return set(is.members, value).first_member(value.empty() ? 0 : value.front());
    }
    interface &extension(u32 key, u32 value) { return set(is.extensions[key], value); }
    interface &private_data(u32 key, const std::vector<std::uint8_t> &bytes)
    {
        return set(is.private_data[key], bytes);
    }

    facts is;

private:
    interface &identity(u32 &field, u32 value)
    {
        identities_changed();
        return set(field, value);
    }
    template <typename Field>
    interface &set(Field &field, const Field &value)
    {
        field = value;
        return *this;
    }
};

SCRIPTED_API interface port(std::uint32_t n);
SCRIPTED_API interface port_channel(std::uint32_t n);
SCRIPTED_API interface svi(std::uint32_t vlan_id);

// A VLAN as the VLAN service and the port-index service know it.
struct vlan {
    explicit vlan(std::uint32_t number)
        : id(number), bridge_domain(static_cast<std::uint16_t>(500 + number)),
          flood(0x4000 + number), primary_vlan(number)
    {
    }
    vlan &bd(std::uint16_t value) { return bridge_domain = value, *this; }
    vlan &flood_index(std::uint32_t value) { return flood = value, *this; }
    vlan &primary(std::uint32_t value) { return primary_vlan = value, *this; }

    std::uint32_t id;
    std::uint16_t bridge_domain;
    std::uint32_t flood;
    std::uint32_t primary_vlan;
};

// Puts an interface or a VLAN into the world; one with the same if-index or VLAN id is replaced.
SCRIPTED_API void put(const interface &added);
SCRIPTED_API void put(const vlan &added);
template <typename... Things>
void given(const Things &...things)
{
    (put(things), ...);
}

// The living interface with this iod, to be changed: the(7).linkup(0). It must exist. The reference
// is good until the next given, gone or reset.
SCRIPTED_API interface &the(std::uint32_t iod);
// Takes the interface with this iod, or the VLAN, out of the world.
SCRIPTED_API void gone(std::uint32_t iod);
SCRIPTED_API void gone(const vlan &removed);

// ---- for the services ----

SCRIPTED_API const facts *by_iod(std::uint32_t iod);
SCRIPTED_API const facts *by_if_index(std::uint32_t if_index);
SCRIPTED_API const facts *by_pi(std::uint32_t pi);
SCRIPTED_API const facts *by_lif(std::uint32_t lif);
SCRIPTED_API const vlan *by_vlan(std::uint32_t id);
SCRIPTED_API const vlan *by_bridge_domain(std::uint16_t bd);

SCRIPTED_API void reset_world();

} // namespace scripted
