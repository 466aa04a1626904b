// SPDX-License-Identifier: Apache-2.0
//
// The rounds.
#include "asking.h"

#include <array>
#include <utility>

#include "population.h"

namespace bench
{

namespace
{

constexpr uint32_t order_mask = num_random_iods - 1;

// Tells the copies of a round apart, which the compiler would make one.
template <unsigned site>
inline void mark()
{
    asm volatile("" : : "i"(site));
}

template <unsigned site>
uint32_t randomly(question ask, const uint16_t *order, uint32_t at)
{
    mark<site>();
    uint32_t sum = 0;
    for (uint32_t each = 0; each < round_length; ++each)
        sum += ask(order[(at + each) & order_mask]);
    return sum;
}

template <unsigned site>
uint32_t dependently(question ask, const uint16_t *order, uint32_t at)
{
    mark<site>();
    for (uint32_t each = 0; each < round_length; ++each)
        at += ask(order[at & order_mask]);
    return at;
}

template <unsigned site>
uint32_t in_order(question ask, uint32_t iod, uint32_t count)
{
    mark<site>();
    for (uint32_t each = 0; each < round_length; ++each) {
        iod = iod == count ? 1 : iod + 1;
        ask(iod);
    }
    return iod;
}

template <unsigned site>
uint32_t five(const subject &of, const uint16_t *order, uint32_t at)
{
    mark<site>();
    uint32_t sum = 0;
    for (uint32_t each = 0; each < round_length; ++each) {
        const uint32_t iod = order[(at + each) & order_mask];
        sum += of.is_linkup(iod) + of.is_protoup(iod) + of.is_switchport(iod) + of.get_if_mtu(iod) +
               of.get_if_encaptype(iod);
    }
    return sum;
}

template <unsigned... site>
constexpr std::array<rounds, sizeof...(site)> at_each(std::integer_sequence<unsigned, site...>)
{
    return {rounds{randomly<site>, dependently<site>, in_order<site>, five<site>}...};
}

} // namespace

const rounds &rounds_at(unsigned site)
{
    static constexpr auto all = at_each(std::make_integer_sequence<unsigned, num_sites>());
    return all.at(site);
}

} // namespace bench
