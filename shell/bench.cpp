// SPDX-License-Identifier: Apache-2.0
//
// bench.cpp: cached and direct turns alternate, so that a slow moment of the machine meets both;
// the median of the repetitions is what is shown.
#include "bench.h"

#include <algorithm>
#include <array>
#include <chrono>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "attributes.h"

namespace shell
{
namespace
{

constexpr int repetitions = 9;
constexpr int cached_questions = 100000; // in one turn: a hit is shorter than a clock reading
constexpr int direct_questions = 100;

constexpr std::string_view asked[] = {"linkup", "protoup", "switchport", "mtu", "encap"};

volatile u32 answer_sink; // the answers are used, so the questions are asked

double nanoseconds_each(u32 (*query)(u32), u32 iod, int questions)
{
    const auto begin = std::chrono::steady_clock::now();
    for (int n = 0; n < questions; ++n)
        answer_sink = query(iod);
    const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - begin;
    return took.count() / questions;
}

using timings = std::array<double, repetitions>;

double median(timings values)
{
    auto *const middle = values.begin() + repetitions / 2;
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

struct measured {
    std::string_view attribute;
    double cached, direct; // nanoseconds
    std::string failure;
};

measured measure(const scalar &row, u32 iod)
{
    attempt asking(iod);
    timings cached{}, direct{};
    answer_sink = row.cached(iod); // fills the entry
    for (std::size_t turn = 0; turn < repetitions && asking.failure().empty(); ++turn) {
        cached[turn] = nanoseconds_each(row.cached, iod, cached_questions);
        direct[turn] = nanoseconds_each(row.direct, iod, direct_questions);
    }
    return {row.name, median(cached), median(direct), asking.failure()};
}

void print_row(const measured &row)
{
    fmt::print("{:<12}  {:>10.1f} ns  {:>10.0f} ns  {:>10.0f} x\n", row.attribute, row.cached,
               row.direct, row.direct / row.cached);
}

void print_json(const listed &subject, const std::vector<measured> &rows)
{
    nlohmann::ordered_json all = {{"interface", subject.name}, {"turns", repetitions}};
    for (const measured &row : rows)
        all["attributes"][std::string(row.attribute)] = {{"cached_ns", row.cached},
                                                         {"direct_ns", row.direct},
                                                         {"ratio", row.direct / row.cached}};
    fmt::print("{}\n", all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
}

} // namespace

std::string bench(const listed &subject, shape shown_as)
{
    std::vector<measured> rows;
    if (shown_as == shape::text)
        fmt::print("{}, medians of {} turns\n{:<12}  {:>13}  {:>13}  {:>12}\n", subject.name,
                   repetitions, "ATTRIBUTE", "CACHED", "DIRECT", "RATIO");
    for (const std::string_view name : asked) {
        rows.push_back(measure(*find_scalar(name), subject.iod));
        if (!rows.back().failure.empty())
            return rows.back().failure;
        if (shown_as == shape::text)
            print_row(rows.back());
    }
    if (shown_as == shape::json)
        print_json(subject, rows);
    return {};
}

} // namespace shell
