// SPDX-License-Identifier: Apache-2.0
//
// Reading a fixed set of 64 bits.
#include "bitset.h"

uint32_t bitset_is_bit_set(const bitset_t *set, uint32_t bit)
{
    if (set == nullptr || bit >= 64)
        return 0;
    return set->word[bit / 32] >> bit % 32 & 1;
}
