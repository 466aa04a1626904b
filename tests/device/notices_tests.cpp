// SPDX-License-Identifier: Apache-2.0
//
// notices_tests.cpp: each change of this machine's links arrives as its notice, with its record,
// in its order, from dispatching and from nowhere else.
#include <csignal>
#include <cstring>

#include "ifsvc.h"
#include "routing-sw/libs/varn/varn.h"
#include "told_client.h"

namespace
{

class Notices : public ToldClient
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(ToldClient::SetUp());
        port0 = port_of("port0");
        port1 = port_of("port1");
        leaf0 = port_of("leaf0");
        subscribe();
    }

    port port0{}, port1{}, leaf0{};
};

std::string physical(uint64_t number, const port &which, uint8_t state)
{
    varn_phy_update_t record{};
    record.if_index = which.if_index;
    record.iod = which.iod;
    record.state = state;
    return about(number, "PhysicalState", which) + called("physical_state", record) + "\n";
}

std::string l3(uint64_t number, const port &which, uint8_t state, uint32_t mtu)
{
    varn_l3_update_t record{};
    record.if_index = which.if_index;
    record.iod = which.iod;
    record.state = state;
    record.mtu = mtu;
    return about(number, "L3State", which) + called("l3_state", record) + "\n";
}

std::string l2(uint64_t number, const port &which, uint8_t state, const uint8_t *mac)
{
    varn_l2_update_t record{};
    record.if_index = which.if_index;
    record.iod = which.iod;
    record.state = state;
    record.mtu = 1500;
    std::memcpy(record.mac, mac, sizeof record.mac);
    return about(number, "L2State", which) + called("l2_state", record) + "\n";
}

std::string by_interface(uint64_t number, const char *name, const char *callback, const port &which)
{
    return about(number, name, which) + called(callback, {which.if_index, which.iod}) + "\n";
}

std::string changed(uint64_t number, const port &which)
{
    return by_interface(number, "Changed", "changed", which);
}

std::string linkup(uint64_t number, const port &which)
{
    return by_interface(number, "Linkup", "linkup", which);
}

TEST_F(Notices, AreNoneWhileNothingChanges)
{
    EXPECT_FALSE(is_readable());
    EXPECT_EQ(varn_device_dispatch(0), 0u);
    EXPECT_EQ(ifsvc_get_if_mtu(port0.iod), 1500u);
    EXPECT_FALSE(is_readable());
    EXPECT_EQ(told(0), "");
}

TEST_F(Notices, SayThatAnMtuChanged)
{
    sh("ip link set port0 mtu 9000");
    varn_l3_param_update_t record{};
    record.iod = port0.iod;
    const bitset_t mtu = {{uint32_t{1} << VARN_L3_PARAM_MTU, 0}};
    EXPECT_EQ(told(1), about(1, "L3Parameters", port0) + called("l3_parameters", record) +
                           called("of", mtu) + "\n");
    EXPECT_EQ(ifsvc_get_if_mtu(port0.iod), 9000u);
}

TEST_F(Notices, SayThatAMacChanged)
{
    sh("ip link set port0 address 02:00:00:00:00:0a");
    varn_mac_update_t record{};
    record.if_index = port0.if_index;
    record.mac[0] = 2;
    record.mac[5] = 0xa;
    EXPECT_EQ(told(1), about(1, "RouterMac", port0) + called("router_mac", record) + "\n");
}

TEST_F(Notices, SayThatANameChanged)
{
    sh("ip link set port1 down");
    told(4);
    sh("ip link set port1 name uplink");
    EXPECT_EQ(told(1), changed(5, port1));
}

