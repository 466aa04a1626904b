// SPDX-License-Identifier: Apache-2.0
//
// link_kind_tests.cpp: a link of every kind, and what it is on the device.
#include <sched.h>

#include "kernel_guest.h"

namespace
{

class LinkKind : public KernelGuest
{
};

// "1": only the guest's first namespace has them. The switch can be seen from there only.
void set_fallback_tunnels(const std::string &only_there)
{
    const std::string file = "/proc/sys/net/core/fb_tunnels_only_for_init_net";
    const finished done =
        run({"/bin/nsenter", "-t", "1", "-n", "/bin/sh", "-c", "echo " + only_there + " >" + file});
    EXPECT_EQ(done.exit_code, 0) << done.err;
}

TEST_F(LinkKind, MakesTheTypeOfEveryPortAndBundle)
{
    ip_batch("link set lo up\n"
             "link add veth0 type veth peer name veth1\n"
             "link add dummy0 type dummy\n"
             "link add bond0 type bond\n"
             "link add team0 type team\n"
             "link add bridge0 type bridge\n"
             "link add vrf0 type vrf table 1001\n"
             "link add ifb0 type ifb\n"
             "link add nlmon0 type nlmon\n");
    expect_what_ip_says();
    ip_batch("link set veth0 up\nlink set veth1 up\nlink set dummy0 up\nlink set bond0 up\n"
             "link set team0 up\nlink set bridge0 up\nlink set vrf0 up\nlink set ifb0 up\n"
             "link set nlmon0 up\n");
    expect_what_ip_says();
}

TEST_F(LinkKind, MakesTheTypeOfEveryTunnel)
{
    ip_batch("link add gre1 type gre local 192.0.2.1 remote 192.0.2.2\n"
             "link add gre2 type gre local 192.0.2.1 key 7\n"
             "link add gretap1 type gretap local 192.0.2.1 remote 192.0.2.2\n"
             "link add erspan1 type erspan seq key 9 local 192.0.2.1 remote 192.0.2.2\n"
             "link add ip6gre1 type ip6gre local 2001:db8::1 remote 2001:db8::2\n"
             "link add ip6gretap1 type ip6gretap local 2001:db8::1 remote 2001:db8::2\n"
             "link add sit1 type sit local 192.0.2.1 remote 192.0.2.2\n"
             "link add ipip1 type ipip local 192.0.2.1 remote 192.0.2.2\n"
             "link add tnl1 type ip6tnl local 2001:db8::1 remote 2001:db8::2\n"
             "link add vxlan1 type vxlan id 7 dstport 4789 local 192.0.2.1 remote 192.0.2.2\n");
    expect_what_ip_says();
    for (const char *name : {"gre1", "gre2", "gretap1", "ip6gre1", "sit1", "ipip1", "tnl1"})
        ip(std::string("link set up ") + name);
    expect_what_ip_says();
}

TEST_F(LinkKind, OfVlanLinksDependsOnWhatTheyStandOn)
{
    ip_batch("link add port0 type veth peer name port1\n"
             "link add bond0 type bond\n"
             "link add team0 type team\n"
             "link add bridge0 type bridge vlan_filtering 1\n"
             "link add link port0 name port0.5 type vlan id 5\n"
             "link add link port0.5 name port0.5.6 type vlan id 6\n"
             "link add link bond0 name bond0.5 type vlan id 5\n"
             "link add link team0 name team0.4094 type vlan id 4094\n"
             "link add link bridge0 name vlan5 type vlan id 5\n"
             "link add link bridge0 name vlan1 type vlan id 1\n"
             "link add link port0 name port0.1ad type vlan proto 802.1ad id 5\n");
    expect_what_ip_says();
    ip_batch("link set port0 up\nlink set port1 up\nlink set bridge0 up\nlink set port0.5 up\n"
             "link set port0.5.6 up\nlink set vlan5 up\n");
    expect_what_ip_says();
}

TEST_F(LinkKind, WithAnotherLinkBelowIsNotThatOfAVlanLink)
{
    ip_batch("link add dummy0 type dummy\nlink add dummy1 type dummy\n"
             "link add link dummy0 name macvlan0 type macvlan mode bridge\n"
             "link add link dummy1 name ipvlan0 type ipvlan\n"
             "link add link macvlan0 name macvlan0.9 type vlan id 9\n");
    ip_batch("link set dummy0 up\nlink set macvlan0 up\nlink set macvlan0.9 up\n");
    expect_what_ip_says();
    ip("link del dummy0"); // takes with it what stands on it
    expect_what_ip_says();
    EXPECT_EQ(iod_of("macvlan0.9"), 0U);
}

// One VLAN has one interface. Which of the two is served is the order in which they came.
TEST_F(LinkKind, OfASecondInterfaceOfAVlanIsNoneUntilTheFirstIsGone)
{
    ip_batch("link add bridge0 type bridge\nlink add bridge1 type bridge\n"
             "link add link bridge0 name first type vlan id 10\n"
             "link add link bridge1 name second type vlan id 10\n");
    not_served = {"second"};
    expect_what_ip_says();
    EXPECT_NE(log().find("second cannot be numbered and is not served"), std::string::npos);
    ip("link del first");
    not_served = {};
    expect_what_ip_says();
}

// The tunnels that the kernel puts into every namespace of its own accord.
TEST_F(LinkKind, OfTheTunnelsThatAreThereFromTheBeginningIsThatOfAnyOther)
{
    set_fallback_tunnels("0");
    ASSERT_EQ(unshare(CLONE_NEWNET), 0);
    set_fallback_tunnels("1");
    start_service();
    expect_what_ip_says();
    EXPECT_NE(iod_of("gre0"), 0U);
    EXPECT_NE(iod_of("sit0"), 0U);
    ip("link set lo mtu 1300");
    expect_what_ip_says();
}

} // namespace
