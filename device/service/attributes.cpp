// SPDX-License-Identifier: Apache-2.0
//
// attributes.cpp: one row an attribute. A member of the record that had no row here would change
// without anyone being told, so the rows are counted.
#include "attributes.h"

#include <iterator>

namespace device
{
namespace
{

template <auto member>
bool differs(const attributes &before, const attributes &after)
{
    return before.*member != after.*member;
}

bool never(const attributes &, const attributes &) { return false; }

struct row {
    attribute which;
    const char *name;
    bool (*differs)(const attributes &before, const attributes &after);
};

// clang-format off
constexpr row rows[] = {
    { attribute::name,              "name",              differs<&attributes::name> },
    { attribute::linkup,            "linkup",            differs<&attributes::linkup> },
    { attribute::protoup,           "protoup",           differs<&attributes::protoup> },
    { attribute::switchport,        "switchport",        differs<&attributes::switchport> },
    { attribute::switching,         "switching",         differs<&attributes::switching> },
    { attribute::ethernet,          "ethernet",          differs<&attributes::ethernet> },
    { attribute::p2p,               "p2p",               differs<&attributes::p2p> },
    { attribute::loopback,          "loopback",          differs<&attributes::loopback> },
    { attribute::encap,             "encap",             differs<&attributes::encap> },
    { attribute::mtu,               "mtu",               differs<&attributes::mtu> },
    { attribute::mac,               "mac",               differs<&attributes::mac> },
    { attribute::vlan,              "vlan",              differs<&attributes::vlan> },
    { attribute::port_mode,         "port_mode",         differs<&attributes::port_mode> },
    { attribute::context,           "context",           differs<&attributes::context> },
    { attribute::table,             "table",             differs<&attributes::table> },
    { attribute::parent,            "parent",            differs<&attributes::parent> },
    { attribute::port_channel,      "port_channel",      differs<&attributes::port_channel> },
    { attribute::first_member,      "first_member",      differs<&attributes::first_member> },
    { attribute::rbh,               "rbh",               differs<&attributes::rbh> },
    { attribute::extension,         "extension",         never },
    { attribute::extension_removed, "extension_removed", never },
};
// clang-format on

static_assert(std::size(rows) == static_cast<std::size_t>(attribute::count));

} // namespace

const char *name_of(attribute which)
{
    for (const row &candidate : rows)
        if (candidate.which == which)
            return candidate.name;
    return "";
}

attribute_set difference(const attributes &before, const attributes &after)
{
    attribute_set changed;
    for (const row &candidate : rows)
        changed[bit_of(candidate.which)] = candidate.differs(before, after);
    return changed;
}

} // namespace device
