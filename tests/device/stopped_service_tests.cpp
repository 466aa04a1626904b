// SPDX-License-Identifier: Apache-2.0
//
// stopped_service_tests.cpp: what a client that follows notices serves from its cache while the
// service is stopped for ten seconds, and after a change that waited for it.
#include <chrono>
#include <csignal>
#include <thread>

#include "ifsvc.h"
#include "inventory_device.h"
#include "running_device.h"
#include "shell/follower.h"
#include "varn.h"
#include "varn_device.h"

namespace
{

using clock_type = std::chrono::steady_clock;

class StoppedService : public InventoryDevice
{
protected:
    void follow()
    {
        varn_config_t config{};
        config.sync = VARN_MASK(VARN_BIT_PC + 1) - 1;
        config.crit = config.sync & ~VARN_MASK(VARN_BIT_IOD);
        ASSERT_EQ(varn_init(&config), 1u);
        const varn_device_notices_t callbacks = shell::follower_notices();
        ASSERT_EQ(varn_device_subscribe(&callbacks), 0u);
    }

    void TearDown() override
    {
        varn_device_subscribe(nullptr);
        shell::forget_everything();
        varn_cleanup();
        InventoryDevice::TearDown();
    }
};

TEST_F(StoppedService, HangsNobodyAndLeavesNothingStaleBehind)
{
    start(R"({"interfaces": [{"name": "port1", "type": "physical", "mtu": 1500},
                             {"name": "port2", "type": "physical", "mtu": 1600}]})");
    ASSERT_NO_FATAL_FAILURE(follow());
    const uint32_t port1 = iod_of("port1"), port2 = iod_of("port2");
    ASSERT_EQ(varn_ifsvc_get_if_mtu(port1), 1500u);
    ASSERT_EQ(varn_ifsvc_get_if_mtu(port2), 1600u);

    service->send(SIGSTOP);
    running_process change(
        {VARNCTL, "--socket", socket, "--timeout", "60000", "set", "port1", "mtu", "9000"});
    const auto end = clock_type::now() + std::chrono::seconds(10);
    long slowest = 0;
    while (clock_type::now() < end) {
        EXPECT_EQ(varn_ifsvc_get_if_mtu(port2), 1600u) << "true, and nobody is asked";
        EXPECT_EQ(varn_ifsvc_get_if_mtu(port1), 1500u) << "nothing else was told yet";
        slowest = std::max(slowest, milliseconds([&] {
                               varn_device_dispatch(0);
                               ifsvc_get_if_mtu(port1);
                           }));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_LT(slowest, 2 * 2000 + 500) << "a dispatch and a request, within their time-outs";

    service->send(SIGCONT);
    EXPECT_EQ(change.wait(), 0);
    EXPECT_TRUE(eventually([&] {
        varn_device_dispatch(0);
        return varn_ifsvc_get_if_mtu(port1) == 9000;
    }));
    EXPECT_EQ(ifsvc_get_if_mtu(port1), 9000u);
    EXPECT_EQ(varn_ifsvc_get_if_mtu(port2), ifsvc_get_if_mtu(port2));
}

TEST_F(StoppedService, ThatIsKilledInTheMiddleOfARequestIsForgotten)
{
    start(R"({"interfaces": [{"name": "port1", "type": "physical", "mtu": 1500}]})");
    ASSERT_NO_FATAL_FAILURE(follow());
    const uint32_t port1 = iod_of("port1");
    ASSERT_EQ(varn_ifsvc_get_if_mtu(port1), 1500u);
    service->send(SIGSTOP);
    std::thread killer([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        service->send(SIGKILL);
    });
    EXPECT_EQ(ifsvc_get_if_mtu(port1), 0u) << "it died before it answered";
    killer.join();
    service->wait();
    EXPECT_EQ(varn_ifsvc_get_if_mtu(port1), 1500u) << "nothing else was told yet";

    start(R"({"interfaces": [{"name": "port0", "type": "mgmt", "mtu": 1400},
                             {"name": "port1", "type": "physical", "mtu": 9000}]})");
    varn_device_dispatch(0);
    EXPECT_EQ(varn_ifsvc_get_if_mtu(iod_of("port0")), 1400u);
    EXPECT_EQ(varn_ifsvc_get_if_mtu(iod_of("port1")), 9000u);
}

} // namespace
