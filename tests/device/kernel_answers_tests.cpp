// SPDX-License-Identifier: Apache-2.0
//
// kernel_answers_tests.cpp: every request, with `ip -d -j link` as the oracle, and that changes are
// seen. What this kernel may not have (bonds, VLAN links, VRFs) is tested on the parts of the
// service instead.
#include <algorithm>
#include <array>
#include <cstring>
#include <set>

#include <nlohmann/json.hpp>

#include "aggsvc.h"
#include "idxsvc.h"
#include "if_index.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "running_device.h"
#include "supvr.h"
#include "varn_device.h"
#include "vlansvc.h"
#include "vrfsvc.h"

namespace
{

using nlohmann::json;

json links() { return json::parse(sh("ip -d -j link")); }

bool has_flag(const json &link, const char *flag)
{
    return std::ranges::find(link["flags"], json(flag)) != link["flags"].end();
}

std::string kind_of(const json &link)
{
    return link.value("/linkinfo/info_kind"_json_pointer, std::string());
}

bool is_bridge_port(const json &link)
{
    return link.value("/linkinfo/info_slave_kind"_json_pointer, std::string()) == "bridge";
}

std::array<uint8_t, 6> mac_of(const json &link)
{
    std::array<unsigned, 6> m{};
    std::sscanf(link["address"].get<std::string>().c_str(), "%x:%x:%x:%x:%x:%x", &m[0], &m[1],
                &m[2], &m[3], &m[4], &m[5]);
    std::array<uint8_t, 6> mac{};
    std::ranges::transform(m, mac.begin(), [](unsigned b) { return static_cast<uint8_t>(b); });
    return mac;
}

// A second writing of what the types are.
unsigned type_of(const json &link)
{
    const std::string kind = kind_of(link);
    if (has_flag(link, "LOOPBACK"))
        return 20;
    return kind == "veth" || kind.empty() ? 26 : 30;
}

bool is_up(const json &link)
{
    const std::string state = link["operstate"];
    return has_flag(link, "UP") &&
           (state == "UP" || (state == "UNKNOWN" && has_flag(link, "LOWER_UP")));
}

// The kernel reports operational states up to a second late: before that, two readings of them,
// the oracle's and the service's, need not agree.
bool all_five_are_up()
{
    return std::ranges::count_if(links(), [](const json &l) { return l["operstate"] == "UP"; }) ==
           5;
}

class KernelAnswers : public RunningDevice
{
protected:
    void expect_same_as(const json &link);
};

void KernelAnswers::expect_same_as(const json &link)
{
    const std::string name = link["ifname"];
    SCOPED_TRACE(name);
    const uint32_t iod = iod_of(name);
    ASSERT_NE(iod, 0u);
    EXPECT_EQ(ifsvc_is_linkup(iod), has_flag(link, "LOWER_UP"));
    EXPECT_EQ(ifsvc_is_protoup(iod), is_up(link));
    EXPECT_EQ(ifsvc_get_if_mtu(iod), std::min(link["mtu"].get<uint32_t>(), 65535u));
    EXPECT_EQ(ifsvc_is_loopback(iod), has_flag(link, "LOOPBACK"));
    EXPECT_EQ(ifsvc_is_native_p2p(iod), has_flag(link, "POINTOPOINT"));
    EXPECT_EQ(ifsvc_is_ethernet(iod), link["link_type"] == "ether");
    EXPECT_EQ(ifsvc_get_if_encaptype(iod), link["link_type"] == "ether" ? 1u : 2u);
    EXPECT_EQ(ifsvc_is_switchport(iod), is_bridge_port(link));
    EXPECT_EQ(ifsvc_is_switching_enabled_on_iod(iod),
              link.value("/linkinfo/info_slave_data/state"_json_pointer, std::string()) ==
                  "forwarding");
    std::array<uint8_t, 6> mac{};
    EXPECT_EQ(ifsvc_get_if_src_mac_addr(iod, mac.data()), 0u);
    EXPECT_EQ(mac, mac_of(link));
    EXPECT_EQ(ifsvc_is_if_mac_addr(iod, mac.data()), 1u);
    mac[5] ^= 1;
    EXPECT_EQ(ifsvc_is_if_mac_addr(iod, mac.data()), 0u);
    uint8_t type = 0;
    EXPECT_EQ(if_index_get_type(if_index_of(name), &type), 0u);
    EXPECT_EQ(type, type_of(link));
}

TEST_F(KernelAnswers, AreThoseOfIpLinkForEveryInterface)
{
    ASSERT_TRUE(eventually(all_five_are_up));
    const json all = links();
    ASSERT_EQ(all.size(), 6u);
    for (const json &link : all)
        expect_same_as(link);
    EXPECT_EQ(ifsvc_is_switching_enabled_on_iod(iod_of("leaf0")), 1u);
}

TEST_F(KernelAnswers, HaveNoneOfTheKindsThatAreNotThere)
{
    const uint32_t iod = iod_of("port0");
    for (const auto query :
         {ifsvc_is_vlan, ifsvc_is_null0, ifsvc_is_mvpn_tunnel, ifsvc_is_gre_tunnel,
          ifsvc_is_super_802_3ad, ifsvc_is_cbus, ifsvc_is_mgmtether, ifsvc_is_dci_tunnel,
          ifsvc_is_dci_overlay, ifsvc_is_6to4_tunnel, ifsvc_is_mpls_tunnel, ifsvc_get_if_vlanid,
          ifsvc_get_sub_interface_parent})
        EXPECT_EQ(query(iod), 0u);
    EXPECT_EQ(varn_device_last_error(), VARN_DEVICE_OK);
}

TEST_F(KernelAnswers, TranslateEachIdentifierThereAndBack)
{
    std::set<uint32_t> iods, if_indexes, lifs, port_indexes;
    for (const json &link : links()) {
        const uint32_t iod = iod_of(link["ifname"]);
        uint32_t if_index = 0, back = 0, lif = 0, di = 0;
        EXPECT_EQ(ifsvc_get_ifindex_frm_iod(iod, &if_index), 0u);
        EXPECT_EQ(ifsvc_get_iod_frm_ifindex(if_index, &back), 0u);
        EXPECT_EQ(back, iod);
        const auto asked = static_cast<int32_t>(if_index);
        EXPECT_EQ(lifsvc_query_ifindex_to_lif(asked, &lif), 0u);
        EXPECT_EQ(lifsvc_query_lif_to_ifindex(static_cast<int32_t>(lif), &back), 0u);
        EXPECT_EQ(back, if_index);
        EXPECT_EQ(idxsvc_lib_ifidx_to_di(asked, &di), 0u);
        EXPECT_EQ(idxsvc_lib_si_to_ifidx(static_cast<int32_t>(di), &back), 0u);
        EXPECT_EQ(back, if_index);
        iods.insert(iod);
        if_indexes.insert(if_index);
        lifs.insert(lif);
        port_indexes.insert(di);
    }
    EXPECT_EQ(iods.size(), 6u);
    EXPECT_EQ(if_indexes.size(), 6u);
    EXPECT_EQ(lifs.size(), 6u);
    EXPECT_EQ(port_indexes.size(), 6u);
    EXPECT_GE(*iods.begin(), 1u);
    EXPECT_LE(*iods.rbegin(), 32767u);
}

TEST_F(KernelAnswers, PutInterfacesIntoTheDefaultContextAndTheMainTable)
{
    const uint32_t iod = iod_of("port0");
    EXPECT_EQ(vrfsvc_if_get_context_id(iod), 1u);
    EXPECT_EQ(vrfsvc_if_get_table_id(iod, 1, "base"), 254u);
    EXPECT_EQ(vrfsvc_if_get_table_id(iod, 1, "other"), 0u);
    EXPECT_EQ(vrfsvc_if_get_table_id(iod, 2, "base"), 0u);
}

TEST_F(KernelAnswers, GivePortModesForAWholeListOrNotAtAll)
{
    ifsvc_port_mode_t list[2] = {};
    list[0].if_index = if_index_of("leaf0");
    list[1].if_index = if_index_of("port0");
    EXPECT_EQ(ifsvc_get_ifindex_port_mode_list(list, 2), 0u);
    EXPECT_EQ(list[0].port_mode, 1u);
    EXPECT_EQ(list[1].port_mode, 0x200u);

    list[0].port_mode = 77;
    list[1].if_index = 0x1affffff;
    EXPECT_EQ(ifsvc_get_ifindex_port_mode_list(list, 2), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(list[0].port_mode, 77u);
    EXPECT_EQ(ifsvc_get_ifindex_port_mode_list(nullptr, 0), 0u);
}

TEST_F(KernelAnswers, SayThatAPortIsInNoPortChannelAndAPortIsNone)
{
    aggsvc_pc_for_port_t membership = {};
    membership.pc_ifindex = 5;
    EXPECT_EQ(aggsvc_get_pc_for_port(if_index_of("port0"), &membership), 0u);
    EXPECT_EQ(uint32_t{membership.pc_ifindex}, 0u);

    aggsvc_pc_info_t info = {};
    info.pc_ifindex = if_index_of("port0");
    info.first_operational_mbr = 7;
    EXPECT_EQ(aggsvc_get_pc_info(&info), VARN_DEVICE_E_NO_VALUE);
    EXPECT_EQ(uint32_t{info.first_operational_mbr}, 7u);
}

TEST_F(KernelAnswers, HaveNoAccessVlanWithoutOne)
{
    vlan_key_t info = {9, 9};
    uint32_t mode = 9;
    EXPECT_EQ(ifsvc_get_vlan_info(iod_of("leaf0"), &info, &mode), VARN_DEVICE_E_NO_VALUE);
    EXPECT_EQ(ifsvc_get_svi_iod_for_vlan(supvr_vinst_get(), 10), 0u);
    uint32_t svi = 0;
    EXPECT_EQ(if_index_vlan_port_init(&svi, 10, supvr_vinst_get()), 0u);
    EXPECT_EQ(ifsvc_is_ifindex_svi(svi), 1u);
    EXPECT_EQ(ifsvc_is_ifindex_svi(if_index_of("port0")), 0u);
}

// On a kernel that cannot filter VLANs, the two commands fail and no port may have one.
TEST_F(KernelAnswers, PutPortsIntoTheVlansThatTheBridgeShows)
{
    const bool filters =
        run({"ip", "link", "set", "br0", "type", "bridge", "vlan_filtering", "1"}).exit_code == 0 &&
        run({"bridge", "vlan", "add", "dev", "leaf0", "vid", "10", "pvid", "untagged"}).exit_code ==
            0;
    const uint32_t iod = iod_of("leaf0");
    vlan_key_t info = {9, 9};
    uint32_t mode = 9;
    const auto answer = [&] { return ifsvc_get_vlan_info(iod, &info, &mode); };
    if (!filters) {
        EXPECT_EQ(sh("bridge -j vlan show dev leaf0"), "[]\n");
        EXPECT_EQ(answer(), VARN_DEVICE_E_NO_VALUE);
        EXPECT_EQ(uint32_t{info.vlan}, 9u);
        return;
    }
    // The VLAN 1 that every port begins in stays beside the new one, without being its PVID.
    EXPECT_TRUE(eventually([&] { return answer() == 1 && info.vlan == 10 && mode == 2; }));
    sh("bridge vlan del dev leaf0 vid 1");
    EXPECT_TRUE(eventually([&] { return answer() == 1 && info.vlan == 10 && mode == 1; }));
    sh("ip link set br0 type bridge vlan_filtering 0");
    EXPECT_TRUE(eventually([&] { return answer() == VARN_DEVICE_E_NO_VALUE; }));
}

TEST_F(KernelAnswers, AreErrorsForVlansAndPortChannelsThatAreNotThere)
{
    uint32_t out = 5;
    uint16_t bd = 5;
    EXPECT_EQ(vlan_get_bd({1, 10}, &bd), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(vlan_get_bd_and_primary_vlan({1, 10}, &bd, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(idxsvc_lib_bd_to_di(1, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(aggsvc_get_pc_mbr_ifidx_from_rbh(0x16000001, 3, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(out, 5u);
    EXPECT_EQ(bd, 5u);
}

TEST_F(KernelAnswers, GiveToEveryClientWhatWasAttachedUnderItsKey)
{
    const uint32_t iod = iod_of("port0");
    uint32_t size = 9;
    EXPECT_EQ(ifsvc_get_extension(iod, 42), 0u);
    EXPECT_EQ(ifsvc_get_private_data(iod, 42, &size), 0u);
    EXPECT_EQ(size, 0u);

    EXPECT_EQ(varn_device_attach(iod, 42, 7, "block", 5), 0u);
    EXPECT_EQ(varn_device_connect(socket.c_str()), 0u);
    EXPECT_EQ(ifsvc_get_extension(iod, 42), 7u);
    EXPECT_EQ(ifsvc_is_extension_set(iod, 42), 1u);
    EXPECT_EQ(ifsvc_is_extension_set(iod, 43), 0u);
    const uintptr_t block = ifsvc_get_private_data(iod, 42, &size);
    ASSERT_EQ(size, 5u);
    EXPECT_EQ(std::memcmp(reinterpret_cast<const void *>(block), "block", 5), 0);
}

TEST_F(KernelAnswers, NameEveryInterfaceAndSaySoWhenThereIsNone)
{
    EXPECT_STREQ(ifsvc_get_if_name(iod_of("port0")), "port0");
    EXPECT_STREQ(ifsvc_get_if_name(4711), "(unknown interface 4711)");

    char name[8] = "-------";
    EXPECT_EQ(ifsvc_get_ifindex_name(if_index_of("port0"), name, 4), 0u);
    EXPECT_STREQ(name, "por");
    EXPECT_EQ(ifsvc_get_ifindex_name(0x1affffff, name, sizeof name), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_STREQ(name, "");
}

TEST_F(KernelAnswers, ForAnUnknownInterfaceAreCodesAndLeaveOutputsAlone)
{
    uint32_t out = 5;
    uint8_t mac[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(ifsvc_get_ifindex_frm_iod(4711, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(ifsvc_get_iod_frm_ifindex(0x1affffff, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(lifsvc_query_ifindex_to_lif(0x1affffff, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(lifsvc_query_lif_to_ifindex(1, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(idxsvc_lib_ifidx_to_di(0x1affffff, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(idxsvc_lib_si_to_ifidx(-1, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(ifsvc_get_if_src_mac_addr(0, mac), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(ifsvc_get_if_mtu(0), 0u);
    EXPECT_EQ(vrfsvc_if_get_context_id(40000), 0u);
    EXPECT_EQ(out, 5u);
    EXPECT_EQ(mac[5], 6u);
}

TEST_F(KernelAnswers, FollowALinkThatGoesDownAndComesBack)
{
    const uint32_t iod = iod_of("port0"), peer = iod_of("port1");
    sh("ip link set port0 down");
    EXPECT_TRUE(eventually([&] { return ifsvc_is_linkup(iod) == 0; }));
    EXPECT_TRUE(eventually([&] { return ifsvc_is_linkup(peer) == 0; }));
    EXPECT_EQ(ifsvc_is_protoup(iod), 0u);
    sh("ip link set port0 up");
    EXPECT_TRUE(
        eventually([&] { return ifsvc_is_linkup(iod) == 1 && ifsvc_is_protoup(iod) == 1; }));
}

TEST_F(KernelAnswers, FollowMtuNameAndBridgeWithoutANewIdentity)
{
    const uint32_t iod = iod_of("leaf0");
    sh("ip link set leaf0 mtu 1400 && ip link set leaf0 nomaster && ip link set leaf0 name spine0");
    EXPECT_TRUE(eventually([&] { return ifsvc_get_if_name(iod) == std::string("spine0"); }));
    EXPECT_EQ(ifsvc_get_if_mtu(iod), 1400u);
    EXPECT_EQ(ifsvc_is_switchport(iod), 0u);
    EXPECT_EQ(ifsvc_is_switching_enabled_on_iod(iod), 0u);
}

TEST_F(KernelAnswers, TakeAnInterfaceThatIsMadeAnewForAnother)
{
    const uint32_t iod = iod_of("port0"), if_index = if_index_of("port0");
    EXPECT_EQ(varn_device_attach(iod, 42, 7, "", 0), 0u);
    const int ordinal = json::parse(sh("ip -j link show port0"))[0]["ifindex"];
    sh("ip link del port0 && ip link add port0 index " + std::to_string(ordinal) +
       " type veth peer name port1");
    EXPECT_TRUE(eventually([&] { return iod_of("port0") != 0 && iod_of("port0") != iod; }));
    EXPECT_NE(if_index_of("port0"), if_index);
    uint32_t out = 5;
    EXPECT_EQ(ifsvc_get_ifindex_frm_iod(iod, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(ifsvc_get_iod_frm_ifindex(if_index, &out), VARN_DEVICE_E_NO_INTERFACE);
    EXPECT_EQ(ifsvc_get_extension(iod_of("port0"), 42), 0u);
}

TEST_F(KernelAnswers, SurviveMoreChangesThanTheKernelCanQueue)
{
    service->send(SIGSTOP);
    sh("for n in $(seq 1 1500); do echo link set port0 mtu $((1000 + n)); done | ip -b -");
    sh("for n in $(seq 1 200); do echo link add v$n type veth peer name w$n; done | ip -b -");
    sh("for n in $(seq 1 200); do echo link del v$n; done | ip -b -");
    sh("ip link add last0 type veth peer name last1");
    service->send(SIGCONT);
    EXPECT_TRUE(eventually([&] { return ifsvc_get_if_mtu(iod_of("port0")) == 2500; }));
    EXPECT_TRUE(eventually([&] { return iod_of("last0") != 0; }));
    EXPECT_TRUE(eventually(all_five_are_up));
    for (const json &link : links())
        expect_same_as(link);
    uint32_t iods[64], count = 0;
    EXPECT_EQ(varn_device_list_iods(iods, 64, &count), 0u);
    EXPECT_EQ(count, 8u);
}

} // namespace
