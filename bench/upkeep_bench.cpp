// SPDX-License-Identifier: Apache-2.0
//
// What the cache costs beside its answers: making, refreshing, flushing and printing entries. An
// iteration is about all entries, its time is taken by hand where it needs a preparation.
#include <benchmark/benchmark.h>

#include <ctime>

#include "in_process.h"
#include "platform_stub.h"
#include "population.h"
#include "varn.h"

namespace
{

double processor_seconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <class work>
void timed(benchmark::State &state, work of)
{
    const double start = processor_seconds();
    of();
    state.SetIterationTime(processor_seconds() - start);
}

template <class work>
void for_all(uint32_t count, work of)
{
    for (uint32_t iod = 1; iod <= count; ++iod)
        of(iod);
}

void creation(benchmark::State &state, uint32_t count)
{
    for (auto _ : state) {
        for_all(count, bench::remove_entry);
        timed(state, [count] { for_all(count, bench::insert_entry); });
    }
    state.counters["operations"] = count;
}

void removal(benchmark::State &state, uint32_t count)
{
    for (auto _ : state) {
        timed(state, [count] { for_all(count, bench::remove_entry); });
        for_all(count, bench::insert_entry);
    }
    state.counters["operations"] = count;
}

// Every attribute that a refresh fills, but for the iod.
void full_refresh(benchmark::State &state, uint32_t count)
{
    for (auto _ : state) {
        varn_if_flush_all(1);
        timed(state, [count] {
            for_all(count, [](uint32_t iod) { varn_if_update_if(bench::if_index_of(iod)); });
        });
    }
    state.counters["operations"] = count;
}

// The mask is empty, so that the entries stay as they are; the walk and the writes are the same.
void flush_all(benchmark::State &state, uint32_t count)
{
    for (auto _ : state)
        varn_if_flush_all(0);
    state.counters["operations"] = count;
}

void dump(benchmark::State &state, void (*print)(uintptr_t arg), uint32_t entries)
{
    for (auto _ : state)
        print(0);
    state.counters["operations"] = entries;
}

void register_dumps(uint32_t count)
{
    // Every eighth interface is a port-channel, see platform_stub.h.
    const uint32_t vlans = count < 4094 ? count : 4094;
    benchmark::RegisterBenchmark("dump/varn_if_dump", dump, varn_if_dump, count);
    benchmark::RegisterBenchmark("dump/varn_vlan_dump", dump, varn_vlan_dump, vlans);
    benchmark::RegisterBenchmark("dump/varn_pc_dump", dump, varn_pc_dump, count / 8);
    benchmark::RegisterBenchmark("dump/varn_dump", dump, varn_dump, 1);
    benchmark::RegisterBenchmark("dump/varn_print_global", dump, varn_print_global, 1);
    benchmark::RegisterBenchmark("dump/varn_dump_iod_bmp", dump, varn_dump_iod_bmp, 1);
}

} // namespace

void bench::register_upkeep(uint32_t count)
{
    benchmark::RegisterBenchmark("upkeep/creation", creation, count)->UseManualTime();
    benchmark::RegisterBenchmark("upkeep/removal", removal, count)->UseManualTime();
    benchmark::RegisterBenchmark("upkeep/full_refresh", full_refresh, count)->UseManualTime();
    benchmark::RegisterBenchmark("upkeep/varn_if_flush_all", flush_all, count);
    register_dumps(count);
}
