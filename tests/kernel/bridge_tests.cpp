// SPDX-License-Identifier: Apache-2.0
//
// bridge_tests.cpp: switchports, their VLANs and the interfaces of VLANs.
#include "kernel_guest.h"
#include "supvr.h"
#include "varn.h"

namespace
{

class Bridge : public KernelGuest
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(KernelGuest::SetUp());
        ip_batch("link add port0 type veth peer name peer0\n"
                 "link add port1 type veth peer name peer1\n"
                 "link set port0 up\nlink set peer0 up\nlink set port1 up\nlink set peer1 up\n"
                 "link add bridge0 type bridge\nlink set bridge0 up\n");
    }

    void fill(const std::string &filtering)
    {
        ip("link set bridge0 type bridge vlan_filtering " + filtering);
        ip("link set port0 master bridge0");
        ip("link set port1 master bridge0");
    }
};

TEST_F(Bridge, MakesSwitchportsOfItsPortsAsLongAsTheyAreIn)
{
    fill("0");
    expect_what_ip_says();
    ip("link set port0 nomaster");
    expect_what_ip_says();
    ip("link set port1 down");
    expect_what_ip_says();
    ip("link del bridge0");
    expect_what_ip_says();
}

TEST_F(Bridge, ForwardsAPortWhenItsProtocolHasDecided)
{
    ip("link set bridge0 type bridge stp_state 1 forward_delay 200");
    fill("0");
    expect_what_ip_says();
    const auto port_forwards = [] {
        return run({"/bin/sh", "-c", "/sbin/ip -d link show port0 | grep -q 'state forwarding'"})
                   .exit_code == 0;
    };
    EXPECT_FALSE(port_forwards());
    EXPECT_TRUE(eventually(port_forwards));
    expect_what_ip_says();
}

TEST_F(Bridge, ThatFiltersGivesItsPortsTheVlanOne)
{
    fill("1");
    expect_what_ip_says();
}

TEST_F(Bridge, PutsPortsIntoVlans)
{
    fill("1");
    bridge("vlan add dev port0 vid 10 pvid untagged");
    expect_what_ip_says();
    bridge("vlan del dev port0 vid 1");
    expect_what_ip_says();
    bridge("vlan add dev port1 vid 100-4000");
    expect_what_ip_says();
    bridge("vlan add dev port0 vid 4094 pvid");
    expect_what_ip_says();
    bridge("vlan del dev port0 vid 10");
    bridge("vlan del dev port0 vid 4094");
    expect_what_ip_says();
    bridge("vlan del dev port1 vid 1");
    bridge("vlan del dev port1 vid 100-4000");
    bridge("vlan add dev port1 vid 300");
    expect_what_ip_says();
}

TEST_F(Bridge, MeansNothingByVlansWhileItDoesNotFilter)
{
    fill("1");
    bridge("vlan add dev port0 vid 10 pvid untagged");
    bridge("vlan add dev port1 vid 20");
    expect_what_ip_says();
    ip("link set bridge0 type bridge vlan_filtering 0");
    expect_what_ip_says();
    ip("link set bridge0 type bridge vlan_filtering 1");
    expect_what_ip_says();
}

TEST_F(Bridge, GivesItsPortsAnotherVlanByDefault)
{
    ip("link set bridge0 type bridge vlan_default_pvid 77");
    fill("1");
    expect_what_ip_says();
    ip("link set bridge0 type bridge vlan_default_pvid 78");
    expect_what_ip_says();
    ip("link set bridge0 type bridge vlan_default_pvid 0");
    expect_what_ip_says();
}

TEST_F(Bridge, HasAnInterfaceForAVlan)
{
    fill("1");
    bridge("vlan add dev bridge0 vid 10 self");
    ip("link add link bridge0 name vlan10 type vlan id 10");
    ip("link set vlan10 up");
    expect_what_ip_says();
    ip("link set vlan10 mtu 1400");
    ip("link set bridge0 down");
    expect_what_ip_says();
    ip("link del vlan10");
    expect_what_ip_says();
    ip("link add link bridge0 name again type vlan id 10");
    expect_what_ip_says();
}

TEST_F(Bridge, LosesAPortToAnotherWithAllItsVlans)
{
    fill("1");
    bridge("vlan add dev port0 vid 10 pvid untagged");
    ip("link add bridge1 type bridge vlan_filtering 1 vlan_default_pvid 5");
    ip("link set bridge1 up");
    expect_what_ip_says();
    ip("link set port0 master bridge1");
    expect_what_ip_says();
}

// Which of some VLANs have a bridge domain, by the cache and by the service alike.
std::set<unsigned> vlans_with_a_domain()
{
    std::set<unsigned> found;
    for (const unsigned vlan : {1u, 10u, 20u, 30u, 40u}) {
        std::uint16_t direct = 0, cached = 0;
        if (vlan_get_bd({supvr_vinst_get(), vlan}, &direct) == 0)
            found.insert(vlan);
        EXPECT_EQ(varn_vlan_get_bd({supvr_vinst_get(), vlan}, &cached), 0u);
        EXPECT_EQ(cached, direct) << vlan;
    }
    return found;
}

TEST_F(Bridge, GivesABridgeDomainToEveryVlanThatItCarries)
{
    using vlans = std::set<unsigned>;
    fill("1");
    bridge("vlan add dev bridge0 vid 20 self");
    ip("link add link bridge0 name vlan30 type vlan id 30");
    bridge("vlan add dev port0 vid 10");
    expect_what_ip_says();
    EXPECT_EQ(vlans_with_a_domain(), (vlans{1, 10, 20, 30}));
    bridge("vlan del dev bridge0 vid 20 self");
    bridge("vlan del dev port0 vid 10");
    expect_what_ip_says();
    EXPECT_EQ(vlans_with_a_domain(), (vlans{1, 30}));
    ip("link set bridge0 type bridge vlan_filtering 0");
    expect_what_ip_says();
    EXPECT_EQ(vlans_with_a_domain(), (vlans{30}));
    ip("link del vlan30");
    expect_what_ip_says();
    EXPECT_EQ(vlans_with_a_domain(), (vlans{}));
}

} // namespace
