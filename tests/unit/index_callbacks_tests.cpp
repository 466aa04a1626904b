// SPDX-License-Identifier: Apache-2.0
//
// The callbacks that the library gives to its six tables: where a key hashes to, where it stands in
// its record, and when two keys are equal.
#include "varn.h"
#include "varn_fixture.h"

#include <gtest/gtest.h>

namespace
{

struct callbacks_row {
    const char *table;
    ht_hash_fn hash;
    ht_get_key_fn get_key;
    ht_keys_equal_fn keys_equal;
    std::size_t key_at; // in the record
};

const callbacks_row by_bucket_count[] = {
    {"Iod", varn_iod_hash, varn_iod_get_key, varn_iod_keys_equal, 12},
    {"Pi", varn_pi_hash, varn_pi_get_key, varn_pi_keys_equal, 24},
    {"Lif", varn_lif_hash, varn_lif_get_key, varn_lif_keys_equal, 36},
    {"Pc", varn_pc_hash, varn_pc_get_key, varn_pc_keys_equal, 0}};

const callbacks_row with_a_word_as_key[] = {
    {"If", varn_if_hash, varn_if_get_key, varn_if_keys_equal, 0},
    by_bucket_count[0],
    by_bucket_count[1],
    by_bucket_count[2],
    by_bucket_count[3]};

const callbacks_row vlan_row = {"Vlan", varn_vlan_hash, varn_vlan_get_key, varn_vlan_keys_equal, 0};

u32 hash_of(const callbacks_row &row, u32 key, u32 buckets) { return row.hash(&key, buckets); }

using TableHash = varn_test;
using TableKey = varn_test;
using TableKeysEqual = varn_test;

TEST_F(TableHash, OfTheIfTableDeliberatelyIgnoresTheBucketCount)
{
    for (const u32 buckets : {1u, 2u, 64u, 15991u, 16384u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(buckets);
        const callbacks_row &if_table = with_a_word_as_key[0];
        EXPECT_EQ(hash_of(if_table, 0, buckets), 0u);
        EXPECT_EQ(hash_of(if_table, 15990, buckets), 15990u);
        EXPECT_EQ(hash_of(if_table, 15991, buckets), 0u);
        EXPECT_EQ(hash_of(if_table, 15992, buckets), 1u);
        EXPECT_EQ(hash_of(if_table, 0x1a000007, buckets), 5125u);
        EXPECT_EQ(hash_of(if_table, 0xFFFFFFFF, buckets), 8569u);
    }
}

TEST_F(TableHash, OfIfIndex15991AndZeroIsTheSameWhateverTheBucketCount)
{
    for (const u32 buckets : {1u, 7u, 15991u, 16384u, 40000u}) {
        const u32 keys[] = {15991, 0};
        EXPECT_EQ(varn_if_hash(&keys[0], buckets), varn_if_hash(&keys[1], buckets)) << buckets;
    }
}

TEST_F(TableHash, OfIod16384AndZeroIsTheSameOnlyWith16384Buckets)
{
    const u32 keys[] = {16384, 0};
    EXPECT_EQ(varn_iod_hash(&keys[0], 16384), varn_iod_hash(&keys[1], 16384));
    for (const u32 buckets : {16383u, 16385u, 15991u, 32768u, 1000u})
        EXPECT_NE(varn_iod_hash(&keys[0], buckets), varn_iod_hash(&keys[1], buckets)) << buckets;
}

TEST_F(TableHash, OfTheOtherWordKeysIsTheUnsignedRemainderByTheBucketCount)
{
    for (const callbacks_row &row : by_bucket_count) {
        SCOPED_TRACE(row.table);
        EXPECT_EQ(hash_of(row, 0, 16384), 0u);
        EXPECT_EQ(hash_of(row, 16383, 16384), 16383u);
        EXPECT_EQ(hash_of(row, 16384, 16384), 0u);
        EXPECT_EQ(hash_of(row, 15991, 16384), 15991u);
        EXPECT_EQ(hash_of(row, 0xFFFFFFFF, 10), 5u);
        EXPECT_EQ(hash_of(row, 0x80000000, 7), 2u);
        EXPECT_EQ(hash_of(row, 0xFFFFFFFE, 0xFFFFFFFF), 0xFFFFFFFEu);
        EXPECT_EQ(hash_of(row, 12345, 1), 0u);
    }
}

TEST_F(TableHash, OfAVlanReadsSixteenBits)
{
    const std::uint16_t keys[] = {0xFFFF, 0xBEEF};
    EXPECT_EQ(varn_vlan_hash(&keys[0], 1000), 535u);
    EXPECT_EQ(varn_vlan_hash(&keys[0], 0x10000), 0xFFFFu);
    EXPECT_EQ(varn_vlan_hash(&keys[1], 7), 5u);
}

TEST_F(TableKey, StandsAtItsPlaceInTheRecord)
{
    const varn_if_entry_t entry{};
    for (const callbacks_row &row : with_a_word_as_key)
        EXPECT_EQ(row.get_key(&entry), reinterpret_cast<const char *>(&entry) + row.key_at)
            << row.table;
    const varn_vlan_entry_t vlan_entry{};
    EXPECT_EQ(vlan_row.get_key(&vlan_entry), &vlan_entry);
}

TEST_F(TableKeysEqual, GivesOneForEqualWordsAndZeroForAllOthers)
{
    for (const callbacks_row &row : with_a_word_as_key) {
        SCOPED_TRACE(row.table);
        const auto equal = [&row](u32 a, u32 b) { return row.keys_equal(&a, &b); };
        EXPECT_EQ(equal(0, 0), 1u);
        EXPECT_EQ(equal(0xFFFFFFFF, 0xFFFFFFFF), 1u);
        EXPECT_EQ(equal(0x1a000007, 0x1a000007), 1u);
        for (u32 bit = 0; bit < 32; ++bit)
            EXPECT_EQ(equal(0x1a000007, 0x1a000007 ^ 1u << bit), 0u) << bit;
        EXPECT_EQ(equal(0, 15991), 0u);
    }
}

TEST_F(TableKeysEqual, OfTwoVlansComparesSixteenBits)
{
    const auto equal = [](std::uint16_t a, std::uint16_t b) {
        const std::uint16_t with_noise[] = {a, 0xDEAD, b, 0xBEEF};
        return varn_vlan_keys_equal(&with_noise[0], &with_noise[2]);
    };
    EXPECT_EQ(equal(0, 0), 1u);
    EXPECT_EQ(equal(20, 20), 1u);
    EXPECT_EQ(equal(0xFFFF, 0xFFFF), 1u);
    for (u32 bit = 0; bit < 16; ++bit)
        EXPECT_EQ(equal(20, static_cast<std::uint16_t>(20 ^ 1u << bit)), 0u) << bit;
}

} // namespace
