// SPDX-License-Identifier: Apache-2.0
//
// The interface manager's client: each platform function is one line over its service.
#include "lent.h"
#include "service.h"
#include "world.h"

namespace scripted
{

namespace
{

// Answers a question about an iod from one fact; 0 for an unknown interface.
auto fact(std::uint32_t facts::*which)
{
    return [which](std::uint32_t iod) {
        const facts *known = by_iod(iod);
        return known == nullptr ? 0 : known->*which;
    };
}

std::uint32_t write_mac(std::uint32_t iod, std::uint8_t *mac)
{
    const facts *known = by_iod(iod);
    if (known == nullptr)
        return unknown;
    write_output(mac, known->mac, 0);
    return 0;
}

std::uint32_t is_mac(std::uint32_t iod, const std::uint8_t *mac)
{
    const facts *known = by_iod(iod);
    return known != nullptr && std::memcmp(known->mac.data(), mac, known->mac.size()) == 0;
}

std::uint32_t write_vlan_info(std::uint32_t iod, vlan_key_t *info, std::uint32_t *port_mode)
{
    const facts *known = by_iod(iod);
    if (known == nullptr || known->switchport == 0)
        return 0;
    *info = {1, known->access_vlan};
    *port_mode = known->port_mode;
    return 1;
}

std::uint32_t write_if_index(std::uint32_t iod, std::uint32_t *if_index)
{
    const facts *known = by_iod(iod);
    if (known == nullptr)
        return unknown;
    *if_index = known->if_index;
    return 0;
}

std::uint32_t write_iod(std::uint32_t if_index, std::uint32_t *iod)
{
    const facts *known = by_if_index(if_index);
    if (known == nullptr)
        return unknown;
    *iod = known->iod;
    return 0;
}

std::uint32_t svi_iod(std::uint16_t, std::uint32_t vlan_id)
{
    const facts *known = by_if_index(std::uint32_t{IF_INDEX_TYPE_SVI} << 24 | vlan_id);
    return known == nullptr ? 0 : known->iod;
}

const char *name_of(std::uint32_t iod)
{
    const facts *known = by_iod(iod);
    return lend(known == nullptr ? spell("(unknown iod ", dec(iod), ")") : known->name);
}

std::uint32_t write_name(std::uint32_t if_index, char *buffer, std::uint32_t size)
{
    const facts *known = by_if_index(if_index);
    write_output(buffer, known == nullptr ? "" : known->name.c_str(), size);
    return known == nullptr ? unknown : 0;
}

std::uint32_t extension_of(std::uint32_t iod, std::uint32_t key)
{
    const facts *known = by_iod(iod);
    return known == nullptr || !known->extensions.contains(key) ? 0 : known->extensions.at(key);
}

std::uint32_t is_extension_set_under(std::uint32_t iod, std::uint32_t key)
{
    return extension_of(iod, key) != 0;
}

std::uintptr_t private_data_of(std::uint32_t iod, std::uint32_t key, std::uint32_t *size)
{
    const facts *known = by_iod(iod);
    *size = 0;
    if (known == nullptr || !known->private_data.contains(key))
        return 0;
    const std::vector<std::uint8_t> &bytes = known->private_data.at(key);
    *size = static_cast<std::uint32_t>(bytes.size());
    return reinterpret_cast<std::uintptr_t>(lend(bytes));
}

std::uint32_t write_port_modes(ifsvc_port_mode_t *list, std::uint32_t count)
{
    for (std::uint32_t at = 0; at < count; ++at) {
        const facts *known = by_if_index(list[at].if_index);
        if (known == nullptr)
            return unknown;
        list[at].port_mode = known->list_port_mode;
    }
    return 0;
}

std::uint32_t is_svi(std::uint32_t if_index)
{
    const facts *known = by_if_index(if_index);
    return known == nullptr ? 0 : known->svi;
}

// clang-format off
// One row a function: the address, the name, the letters of arguments and result, the default.
service ask_is_linkup{
    ifsvc_is_linkup, "ifsvc_is_linkup", services, "d", 'd', fact(&facts::linkup)};
service ask_is_protoup{
    ifsvc_is_protoup, "ifsvc_is_protoup", services, "d", 'd', fact(&facts::protoup)};
service ask_is_switchport{
    ifsvc_is_switchport, "ifsvc_is_switchport", services, "d", 'd', fact(&facts::switchport)};
service ask_is_switching_enabled_on_iod{
    ifsvc_is_switching_enabled_on_iod, "ifsvc_is_switching_enabled_on_iod", services, "d", 'd',
    fact(&facts::switching)};
service ask_is_ethernet{
    ifsvc_is_ethernet, "ifsvc_is_ethernet", services, "d", 'd', fact(&facts::ethernet)};
service ask_is_vlan{
    ifsvc_is_vlan, "ifsvc_is_vlan", services, "d", 'd', fact(&facts::is_vlan)};
service ask_is_null0{
    ifsvc_is_null0, "ifsvc_is_null0", services, "d", 'd', fact(&facts::null0)};
service ask_is_native_p2p{
    ifsvc_is_native_p2p, "ifsvc_is_native_p2p", services, "d", 'd', fact(&facts::p2p)};
service ask_is_loopback{
    ifsvc_is_loopback, "ifsvc_is_loopback", services, "d", 'd', fact(&facts::loopback)};
service ask_is_mvpn_tunnel{
    ifsvc_is_mvpn_tunnel, "ifsvc_is_mvpn_tunnel", services, "d", 'd', fact(&facts::mvpn)};
service ask_is_gre_tunnel{
    ifsvc_is_gre_tunnel, "ifsvc_is_gre_tunnel", services, "d", 'd', fact(&facts::gre)};
service ask_is_super_802_3ad{
    ifsvc_is_super_802_3ad, "ifsvc_is_super_802_3ad", services, "d", 'd',
    fact(&facts::port_channel)};
service ask_is_cbus{
    ifsvc_is_cbus, "ifsvc_is_cbus", services, "d", 'd', fact(&facts::cbus)};
service ask_is_mgmtether{
    ifsvc_is_mgmtether, "ifsvc_is_mgmtether", services, "d", 'd', fact(&facts::mgmt)};
service ask_is_dci_tunnel{
    ifsvc_is_dci_tunnel, "ifsvc_is_dci_tunnel", services, "d", 'd', fact(&facts::dci_tunnel)};
service ask_is_dci_overlay{
    ifsvc_is_dci_overlay, "ifsvc_is_dci_overlay", services, "d", 'd', fact(&facts::dci_overlay)};
service ask_is_6to4_tunnel{
    ifsvc_is_6to4_tunnel, "ifsvc_is_6to4_tunnel", services, "d", 'd', fact(&facts::tunnel_6to4)};
service ask_is_mpls_tunnel{
    ifsvc_is_mpls_tunnel, "ifsvc_is_mpls_tunnel", services, "d", 'd', fact(&facts::mpls)};
service ask_get_if_mtu{
    ifsvc_get_if_mtu, "ifsvc_get_if_mtu", services, "d", 'd', fact(&facts::mtu)};
service ask_get_if_encaptype{
    ifsvc_get_if_encaptype, "ifsvc_get_if_encaptype", services, "d", 'd', fact(&facts::encap)};
service ask_get_if_vlanid{
    ifsvc_get_if_vlanid, "ifsvc_get_if_vlanid", services, "d", 'd', fact(&facts::vlanid)};
service ask_get_sub_interface_parent{
    ifsvc_get_sub_interface_parent, "ifsvc_get_sub_interface_parent", services, "d", 'x',
    fact(&facts::parent)};
service ask_is_ifindex_svi{
    ifsvc_is_ifindex_svi, "ifsvc_is_ifindex_svi", services, "x", 'd', is_svi};
service ask_get_if_src_mac_addr{
    ifsvc_get_if_src_mac_addr, "ifsvc_get_if_src_mac_addr", services, "dM", 'c', write_mac};
service ask_is_if_mac_addr{
    ifsvc_is_if_mac_addr, "ifsvc_is_if_mac_addr", services, "dm", 'd', is_mac};
service ask_get_vlan_info{
    ifsvc_get_vlan_info, "ifsvc_get_vlan_info", services, "dKD", 'o', write_vlan_info};
service ask_get_ifindex_frm_iod{
    ifsvc_get_ifindex_frm_iod, "ifsvc_get_ifindex_frm_iod", services, "dX", 'c', write_if_index};
service ask_get_iod_frm_ifindex{
    ifsvc_get_iod_frm_ifindex, "ifsvc_get_iod_frm_ifindex", services, "xD", 'c', write_iod};
service ask_get_svi_iod_for_vlan{
    ifsvc_get_svi_iod_for_vlan, "ifsvc_get_svi_iod_for_vlan", services, "dd", 'd', svi_iod};
service ask_get_if_name{
    ifsvc_get_if_name, "ifsvc_get_if_name", services, "d", 't', name_of};
service ask_get_ifindex_name{
    ifsvc_get_ifindex_name, "ifsvc_get_ifindex_name", services, "xTd", 'c', write_name};
service ask_get_extension{
    ifsvc_get_extension, "ifsvc_get_extension", services, "dx", 'x', extension_of};
service ask_is_extension_set{
    ifsvc_is_extension_set, "ifsvc_is_extension_set", services, "dx", 'd', is_extension_set_under};
service ask_get_private_data{
    ifsvc_get_private_data, "ifsvc_get_private_data", services, "dxD", 'b', private_data_of};
service ask_get_ifindex_port_mode_list{
    ifsvc_get_ifindex_port_mode_list, "ifsvc_get_ifindex_port_mode_list", services, "rd", 'c',
    write_port_modes};
// clang-format on

} // namespace

} // namespace scripted

