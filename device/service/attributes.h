// SPDX-License-Identifier: Apache-2.0
//
// attributes.h: what is answered about one interface, apart from its identity, which never changes.
// Everything here is worked out from facts; each member has a bit, so that a difference between two
// records is a set.
#ifndef VARN_DEVICE_ATTRIBUTES_H
#define VARN_DEVICE_ATTRIBUTES_H

#include <bitset>
#include <span>
#include <vector>

#include "facts.h"

namespace device
{

struct attributes {
    std::string name;
    bool linkup = false;
    bool protoup = false;
    bool switchport = false;
    bool switching = false;
    bool ethernet = false;
    bool p2p = false;
    bool loopback = false;
    u16 encap = 0;
    u16 mtu = 0;
    std::array<u8, 6> mac{};
    u32 vlan = 0; // of a VLAN interface, or the access VLAN of a switchport; 0 = none
    u32 port_mode = 0;
    u32 context = 0;
    u32 table = 0;
    u32 parent = 0;       // if-index of what a VLAN link stands on; 0 = none
    u32 port_channel = 0; // if-index of the port-channel that it is in; 0 = none
    u32 first_member = 0; // of a port-channel: if-index; 0 = none is operational
    std::vector<u32> rbh; // of a port-channel: if-index of the member of each hash bucket; empty
                          // when none is operational
};

// In the order of the members above.
enum class attribute : u8 {
    name,
    linkup,
    protoup,
    switchport,
    switching,
    ethernet,
    p2p,
    loopback,
    encap,
    mtu,
    mac,
    vlan,
    port_mode,
    context,
    table,
    parent,
    port_channel,
    first_member,
    rbh,
    extension,         // one was attached or changed; not a member above
    extension_removed, // one was taken away
    count
};

using attribute_set = std::bitset<static_cast<std::size_t>(attribute::count)>;

constexpr std::size_t bit_of(attribute which) { return static_cast<std::size_t>(which); }
const char *name_of(attribute which);

// What differs. The two of extensions never do.
attribute_set difference(const attributes &before, const attributes &after);

} // namespace device

#endif
