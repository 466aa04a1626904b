// SPDX-License-Identifier: Apache-2.0
//
// kernel_source_tests.cpp: what the source makes of notifications and answers that no test can have
// of the kernel under it: VLANs of bridges, interrupted dumps, losses, failures, storms.
#include "kernel_source.h"

#include <gtest/gtest.h>
#include <linux/rtnetlink.h>
#include <netlink/errno.h>

#include "scripted_kernel.h"

namespace
{

constexpr uint16_t pvid = BRIDGE_VLAN_INFO_PVID | BRIDGE_VLAN_INFO_UNTAGGED;

class KernelSource : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_GE(sd_event_new(&loop), 0);
        kernel.links[1] = {.name = "lo"};
        kernel.links[2] = {.name = "port0", .mac = 2};
        model.tell([this](const wire::notice &told) {
            notices.append(notices.empty() ? "" : " ")
                .append(wire::notice_names[static_cast<std::size_t>(told.kind)]);
        });
    }

    void TearDown() override { sd_event_unref(loop); }

    void start()
    {
        ASSERT_EQ(source.start(loop), "");
        notices.clear();
        kernel.asked.clear();
    }

    // Lets everything that was told be taken in; what was said on the way.
    std::string take_in()
    {
        testing::internal::CaptureStderr();
        while (sd_event_run(loop, 0) > 0)
            ;
        return testing::internal::GetCapturedStderr();
    }

    // One word an interface, by rising iods: iod, name, type, and its VLAN where it has one.
    std::string device() const
    {
        std::string text;
        for (const auto &[iod, entry] : model.interfaces()) {
            text.append(text.empty() ? "" : " ").append(std::to_string(iod)).append(":");
            text.append(entry.name).append(":").append(std::to_string(entry.type));
            if (entry.now.vlan != 0)
                text.append(":").append(std::to_string(entry.now.vlan));
        }
        return text;
    }

    std::string vlans() const
    {
        std::string text;
        for (const auto &[vlan, facts] : model.vlans())
            text.append(text.empty() ? "" : " ").append(std::to_string(vlan));
        return text;
    }

    // A bridge that filters, with a port in VLAN 10.
    void add_bridge()
    {
        kernel.links[3] = {.name = "br0", .kind = "bridge", .filters = true};
        kernel.links[4] = {.name = "leaf0", .master = 3, .carries = {{pvid, 10}}};
    }

    sd_event *loop = nullptr;
    scripted_kernel kernel;
    device::device_model model;
    device::kernel_source source{model};
    std::string notices;
};

TEST_F(KernelSource, ReadsEveryLinkOnceWhenItStarts)
{
    EXPECT_EQ(source.start(loop), "");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26");
    EXPECT_EQ(kernel.asked, "all");
}

TEST_F(KernelSource, CannotStartWithoutItsSockets)
{
    for (std::size_t works = 0; works < 4; ++works) {
        device::kernel_source other(model);
        kernel.set_up.assign(works, 0);
        kernel.set_up.push_back(-NLE_PERM);
        EXPECT_EQ(other.start(loop), "cannot read this machine's links: Operation not permitted")
            << works;
    }
}

TEST_F(KernelSource, CannotStartWithoutAnAnswer)
{
    kernel.failures = {-NLE_NOMEM};
    EXPECT_EQ(source.start(loop), "cannot read this machine's links: Out of memory");
    EXPECT_EQ(device(), "");
}

TEST_F(KernelSource, ReadsALinkAgainWhateverItIsToldOfIt)
{
    start();
    kernel.links[5] = {.name = "new0"};
    kernel.tell(RTM_NEWLINK, 5);
    EXPECT_EQ(take_in(), "");
    EXPECT_EQ(kernel.asked, "5");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26 3:new0:26");
    kernel.links.erase(5);
    kernel.tell(RTM_NEWLINK, 5); // it has gone meanwhile
    take_in();
    EXPECT_EQ(device(), "1:lo:26 2:port0:26");
    EXPECT_EQ(notices, "Added PhysicalState Removed");
}

TEST_F(KernelSource, TakesADeletedLinkForAnotherOneThatHasItsOrdinalByNow)
{
    start();
    kernel.tell(RTM_DELLINK, 2);
    take_in();
    EXPECT_EQ(device(), "1:lo:26 3:port0:26");
    EXPECT_EQ(notices, "PhysicalState Removed Added");
}

