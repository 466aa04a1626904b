// SPDX-License-Identifier: Apache-2.0
//
// port_vlans.h: the VLANs of the ports of all bridges, asked of the kernel and read into facts.
//
// They come in messages of a family of their own (AF_BRIDGE), which the kernel gives for all ports
// at once and not for one.
#ifndef VARN_DEVICE_PORT_VLANS_H
#define VARN_DEVICE_PORT_VLANS_H

#include <bitset>
#include <map>

#include <netlink/msg.h>
#include <netlink/socket.h>

#include "device_model.h"

namespace device
{

using vlan_set = std::bitset<4096>; // by VLAN id

struct carried_vlans {
    port_vlans summary;
    vlan_set all;
};

// False when the message does not say which VLANs a port carries. Pure: asks no one.
bool read_port_vlans(nl_msg *message, u32 &key, carried_vlans &vlans);

// Gives 0 and whatever carries VLANs, by its key, or a negative number of libnl's. Beside the ports
// that is each bridge itself, with the VLANs that its machine takes part in.
int ask_port_vlans(nl_sock *socket, std::map<u32, carried_vlans> &ports);

// The VLANs that are there: those that a bridge which filters them or one of its ports carries, and
// those that have an interface of their own.
vlan_set vlans_of_device(const device_model &model, const std::map<u32, carried_vlans> &ports);

} // namespace device

#endif
