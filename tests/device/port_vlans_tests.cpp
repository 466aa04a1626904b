// SPDX-License-Identifier: Apache-2.0
//
// port_vlans_tests.cpp: the messages in which a kernel that filters VLANs tells those of a port,
// built by hand: the kernel under the tests may have no such filter.
#include "port_vlans.h"

#include <memory>

#include <gtest/gtest.h>
#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>

namespace
{

constexpr uint16_t pvid = BRIDGE_VLAN_INFO_PVID;
constexpr uint16_t untagged = BRIDGE_VLAN_INFO_UNTAGGED;
constexpr uint16_t begins = BRIDGE_VLAN_INFO_RANGE_BEGIN;
constexpr uint16_t ends = BRIDGE_VLAN_INFO_RANGE_END;

class PortVlans : public testing::Test
{
protected:
    struct free_message {
        void operator()(nl_msg *gone) const { nlmsg_free(gone); }
    };

    void begin(uint8_t family, uint16_t type = RTM_NEWLINK)
    {
        message.reset(nlmsg_alloc_simple(type, 0));
        nlmsg_set_proto(message.get(), NETLINK_ROUTE);
        ifinfomsg header{};
        header.ifi_family = family;
        header.ifi_index = 7;
        ASSERT_EQ(nlmsg_append(message.get(), &header, sizeof header, NLMSG_ALIGNTO), 0);
        nla_put_string(message.get(), IFLA_IFNAME, "leaf0");
        nla_put_u32(message.get(), IFLA_MASTER, 3);
    }

    void add(const std::vector<bridge_vlan_info> &list, int flags = -1)
    {
        nlattr *spec = nla_nest_start(message.get(), IFLA_AF_SPEC);
        if (flags >= 0)
            nla_put_u16(message.get(), IFLA_BRIDGE_FLAGS, static_cast<uint16_t>(flags));
        for (const bridge_vlan_info &vlan : list)
            nla_put(message.get(), IFLA_BRIDGE_VLAN_INFO, sizeof vlan, &vlan);
        nla_nest_end(message.get(), spec);
    }

    device::port_vlans read()
    {
        uint32_t key = 0;
        device::port_vlans vlans;
        EXPECT_TRUE(device::read_port_vlans(message.get(), key, vlans));
        EXPECT_EQ(key, 7u);
        return vlans;
    }

    device::port_vlans of(const std::vector<bridge_vlan_info> &list)
    {
        begin(AF_BRIDGE);
        add(list);
        return read();
    }

    bool says_nothing()
    {
        uint32_t key = 5;
        device::port_vlans vlans;
        const bool read = device::read_port_vlans(message.get(), key, vlans);
        EXPECT_EQ(key, 5u);
        return !read;
    }

    std::unique_ptr<nl_msg, free_message> message;
};

using device::port_vlans;

TEST_F(PortVlans, OfAnAccessPortAreOneThatIsUntagged)
{
    EXPECT_EQ(of({{pvid | untagged, 10}}), (port_vlans{10, false}));
    EXPECT_EQ(of({{pvid | untagged, 1}}), (port_vlans{1, false}));
    EXPECT_EQ(of({{pvid | untagged, 4094}}), (port_vlans{4094, false}));
}

TEST_F(PortVlans, OfATrunkAreSeveralOrTagged)
{
    EXPECT_EQ(of({{0, 5}, {pvid | untagged, 10}}), (port_vlans{10, true}));
    EXPECT_EQ(of({{pvid | untagged, 10}, {untagged, 11}}), (port_vlans{10, true}));
    EXPECT_EQ(of({{pvid, 10}}), (port_vlans{10, true})) << "leaves with a tag";
}

TEST_F(PortVlans, MayLackOneForWhatComesInUntagged)
{
    EXPECT_EQ(of({{0, 20}}), (port_vlans{0, true}));
    EXPECT_EQ(of({{untagged, 20}}), (port_vlans{0, false}));
}

TEST_F(PortVlans, ComeAsRangesToo)
{
    EXPECT_EQ(of({{pvid | untagged, 1}, {begins, 2}, {ends, 4094}}), (port_vlans{1, true}));
    EXPECT_EQ(of({{untagged | begins, 2}, {untagged | ends, 3}}), (port_vlans{0, true}));
}

TEST_F(PortVlans, AreNotToldByAKernelThatDoesNotFilter)
{
    begin(AF_BRIDGE);
    EXPECT_TRUE(says_nothing());
    add({});
    EXPECT_TRUE(says_nothing());
}

TEST_F(PortVlans, AreNotThoseOfTheSwitchInsideOfACard)
{
    begin(AF_BRIDGE);
    add({{pvid | untagged, 10}}, BRIDGE_FLAGS_SELF);
    EXPECT_TRUE(says_nothing());
    begin(AF_BRIDGE);
    add({{pvid | untagged, 10}}, BRIDGE_FLAGS_MASTER);
    EXPECT_EQ(read().pvid, 10);
}

TEST_F(PortVlans, AreNotReadFromAnotherMessageOrAMalformedOne)
{
    begin(AF_UNSPEC);
    EXPECT_TRUE(says_nothing());
    begin(AF_BRIDGE, RTM_DELLINK);
    add({{pvid | untagged, 10}});
    EXPECT_TRUE(says_nothing());
    for (const uint16_t no_vlan : {uint16_t{0}, uint16_t{4095}}) {
        begin(AF_BRIDGE);
        add({{pvid | untagged, no_vlan}});
        EXPECT_TRUE(says_nothing()) << no_vlan;
    }
}

} // namespace
