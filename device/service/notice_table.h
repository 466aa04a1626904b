// SPDX-License-Identifier: Apache-2.0
//
// notice_table.h: which change of an interface sends which notice. One table for all, so that it
// can be read, printed and tested row by row.
#ifndef VARN_DEVICE_NOTICE_TABLE_H
#define VARN_DEVICE_NOTICE_TABLE_H

#include <bitset>
#include <span>

#include "attributes.h"
#include "notice.h"

namespace device
{

// Whose change a row is about. A row that names several is about each of them.
enum roles : u8 {
    physical = 1, // a physical port
    bundle = 2,   // a port-channel
    other = 4,
    switched = 8, // a switchport, after the change
    routed = 16,
    any = 31
};

struct notice_row {
    attribute changed;
    u8 of; // roles: one of the first three and one of the last two must match
    wire::notice_kind sends;
};

std::span<const notice_row> notice_table();

using kind_set = std::bitset<wire::num_notice_kinds>;

// The kinds that a change sends. `role` has one of the first three and one of the last two bits.
kind_set notices_of(const attribute_set &changed, u8 role);

} // namespace device

#endif
