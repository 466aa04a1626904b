// SPDX-License-Identifier: Apache-2.0
//
// The numbers of this device's if-indexes.
#include "device/runtime/if_index_types.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

const std::set<uint8_t> all_types = {5, 7, 9, 20, 22, 24, 26, 27, 28, 29, 30, 31, 32, 33, 34};

} // namespace

TEST(if_index_type, IsTheTopByteOfExactlyTheKnownTypes)
{
    for (unsigned type = 0; type < 256; ++type) {
        uint8_t read = 0xee;
        const bool known = all_types.count(static_cast<uint8_t>(type)) == 1;
        EXPECT_EQ(if_index_get_type(type << 24 | 0x001001, &read) == 0, known) << type;
        EXPECT_EQ(read, known ? type : 0xee) << type;
    }
}

TEST(if_index_type, AnOrdinalOfZeroIsNoInterface)
{
    uint8_t type = 0xee;
    for (const uint8_t known : all_types)
        EXPECT_NE(if_index_get_type(uint32_t{known} << 24, &type), 0u) << unsigned{known};
    EXPECT_EQ(type, 0xee);
}

TEST(if_index_type, AnSviWithoutAVlanIsNoInterface)
{
    uint8_t type = 0xee;
    EXPECT_NE(if_index_get_type(0x09001000, &type), 0u);
    EXPECT_NE(if_index_get_type(0x09001fff, &type), 0u);
    EXPECT_EQ(type, 0xee);
    EXPECT_EQ(if_index_get_type(0x09000001, &type), 0u);
    EXPECT_EQ(type, 9);
}

TEST(if_index_type, ANullOutputIsAnError) { EXPECT_NE(if_index_get_type(0x1a000001, nullptr), 0u); }

TEST(if_index_build, PutsTypeAboveOrdinalAndIsReadBack)
{
    for (const uint8_t known : all_types) {
        uint32_t if_index = 0;
        uint8_t type = 0;
        ASSERT_EQ(if_index_build(known, 0xabc123, &if_index), 0u) << unsigned{known};
        EXPECT_EQ(if_index, uint32_t{known} << 24 | 0xabc123);
        EXPECT_EQ(if_index_ordinal(if_index), 0xabc123u);
        EXPECT_EQ(if_index_get_type(if_index, &type), 0u);
        EXPECT_EQ(type, known);
    }
}

TEST(if_index_build, RefusesWhatCouldNotBeReadBack)
{
    uint32_t if_index = 0xeeeeeeee;
    EXPECT_EQ(if_index_build(26, 0, &if_index), IF_INDEX_E_ORDINAL);
    EXPECT_EQ(if_index_build(26, 0x1000000, &if_index), IF_INDEX_E_ORDINAL);
    EXPECT_EQ(if_index_build(25, 1, &if_index), IF_INDEX_E_TYPE);
    EXPECT_EQ(if_index_build(9, 0x1000, &if_index), IF_INDEX_E_ORDINAL);
    EXPECT_EQ(if_index, 0xeeeeeeee);
    EXPECT_EQ(if_index_build(26, 1, nullptr), IF_INDEX_E_ARGUMENT);
    EXPECT_EQ(if_index_build(26, 0xffffff, &if_index), 0u);
    EXPECT_EQ(if_index, 0x1affffffu);
}

TEST(if_index_svi, HoldsTheInstanceAboveTheVlan)
{
    uint32_t if_index = 0;
    EXPECT_EQ(if_index_vlan_port_init(&if_index, 1, 0), 0u);
    EXPECT_EQ(if_index, 0x09000001u);
    EXPECT_EQ(if_index_vlan_port_init(&if_index, 4094, 0xfff), 0u);
    EXPECT_EQ(if_index, 0x09fffffeu);
    EXPECT_EQ(if_index_vlan_port_init(&if_index, 100, 2), 0u);
    EXPECT_EQ(if_index, 0x09002064u);
}

TEST(if_index_svi, AVlanOrInstanceOutOfRangeIsAnErrorAndWritesNothing)
{
    uint32_t if_index = 0xeeeeeeee;
    EXPECT_NE(if_index_vlan_port_init(&if_index, 0, 1), 0u);
    EXPECT_NE(if_index_vlan_port_init(&if_index, 4095, 1), 0u);
    EXPECT_NE(if_index_vlan_port_init(&if_index, 65535, 1), 0u);
    EXPECT_NE(if_index_vlan_port_init(&if_index, 100, 0x1000), 0u);
    EXPECT_NE(if_index_vlan_port_init(&if_index, 100, UINT32_MAX), 0u);
    EXPECT_EQ(if_index, 0xeeeeeeee);
    EXPECT_NE(if_index_vlan_port_init(nullptr, 100, 1), 0u);
}
