// SPDX-License-Identifier: Apache-2.0
//
// scale_tests.cpp: what 64 to 16384 interfaces cost: the memory of the service and of a client that
// caches all of them, the requests of its first pass, and a change. Prints a table.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>

#include <sys/wait.h>
#include <unistd.h>

#include "inventory_device.h"
#include "varn.h"
#include "varn_device.h"

namespace
{

using clock_type = std::chrono::steady_clock;

long resident_kib(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string word; status >> word;)
        if (word == "VmRSS:") {
            long kib = 0;
            status >> kib;
            return kib;
        }
    return 0;
}

// What a client process found out about itself.
struct client_figures {
    std::uint64_t requests_of_one; // to have the first interface
    std::uint64_t requests_of_all; // to have every interface, the first included
    std::uint64_t requests_again;  // of a second pass
    long milliseconds;             // of the first pass
    long kib_before, kib_after;    // resident, without and with all interfaces cached
    std::uint64_t failures;
};

void discard(std::uintptr_t, const char *, ...) {}

client_figures pass_over(const std::vector<std::uint32_t> &iods)
{
    varn_config_t config{};
    config.sync = VARN_MASK(VARN_BIT_PC + 1) - 1;
    config.debug_print_arg = discard;
    client_figures found{};
    if (varn_init(&config) != 1)
        return found;
    found.kib_before = resident_kib(getpid());
    const auto begin = clock_type::now();
    const std::uint64_t before = varn_device_requests();
    for (const std::uint32_t iod : iods) {
        found.failures += varn_ifsvc_is_linkup(iod) != 1;
        if (iod == iods.front())
            found.requests_of_one = varn_device_requests() - before;
    }
    found.requests_of_all = varn_device_requests() - before;
    found.milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(clock_type::now() - begin).count();
    found.kib_after = resident_kib(getpid());
    for (const std::uint32_t iod : iods)
        found.failures += varn_ifsvc_is_linkup(iod) != 1;
    found.requests_again = varn_device_requests() - before - found.requests_of_all;
    return found;
}

class Scale : public InventoryDevice
{
protected:
    void start_with(unsigned ports)
    {
        start(R"({"interfaces": [{"range": {"first": 1, "last": )" + std::to_string(ports) +
              R"(}, "name": "port{}", "type": "physical"}]})");
    }

    std::vector<std::uint32_t> all_iods()
    {
        std::uint32_t count = 0;
        std::vector<std::uint32_t> iods(32767);
        EXPECT_EQ(varn_device_list_iods(iods.data(), 32767, &count), 0u);
        iods.resize(count);
        return iods;
    }

    // In a process of its own, whose memory is that of one client.
    client_figures of_a_client(const std::vector<std::uint32_t> &iods)
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe(ends.data()), 0);
        varn_device_disconnect();
        const pid_t child = fork();
        if (child == 0) {
            const client_figures found = pass_over(iods);
            const bool written = write(ends[1], &found, sizeof found) == sizeof found;
            _exit(written ? 0 : 1);
        }
        close(ends[1]);
        client_figures found{};
        EXPECT_EQ(read(ends[0], &found, sizeof found), static_cast<ssize_t>(sizeof found));
        close(ends[0]);
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        return found;
    }

    // The median of changes that send one notice each to one subscriber.
    long microseconds_of_a_change()
    {
        static std::uint64_t told;
        told = 0;
        varn_device_notices_t callbacks{};
        callbacks.any = [](std::uintptr_t, const char *, std::uint64_t, std::uint32_t,
                           std::uint32_t, std::uint32_t) { ++told; };
        EXPECT_EQ(varn_device_subscribe(&callbacks), 0u);
        std::vector<long> took;
        for (int n = 0; n < 101; ++n) {
            const auto begin = clock_type::now();
            change({"set", "port7", "mtu", std::to_string(2000 + n)});
            took.push_back(
                std::chrono::duration_cast<std::chrono::microseconds>(clock_type::now() - begin)
                    .count());
        }
        varn_device_dispatch(0);
        varn_device_subscribe(nullptr);
        EXPECT_EQ(told, 101u) << "one notice a change";
        std::ranges::nth_element(took, took.begin() + 50);
        return took[50];
    }
};

TEST_F(Scale, GrowsInProportionAndAsksForNothingTwice)
{
    struct row {
        unsigned ports;
        long service_kib, client_kib, change_us;
    };
    std::vector<row> rows;
    std::printf("interfaces  service KiB  client KiB  first pass ms  requests each  change us\n");
    for (const unsigned ports : {64u, 1024u, 4096u, 16384u}) {
        start_with(ports);
        const std::vector<std::uint32_t> iods = all_iods();
        ASSERT_EQ(iods.size(), ports);
        const long change_us = microseconds_of_a_change();
        const client_figures client = of_a_client(iods);
        EXPECT_EQ(client.failures, 0u);
        EXPECT_GT(client.requests_of_one, 0u);
        EXPECT_EQ(client.requests_of_all, ports * client.requests_of_one) << "one refresh each";
        EXPECT_EQ(client.requests_again, 0u);
        rows.push_back(
            {ports, resident_kib(service->pid()), client.kib_after - client.kib_before, change_us});
        std::printf("%10u  %11ld  %10ld  %13ld  %13llu  %9ld\n", ports, rows.back().service_kib,
                    rows.back().client_kib, client.milliseconds,
                    static_cast<unsigned long long>(client.requests_of_one), change_us);
    }
    const auto bytes_each = [&rows](std::size_t n, auto kib) {
        return 1024.0 * static_cast<double>(rows[n].*kib - rows[0].*kib) /
               (rows[n].ports - rows[0].ports);
    };
    EXPECT_LT(bytes_each(3, &row::service_kib), 1.5 * bytes_each(2, &row::service_kib));
    EXPECT_LT(bytes_each(3, &row::client_kib), 1.5 * bytes_each(2, &row::client_kib));
    EXPECT_LT(rows[3].change_us, 4 * rows[0].change_us + 200) << "a change looks at one interface";
}

} // namespace
