// SPDX-License-Identifier: Apache-2.0
//
// What one question costs against a running service: answered from the cache, asked again because
// it is stale, and asked directly as a client without the library would; and what it costs to have
// an entry at all, and to bring one up to date.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "both_processes.h"
#include "ifsvc.h"
#include "live_device.h"
#include "varn.h"

namespace
{

// The service's process, which record.py tells; -1 when it does not.
pid_t service()
{
    const char *told = std::getenv("VARN_BENCH_SERVICE");
    return told ? static_cast<pid_t>(std::strtol(told, nullptr, 10)) : -1;
}

void hit(benchmark::State &state)
{
    varn_ifsvc_is_linkup(bench::iod());
    for (auto _ : state)
        benchmark::DoNotOptimize(varn_ifsvc_is_linkup(bench::iod()));
}

void miss(benchmark::State &state)
{
    varn_if_entry_t *entry = varn_find_entry_by_iod(bench::iod());
    const bench::both_processes time(service());
    for (auto _ : state) {
        entry->dirty |= VARN_MASK(VARN_BIT_LINKUP);
        benchmark::DoNotOptimize(varn_ifsvc_is_linkup(bench::iod()));
    }
    time.tell(state);
}

void direct_request(benchmark::State &state)
{
    const bench::both_processes time(service());
    for (auto _ : state)
        benchmark::DoNotOptimize(ifsvc_is_linkup(bench::iod()));
    time.tell(state);
}

// Creation asks for every attribute once; the removal before it asks for nothing and is in the time.
void new_entry(benchmark::State &state)
{
    const bench::both_processes time(service());
    for (auto _ : state) {
        varn_if_remove_entry_by_if(bench::if_index());
        benchmark::DoNotOptimize(varn_find_entry_by_iod(bench::iod()));
    }
    time.tell(state);
}

void full_refresh(benchmark::State &state)
{
    varn_if_entry_t *entry = varn_find_entry_by_iod(bench::iod());
    const bench::both_processes time(service());
    for (auto _ : state) {
        varn_flush_if_entry(entry, 3);
        varn_if_update_entry(entry, 0);
    }
    time.tell(state);
}

// The handler asks for the interface's name for its trace, and for its port-channel.
void link_notice(benchmark::State &state)
{
    varn_find_entry_by_iod(bench::iod());
    const varn_phy_update_t update{bench::if_index(), bench::iod(), 1};
    const bench::both_processes time(service());
    for (auto _ : state)
        varn_update_phy_state(&update);
    time.tell(state);
}

} // namespace

BENCHMARK(hit)->Name("service/hit");
BENCHMARK(miss)->Name("service/miss")->UseRealTime();
BENCHMARK(direct_request)->Name("service/direct_request")->UseRealTime();
BENCHMARK(new_entry)->Name("service/new_entry")->UseRealTime();
BENCHMARK(link_notice)->Name("service/link_notice")->UseRealTime();
BENCHMARK(full_refresh)->Name("service/full_refresh")->UseRealTime();

namespace
{

// What a client process costs before it has many entries.
int print_memory()
{
    char line[256];
    long kib = 0;
    std::FILE *file = std::fopen("/proc/self/smaps_rollup", "r");
    std::printf("{");
    while (file != nullptr && std::fgets(line, sizeof line, file) != nullptr) {
        if (std::sscanf(line, "Pss: %ld", &kib) == 1)
            std::printf("\"pss_kib\": %ld, ", kib);
        if (std::sscanf(line, "Anonymous: %ld", &kib) == 1)
            std::printf("\"anonymous_kib\": %ld}\n", kib);
    }
    if (file != nullptr)
        std::fclose(file);
    return 0;
}

} // namespace

// --memory measures the process instead of the questions.
int main(int argc, char **argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--memory") == 0) {
        bench::start();
        varn_find_entry_by_iod(bench::iod());
        return print_memory();
    }
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char *> arguments{argv[0], interleave};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    bench::start();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
