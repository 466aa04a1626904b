/* SPDX-License-Identifier: Apache-2.0 */
/* bitset.h: a fixed set of 64 bits, as the services put it beside a notification. */
#ifndef BITSET_H
#define BITSET_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Bit n is bit (n mod 32) of word (n div 32), counted from the least significant. */
typedef struct bitset {
    uint32_t word[2]; /* bits 0 to 31, bits 32 to 63 */
} bitset_t;

/*
 * Gives 1 when the bit is set, else 0; 0 for a bit outside the set and for a null set.
 *   set  the set; may be null.
 *   bit  0 to 63.
 */
uint32_t bitset_is_bit_set(const bitset_t *set, uint32_t bit);

#ifdef __cplusplus
}
#endif

#endif
