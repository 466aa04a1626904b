// SPDX-License-Identifier: Apache-2.0
//
// port_differences.cpp: where the cache may answer unlike a port, for every port. The numbers are
// those of docs/differences.md. It stands in place of the list that the reference device is held
// to, which knows what that one device can show.
#include "device/coherence/differences.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "if_index.h"
#include "ifsvc.h"
#include "varn.h"

namespace coherence
{
namespace
{

u32 iod_of(const asked &what)
{
    u32 iod = 0;
    return ifsvc_get_iod_frm_ifindex(what.about.if_index, &iod) == 0 ? iod : 0;
}

bool is_vlan_interface(const asked &what) { return ifsvc_is_vlan(iod_of(what)) != 0; }

bool is_physical(const asked &what)
{
    u8 type = 0;
    return if_index_get_type(what.about.if_index, &type) == 0 && type == IF_INDEX_TYPE_PHYSICAL;
}

bool iod_zero(const asked &what, const answer &, const answer &cached) // 1
{
    return what.about.iod == 0 && cached == code_and(0, 0);
}

bool unknown_mac(const asked &what, const answer &, const answer &cached) // 7
{
    u8 mac[6] = {};
    ifsvc_get_if_src_mac_addr(what.about.iod, mac);
    return cached == number(1) && std::count(mac, mac + 6, 0) == 6;
}

bool access_vlan(const asked &what, const answer &direct, const answer &cached) // 8
{
    vlan_key_t info{};
    u32 mode = 0;
    const bool has_one = ifsvc_is_switchport(iod_of(what)) != 0 &&
                         ifsvc_get_vlan_info(iod_of(what), &info, &mode) == 1;
    return has_one && direct == number(0) && cached == number(info.vlan);
}

bool no_vlan(const asked &, const answer &direct, const answer &cached) // 9
{
    return direct.code != 1 && cached.code == 1 && cached.values[1] == 0;
}

// A device need not answer for a VLAN interface.
bool vlan_interface(const asked &what, const answer &direct, const answer &cached) // 9, 10
{
    answer without_mode = direct;
    without_mode.values[2] = 0;
    return is_vlan_interface(what) && cached.code == 1 &&
           (direct.code != 1 || cached == without_mode);
}

bool mode_of_vlan_interface(const asked &what, const answer &, const answer &cached) // 10
{
    return is_vlan_interface(what) && cached == number(0);
}

bool lif_not_written(const asked &, const answer &, const answer &cached) // 17
{
    return cached == code_and(0, untouched);
}

bool no_port_index(const asked &, const answer &direct, const answer &cached) // 18
{
    return direct.code != 0 && cached == code_and(0, VARN_NO_PI);
}

bool two_port_modes(const asked &what, const answer &direct, const answer &cached) // 19
{
    return direct.code == 0 && cached == code_and(0, is_physical(what) ? 0x200 : 0);
}

bool not_all_is_cached(const asked &, const answer &direct, const answer &cached) // 20
{
    return direct.code == 0 && cached.code == 0 && cached.values[0] == direct.values[0] &&
           (varn.config.sync & VARN_MASK(VARN_BIT_PC)) == 0; // see library_contract.cpp
}

bool no_member(const asked &, const answer &direct, const answer &cached) // 21
{
    return direct == code_and(0, 0) && cached == code_and(VARN_ERR_NO_MEMBER, untouched);
}

bool member_is_parent(const asked &what, const answer &, const answer &cached) // 22
{
    return is_vlan_interface(what) &&
           cached == code_and(0, ifsvc_get_sub_interface_parent(iod_of(what)));
}

bool one_failure(const asked &, const answer &direct, const answer &cached) // 23
{
    return direct.code != 0 && cached == code_and(1, 0);
}

bool vlan_failure(const asked &, const answer &direct, const answer &cached) // 24, 25, 26
{
    return direct.code != 0 && cached.code == 0;
}

// clang-format off
constexpr difference rows[] = {
    { "varn_ifsvc_get_ifindex_frm_iod",          iod_zero,               "1" },
    { "varn_ifsvc_is_if_mac_addr",               unknown_mac,            "7" },
    { "varn_ifsvc_get_if_vlanid",                access_vlan,            "8" },
    { "entry.vlan",                              access_vlan,            "8" },
    { "varn_ifsvc_get_vlan_info",                no_vlan,                "9" },
    { "varn_ifsvc_get_vlan_info",                vlan_interface,         "9, 10" },
    { "entry.port_mode",                         mode_of_vlan_interface, "10" },
    { "varn_lifsvc_query_ifindex_to_lif",        lif_not_written,        "17" },
    { "varn_idxsvc_lib_ifidx_to_di",             no_port_index,          "18" },
    { "varn_portsvc_gldb_get_ifindex_port_mode", two_port_modes,         "19" },
    { "varn_get_if_l2_info_by_pi",               not_all_is_cached,      "20" },
    { "varn_aggsvc_get_fop",                     no_member,              "21" },
    { "varn_aggsvc_get_fop",                     member_is_parent,       "22" },
    { "varn_aggsvc_get_pc_mbr_ifidx_from_rbh",   one_failure,            "23" },
    { "varn_vlan_get_bd",                        vlan_failure,           "24" },
    { "varn_vlan_to_flood_di",                   vlan_failure,           "25" },
    { "varn_pvlan_get_pvlan",                    vlan_failure,           "26" },
};
// clang-format on

} // namespace

bool is_allowed(const query &of, const asked &what, const answer &direct, const answer &cached)
{
    return std::any_of(std::begin(rows), std::end(rows), [&](const difference &row) {
        return std::string_view(row.query) == of.name && row.allows(what, direct, cached);
    });
}

} // namespace coherence
