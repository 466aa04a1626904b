// SPDX-License-Identifier: Apache-2.0
//
// link_facts_tests.cpp: rtnetlink messages as kernels send them, also for kinds of links that the
// kernel under the tests may not have.
#include "link_facts.h"

#include <memory>

#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>

namespace
{

class LinkFacts : public testing::Test
{
protected:
    struct free_message {
        void operator()(nl_msg *gone) const { nlmsg_free(gone); }
    };

    // Begins the message of a link; attributes are added behind.
    void link(int ordinal, const char *name, unsigned flags, uint16_t hardware = ARPHRD_ETHER)
    {
        message.reset(nlmsg_alloc_simple(RTM_NEWLINK, 0));
        nlmsg_set_proto(message.get(), NETLINK_ROUTE);
        ifinfomsg header{};
        header.ifi_index = ordinal;
        header.ifi_type = hardware;
        header.ifi_flags = flags;
        ASSERT_EQ(nlmsg_append(message.get(), &header, sizeof header, NLMSG_ALIGNTO), 0);
        nla_put_string(message.get(), IFLA_IFNAME, name);
        nla_put_u32(message.get(), IFLA_MTU, 1500);
    }

    void number(int attribute, uint32_t value) { nla_put_u32(message.get(), attribute, value); }

    void kind(const char *name, int data_attribute = 0, uint32_t value = 0, int size = 4)
    {
        nlattr *info = nla_nest_start(message.get(), IFLA_LINKINFO);
        nla_put_string(message.get(), IFLA_INFO_KIND, name);
        if (data_attribute != 0) {
            nlattr *data = nla_nest_start(message.get(), IFLA_INFO_DATA);
            nla_put(message.get(), data_attribute, size, &value);
            nla_nest_end(message.get(), data);
        }
        nla_nest_end(message.get(), info);
    }

    void bridge_port(uint8_t state)
    {
        nlattr *info = nla_nest_start(message.get(), IFLA_LINKINFO);
        nla_put_string(message.get(), IFLA_INFO_SLAVE_KIND, "bridge");
        nlattr *data = nla_nest_start(message.get(), IFLA_INFO_SLAVE_DATA);
        nla_put_u8(message.get(), IFLA_BRPORT_STATE, state);
        nla_nest_end(message.get(), data);
        nla_nest_end(message.get(), info);
    }

    device::link_facts read()
    {
        device::link_facts facts;
        EXPECT_TRUE(device::read_link_facts(message.get(), facts));
        return facts;
    }

