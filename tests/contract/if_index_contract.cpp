// SPDX-License-Identifier: Apache-2.0
//
// What every device promises of its if-indexes.
#include "if_index.h"

#include <gtest/gtest.h>

#include <set>

TEST(if_index_vlan_port_init, EveryVlanGetsAnIfIndexOfItsOwnAndOfTypeSvi)
{
    std::set<uint32_t> built;
    for (uint16_t vlan = 1; vlan <= 4094; ++vlan) {
        uint32_t if_index = 0;
        uint8_t type = 0;
        ASSERT_EQ(if_index_vlan_port_init(&if_index, vlan, 1), 0u) << vlan;
        ASSERT_EQ(if_index_get_type(if_index, &type), 0u) << vlan;
        ASSERT_EQ(type, IF_INDEX_TYPE_SVI) << vlan;
        ASSERT_TRUE(built.insert(if_index).second) << vlan;
    }
}

TEST(if_index_vlan_port_init, SameArgumentsGiveTheSameIfIndex)
{
    uint32_t first = 0;
    uint32_t second = 1;
    EXPECT_EQ(if_index_vlan_port_init(&first, 100, 1), 0u);
    EXPECT_EQ(if_index_vlan_port_init(&second, 100, 1), 0u);
    EXPECT_EQ(first, second);
}

// Nothing says which if-indexes a device rejects, but a rejected one leaves the output alone and
// an answer does not change from call to call.
TEST(if_index_get_type, WritesTheTypeOnSuccessOnlyAndAnswersAlike)
{
    for (uint32_t if_index = 0; if_index < 0xff000000u; if_index += 0x000fff37u) {
        uint8_t first = 0xee;
        uint8_t second = 0xdd;
        const uint32_t result = if_index_get_type(if_index, &first);
        EXPECT_EQ(if_index_get_type(if_index, &second), result);
        if (result != 0) {
            EXPECT_EQ(first, 0xee) << if_index;
            EXPECT_EQ(second, 0xdd) << if_index;
        } else {
            EXPECT_EQ(first, second) << if_index;
        }
    }
}
