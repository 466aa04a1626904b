// SPDX-License-Identifier: Apache-2.0
//
// library_answers.cpp: one function for each answer, in the words of the oracle.
#include "library_answers.h"

#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "aggsvc.h"
#include "follower.h"
#include "if_index.h"
#include "ifsvc.h"
#include "supvr.h"
#include "varn.h"
#include "varn_device.h"

namespace
{

using std::string;
using u32 = std::uint32_t;

u32 if_index_of(u32 iod)
{
    u32 if_index = 0;
    EXPECT_EQ(varn_ifsvc_get_ifindex_frm_iod(iod, &if_index), 0U);
    return if_index;
}

string name_of_if_index(u32 if_index)
{
    u32 iod = 0;
    if (if_index == 0)
        return "";
    if (varn_ifsvc_get_iod_frm_ifindex(if_index, &iod) != 0)
        return fmt::format("{:#x}, which is not there", if_index);
    return varn_ifsvc_get_if_name(iod);
}

// What the entry holds of that which has no query of its own. Whatever is stale is asked again.
const varn_if_entry_t *entry_of(u32 iod)
{
    varn_if_entry_t *entry = varn_find_entry_by_iod(iod);
    if (entry == nullptr || varn_if_update_entry(entry, 0) != 1)
        return nullptr;
    return varn_find_entry_by_iod(iod);
}

string identity(const varn_if_entry_t &entry)
{
    u32 iod = 0, by_pi = 0, by_lif = 0, di = 0;
    varn_ifsvc_get_iod_frm_ifindex(entry.if_index, &iod);
    const bool has_pi = entry.if_type != 9;
    varn_idxsvc_lib_ifidx_to_di(static_cast<std::int32_t>(entry.if_index), &di);
    if (has_pi)
        varn_idxsvc_lib_si_to_ifidx(static_cast<std::int32_t>(di), &by_pi);
    varn_lifsvc_query_lif_to_ifindex(static_cast<std::int32_t>(entry.lif), &by_lif);
    const bool is_svi_of_its_vlan =
        has_pi || varn_ifsvc_get_svi_iod_for_vlan(entry.vlan, supvr_vinst_get()) == entry.iod;
    if (iod == entry.iod && by_lif == entry.if_index && entry.pi == di && is_svi_of_its_vlan &&
        (has_pi ? by_pi == entry.if_index : di == VARN_NO_PI))
        return "there and back";
    return fmt::format("if-index {:#x} iod {} -> {}, di {:#x} -> {:#x}, lif {:#x} -> {:#x}",
                       entry.if_index, entry.iod, iod, di, by_pi, entry.lif, by_lif);
}

string flags(u32 iod)
{
    return words({{"link", varn_ifsvc_is_linkup(iod) == 1},
                  {"protocol", varn_ifsvc_is_protoup(iod) == 1},
                  {"switchport", varn_ifsvc_is_switchport(iod) == 1},
                  {"switching", varn_ifsvc_is_switching_enabled_on_iod(iod) == 1},
                  {"ethernet", varn_ifsvc_is_ethernet(iod) == 1},
                  {"vlan", varn_ifsvc_is_vlan(iod) == 1},
                  {"p2p", varn_ifsvc_is_native_p2p(iod) == 1},
                  {"loopback", varn_ifsvc_is_loopback(iod) == 1},
                  {"gre", varn_ifsvc_is_gre_tunnel(iod) == 1},
                  {"port-channel", varn_ifsvc_is_super_802_3ad(iod) == 1},
                  {"6to4", varn_ifsvc_is_6to4_tunnel(iod) == 1},
                  {"svi", varn_ifsvc_is_iod_svi(iod) == 1},
                  // No link of the kernel is one of these.
                  {"null0", varn_ifsvc_is_null0(iod) != 0},
                  {"mvpn-tunnel", varn_ifsvc_is_mvpn_tunnel(iod) != 0},
                  {"cbus", varn_ifsvc_is_cbus(iod) != 0},
                  {"management", varn_ifsvc_is_mgmtether(iod) != 0},
                  {"dci-tunnel", varn_ifsvc_is_dci_tunnel(iod) != 0},
                  {"dci-overlay", varn_ifsvc_is_dci_overlay(iod) != 0},
                  {"mpls-tunnel", varn_ifsvc_is_mpls_tunnel(iod) != 0}});
}

string mac(u32 iod)
{
    const std::uint8_t *bytes = varn_ifsvc_get_if_mac_addr(iod);
    const std::vector<std::uint8_t> copy(bytes, bytes + 6);
    EXPECT_EQ(varn_ifsvc_is_if_mac_addr(iod, copy.data()), 1U);
    return fmt::format("{:02x}", fmt::join(copy, ":"));
}

// The two queries for it, which must agree.
string vlan(u32 iod)
{
    varn_vlan_info_t info{};
    u32 port_mode = 0;
    EXPECT_EQ(varn_ifsvc_get_vlan_info(iod, &info, &port_mode), 1U);
    const u32 id = varn_ifsvc_get_if_vlanid(iod);
    return id == info.vlan ? std::to_string(id) : fmt::format("{} or {}", id, u32{info.vlan});
}

// The cache knows two port modes only; the interface manager tells all of them.
string port_mode(u32 if_index)
{
    ifsvc_port_mode_t request{};
    request.if_index = if_index;
    EXPECT_EQ(ifsvc_get_ifindex_port_mode_list(&request, 1), 0U);
    return fmt::format("{:#x}", request.port_mode);
}

string members(u32 pc_ifindex)
{
    u32 first = 0;
    varn_aggsvc_get_fop(pc_ifindex, &first);
    if (first == 0)
        return "first none buckets none";
    std::vector<string> buckets;
    for (std::uint8_t rbh = 0; rbh < VARN_NUM_RBH; ++rbh) {
        u32 member = 0;
        varn_aggsvc_get_pc_mbr_ifidx_from_rbh(pc_ifindex, rbh, &member);
        buckets.push_back(name_of_if_index(member));
    }
    return fmt::format("first {} buckets {}", name_of_if_index(first), fmt::join(buckets, ","));
}

// The cache has no query for it, and only acts on it.
string port_channel(u32 port_ifindex)
{
    aggsvc_pc_for_port_t membership{};
    EXPECT_EQ(aggsvc_get_pc_for_port(port_ifindex, &membership), 0U);
    return name_of_if_index(membership.pc_ifindex);
}

void paint(const string &name, u32 iod, picture &to)
{
    const auto put = [&](const char *what, const string &value) { to[name + " " + what] = value; };
    const u32 if_index = if_index_of(iod);
    std::uint8_t type = 0;
    EXPECT_EQ(if_index_get_type(if_index, &type), 0U);
    put("name", varn_ifsvc_get_if_name(iod));
    put("type", std::to_string(type));
    put("flags", flags(iod));
    put("mtu", std::to_string(varn_ifsvc_get_if_mtu(iod)));
    put("encap", std::to_string(varn_ifsvc_get_if_encaptype(iod)));
    put("mac", mac(iod));
    put("vlan", vlan(iod));
    put("port mode", port_mode(if_index));
    if (type == 22)
        put("members", members(if_index));
    if (type == 26)
        put("port-channel", port_channel(if_index));
    const varn_if_entry_t *entry = entry_of(iod);
    if (entry == nullptr) {
        put("identity", "no entry");
        return;
    }
    put("identity", identity(*entry));
    put("table", std::to_string(entry->base_tid));
    if (type == 9 || type == 27)
        put("parent", name_of_if_index(entry->aggsvc_if));
}

} // namespace

