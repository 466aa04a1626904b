// SPDX-License-Identifier: Apache-2.0
//
// link_kinds.h: how the kernel's words for links become types of interfaces, told once for all.
//
// A link kind is the text that rtnetlink gives in IFLA_INFO_KIND ("veth", "bond"); links of drivers
// have none and are told by their hardware type. A kind that stands in no row is a virtual
// interface without a meaning of its own.
#ifndef VARN_DEVICE_LINK_KINDS_H
#define VARN_DEVICE_LINK_KINDS_H

#include <span>
#include <string_view>

#include "device_model.h"

namespace device
{

struct link_kind {
    std::string_view kind;
    u8 type;
    mastery masters; // what it is to the links that have it as master
};

struct encapsulation {
    unsigned hardware_type; // ARPHRD_*
    u16 encap;              // 0 = not known; the device's own numbering
};

std::span<const link_kind> link_kinds();
std::span<const encapsulation> encapsulations();

// The row of a link. hardware_type decides for links without a kind.
link_kind kind_of_link(std::string_view kind, unsigned hardware_type);

u16 encap_of(unsigned hardware_type);

} // namespace device

#endif
