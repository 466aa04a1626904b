// SPDX-License-Identifier: Apache-2.0
//
// ifsvc.cpp: the interface manager's functions, each one request to the service. A function that
// gives its value has no way to tell failure and gives 0 then; varn_device_last_error knows.
#include "ifsvc.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "connection.h"
#include "if_index.h"
#include "varn_device.h"

using namespace client;

namespace
{

u32 value_of(const char *request, u32 number)
{
    u32 value = 0;
    return ask_number(&value, request, "u", number) == VARN_DEVICE_OK ? value : 0;
}

u32 value_of(const char *request, u32 number, u32 key)
{
    u32 value = 0;
    return ask_number(&value, request, "uu", number, key) == VARN_DEVICE_OK ? value : 0;
}

// The text stays good until the next request.
u32 ask_name(const char **name, const char *request, u32 number)
{
    sd_bus_message *answer = nullptr;
    const u32 code = ask(answer, request, "u", number);
    if (code != VARN_DEVICE_OK)
        return code;
    if (sd_bus_message_read(answer, "s", name) <= 0)
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no text");
    return VARN_DEVICE_OK;
}

u32 ask_bytes(const void **bytes, std::size_t *size, sd_bus_message *answer)
{
    if (sd_bus_message_read_array(answer, 'y', bytes, size) < 0)
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no block of bytes");
    return VARN_DEVICE_OK;
}

constexpr std::size_t mac_size = 6;

} // namespace

uint32_t ifsvc_is_linkup(uint32_t iod) { return value_of("IsLinkup", iod); }
uint32_t ifsvc_is_protoup(uint32_t iod) { return value_of("IsProtoup", iod); }
uint32_t ifsvc_is_switchport(uint32_t iod) { return value_of("IsSwitchport", iod); }
uint32_t ifsvc_is_switching_enabled_on_iod(uint32_t iod)
{
    return value_of("IsSwitchingEnabled", iod);
}
uint32_t ifsvc_is_ethernet(uint32_t iod) { return value_of("IsEthernet", iod); }
uint32_t ifsvc_is_vlan(uint32_t iod) { return value_of("IsVlan", iod); }
uint32_t ifsvc_is_null0(uint32_t iod) { return value_of("IsNull0", iod); }
uint32_t ifsvc_is_native_p2p(uint32_t iod) { return value_of("IsNativeP2p", iod); }
uint32_t ifsvc_is_loopback(uint32_t iod) { return value_of("IsLoopback", iod); }
uint32_t ifsvc_is_mvpn_tunnel(uint32_t iod) { return value_of("IsMvpnTunnel", iod); }
uint32_t ifsvc_is_gre_tunnel(uint32_t iod) { return value_of("IsGreTunnel", iod); }
uint32_t ifsvc_is_super_802_3ad(uint32_t iod) { return value_of("IsPortChannel", iod); }
uint32_t ifsvc_is_cbus(uint32_t iod) { return value_of("IsCbus", iod); }
uint32_t ifsvc_is_mgmtether(uint32_t iod) { return value_of("IsMgmtether", iod); }
uint32_t ifsvc_is_dci_tunnel(uint32_t iod) { return value_of("IsDciTunnel", iod); }
uint32_t ifsvc_is_dci_overlay(uint32_t iod) { return value_of("IsDciOverlay", iod); }
uint32_t ifsvc_is_6to4_tunnel(uint32_t iod) { return value_of("Is6to4Tunnel", iod); }
uint32_t ifsvc_is_mpls_tunnel(uint32_t iod) { return value_of("IsMplsTunnel", iod); }

// The if-index itself says so: no request.
uint32_t ifsvc_is_ifindex_svi(uint32_t if_index)
{
    u8 type = 0;
    return if_index_get_type(if_index, &type) == 0 && type == IF_INDEX_TYPE_SVI;
}

uint32_t ifsvc_get_if_mtu(uint32_t iod) { return value_of("GetMtu", iod); }
uint32_t ifsvc_get_if_encaptype(uint32_t iod) { return value_of("GetEncapType", iod); }
uint32_t ifsvc_get_if_vlanid(uint32_t iod) { return value_of("GetVlanId", iod); }
uint32_t ifsvc_get_sub_interface_parent(uint32_t iod) { return value_of("GetParent", iod); }

uint32_t ifsvc_get_if_src_mac_addr(uint32_t iod, uint8_t *mac)
{
    const void *bytes = nullptr;
    std::size_t size = 0;
    sd_bus_message *answer = nullptr;
    u32 code = ask(answer, "GetSrcMac", "u", iod);
    if (code == VARN_DEVICE_OK)
        code = ask_bytes(&bytes, &size, answer);
    if (code != VARN_DEVICE_OK)
        return code;
    if (size != mac_size)
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no MAC address");
    std::memcpy(mac, bytes, mac_size);
    return VARN_DEVICE_OK;
}

