// SPDX-License-Identifier: Apache-2.0
//
// interface_types.h: the types of interfaces by the names that an inventory calls them, and what an
// interface of each type is unless it is told otherwise.
#ifndef VARN_DEVICE_INTERFACE_TYPES_H
#define VARN_DEVICE_INTERFACE_TYPES_H

#include <bitset>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "facts.h"

namespace device
{

struct interface_type {
    const char *name;
    u16 mtu;
    u16 encap; // as link_kinds.h numbers them
    u8 number; // of the if-index
    bool ethernet;
    bool p2p;
    bool loopback;
};

using type_set = std::bitset<256>; // by the types' numbers

std::span<const interface_type> interface_types();
const interface_type *find_type(std::string_view name); // null: there is none
const interface_type &type_of(u8 number);               // must be one of the table
std::vector<std::string> type_names();
type_set all_types();
type_set only(std::initializer_list<u8> numbers);

} // namespace device

#endif
