// SPDX-License-Identifier: Apache-2.0
//
// The services beside the interface manager (lifs, port indexes, port-channels, VLANs, routing
// contexts, the system manager) and what is read off without asking anyone (if-index types, bits).
#include "service.h"
#include "world.h"

namespace scripted
{

namespace
{

using u32 = std::uint32_t;

// Writes one fact of what was found; an interface without it is as unknown as no interface.
u32 write_fact(const facts *known, u32 facts::*which, u32 *output)
{
    if (known == nullptr || known->*which == none)
        return unknown;
    *output = known->*which;
    return 0;
}

u32 if_index_to_lif(std::int32_t if_index, u32 *lif)
{
    return write_fact(by_if_index(static_cast<u32>(if_index)), &facts::lif, lif);
}
u32 lif_to_if_index(std::int32_t lif, u32 *if_index)
{
    return write_fact(by_lif(static_cast<u32>(lif)), &facts::if_index, if_index);
}
u32 if_index_to_di(std::int32_t if_index, u32 *di)
{
    return write_fact(by_if_index(static_cast<u32>(if_index)), &facts::pi, di);
}
u32 si_to_if_index(std::int32_t si, u32 *if_index)
{
    return write_fact(by_pi(static_cast<u32>(si)), &facts::if_index, if_index);
}

u32 bd_to_di(std::uint16_t bd, u32 *di)
{
    const vlan *known = by_bridge_domain(bd);
    if (known == nullptr)
        return unknown;
    *di = known->flood;
    return 0;
}

u32 first_member_of(aggsvc_pc_info_t *info)
{
    const facts *known = by_if_index(info->pc_ifindex);
    if (known == nullptr || known->port_channel == 0)
        return unknown;
    info->first_operational_mbr = known->first_member;
    return 0;
}

u32 channel_of(u32 port_if_index, aggsvc_pc_for_port_t *membership)
{
    const facts *known = by_if_index(port_if_index);
    if (known == nullptr)
        return unknown;
    membership->pc_ifindex = known->in_channel;
    return 0;
}

u32 member_of_bucket(u32 pc_if_index, u32 rbh, u32 *member)
{
    const facts *known = by_if_index(pc_if_index);
    if (known == nullptr || known->members.empty() || rbh > 15)
        return unknown;
    *member = known->members[rbh % known->members.size()];
    return 0;
}

u32 bd_of_vlan(vlan_key_t key, std::uint16_t *bd)
{
    const vlan *known = by_vlan(key.vlan);
    if (known == nullptr)
        return unknown;
    *bd = known->bridge_domain;
    return 0;
}

u32 bd_and_primary_of_vlan(vlan_key_t key, std::uint16_t *bd, u32 *primary)
{
    if (const u32 code = bd_of_vlan(key, bd); code != 0)
        return code;
    *primary = by_vlan(key.vlan)->primary_vlan;
    return 0;
}

u32 context_of(u32 iod)
{
    const facts *known = by_iod(iod);
    return known == nullptr ? 0 : known->context;
}

u32 table_of(u32 iod, u32 address_family, const char *name)
{
    const facts *known = by_iod(iod);
    const bool is_base = address_family == 1 && std::strcmp(name, "base") == 0;
    return known == nullptr || !is_base ? 0 : known->base_table;
}

u32 type_of(u32 if_index, std::uint8_t *type)
{
    *type = static_cast<std::uint8_t>(if_index >> 24);
    return 0;
}

u32 vlan_if_index(u32 *if_index, std::uint16_t vlan_id, u32)
{
    *if_index = u32{IF_INDEX_TYPE_SVI} << 24 | vlan_id;
    return 0;
}

u32 bit_of(const bitset_t *set, u32 bit)
{
    return set == nullptr || bit > 63 ? 0 : set->word[bit / 32] >> (bit % 32) & 1u;
}

std::string bit_line(u32 answer, const bitset_t *, u32 bit)
{
    return spell("bitset_is_bit_set(", dec(bit), ") = ", dec(answer));
}

// clang-format off
// One service a function: the address, the name, the letters of arguments and result, the default.
service ask_lif{
    lifsvc_query_ifindex_to_lif, "lifsvc_query_ifindex_to_lif", services, "xX", 'c',
    if_index_to_lif};
service ask_lif_owner{
    lifsvc_query_lif_to_ifindex, "lifsvc_query_lif_to_ifindex", services, "xX", 'c',
    lif_to_if_index};
service ask_di{
    idxsvc_lib_ifidx_to_di, "idxsvc_lib_ifidx_to_di", services, "xX", 'c', if_index_to_di};
service ask_si_owner{
    idxsvc_lib_si_to_ifidx, "idxsvc_lib_si_to_ifidx", services, "xX", 'c', si_to_if_index};
service ask_flood{
    idxsvc_lib_bd_to_di, "idxsvc_lib_bd_to_di", services, "dX", 'c', bd_to_di};
service ask_pc_info{
    aggsvc_get_pc_info, "aggsvc_get_pc_info", services, "r", 'c', first_member_of};
service ask_pc_for_port{
    aggsvc_get_pc_for_port, "aggsvc_get_pc_for_port", services, "xX", 'c', channel_of};
service ask_member{
    aggsvc_get_pc_mbr_ifidx_from_rbh, "aggsvc_get_pc_mbr_ifidx_from_rbh", services, "xdX", 'c',
    member_of_bucket};
service ask_bd{
    vlan_get_bd, "vlan_get_bd", services, "kD", 'c', bd_of_vlan};
service ask_primary{
    vlan_get_bd_and_primary_vlan, "vlan_get_bd_and_primary_vlan", services, "kDD", 'c',
    bd_and_primary_of_vlan};
service ask_context{
    vrfsvc_if_get_context_id, "vrfsvc_if_get_context_id", services, "d", 'x', context_of};
service ask_table{
    vrfsvc_if_get_table_id, "vrfsvc_if_get_table_id", services, "ddt", 'x', table_of};
service ask_vinst{
    supvr_vinst_get, "supvr_vinst_get", services, "", 'd', [] { return std::uint16_t{1}; }};
service ask_type{
    if_index_get_type, "if_index_get_type", types, "xD", 'c', type_of};
service ask_svi_index{
    if_index_vlan_port_init, "if_index_vlan_port_init", types, "Xdd", 'c', vlan_if_index};
service ask_bit{
    bitset_is_bit_set, "bitset_is_bit_set", bit_tests, bit_line, 'd', bit_of};
// clang-format on

} // namespace

} // namespace scripted

