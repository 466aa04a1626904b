// SPDX-License-Identifier: Apache-2.0
//
// notice_loss_tests.cpp: whatever goes missing is told as one `lost`, nothing else is, and nobody
// waits for anybody: a client that does not read, a service that ends or is silent, a service that
// talks nonsense, a client that only asks, and one that may not change the device.
#include <algorithm>
#include <csignal>

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include "fake_service.h"
#include "ifsvc.h"
#include "told_client.h"

namespace
{

constexpr long far_below_time_out = 500; // milliseconds
constexpr uid_t nobody = 65534;

class LostNotices : public ToldClient
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(ToldClient::SetUp());
        port0 = port_of("port0");
        subscribe();
    }

    // Another service in place of the fixture's.
    void restart(const std::vector<std::string> &options = {})
    {
        kill_service();
        ASSERT_NO_FATAL_FAILURE(spawn_service(options));
        ASSERT_TRUE(eventually([&] { return varn_device_connect(socket.c_str()) == 0; }));
        varn_device_dispatch(0);
        lines.clear();
        base = other_client(socket).sequence();
    }

    // The next changes are told under the numbers that follow the last one.
    void the_stream_goes_on()
    {
        lines.clear();
        other_client other(socket);
        const uint64_t before = other.sequence();
        for (int n = 0; n < 10; ++n)
            other.change(port0.iod);
        wait_for(10);
        EXPECT_EQ(count_of(lines, "Changed"), 10u);
        EXPECT_EQ(lines.size(), 10u);
        EXPECT_EQ(last, before + 10);
    }

    static std::string lost(const std::string &why)
    {
        return "0 Lost 0x0/0 0: lost, " + why + "\n";
    }

    port port0{};
};

TEST_F(LostNotices, AreOneForAClientThatDidNotReadAndNobodyWaitsForIt)
{
    restart({"--queue", "16"});
    other_client other(socket);
    long longest = 0;
    for (int n = 0; n < 5000; ++n)
        longest = std::max(longest, milliseconds([&] { other.change(port0.iod); }));
    EXPECT_LT(longest, far_below_time_out);
    const uint64_t end = other.sequence();
    EXPECT_TRUE(eventually([&] {
        varn_device_dispatch(0);
        return last == end;
    }));
    EXPECT_EQ(count_of(lines, "Lost"), 1u);
    EXPECT_LT(lines.size(), 5000u);
    EXPECT_EQ(lines.back(), std::to_string(end - base) +
                                " Lost 0x0/0 0: lost, more happened than the service could keep "
                                "for this client");
    the_stream_goes_on();
}

TEST_F(LostNotices, AreOneForAClientThatAsksAndDoesNotDispatch)
{
    for (uint32_t n = 1; n <= 6000; ++n)
        ASSERT_EQ(varn_device_attach(port0.iod, 77, n, nullptr, 0), 0u);
    varn_device_dispatch(0);
    EXPECT_EQ(count_of(lines, "Lost"), 1u);
    EXPECT_EQ(lines.front() + "\n", lost("more arrived than was dispatched"));
    EXPECT_EQ(last, other_client(socket).sequence());
    the_stream_goes_on();
}

TEST_F(LostNotices, AreNoneForAClientThatAsksForLongAndThenDispatches)
{
    for (uint32_t n = 1; n <= 4000; ++n)
        ASSERT_EQ(varn_device_attach(port0.iod, 77, n, nullptr, 0), 0u);
    EXPECT_EQ(varn_device_dispatch(0), 4000u);
    EXPECT_EQ(count_of(lines, "Changed"), 4000u);
}

TEST_F(LostNotices, AreToldAfterTheServiceWasKilledAndStartedAnew)
{
    other_client(socket).change(port0.iod); // on its way when the service ends
    kill_service();
    EXPECT_TRUE(eventually([] {
        varn_device_dispatch(0);
        return varn_device_is_connected() == 0;
    }));
    sh("ip link set port0 mtu 9000");
    ASSERT_NO_FATAL_FAILURE(spawn_service());
    lines.clear();
    EXPECT_EQ(told(1), lost("the service was started anew"));
    EXPECT_EQ(ifsvc_get_if_mtu(port0.iod), 9000u);
    EXPECT_FALSE(is_readable());
    the_stream_goes_on();
}

TEST_F(LostNotices, AreToldToAClientWhoseRequestFoundTheNewService)
{
    other_client(socket).change(port0.iod);
    EXPECT_EQ(ifsvc_get_if_mtu(port0.iod), 1500u);
    kill_service();
    ASSERT_NO_FATAL_FAILURE(spawn_service());
    EXPECT_EQ(ifsvc_get_if_mtu(port0.iod), 1500u);
    EXPECT_TRUE(is_readable());
    EXPECT_EQ(lines.size(), 0u);
    EXPECT_EQ(varn_device_dispatch(0), 1u);
    EXPECT_EQ(told(1), lost("the service was started anew")) << "in place of what was queued";
    the_stream_goes_on();
}

