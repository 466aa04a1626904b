// SPDX-License-Identifier: Apache-2.0
//
// The operations whose instructions scripts/check_instructions.sh counts under callgrind: each goes
// through the same loop and leaves a dump under its name. `nothing` is an operation of two
// instructions; with it the script takes off what the loop costs.
#include <cstdint>
#include <cstdio>

#include <valgrind/callgrind.h>

#include "exported_queries.h"
#include "platform_stub.h"
#include "population.h"
#include "varn.h"

namespace
{

constexpr uint32_t entries = 64;
constexpr uint32_t rounds = 1000;

uint32_t nothing(uint32_t) { return 0; }

uint32_t removal_and_creation(uint32_t iod)
{
    bench::remove_entry(iod);
    bench::insert_entry(iod);
    return 0;
}

uint32_t full_refresh(uint32_t iod) { return varn_if_update_if(bench::if_index_of(iod)); }

[[gnu::noinline]] void count(const char *name, uint32_t (*operation)(uint32_t))
{
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    for (uint32_t each = 0; each < rounds; ++each)
        operation(each % entries + 1);
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name);
}

} // namespace

int main()
{
    bench::populate(entries);
    count("nothing", nothing);
    for (const bench::exported_query &query : bench::exported_queries())
        count(query.name, query.ask);
    count("removal_and_creation", removal_and_creation);
    count("full_refresh", full_refresh);
    std::printf("rounds %u\ncompiler %s\n", rounds, VARN_COMPILER);
    return 0;
}
