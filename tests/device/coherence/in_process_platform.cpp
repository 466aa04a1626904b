// SPDX-License-Identifier: Apache-2.0
//
// in_process_platform.cpp: every request function of the platform headers over the model of
// in_process_device.h, with the results and the codes that the client library and the service have
// together. The answers are read off `interface::now`, as the service does.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>

#include "aggsvc.h"
#include "device/runtime/if_index_types.h"
#include "idxsvc.h"
#include "if_index.h"
#include "ifsvc.h"
#include "in_process_device.h"
#include "lifsvc.h"
#include "supvr.h"
#include "varn_device.h"
#include "vlansvc.h"
#include "vrfsvc.h"
#include "wire.h"

namespace
{

using coherence::in_process_device;
using coherence::u16;
using coherence::u32;
using coherence::u8;
using device::attributes;
using device::device_model;
using device::interface;

u32 last_error;

u32 note(u32 code)
{
    if (code != VARN_DEVICE_OK)
        last_error = code;
    return code;
}

// Carries out a request that gives a code, where there is a connection.
template <class request>
u32 ask(request answer)
{
    const device_model *model = in_process_device::answering();
    return note(model == nullptr ? VARN_DEVICE_E_NO_SERVICE : answer(*model));
}

using finder = const interface *(device_model::*)(u32) const;

// The same about one interface.
template <finder find, class request>
u32 ask_about(u32 number, request answer)
{
    return ask([&](const device_model &model) {
        const interface *asked = (model.*find)(number);
        return asked == nullptr ? VARN_DEVICE_E_NO_INTERFACE : answer(*asked);
    });
}

template <class reader>
u32 value_of_iod(u32 iod, reader read)
{
    u32 value = 0;
    ask_about<&device_model::find_iod>(iod, [&](const interface &asked) {
        value = static_cast<u32>(read(asked));
        return VARN_DEVICE_OK;
    });
    return value;
}

template <auto member>
u32 now_of(u32 iod)
{
    return value_of_iod(iod, [](const interface &asked) { return asked.now.*member; });
}

template <u8 type>
u32 has_type(u32 iod)
{
    return value_of_iod(iod, [](const interface &asked) { return asked.type == type; });
}

template <finder find, auto member>
u32 translate(u32 number, u32 *to)
{
    return ask_about<find>(number, [&](const interface &asked) {
        if (asked.*member == device::no_index)
            return VARN_DEVICE_E_NO_VALUE;
        *to = asked.*member;
        return VARN_DEVICE_OK;
    });
}

device::attachment attached(u32 iod, u32 key)
{
    device::attachment found;
    ask_about<&device_model::find_iod>(iod, [&](const interface &asked) {
        const auto at = asked.attachments.find(key);
        if (at != asked.attachments.end())
            found = at->second;
        return VARN_DEVICE_OK;
    });
    return found;
}

template <class request>
u32 ask_about_vlan(vlan_key_t key, request answer)
{
    return ask([&](const device_model &model) {
        const bool is_possible = key.vinst == wire::vinst && key.vlan <= IF_INDEX_VLAN_MAX;
        const device::vlan_facts *asked =
            is_possible ? model.find_vlan(static_cast<u16>(key.vlan)) : nullptr;
        return asked == nullptr ? VARN_DEVICE_E_NO_INTERFACE : answer(*asked);
    });
}

} // namespace

uint32_t varn_device_last_error(void) { return last_error; }
void varn_device_clear_error(void) { last_error = VARN_DEVICE_OK; }

// ---- Interfaces: yes or no

uint32_t ifsvc_is_linkup(uint32_t iod) { return now_of<&attributes::linkup>(iod); }
uint32_t ifsvc_is_protoup(uint32_t iod) { return now_of<&attributes::protoup>(iod); }
uint32_t ifsvc_is_switchport(uint32_t iod) { return now_of<&attributes::switchport>(iod); }
uint32_t ifsvc_is_switching_enabled_on_iod(uint32_t iod)
{
    return now_of<&attributes::switching>(iod);
}
uint32_t ifsvc_is_ethernet(uint32_t iod) { return now_of<&attributes::ethernet>(iod); }
uint32_t ifsvc_is_vlan(uint32_t iod)
{
    return value_of_iod(iod, [](const interface &asked) { return asked.is_vlan(); });
}
uint32_t ifsvc_is_null0(uint32_t iod) { return has_type<IF_INDEX_TYPE_NULL0>(iod); }
uint32_t ifsvc_is_native_p2p(uint32_t iod) { return now_of<&attributes::p2p>(iod); }
uint32_t ifsvc_is_loopback(uint32_t iod) { return now_of<&attributes::loopback>(iod); }
uint32_t ifsvc_is_mvpn_tunnel(uint32_t iod) { return has_type<IF_INDEX_TYPE_MVPN_TUNNEL>(iod); }
uint32_t ifsvc_is_gre_tunnel(uint32_t iod) { return has_type<IF_INDEX_TYPE_GRE>(iod); }
uint32_t ifsvc_is_super_802_3ad(uint32_t iod) { return has_type<IF_INDEX_TYPE_PC>(iod); }
uint32_t ifsvc_is_cbus(uint32_t iod) { return has_type<IF_INDEX_TYPE_CBUS>(iod); }
uint32_t ifsvc_is_mgmtether(uint32_t iod) { return has_type<IF_INDEX_TYPE_MGMT>(iod); }
uint32_t ifsvc_is_dci_tunnel(uint32_t iod) { return has_type<IF_INDEX_TYPE_DCI_TUNNEL>(iod); }
uint32_t ifsvc_is_dci_overlay(uint32_t iod) { return has_type<IF_INDEX_TYPE_DCI_OVERLAY>(iod); }
uint32_t ifsvc_is_6to4_tunnel(uint32_t iod) { return has_type<IF_INDEX_TYPE_6TO4>(iod); }
uint32_t ifsvc_is_mpls_tunnel(uint32_t iod) { return has_type<IF_INDEX_TYPE_MPLS_TUNNEL>(iod); }

