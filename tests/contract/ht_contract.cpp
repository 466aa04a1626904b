// SPDX-License-Identifier: Apache-2.0
//
// The hash table's promises on single operations, each for every position of the link and both key
// widths, and those on tables that are no tables.
#include "ht_records.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace ht_contract;

template <typename record>
struct ht_insert_and_lookup : testing::Test {
    table_t table;
    record seven{};
    record other_seven{};
    record eight{};
    record two_hundred_seven{};

    void SetUp() override
    {
        seven.key = other_seven.key = 7;
        eight.key = 8;
        two_hundred_seven.key = 207; // in the bucket of 7
        ASSERT_NE(init<record>(table, 100), 0u);
    }

    uint32_t insert(record &entry) { return ht_insert(&table.ht, &entry, 0); }
    uint32_t remove(record &entry) { return ht_remove_entry(&table.ht, &entry); }
    void *lookup(unsigned key)
    {
        const auto narrow = static_cast<typename record::key_type>(key);
        return ht_lookup(&table.ht, &narrow);
    }
};

using every_record =
    testing::Types<link_first<uint16_t>, link_first<uint32_t>, link_behind_key<uint16_t>,
                   link_behind_key<uint32_t>, link_far<uint16_t>, link_far<uint32_t>>;
TYPED_TEST_SUITE(ht_insert_and_lookup, every_record);

TYPED_TEST(ht_insert_and_lookup, ANewTableIsEmptyAndKnowsItsBucketCount)
{
    EXPECT_EQ(this->table.ht.num_entries, 0u);
    EXPECT_EQ(this->table.ht.num_buckets, 100u);
    EXPECT_EQ(this->lookup(7), nullptr);
}

TYPED_TEST(ht_insert_and_lookup, AnInsertedRecordIsFoundUnderItsKeyAndNoOther)
{
    EXPECT_NE(this->insert(this->seven), 0u);
    EXPECT_EQ(this->lookup(7), &this->seven);
    EXPECT_EQ(this->lookup(8), nullptr);
    EXPECT_EQ(this->lookup(207), nullptr);
    EXPECT_EQ(this->table.ht.num_entries, 1u);
}

TYPED_TEST(ht_insert_and_lookup, RecordsOfOneBucketAreToldApart)
{
    EXPECT_NE(this->insert(this->seven), 0u);
    EXPECT_NE(this->insert(this->two_hundred_seven), 0u);
    EXPECT_EQ(this->lookup(7), &this->seven);
    EXPECT_EQ(this->lookup(207), &this->two_hundred_seven);
    EXPECT_EQ(this->lookup(107), nullptr);
}

TYPED_TEST(ht_insert_and_lookup, ASecondRecordWithTheSameKeyIsRefused)
{
    EXPECT_NE(this->insert(this->seven), 0u);
    EXPECT_EQ(this->insert(this->other_seven), 0u);
    EXPECT_EQ(this->lookup(7), &this->seven);
    EXPECT_EQ(this->table.ht.num_entries, 1u);
}

TYPED_TEST(ht_insert_and_lookup, ARecordThatAlreadyStandsIsRefused)
{
    EXPECT_NE(this->insert(this->seven), 0u);
    EXPECT_EQ(this->insert(this->seven), 0u);
    EXPECT_EQ(this->table.ht.num_entries, 1u);
    EXPECT_NE(this->remove(this->seven), 0u);
    EXPECT_EQ(this->lookup(7), nullptr);
}

TYPED_TEST(ht_insert_and_lookup, ANullRecordIsRefused)
{
    EXPECT_EQ(ht_insert(&this->table.ht, nullptr, 0), 0u);
    EXPECT_EQ(this->table.ht.num_entries, 0u);
}

TYPED_TEST(ht_insert_and_lookup, ARemovedRecordIsNotFoundAndItsNeighboursAre)
{
    this->insert(this->seven);
    this->insert(this->two_hundred_seven);
    this->insert(this->eight);
    EXPECT_NE(this->remove(this->seven), 0u);
    EXPECT_EQ(this->lookup(7), nullptr);
    EXPECT_EQ(this->lookup(207), &this->two_hundred_seven);
    EXPECT_EQ(this->lookup(8), &this->eight);
    EXPECT_EQ(this->table.ht.num_entries, 2u);
}

TYPED_TEST(ht_insert_and_lookup, RemovalSparesARecordWithAnEqualKey)
{
    this->insert(this->seven);
    EXPECT_EQ(this->remove(this->other_seven), 0u);
    EXPECT_EQ(this->lookup(7), &this->seven);
    EXPECT_EQ(this->table.ht.num_entries, 1u);
}