using namespace scripted;

std::uint32_t lifsvc_query_ifindex_to_lif(std::int32_t if_index, std::uint32_t *lif)
{
    return ask_lif(if_index, lif);
}
std::uint32_t lifsvc_query_lif_to_ifindex(std::int32_t lif, std::uint32_t *if_index)
{
    return ask_lif_owner(lif, if_index);
}
std::uint32_t idxsvc_lib_ifidx_to_di(std::int32_t if_index, std::uint32_t *di)
{
    return ask_di(if_index, di);
}
std::uint32_t idxsvc_lib_si_to_ifidx(std::int32_t si, std::uint32_t *if_index)
{
    return ask_si_owner(si, if_index);
}
std::uint32_t idxsvc_lib_bd_to_di(std::uint16_t bd, std::uint32_t *di) { return ask_flood(bd, di); }
std::uint32_t aggsvc_get_pc_info(aggsvc_pc_info_t *info) { return ask_pc_info(info); }
std::uint32_t aggsvc_get_pc_for_port(std::uint32_t port_ifindex, aggsvc_pc_for_port_t *membership)
{
    return ask_pc_for_port(port_ifindex, membership);
}
std::uint32_t aggsvc_get_pc_mbr_ifidx_from_rbh(std::uint32_t pc_ifindex, std::uint32_t rbh,
                                               std::uint32_t *mbr_ifindex)
{
    return ask_member(pc_ifindex, rbh, mbr_ifindex);
}
std::uint32_t vlan_get_bd(vlan_key_t key, std::uint16_t *bd) { return ask_bd(key, bd); }
std::uint32_t vlan_get_bd_and_primary_vlan(vlan_key_t key, std::uint16_t *bd,
                                           std::uint32_t *primary_vlan)
{
    return ask_primary(key, bd, primary_vlan);
}
std::uint32_t vrfsvc_if_get_context_id(std::uint32_t iod) { return ask_context(iod); }
std::uint32_t vrfsvc_if_get_table_id(std::uint32_t iod, std::uint32_t address_family,
                                     const char *name)
{
    return ask_table(iod, address_family, name);
}
std::uint16_t supvr_vinst_get(void) { return ask_vinst(); }
std::uint32_t if_index_get_type(std::uint32_t if_index, std::uint8_t *type)
{
    return ask_type(if_index, type);
}
std::uint32_t if_index_vlan_port_init(std::uint32_t *if_index, std::uint16_t vlan_id,
                                      std::uint32_t arg)
{
    return ask_svi_index(if_index, vlan_id, arg);
}
std::uint32_t bitset_is_bit_set(const bitset_t *set, std::uint32_t bit)
{
    return ask_bit(set, bit);
}
