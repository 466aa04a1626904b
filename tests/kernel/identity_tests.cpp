// SPDX-License-Identifier: Apache-2.0
//
// identity_tests.cpp: names that move, and interfaces that are made anew.
#include <nlohmann/json.hpp>

#include "kernel_guest.h"
#include "varn.h"

namespace
{

class Identity : public KernelGuest
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(KernelGuest::SetUp());
        ip_batch("link add port0 type veth peer name peer0\n"
                 "link add port1 type veth peer name peer1\n"
                 "link set peer0 up\nlink set peer1 up\n");
        expect_what_ip_says();
    }

    static std::string ordinal_of(const std::string &name)
    {
        const auto links = nlohmann::json::parse(run({"/sbin/ip", "-j", "link", "show", name}).out);
        return std::to_string(links[0]["ifindex"].get<int>());
    }

    void expect_gone(std::uint32_t iod, std::uint32_t if_index)
    {
        std::uint32_t out = 5;
        EXPECT_NE(varn_ifsvc_get_ifindex_frm_iod(iod, &out), 0U);
        EXPECT_NE(varn_ifsvc_get_iod_frm_ifindex(if_index, &out), 0U);
        EXPECT_EQ(out, 5U);
    }
};

TEST_F(Identity, StaysWhenTheNameChanges)
{
    const auto iod = iod_of("port0"), if_index = if_index_of("port0");
    ip("link set port0 name uplink");
    expect_what_ip_says();
    EXPECT_EQ(iod_of("uplink"), iod);
    EXPECT_EQ(if_index_of("uplink"), if_index);
    EXPECT_EQ(iod_of("port0"), 0U);
}

TEST_F(Identity, StaysWhenTwoSwapTheirNames)
{
    const auto first = iod_of("port0"), second = iod_of("port1");
    ip_batch("link set port0 mtu 1400\nlink set port0 name between\nlink set port1 name port0\n"
             "link set between name port1\n");
    expect_what_ip_says();
    EXPECT_EQ(iod_of("port1"), first);
    EXPECT_EQ(iod_of("port0"), second);
}

TEST_F(Identity, IsNewForAnInterfaceWithTheNameAndTheOrdinalOfAnother)
{
    for (const char *kind : {"veth peer name peer0", "dummy", "bond", "gretap local 192.0.2.1"}) {
        const auto iod = iod_of("port0"), if_index = if_index_of("port0");
        const std::string ordinal = ordinal_of("port0");
        ip("link del port0");
        ip("link add port0 index " + ordinal + " type " + kind);
        expect_what_ip_says();
        EXPECT_EQ(ordinal_of("port0"), ordinal);
        EXPECT_NE(iod_of("port0"), iod) << kind;
        EXPECT_NE(if_index_of("port0"), if_index) << kind;
        expect_gone(iod, if_index);
    }
}

// Deleted and made while the service was not looking: it hears of both afterwards.
TEST_F(Identity, IsNewAlsoWhenTheServiceHearsOfItLate)
{
    const auto iod = iod_of("port1"), if_index = if_index_of("port1");
    const std::string ordinal = ordinal_of("port1");
    service->send(SIGSTOP);
    ip("link del port1");
    ip("link add port1 index " + ordinal + " address 02:00:00:00:00:07 type dummy");
    ip("link del port1");
    ip("link add port1 index " + ordinal + " address 02:00:00:00:00:07 type dummy");
    service->send(SIGCONT);
    expect_what_ip_says();
    EXPECT_NE(iod_of("port1"), iod);
    expect_gone(iod, if_index);
}

TEST_F(Identity, OfAVlanInterfaceThatIsMadeAnewIsItsVlans)
{
    ip("link add bridge0 type bridge");
    ip("link add link bridge0 name vlan10 type vlan id 10");
    const auto iod = iod_of("vlan10"), if_index = if_index_of("vlan10");
    const std::string ordinal = ordinal_of("vlan10");
    ip("link del vlan10");
    ip("link add link bridge0 name vlan10 index " + ordinal + " type vlan id 10");
    expect_what_ip_says();
    EXPECT_NE(iod_of("vlan10"), iod);
    EXPECT_EQ(if_index_of("vlan10"), if_index) << "the if-index is that of the VLAN";
}

TEST_F(Identity, EndsWhenALinkMovesToAnotherNamespace)
{
    const auto iod = iod_of("port1"), if_index = if_index_of("port1");
    running_process holder({"/bin/unshare", "-n", "sleep", "1000"});
    const std::string its = "/proc/" + std::to_string(holder.pid()) + "/ns/net";
    ASSERT_TRUE(eventually([&] {
        return run({"/bin/sh", "-c",
                    "[ \"$(readlink " + its + ")\" != \"$(readlink /proc/self/ns/net)\" ]"})
                   .exit_code == 0;
    }));
    ip("link set port1 netns " + std::to_string(holder.pid()));
    expect_what_ip_says();
    expect_gone(iod, if_index);
    EXPECT_EQ(iod_of("port1"), 0U);
}

} // namespace
