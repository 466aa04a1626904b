// SPDX-License-Identifier: Apache-2.0
//
// link_kinds.cpp: the two tables. A new link kind is one row; nothing else in the service knows
// kinds by name, but for what needs more than the kind (a VLAN link over a bridge is an SVI).
#include "link_kinds.h"

#include <algorithm>

#include <linux/if_arp.h>

#include "device/runtime/if_index_types.h"
#include "if_index.h"

namespace device
{
namespace
{

// clang-format off
constexpr link_kind kinds[] = {
    { "veth",      IF_INDEX_TYPE_PHYSICAL,    mastery::none },
    { "dummy",     IF_INDEX_TYPE_PHYSICAL,    mastery::none },
    { "bond",      IF_INDEX_TYPE_PC,          mastery::port_channel },
    { "team",      IF_INDEX_TYPE_PC,          mastery::port_channel },
    { "bridge",    IF_INDEX_TYPE_VIRTUAL,     mastery::bridge },
    { "vrf",       IF_INDEX_TYPE_VIRTUAL,     mastery::vrf },
    { "vlan",      IF_INDEX_TYPE_VLAN_SUBIF,  mastery::none },
    { "gre",       IF_INDEX_TYPE_GRE,         mastery::none },
    { "gretap",    IF_INDEX_TYPE_GRE,         mastery::none },
    { "ip6gre",    IF_INDEX_TYPE_GRE,         mastery::none },
    { "ip6gretap", IF_INDEX_TYPE_GRE,         mastery::none },
    { "sit",       IF_INDEX_TYPE_6TO4,        mastery::none },
};

constexpr encapsulation encaps[] = {
    { ARPHRD_ETHER,      1 },
    { ARPHRD_LOOPBACK,   2 },
    { ARPHRD_PPP,        3 },
    { ARPHRD_IPGRE,      4 },
    { ARPHRD_IP6GRE,     4 },
    { ARPHRD_SIT,        5 },
    { ARPHRD_TUNNEL,     6 },
    { ARPHRD_TUNNEL6,    6 },
    { ARPHRD_INFINIBAND, 7 },
    { ARPHRD_NONE,       8 },
    { ARPHRD_RAWIP,      8 },
};
// clang-format on

constexpr link_kind loopback = {"", IF_INDEX_TYPE_LOOPBACK, mastery::none};
constexpr link_kind physical = {"", IF_INDEX_TYPE_PHYSICAL, mastery::none};
constexpr link_kind other = {"", IF_INDEX_TYPE_VIRTUAL, mastery::none};

} // namespace

std::span<const link_kind> link_kinds() { return kinds; }

std::span<const encapsulation> encapsulations() { return encaps; }

link_kind kind_of_link(std::string_view kind, unsigned hardware_type)
{
    if (kind.empty())
        return hardware_type == ARPHRD_LOOPBACK ? loopback : physical;
    const auto *row = std::ranges::find(kinds, kind, &link_kind::kind);
    return row == std::end(kinds) ? other : *row;
}

u16 encap_of(unsigned hardware_type)
{
    const auto *row = std::ranges::find(encaps, hardware_type, &encapsulation::hardware_type);
    return row == std::end(encaps) ? u16{0} : row->encap;
}

} // namespace device
