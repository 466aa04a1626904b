// SPDX-License-Identifier: Apache-2.0
//
// link_facts.h: reads one rtnetlink message about a link into plain facts. Pure: asks no one.
#ifndef VARN_DEVICE_LINK_FACTS_H
#define VARN_DEVICE_LINK_FACTS_H

#include <netlink/msg.h>

#include "device_model.h"

namespace device
{

// Whether a message tells of a link in a way that libnl can be given: it reads the data of a kind where there
// are statistics of it, and trips where they stand alone, as no kernel sends them.
bool is_description(nl_msg *message);

// False when the message is not a well-formed description of a link of this namespace.
bool read_link_facts(nl_msg *message, link_facts &facts);

} // namespace device

#endif