TYPED_TEST(ht_insert_and_lookup, ARecordCannotBeRemovedTwice)
{
    this->insert(this->seven);
    EXPECT_NE(this->remove(this->seven), 0u);
    EXPECT_EQ(this->remove(this->seven), 0u);
    EXPECT_EQ(this->table.ht.num_entries, 0u);
}

TYPED_TEST(ht_insert_and_lookup, ARecordThatWasNeverInsertedCannotBeRemoved)
{
    this->insert(this->eight);
    EXPECT_EQ(this->remove(this->seven), 0u);
    EXPECT_EQ(ht_remove_entry(&this->table.ht, nullptr), 0u);
    EXPECT_EQ(this->table.ht.num_entries, 1u);
}

TYPED_TEST(ht_insert_and_lookup, ARemovedRecordMayReturnUnderAnotherKey)
{
    this->insert(this->seven);
    this->remove(this->seven);
    this->seven.key = 55;
    EXPECT_NE(this->insert(this->seven), 0u);
    EXPECT_EQ(this->lookup(55), &this->seven);
    EXPECT_EQ(this->lookup(7), nullptr);
}

TYPED_TEST(ht_insert_and_lookup, AfterARemovalTheKeyIsFreeForAnotherRecord)
{
    this->insert(this->seven);
    this->remove(this->seven);
    EXPECT_NE(this->insert(this->other_seven), 0u);
    EXPECT_EQ(this->lookup(7), &this->other_seven);
}

TYPED_TEST(ht_insert_and_lookup, OnlyTheLinkWordsOfARecordAreWritten)
{
    TypeParam before = this->seven;
    this->insert(this->seven);
    this->insert(this->two_hundred_seven);
    this->remove(this->seven);
    this->seven.link[0] = before.link[0];
    this->seven.link[1] = before.link[1];
    EXPECT_EQ(memcmp(&this->seven, &before, sizeof before), 0);
}

TYPED_TEST(ht_insert_and_lookup, ALookupLeavesTheStatisticsAlone)
{
    this->insert(this->seven);
    this->insert(this->two_hundred_seven);
    ht_stats_t before{};
    ht_stats_t after{};
    ht_get_stats(&this->table.ht, &before);
    for (unsigned key = 0; key < 300; ++key)
        this->lookup(key);
    ht_get_stats(&this->table.ht, &after);
    EXPECT_EQ(before.size_hwm, after.size_hwm);
    EXPECT_EQ(before.worst_lookup, after.worst_lookup);
    EXPECT_EQ(before.average_lookup, after.average_lookup);
}

namespace
{

using record = link_first<uint32_t>;

uint32_t init_with(ht_t *table, uint32_t link_position, uint32_t num_buckets, double growth_factor)
{
    return ht_init(table, 0, link_position, num_buckets, growth_factor, modulo<uint32_t>,
                   get_key<record>, keys_equal<uint32_t>);
}

// What holds for a null table, one of zeros and one that was cleaned up.
void expect_no_table(ht_t *table)
{
    record entry{{0, 0}, 7};
    const uint32_t key = 7;
    callback_calls = 0;
    EXPECT_EQ(ht_lookup(table, &key), nullptr);
    EXPECT_EQ(ht_insert(table, &entry, 0), 0u);
    EXPECT_EQ(ht_remove_entry(table, &entry), 0u);
    ht_iterator_t walk{};
    EXPECT_NE(ht_iterator_init(&walk, table, 0, 16), 0u);
    EXPECT_EQ(ht_iterator_next(&walk), nullptr);
    EXPECT_EQ(ht_iterator_next(&walk), nullptr);
    ht_stats_t stats{1, 2, 3.0};
    EXPECT_EQ(ht_get_stats(table, &stats) != 0, table != nullptr);
    EXPECT_EQ(stats.size_hwm, 0u);
    EXPECT_EQ(stats.worst_lookup, 0u);
    EXPECT_EQ(stats.average_lookup, 0.0);
    EXPECT_EQ(callback_calls, 0u);
}

} // namespace

TEST(ht_no_table, ANullTableAnswersWithoutCallbacks)
{
    expect_no_table(nullptr);
    EXPECT_EQ(ht_cleanup(nullptr), 0u);
    EXPECT_EQ(init_with(nullptr, 0, 16, 0.0), 0u);
}

TEST(ht_no_table, ATableOfZerosAnswersWithoutCallbacks)
{
    ht_t table{};
    expect_no_table(&table);
    EXPECT_NE(ht_cleanup(&table), 0u);
    expect_no_table(&table);
}

