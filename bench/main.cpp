// SPDX-License-Identifier: Apache-2.0
//
// The benchmarks that need no service, about one number of entries:
//   varn_bench --entries=N [--memory] [options of Google Benchmark]
// They run interleaved in random order. What a repetition took is printed as it is: medians are
// made by record.py. --memory measures memory instead of time.
#include <sched.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "in_process.h"
#include "population.h"

namespace
{

struct options {
    uint32_t entries = 1024;
    bool memory = false;
    std::vector<char *> others;
};

options read_options(int argc, char **argv)
{
    options found;
    for (int each = 0; each < argc; ++each) {
        if (std::strncmp(argv[each], "--entries=", 10) == 0)
            found.entries = static_cast<uint32_t>(std::strtoul(argv[each] + 10, nullptr, 10));
        else if (std::strcmp(argv[each], "--memory") == 0)
            found.memory = true;
        else
            found.others.push_back(argv[each]);
    }
    return found;
}

// Asker and answerer share one core, so that neither has to be woken on another.
void pin()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(0, &one);
    sched_setaffinity(0, sizeof one, &one);
}

} // namespace

int main(int argc, char **argv)
{
    options given = read_options(argc, argv);
    if (given.entries < 1 || given.entries > 32767) {
        std::fprintf(stderr, "varn_bench: --entries is 1 to 32767\n");
        return 2;
    }
    pin();
    const std::vector<bench::subject> subjects = bench::find_subjects();
    if (given.memory)
        return bench::print_memory(subjects, given.entries);
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    given.others.insert(given.others.begin() + 1, interleave);
    int count = static_cast<int>(given.others.size());
    benchmark::Initialize(&count, given.others.data());
    if (benchmark::ReportUnrecognizedArguments(count, given.others.data()))
        return 2;

    bench::register_requests(); // first: its other process is to be small
    for (const bench::subject &each : subjects)
        each.fill(given.entries);
    const std::vector<uint16_t> order = bench::random_iods(given.entries);
    bench::register_hits(subjects, given.entries, order.data());
    bench::register_upkeep(given.entries);
    bench::register_notices(order.data());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