TEST_F(LostNotices, AreToldWhenARequestFailedThoughNothingChanged)
{
    varn_device_set_timeout(200);
    service->send(SIGSTOP);
    EXPECT_EQ(ifsvc_get_if_mtu(port0.iod), 0u);
    EXPECT_EQ(varn_device_last_error(), VARN_DEVICE_E_TIMEOUT);
    // Every attempt to connect to a silent service ends in time.
    for (int n = 0; n < 5; ++n) {
        EXPECT_TRUE(eventually([] { return is_readable(); }));
        const long took = milliseconds([] { EXPECT_EQ(varn_device_dispatch(0), 0u); });
        EXPECT_LT(took, 2 * 200 + far_below_time_out);
        EXPECT_EQ(varn_device_is_connected(), 0u);
    }
    service->send(SIGCONT);
    varn_device_set_timeout(0);
    EXPECT_EQ(told(1), lost("requests failed for want of a connection"));
    EXPECT_EQ(ifsvc_get_if_mtu(port0.iod), 1500u);
    the_stream_goes_on();
}

TEST_F(LostNotices, AreNoneWhenTheServiceWasSilentAndNobodyAsked)
{
    service->send(SIGSTOP);
    EXPECT_FALSE(is_readable());
    EXPECT_LT(milliseconds([] { EXPECT_EQ(varn_device_dispatch(0), 0u); }), far_below_time_out);
    service->send(SIGCONT);
    the_stream_goes_on();
}

TEST_F(LostNotices, AreNoneWhenNothingWasMissedAndNothingFailed)
{
    varn_device_disconnect();
    EXPECT_EQ(varn_device_is_connected(), 0u);
    EXPECT_TRUE(is_readable()) << "it is time to connect";
    EXPECT_EQ(varn_device_dispatch(0), 0u);
    EXPECT_EQ(varn_device_is_connected(), 1u);
    EXPECT_FALSE(is_readable());
    EXPECT_EQ(lines.size(), 0u);
    the_stream_goes_on();
}

TEST_F(LostNotices, AreToldWhenSomethingHappenedWithoutAConnection)
{
    varn_device_disconnect();
    other_client(socket).change(port0.iod);
    EXPECT_EQ(told(1), lost("notices were missed without a connection"));
    the_stream_goes_on();
}

TEST_F(LostNotices, AreTheFirstForAClientThatSubscribedWithoutAService)
{
    const varn_device_notices_t writers = callbacks();
    EXPECT_EQ(varn_device_subscribe(nullptr), 0u);
    varn_device_disconnect();
    kill_service();
    EXPECT_EQ(varn_device_subscribe(&writers), 0u);
    EXPECT_EQ(varn_device_dispatch(0), 0u);
    ASSERT_NO_FATAL_FAILURE(spawn_service());
    EXPECT_EQ(told(1), lost("requests failed for want of a connection"));
    the_stream_goes_on();
}

TEST_F(LostNotices, DoNotMakeAClientWaitForAServiceThatIsGone)
{
    kill_service();
    wait_for(0);
    int attempts = 0;
    EXPECT_TRUE(eventually([&] {
        if (is_readable()) {
            EXPECT_LT(milliseconds([] { varn_device_dispatch(0); }), far_below_time_out);
            ++attempts;
        }
        return attempts >= 4;
    }));
    EXPECT_FALSE(is_readable()) << "there is a pause";
}

// ---- A service that talks nonsense

class FromNonsense : public LostNotices
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(LostNotices::SetUp());
        kill_service();
        varn_device_subscribe(nullptr);
        varn_device_disconnect();
    }

    // Subscribes at a service that says just this.
    std::string told_by(const std::vector<fake_notice> &script, std::size_t expected)
    {
        fake_service talker(socket, script);
        const varn_device_notices_t writers = callbacks();
        base = 0;
        EXPECT_EQ(varn_device_connect(socket.c_str()), 0u) << varn_device_last_error_text();
        EXPECT_EQ(varn_device_subscribe(&writers), 0u) << varn_device_last_error_text();
        const std::string text = told(expected);
        varn_device_subscribe(nullptr);
        varn_device_disconnect();
        return text;
    }
};

TEST_F(FromNonsense, AGapInTheNumbersIsALoss)
{
    EXPECT_EQ(told_by({{1, "VlanChanged"}, {2, "VlanChanged"}}, 2),
              "1 VlanChanged 0x0/0 5\n2 VlanChanged 0x0/0 5\n");
    EXPECT_EQ(told_by({{1, "VlanChanged"}, {3, "VlanChanged"}}, 3),
              "1 VlanChanged 0x0/0 5\n" + lost("a notice does not follow the one before it") +
                  "3 VlanChanged 0x0/0 5\n");
    EXPECT_EQ(told_by({{1, "VlanChanged"}, {1, "VlanChanged"}}, 3),
              "1 VlanChanged 0x0/0 5\n" + lost("a notice does not follow the one before it") +
                  "1 VlanChanged 0x0/0 5\n");
}

