// SPDX-License-Identifier: Apache-2.0
//
// What one question costs: answered from the cache, asked again because it is stale, and asked
// directly as a client without the library would; and what it costs to have an entry at all.
#include <benchmark/benchmark.h>

#include "ifsvc.h"
#include "live_device.h"
#include "varn.h"

namespace
{

void hit(benchmark::State &state)
{
    varn_ifsvc_is_linkup(bench::iod());
    for (auto _ : state)
        benchmark::DoNotOptimize(varn_ifsvc_is_linkup(bench::iod()));
}

void miss_over_the_service(benchmark::State &state)
{
    varn_if_entry_t *entry = varn_find_entry_by_iod(bench::iod());
    for (auto _ : state) {
        entry->dirty |= VARN_MASK(VARN_BIT_LINKUP);
        benchmark::DoNotOptimize(varn_ifsvc_is_linkup(bench::iod()));
    }
}

void direct_request(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(ifsvc_is_linkup(bench::iod()));
}

// Creation asks for every attribute once; the removal before it is not timed.
void new_entry(benchmark::State &state)
{
    for (auto _ : state) {
        state.PauseTiming();
        varn_if_remove_entry_by_if(bench::if_index());
        state.ResumeTiming();
        benchmark::DoNotOptimize(varn_find_entry_by_iod(bench::iod()));
    }
}

} // namespace

BENCHMARK(hit);
BENCHMARK(miss_over_the_service)->UseRealTime();
BENCHMARK(direct_request)->UseRealTime();
BENCHMARK(new_entry)->UseRealTime();