uint32_t ifsvc_is_ifindex_svi(uint32_t if_index)
{
    u8 type = 0;
    return if_index_get_type(if_index, &type) == 0 && type == IF_INDEX_TYPE_SVI;
}

// ---- Interfaces: values

uint32_t ifsvc_get_if_mtu(uint32_t iod) { return now_of<&attributes::mtu>(iod); }
uint32_t ifsvc_get_if_encaptype(uint32_t iod) { return now_of<&attributes::encap>(iod); }
uint32_t ifsvc_get_if_vlanid(uint32_t iod) { return now_of<&attributes::vlan>(iod); }
uint32_t ifsvc_get_sub_interface_parent(uint32_t iod) { return now_of<&attributes::parent>(iod); }

uint32_t ifsvc_get_if_src_mac_addr(uint32_t iod, uint8_t *mac)
{
    return ask_about<&device_model::find_iod>(iod, [mac](const interface &asked) {
        std::copy(asked.now.mac.begin(), asked.now.mac.end(), mac);
        return VARN_DEVICE_OK;
    });
}

uint32_t ifsvc_is_if_mac_addr(uint32_t iod, const uint8_t *mac)
{
    u8 own[6];
    return ifsvc_get_if_src_mac_addr(iod, own) == VARN_DEVICE_OK &&
           std::memcmp(own, mac, sizeof own) == 0;
}

uint32_t ifsvc_get_vlan_info(uint32_t iod, vlan_key_t *info, uint32_t *port_mode)
{
    const u32 code = ask_about<&device_model::find_iod>(iod, [&](const interface &asked) {
        if (asked.now.vlan == 0)
            return VARN_DEVICE_E_NO_VALUE;
        info->vinst = wire::vinst;
        info->vlan = asked.now.vlan;
        *port_mode = asked.now.port_mode;
        return VARN_DEVICE_OK;
    });
    return code == VARN_DEVICE_OK ? 1 : code;
}

uint32_t ifsvc_get_ifindex_frm_iod(uint32_t iod, uint32_t *if_index)
{
    return translate<&device_model::find_iod, &interface::if_index>(iod, if_index);
}

uint32_t ifsvc_get_iod_frm_ifindex(uint32_t if_index, uint32_t *iod)
{
    return translate<&device_model::find_if_index, &interface::iod>(if_index, iod);
}

uint32_t ifsvc_get_svi_iod_for_vlan(uint16_t vinst, uint32_t vlan)
{
    u32 if_index = 0;
    u32 iod = 0;
    ask([&](const device_model &model) {
        if (vlan > 0xFFFF || if_index_vlan_port_init(&if_index, static_cast<u16>(vlan), vinst) != 0)
            return VARN_DEVICE_OK;
        const interface *svi = model.find_if_index(if_index);
        iod = svi == nullptr ? 0 : svi->iod;
        return VARN_DEVICE_OK;
    });
    return iod;
}

const char *ifsvc_get_if_name(uint32_t iod)
{
    static char name[256];
    const u32 code = ask_about<&device_model::find_iod>(iod, [](const interface &asked) {
        std::snprintf(name, sizeof name, "%s", asked.now.name.c_str());
        return VARN_DEVICE_OK;
    });
    if (code != VARN_DEVICE_OK)
        std::snprintf(name, sizeof name, "(unknown interface %u)", iod);
    return name;
}

uint32_t ifsvc_get_ifindex_name(uint32_t if_index, char *buffer, uint32_t size)
{
    if (buffer == nullptr || size == 0)
        return note(VARN_DEVICE_E_ARGUMENT);
    buffer[0] = 0;
    return ask_about<&device_model::find_if_index>(if_index, [=](const interface &asked) {
        std::snprintf(buffer, size, "%s", asked.now.name.c_str());
        return VARN_DEVICE_OK;
    });
}

