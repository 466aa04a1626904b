// SPDX-License-Identifier: Apache-2.0
//
// services.cpp: the requests. Each finds what it is asked about and reads the answer off it. Two
// shapes cover nearly all: a value, where 0 stands for what is not known, and a code with an output
// that a failure leaves alone. The code is never 1, which is success in ifsvc_get_vlan_info.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "aggsvc.h"
#include "device.h"
#include "idxsvc.h"
#include "if_index.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "supvr.h"
#include "vlansvc.h"
#include "vrfsvc.h"

using namespace minimal;

namespace
{

constexpr u32 good = 0, not_found = 2;

u32 value(u32 of, what which)
{
    const interface *found = find(iod, of);
    return found == nullptr ? 0 : found->values[which];
}

u32 is_type(u32 of, u8 wanted) { return value(of, type) == wanted; }

// Finds by one number and gives another, where there is such.
template <class number>
u32 give(what by, number of, what which, u32 *to)
{
    const interface *found = find(by, static_cast<u32>(of));
    if (found == nullptr || found->values[which] == none)
        return not_found;
    *to = found->values[which];
    return good;
}

const interface *find_port_channel(u32 of)
{
    const interface *found = find(if_index, of);
    return found != nullptr && found->values[type] == IF_INDEX_TYPE_PC ? found : nullptr;
}

data data_under(u32 of, u32 key)
{
    const interface *found = find(iod, of);
    return found != nullptr && found->attached.contains(key) ? found->attached.at(key) : data{};
}

} // namespace

// ---- Values by iod

uint32_t ifsvc_is_linkup(uint32_t of) { return value(of, linkup); }
uint32_t ifsvc_is_protoup(uint32_t of) { return value(of, protoup); }
uint32_t ifsvc_is_switchport(uint32_t of) { return value(of, switchport); }
uint32_t ifsvc_is_switching_enabled_on_iod(uint32_t of) { return value(of, switching); }
uint32_t ifsvc_is_native_p2p(uint32_t of) { return value(of, p2p); }
uint32_t ifsvc_get_if_mtu(uint32_t of) { return value(of, mtu); }
uint32_t ifsvc_get_if_encaptype(uint32_t of) { return value(of, encap); }
uint32_t ifsvc_get_sub_interface_parent(uint32_t of) { return value(of, parent); }
uint32_t vrfsvc_if_get_context_id(uint32_t of) { return value(of, context); }

uint32_t vrfsvc_if_get_table_id(uint32_t of, uint32_t family, const char *name)
{
    return family == 1 && std::strcmp(name, "base") == 0 ? value(of, base_table) : 0;
}

uint32_t ifsvc_is_null0(uint32_t of) { return is_type(of, null0); }
uint32_t ifsvc_is_loopback(uint32_t of) { return is_type(of, loopback); }
uint32_t ifsvc_is_mvpn_tunnel(uint32_t of) { return is_type(of, mvpn); }
uint32_t ifsvc_is_gre_tunnel(uint32_t of) { return is_type(of, IF_INDEX_TYPE_GRE); }
uint32_t ifsvc_is_super_802_3ad(uint32_t of) { return is_type(of, IF_INDEX_TYPE_PC); }
uint32_t ifsvc_is_cbus(uint32_t of) { return is_type(of, IF_INDEX_TYPE_CBUS); }
uint32_t ifsvc_is_mgmtether(uint32_t of) { return is_type(of, IF_INDEX_TYPE_MGMT); }
uint32_t ifsvc_is_dci_tunnel(uint32_t of) { return is_type(of, dci_tunnel); }
uint32_t ifsvc_is_dci_overlay(uint32_t of) { return is_type(of, dci_overlay); }
uint32_t ifsvc_is_6to4_tunnel(uint32_t of) { return is_type(of, six_to_four); }
uint32_t ifsvc_is_mpls_tunnel(uint32_t of) { return is_type(of, mpls); }

uint32_t ifsvc_is_vlan(uint32_t of)
{
    return is_type(of, sub_interface) | is_type(of, IF_INDEX_TYPE_SVI);
}

uint32_t ifsvc_is_ethernet(uint32_t of)
{
    return is_type(of, IF_INDEX_TYPE_PHYSICAL) | is_type(of, IF_INDEX_TYPE_MGMT) |
           is_type(of, IF_INDEX_TYPE_PC) | ifsvc_is_vlan(of);
}

uint32_t ifsvc_get_if_src_mac_addr(uint32_t of, uint8_t *mac)
{
    const interface *found = find(iod, of);
    if (found == nullptr)
        return not_found;
    std::ranges::copy(found->mac, mac);
    return good;
}

uint32_t ifsvc_is_if_mac_addr(uint32_t of, const uint8_t *mac)
{
    const interface *found = find(iod, of);
    return found != nullptr && std::equal(found->mac.begin(), found->mac.end(), mac);
}

static bool has_vlan(u32 of) { return ifsvc_is_switchport(of) != 0 || ifsvc_is_vlan(of) != 0; }

uint32_t ifsvc_get_if_vlanid(uint32_t of) { return has_vlan(of) ? value(of, access_vlan) : 0; }

