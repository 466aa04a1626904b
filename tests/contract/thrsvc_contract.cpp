// SPDX-License-Identifier: Apache-2.0
//
// The calling thread's id.
#include "thrsvc.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>
#include <vector>

namespace
{

uint32_t system_id() { return static_cast<uint32_t>(syscall(SYS_gettid)); }

} // namespace

TEST(thrsvc_get_thread_pid, IsTheSystemsIdOfTheThread)
{
    EXPECT_NE(thrsvc_get_thread_pid(), 0u);
    EXPECT_EQ(thrsvc_get_thread_pid(), system_id());
    EXPECT_EQ(thrsvc_get_thread_pid(), system_id());
}

TEST(thrsvc_get_thread_pid, EachThreadHasItsOwn)
{
    uint32_t answered[8] = {};
    uint32_t expected[8] = {};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            answered[i] = thrsvc_get_thread_pid();
            expected[i] = system_id();
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (unsigned i = 0; i < 8; ++i) {
        EXPECT_EQ(answered[i], expected[i]);
        EXPECT_NE(answered[i], 0u);
    }
}

TEST(thrsvc_get_thread_pid, AForkedChildHasItsOwnAndSoHasItsChild)
{
    const uint32_t parent = thrsvc_get_thread_pid();
    const pid_t child = fork();
    if (child == 0) {
        const bool right = thrsvc_get_thread_pid() == system_id();
        const pid_t grandchild = fork();
        if (grandchild == 0)
            _exit(thrsvc_get_thread_pid() == system_id() ? 0 : 1);
        int status = 1;
        waitpid(grandchild, &status, 0);
        _exit(right && status == 0 ? 0 : 1);
    }
    int status = 1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(thrsvc_get_thread_pid(), parent);
}
