// SPDX-License-Identifier: Apache-2.0
//
// The benchmarks, in one interleaved run of several repetitions: medians of it are to be quoted,
// and their ratios. Google Benchmark's own options are passed on.
#include <vector>

#include <benchmark/benchmark.h>

#include "live_device.h"

int main(int argc, char **argv)
{
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    char repetitions[] = "--benchmark_repetitions=9";
    char aggregates[] = "--benchmark_report_aggregates_only=true";
    char duration[] = "--benchmark_min_time=0.1";
    std::vector<char *> arguments{argv[0], interleave, repetitions, aggregates, duration};
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
