// SPDX-License-Identifier: Apache-2.0
//
// The questions that are more than one number and that several files ask. Those that store an
// answer leave the dirty bit to the caller.
#ifndef VARN_FETCHES_H
#define VARN_FETCHES_H

#include "attributes.h"

namespace ifcache
{

// A MAC address is known when any of its six bytes is not zero.
bool is_known(const uint8_t (&mac)[6]);

// Stores the interface's MAC address.
void fetch_mac(varn_if_entry_t &entry, u32 iod);

enum class vlan_source { sub_interface, switchport_or_none };

// Stores the VLAN of a VLAN sub-interface, or access VLAN and port mode of a switchport; leaves the
// fields alone for any other interface. Tells where the VLAN came from.
vlan_source fetch_vlan(varn_if_entry_t &entry, u32 iod);

// Asks for the first operational member of a port-channel: 0 with the member, VARN_ERR_NO_MEMBER,
// or the service's code.
u32 ask_first_member(u32 pc_ifindex, u32 &member);

// Asks for the port mode of an interface: the service's code, with the mode as the service left it.
u32 ask_port_mode(u32 if_index, u32 &port_mode);

} // namespace ifcache

#endif