TEST_F(KernelSource, KeepsAPortThatABridgeSaysToBeDeleted)
{
    start();
    kernel.tell(RTM_DELLINK, 2, AF_BRIDGE);
    take_in();
    EXPECT_EQ(kernel.asked, "2");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26");
    EXPECT_EQ(notices, "");
}

TEST_F(KernelSource, AsksAgainForADumpThatWasInterrupted)
{
    kernel.failures = {-NLE_DUMP_INTR, -NLE_DUMP_INTR, 0};
    EXPECT_EQ(source.start(loop), "");
    EXPECT_EQ(kernel.asked, "all all all");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26");
}

TEST_F(KernelSource, GivesUpADumpThatIsInterruptedEightTimes)
{
    kernel.failures.assign(8, -NLE_DUMP_INTR);
    EXPECT_NE(source.start(loop), "");
    EXPECT_EQ(kernel.asked, "all all all all all all all all");
}

TEST_F(KernelSource, ReadsAllAgainAfterALossAndKnowsAnImpostor)
{
    start();
    kernel.links[2].mac = 9; // another interface, by the same name and ordinal
    kernel.links.erase(1);
    kernel.overrun();
    EXPECT_EQ(take_in(),
              "varn-deviced: notices of links were lost (too many at once); reading all again\n");
    EXPECT_EQ(kernel.asked, "all");
    EXPECT_EQ(device(), "3:port0:26");
    EXPECT_EQ(notices, "PhysicalState Removed PhysicalState Removed Added");
}

TEST_F(KernelSource, SaysWhatElseWentWrongWithNotifications)
{
    start();
    kernel.lose(-NLE_MSG_TRUNC);
    EXPECT_EQ(take_in(), "varn-deviced: notices of links were lost (Kernel reported truncated "
                         "message); reading all again\n");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26");
    EXPECT_EQ(notices, "");
}

TEST_F(KernelSource, TriesWithTheNextNotificationWhatItCouldNotRead)
{
    start();
    kernel.links[5] = {.name = "new0"};
    kernel.overrun();
    kernel.failures = {-NLE_NOMEM};
    EXPECT_EQ(take_in(),
              "varn-deviced: notices of links were lost (too many at once); reading all again\n"
              "varn-deviced: cannot read the links: Out of memory\n");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26");
    kernel.tell(RTM_NEWLINK, 2);
    EXPECT_EQ(take_in(), "");
    EXPECT_EQ(kernel.asked, "all 2 all");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26 3:new0:26");
}

TEST_F(KernelSource, ReadsAllAgainWhereOneLinkCouldNotBeRead)
{
    start();
    kernel.links[2].mac = 9;
    kernel.failures = {-NLE_NOMEM};
    kernel.tell(RTM_NEWLINK, 2);
    EXPECT_EQ(take_in(), "");
    EXPECT_EQ(kernel.asked, "2 all");
    kernel.tell(RTM_NEWLINK, 2);
    take_in();
    EXPECT_EQ(kernel.asked, "2 all 2") << "and not for ever";
}

TEST_F(KernelSource, KnowsTheVlansOfABridgeAndOfItsPorts)
{
    add_bridge();
    kernel.links[3].carries = {{pvid, 1}};
    kernel.links[4].carries = {{pvid, 10}, {0, 20}};
    start();
    EXPECT_EQ(vlans(), "1 10 20");
    kernel.links[4].carries = {{pvid, 20}};
    kernel.tell(RTM_NEWLINK, 4);
    take_in();
    EXPECT_EQ(vlans(), "1 20");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26 3:br0:30 4:leaf0:26:20");
}

// Changes of VLANs alone have messages of their own, which name no link.
TEST_F(KernelSource, ReadsVlansAgainAfterANotificationOfAnotherKind)
{
    add_bridge();
    start();
    kernel.links[4].carries = {{pvid, 30}};
    kernel.tell(RTM_NEWVLAN, 0, AF_BRIDGE);
    take_in();
    EXPECT_EQ(kernel.asked, "vlans");
    EXPECT_EQ(vlans(), "30");
}

TEST_F(KernelSource, ForgetsTheVlansWithTheLastBridgeAndAsksNoMore)
{
    add_bridge();
    start();
    EXPECT_EQ(vlans(), "10");
    kernel.links.erase(3);
    kernel.links.erase(4);
    kernel.tell(RTM_DELLINK, 4);
    kernel.tell(RTM_DELLINK, 3);
    take_in();
    EXPECT_EQ(vlans(), "");
    kernel.asked.clear();
    kernel.tell(RTM_NEWLINK, 2);
    take_in();
    EXPECT_EQ(kernel.asked, "2");
}

