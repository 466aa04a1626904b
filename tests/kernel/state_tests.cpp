// SPDX-License-Identifier: Apache-2.0
//
// state_tests.cpp: what comes and goes while an interface lives.
#include "kernel_guest.h"

namespace
{

class State : public KernelGuest
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(KernelGuest::SetUp());
        ip_batch("link add port0 type veth peer name peer0\n"
                 "link set port0 up\nlink set peer0 up\n"
                 "link add link port0 name port0.5 type vlan id 5\nlink set port0.5 up\n");
        expect_what_ip_says();
    }
};

TEST_F(State, FollowsALinkThatGoesAndComes)
{
    ip("link set port0 down");
    expect_what_ip_says();
    ip("link set port0 up");
    expect_what_ip_says();
    ip("link set port0.5 up");
    expect_what_ip_says();
}

TEST_F(State, FollowsThePeersLink)
{
    ip("link set peer0 down");
    expect_what_ip_says();
    ip("link set peer0 up");
    expect_what_ip_says();
}

TEST_F(State, FollowsWhatIsSaidOfTheOperation)
{
    ip("link set port0 mode dormant");
    ip("link set port0 down");
    ip("link set port0 up");
    expect_what_ip_says();
    ip("link set port0 mode default");
    ip("link set port0 down");
    ip("link set port0 up");
    expect_what_ip_says();
}

TEST_F(State, FollowsTheMtu)
{
    ip("link set port0 mtu 9000");
    ip("link set port0.5 mtu 8996");
    expect_what_ip_says();
    ip("link set port0 mtu 1280"); // that of the VLAN link follows
    expect_what_ip_says();
}

TEST_F(State, FollowsTheAddress)
{
    ip("link set port0 address 02:00:00:00:00:2a");
    expect_what_ip_says();
    ip("link set port0.5 address 02:00:00:00:00:2b");
    expect_what_ip_says();
}

TEST_F(State, FollowsWhatOthersDoToALink)
{
    ip("link set port0 promisc on");
    ip("link set port0 arp off");
    ip("link set port0 alias something");
    ip("link set port0 txqueuelen 77");
    expect_what_ip_says();
}

} // namespace
