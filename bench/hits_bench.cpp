// SPDX-License-Identifier: Apache-2.0
//
// What a hit costs: the library and its rivals asked in four patterns, and every exported query.
// One iteration is a round of questions, so that the loop of the benchmark library does not count.
#include <benchmark/benchmark.h>

#include "asking.h"
#include "exported_queries.h"
#include "in_process.h"
#include "population.h"

namespace
{

using bench::question;
using bench::round_length;
using bench::rounds;
using bench::subject;

void told(benchmark::State &state, uint32_t result, uint32_t per_iteration = round_length)
{
    benchmark::DoNotOptimize(result);
    state.counters["operations"] = per_iteration;
}

void random_questions(benchmark::State &state, const rounds &site, question ask,
                      const uint16_t *order)
{
    uint32_t at = 0, sum = 0;
    for (auto _ : state) {
        sum += site.randomly(ask, order, at);
        at += round_length;
    }
    told(state, sum);
}

void dependent_questions(benchmark::State &state, const rounds &site, question ask,
                         const uint16_t *order)
{
    uint32_t at = 0;
    for (auto _ : state)
        at = site.dependently(ask, order, at);
    told(state, at);
}

void questions_in_order(benchmark::State &state, const rounds &site, question ask, uint32_t count)
{
    uint32_t iod = 0;
    for (auto _ : state)
        iod = site.in_order(ask, iod, count);
    told(state, iod);
}

void five_questions(benchmark::State &state, const rounds &site, const subject &of,
                    const uint16_t *order)
{
    uint32_t at = 0, sum = 0;
    for (auto _ : state) {
        sum += site.five(of, order, at);
        at += round_length;
    }
    told(state, sum);
}

// An entry leaves and comes back. The library's own does so in all its tables, with every value
// asked again; the rivals' is taken out of one container.
void churn(benchmark::State &state, const subject &of, const uint16_t *order)
{
    uint32_t at = 0;
    for (auto _ : state) {
        const uint32_t iod = order[at++ & (bench::num_random_iods - 1)];
        of.remove(iod);
        of.insert(iod);
    }
    told(state, at, 1);
}

// clang-tidy would have a reference captured; the subjects live as long as the program.
void register_subject(const subject &of, const rounds &site, uint32_t count, const uint16_t *order)
{
    const auto name = [&of](const char *pattern) { return pattern + ('/' + of.name); };
    const subject *who = &of;
    const rounds *from = &site;
    benchmark::RegisterBenchmark(name("random").c_str(), random_questions, site, of.is_linkup,
                                 order);
    benchmark::RegisterBenchmark(name("dependent").c_str(), dependent_questions, site, of.is_linkup,
                                 order);
    benchmark::RegisterBenchmark(name("sequential").c_str(), questions_in_order, site, of.is_linkup,
                                 count);
    benchmark::RegisterBenchmark(name("five").c_str(), [who, from, order](benchmark::State &state) {
        five_questions(state, *from, *who, order);
    });
    benchmark::RegisterBenchmark(name("churn").c_str(), [who, order](benchmark::State &state) {
        churn(state, *who, order);
    });
}

} // namespace

void bench::register_hits(const std::vector<subject> &subjects, uint32_t count,
                          const uint16_t *order)
{
    unsigned site = 0;
    for (const subject &each : subjects)
        register_subject(each, rounds_at(site++), count, order);
    for (const exported_query &query : exported_queries())
        benchmark::RegisterBenchmark((std::string("query/") + query.name).c_str(), random_questions,
                                     rounds_at(site++), query.ask, order);
}