using namespace scripted;

std::uint32_t ifsvc_is_linkup(std::uint32_t iod) { return ask_is_linkup(iod); }
std::uint32_t ifsvc_is_protoup(std::uint32_t iod) { return ask_is_protoup(iod); }
std::uint32_t ifsvc_is_switchport(std::uint32_t iod) { return ask_is_switchport(iod); }
std::uint32_t ifsvc_is_switching_enabled_on_iod(std::uint32_t iod)
{
    return ask_is_switching_enabled_on_iod(iod);
}
std::uint32_t ifsvc_is_ethernet(std::uint32_t iod) { return ask_is_ethernet(iod); }
std::uint32_t ifsvc_is_vlan(std::uint32_t iod) { return ask_is_vlan(iod); }
std::uint32_t ifsvc_is_null0(std::uint32_t iod) { return ask_is_null0(iod); }
std::uint32_t ifsvc_is_native_p2p(std::uint32_t iod) { return ask_is_native_p2p(iod); }
std::uint32_t ifsvc_is_loopback(std::uint32_t iod) { return ask_is_loopback(iod); }
std::uint32_t ifsvc_is_mvpn_tunnel(std::uint32_t iod) { return ask_is_mvpn_tunnel(iod); }
std::uint32_t ifsvc_is_gre_tunnel(std::uint32_t iod) { return ask_is_gre_tunnel(iod); }
std::uint32_t ifsvc_is_super_802_3ad(std::uint32_t iod) { return ask_is_super_802_3ad(iod); }
std::uint32_t ifsvc_is_cbus(std::uint32_t iod) { return ask_is_cbus(iod); }
std::uint32_t ifsvc_is_mgmtether(std::uint32_t iod) { return ask_is_mgmtether(iod); }
std::uint32_t ifsvc_is_dci_tunnel(std::uint32_t iod) { return ask_is_dci_tunnel(iod); }
std::uint32_t ifsvc_is_dci_overlay(std::uint32_t iod) { return ask_is_dci_overlay(iod); }
std::uint32_t ifsvc_is_6to4_tunnel(std::uint32_t iod) { return ask_is_6to4_tunnel(iod); }
std::uint32_t ifsvc_is_mpls_tunnel(std::uint32_t iod) { return ask_is_mpls_tunnel(iod); }
std::uint32_t ifsvc_get_if_mtu(std::uint32_t iod) { return ask_get_if_mtu(iod); }
std::uint32_t ifsvc_get_if_encaptype(std::uint32_t iod) { return ask_get_if_encaptype(iod); }
std::uint32_t ifsvc_get_if_vlanid(std::uint32_t iod) { return ask_get_if_vlanid(iod); }
std::uint32_t ifsvc_get_sub_interface_parent(std::uint32_t iod)
{
    return ask_get_sub_interface_parent(iod);
}
std::uint32_t ifsvc_is_ifindex_svi(std::uint32_t if_index) { return ask_is_ifindex_svi(if_index); }
std::uint32_t ifsvc_get_if_src_mac_addr(std::uint32_t iod, std::uint8_t *mac)
{
    return ask_get_if_src_mac_addr(iod, mac);
}
std::uint32_t ifsvc_is_if_mac_addr(std::uint32_t iod, const std::uint8_t *mac)
{
    return ask_is_if_mac_addr(iod, mac);
}
std::uint32_t ifsvc_get_vlan_info(std::uint32_t iod, vlan_key_t *info, std::uint32_t *port_mode)
{
    return ask_get_vlan_info(iod, info, port_mode);
}
std::uint32_t ifsvc_get_ifindex_frm_iod(std::uint32_t iod, std::uint32_t *if_index)
{
    return ask_get_ifindex_frm_iod(iod, if_index);
}
std::uint32_t ifsvc_get_iod_frm_ifindex(std::uint32_t if_index, std::uint32_t *iod)
{
    return ask_get_iod_frm_ifindex(if_index, iod);
}
std::uint32_t ifsvc_get_svi_iod_for_vlan(std::uint16_t vinst, std::uint32_t vlan_id)
{
    return ask_get_svi_iod_for_vlan(vinst, vlan_id);
}
const char *ifsvc_get_if_name(std::uint32_t iod) { return ask_get_if_name(iod); }
std::uint32_t ifsvc_get_ifindex_name(std::uint32_t if_index, char *buffer, std::uint32_t size)
{
    return ask_get_ifindex_name(if_index, buffer, size);
}
std::uint32_t ifsvc_get_extension(std::uint32_t iod, std::uint32_t key)
{
    return ask_get_extension(iod, key);
}
std::uint32_t ifsvc_is_extension_set(std::uint32_t iod, std::uint32_t key)
{
    return ask_is_extension_set(iod, key);
}
std::uintptr_t ifsvc_get_private_data(std::uint32_t iod, std::uint32_t key, std::uint32_t *size)
{
    return ask_get_private_data(iod, key, size);
}
std::uint32_t ifsvc_get_ifindex_port_mode_list(ifsvc_port_mode_t *list, std::uint32_t count)
{
    return ask_get_ifindex_port_mode_list(list, count);
}
