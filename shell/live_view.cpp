// SPDX-License-Identifier: Apache-2.0
//
// live_view.cpp: what a second brought is the difference of two readings, divided by the time that
// passed between them. The first screen has no second behind it and shows no rates.
#include "live_view.h"

#include <algorithm>
#include <cmath>
#include <ctime>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace shell
{
namespace
{

constexpr std::size_t widest_bar = 22;
constexpr std::size_t widest_line = 80;
constexpr int green = 32, yellow = 33, red = 31, bold = 1;

std::string clock_text()
{
    const std::time_t now = std::time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    return fmt::format("{:%H:%M:%S}", local);
}

double share(u64 hits, u64 misses)
{
    return hits + misses == 0 ? 0 : static_cast<double>(hits) / static_cast<double>(hits + misses);
}

int colour_of(double part) { return part >= 0.9 ? green : part >= 0.5 ? yellow : red; }

// As many blocks as the share is of the bar, and a rail behind them.
std::string bar(double part)
{
    const auto full = static_cast<std::size_t>(std::lround(part * widest_bar));
    std::string blocks, rail;
    for (std::size_t at = 0; at < widest_bar; ++at)
        (at < full ? blocks : rail)
            .append(knows_utf8() ? (at < full ? "█" : "░") : (at < full ? "#" : "."));
    return coloured(blocks, colour_of(part)) + rail;
}

std::string rate(u64 before, u64 now, double seconds)
{
    return seconds <= 0 ? "-" : fmt::format("{:.0f}", static_cast<double>(now - before) / seconds);
}

u64 questions(const question_figures &row) { return row.hits + row.misses; }

// The most asked first; the order of the slots among equals.
std::vector<std::size_t> asked_most(const figures &now)
{
    std::vector<std::size_t> order;
    for (std::size_t at = 0; at < now.questions.size(); ++at)
        if (questions(now.questions[at]) != 0)
            order.push_back(at);
    std::ranges::stable_sort(order, [&](std::size_t a, std::size_t b) {
        return questions(now.questions[a]) > questions(now.questions[b]);
    });
    return order;
}

constexpr char rates_format[] = "{:<12} {:>8} {:<10}  {:>8} {:<9}  {:>9} {}";
constexpr char row_format[] = "{:<12} {:>8}  {}  {:>9} {:>7} {:>7} {:>5}";

std::string attribute_line(const question_figures &before, const question_figures &now,
                           double seconds)
{
    return fmt::format(row_format, now.attribute, hit_rate(now.hits, now.misses),
                       bar(share(now.hits, now.misses)), now.hits,
                       rate(before.hits, now.hits, seconds), now.misses,
                       rate(before.misses, now.misses, seconds));
}

} // namespace

live_view::live_view(std::string socket) : socket_(std::move(socket))
{
    if (output_is_terminal())
        screen_.emplace();
}

// Between the two readings; 0 while there is only one.
double live_view::seconds() const
{
    return std::chrono::duration<double>(now_.at - before_.at).count();
}

void live_view::show(const figures &now, u64 notices, const std::string &trouble)
{
    const moment reading = {std::chrono::steady_clock::now(), now, notices};
    before_ = has_before_ ? now_ : reading;
    now_ = reading;
    trouble_ = trouble;
    if (screen_)
        draw();
    else
        print_line();
    has_before_ = true;
}

void live_view::follow_size()
{
    const extent now = screen_size();
    if (screen_ && (now.columns != size_.columns || now.rows != size_.rows))
        draw();
}

void live_view::draw()
{
    size_ = screen_size();
    const std::vector<std::string> lines = frame();
    screen_->show(lines.data(), lines.size());
}

// Where there is too little room the socket's path is cut, and not what is wrong.
std::string live_view::heading() const
{
    const std::string_view state = !now_.counted.enabled     ? "  the cache is off"
                                   : !now_.counted.connected ? "  not connected"
                                                             : "";
    const std::string right = clock_text() + "  q leaves";
    const std::size_t width = std::min(size_.columns, widest_line);
    const std::size_t room = width > right.size() + 1 ? width - right.size() - 1 : 0;
    const std::size_t for_path = room > state.size() ? room - state.size() : 0;
    const std::string left = cut("varnsh top  " + socket_, for_path).append(state);
    return coloured(fmt::format("{:<{}} {}", cut(left, room), room, right), bold);
}

std::vector<std::string> live_view::frame() const
{
    const figures &now = now_.counted, &then = before_.counted;
    const double passed = seconds();
    const u64 hits = now.hits(), misses = now.misses();
    std::vector<std::string> lines;
    lines.push_back(heading());
    lines.push_back(coloured(trouble_, red));
    lines.push_back(fmt::format("{:<12} {:>8}  {}  of {} questions", "hit rate",
                                hit_rate(hits, misses), bar(share(hits, misses)), hits + misses));
    lines.push_back(fmt::format(rates_format, "cache", rate(then.hits(), hits, passed), "hits/s",
                                rate(then.misses(), misses, passed), "misses/s",
                                rate(then.updates(), now.updates(), passed), "updates/s"));
    lines.push_back(fmt::format(rates_format, "service", rate(then.requests, now.requests, passed),
                                "requests/s", rate(before_.notices, now_.notices, passed),
                                "notices/s", now.requests, "requests so far"));
    lines.push_back(fmt::format(rates_format, "entries", now.tables[0].entries, "interfaces",
                                now.tables[5].entries, "channels", now.tables[4].entries, "VLANs"));
    lines.emplace_back();
    const std::string titles =
        fmt::format(row_format, "ATTRIBUTE", "HIT RATE", std::string(widest_bar, ' '), "HITS", "/S",
                    "MISSES", "/S");
    lines.push_back(coloured(titles, bold));
    for (const std::size_t at : asked_most(now))
        lines.push_back(attribute_line(then.questions[at], now.questions[at], passed));
    return lines;
}

void live_view::print_line() const
{
    static constexpr char format[] =
        "{:<8}  {:>8}  {:>10}  {:>10}  {:>10}  {:>10}  {:>10}  {:>8}\n";
    if (!has_before_)
        fmt::print(format, "TIME", "HIT RATE", "HITS/S", "MISSES/S", "UPDATES/S", "REQUESTS/S",
                   "NOTICES/S", "ENTRIES");
    const figures &now = now_.counted, &then = before_.counted;
    const double passed = seconds();
    fmt::print(format, clock_text(), hit_rate(now.hits(), now.misses()),
               rate(then.hits(), now.hits(), passed), rate(then.misses(), now.misses(), passed),
               rate(then.updates(), now.updates(), passed),
               rate(then.requests, now.requests, passed),
               rate(before_.notices, now_.notices, passed), now.tables[0].entries);
    if (!trouble_.empty())
        fmt::print("{}\n", trouble_);
    std::fflush(stdout);
}

} // namespace shell
