// SPDX-License-Identifier: Apache-2.0
//
// differences.cpp: the list. A row sees both answers and says whether the cache may answer so when
// the service answers so.
#include "differences.h"

#include <iterator>
#include <vector>

#include "device/runtime/if_index_types.h"
#include "ifsvc.h"
#include "varn.h"

namespace coherence
{
namespace
{

bool is_cached(unsigned bit) { return (varn.config.sync & VARN_MASK(bit)) != 0; }

// Of the if-index that was asked about. The iod may be another's by now.
u8 type_of(const asked &what)
{
    u8 type = 0;
    return if_index_get_type(what.about.if_index, &type) == 0 ? type : u8{0};
}

// ---- Identity

bool iod_zero(const asked &what, const answer &, const answer &cached)
{
    return what.about.iod == 0 && cached == code_and(0, 0);
}

bool lif_not_written(const asked &, const answer &direct, const answer &cached)
{
    return is_cached(VARN_BIT_LIF) && direct.code == 0 && cached == code_and(0, untouched);
}

bool no_port_index(const asked &what, const answer &direct, const answer &cached)
{
    return is_cached(VARN_BIT_PI) && direct.code != 0 && type_of(what) == IF_INDEX_TYPE_SVI &&
           cached == code_and(0, VARN_NO_PI);
}

// ---- VLAN and port mode

bool no_vlan(const asked &, const answer &direct, const answer &cached)
{
    return is_cached(VARN_BIT_VLAN) && direct.code != 1 && cached.code == 1 &&
           cached.values[1] == 0;
}

bool mode_of_vlan_interface(const asked &what, const answer &direct, const answer &cached)
{
    answer without_mode = direct;
    without_mode.values[2] = 0;
    return ifsvc_is_vlan(what.about.iod) != 0 && direct.code == 1 && cached == without_mode;
}

bool mode_of_vlan_entry(const asked &what, const answer &, const answer &cached)
{
    const u8 type = type_of(what);
    return (type == IF_INDEX_TYPE_SVI || type == IF_INDEX_TYPE_VLAN_SUBIF) && cached == number(0);
}

bool two_port_modes(const asked &what, const answer &direct, const answer &cached)
{
    return is_cached(VARN_BIT_IPS) && direct.code == 0 &&
           cached == code_and(0, type_of(what) == IF_INDEX_TYPE_PHYSICAL ? 0x200 : 0);
}

// ---- L2 information

// By output. The identifiers are those of the entry, which has an iod where iods are cached.
constexpr unsigned l2_bits[] = {VARN_BIT_IF_INDEX, VARN_BIT_IOD,        VARN_BIT_LINKUP,
                                VARN_BIT_ENCAP,    VARN_BIT_SWITCHPORT, VARN_BIT_SWITCHING,
                                VARN_BIT_PROTOUP,  VARN_BIT_EXTN};

bool not_all_is_cached(const asked &, const answer &direct, const answer &cached)
{
    if (direct.code != 0 || cached.code != 0 || varn_is_enabled() == 0)
        return false;
    for (u32 n = 0; n < direct.size; ++n)
        if (cached.values[n] != direct.values[n] && is_cached(VARN_BIT_IOD) &&
            is_cached(l2_bits[n]))
            return false;
    return cached.values[0] == direct.values[0];
}

// ---- Port-channels

bool no_member(const asked &, const answer &direct, const answer &cached)
{
    return direct == code_and(0, 0) && cached == code_and(VARN_ERR_NO_MEMBER, untouched);
}

bool member_is_parent(const asked &what, const answer &direct, const answer &cached)
{
    if (direct.code == 0 || type_of(what) != IF_INDEX_TYPE_VLAN_SUBIF)
        return false;
    u32 iod = 0;
    return ifsvc_get_iod_frm_ifindex(what.about.if_index, &iod) == 0 &&
           cached == code_and(0, ifsvc_get_sub_interface_parent(iod));
}

bool one_failure(const asked &, const answer &direct, const answer &cached)
{
    return direct.code != 0 && cached == code_and(1, 0);
}

// ---- VLANs

bool vlan_failure(const asked &, const answer &direct, const answer &cached)
{
    return direct.code != 0 && cached.code == 0;
}

// clang-format off
constexpr difference rows[] = {
    { "varn_ifsvc_get_ifindex_frm_iod", iod_zero,
      "iod 0 is no interface, and its if-index is 0 without anyone being asked" },
    { "varn_lifsvc_query_ifindex_to_lif", lif_not_written,
      "an answer from the cache says that there is a lif and does not write it" },
    { "varn_idxsvc_lib_ifidx_to_di", no_port_index,
      "that an interface has no port index is a success from the cache" },
    { "varn_ifsvc_get_vlan_info", no_vlan,
      "from the cache the result is always 1; VLAN 0 is none, and the port mode then means nothing" },
    { "varn_ifsvc_get_vlan_info", mode_of_vlan_interface,
      "the VLAN of a VLAN interface may have been asked for alone, which leaves its mode at 0" },
    { "entry.port_mode", mode_of_vlan_entry,
      "the same, read off the entry" },
    { "varn_portsvc_gldb_get_ifindex_port_mode", two_port_modes,
      "the cache knows two modes, by the type of the if-index" },
    { "varn_get_if_l2_info_by_pi", not_all_is_cached,
      "what is not cached is read off the entry all the same, where nothing keeps it true" },
    { "varn_aggsvc_get_fop", no_member,
      "that there is no operational member is an error code of the library" },
    { "varn_aggsvc_get_fop", member_is_parent,
      "a VLAN sub-interface keeps its parent where a port-channel keeps its member" },
    { "varn_aggsvc_get_pc_mbr_ifidx_from_rbh", one_failure,
      "every failure is 1" },
    { "varn_vlan_get_bd", vlan_failure,
      "the cache answers 0 also after a failure; the output then means nothing" },
    { "varn_vlan_to_flood_di", vlan_failure,
      "the same" },
    { "varn_pvlan_get_pvlan", vlan_failure,
      "the result is always 0; the output then means nothing" },
};
// clang-format on

bool is_needed[std::size(rows)];

} // namespace

std::span<const difference> differences() { return rows; }

bool is_allowed(const query &of, const asked &what, const answer &direct, const answer &cached)
{
    for (std::size_t n = 0; n < std::size(rows); ++n) {
        if (std::string_view(rows[n].query) != of.name || !rows[n].allows(what, direct, cached))
            continue;
        is_needed[n] = true;
        return true;
    }
    return false;
}

std::string unneeded_differences()
{
    std::string text;
    for (std::size_t n = 0; n < std::size(rows); ++n)
        if (!is_needed[n])
            text.append(rows[n].query).append(": ").append(rows[n].reason).append("\n");
    return text;
}

} // namespace coherence
