// SPDX-License-Identifier: Apache-2.0
//
// MAC address, VLAN and the two questions that go in a request record. The MAC address passes
// through one static buffer that every call overwrites.
#include "fetches.h"

#include <cstring>

#include "aggsvc.h"
#include "ifsvc.h"
#include "misuse.h"

namespace
{

constexpr uint8_t zero_mac[6] = {};
uint8_t source_mac[6];

} // namespace

const uint8_t *varn_get_if_src_mac_addr(uint32_t iod)
{
    VISIT();
    std::memset(source_mac, 0, sizeof source_mac);
    ifsvc_get_if_src_mac_addr(iod, source_mac);
    return source_mac;
}

namespace ifcache
{

bool is_known(const uint8_t (&mac)[6]) { return std::memcmp(mac, zero_mac, sizeof mac) != 0; }

void fetch_mac(varn_if_entry_t &entry, u32 iod)
{
    std::memcpy(entry.mac, varn_get_if_src_mac_addr(iod), sizeof entry.mac);
}

vlan_source fetch_vlan(varn_if_entry_t &entry, u32 iod)
{
    if (ifsvc_is_vlan(iod)) {
        entry.vlan = static_cast<uint16_t>(ifsvc_get_if_vlanid(iod));
        return vlan_source::sub_interface;
    }
    varn_vlan_info_t info{};
    u32 port_mode = 0;
    if (ifsvc_is_switchport(iod) && ifsvc_get_vlan_info(iod, &info, &port_mode) == 1) {
        entry.vlan = static_cast<uint16_t>(info.vlan);
        entry.port_mode = port_mode;
    }
    return vlan_source::switchport_or_none;
}

u32 ask_first_member(u32 pc_ifindex, u32 &member)
{
    aggsvc_pc_info_t info{}; // zeros, so that an answer left out reads as none
    info.pc_ifindex = pc_ifindex;
    if (const u32 code = aggsvc_get_pc_info(&info))
        return code;
    if (info.first_operational_mbr == 0)
        return VARN_ERR_NO_MEMBER;
    member = info.first_operational_mbr;
    return 0;
}

u32 ask_port_mode(u32 if_index, u32 &port_mode)
{
    ifsvc_port_mode_t request{};
    request.if_index = if_index;
    const u32 code = ifsvc_get_ifindex_port_mode_list(&request, 1);
    port_mode = request.port_mode;
    return code;
}

} // namespace ifcache
