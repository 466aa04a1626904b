// SPDX-License-Identifier: Apache-2.0
//
// The walk over a hash table: everything once, and the record yielded last may go.
#include "ht_records.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

using namespace ht_contract;

namespace
{

using record = link_far<uint32_t>;

struct ht_walk : testing::TestWithParam<named_hash<uint32_t>> {
    table_t table;
    std::map<void *, std::unique_ptr<record>> owned;

    void SetUp() override
    {
        ASSERT_NE(init<record>(table, 31, GetParam().function), 0u);
        for (uint32_t i = 0; i < 150; ++i) {
            auto entry = std::make_unique<record>();
            entry->key = i * 2654435761u;
            ASSERT_NE(ht_insert(&table.ht, entry.get(), 0), 0u);
            owned.emplace(entry.get(), std::move(entry));
        }
    }

    ht_iterator_t started()
    {
        ht_iterator_t walk{};
        EXPECT_NE(ht_iterator_init(&walk, &table.ht, 0, table.ht.num_buckets), 0u);
        return walk;
    }
};

} // namespace

TEST_P(ht_walk, YieldsEveryRecordOnceAndThenNull)
{
    std::map<void *, int> seen;
    ht_iterator_t walk = started();
    while (void *entry = ht_iterator_next(&walk))
        ++seen[entry];
    EXPECT_EQ(seen.size(), owned.size());
    for (const auto &[entry, times] : seen) {
        EXPECT_EQ(times, 1);
        EXPECT_EQ(owned.count(entry), 1u);
    }
    EXPECT_EQ(ht_iterator_next(&walk), nullptr);
}

TEST_P(ht_walk, TheRecordYieldedLastMayBeRemovedAndFreed)
{
    ht_iterator_t walk = started();
    while (void *entry = ht_iterator_next(&walk)) {
        EXPECT_NE(ht_remove_entry(&table.ht, entry), 0u);
        EXPECT_EQ(owned.erase(entry), 1u);
    }
    EXPECT_TRUE(owned.empty());
    EXPECT_EQ(table.ht.num_entries, 0u);
}

TEST_P(ht_walk, RemovingSomeOnTheWayStillYieldsAllOthersOnce)
{
    size_t yielded = 0;
    ht_iterator_t walk = started();
    while (void *entry = ht_iterator_next(&walk)) {
        if (yielded++ % 2 == 0) {
            EXPECT_NE(ht_remove_entry(&table.ht, entry), 0u);
            owned.erase(entry);
        }
    }
    EXPECT_EQ(yielded, 150u);
    for (const auto &[address, entry] : owned)
        EXPECT_EQ(ht_lookup(&table.ht, &entry->key), address);
}

INSTANTIATE_TEST_SUITE_P(All, ht_walk, testing::ValuesIn(hashes<uint32_t>),
                         [](const auto &hash) { return hash.param.name; });

TEST(ht_iterator_init, AnEmptyTableYieldsNothing)
{
    table_t table;
    init<record>(table, 5);
    ht_iterator_t walk{};
    EXPECT_NE(ht_iterator_init(&walk, &table.ht, 0, table.ht.num_buckets), 0u);
    EXPECT_EQ(ht_iterator_next(&walk), nullptr);
}

TEST(ht_iterator_init, TwoWalksDoNotDisturbEachOther)
{
    table_t table;
    init<record>(table, 5);
    record a{};
    record b{};
    b.key = 5;
    ht_insert(&table.ht, &a, 0);
    ht_insert(&table.ht, &b, 0);
    ht_iterator_t first{};
    ht_iterator_t second{};
    ht_iterator_init(&first, &table.ht, 0, 5);
    void *yielded = ht_iterator_next(&first);
    ht_iterator_init(&second, &table.ht, 0, 5);
    EXPECT_EQ(ht_iterator_next(&second), yielded);
    void *other = ht_iterator_next(&second);
    EXPECT_EQ(ht_iterator_next(&first), other);
    EXPECT_NE(other, nullptr);
    EXPECT_NE(other, yielded);
}
