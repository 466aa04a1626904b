// SPDX-License-Identifier: Apache-2.0
//
// vrf_tests.cpp: routing contexts and their tables.
#include "kernel_guest.h"

namespace
{

class Vrf : public KernelGuest
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(KernelGuest::SetUp());
        ip_batch("link add port0 type veth peer name peer0\n"
                 "link add link port0 name port0.5 type vlan id 5\n"
                 "link add dummy0 type dummy\n"
                 "link add red type vrf table 1001\nlink add blue type vrf table 4000000000\n"
                 "link set red up\nlink set blue up\n");
    }
};

TEST_F(Vrf, HoldsItsMembersInItsContextAndTable)
{
    expect_what_ip_says();
    ip("link set port0 master red");
    ip("link set dummy0 master blue");
    expect_what_ip_says();
    ip("link set port0.5 master red");
    expect_what_ip_says();
}

TEST_F(Vrf, LosesMembersToAnotherAndToNone)
{
    ip("link set port0 master red");
    ip("link set port0.5 master red");
    expect_what_ip_says();
    ip("link set port0 master blue");
    expect_what_ip_says();
    ip("link set port0 nomaster");
    expect_what_ip_says();
    ip("link del red");
    expect_what_ip_says();
}

TEST_F(Vrf, MadeAnewHasTheTableThatItSays)
{
    ip("link set port0 master red");
    expect_what_ip_says();
    ip("link del red");
    ip("link add red type vrf table 1002");
    ip("link set port0 master red");
    expect_what_ip_says();
}

} // namespace