// The carrier of the other end goes a moment later than that of this one, or at once.
TEST_F(Notices, SayThatALinkWentAndCameOfBothEnds)
{
    sh("ip link set port1 down");
    const std::string ends = told(4);
    const std::string one = physical(1, port1, 2) + l3(2, port1, 2, 1500);
    const std::string first = physical(1, port0, 2) + l3(2, port0, 2, 1500);
    EXPECT_TRUE(ends == one + physical(3, port0, 2) + l3(4, port0, 2, 1500) ||
                ends == first + physical(3, port1, 2) + l3(4, port1, 2, 1500))
        << ends;
    sh("ip link set port1 up");
    wait_for(4);
    EXPECT_EQ(count_of(lines, "PhysicalState"), 2u);
    EXPECT_EQ(count_of(lines, "L3State"), 2u);
    EXPECT_EQ(ifsvc_is_linkup(port0.iod), 1u);
    EXPECT_EQ(ifsvc_is_linkup(port1.iod), 1u);
}

TEST_F(Notices, SayOfASwitchportThatItsLinkMustBeAskedAgain)
{
    const uint8_t mac[] = {2, 0, 0, 0, 0, 0xb};
    sh("ip link set leaf0 address 02:00:00:00:00:0b");
    ASSERT_TRUE(eventually([&] {
        varn_device_dispatch(0);
        return ifsvc_is_if_mac_addr(leaf0.iod, mac) == 1;
    }));
    varn_device_dispatch(0);
    lines.clear();
    sh("ip link set leaf0 down");
    // That the bridge forwards no more is another change, at a time of its own.
    const auto what_happened_to_leaf0 = [&] {
        std::string text;
        for (const std::string &line : lines)
            if (line.find("/" + std::to_string(leaf0.iod) + " ") != line.npos &&
                line.find(" Changed ") == line.npos)
                text += line.substr(line.find(' ')) + "\n";
        return text;
    };
    const auto without_number = [](const std::string &line) { return line.substr(1); };
    EXPECT_TRUE(eventually([&] {
        varn_device_dispatch(0);
        return count_of(lines, "Linkup") > 0 && count_of(lines, "Changed") > 0;
    }));
    EXPECT_EQ(what_happened_to_leaf0(), without_number(physical(1, leaf0, 2)) +
                                            without_number(l2(1, leaf0, 2, mac)) +
                                            without_number(linkup(1, leaf0)));
}

TEST_F(Notices, SayThatAPortLeftItsBridge)
{
    sh("ip link set leaf0 nomaster");
    wait_for(2);
    const std::string first = lines.at(0) + "\n" + lines.at(1) + "\n";
    EXPECT_EQ(first, about(1, "Switchport", leaf0) + called("switchport", {leaf0.iod}) + "\n" +
                         changed(2, leaf0));
}

TEST_F(Notices, SayThatAnInterfaceCameAndWent)
{
    sh("ip link add extra0 type veth peer name extra1");
    wait_for(2);
    const port extra0 = port_of("extra0"), extra1 = port_of("extra1");
    const std::string came = told(2);
    const std::string one = by_interface(1, "Added", "added", extra1);
    const std::string other = by_interface(1, "Added", "added", extra0);
    EXPECT_TRUE(came == one + by_interface(2, "Added", "added", extra0) ||
                came == other + by_interface(2, "Added", "added", extra1))
        << came;
    sh("ip link del extra0");
    wait_for(2);
    EXPECT_EQ(count_of(lines, "Removed"), 2u);
    EXPECT_EQ(lines.size(), 2u) << "their links were down";
}

TEST_F(Notices, SayThatAPortLostItsLinkBeforeItWent)
{
    sh("ip link del port0");
    wait_for(4);
    const auto gone = [&](const port &which) {
        std::string text;
        for (const std::string &line : lines)
            if (line.find("/" + std::to_string(which.iod) + " ") != line.npos)
                text += line.substr(line.find(' ')) + "\n";
        return text;
    };
    for (const port &which : {port0, port1}) {
        const std::string text = gone(which);
        const std::size_t lost_link = text.find(" PhysicalState "),
                          removed = text.find(" Removed ");
        EXPECT_NE(lost_link, text.npos) << text;
        EXPECT_NE(removed, text.npos) << text;
        EXPECT_LT(lost_link, removed);
    }
}

