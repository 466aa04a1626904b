// SPDX-License-Identifier: Apache-2.0
//
// attributes.cpp: the two tables. A new attribute is one row.
#include "attributes.h"

#include <algorithm>

#include <fmt/format.h>

#include "aggsvc.h"
#include "idxsvc.h"
#include "ifsvc.h"

namespace shell
{
namespace
{

std::string cached_mac(u32 iod) { return mac_text(varn_ifsvc_get_if_mac_addr(iod)); }

std::string direct_mac(u32 iod)
{
    std::uint8_t mac[6] = {};
    ifsvc_get_if_src_mac_addr(iod, mac);
    return mac_text(mac);
}

std::string cached_name(u32 iod) { return varn_ifsvc_get_if_name(iod); }
std::string direct_name(u32 iod) { return ifsvc_get_if_name(iod); }

std::string vlan_text(u32 answer, const vlan_key_t &info, u32 mode)
{
    return answer == 1
               ? fmt::format("vinst {} vlan {} mode 0x{:x}", u32{info.vinst}, u32{info.vlan}, mode)
               : "none";
}

std::string cached_vlan_info(u32 iod)
{
    vlan_key_t info = {};
    u32 mode = 0;
    const u32 answer = varn_ifsvc_get_vlan_info(iod, &info, &mode);
    return vlan_text(answer, info, mode);
}

std::string direct_vlan_info(u32 iod)
{
    vlan_key_t info = {};
    u32 mode = 0;
    const u32 answer = ifsvc_get_vlan_info(iod, &info, &mode);
    return vlan_text(answer, info, mode);
}

std::string cached_if_index(u32 iod)
{
    u32 if_index = 0;
    varn_ifsvc_get_ifindex_frm_iod(iod, &if_index);
    return fmt::format("0x{:08x}", if_index);
}

std::string direct_if_index(u32 iod)
{
    u32 if_index = 0;
    ifsvc_get_ifindex_frm_iod(iod, &if_index);
    return fmt::format("0x{:08x}", if_index);
}

u32 if_index_of(u32 iod)
{
    u32 if_index = 0;
    varn_ifsvc_get_ifindex_frm_iod(iod, &if_index);
    return if_index;
}

// The cache answers that all is well for an interface without a port index, and the service does
// not.
std::string index_text(u32 code, u32 index)
{
    return code == 0 && index != VARN_NO_PI ? fmt::format("{}", index) : "none";
}

std::string cached_pi(u32 iod)
{
    u32 pi = VARN_NO_PI;
    const u32 code = varn_idxsvc_lib_ifidx_to_di(static_cast<std::int32_t>(if_index_of(iod)), &pi);
    return index_text(code, pi);
}

std::string direct_pi(u32 iod)
{
    u32 pi = VARN_NO_PI;
    const u32 code = idxsvc_lib_ifidx_to_di(static_cast<std::int32_t>(if_index_of(iod)), &pi);
    return index_text(code, pi);
}

// The parent of a VLAN interface is asked for as the first member of a port-channel is.
std::string member_text(u32 code, u32 member)
{
    char name[64] = {};
    if (code != 0 || member == 0 || ifsvc_get_ifindex_name(member, name, sizeof name) != 0)
        return "none";
    return name;
}

std::string cached_first_member(u32 iod)
{
    u32 member = 0;
    const u32 code = varn_aggsvc_get_fop(if_index_of(iod), &member);
    return member_text(code, member);
}

std::string direct_first_member(u32 iod)
{
    aggsvc_pc_info_t info{};
    info.pc_ifindex = if_index_of(iod);
    const u32 code = aggsvc_get_pc_info(&info);
    return member_text(code, info.first_operational_mbr);
}

u32 cached_extension(u32 iod) { return varn_ifsvc_get_extension(iod, own_uuid); }
u32 direct_extension(u32 iod) { return ifsvc_get_extension(iod, own_uuid); }

u32 direct_iod_svi(u32 iod)
{
    u32 if_index = 0;
    return ifsvc_get_ifindex_frm_iod(iod, &if_index) == 0 && ifsvc_is_ifindex_svi(if_index);
}

// An attribute whose answer is a text, or takes more than one step to get.
struct textual {
    std::string_view name;
    unsigned bit;
    std::string (*cached)(u32 iod);
    std::string (*direct)(u32 iod);
};

// clang-format off
constexpr scalar scalar_table[] = {
    { "linkup",      varn_ifsvc_is_linkup,        ifsvc_is_linkup,         VARN_BIT_LINKUP },
    { "protoup",     varn_ifsvc_is_protoup,       ifsvc_is_protoup,        VARN_BIT_PROTOUP },
    { "switchport",  varn_ifsvc_is_switchport,    ifsvc_is_switchport,     VARN_BIT_SWITCHPORT },
    { "switching",   varn_ifsvc_is_switching_enabled_on_iod,
                     ifsvc_is_switching_enabled_on_iod, VARN_BIT_SWITCHING },
    { "ethernet",    varn_ifsvc_is_ethernet,      ifsvc_is_ethernet,       VARN_BIT_ETHERNET },
    { "is_vlan",     varn_ifsvc_is_vlan,          ifsvc_is_vlan,           VARN_BIT_IS_VLAN },
    { "null0",       varn_ifsvc_is_null0,         ifsvc_is_null0,          VARN_BIT_NULL },
    { "p2p",         varn_ifsvc_is_native_p2p,    ifsvc_is_native_p2p,     VARN_BIT_P2P },
    { "loopback",    varn_ifsvc_is_loopback,      ifsvc_is_loopback,       VARN_BIT_LOOPBACK },
    { "mvpn_tunnel", varn_ifsvc_is_mvpn_tunnel,   ifsvc_is_mvpn_tunnel,    VARN_BIT_MVPN },
    { "gre_tunnel",  varn_ifsvc_is_gre_tunnel,    ifsvc_is_gre_tunnel,     VARN_BIT_IF_TYPE },
    { "portchannel", varn_ifsvc_is_super_802_3ad, ifsvc_is_super_802_3ad,  VARN_BIT_IF_TYPE },
    { "cbus",        varn_ifsvc_is_cbus,          ifsvc_is_cbus,           VARN_BIT_IF_TYPE },
    { "mgmtether",   varn_ifsvc_is_mgmtether,     ifsvc_is_mgmtether,      VARN_BIT_IF_TYPE },
    { "dci_tunnel",  varn_ifsvc_is_dci_tunnel,    ifsvc_is_dci_tunnel,     no_bit },
    { "dci_overlay", varn_ifsvc_is_dci_overlay,   ifsvc_is_dci_overlay,    no_bit },
    { "6to4_tunnel", varn_ifsvc_is_6to4_tunnel,   ifsvc_is_6to4_tunnel,    no_bit },
    { "mpls_tunnel", varn_ifsvc_is_mpls_tunnel,   ifsvc_is_mpls_tunnel,    no_bit },
    { "iod_svi",     varn_ifsvc_is_iod_svi,       direct_iod_svi,          VARN_BIT_IOD },
    { "mtu",         varn_ifsvc_get_if_mtu,
                     ifsvc_get_if_mtu, VARN_BIT_MTU, form::number },
    { "encap",       varn_ifsvc_get_if_encaptype,
                     ifsvc_get_if_encaptype, VARN_BIT_ENCAP, form::number },
    { "vlanid",      varn_ifsvc_get_if_vlanid,
                     ifsvc_get_if_vlanid, VARN_BIT_VLAN, form::number },
    { "extension",   cached_extension,            direct_extension,        VARN_BIT_EXTN, form::number },
};

constexpr textual textual_table[] = {
    { "mac",       VARN_BIT_MAC,  cached_mac,       direct_mac },
    { "name",      VARN_BIT_NAME, cached_name,      direct_name },
    { "vlan_info", VARN_BIT_VLAN, cached_vlan_info, direct_vlan_info },
    { "ifindex",   VARN_BIT_IOD,  cached_if_index,  direct_if_index },
    { "pi",        VARN_BIT_PI,   cached_pi,        direct_pi },
    { "first_member", VARN_BIT_AGGSVC_IF, cached_first_member, direct_first_member },
};
// clang-format on

std::string text_of(u32 answer, form shown_as)
{
    if (shown_as == form::yes_no)
        return answer != 0 ? "yes" : "no";
    return fmt::format("{}", answer);
}

const textual *find_textual(std::string_view name)
{
    const auto *row = std::ranges::find(textual_table, name, &textual::name);
    return row == std::end(textual_table) ? nullptr : row;
}

} // namespace

const scalar *find_scalar(std::string_view name)
{
    const auto *row = std::ranges::find(scalar_table, name, &scalar::name);
    return row == std::end(scalar_table) ? nullptr : row;
}

bool find_attribute(std::string_view name, unsigned &bit)
{
    if (const scalar *row = find_scalar(name))
        return bit = row->bit, true;
    if (const textual *row = find_textual(name))
        return bit = row->bit, true;
    return false;
}

std::string ask_attribute(std::string_view name, u32 iod, bool direct)
{
    if (const scalar *row = find_scalar(name))
        return text_of((direct ? row->direct : row->cached)(iod), row->shown_as);
    const textual *row = find_textual(name);
    return row == nullptr ? "" : (direct ? row->direct : row->cached)(iod);
}

std::vector<std::string> attribute_names()
{
    std::vector<std::string> names;
    for (const scalar &row : scalar_table)
        names.emplace_back(row.name);
    for (const textual &row : textual_table)
        names.emplace_back(row.name);
    return names;
}

form form_of(std::string_view name)
{
    const scalar *row = find_scalar(name);
    return row == nullptr ? form::text : row->shown_as;
}

std::string mac_text(const std::uint8_t *mac)
{
    return fmt::format("{:02x}{:02x}.{:02x}{:02x}.{:02x}{:02x}", mac[0], mac[1], mac[2], mac[3],
                       mac[4], mac[5]);
}

} // namespace shell
