// SPDX-License-Identifier: Apache-2.0
//
// What is special to this hash table: link words that are hints only, slots that come back, a table
// that can be full, and an insert that asks nobody for memory.
#include "ht.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <sys/resource.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <limits>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
// As the sanitizer's run-time library defines it; g++ ships no header for it.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace
{

struct record {
    uint32_t key;
    uint32_t link[2];
};

constexpr uint32_t capacity = 1u << 20;

uint32_t hash(const void *key, uint32_t num_buckets)
{
    return *static_cast<const uint32_t *>(key) % num_buckets;
}

const void *get_key(const void *entry) { return &static_cast<const record *>(entry)->key; }

uint32_t keys_equal(const void *a, const void *b)
{
    return *static_cast<const uint32_t *>(a) == *static_cast<const uint32_t *>(b) ? 1 : 0;
}

uint32_t init(ht_t *table, uint32_t num_buckets)
{
    return ht_init(table, 0, offsetof(record, link), num_buckets, 0.0, hash, get_key, keys_equal);
}

std::vector<record> numbered(uint32_t count)
{
    std::vector<record> records(count);
    for (uint32_t i = 0; i < count; ++i)
        records[i].key = i;
    return records;
}

size_t allocated_bytes()
{
#if defined(__SANITIZE_ADDRESS__)
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

struct ht_storage : testing::Test {
    ht_t table{};

    void use(uint32_t num_buckets) { ASSERT_NE(init(&table, num_buckets), 0u); }
    uint32_t insert(record &entry) { return ht_insert(&table, &entry, 0); }
    uint32_t remove(record &entry) { return ht_remove_entry(&table, &entry); }
    void *lookup(uint32_t key) { return ht_lookup(&table, &key); }
    void TearDown() override { ht_cleanup(&table); }
};

using ht_links = ht_storage;

} // namespace

TEST_F(ht_links, WhateverStoodInThemBeforeAnInsertDoesNotMatter)
{
    use(2);
    std::vector<record> records = numbered(8);
    const uint32_t words[] = {0, 1, 2, 3, 7, capacity - 1, capacity, UINT32_MAX};
    for (size_t i = 0; i < 8; ++i)
        records[i].link[0] = records[i].link[1] = words[i];
    for (record &entry : records)
        EXPECT_NE(insert(entry), 0u) << entry.key;
    for (record &entry : records)
        EXPECT_EQ(lookup(entry.key), &entry);
}

TEST_F(ht_links, ARecordThatBorrowsAnothersWordsDoesNotStand)
{
    use(4);
    std::vector<record> records = numbered(2);
    insert(records[0]);
    memcpy(records[1].link, records[0].link, sizeof records[0].link);
    EXPECT_EQ(remove(records[1]), 0u);
    EXPECT_NE(insert(records[1]), 0u);
    EXPECT_EQ(lookup(0), &records[0]);
    EXPECT_EQ(lookup(1), &records[1]);
}

TEST_F(ht_links, WordsOverwrittenWhileARecordStandsLoseNoMoreThanWhatHangsOnThem)
{
    use(4);
    std::vector<record> records = numbered(8);
    for (record &entry : records)
        insert(entry);
    for (const uint32_t word : {0u, 3u, 7u, 8u, capacity, UINT32_MAX}) {
        record &spoiled = records[5]; // the head of its chain
        record kept = spoiled;
        spoiled.link[0] = spoiled.link[1] = word;
        EXPECT_EQ(lookup(5), &spoiled);
        EXPECT_EQ(lookup(4), &records[4]);
        record twin{5, {}};
        EXPECT_EQ(insert(twin), 0u);
        spoiled = kept;
        EXPECT_EQ(lookup(1), &records[1]);
    }
}

TEST_F(ht_links, AFreedSlotIsNoSuccessor)
{
    use(1);
    std::vector<record> records = numbered(3);
    for (record &entry : records)
        insert(entry);
    const uint32_t freed = records[1].link[0];
    remove(records[1]);
    records[2].link[1] = freed;
    EXPECT_EQ(lookup(1), nullptr);
    EXPECT_EQ(lookup(2), &records[2]);
}

TEST_F(ht_links, AKeyChangedWhileItsRecordStandsMakesItUnremovableAndNothingElse)
{
    use(4);
    std::vector<record> records = numbered(2);
    insert(records[0]);
    insert(records[1]);
    records[0].key = 3;
    EXPECT_EQ(remove(records[0]), 0u);
    EXPECT_EQ(table.num_entries, 2u);
    records[0].key = 0;
    EXPECT_NE(remove(records[0]), 0u);
}

TEST_F(ht_links, ARecordAtAnOddAddressIsRefused)
{
    use(4);
    alignas(4) char bytes[sizeof(record) + 1] = {};
    EXPECT_EQ(ht_insert(&table, bytes + 1, 0), 0u);
    EXPECT_EQ(table.num_entries, 0u);
}

TEST_F(ht_storage, AFullTableRefusesARecordUntilOneLeaves)
{
    use(capacity);
    std::vector<record> records = numbered(capacity + 1);
    for (uint32_t i = 0; i < capacity; ++i)
        ASSERT_NE(insert(records[i]), 0u) << i;
    EXPECT_EQ(insert(records[capacity]), 0u);
    EXPECT_EQ(table.num_entries, capacity);
    EXPECT_EQ(lookup(capacity), nullptr);
    EXPECT_NE(remove(records[123456]), 0u);
    EXPECT_NE(insert(records[capacity]), 0u);
    EXPECT_EQ(lookup(capacity), &records[capacity]);
    EXPECT_EQ(insert(records[123456]), 0u);
}

TEST_F(ht_storage, SlotsThatWereGivenBackAreUsedAgain)
{
    use(16);
    std::vector<record> records = numbered(100);
    for (uint32_t round = 0; round < capacity / 50; ++round) {
        for (record &entry : records)
            ASSERT_NE(insert(entry), 0u) << "round " << round;
        for (record &entry : records)
            ASSERT_NE(remove(entry), 0u) << "round " << round;
    }
    for (record &entry : records)
        EXPECT_LT(entry.link[0], 100u);
}

TEST_F(ht_storage, AnInsertAllocatesNothing)
{
    use(64);
    std::vector<record> records = numbered(10000);
    const size_t before = allocated_bytes();
    for (record &entry : records)
        insert(entry);
    EXPECT_EQ(allocated_bytes(), before);
    EXPECT_EQ(table.num_entries, 10000u);
}

TEST_F(ht_storage, StatisticsFollowTheStructure)
{
    use(10);
    std::vector<record> records = numbered(25); // five chains of three, five of two
    for (record &entry : records)
        insert(entry);
    ht_stats_t stats{};
    EXPECT_NE(ht_get_stats(&table, &stats), 0u);
    EXPECT_EQ(stats.size_hwm, 25u);
    EXPECT_EQ(stats.worst_lookup, 3u);
    EXPECT_DOUBLE_EQ(stats.average_lookup, (5 * (1 + 2 + 3) + 5 * (1 + 2)) / 25.0);
}

TEST_F(ht_storage, APartOfTheBucketsCanBeWalked)
{
    use(10);
    std::vector<record> records = numbered(10);
    for (record &entry : records)
        insert(entry);
    ht_iterator_t walk{};
    EXPECT_NE(ht_iterator_init(&walk, &table, 7, 2), 0u);
    EXPECT_EQ(ht_iterator_next(&walk), &records[7]);
    EXPECT_EQ(ht_iterator_next(&walk), &records[8]);
    EXPECT_EQ(ht_iterator_next(&walk), nullptr);
    EXPECT_NE(ht_iterator_init(&walk, &table, 9, ULONG_MAX), 0u);
    EXPECT_EQ(ht_iterator_next(&walk), &records[9]);
    EXPECT_EQ(ht_iterator_next(&walk), nullptr);
    EXPECT_NE(ht_iterator_init(&walk, &table, 10, 1), 0u);
    EXPECT_EQ(ht_iterator_next(&walk), nullptr);
    EXPECT_EQ(ht_iterator_init(nullptr, &table, 0, 1), 0u);
}

TEST_F(ht_storage, AWalkOverATableThatWasCleanedUpEnds)
{
    use(4);
    record entry{1, {}};
    insert(entry);
    ht_iterator_t walk{};
    ht_iterator_init(&walk, &table, 0, 4);
    ht_cleanup(&table);
    EXPECT_EQ(ht_iterator_next(&walk), nullptr);
}

TEST(ht_init_arguments, EachIsChecked)
{
    ht_t table{};
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(ht_init(&table, 1, 4, 16, 0.0, hash, get_key, keys_equal), 0u) << "flags";
    EXPECT_EQ(ht_init(&table, 0, 4, 16, 0.5, hash, get_key, keys_equal), 0u) << "growth";
    EXPECT_EQ(ht_init(&table, 0, 4, 16, nan, hash, get_key, keys_equal), 0u) << "growth";
    EXPECT_EQ(ht_init(&table, 0, 4, 16, 0.0, nullptr, get_key, keys_equal), 0u);
    EXPECT_EQ(ht_init(&table, 0, 4, 16, 0.0, hash, nullptr, keys_equal), 0u);
    EXPECT_EQ(ht_init(&table, 0, 4, 16, 0.0, hash, get_key, nullptr), 0u);
    EXPECT_EQ(table.num_buckets, 0u);
}

TEST(ht_init_memory, WantOfAddressSpaceLeavesNoTable)
{
    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    const rlimit tight{1, before.rlim_max};
    ht_t table{};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
    const uint32_t result = init(&table, 16);
    setrlimit(RLIMIT_AS, &before);
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(table.num_buckets, 0u);
    EXPECT_NE(init(&table, 16), 0u);
    ht_cleanup(&table);
}
