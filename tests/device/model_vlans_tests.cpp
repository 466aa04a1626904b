// SPDX-License-Identifier: Apache-2.0
//
// model_vlans_tests.cpp: the numbers that VLANs hold, and how numbers come back into use.
#include <gtest/gtest.h>

#include "device_model.h"

namespace
{

using device::device_model;
using device::number_pool;

TEST(NumberPool, GivesEveryNumberOnceBeforeOneComesBack)
{
    number_pool pool(1, 3);
    EXPECT_EQ(pool.next(), 1u);
    pool.give_back(1);
    EXPECT_EQ(pool.next(), 2u);
    EXPECT_EQ(pool.next(), 3u);
    EXPECT_EQ(pool.next(), 1u);
    EXPECT_EQ(pool.next(), 0u);
}

TEST(NumberPool, TakesTheOneThatHasBeenFreeTheLongest)
{
    number_pool pool(1, 2000);
    for (uint32_t n = 1; n <= 2000; ++n)
        pool.next();
    pool.give_back(77);
    for (uint32_t n = 100; n < 1100; ++n)
        pool.give_back(n);
    EXPECT_EQ(pool.next(), 77u);
    EXPECT_EQ(pool.next(), 100u);
    pool.give_back(77);
    for (uint32_t n = 101; n < 1100; ++n)
        EXPECT_EQ(pool.next(), n);
    EXPECT_EQ(pool.next(), 77u) << "999 others went first";
}

TEST(NumberPool, LetsAnOwnerChoose)
{
    number_pool pool(1, 3);
    EXPECT_TRUE(pool.take(2));
    EXPECT_FALSE(pool.take(2));
    EXPECT_EQ(pool.next(), 1u);
    EXPECT_EQ(pool.next(), 3u);
    pool.give_back(2);
    EXPECT_TRUE(pool.take(2));
    pool.give_back(1);
    EXPECT_EQ(pool.next(), 1u);
    EXPECT_EQ(pool.next(), 0u);
}

TEST(NumberPool, LetsAChosenNumberRestLikeAnyOther)
{
    number_pool pool(1, 4);
    EXPECT_TRUE(pool.take(2));
    pool.give_back(2);
    EXPECT_EQ(pool.next(), 1u);
    EXPECT_EQ(pool.next(), 3u) << "2 was in use";
    EXPECT_EQ(pool.next(), 4u);
    EXPECT_EQ(pool.next(), 2u);
}

TEST(NumberPool, BeginsTheRestAnewWhenANumberWasTakenInBetween)
{
    number_pool pool(1, 3);
    for (int n = 0; n < 3; ++n)
        pool.next();
    pool.give_back(1);
    pool.give_back(2);
    EXPECT_TRUE(pool.take(1));
    pool.give_back(1);
    EXPECT_EQ(pool.next(), 2u);
    EXPECT_EQ(pool.next(), 1u);
}

TEST(NumberPool, NeverGivesOutWhatLiesOutsideOfItsRange)
{
    number_pool pool(10, 10);
    EXPECT_TRUE(pool.take(5));
    pool.give_back(5);
    EXPECT_EQ(pool.next(), 10u);
    EXPECT_EQ(pool.next(), 0u);
}

TEST(ModelVlans, GiveOutNumbersThatStay)
{
    device_model model;
    ASSERT_TRUE(model.put_vlan(10, {}));
    ASSERT_TRUE(model.put_vlan(20, {}));
    EXPECT_EQ(*model.find_vlan(10), (device::vlan_facts{10, 1, 0x20001}));
    EXPECT_EQ(*model.find_vlan(20), (device::vlan_facts{20, 2, 0x20002}));
    ASSERT_TRUE(model.put_vlan(20, {10, 0, 0}));
    EXPECT_EQ(*model.find_vlan(20), (device::vlan_facts{10, 2, 0x20002}));
    EXPECT_EQ(model.flood_index_of(2), 0x20002u);
    model.remove_vlan(20);
    EXPECT_EQ(model.find_vlan(20), nullptr);
    EXPECT_EQ(model.flood_index_of(2), 0u);
    ASSERT_TRUE(model.put_vlan(30, {}));
    EXPECT_EQ(model.find_vlan(30)->bd, 3u) << "2 rests";
}

TEST(ModelVlans, RefuseANumberThatAnotherOneHolds)
{
    device_model model;
    ASSERT_TRUE(model.put_vlan(10, {10, 5, 0x100}));
    EXPECT_FALSE(model.put_vlan(20, {20, 5, 0x200}));
    EXPECT_FALSE(model.put_vlan(20, {20, 6, 0x100}));
    EXPECT_EQ(model.find_vlan(20), nullptr);
    EXPECT_TRUE(model.put_vlan(20, {20, 6, 0x200})) << "6 was given back";
    EXPECT_FALSE(model.put_vlan(20, {20, 5, 0x200}));
    EXPECT_EQ(model.find_vlan(20)->bd, 6u);
}

TEST(ModelVlans, FindTheFloodIndexOfTheBridgeDomainThatMoved)
{
    device_model model;
    ASSERT_TRUE(model.put_vlan(10, {10, 5, 0x100}));
    ASSERT_TRUE(model.put_vlan(10, {10, 6, 0x100}));
    EXPECT_EQ(model.flood_index_of(5), 0u);
    EXPECT_EQ(model.flood_index_of(6), 0x100u);
    ASSERT_TRUE(model.put_vlan(20, {20, 5, 0x101}));
    EXPECT_EQ(model.flood_index_of(5), 0x101u);
}

} // namespace
