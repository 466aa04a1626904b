// SPDX-License-Identifier: Apache-2.0
//
// The figures of the accounting allocator. Each test uses an account of its own, because accounts
// live as long as the process.
#include "device/runtime/memacct_figures.h"

#include "device/runtime/memacct_cells.h"
#include "memacct.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <set>
#include <thread>
#include <vector>

namespace
{

memacct_figures_t figures(uint32_t id, uint32_t type)
{
    memacct_figures_t read{};
    EXPECT_EQ(memacct_figures_get(id, type, &read), 0u);
    return read;
}

void expect_figures(uint32_t id, uint32_t type, memacct_figures_t expected)
{
    const memacct_figures_t read = figures(id, type);
    EXPECT_EQ(read.id, id);
    EXPECT_EQ(read.type, type);
    EXPECT_EQ(read.live_blocks, expected.live_blocks);
    EXPECT_EQ(read.live_bytes, expected.live_bytes);
    EXPECT_EQ(read.total_allocations, expected.total_allocations);
    EXPECT_EQ(read.peak_bytes, expected.peak_bytes);
}

memacct_figures_t counts(uint64_t blocks, uint64_t bytes, uint64_t total, uint64_t peak)
{
    return {0, 0, nullptr, nullptr, blocks, bytes, total, peak};
}

} // namespace

TEST(memacct_figures, FollowEveryBlock)
{
    void *first = memacct_alloc(1, 4, 100);
    expect_figures(1, 4, counts(1, 100, 1, 100));
    void *second = memacct_alloc(1, 4, 36);
    expect_figures(1, 4, counts(2, 136, 2, 136));
    memacct_free(first);
    expect_figures(1, 4, counts(1, 36, 2, 136));
    void *third = memacct_alloc(1, 4, 50);
    expect_figures(1, 4, counts(2, 86, 3, 136));
    memacct_free(second);
    memacct_free(third);
    expect_figures(1, 4, counts(0, 0, 3, 136));
}

TEST(memacct_figures, TellTypesAndAccountsApart)
{
    void *a = memacct_alloc(2, 1, 10);
    void *b = memacct_alloc(2, 2, 20);
    void *c = memacct_alloc(3, 1, 40);
    expect_figures(2, 1, counts(1, 10, 1, 10));
    expect_figures(2, 2, counts(1, 20, 1, 20));
    expect_figures(3, 1, counts(1, 40, 1, 40));
    memacct_free(b);
    expect_figures(2, 2, counts(0, 0, 1, 20));
    expect_figures(2, 1, counts(1, 10, 1, 10));
    memacct_free(a);
    memacct_free(c);
}

TEST(memacct_figures, ARefusedAllocationIsNotCounted)
{
    memacct_free(memacct_alloc(4, 0, 8));
    EXPECT_EQ(memacct_alloc(4, 0, SIZE_MAX), nullptr);
    expect_figures(4, 0, counts(0, 0, 1, 8));
}

TEST(memacct_figures, CarryTheNamesOfTheAccountAndStayWhenItIsOpenedAgain)
{
    const char *const names[] = {"entry", "key"};
    const char *const renamed[] = {"interface"};
    void *block = memacct_alloc(5, 1, 30);
    EXPECT_EQ(figures(5, 1).account_name, nullptr);
    EXPECT_EQ(memacct_init("cache", 5, names, 2), 0u);
    EXPECT_STREQ(figures(5, 0).type_name, "entry");
    EXPECT_STREQ(figures(5, 1).type_name, "key");
    EXPECT_STREQ(figures(5, 1).account_name, "cache");
    EXPECT_EQ(memacct_init("cache 2", 5, renamed, 1), 0u);
    EXPECT_STREQ(figures(5, 0).type_name, "interface");
    EXPECT_EQ(figures(5, 1).type_name, nullptr);
    EXPECT_STREQ(figures(5, 1).account_name, "cache 2");
    expect_figures(5, 1, counts(1, 30, 1, 30));
    memacct_free(block);
}

TEST(memacct_figures, AWalkMeetsEveryTypeOnceAndNoOther)
{
    const char *const names[] = {"a", "b", "c"};
    memacct_init("walked", 6, names, 3);
    memacct_free(memacct_alloc(6, 77, 1));
    std::multiset<uint32_t> types;
    memacct_figures_t read{};
    for (uint32_t position = 0; memacct_figures_next(&position, &read) == 0;) {
        if (read.id == 6)
            types.insert(read.type);
    }
    EXPECT_EQ(types, (std::multiset<uint32_t>{0, 1, 2, 77}));
}

TEST(memacct_figures, AreMissingForWhatWasNeverUsedAndForNullOutputs)
{
    memacct_figures_t read{};
    EXPECT_NE(memacct_figures_get(7, 0, &read), 0u);
    memacct_free(memacct_alloc(7, 0, 1));
    EXPECT_EQ(memacct_figures_get(7, 0, &read), 0u);
    EXPECT_NE(memacct_figures_get(7, UINT32_MAX, &read), 0u);
    EXPECT_NE(memacct_figures_get(7, 0, nullptr), 0u);
    EXPECT_NE(memacct_figures_next(nullptr, &read), 0u);
}

TEST(memacct_figures, AddUpWhenManyThreadsAllocate)
{
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 5000; ++round)
                memacct_free(memacct_alloc(8, static_cast<uint32_t>(round % 3), 16));
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    uint64_t total = 0;
    for (uint32_t type = 0; type < 3; ++type) {
        const memacct_figures_t read = figures(8, type);
        EXPECT_EQ(read.live_blocks, 0u);
        EXPECT_EQ(read.live_bytes, 0u);
        EXPECT_GE(read.peak_bytes, 16u);
        EXPECT_LE(read.peak_bytes, 64u);
        total += read.total_allocations;
    }
    EXPECT_EQ(total, 20000u);
}

TEST(memacct_init_arguments, ANullNameOrListIsAnError)
{
    const char *const names[] = {"a"};
    EXPECT_NE(memacct_init(nullptr, 9, names, 1), 0u);
    EXPECT_NE(memacct_init("nine", 9, nullptr, 1), 0u);
    EXPECT_EQ(memacct_init("nine", 9, nullptr, 0), 0u);
}

TEST(memacct_blocks, StartOnACacheLine)
{
    for (size_t size = 0; size < 300; ++size) {
        void *block = memacct_alloc(10, 0, size);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 64, 0u) << size;
        memacct_free(block);
    }
}

TEST(memacct_blocksDeathTest, WhatIsNoLiveBlockEndsTheProcess)
{
    alignas(64) static char foreign[256] = {};
    EXPECT_DEATH(memacct_free(foreign + 128), "is not a live block");
}

// Fills the table of cells in a child, so that the other tests keep their room.
TEST(memacct_overflowDeathTest, BlocksBeyondTheLastTypeAreCountedTogether)
{
    const auto fill_and_check = [] {
        for (uint32_t type = 0; type < memacct::cell_count; ++type)
            memacct_free(memacct_alloc(11, type, 1));
        void *block = memacct_alloc(12, 1, 70);
        memacct_figures_t read{};
        const bool counted = memacct_figures_get_overflow(&read) == 0 && read.live_blocks == 1 &&
                             read.live_bytes == 70;
        memacct_free(block);
        memacct_figures_get_overflow(&read);
        const char *const names[] = {"a"};
        const bool refused = memacct_init("too late", 12, names, 1) != 0;
        _exit(counted && refused && read.live_blocks == 0 ? 0 : 1);
    };
    EXPECT_EXIT(fill_and_check(), testing::ExitedWithCode(0), "");
}
