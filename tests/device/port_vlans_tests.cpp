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

#include "if_index.h"

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

    device::carried_vlans read()
    {
        uint32_t key = 0;
        device::carried_vlans vlans;
        EXPECT_TRUE(device::read_port_vlans(message.get(), key, vlans));
        EXPECT_EQ(key, 7u);
        return vlans;
    }

    device::port_vlans of(const std::vector<bridge_vlan_info> &list)
    {
        begin(AF_BRIDGE);
        add(list);
        return read().summary;
    }

    std::vector<unsigned> all_of(const std::vector<bridge_vlan_info> &list)
    {
        begin(AF_BRIDGE);
        add(list);
        const device::vlan_set all = read().all;
        std::vector<unsigned> ids;
        for (unsigned id = 0; id < all.size(); ++id)
            if (all[id])
                ids.push_back(id);
        return ids;
    }

    bool says_nothing()
    {
        uint32_t key = 5;
        device::carried_vlans vlans;
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

TEST_F(PortVlans, AreAllThatThePortCarries)
{
    using ids = std::vector<unsigned>;
    EXPECT_EQ(all_of({{pvid | untagged, 1}}), (ids{1}));
    EXPECT_EQ(all_of({{0, 31}, {pvid | untagged, 32}, {0, 63}, {0, 64}, {untagged, 4094}}),
              (ids{31, 32, 63, 64, 4094}));
    EXPECT_EQ(all_of({{begins, 126}, {ends, 129}}), (ids{126, 127, 128, 129}));
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
    EXPECT_EQ(read().summary.pvid, 10);
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

TEST(VlansOfADevice, AreThoseThatAFilteringBridgeCarriesAndThoseWithAnInterface)
{
    device::device_model model;
    const auto put = [&model](uint32_t key, device::mastery masters, uint32_t master,
                              bool filters) {
        device::link_facts facts;
        facts.key = key;
        facts.type = IF_INDEX_TYPE_PHYSICAL;
        facts.masters = masters;
        facts.master_key = master;
        facts.filters_vlans = filters;
        ASSERT_TRUE(model.put(facts));
    };
    put(1, device::mastery::bridge, 0, true);
    put(2, device::mastery::none, 1, false);
    put(3, device::mastery::bridge, 0, false);
    put(4, device::mastery::none, 3, false);
    device::link_facts svi;
    svi.key = 5;
    svi.type = IF_INDEX_TYPE_SVI;
    svi.vlan = 50;
    ASSERT_TRUE(model.put(svi));

    std::map<uint32_t, device::carried_vlans> ports;
    ports[1].all.set(10);
    ports[2].all.set(20);
    ports[3].all.set(30);
    ports[4].all.set(40);
    ports[99].all.set(60);
    device::vlan_set expected;
    expected.set(10).set(20).set(50);
    EXPECT_EQ(device::vlans_of_device(model, ports), expected);
}

} // namespace
