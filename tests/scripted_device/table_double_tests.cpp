// SPDX-License-Identifier: Apache-2.0
//
// The hash-table double keeps the promises of ht.h, tells its calls, and fails where it is told to.
#include "scripted_device.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>

using namespace scripted;
using u32 = std::uint32_t;

namespace
{

struct item {
    u32 before = 0x11111111;
    u32 key = 0;
    u32 link[2] = {0, 0};
    u32 behind = 0x22222222;
};

int callbacks_called;

u32 hash_item(const void *key, u32 num_buckets)
{
    ++callbacks_called;
    return *static_cast<const u32 *>(key) % (num_buckets * 3); // beyond the buckets on purpose
}
const void *key_of_item(const void *entry)
{
    ++callbacks_called;
    return &static_cast<const item *>(entry)->key;
}
u32 are_items_equal(const void *a, const void *b)
{
    ++callbacks_called;
    return *static_cast<const u32 *>(a) == *static_cast<const u32 *>(b);
}

class TableDouble : public testing::Test
{
protected:
    TableDouble()
    {
        reset();
        for (u32 at = 0; at < 10; ++at)
            items[at].key = 100 + at;
        name_table(&table, "Items", key_form::decimal);
    }

    u32 init()
    {
        return ht_init(&table, 0, offsetof(item, link), 4, 0.0, hash_item, key_of_item,
                       are_items_equal);
    }
    void insert_all()
    {
        for (item &each : items)
            ASSERT_EQ(ht_insert(&table, &each, 0), 1u);
    }
    void *look_up(u32 key) { return ht_lookup(&table, &key); }

