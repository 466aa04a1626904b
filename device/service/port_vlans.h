// SPDX-License-Identifier: Apache-2.0
//
// port_vlans.h: the VLANs of the ports of all bridges, asked of the kernel and read into facts.
//
// They come in messages of a family of their own (AF_BRIDGE), which the kernel gives for all ports
// at once and not for one.
#ifndef VARN_DEVICE_PORT_VLANS_H
#define VARN_DEVICE_PORT_VLANS_H

#include <netlink/msg.h>
#include <netlink/socket.h>

#include "device_model.h"

namespace device
{

// False when the message does not say which VLANs a port carries. Pure: asks no one.
bool read_port_vlans(nl_msg *message, u32 &key, port_vlans &vlans);

// Gives 0 and the ports that carry VLANs, by their keys, or a negative number of libnl's.
int ask_port_vlans(nl_sock *socket, std::map<u32, port_vlans> &ports);

} // namespace device

#endif