    std::unique_ptr<nl_msg, free_message> message;
};

TEST_F(LinkFacts, OfAnInterfaceThatIsUp)
{
    link(7, "eth0", IFF_UP | IFF_LOWER_UP);
    const uint8_t mac[6] = {2, 0, 0, 0, 0, 9};
    nla_put(message.get(), IFLA_ADDRESS, sizeof mac, mac);
    nla_put_u8(message.get(), IFLA_OPERSTATE, IF_OPER_UP);
    const device::link_facts facts = read();
    EXPECT_EQ(facts.key, 7u);
    EXPECT_EQ(facts.name, "eth0");
    EXPECT_EQ(facts.type, 26);
    EXPECT_TRUE(facts.admin_up && facts.link && facts.protoup && facts.ethernet);
    EXPECT_EQ(facts.mac[5], 9);
    EXPECT_EQ(facts.encap, 1);
    EXPECT_EQ(facts.mtu, 1500);
}

TEST_F(LinkFacts, KnowTheProtocolToBeUpOnlyWhereTheKernelDoesNotSayOtherwise)
{
    const auto protoup = [this](unsigned flags, uint8_t operstate) {
        link(7, "eth0", flags);
        nla_put_u8(message.get(), IFLA_OPERSTATE, operstate);
        return read().protoup;
    };
    EXPECT_TRUE(protoup(IFF_UP | IFF_LOWER_UP, IF_OPER_UP));
    EXPECT_TRUE(protoup(IFF_UP | IFF_LOWER_UP, IF_OPER_UNKNOWN));
    EXPECT_FALSE(protoup(IFF_UP, IF_OPER_UNKNOWN));
    EXPECT_FALSE(protoup(IFF_LOWER_UP, IF_OPER_UP));
    EXPECT_FALSE(protoup(IFF_UP | IFF_LOWER_UP, IF_OPER_DORMANT));
    EXPECT_FALSE(protoup(IFF_UP, IF_OPER_LOWERLAYERDOWN));
}

TEST_F(LinkFacts, CutAnMtuAtSixteenBits)
{
    link(1, "lo", IFF_UP | IFF_LOOPBACK | IFF_LOWER_UP, ARPHRD_LOOPBACK);
    number(IFLA_MTU, 65536);
    const device::link_facts facts = read();
    EXPECT_EQ(facts.mtu, 65535);
    EXPECT_TRUE(facts.loopback);
    EXPECT_EQ(facts.type, 20);
}

TEST_F(LinkFacts, OfAVlanLinkNameItsParentUnlessThatIsInAnotherNamespace)
{
    link(8, "eth0.100", 0);
    number(IFLA_LINK, 7);
    kind("vlan", IFLA_VLAN_ID, 100, 2);
    const device::link_facts facts = read();
    EXPECT_EQ(facts.type, 27);
    EXPECT_EQ(facts.vlan, 100);
    EXPECT_EQ(facts.parent_key, 7u);

    number(IFLA_LINK_NETNSID, 0);
    EXPECT_EQ(read().parent_key, 0u);
}

TEST_F(LinkFacts, OfAVethDoNotTakeItsPeerForAParent)
{
    link(8, "veth0", 0);
    number(IFLA_LINK, 7);
    kind("veth");
    EXPECT_EQ(read().parent_key, 0u);
}

TEST_F(LinkFacts, OfAVrfNameItsTable)
{
    link(9, "red", IFF_UP);
    kind("vrf", IFLA_VRF_TABLE, 1001);
    const device::link_facts facts = read();
    EXPECT_EQ(facts.table, 1001u);
    EXPECT_EQ(facts.masters, device::mastery::vrf);
}

TEST_F(LinkFacts, OfALinkThatKeepsItsDataToItselfAreWithoutThem)
{
    link(8, "eth0.100", 0);
    number(IFLA_LINK, 7);
    kind("vlan");
    EXPECT_EQ(read().vlan, 0);
    link(9, "red", IFF_UP);
    kind("vrf");
    EXPECT_EQ(read().table, 0u);
}

// libnl would read data that are not there.
TEST_F(LinkFacts, AreNotReadWhereALinkHasStatisticsOfItsKindAndNoData)
{
    link(8, "eth0.100", 0);
    nlattr *info = nla_nest_start(message.get(), IFLA_LINKINFO);
    nla_put_string(message.get(), IFLA_INFO_KIND, "vlan");
    number(IFLA_INFO_XSTATS, 0);
    nla_nest_end(message.get(), info);
    device::link_facts facts;
    EXPECT_FALSE(device::read_link_facts(message.get(), facts));
}

TEST_F(LinkFacts, OfAFlagWithoutAByteAreThatItIsNotSet)
{
    link(12, "br0", IFF_UP);
    kind("bridge", IFLA_BR_VLAN_FILTERING, 0, 0);
    EXPECT_FALSE(read().filters_vlans);
}

TEST_F(LinkFacts, OfALinkThatIsDescribedTwiceAreThoseOfTheLastDescription)
{
    link(8, "eth0.100", 0);
    kind("vlan", IFLA_VLAN_ID, 100, 2);
    kind("vlan");
    EXPECT_EQ(read().vlan, 0);
    link(8, "eth0.100", 0);
    kind("vlan");
    kind("vlan", IFLA_VLAN_ID, 100, 2);
    EXPECT_EQ(read().vlan, 100);
}

TEST_F(LinkFacts, OfAMemberNameItsMaster)
{
    link(10, "eth1", IFF_UP);
    number(IFLA_MASTER, 20);
    EXPECT_EQ(read().master_key, 20u);
}

TEST_F(LinkFacts, OfABridgePortSayWhetherFramesPass)
{
    link(10, "eth1", IFF_UP);
    bridge_port(BR_STATE_FORWARDING);
    EXPECT_TRUE(read().forwards);
    link(10, "eth1", IFF_UP);
    bridge_port(BR_STATE_BLOCKING);
    EXPECT_FALSE(read().forwards);
}

TEST_F(LinkFacts, OfABridgeSayWhetherItFiltersVlans)
{
    link(12, "br0", IFF_UP);
    kind("bridge", IFLA_BR_VLAN_FILTERING, 1, 1);
    EXPECT_TRUE(read().filters_vlans);
    link(12, "br0", IFF_UP);
    kind("bridge", IFLA_BR_VLAN_FILTERING, 0, 1);
    EXPECT_FALSE(read().filters_vlans);
    link(12, "br0", IFF_UP);
    kind("bridge");
    EXPECT_FALSE(read().filters_vlans);
    link(12, "vrf0", IFF_UP);
    kind("vrf", IFLA_BR_VLAN_FILTERING, 1, 1);
    EXPECT_FALSE(read().filters_vlans) << "the number means something else there";
}

TEST_F(LinkFacts, OfATunnelSayThatItIsPointToPoint)
{
    link(11, "gre1", IFF_UP | IFF_POINTOPOINT, ARPHRD_IPGRE);
    kind("gre");
    const device::link_facts facts = read();
    EXPECT_TRUE(facts.p2p);
    EXPECT_FALSE(facts.ethernet);
    EXPECT_EQ(facts.type, 24);
    EXPECT_EQ(facts.encap, 4);
}

TEST_F(LinkFacts, AreNotReadFromAnotherMessage)
{
    device::link_facts facts;
    message.reset(nlmsg_alloc_simple(RTM_NEWADDR, 0));
    nlmsg_set_proto(message.get(), NETLINK_ROUTE);
    EXPECT_FALSE(device::read_link_facts(message.get(), facts));
    message.reset(nlmsg_alloc_simple(RTM_NEWLINK, 0));
    nlmsg_set_proto(message.get(), NETLINK_ROUTE);
    EXPECT_FALSE(device::read_link_facts(message.get(), facts));
}

} // namespace
