// SPDX-License-Identifier: Apache-2.0
//
// notice_table.cpp: the table. A kind that is sent for several reasons at once is sent once.
//
// Three rows look superfluous and are not. A client that is told that the L2 protocol of a port
// went down takes its link for down as well, so `linkup` follows every L2 state. What a client does
// on `vlan` is what makes it forget the VLAN of a port that is no longer a switchport. And an
// extension that was removed is forgotten with its size only by `changed`.
#include "notice_table.h"

namespace device
{
namespace
{

using wire::notice_kind;

// clang-format off
constexpr notice_row table[] = {
    { attribute::linkup,            physical | switched | routed,  notice_kind::physical_state },
    { attribute::linkup,            bundle | switched,             notice_kind::l2_bundle_state },
    { attribute::linkup,            bundle | routed,               notice_kind::l3_bundle_state },
    { attribute::linkup,            other | switched,              notice_kind::l2_state },
    { attribute::linkup,            other | switched,              notice_kind::linkup },
    { attribute::linkup,            other | routed,                notice_kind::l3_state },
    { attribute::protoup,           physical | other | switched,   notice_kind::l2_state },
    { attribute::protoup,           physical | other | switched,   notice_kind::linkup },
    { attribute::protoup,           physical | other | routed,     notice_kind::l3_state },
    { attribute::protoup,           bundle | switched,             notice_kind::l2_bundle_state },
    { attribute::protoup,           bundle | routed,               notice_kind::l3_bundle_state },
    { attribute::mtu,               any,                           notice_kind::l3_parameters },
    { attribute::p2p,               any,                           notice_kind::l3_parameters },
    { attribute::mac,               any,                           notice_kind::router_mac },
    { attribute::switchport,        any,                           notice_kind::switchport },
    { attribute::vlan,              any,                           notice_kind::vlan },
    { attribute::first_member,      bundle | switched | routed,    notice_kind::first_member },
    { attribute::rbh,               bundle | switched | routed,    notice_kind::members },
    { attribute::extension,         any,                           notice_kind::changed },
    { attribute::extension_removed, any,                           notice_kind::extension_removed },
    { attribute::extension_removed, any,                           notice_kind::changed },
    { attribute::name,              any,                           notice_kind::changed },
    { attribute::switching,         any,                           notice_kind::changed },
    { attribute::ethernet,          any,                           notice_kind::changed },
    { attribute::loopback,          any,                           notice_kind::changed },
    { attribute::encap,             any,                           notice_kind::changed },
    { attribute::port_mode,         any,                           notice_kind::changed },
    { attribute::context,           any,                           notice_kind::changed },
    { attribute::table,             any,                           notice_kind::changed },
    { attribute::parent,            any,                           notice_kind::changed },
    { attribute::port_channel,      any,                           notice_kind::members },
};
// clang-format on

constexpr u8 what = physical | bundle | other;
constexpr u8 layer = switched | routed;

bool is_about(const notice_row &row, u8 role)
{
    const u8 common = row.of & role;
    return (common & what) != 0 && (common & layer) != 0;
}

} // namespace

std::span<const notice_row> notice_table() { return table; }

kind_set notices_of(const attribute_set &changed, u8 role)
{
    kind_set kinds;
    for (const notice_row &row : table)
        if (changed[bit_of(row.changed)] && is_about(row, role))
            kinds.set(static_cast<std::size_t>(row.sends));
    return kinds;
}

} // namespace device
