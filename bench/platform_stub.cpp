// SPDX-License-Identifier: Apache-2.0
//
// The services' answers. Codes are 0; nothing ever fails. The types, the history, the allocator and
// the hash table are those of the reference device's runtime.
#include "platform_stub.h"

#include <cstring>

#include "aggsvc.h"
#include "idxsvc.h"
#include "if_index.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "supvr.h"
#include "vlansvc.h"
#include "vrfsvc.h"

namespace
{

constexpr uint32_t ordinal_bits = 0xFFFFFF;
constexpr uint32_t routed = 0x200;

uint32_t iod_of(uint32_t if_index) { return if_index & ordinal_bits; }
uint32_t vlan_of(uint32_t iod) { return iod % 4094 + 1; }

uint32_t first_member_of(uint32_t pc_ifindex) { return bench::if_index_of(iod_of(pc_ifindex) - 1); }

uint32_t give(uint32_t *out, uint32_t value)
{
    *out = value;
    return 0;
}

} // namespace

uint32_t bench::if_index_of(uint32_t iod)
{
    const uint32_t type = iod % 8 == 0 ? IF_INDEX_TYPE_PC : IF_INDEX_TYPE_PHYSICAL;
    return type << 24 | iod;
}

uint32_t bench::pc_index_of(uint32_t iod) { return if_index_of(iod < 8 ? 8 : iod - iod % 8); }

uint32_t ifsvc_is_linkup(uint32_t) { return 1; }
uint32_t ifsvc_is_protoup(uint32_t) { return 1; }
uint32_t ifsvc_is_switchport(uint32_t) { return 1; }
uint32_t ifsvc_is_switching_enabled_on_iod(uint32_t) { return 1; }
uint32_t ifsvc_is_ethernet(uint32_t) { return 1; }
uint32_t ifsvc_is_vlan(uint32_t) { return 0; }
uint32_t ifsvc_is_null0(uint32_t) { return 0; }
uint32_t ifsvc_is_native_p2p(uint32_t) { return 0; }
uint32_t ifsvc_is_loopback(uint32_t) { return 0; }
uint32_t ifsvc_is_mvpn_tunnel(uint32_t) { return 0; }
uint32_t ifsvc_is_gre_tunnel(uint32_t) { return 0; }
uint32_t ifsvc_is_super_802_3ad(uint32_t) { return 0; }
uint32_t ifsvc_is_cbus(uint32_t) { return 0; }
uint32_t ifsvc_is_mgmtether(uint32_t) { return 0; }
uint32_t ifsvc_is_dci_tunnel(uint32_t) { return 0; }
uint32_t ifsvc_is_dci_overlay(uint32_t) { return 0; }
uint32_t ifsvc_is_6to4_tunnel(uint32_t) { return 0; }
uint32_t ifsvc_is_mpls_tunnel(uint32_t) { return 0; }
uint32_t ifsvc_is_ifindex_svi(uint32_t) { return 0; }
uint32_t ifsvc_get_if_mtu(uint32_t) { return 1500; }
uint32_t ifsvc_get_if_encaptype(uint32_t) { return 1; }
uint32_t ifsvc_get_if_vlanid(uint32_t iod) { return vlan_of(iod); }
uint32_t ifsvc_get_sub_interface_parent(uint32_t) { return 0; }

uint32_t ifsvc_get_if_src_mac_addr(uint32_t iod, uint8_t *mac)
{
    const uint8_t made[6] = {2, 0, 0, 0, static_cast<uint8_t>(iod >> 8), static_cast<uint8_t>(iod)};
    std::memcpy(mac, made, sizeof made);
    return 1;
}

uint32_t ifsvc_is_if_mac_addr(uint32_t, const uint8_t *) { return 0; }

uint32_t ifsvc_get_vlan_info(uint32_t iod, vlan_key_t *info, uint32_t *port_mode)
{
    *info = {supvr_vinst_get(), vlan_of(iod)};
    *port_mode = 0;
    return 1;
}

uint32_t ifsvc_get_ifindex_frm_iod(uint32_t iod, uint32_t *if_index)
{
    return give(if_index, bench::if_index_of(iod));
}

uint32_t ifsvc_get_iod_frm_ifindex(uint32_t if_index, uint32_t *iod)
{
    return give(iod, iod_of(if_index));
}

uint32_t ifsvc_get_svi_iod_for_vlan(uint16_t, uint32_t vlan) { return vlan; }
const char *ifsvc_get_if_name(uint32_t) { return "port"; }

uint32_t ifsvc_get_ifindex_name(uint32_t, char *buffer, uint32_t size)
{
    std::strncpy(buffer, "port", size);
    return 0;
}

uint32_t ifsvc_get_extension(uint32_t, uint32_t) { return 5; }
uint32_t ifsvc_is_extension_set(uint32_t, uint32_t) { return 1; }

uintptr_t ifsvc_get_private_data(uint32_t, uint32_t, uint32_t *size)
{
    static const uint32_t block = 5;
    *size = sizeof block;
    return reinterpret_cast<uintptr_t>(&block);
}

uint32_t ifsvc_get_ifindex_port_mode_list(ifsvc_port_mode_t *list, uint32_t count)
{
    for (uint32_t each = 0; each < count; ++each)
        list[each].port_mode = routed;
    return 0;
}

uint32_t idxsvc_lib_ifidx_to_di(int32_t if_index, uint32_t *di)
{
    return give(di, iod_of(static_cast<uint32_t>(if_index)));
}

uint32_t idxsvc_lib_si_to_ifidx(int32_t si, uint32_t *if_index)
{
    return give(if_index, bench::if_index_of(static_cast<uint32_t>(si)));
}

uint32_t idxsvc_lib_bd_to_di(uint16_t bd, uint32_t *di) { return give(di, bd); }

uint32_t lifsvc_query_ifindex_to_lif(int32_t if_index, uint32_t *lif)
{
    return give(lif, iod_of(static_cast<uint32_t>(if_index)));
}

uint32_t lifsvc_query_lif_to_ifindex(int32_t lif, uint32_t *if_index)
{
    return give(if_index, bench::if_index_of(static_cast<uint32_t>(lif)));
}

uint32_t aggsvc_get_pc_info(aggsvc_pc_info_t *info)
{
    info->first_operational_mbr = first_member_of(info->pc_ifindex);
    return 0;
}

uint32_t aggsvc_get_pc_for_port(uint32_t, aggsvc_pc_for_port_t *membership)
{
    membership->pc_ifindex = 0;
    return 0;
}

uint32_t aggsvc_get_pc_mbr_ifidx_from_rbh(uint32_t pc_ifindex, uint32_t, uint32_t *member)
{
    return give(member, first_member_of(pc_ifindex));
}

uint32_t vlan_get_bd(vlan_key_t key, uint16_t *bd)
{
    *bd = static_cast<uint16_t>(key.vlan);
    return 0;
}

uint32_t vlan_get_bd_and_primary_vlan(vlan_key_t key, uint16_t *bd, uint32_t *primary_vlan)
{
    *primary_vlan = key.vlan;
    return vlan_get_bd(key, bd);
}

uint32_t vrfsvc_if_get_context_id(uint32_t) { return 1; }
uint32_t vrfsvc_if_get_table_id(uint32_t, uint32_t, const char *) { return 1; }
uint16_t supvr_vinst_get(void) { return 1; }
