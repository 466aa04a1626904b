// SPDX-License-Identifier: Apache-2.0
//
// The fetches that are more than one number and that the queries and the refresh share. Each asks
// the service and stores the answer; what becomes of the dirty bit is for the caller to say.
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

} // namespace ifcache

#endif
