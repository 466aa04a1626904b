// SPDX-License-Identifier: Apache-2.0
//
// interface_types.cpp: the table of types.
#include "interface_types.h"

#include <algorithm>
#include <iterator>

#include "device/runtime/if_index_types.h"
#include "if_index.h"

namespace device
{
namespace
{

// clang-format off
constexpr interface_type types[] = {
    //                   mtu  encap number                          ethernet p2p    loopback
    { "physical",      1500, 1, IF_INDEX_TYPE_PHYSICAL,         true,    false, false },
    { "mgmt",          1500, 1, IF_INDEX_TYPE_MGMT,             true,    false, false },
    { "cbus",          1500, 1, IF_INDEX_TYPE_CBUS,             true,    false, false },
    { "svi",           1500, 1, IF_INDEX_TYPE_SVI,              true,    false, false },
    { "port-channel",  1500, 1, IF_INDEX_TYPE_PC,               true,    false, false },
    { "gre",           1476, 4, IF_INDEX_TYPE_GRE,              false,   true,  false },
    { "loopback",     65535, 2, IF_INDEX_TYPE_LOOPBACK,         false,   false, true  },
    { "subinterface",  1500, 1, IF_INDEX_TYPE_VLAN_SUBIF,       true,    false, false },
    { "6to4",          1480, 5, IF_INDEX_TYPE_6TO4,             false,   false, false },
    { "null",          1500, 8, IF_INDEX_TYPE_NULL0,            false,   false, false },
    { "other",         1500, 1, IF_INDEX_TYPE_VIRTUAL,          true,    false, false },
    { "mpls-tunnel",   1500, 6, IF_INDEX_TYPE_MPLS_TUNNEL,      false,   true,  false },
    { "mvpn-tunnel",   1476, 6, IF_INDEX_TYPE_MVPN_TUNNEL,      false,   false, false },
    { "dci-tunnel",    1500, 6, IF_INDEX_TYPE_DCI_TUNNEL,       false,   true,  false },
    { "dci-overlay",   1500, 6, IF_INDEX_TYPE_DCI_OVERLAY,      false,   false, false },
};
// clang-format on

} // namespace

std::span<const interface_type> interface_types() { return types; }

const interface_type *find_type(std::string_view name)
{
    const auto *row = std::ranges::find(types, name, &interface_type::name);
    return row == std::end(types) ? nullptr : row;
}

const interface_type &type_of(u8 number)
{
    return *std::ranges::find(types, number, &interface_type::number);
}

std::vector<std::string> type_names()
{
    std::vector<std::string> names;
    for (const interface_type &type : types)
        names.emplace_back(type.name);
    return names;
}

type_set all_types()
{
    type_set all;
    for (const interface_type &type : types)
        all.set(type.number);
    return all;
}

type_set only(std::initializer_list<u8> numbers)
{
    type_set some;
    for (const u8 number : numbers)
        some.set(number);
    return some;
}

} // namespace device
