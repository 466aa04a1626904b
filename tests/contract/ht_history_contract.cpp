// SPDX-License-Identifier: Apache-2.0
//
// Random histories of a hash table beside a std::map. After every step both must agree on the
// result, and from time to time on everything. The seed is printed; HT_HISTORY_SEED repeats it.
#include "ht_records.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <vector>

using namespace ht_contract;

namespace
{

uint32_t base_seed()
{
    const char *given = getenv("HT_HISTORY_SEED");
    return given != nullptr ? static_cast<uint32_t>(strtoul(given, nullptr, 0))
                            : std::random_device{}();
}

template <typename record>
class history
{
public:
    using number = typename record::key_type;

    history(uint32_t seed, ht_hash_fn hash) : random(seed), records(300)
    {
        const uint32_t buckets[] = {1, 2, 64, 97, 1000};
        EXPECT_NE(init<record>(table, buckets[random() % 5], hash), 0u);
        for (record &entry : records)
            entry.link[0] = entry.link[1] = static_cast<uint32_t>(random());
    }

    void run(int steps)
    {
        for (int step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
            one_step();
            EXPECT_EQ(table.ht.num_entries, model.size()) << "step " << step;
            if (step % 256 == 0)
                compare_everything();
        }
        compare_everything();
    }

private:
    void one_step()
    {
        switch (random() % 8) {
        case 0:
        case 1:
        case 2:
            return insert(any_record());
        case 3:
        case 4:
            return remove(any_record());
        case 5:
            return walk_and_remove();
        default:
            return look_up(any_key());
        }
    }

    number any_key() { return static_cast<number>(random() % 400 * 163); }
    record &any_record() { return records[random() % records.size()]; }
    bool stands(record &entry)
    {
        const auto found = model.find(entry.key);
        return found != model.end() && found->second == &entry;
    }

    void insert(record &entry)
    {
        if (!stands(entry))
            entry.key = any_key();
        const bool possible = model.emplace(entry.key, &entry).second;
        EXPECT_EQ(ht_insert(&table.ht, &entry, 0) != 0, possible);
        hwm = std::max(hwm, model.size());
    }

    void remove(record &entry)
    {
        const bool possible = stands(entry);
        EXPECT_EQ(ht_remove_entry(&table.ht, &entry) != 0, possible);
        if (possible)
            model.erase(entry.key);
    }

    void look_up(number key)
    {
        const auto found = model.find(key);
        record *expected = found == model.end() ? nullptr : found->second;
        EXPECT_EQ(ht_lookup(&table.ht, &key), expected);
    }

    // A walk that removes a record now and then; rarely, so that the table fills up in between.
    void walk_and_remove()
    {
        if (random() % 64 != 0)
            return;
        std::set<void *> seen;
        const size_t expected = model.size();
        ht_iterator_t walk{};
        EXPECT_NE(ht_iterator_init(&walk, &table.ht, 0, table.ht.num_buckets), 0u);
        while (void *entry = ht_iterator_next(&walk)) {
            EXPECT_TRUE(seen.insert(entry).second) << "yielded twice";
            if (random() % 4 == 0)
                remove(*static_cast<record *>(entry));
        }
        EXPECT_EQ(seen.size(), expected);
    }

    void compare_everything()
    {
        for (const auto &[key, entry] : model)
            EXPECT_EQ(ht_lookup(&table.ht, &key), entry);
        ht_stats_t stats{};
        EXPECT_NE(ht_get_stats(&table.ht, &stats), 0u);
        EXPECT_EQ(stats.size_hwm, hwm);
        EXPECT_LE(stats.worst_lookup, model.size());
        EXPECT_EQ(stats.average_lookup >= 1.0, !model.empty());
    }

    std::mt19937 random;
    std::vector<record> records;
    std::map<number, record *> model;
    size_t hwm = 0;
    table_t table;
};

template <typename record>
void run_histories()
{
    const uint32_t seed = base_seed();
    std::cout << "HT_HISTORY_SEED=" << seed << '\n';
    for (const auto &hash : hashes<typename record::key_type>) {
        for (uint32_t round = 0; round < 4; ++round) {
            SCOPED_TRACE(testing::Message()
                         << hash.name << ", round " << round << ", seed " << seed);
            history<record>(seed + round, hash.function).run(4000);
        }
    }
}

} // namespace

TEST(ht_random_history, WithNarrowKeysAgreesWithAMap)
{
    run_histories<link_behind_key<uint16_t>>();
}

TEST(ht_random_history, WithWideKeysAgreesWithAMap) { run_histories<link_first<uint32_t>>(); }

TEST(ht_random_history, WithADistantLinkAgreesWithAMap) { run_histories<link_far<uint32_t>>(); }
