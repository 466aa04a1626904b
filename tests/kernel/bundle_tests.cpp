// SPDX-License-Identifier: Apache-2.0
//
// bundle_tests.cpp: bonds and teams, and their members. Each member has a peer by which its link can
// be taken away.
#include "kernel_guest.h"

namespace
{

struct bundle {
    const char *kind;
    const char *how; // to make one
};

class PortChannel : public KernelGuest, public testing::WithParamInterface<bundle>
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(KernelGuest::SetUp());
        for (const char *n : {"0", "1", "2"}) {
            const std::string number = n;
            ip("link add port" + number + " type veth peer name peer" + number);
            ip("link set up peer" + number);
        }
        ip(std::string("link add pc0 ") + GetParam().how);
        ip("link set pc0 up");
    }

    void take_in(const std::string &port)
    {
        ip("link set " + port + " down");
        ip("link set " + port + " master pc0");
        ip("link set " + port + " up");
    }
};

TEST_P(PortChannel, HasNoMemberBeforeOneIsTakenIn)
{
    expect_what_ip_says();
    take_in("port1");
    expect_what_ip_says();
}

TEST_P(PortChannel, SharesItsBucketsAmongTheOperationalMembers)
{
    for (const char *port : {"port2", "port0", "port1"})
        take_in(port);
    expect_what_ip_says();
    ip("link set peer0 down");
    expect_what_ip_says();
    ip("link set peer1 down");
    ip("link set peer2 down");
    expect_what_ip_says();
    ip("link set peer1 up");
    expect_what_ip_says();
}

TEST_P(PortChannel, LosesAMemberThatIsReleasedDeletedOrTakenDown)
{
    for (const char *port : {"port0", "port1", "port2"})
        take_in(port);
    expect_what_ip_says();
    ip("link set port0 nomaster");
    expect_what_ip_says();
    ip("link del port1");
    expect_what_ip_says();
    ip("link set port2 down");
    expect_what_ip_says();
}

TEST_P(PortChannel, KeepsItsMembersWhenNamesAndMtuChange)
{
    take_in("port0");
    take_in("port1");
    ip("link set pc0 mtu 1400");
    expect_what_ip_says();
    ip("link set pc0 down");
    ip("link set pc0 name uplink");
    ip("link set uplink up");
    expect_what_ip_says();
}

TEST_P(PortChannel, IsASwitchportWithInterfacesOfItsOwnWhenItIsInABridge)
{
    ip("link add bridge0 type bridge vlan_filtering 1");
    ip("link set bridge0 up");
    take_in("port0");
    ip("link add link pc0 name pc0.7 type vlan id 7");
    ip("link set pc0.7 up");
    expect_what_ip_says();
    ip("link set pc0 master bridge0");
    bridge("vlan add dev pc0 vid 20 pvid untagged");
    expect_what_ip_says();
    ip("link set pc0 nomaster");
    expect_what_ip_says();
}

TEST_P(PortChannel, LeavesItsMembersBehind)
{
    take_in("port0");
    take_in("port1");
    expect_what_ip_says();
    ip("link del pc0");
    expect_what_ip_says();
    ip(std::string("link add pc0 ") + GetParam().how);
    expect_what_ip_says();
}

TEST_P(PortChannel, MayGetAMemberOfAnother)
{
    ip(std::string("link add pc1 ") + GetParam().how);
    ip("link set pc1 up");
    take_in("port0");
    take_in("port1");
    expect_what_ip_says();
    ip_batch("link set port0 nomaster\nlink set port0 down\nlink set port0 master pc1\n"
             "link set port0 up\n");
    expect_what_ip_says();
}

INSTANTIATE_TEST_SUITE_P(Of, PortChannel,
                         testing::Values(bundle{"Bond", "type bond miimon 20 mode balance-rr"},
                                         bundle{"BackupBond",
                                                "type bond miimon 20 mode active-backup"},
                                         bundle{"Team", "type team"}),
                         [](const testing::TestParamInfo<bundle> &of) { return of.param.kind; });

} // namespace