// Success is 1 here.
uint32_t ifsvc_get_vlan_info(uint32_t of, vlan_key_t *info, uint32_t *mode)
{
    if (!has_vlan(of))
        return not_found;
    *info = {supvr_vinst_get(), value(of, access_vlan)};
    *mode = value(of, port_mode);
    return 1;
}

// ---- One number for another

uint32_t ifsvc_get_ifindex_frm_iod(uint32_t of, uint32_t *to)
{
    return give(iod, of, if_index, to);
}
uint32_t ifsvc_get_iod_frm_ifindex(uint32_t of, uint32_t *to)
{
    return give(if_index, of, iod, to);
}
uint32_t lifsvc_query_ifindex_to_lif(int32_t of, uint32_t *to)
{
    return give(if_index, of, lif, to);
}
uint32_t lifsvc_query_lif_to_ifindex(int32_t of, uint32_t *to)
{
    return give(lif, of, if_index, to);
}
uint32_t idxsvc_lib_ifidx_to_di(int32_t of, uint32_t *to) { return give(if_index, of, pi, to); }
uint32_t idxsvc_lib_si_to_ifidx(int32_t of, uint32_t *to) { return give(pi, of, if_index, to); }

uint32_t ifsvc_get_svi_iod_for_vlan(uint16_t vinst, uint32_t vlan)
{
    u32 of = 0, found = 0;
    if (vlan <= 4094 && if_index_vlan_port_init(&of, static_cast<u16>(vlan), vinst) == good)
        give(if_index, of, iod, &found);
    return found;
}

// The if-index says so itself, also while no service answers.
uint32_t ifsvc_is_ifindex_svi(uint32_t of)
{
    u8 found = 0;
    return if_index_get_type(of, &found) == good && found == IF_INDEX_TYPE_SVI;
}

// ---- Names, extensions, blocks

// A copy, because the interface may be gone before the caller is done with it.
const char *ifsvc_get_if_name(uint32_t of)
{
    static std::string name;
    const interface *found = find(iod, of);
    name = found == nullptr ? "(no such interface)" : found->name;
    return name.c_str();
}

uint32_t ifsvc_get_ifindex_name(uint32_t of, char *buffer, uint32_t size)
{
    const interface *found = find(if_index, of);
    std::snprintf(buffer, size, "%s", found == nullptr ? "" : found->name.c_str());
    return found == nullptr ? not_found : good;
}

uint32_t ifsvc_get_extension(uint32_t of, uint32_t key) { return data_under(of, key).extension; }
uint32_t ifsvc_is_extension_set(uint32_t of, uint32_t key)
{
    return data_under(of, key).extension != 0;
}

// A copy as well.
uintptr_t ifsvc_get_private_data(uint32_t of, uint32_t key, uint32_t *size)
{
    static std::string block;
    block = data_under(of, key).block;
    *size = static_cast<u32>(block.size());
    return block.empty() ? 0 : reinterpret_cast<uintptr_t>(block.data());
}

// All are found before the first is written.
uint32_t ifsvc_get_ifindex_port_mode_list(ifsvc_port_mode_t *list, uint32_t count)
{
    for (u32 n = 0; n < count; ++n)
        if (find(if_index, list[n].if_index) == nullptr)
            return not_found;
    for (u32 n = 0; n < count; ++n)
        give(if_index, list[n].if_index, port_mode, &list[n].port_mode);
    return good;
}

// ---- Port-channels. The records are packed: an output goes through a variable of its own

uint32_t aggsvc_get_pc_info(aggsvc_pc_info_t *info)
{
    const interface *pc = find_port_channel(info->pc_ifindex);
    if (pc == nullptr)
        return not_found;
    info->first_operational_mbr = pc->values[first_member];
    return good;
}

uint32_t aggsvc_get_pc_for_port(uint32_t port_ifindex, aggsvc_pc_for_port_t *membership)
{
    u32 pc = 0;
    const u32 code = give(if_index, port_ifindex, port_channel, &pc);
    if (code == good)
        membership->pc_ifindex = pc;
    return code;
}

uint32_t aggsvc_get_pc_mbr_ifidx_from_rbh(uint32_t pc_ifindex, uint32_t rbh, uint32_t *mbr_ifindex)
{
    const interface *pc = find_port_channel(pc_ifindex);
    if (pc == nullptr || rbh >= pc->buckets.size() || pc->buckets[rbh] == 0)
        return not_found;
    *mbr_ifindex = pc->buckets[rbh];
    return good;
}

// ---- VLANs

uint32_t vlan_get_bd(vlan_key_t key, uint16_t *bd)
{
    u32 primary = 0;
    return vlan_get_bd_and_primary_vlan(key, bd, &primary);
}

uint32_t vlan_get_bd_and_primary_vlan(vlan_key_t key, uint16_t *bd, uint32_t *primary_vlan)
{
    const vlan *found = key.vinst == supvr_vinst_get() ? find_vlan(key.vlan) : nullptr;
    if (found == nullptr)
        return not_found;
    *bd = static_cast<u16>(found->bd);
    *primary_vlan = found->primary;
    return good;
}

uint32_t idxsvc_lib_bd_to_di(uint16_t bd, uint32_t *di)
{
    const vlan *found = find_bridge_domain(bd);
    if (found == nullptr)
        return not_found;
    *di = found->flood_di;
    return good;
}