uint32_t ifsvc_get_extension(uint32_t iod, uint32_t key) { return attached(iod, key).extension; }
uint32_t ifsvc_is_extension_set(uint32_t iod, uint32_t key)
{
    return attached(iod, key).extension != 0;
}

uintptr_t ifsvc_get_private_data(uint32_t iod, uint32_t key, uint32_t *size)
{
    static std::vector<u8> block;
    block = attached(iod, key).block;
    *size = static_cast<u32>(block.size());
    return block.empty() ? 0 : reinterpret_cast<uintptr_t>(block.data());
}

uint32_t ifsvc_get_ifindex_port_mode_list(ifsvc_port_mode_t *list, uint32_t count)
{
    if (list == nullptr && count != 0)
        return note(VARN_DEVICE_E_ARGUMENT);
    return ask([=](const device_model &model) {
        for (u32 n = 0; n < count; ++n)
            if (model.find_if_index(list[n].if_index) == nullptr)
                return VARN_DEVICE_E_NO_INTERFACE;
        for (u32 n = 0; n < count; ++n)
            list[n].port_mode = model.find_if_index(list[n].if_index)->now.port_mode;
        return VARN_DEVICE_OK;
    });
}

// ---- Logical interfaces and port indexes

uint32_t lifsvc_query_ifindex_to_lif(int32_t if_index, uint32_t *lif)
{
    return translate<&device_model::find_if_index, &interface::lif>(static_cast<u32>(if_index),
                                                                    lif);
}

uint32_t lifsvc_query_lif_to_ifindex(int32_t lif, uint32_t *if_index)
{
    return translate<&device_model::find_lif, &interface::if_index>(static_cast<u32>(lif),
                                                                    if_index);
}

uint32_t idxsvc_lib_ifidx_to_di(int32_t if_index, uint32_t *di)
{
    return translate<&device_model::find_if_index, &interface::port_index>(
        static_cast<u32>(if_index), di);
}

uint32_t idxsvc_lib_si_to_ifidx(int32_t si, uint32_t *if_index)
{
    return translate<&device_model::find_port_index, &interface::if_index>(static_cast<u32>(si),
                                                                           if_index);
}

uint32_t idxsvc_lib_bd_to_di(uint16_t bd, uint32_t *di)
{
    return ask([=](const device_model &model) {
        const u32 index = model.flood_index_of(bd);
        if (index == 0)
            return VARN_DEVICE_E_NO_INTERFACE;
        *di = index;
        return VARN_DEVICE_OK;
    });
}

// ---- Port-channels

uint32_t aggsvc_get_pc_info(aggsvc_pc_info_t *info)
{
    return ask_about<&device_model::find_if_index>(info->pc_ifindex, [=](const interface &asked) {
        if (asked.masters != device::mastery::port_channel)
            return VARN_DEVICE_E_NO_VALUE;
        info->first_operational_mbr = asked.now.first_member;
        return VARN_DEVICE_OK;
    });
}

uint32_t aggsvc_get_pc_for_port(uint32_t port_ifindex, aggsvc_pc_for_port_t *membership)
{
    return ask_about<&device_model::find_if_index>(port_ifindex, [=](const interface &asked) {
        membership->pc_ifindex = asked.now.port_channel;
        return VARN_DEVICE_OK;
    });
}

uint32_t aggsvc_get_pc_mbr_ifidx_from_rbh(uint32_t pc_ifindex, uint32_t rbh, uint32_t *mbr_ifindex)
{
    return ask_about<&device_model::find_if_index>(pc_ifindex, [=](const interface &asked) {
        if (rbh >= device::num_rbh)
            return VARN_DEVICE_E_REFUSED;
        if (asked.now.rbh.empty())
            return VARN_DEVICE_E_NO_VALUE;
        *mbr_ifindex = asked.now.rbh[rbh];
        return VARN_DEVICE_OK;
    });
}

// ---- VLANs

uint32_t vlan_get_bd(vlan_key_t key, uint16_t *bd)
{
    return ask_about_vlan(key, [=](const device::vlan_facts &asked) {
        *bd = asked.bd;
        return VARN_DEVICE_OK;
    });
}

uint32_t vlan_get_bd_and_primary_vlan(vlan_key_t key, uint16_t *bd, uint32_t *primary_vlan)
{
    return ask_about_vlan(key, [=](const device::vlan_facts &asked) {
        *bd = asked.bd;
        *primary_vlan = asked.primary;
        return VARN_DEVICE_OK;
    });
}

// ---- Routing contexts and the system

uint32_t vrfsvc_if_get_context_id(uint32_t iod) { return now_of<&attributes::context>(iod); }

uint32_t vrfsvc_if_get_table_id(uint32_t iod, uint32_t family, const char *name)
{
    if (family != device::family_ipv4 || std::strcmp(name, "base") != 0) {
        note(VARN_DEVICE_E_NO_VALUE);
        return 0;
    }
    return now_of<&attributes::table>(iod);
}

uint16_t supvr_vinst_get(void) { return wire::vinst; }
