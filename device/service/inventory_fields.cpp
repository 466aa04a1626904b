// SPDX-License-Identifier: Apache-2.0
//
// inventory_fields.cpp: the tables, one row a field.
#include "inventory_fields.h"

#include "device/runtime/if_index_types.h"
#include "if_index.h"

namespace device
{
namespace
{

field_value value_of(u64 number) { return {number, {}}; }
field_value value_of(const std::string &text) { return {0, text}; }

template <typename number>
void put(number &to, const field_value &value)
{
    to = static_cast<number>(value.number);
}

void put(std::string &to, const field_value &value) { to = value.text; }

template <typename record, auto member>
field_value get(const record &from)
{
    return value_of(from.*member);
}

template <typename record, auto member>
void set(record &to, const field_value &value)
{
    put(to.*member, value);
}

// A type is chosen by its place in the table and kept by its number.
field_value place_of_type(const told_interface &from)
{
    return {static_cast<u64>(&type_of(from.type) - interface_types().data()), {}};
}

void set_type(told_interface &to, const field_value &value)
{
    to.type = interface_types()[value.number].number;
}

template <typename record, auto member>
field<record> row(field_form as)
{
    return {std::move(as), get<record, member>, set<record, member>};
}

template <auto member>
field<told_interface> any(field_form as)
{
    field<told_interface> made = row<told_interface, member>(std::move(as));
    made.types = all_types();
    return made;
}

// What follows from the type until it is told.
template <auto member>
field<told_interface> typed(field_form as)
{
    field<told_interface> made = any<member>(std::move(as));
    made.follows_type = true;
    return made;
}

template <auto member>
field<told_interface> of(type_set types, field_form as)
{
    field<told_interface> made = row<told_interface, member>(std::move(as));
    made.types = types;
    return made;
}

template <typename record>
field<record> counting(field<record> made)
{
    made.counts_up = true;
    return made;
}

template <typename record>
field<record> required(field<record> made)
{
    made.required = true;
    return made;
}

constexpr u64 u32_max = 0xFFFFFFFF;
constexpr u64 mac_max = 0xFFFFFFFFFFFF;

const std::vector<std::string> &no_words()
{
    static const std::vector<std::string> none;
    return none;
}

std::vector<std::string> states() { return {"down", "up"}; }

type_set switchports() { return only({IF_INDEX_TYPE_PHYSICAL, IF_INDEX_TYPE_PC}); }

type_set with_vlans()
{
    return switchports() | only({IF_INDEX_TYPE_SVI, IF_INDEX_TYPE_VLAN_SUBIF});
}

type_set with_ordinals() { return all_types() & ~only({IF_INDEX_TYPE_SVI}); }

// clang-format off
std::vector<field<told_interface>> make_interface_fields()
{
    using told = told_interface;
    const std::vector<std::string> &none = no_words();
    return {
        required(any<&told::name>({"name", form::name, none, 1, 63,
            "What it is called; no two interfaces have one name. In a range {} stands for the number."})),
        {.as = {"type", form::choice, type_names(), 0, 0,
            "What it is; decides which other fields it has and what they are until told."},
         .get = place_of_type, .set = set_type, .types = all_types(), .required = true},
        counting(of<&told::ordinal>(with_ordinals(), {"ordinal", form::number, none, 1, 32767,
            "Its number among the interfaces of its type; chosen where not told. Counts up in a range."})),
        any<&told::link>({"link", form::choice, states(), 0, 1,
            "Whether the physical link is there. Default: up."}),
        any<&told::protocol>({"protocol", form::choice, states(), 0, 1,
            "Whether it is operational; without link it is down all the same. Default: up."}),
        typed<&told::mtu>({"mtu", form::number, none, 1, 65535,
            "The largest packet in bytes. Default: by type."}),
        counting(any<&told::mac>({"mac", form::mac, none, 0, mac_max,
            "Its MAC address. Counts up in a range. Default: 00:00:00:00:00:00."})),
        typed<&told::encap>({"encap", form::number, none, 0, 65535,
            "Its encapsulation: 1 Ethernet, 2 loopback, 3 PPP, 4 GRE, 5 6to4, 6 other tunnel, 7 InfiniBand, "
            "8 none. Default: by type."}),
        typed<&told::ethernet>({"ethernet", form::flag, none, 0, 1,
            "Whether frames on it are Ethernet's. Default: by type."}),
        typed<&told::p2p>({"p2p", form::flag, none, 0, 1,
            "Whether it leads to one neighbour only. Default: by type."}),
        typed<&told::loopback>({"loopback", form::flag, none, 0, 1,
            "Whether what is sent on it comes back. Default: by type."}),
        of<&told::mode>(switchports(), {"mode", form::choice, {"routed", "access", "trunk"}, 0, 2,
            "routed, or a switchport in one VLAN (access) or in several (trunk). Default: routed."}),
        of<&told::forwarding>(switchports(), {"forwarding", form::flag, none, 0, 1,
            "Whether a switchport lets frames pass. Default: yes."}),
        of<&told::vlan>(with_vlans(), {"vlan", form::number_or_none, none, 1, IF_INDEX_VLAN_MAX,
            "The VLAN of an SVI or a subinterface, which must have one, or of what comes in untagged "
            "on a switchport. Default: none."}),
        any<&told::vrf>({"vrf", form::name_or_none, none, 1, 63,
            "The VRF that it is in. Default: none, the default context."}),
        of<&told::member_of>(only({IF_INDEX_TYPE_PHYSICAL}), {"member_of", form::name_or_none, none, 1, 63,
            "The port-channel that it is in. Default: none."}),
        of<&told::parent>(only({IF_INDEX_TYPE_VLAN_SUBIF}), {"parent", form::name_or_none, none, 1, 63,
            "What it stands on: a physical or management interface or a port-channel. Default: none."}),
    };
}

std::vector<field<told_vlan>> make_vlan_fields()
{
    using told = told_vlan;
    const std::vector<std::string> &none = no_words();
    return {
        row<told, &told::id>({"id", form::number, none, 1, IF_INDEX_VLAN_MAX,
            "The VLAN; a range takes its place for several."}),
        row<told, &told::primary>({"primary", form::number, none, 1, IF_INDEX_VLAN_MAX,
            "The VLAN that it is a secondary of. Default: itself."}),
        counting(row<told, &told::bd>({"bd", form::number, none, 1, 16383,
            "Its bridge domain; no two VLANs have one. Chosen where not told. Counts up in a range."})),
        counting(row<told, &told::flood_index>({"flood_index", form::number, none, 1, u32_max,
            "Where its floods go; no two VLANs have one. Chosen where not told. Counts up in a range."})),
    };
}

std::vector<field<told_vrf>> make_vrf_fields()
{
    using told = told_vrf;
    const std::vector<std::string> &none = no_words();
    return {
        required(row<told, &told::name>({"name", form::name, none, 1, 63,
            "What it is called; no two VRFs have one name."})),
        required(row<told, &told::context>({"context", form::number, none, 2, u32_max,
            "Its routing context; no two VRFs have one, and 1 is the default context."})),
        required(row<told, &told::table>({"table", form::number, none, 1, u32_max,
            "Its unicast table."})),
    };
}

std::vector<field<told_private>> make_private_fields()
{
    using told = told_private;
    const std::vector<std::string> &none = no_words();
    return {
        required(row<told, &told::key>({"key", form::number, none, 0, u32_max, "Whose data it is."})),
        row<told, &told::extension>({"extension", form::number, none, 0, u32_max,
            "The extension value. Default: 0, not set."}),
        row<told, &told::block>({"block", form::bytes, none, 0, 4096,
            "A block of bytes, two hexadecimal digits each. Default: none."}),
    };
}
// clang-format on

} // namespace

bool told_interface::owns_vlan() const
{
    return type == IF_INDEX_TYPE_SVI || type == IF_INDEX_TYPE_VLAN_SUBIF;
}

told_interface default_interface(u8 type)
{
    const interface_type &usual = type_of(type);
    told_interface made;
    made.type = type;
    made.mtu = usual.mtu;
    made.encap = usual.encap;
    made.ethernet = usual.ethernet;
    made.p2p = usual.p2p;
    made.loopback = usual.loopback;
    return made;
}

std::span<const field<told_interface>> interface_fields()
{
    static const auto fields = make_interface_fields();
    return fields;
}

std::span<const field<told_vlan>> vlan_fields()
{
    static const auto fields = make_vlan_fields();
    return fields;
}

std::span<const field<told_vrf>> vrf_fields()
{
    static const auto fields = make_vrf_fields();
    return fields;
}

std::span<const field<told_private>> private_fields()
{
    static const auto fields = make_private_fields();
    return fields;
}

} // namespace device
