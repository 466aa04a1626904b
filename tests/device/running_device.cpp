// SPDX-License-Identifier: Apache-2.0
//
// running_device.cpp: building it up and taking it down. What cannot be set up fails the test.
#include "running_device.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

#include <sched.h>
#include <unistd.h>

#include "ifsvc.h"
#include "varn_device.h"

namespace
{

using clock_type = std::chrono::steady_clock;

std::string new_folder()
{
    static int count = 0;
    const std::string name = "varn-device-" + std::to_string(getpid()) + "-";
    const auto path = std::filesystem::temp_directory_path() / (name + std::to_string(++count));
    EXPECT_TRUE(std::filesystem::create_directory(path)) << path;
    return path;
}

void build_network()
{
    sh("ip link set lo up");
    sh("ip link add port0 type veth peer name port1");
    sh("ip link add leaf0 type veth peer name leaf1");
    sh("ip link add br0 type bridge");
    sh("ip link set leaf0 master br0");
    sh("for i in port0 port1 leaf0 leaf1 br0; do ip link set $i up; done");
    // The kernel reports the operational state of a bridge a moment later.
    ASSERT_TRUE(eventually([] {
        return run({"sh", "-c", "ip link show br0 | grep -q 'state UP'"}).exit_code == 0;
    }));
}

} // namespace

void RunningDevice::SetUp()
{
    ASSERT_EQ(unshare(CLONE_NEWNET), 0) << "needs root, for a network namespace of its own";
    folder = new_folder();
    socket = folder + "/deviced.sock";
    setenv("VARN_HISTORY_DIR", (folder + "/history").c_str(), 1);
    setenv("VARN_DEVICE_SOCKET", socket.c_str(), 1);
    ASSERT_NO_FATAL_FAILURE(build_network());
    ASSERT_NO_FATAL_FAILURE(start_service());
}

void RunningDevice::TearDown()
{
    varn_device_disconnect();
    varn_device_set_timeout(0);
    service.reset();
    if (!folder.empty())
        std::filesystem::remove_all(folder);
}

void RunningDevice::start_service()
{
    service = std::make_unique<running_process>(
        std::vector<std::string>{DEVICED, "--source", "kernel", "--socket", socket});
    ASSERT_TRUE(eventually([this] { return varn_device_connect(socket.c_str()) == 0; }))
        << varn_device_last_error_text();
    varn_device_clear_error();
}

uint32_t RunningDevice::iod_of(const std::string &name)
{
    uint32_t iods[64], count = 0;
    EXPECT_EQ(varn_device_list_iods(iods, 64, &count), 0u);
    for (uint32_t n = 0; n < count && n < 64; ++n)
        if (name == ifsvc_get_if_name(iods[n]))
            return iods[n];
    return 0;
}

uint32_t RunningDevice::if_index_of(const std::string &name)
{
    uint32_t if_index = 0;
    EXPECT_EQ(ifsvc_get_ifindex_frm_iod(iod_of(name), &if_index), 0u) << name;
    return if_index;
}

bool eventually(const std::function<bool()> &condition)
{
    const auto end = clock_type::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (clock_type::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

long milliseconds(const std::function<void()> &something)
{
    const auto begin = clock_type::now();
    something();
    return std::chrono::duration_cast<std::chrono::milliseconds>(clock_type::now() - begin).count();
}