TEST_F(FromNonsense, ASignalOfAnotherFormIsALoss)
{
    EXPECT_EQ(told_by({{1, "VlanChanged", "wrong form"}, {2, "VlanChanged"}}, 3),
              lost("a notice could not be understood") +
                  lost("a notice does not follow the one before it") + "2 VlanChanged 0x0/0 5\n");
    EXPECT_EQ(told_by({{1, "NeverHeardOf"}}, 1), lost("a notice could not be understood"));
}

TEST_F(FromNonsense, ANumberOfAnotherEpochIsALoss)
{
    EXPECT_EQ(told_by({{1, "VlanChanged", "", 8}}, 2),
              lost("a notice does not follow the one before it") + "1 VlanChanged 0x0/0 5\n");
}

TEST_F(FromNonsense, WhatIsNoNoticeIsNothing)
{
    EXPECT_EQ(told_by({{0, "VlanChanged", "other interface"}, {1, "VlanChanged"}}, 1),
              "1 VlanChanged 0x0/0 5\n");
}

// ---- Who may do what

class Permission : public LostNotices
{
protected:
    // Runs something as another user, in a process of its own.
    template <typename Action>
    static int as_nobody(Action action)
    {
        varn_device_subscribe(nullptr);
        varn_device_disconnect();
        const pid_t child = fork();
        if (child == 0) {
            const bool became =
                setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0;
            _exit(became && action() ? 0 : 1);
        }
        last_child = child;
        return exit_code_of(child);
    }

    static inline pid_t last_child = 0;
};

TEST_F(Permission, ToReadIsTheSockets)
{
    EXPECT_EQ(as_nobody([this] {
                  return varn_device_connect(socket.c_str()) == VARN_DEVICE_E_NO_SERVICE;
              }),
              0);
    ASSERT_EQ(chown(socket.c_str(), 0, nobody), 0);
    EXPECT_EQ(as_nobody([this] { return ifsvc_get_if_mtu(port0.iod) == 1500; }), 0);
}

TEST_F(Permission, ToChangeIsRootsAndTheServicesOwnUsers)
{
    restart();
    ASSERT_EQ(chown(socket.c_str(), 0, nobody), 0);
    EXPECT_EQ(as_nobody([this] {
                  return varn_device_attach(port0.iod, 77, 5, nullptr, 0) ==
                             VARN_DEVICE_E_PERMISSION &&
                         varn_device_last_error_text() ==
                             std::string("uid 65534 may not change the device") &&
                         ifsvc_get_extension(port0.iod, 77) == 0;
              }),
              0);
    EXPECT_NE(service_log().find("varn-deviced: pid " + std::to_string(last_child) +
                                 " of uid 65534 may not change the device: Attach was refused\n"),
              std::string::npos)
        << service_log();
    EXPECT_EQ(varn_device_attach(port0.iod, 77, 5, nullptr, 0), 0u);
}

TEST_F(Permission, ToChangeIsAnUnprivilegedServicesOwnUsers)
{
    kill_service();
    ASSERT_EQ(chown(folder.c_str(), nobody, nobody), 0);
    unlink(socket.c_str());
    unlink((socket + ".lock").c_str());
    service = std::make_unique<running_process>(
        std::vector<std::string>{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                 DEVICED, "--socket", socket});
    ASSERT_TRUE(eventually([&] { return varn_device_connect(socket.c_str()) == 0; }));
    const port lo = port_of("lo");
    EXPECT_EQ(as_nobody([&] { return varn_device_attach(lo.iod, 77, 5, nullptr, 0) == 0; }), 0);
    EXPECT_EQ(ifsvc_get_extension(lo.iod, 77), 5u);
}

// ---- A client that only asks

TEST_F(LostNotices, AClientThatAsksAndNeverReadsIsDroppedAndTheOthersAreServed)
{
    restart();
    other_client flood(socket);
    int result = 0;
    for (int n = 0; n < 100000 && result >= 0; ++n) {
        sd_bus_message *request = nullptr;
        ASSERT_GE(sd_bus_message_new_method_call(flood.bus, &request, nullptr, "/varn/device",
                                                 "varn.Device1", "IodToName"),
                  0);
        ASSERT_GE(sd_bus_message_append(request, "u", port0.iod), 0);
        uint64_t cookie = 0;
        result = sd_bus_send(flood.bus, request, &cookie);
        if (result >= 0)
            result = sd_bus_flush(flood.bus);
        sd_bus_message_unref(request);
    }
    EXPECT_LT(result, 0) << "100000 answers wait for a client that does not read";
    EXPECT_NE(service_log().find("varn-deviced: pid " + std::to_string(getpid()) +
                                 " of uid 0 does not read its answers; dropped\n"),
              std::string::npos)
        << service_log();
    EXPECT_EQ(ifsvc_get_if_mtu(port0.iod), 1500u);
    the_stream_goes_on();
}

TEST_F(LostNotices, TheBoundOfTheQueueIsChecked)
{
    EXPECT_EQ(run({DEVICED, "--socket", socket, "--queue", "0"}).exit_code, 2);
    EXPECT_EQ(run({DEVICED, "--socket", socket, "--queue", "many"}).exit_code, 2);
}

} // namespace