// Rather in no VLAN than in one that it has left; the numbers of VLANs stay.
TEST_F(KernelSource, PutsNoPortIntoAVlanWhileItCannotReadThemAndSaysSoOnce)
{
    add_bridge();
    start();
    EXPECT_EQ(device(), "1:lo:26 2:port0:26 3:br0:30 4:leaf0:26:10");
    kernel.vlan_failures = {-NLE_NOMEM, -NLE_NOMEM};
    kernel.tell(RTM_NEWLINK, 2);
    EXPECT_EQ(take_in(), "varn-deviced: cannot read the VLANs of bridge ports: Out of memory\n");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26 3:br0:30 4:leaf0:26");
    EXPECT_EQ(vlans(), "10");
    kernel.tell(RTM_NEWLINK, 2);
    EXPECT_EQ(take_in(), "");
    kernel.tell(RTM_NEWLINK, 2);
    EXPECT_EQ(take_in(), "");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26 3:br0:30 4:leaf0:26:10");
}

TEST_F(KernelSource, TakesAVlanLinkOverABridgeForTheSviAndOverAPortForASubInterface)
{
    add_bridge();
    kernel.links[5] = {.name = "br0.10", .kind = "vlan", .parent = 3, .vlan = 10};
    kernel.links[6] = {.name = "port0.7", .kind = "vlan", .parent = 2, .vlan = 7};
    start();
    EXPECT_EQ(device(), "1:lo:26 2:port0:26 3:br0:30 4:leaf0:26:10 5:br0.10:9:10 6:port0.7:27:7");
}

TEST_F(KernelSource, ServesTheSecondInterfaceOfAVlanWhenTheFirstIsGone)
{
    add_bridge();
    start();
    kernel.links[5] = {.name = "br0.10", .kind = "vlan", .parent = 3, .vlan = 10};
    kernel.links[6] = {.name = "also10", .kind = "vlan", .parent = 3, .vlan = 10};
    kernel.tell(RTM_NEWLINK, 5);
    kernel.tell(RTM_NEWLINK, 6);
    EXPECT_EQ(take_in(), "varn-deviced: also10 cannot be numbered and is not served\n");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26 3:br0:30 4:leaf0:26:10 5:br0.10:9:10");
    kernel.links.erase(5);
    kernel.tell(RTM_DELLINK, 5);
    EXPECT_EQ(take_in(), "");
    EXPECT_EQ(device(), "1:lo:26 2:port0:26 3:br0:30 4:leaf0:26:10 6:also10:9:10");
}

TEST_F(KernelSource, TriesAgainUntilItIsGoneWhatCannotBeNumbered)
{
    add_bridge();
    kernel.links[5] = {.name = "br0.10", .kind = "vlan", .parent = 3, .vlan = 10};
    kernel.links[6] = {.name = "also10", .kind = "vlan", .parent = 3, .vlan = 10};
    testing::internal::CaptureStderr();
    start();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "varn-deviced: also10 cannot be numbered and is not served\n");
    kernel.tell(RTM_NEWLINK, 2);
    EXPECT_EQ(take_in(), "") << "said once";
    EXPECT_EQ(kernel.asked, "2 6 vlans");
    kernel.links.erase(6);
    kernel.tell(RTM_DELLINK, 6);
    take_in();
    kernel.asked.clear();
    kernel.tell(RTM_NEWLINK, 2);
    take_in();
    EXPECT_EQ(kernel.asked, "2 vlans") << "what is gone is not tried again";
}

// What has waited as long as the notifications has its turn between two parts of them.
TEST_F(KernelSource, LetsOthersHaveTheirTurnInAStormOfNotifications)
{
    start();
    for (int n = 0; n < 10000; ++n)
        kernel.tell(RTM_NEWLINK, 2);
    std::size_t left = 0;
    const auto note = [](sd_event_source *, void *argument) {
        auto *test = static_cast<std::pair<std::size_t *, scripted_kernel *> *>(argument);
        *test->first = test->second->waiting();
        return 0;
    };
    std::pair<std::size_t *, scripted_kernel *> both = {&left, &kernel};
    ASSERT_GE(sd_event_add_defer(loop, nullptr, note, &both), 0);
    take_in();
    EXPECT_GT(left, 5000u) << "it had to wait for the end of the storm";
    EXPECT_EQ(kernel.waiting(), 0u);
}

} // namespace