TEST_F(Notices, SayThatAnExtensionCameAndWent)
{
    EXPECT_EQ(varn_device_attach(port0.iod, 77, 5, "abc", 3), 0u);
    EXPECT_EQ(told(1), changed(1, port0));
    EXPECT_EQ(varn_device_attach(port0.iod, 77, 0, nullptr, 0), 0u);
    EXPECT_EQ(told(2), about(2, "ExtensionRemoved", port0) +
                           called("extension_removed", {port0.if_index, port0.iod, 77}) + "\n" +
                           changed(3, port0));
}

TEST_F(Notices, BearNumbersWithoutAGap)
{
    other_client other(socket);
    for (int n = 0; n < 1000; ++n)
        other.change(port0.iod);
    std::string expected;
    for (uint64_t n = 1; n <= 1000; ++n)
        expected += changed(n, port0);
    EXPECT_EQ(told(1000), expected);
}

TEST_F(Notices, OfAStormOfTheKernelsBearNumbersWithoutAGap)
{
    sh("for n in $(seq 500); do for m in 1400 1500; do"
       "  echo link set port0 mtu $m; echo link set leaf1 mtu $m;"
       "done; done | ip -batch -");
    sh("ip link set port0 mtu 1300");
    ASSERT_TRUE(eventually([&] { return ifsvc_get_if_mtu(port0.iod) == 1300; }));
    varn_device_dispatch(0);
    EXPECT_GT(lines.size(), 1u);
    EXPECT_EQ(count_of(lines, "Lost"), 0u);
    for (std::size_t n = 0; n < lines.size(); ++n)
        ASSERT_EQ(lines[n].substr(0, lines[n].find(' ')), std::to_string(n + 1));
    EXPECT_EQ(last, other_client(socket).sequence());
}

TEST_F(Notices, AreNeverHandedOutWithinARequest)
{
    other_client other(socket);
    other.change(port0.iod);
    EXPECT_EQ(ifsvc_get_if_mtu(port0.iod), 1500u);
    EXPECT_EQ(ifsvc_get_if_mtu(port1.iod), 1500u);
    EXPECT_EQ(lines.size(), 0u);
    EXPECT_TRUE(is_readable()) << "it came with the answer";
    EXPECT_EQ(varn_device_dispatch(0), 1u);
    EXPECT_EQ(told(1), changed(1, port0));
    EXPECT_FALSE(is_readable());
}

TEST_F(Notices, OfOwnChangesAreThereWhenTheAnswerIs)
{
    EXPECT_EQ(varn_device_attach(port0.iod, 77, 5, nullptr, 0), 0u);
    EXPECT_TRUE(is_readable());
    EXPECT_EQ(varn_device_dispatch(0), 1u);
    EXPECT_FALSE(is_readable());
}

// More than the socket and sd-bus hold between them, so that most of it waits in the service.
TEST_F(Notices, ThatWaitAreAllThereBeforeAnAnswerAndSoAreThoseOfAnOwnChange)
{
    other_client lazy(socket), other(socket);
    ASSERT_GE(sd_bus_call_method(lazy.bus, nullptr, "/varn/device", "varn.Device1", "Subscribe",
                                 nullptr, nullptr, "b", 1),
              0);
    const auto there_after = [&](const std::function<void()> &request) {
        for (int n = 0; n < 2000; ++n)
            other.change(port0.iod);
        request();
        uint64_t count = 0;
        EXPECT_GE(sd_bus_get_n_queued_read(lazy.bus, &count), 0);
        return count;
    };
    EXPECT_EQ(there_after([&] { lazy.mtu(port0.iod); }), 2000u);
    EXPECT_EQ(there_after([&] { lazy.change(port0.iod); }), 4001u);
}

