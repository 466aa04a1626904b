// SPDX-License-Identifier: Apache-2.0
//
// The accounting allocator as its callers see it: blocks, and accounts that never stand in the way.
#include "memacct.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <thread>
#include <vector>

namespace
{

constexpr uint32_t account = 0x4d01;

bool holds_only(const void *block, size_t size, unsigned char value)
{
    const auto *bytes = static_cast<const unsigned char *>(block);
    for (size_t i = 0; i < size; ++i) {
        if (bytes[i] != value)
            return false;
    }
    return true;
}

// Allocates, fills, checks and frees; gives the number of blocks that did not keep their bytes.
unsigned spoiled_blocks(unsigned char value)
{
    unsigned spoiled = 0;
    for (size_t round = 0; round < 2000; ++round) {
        const size_t size = 1 + round % 300;
        void *block = memacct_alloc(account, static_cast<uint32_t>(round % 4), size);
        if (block == nullptr)
            return UINT32_MAX;
        memset(block, value, size);
        spoiled += holds_only(block, size, value) ? 0 : 1;
        memacct_free(block);
    }
    return spoiled;
}

} // namespace

TEST(memacct_init, OpensAnAccountAndOpensItAgain)
{
    const char *const first[] = {"entry", "record"};
    const char *const second[] = {"renamed"};
    EXPECT_EQ(memacct_init("contract", account, first, 2), 0u);
    EXPECT_EQ(memacct_init("contract again", account, second, 1), 0u);
}

TEST(memacct_alloc, BlocksAreAlignedForEveryType)
{
    for (size_t size = 1; size <= 512; ++size) {
        void *block = memacct_alloc(account, 0, size);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignof(std::max_align_t), 0u) << size;
        memacct_free(block);
    }
}

TEST(memacct_alloc, BlocksDoNotOverlap)
{
    std::vector<unsigned char *> blocks;
    for (unsigned i = 0; i < 100; ++i) {
        blocks.push_back(static_cast<unsigned char *>(memacct_alloc(account, i, 136)));
        ASSERT_NE(blocks.back(), nullptr);
        memset(blocks.back(), static_cast<int>(i), 136);
    }
    for (unsigned i = 0; i < 100; ++i) {
        EXPECT_TRUE(holds_only(blocks[i], 136, static_cast<unsigned char>(i)));
        memacct_free(blocks[i]);
    }
}

TEST(memacct_alloc, WorksUnderAnAccountThatWasNeverOpened)
{
    void *block = memacct_alloc(0x7fffee, 12345, 10);
    ASSERT_NE(block, nullptr);
    memset(block, 1, 10);
    memacct_free(block);
}

TEST(memacct_alloc, GivesNullWhenMemoryIsWanting)
{
    EXPECT_EQ(memacct_alloc(account, 0, SIZE_MAX), nullptr);
    EXPECT_EQ(memacct_alloc(account, 0, SIZE_MAX - 64), nullptr);
    EXPECT_EQ(memacct_alloc(account, 0, SIZE_MAX / 2 + 1), nullptr);
}

TEST(memacct_alloc, IsSafeInManyThreads)
{
    unsigned spoiled[4] = {1, 1, 1, 1};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 4; ++i)
        threads.emplace_back(
            [&spoiled, i] { spoiled[i] = spoiled_blocks(static_cast<unsigned char>(i + 1)); });
    for (std::thread &thread : threads)
        thread.join();
    for (const unsigned count : spoiled)
        EXPECT_EQ(count, 0u);
}

TEST(memacct_free, ABlockMayBeFreedByAnotherThread)
{
    void *block = memacct_alloc(account, 1, 100);
    ASSERT_NE(block, nullptr);
    std::thread(memacct_free, block).join();
    EXPECT_EQ(spoiled_blocks(9), 0u);
}

TEST(memacct_free, NullDoesNothing) { EXPECT_NO_FATAL_FAILURE(memacct_free(nullptr)); }
