// SPDX-License-Identifier: Apache-2.0
//
// device_model.h: the state of the device, apart from where it comes from and from who asks for it.
//
// A source describes each interface in link_facts, under a key of its own that means nothing to
// anyone else. The model gives every new interface its identity (iod, if-index, lif, port index),
// which stays with it until it is removed and is never handed on: if-index ordinals are not used
// twice, and iods go round their whole range before one comes back. What depends on another
// interface (master, parent) is worked out when it is asked for, so that the order in which a
// source reports does not matter.
#ifndef VARN_DEVICE_MODEL_H
#define VARN_DEVICE_MODEL_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace device
{

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;

inline constexpr u32 max_iod = 32767;
inline constexpr u32 default_context = 1;
inline constexpr u32 main_table = 254;
inline constexpr u32 family_ipv4 = 1;
inline constexpr u32 routed_port = 0x200;   // port modes, as the contract numbers them
inline constexpr u32 access_port = 0x1;     // a switchport in one VLAN, untagged
inline constexpr u32 trunk_port = 0x2;      // a switchport in several VLANs, or in a tagged one
inline constexpr u32 no_index = 0xFFFFFFFF; // no lif, no port index

// What an interface is to those that have it as master.
enum class mastery : u8 { none, port_channel, bridge, vrf };

// One interface as its source tells it.
struct link_facts {
    u32 key = 0; // the source's own; 0 = none
    std::string name;
    std::string kind; // the source's word for what it is; only compared, never interpreted
    u8 type = 0;      // type of the if-index
    mastery masters = mastery::none;
    bool admin_up = false;
    bool link = false;          // the physical link is there
    bool protoup = false;       // administratively up and operational
    bool forwards = false;      // as a bridge port: frames pass
    bool filters_vlans = false; // as a bridge: its ports are in VLANs
    bool loopback = false;
    bool p2p = false;
    bool ethernet = false;
    u16 encap = 0; // see link_kinds.h; 0 = not known
    u16 mtu = 0;
    u16 vlan = 0; // of a VLAN link; 0 = none
    std::array<u8, 6> mac{};
    u32 master_key = 0; // 0 = in nothing
    u32 parent_key = 0; // of a VLAN link: what it stands on
    u32 table = 0;      // of a VRF master: its table

    bool operator==(const link_facts &) const = default;
};

// What the owner of a key attached to an interface.
struct attachment {
    u32 extension = 0; // 0 = not set
    std::vector<u8> block;
};

// The VLANs of a port of a bridge.
struct port_vlans {
    u16 pvid = 0;       // of what comes in untagged; 0 = none
    bool trunk = false; // it carries several VLANs, or a tagged one

    bool operator==(const port_vlans &) const = default;
};

struct interface : link_facts {
    u32 iod = 0;
    u32 if_index = 0;
    u32 lif = no_index;
    u32 port_index = no_index;
    port_vlans vlans;                      // mean nothing unless its bridge filters VLANs
    std::map<u32, attachment> attachments; // by key

    bool is_vlan() const;
};

class device_model
{
public:
    // Makes the interface known under facts.key, or brings it up to date. False when it could not
    // be given an identity: no iod or ordinal is left, or its VLAN's if-index is taken.
    bool put(const link_facts &facts);
    void remove(u32 key);

    // The VLANs of all ports, by key; a port that is not in it is in none.
    void set_port_vlans(const std::map<u32, port_vlans> &ports);

    const std::map<u32, interface> &interfaces() const { return by_iod_; }
    interface *find_iod(u32 iod);
    const interface *find_iod(u32 iod) const;
    const interface *find_if_index(u32 if_index) const;
    const interface *find_lif(u32 lif) const;
    const interface *find_port_index(u32 port_index) const;
    const interface *find_key(u32 key) const;

    bool is_switchport(const interface &port) const;
    bool is_switching(const interface &port) const;
    u32 access_vlan(const interface &port) const; // 0 = none
    u32 port_mode(const interface &port) const;
    u32 context_id(const interface &member) const;
    u32 table_id(const interface &member) const;
    u32 parent_if_index(const interface &child) const;       // 0 = none
    u32 port_channel_if_index(const interface &port) const;  // 0 = in none
    u32 first_operational_member(const interface &pc) const; // if-index; 0 = none

private:
    using index = std::unordered_map<u32, u32>; // to an iod

    const interface *find(const index &from, u32 key) const;
    const interface *master(const interface &member, mastery role) const;
    bool is_in_vlans(const interface &port) const;
    const interface *routing_master(const interface &member) const;
    u32 next_free_iod();
    u32 make_if_index(const link_facts &facts);
    bool admit(const link_facts &facts);

    std::map<u32, interface> by_iod_;
    index by_key_, by_if_index_, by_lif_, by_port_index_;
    u32 last_iod_ = 0;
    std::array<u32, 256> last_ordinal_{}; // by type
};

} // namespace device

#endif