TEST_F(Notices, KeepTheDescriptorReadableUntilTheLastIsHandedOut)
{
    other_client other(socket);
    const int descriptor = varn_device_descriptor();
    for (int n = 0; n < 3; ++n)
        other.change(port0.iod);
    for (int n = 0; n < 3; ++n) {
        EXPECT_TRUE(is_readable()) << n;
        EXPECT_EQ(varn_device_dispatch(1), 1u);
    }
    EXPECT_FALSE(is_readable());
    EXPECT_EQ(varn_device_dispatch(1), 0u);
    varn_device_disconnect();
    EXPECT_EQ(varn_device_connect(socket.c_str()), 0u);
    EXPECT_EQ(varn_device_descriptor(), descriptor);
    other.change(port0.iod);
    EXPECT_TRUE(is_readable());
}

struct asking {
    uint32_t iod, mtu, dispatched, subscribed;
    int calls;
};

TEST_F(Notices, MayBeAnsweredWithRequestsButNotWithDispatching)
{
    asking seen{port0.iod, 0, 7, 0, 0};
    varn_device_notices_t callbacks{};
    callbacks.arg = reinterpret_cast<uintptr_t>(&seen);
    callbacks.changed = [](uintptr_t arg, uint32_t, uint32_t) {
        auto *to = reinterpret_cast<asking *>(arg);
        to->mtu = ifsvc_get_if_mtu(to->iod);
        to->dispatched = varn_device_dispatch(0);
        to->subscribed = varn_device_subscribe(nullptr);
        ++to->calls;
    };
    ASSERT_EQ(varn_device_subscribe(&callbacks), 0u);
    other_client other(socket);
    other.change(port0.iod);
    other.change(port0.iod);
    EXPECT_EQ(varn_device_dispatch(0), 2u);
    EXPECT_EQ(seen.mtu, 1500u);
    EXPECT_EQ(seen.dispatched, 0u);
    EXPECT_EQ(seen.subscribed, VARN_DEVICE_E_ARGUMENT);
    EXPECT_EQ(seen.calls, 2);
}

TEST_F(Notices, ComeNoMoreToAClientThatWantsNone)
{
    other_client other(socket);
    other.change(port0.iod);
    EXPECT_EQ(varn_device_subscribe(nullptr), 0u);
    other.change(port0.iod);
    EXPECT_EQ(ifsvc_get_if_mtu(port0.iod), 1500u);
    EXPECT_FALSE(is_readable());
    EXPECT_EQ(varn_device_dispatch(0), 0u);
    EXPECT_EQ(lines.size(), 0u);
    subscribe();
    other.change(port0.iod);
    EXPECT_EQ(told(1), changed(1, port0));
}

TEST_F(Notices, AreDescribedToAnyTool)
{
    const std::string seen = sh("busctl --address=unix:path=" + socket +
                                " introspect varn.Device /varn/device varn.Device1 2>&1");
    EXPECT_NE(seen.find(".L2BundleState"), seen.npos) << seen;
    EXPECT_NE(seen.find("ttuuyqayuuuut"), seen.npos) << seen;
}

TEST_F(Notices, LeaveAForkedChildADescriptorOfItsOwn)
{
    const int before = varn_device_descriptor();
    const pid_t child = fork();
    if (child == 0) {
        const bool quiet = !is_readable();
        const bool asked = ifsvc_get_if_mtu(port0.iod) == 1500;
        varn_device_disconnect();
        _exit(quiet && asked ? 0 : 1);
    }
    EXPECT_EQ(exit_code_of(child), 0);
    EXPECT_FALSE(is_readable()) << "what the child did is not the parent's";
    other_client(socket).change(port0.iod);
    EXPECT_TRUE(is_readable()) << "the parent's is as it was";
    EXPECT_EQ(varn_device_descriptor(), before);
    EXPECT_EQ(told(1), changed(1, port0));
}

} // namespace