    ht_t table{};
    item items[10];
};

TEST_F(TableDouble, FindsEachRecordByItsKeyAndNoOther)
{
    ASSERT_EQ(init(), 1u);
    insert_all();
    for (item &each : items)
        EXPECT_EQ(look_up(each.key), &each);
    EXPECT_EQ(look_up(99), nullptr);
    EXPECT_EQ(table.num_entries, 10u);
    EXPECT_EQ(table.num_buckets, 4u);
}

TEST_F(TableDouble, RefusesASecondRecordOfAKeyAndARecordThatStandsAlready)
{
    init();
    insert_all();
    item twin = items[3];
    EXPECT_EQ(ht_insert(&table, &twin, 0), 0u);
    EXPECT_EQ(ht_insert(&table, &items[3], 0), 0u);
    EXPECT_EQ(ht_insert(&table, nullptr, 0), 0u);
    EXPECT_EQ(ht_remove_entry(&table, &twin), 0u);
    EXPECT_EQ(look_up(103), &items[3]);
    EXPECT_EQ(table.num_entries, 10u);
}

TEST_F(TableDouble, RemovesThatVeryRecord)
{
    init();
    insert_all();
    EXPECT_EQ(ht_remove_entry(&table, &items[3]), 1u);
    EXPECT_EQ(ht_remove_entry(&table, &items[3]), 0u);
    EXPECT_EQ(look_up(103), nullptr);
    EXPECT_EQ(look_up(107), &items[7]);
    EXPECT_EQ(table.num_entries, 9u);
}

TEST_F(TableDouble, OverwritesTheLinkWordsAndNothingElse)
{
    init();
    ht_insert(&table, &items[0], 0);
    EXPECT_NE(items[0].link[0], 0u);
    EXPECT_NE(items[0].link[1], 0u);
    items[0].link[0] = items[0].link[1] = 0; // the double does not need them
    EXPECT_EQ(look_up(100), &items[0]);
    EXPECT_EQ(items[0].before, 0x11111111u);
    EXPECT_EQ(items[0].behind, 0x22222222u);
}

TEST_F(TableDouble, YieldsEachRecordOnceAlsoWhenTheLastOneIsRemoved)
{
    init();
    insert_all();
    ht_iterator_t walk;
    ASSERT_EQ(ht_iterator_init(&walk, &table, 0, table.num_buckets), 1u);
    std::vector<void *> seen;
    while (void *record = ht_iterator_next(&walk)) {
        seen.push_back(record);
        EXPECT_EQ(ht_remove_entry(&table, record), 1u);
    }
    std::sort(seen.begin(), seen.end());
    ASSERT_EQ(seen.size(), 10u);
    for (std::size_t at = 0; at < 10; ++at)
        EXPECT_EQ(seen[at], &items[at]);
    EXPECT_EQ(table.num_entries, 0u);
}

TEST_F(TableDouble, WalksTheRecordsInTheOrderOfRecordsIn)
{
    init();
    insert_all();
    ht_iterator_t walk;
    ht_iterator_init(&walk, &table, 0, table.num_buckets);
    std::vector<void *> seen;
    while (void *record = ht_iterator_next(&walk))
        seen.push_back(record);
    EXPECT_EQ(seen, records_in(&table));
    EXPECT_EQ(seen.size(), 10u);
}

TEST_F(TableDouble, ReportsItsStatistics)
{
    init();
    insert_all(); // keys 100 to 109 in 4 buckets: chains of 3, 3, 2, 2
    ht_stats_t stats;
    EXPECT_EQ(ht_get_stats(&table, &stats), 1u);
    EXPECT_EQ(stats.size_hwm, 10u);
    EXPECT_EQ(stats.worst_lookup, 3u);
    EXPECT_DOUBLE_EQ(stats.average_lookup, 1.8);
    ht_remove_entry(&table, &items[0]);
    ht_get_stats(&table, &stats);
    EXPECT_EQ(stats.size_hwm, 10u);
    EXPECT_DOUBLE_EQ(stats.average_lookup, 15.0 / 9);
    EXPECT_EQ(ht_get_stats(nullptr, &stats), 0u);
}

// Acts on a table that holds nothing, and expects the answers of one that was never initialised.
void expect_nothing_happens(ht_t *table, item *record)
{
    ht_iterator_t walk;
    callbacks_called = 0;
    EXPECT_EQ(ht_lookup(table, &record->key), nullptr);
    EXPECT_EQ(ht_insert(table, record, 0), 0u);
    EXPECT_EQ(ht_remove_entry(table, record), 0u);
    EXPECT_EQ(ht_iterator_init(&walk, table, 0, 4), 1u);
    EXPECT_EQ(ht_iterator_next(&walk), nullptr);
    EXPECT_EQ(callbacks_called, 0);
}

TEST_F(TableDouble, IsInertBeforeInitAfterCleanupAndForNull)
{
    ht_stats_t stats{1, 1, 1.0};
    expect_nothing_happens(&table, &items[0]);
    expect_nothing_happens(nullptr, &items[0]);
    EXPECT_EQ(ht_get_stats(&table, &stats), 1u);
    EXPECT_EQ(stats.size_hwm + stats.worst_lookup, 0u);
    EXPECT_EQ(ht_cleanup(&table), 1u);
    init();
    insert_all();
    EXPECT_EQ(ht_cleanup(&table), 1u);
    EXPECT_EQ(ht_cleanup(&table), 1u);
    EXPECT_EQ(ht_cleanup(nullptr), 0u);
    EXPECT_EQ(table.num_entries + table.num_buckets, 0u);
    expect_nothing_happens(&table, &items[0]);
}

TEST_F(TableDouble, IsInertWhenItsObjectWasZeroedCopiedOrReset)
{
    init();
    insert_all();
    ht_t copy = table;
    expect_nothing_happens(&copy, &items[0]);
    reset();
    expect_nothing_happens(&table, &items[0]);
    init();
    insert_all();
    table = ht_t{};
    expect_nothing_happens(&table, &items[0]);
}

TEST_F(TableDouble, RefusesArgumentsOutOfRange)
{
    EXPECT_EQ(ht_init(&table, 1, 8, 4, 0.0, hash_item, key_of_item, are_items_equal), 0u);
    EXPECT_EQ(ht_init(&table, 0, 7, 4, 0.0, hash_item, key_of_item, are_items_equal), 0u);
    EXPECT_EQ(ht_init(&table, 0, 8, 0, 0.0, hash_item, key_of_item, are_items_equal), 0u);
    EXPECT_EQ(ht_init(&table, 0, 8, 4, 2.0, hash_item, key_of_item, are_items_equal), 0u);
    EXPECT_EQ(ht_init(&table, 0, 8, 4, 0.0, nullptr, key_of_item, are_items_equal), 0u);
    EXPECT_FALSE(is_initialised(&table));
}

TEST_F(TableDouble, TellsItsCallsByTheTablesName)
{
    record(tables);
    init();
    ht_insert(&table, &items[0], 0);
    look_up(100);
    look_up(101);
    ht_remove_entry(&table, &items[0]);
    ht_cleanup(&table);
    EXPECT_EQ(calls(), lines("ht_init(Items, 0, 8, 4, 0.0) = 1", "ht_insert(Items, 100) = 1",
                             "ht_lookup(Items, 100) = found", "ht_lookup(Items, 101) = null",
                             "ht_remove_entry(Items, 100) = 1", "ht_cleanup(Items) = 1"));
}

TEST_F(TableDouble, FailsByTableAndByCount)
{
    on(ht_init).of("Other").fails();
    on(ht_insert).of("Items").fails_call(2);
    on(ht_lookup).of("Items", 100).fails_once();
    EXPECT_EQ(init(), 1u);
    EXPECT_EQ(ht_insert(&table, &items[0], 0), 1u);
    EXPECT_EQ(ht_insert(&table, &items[1], 0), 0u);
    EXPECT_EQ(look_up(101), nullptr);
    EXPECT_EQ(look_up(100), nullptr);
    EXPECT_EQ(look_up(100), &items[0]);
    EXPECT_EQ(table.num_entries, 1u);
}

TEST_F(TableDouble, ComplainsOfAKeyThatChangedInTheTable)
{
    init();
    insert_all();
    items[0].key = 101;
    ht_remove_entry(&table, &items[0]);
    EXPECT_EQ(complaints(),
              std::vector<std::string>{"ht_remove_entry(Items): the key changed in the table"});
}

TEST_F(TableDouble, ComplainsOfARecordThatIsReleasedWhileItStandsInIt)
{
    init();
    auto *record = new (memacct_alloc(544, 1, sizeof(item))) item;
    ht_insert(&table, record, 0);
    memacct_free(record);
    EXPECT_EQ(complaints(),
              std::vector<std::string>{"memacct_free: the record still stands in Items"});
}

} // namespace