void start_library()
{
    varn_config_t config{};
    config.sync = VARN_MASK(VARN_BIT_PC + 1) - 1;
    config.crit = config.sync & ~VARN_MASK(VARN_BIT_IOD); // as the follower asks
    config.num_buckets = 4096;
    ASSERT_EQ(varn_init(&config), 1U);
}

void end_library()
{
    shell::forget_everything();
    varn_cleanup();
}

iods iods_by_name()
{
    std::vector<u32> list(32768);
    u32 count = 0;
    EXPECT_EQ(varn_device_list_iods(list.data(), 32768, &count), 0U);
    iods found;
    for (u32 n = 0; n < count; ++n) {
        const string name = ifsvc_get_if_name(list[n]);
        EXPECT_TRUE(found.emplace(name, list[n]).second) << name << " is there twice";
    }
    return found;
}

picture answered_by_library(const iods &interfaces)
{
    picture painted;
    std::map<string, string> contexts;
    for (const auto &[name, iod] : interfaces) {
        paint(name, iod, painted);
        const varn_if_entry_t *entry = varn_find_entry_by_iod(iod);
        contexts[name] = entry == nullptr ? "none" : std::to_string(entry->context_id);
    }
    for (const auto &[name, context] : groups(contexts))
        painted[name + " context"] = context;
    return painted;
}
