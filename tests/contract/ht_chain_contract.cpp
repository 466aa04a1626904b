// SPDX-License-Identifier: Apache-2.0
//
// The hash table under hash functions that spare it nothing: all records in one bucket, values far
// beyond the bucket count, values just at its end. Every rule holds for each of them.
#include "ht_records.h"

#include <gtest/gtest.h>

#include <vector>

using namespace ht_contract;

namespace
{

using record = link_behind_key<uint16_t>;

struct ht_any_hash : testing::TestWithParam<named_hash<uint16_t>> {
    table_t table;
    std::vector<record> entries = std::vector<record>(200);

    void SetUp() override
    {
        ASSERT_NE(init<record>(table, 13, GetParam().function), 0u);
        for (size_t i = 0; i < entries.size(); ++i) {
            entries[i].key = static_cast<uint16_t>(65535 - 11 * i);
            ASSERT_NE(ht_insert(&table.ht, &entries[i], 0), 0u);
        }
    }

    void expect_standing(size_t from, size_t step)
    {
        for (size_t i = 0; i < entries.size(); ++i) {
            void *expected = i >= from && (i - from) % step == 0 ? &entries[i] : nullptr;
            EXPECT_EQ(ht_lookup(&table.ht, &entries[i].key), expected) << "record " << i;
        }
    }
};

} // namespace

TEST_P(ht_any_hash, EveryRecordIsFound)
{
    expect_standing(0, 1);
    EXPECT_EQ(table.ht.num_entries, entries.size());
}

TEST_P(ht_any_hash, DuplicatesAreRefused)
{
    for (const record &entry : entries) {
        record twin{};
        twin.key = entry.key;
        EXPECT_EQ(ht_insert(&table.ht, &twin, 0), 0u);
        EXPECT_EQ(ht_remove_entry(&table.ht, &twin), 0u);
    }
    expect_standing(0, 1);
}

TEST_P(ht_any_hash, AnyRecordOfAChainCanBeRemoved)
{
    for (size_t i = 0; i < entries.size(); ++i) {
        if (i % 3 != 0) {
            EXPECT_NE(ht_remove_entry(&table.ht, &entries[i]), 0u) << "record " << i;
        }
    }
    expect_standing(0, 3);
}

TEST_P(ht_any_hash, TheFirstAndTheLastOfAChainCanBeRemoved)
{
    EXPECT_NE(ht_remove_entry(&table.ht, &entries.front()), 0u);
    EXPECT_NE(ht_remove_entry(&table.ht, &entries.back()), 0u);
    EXPECT_EQ(ht_lookup(&table.ht, &entries.front().key), nullptr);
    EXPECT_EQ(ht_lookup(&table.ht, &entries.back().key), nullptr);
    for (size_t i = 1; i + 1 < entries.size(); ++i)
        EXPECT_EQ(ht_lookup(&table.ht, &entries[i].key), &entries[i]);
}

TEST_P(ht_any_hash, ATableCanBeEmptiedAndFilledAgain)
{
    for (record &entry : entries)
        EXPECT_NE(ht_remove_entry(&table.ht, &entry), 0u);
    EXPECT_EQ(table.ht.num_entries, 0u);
    expect_standing(entries.size(), 1);
    for (record &entry : entries)
        EXPECT_NE(ht_insert(&table.ht, &entry, 0), 0u);
    expect_standing(0, 1);
}

INSTANTIATE_TEST_SUITE_P(All, ht_any_hash, testing::ValuesIn(hashes<uint16_t>),
                         [](const auto &hash) { return hash.param.name; });

TEST(ht_stats, AnEmptyTableHasNoChainAndNoAverage)
{
    table_t table;
    init<record>(table, 4);
    ht_stats_t stats{9, 9, 9.0};
    EXPECT_NE(ht_get_stats(&table.ht, &stats), 0u);
    EXPECT_EQ(stats.size_hwm, 0u);
    EXPECT_EQ(stats.worst_lookup, 0u);
    EXPECT_EQ(stats.average_lookup, 0.0);
}

TEST(ht_stats, TheAverageIsTheMeanPlaceInTheChain)
{
    table_t table;
    init<record>(table, 4);
    record entries[6] = {};
    const uint16_t keys[6] = {0, 4, 8, 12, 1, 5}; // a chain of four and one of two
    for (size_t i = 0; i < 6; ++i) {
        entries[i].key = keys[i];
        ASSERT_NE(ht_insert(&table.ht, &entries[i], 0), 0u);
    }
    ht_stats_t stats{};
    EXPECT_NE(ht_get_stats(&table.ht, &stats), 0u);
    EXPECT_EQ(stats.worst_lookup, 4u);
    EXPECT_DOUBLE_EQ(stats.average_lookup, (1 + 2 + 3 + 4 + 1 + 2) / 6.0);
}

TEST(ht_stats, TheHighWaterMarkStaysWhenRecordsLeave)
{
    table_t table;
    init<record>(table, 4);
    record entries[5] = {};
    for (uint16_t i = 0; i < 5; ++i) {
        entries[i].key = i;
        ht_insert(&table.ht, &entries[i], 0);
    }
    for (record &entry : entries)
        ht_remove_entry(&table.ht, &entry);
    ht_insert(&table.ht, &entries[0], 0);
    ht_stats_t stats{};
    ht_get_stats(&table.ht, &stats);
    EXPECT_EQ(stats.size_hwm, 5u);
    EXPECT_EQ(stats.worst_lookup, 1u);
    EXPECT_DOUBLE_EQ(stats.average_lookup, 1.0);
}
