// SPDX-License-Identifier: Apache-2.0
//
// facts.h: an interface as its source tells it, before anything is worked out from it.
#ifndef VARN_DEVICE_FACTS_H
#define VARN_DEVICE_FACTS_H

#include <array>
#include <cstdint>
#include <string>

namespace device
{

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

// What an interface is to those that have it as master.
enum class mastery : u8 { none, port_channel, bridge, vrf };

// The VLANs of a switchport.
struct port_vlans {
    u16 pvid = 0;       // of what comes in untagged; 0 = none
    bool trunk = false; // it carries several VLANs, or a tagged one

    bool operator==(const port_vlans &) const = default;
};

struct link_facts {
    u32 key = 0; // the source's own; 0 = none
    std::string name;
    std::string kind; // the source's word for what it is; only compared, never interpreted
    u8 type = 0;      // type of the if-index
    u32 ordinal = 0;  // of the if-index, for a source that numbers its interfaces; 0 = counted
    mastery masters = mastery::none;
    bool admin_up = false;
    bool link = false;          // the physical link is there
    bool protoup = false;       // administratively up and operational; means nothing without link
    bool forwards = false;      // as a switchport: frames pass
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

    // From a source that knows no bridges and no VRF masters.
    bool switchport = false; // an L2 port, in the VLANs below
    port_vlans own_vlans;
    u32 own_context = 0; // routing context; 0 = what the masters say
    u32 own_table = 0;   // its table

    bool operator==(const link_facts &) const = default;
};

} // namespace device

#endif
