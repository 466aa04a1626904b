// SPDX-License-Identifier: Apache-2.0
//
// Reading and building if-indexes. Both directions pass one test of (type, ordinal), so that
// whatever is built can be read and nothing else can.
#include "if_index.h"

#include "if_index_types.h"

namespace
{

constexpr unsigned ordinal_bits = 24;
constexpr unsigned vlan_bits = 12;

bool is_known(uint32_t type)
{
    switch (type) {
    case IF_INDEX_TYPE_MGMT:
    case IF_INDEX_TYPE_CBUS:
    case IF_INDEX_TYPE_SVI:
    case IF_INDEX_TYPE_LOOPBACK:
    case IF_INDEX_TYPE_PC:
    case IF_INDEX_TYPE_GRE:
    case IF_INDEX_TYPE_PHYSICAL:
    case IF_INDEX_TYPE_VLAN_SUBIF:
    case IF_INDEX_TYPE_6TO4:
    case IF_INDEX_TYPE_NULL0:
    case IF_INDEX_TYPE_VIRTUAL:
    case IF_INDEX_TYPE_MPLS_TUNNEL:
    case IF_INDEX_TYPE_MVPN_TUNNEL:
    case IF_INDEX_TYPE_DCI_TUNNEL:
    case IF_INDEX_TYPE_DCI_OVERLAY:
        return true;
    default:
        return false;
    }
}

bool is_vlan(uint32_t vlan) { return vlan >= 1 && vlan <= IF_INDEX_VLAN_MAX; }

uint32_t check(uint32_t type, uint32_t ordinal)
{
    if (!is_known(type))
        return IF_INDEX_E_TYPE;
    if (ordinal == 0 || ordinal > IF_INDEX_ORDINAL_MAX)
        return IF_INDEX_E_ORDINAL;
    if (type == IF_INDEX_TYPE_SVI && !is_vlan(ordinal & ((1u << vlan_bits) - 1)))
        return IF_INDEX_E_ORDINAL;
    return 0;
}

} // namespace

uint32_t if_index_get_type(uint32_t if_index, uint8_t *type)
{
    if (type == nullptr)
        return IF_INDEX_E_ARGUMENT;
    const uint32_t error = check(if_index >> ordinal_bits, if_index_ordinal(if_index));
    if (error == 0)
        *type = static_cast<uint8_t>(if_index >> ordinal_bits);
    return error;
}

uint32_t if_index_build(uint8_t type, uint32_t ordinal, uint32_t *if_index)
{
    if (if_index == nullptr)
        return IF_INDEX_E_ARGUMENT;
    const uint32_t error = check(type, ordinal);
    if (error == 0)
        *if_index = uint32_t{type} << ordinal_bits | ordinal;
    return error;
}

uint32_t if_index_vlan_port_init(uint32_t *if_index, uint16_t vlan, uint32_t arg)
{
    if (arg > IF_INDEX_VINST_MAX || !is_vlan(vlan))
        return IF_INDEX_E_ORDINAL;
    return if_index_build(IF_INDEX_TYPE_SVI, arg << vlan_bits | vlan, if_index);
}