uint32_t ifsvc_is_if_mac_addr(uint32_t iod, const uint8_t *mac)
{
    u8 own[mac_size];
    return ifsvc_get_if_src_mac_addr(iod, own) == VARN_DEVICE_OK &&
           std::memcmp(own, mac, mac_size) == 0;
}

// Deliberate: success is 1 here, as the contract has it.
uint32_t ifsvc_get_vlan_info(uint32_t iod, vlan_key_t *info, uint32_t *port_mode)
{
    sd_bus_message *answer = nullptr;
    const u32 code = ask(answer, "GetVlanInfo", "u", iod);
    if (code != VARN_DEVICE_OK)
        return code;
    u16 vinst = 0;
    u32 vlan = 0, mode = 0;
    if (sd_bus_message_read(answer, "quu", &vinst, &vlan, &mode) <= 0)
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no VLAN");
    info->vinst = vinst;
    info->vlan = vlan;
    *port_mode = mode;
    return 1;
}

uint32_t ifsvc_get_ifindex_frm_iod(uint32_t iod, uint32_t *if_index)
{
    return ask_number(if_index, "IodToIfIndex", "u", iod);
}

uint32_t ifsvc_get_iod_frm_ifindex(uint32_t if_index, uint32_t *iod)
{
    return ask_number(iod, "IfIndexToIod", "u", if_index);
}

uint32_t ifsvc_get_svi_iod_for_vlan(uint16_t vinst, uint32_t vlan)
{
    u32 iod = 0;
    return ask_number(&iod, "VlanToSvi", "qu", vinst, vlan) == VARN_DEVICE_OK ? iod : 0;
}

const char *ifsvc_get_if_name(uint32_t iod)
{
    static char unknown[sizeof "(unknown interface 4294967295)"];
    const char *name = nullptr;
    if (ask_name(&name, "IodToName", iod) == VARN_DEVICE_OK)
        return name;
    std::snprintf(unknown, sizeof unknown, "(unknown interface %u)", iod);
    return unknown;
}

uint32_t ifsvc_get_ifindex_name(uint32_t if_index, char *buffer, uint32_t size)
{
    if (buffer == nullptr || size == 0)
        return note(VARN_DEVICE_E_ARGUMENT, "no room for a name");
    const char *name = "";
    const u32 code = ask_name(&name, "IfIndexToName", if_index);
    std::snprintf(buffer, size, "%s", name);
    return code;
}

uint32_t ifsvc_get_extension(uint32_t iod, uint32_t key)
{
    return value_of("GetExtension", iod, key);
}

uint32_t ifsvc_is_extension_set(uint32_t iod, uint32_t key)
{
    return value_of("GetExtension", iod, key) != 0;
}

uintptr_t ifsvc_get_private_data(uint32_t iod, uint32_t key, uint32_t *size)
{
    const void *bytes = nullptr;
    std::size_t length = 0;
    sd_bus_message *answer = nullptr;
    *size = 0;
    if (ask(answer, "GetPrivateData", "uu", iod, key) != VARN_DEVICE_OK ||
        ask_bytes(&bytes, &length, answer) != VARN_DEVICE_OK || length == 0)
        return 0;
    *size = static_cast<u32>(length);
    return reinterpret_cast<uintptr_t>(bytes);
}

// All modes are known before the first is written: a failure leaves the list as it was.
uint32_t ifsvc_get_ifindex_port_mode_list(ifsvc_port_mode_t *list, uint32_t count)
{
    if (list == nullptr && count != 0)
        return note(VARN_DEVICE_E_ARGUMENT, "no list of port modes");
    const appended if_indexes([list, count](sd_bus_message *request) {
        int result = sd_bus_message_open_container(request, 'a', "u");
        for (u32 n = 0; n < count && result >= 0; ++n)
            result = sd_bus_message_append(request, "u", list[n].if_index);
        return result < 0 ? result : sd_bus_message_close_container(request);
    });
    sd_bus_message *answer = nullptr;
    const u32 code = ask("GetPortModes", if_indexes, answer);
    if (code != VARN_DEVICE_OK)
        return code;
    const void *modes = nullptr;
    std::size_t size = 0;
    if (sd_bus_message_read_array(answer, 'u', &modes, &size) < 0 || size != count * sizeof(u32))
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no list of port modes");
    for (u32 n = 0; n < count; ++n)
        list[n].port_mode = static_cast<const u32 *>(modes)[n];
    return VARN_DEVICE_OK;
}
