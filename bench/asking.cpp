// SPDX-License-Identifier: Apache-2.0
//
// The rounds.
#include "asking.h"

#include "population.h"

namespace bench
{

namespace
{

constexpr uint32_t order_mask = num_random_iods - 1;

} // namespace

uint32_t ask_randomly(question ask, const uint16_t *order, uint32_t at)
{
    uint32_t sum = 0;
    for (uint32_t each = 0; each < round_length; ++each)
        sum += ask(order[(at + each) & order_mask]);
    return sum;
}

uint32_t ask_dependently(question ask, const uint16_t *order, uint32_t at)
{
    for (uint32_t each = 0; each < round_length; ++each)
        at += ask(order[at & order_mask]);
    return at;
}

uint32_t ask_in_order(question ask, uint32_t iod, uint32_t count)
{
    for (uint32_t each = 0; each < round_length; ++each) {
        iod = iod == count ? 1 : iod + 1;
        ask(iod);
    }
    return iod;
}

uint32_t ask_five(const subject &of, const uint16_t *order, uint32_t at)
{
    uint32_t sum = 0;
    for (uint32_t each = 0; each < round_length; ++each) {
        const uint32_t iod = order[(at + each) & order_mask];
        sum += of.is_linkup(iod) + of.is_protoup(iod) + of.is_switchport(iod) + of.get_if_mtu(iod) +
               of.get_if_encaptype(iod);
    }
    return sum;
}

} // namespace bench