TEST(ht_no_table, ACleanedUpTableAnswersWithoutCallbacks)
{
    ht_t table{};
    record entry{{0, 0}, 7};
    ASSERT_NE(init_with(&table, 0, 16, 0.0), 0u);
    ASSERT_NE(ht_insert(&table, &entry, 0), 0u);
    EXPECT_NE(ht_cleanup(&table), 0u);
    EXPECT_EQ(table.num_entries, 0u);
    EXPECT_EQ(table.num_buckets, 0u);
    expect_no_table(&table);
    EXPECT_NE(ht_cleanup(&table), 0u);
}

TEST(ht_no_table, NullStatisticsAreAFailure)
{
    ht_t table{};
    EXPECT_EQ(ht_get_stats(&table, nullptr), 0u);
}

TEST(ht_cleanup, LeavesTheKeysOfTheRecordsAlone)
{
    ht_t table{};
    record entry{{0, 0}, 7};
    init_with(&table, 0, 16, 0.0);
    ht_insert(&table, &entry, 0);
    const record before = entry;
    ht_cleanup(&table);
    EXPECT_EQ(memcmp(&entry, &before, sizeof entry), 0);
}

TEST(ht_cleanup, FreesTheRecordsForAnotherTable)
{
    ht_t table{};
    record entry{{0, 0}, 7};
    init_with(&table, 0, 16, 0.0);
    ht_insert(&table, &entry, 0);
    ht_cleanup(&table);
    ASSERT_NE(init_with(&table, 0, 4, 0.0), 0u);
    EXPECT_NE(ht_insert(&table, &entry, 0), 0u);
    ht_cleanup(&table);
}

TEST(ht_init, AnArgumentOutOfRangeLeavesNoTable)
{
    ht_t table{};
    EXPECT_EQ(init_with(&table, 0, 0, 0.0), 0u) << "no bucket";
    expect_no_table(&table);
    EXPECT_EQ(init_with(&table, 2, 16, 0.0), 0u) << "link not on a word";
    expect_no_table(&table);
}

TEST(ht_init, ABucketAloneIsATable)
{
    table_t table;
    ASSERT_NE(init<record>(table, 1), 0u);
    record entries[50] = {};
    for (uint32_t i = 0; i < 50; ++i) {
        entries[i].key = i * 7;
        EXPECT_NE(ht_insert(&table.ht, &entries[i], 0), 0u);
    }
    for (const record &entry : entries)
        EXPECT_EQ(ht_lookup(&table.ht, &entry.key), &entry);
}

TEST(ht_two_tables, ARecordStandsInBothThroughItsTwoLinks)
{
    table_t numbers;
    table_t letters;
    ht_init(&numbers.ht, 0, offsetof(two_links, number_link), 8, 0.0, modulo<uint32_t>, get_number,
            keys_equal<uint32_t>);
    ht_init(&letters.ht, 0, offsetof(two_links, letter_link), 8, 0.0, modulo<uint32_t>, get_letter,
            keys_equal<uint32_t>);
    two_links a{1, {}, 'a', {}};
    two_links b{9, {}, 'i', {}}; // shares a's bucket in both tables
    for (two_links *entry : {&a, &b}) {
        EXPECT_NE(ht_insert(&numbers.ht, entry, 0), 0u);
        EXPECT_NE(ht_insert(&letters.ht, entry, 0), 0u);
    }
    EXPECT_NE(ht_remove_entry(&numbers.ht, &a), 0u);
    EXPECT_EQ(ht_lookup(&numbers.ht, &a.number), nullptr);
    EXPECT_EQ(ht_lookup(&numbers.ht, &b.number), &b);
    EXPECT_EQ(ht_lookup(&letters.ht, &a.letter), &a);
    EXPECT_EQ(ht_lookup(&letters.ht, &b.letter), &b);
}

TEST(ht_capacity, ATableHoldsARecordForEachIod)
{
    table_t table;
    ASSERT_NE(init<record>(table, 16384), 0u);
    std::vector<record> entries(32767);
    for (uint32_t i = 0; i < entries.size(); ++i) {
        entries[i].key = i + 1;
        ASSERT_NE(ht_insert(&table.ht, &entries[i], 0), 0u) << "record " << i;
    }
    EXPECT_EQ(table.ht.num_entries, entries.size());
    for (record &entry : entries)
        ASSERT_EQ(ht_lookup(&table.ht, &entry.key), &entry) << "record " << entry.key - 1;
}
