// SPDX-License-Identifier: Apache-2.0
//
// storm_tests.cpp: more changes than the kernel can keep for the service. The service is stopped
// while they happen and has a small socket buffer, so that notices are really lost.
#include <string>

#include <fmt/format.h>

#include "ifsvc.h"
#include "kernel_guest.h"
#include "library_answers.h"
#include "varn_device.h"

namespace
{

constexpr int many = 4096;
constexpr char small_buffer[] = "--event-buffer 4096";
constexpr char told_of_loss[] = "notices of links were lost (too many at once)";

class Storm : public KernelGuest
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(KernelGuest::SetUp());
        ASSERT_NO_FATAL_FAILURE(start_service({small_buffer}));
        varn_device_set_timeout(60000); // an emulated processor reads thousands of links slowly
    }

    void TearDown() override
    {
        varn_device_set_timeout(0);
        KernelGuest::TearDown();
    }

    bool tells_of_loss() { return log().find(told_of_loss) != std::string::npos; }
};

TEST_F(Storm, OfChangesToAFewInterfacesIsReadAgain)
{
    ip_batch("link add port0 type veth peer name peer0\nlink add dummy0 type dummy\n"
             "link add bond0 type bond\nlink add gone0 type dummy\n");
    expect_what_ip_says();
    std::string lines;
    for (int n = 0; n < 200; ++n)
        lines += fmt::format("link set port0 mtu {}\nlink set dummy0 mtu {}\n", 1000 + n, 1300 + n);
    lines += "link del gone0\nlink add new0 type vrf table 9\nlink set port0 master new0\n"
             "link set dummy0 address 02:00:00:00:00:09\n";
    service->send(SIGSTOP);
    ip_batch(lines);
    service->send(SIGCONT);
    expect_what_ip_says();
    EXPECT_TRUE(tells_of_loss()) << log();
}

// With everything lost, only the name, the kind and the address can tell one from another.
TEST_F(Storm, HidesNoInterfaceThatIsMadeAnew)
{
    ip_batch("link add port0 index 70 type dummy\nlink add port1 index 71 type dummy\n"
             "link add port2 index 72 type dummy\n");
    expect_what_ip_says();
    const auto iod = iod_of("port0"), other = iod_of("port1"), same = iod_of("port2");
    std::string lines;
    for (int n = 0; n < 200; ++n)
        lines += fmt::format("link set lo mtu {}\n", 1000 + n);
    lines += "link del port0\nlink add port0 index 70 type dummy\n"
             "link del port1\nlink add port1 index 71 type bond\n";
    service->send(SIGSTOP);
    ip_batch(lines);
    service->send(SIGCONT);
    expect_what_ip_says();
    EXPECT_TRUE(tells_of_loss()) << log();
    EXPECT_NE(iod_of("port0"), iod);
    EXPECT_NE(iod_of("port1"), other);
    EXPECT_EQ(iod_of("port2"), same);
}

// All are there with their MTU; everything is asked about some of them.
TEST_F(Storm, OfThousandsOfLinksLeavesNoneOut)
{
    std::string lines;
    for (int n = 0; n < many; ++n)
        lines += fmt::format("link add d{:04} mtu {} type dummy\n", n, 1000 + n);
    service->send(SIGSTOP);
    ip_batch(lines);
    service->send(SIGCONT);
    for (int n = 0; n < many; n += 256)
        only.insert(fmt::format("d{:04}", n));
    expect_what_ip_says();
    EXPECT_TRUE(tells_of_loss()) << log();

    std::map<std::string, uint32_t> expected{{"lo", 65535}}, answered;
    for (int n = 0; n < many; ++n)
        expected[fmt::format("d{:04}", n)] = static_cast<uint32_t>(1000 + n);
    for (const auto &[name, iod] : iods_by_name())
        answered[name] = ifsvc_get_if_mtu(iod);
    EXPECT_TRUE(expected == answered);
}

} // namespace
