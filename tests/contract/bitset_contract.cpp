// SPDX-License-Identifier: Apache-2.0
//
// The set of 64 bits.
#include "bitset.h"

#include <gtest/gtest.h>

TEST(bitset_is_bit_set, EachBitIsTheOneOfItsWordCountedFromTheLeast)
{
    for (uint32_t set_bit = 0; set_bit < 64; ++set_bit) {
        bitset_t set{};
        set.word[set_bit / 32] = 1u << set_bit % 32;
        for (uint32_t bit = 0; bit < 64; ++bit)
            EXPECT_EQ(bitset_is_bit_set(&set, bit), bit == set_bit ? 1u : 0u)
                << "bit " << bit << " of a set of bit " << set_bit;
    }
}

TEST(bitset_is_bit_set, AFullSetHasNoBitBeyondItsEnd)
{
    const bitset_t full{{UINT32_MAX, UINT32_MAX}};
    EXPECT_EQ(bitset_is_bit_set(&full, 63), 1u);
    EXPECT_EQ(bitset_is_bit_set(&full, 64), 0u);
    EXPECT_EQ(bitset_is_bit_set(&full, 96), 0u);
    EXPECT_EQ(bitset_is_bit_set(&full, UINT32_MAX), 0u);
}

TEST(bitset_is_bit_set, ANullSetIsEmpty) { EXPECT_EQ(bitset_is_bit_set(nullptr, 0), 0u); }
