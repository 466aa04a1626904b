// SPDX-License-Identifier: Apache-2.0
//
// commands_live.cpp: the commands that go on while things change. They wait for the device, the
// time and the person at once, and end on the first of: the time is over, a key, Ctrl-C.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <ctime>

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include "attributes.h"
#include "commands.h"
#include "live_view.h"
#include "tables.h"
#include "terminal.h"
#include "varn_device.h"

namespace shell
{
namespace
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr auto patience = std::chrono::seconds(5);
constexpr auto glance = milliseconds(20);
constexpr auto refresh = std::chrono::seconds(1);
constexpr auto a_while = std::chrono::minutes(1); // then the time is looked at again
constexpr double most_seconds = 1e6;

// Whole or broken; 0 and less is no time.
std::optional<milliseconds> read_seconds(const std::string &text)
{
    double seconds = 0;
    const char *end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, seconds, std::chars_format::fixed);
    if (read.ec != std::errc{} || read.ptr != end || !(seconds > 0 && seconds <= most_seconds))
        return std::nullopt;
    return std::chrono::ceil<milliseconds>(std::chrono::duration<double>(seconds));
}

// The end of a live command.
class ending
{
public:
    explicit ending(milliseconds limit) : limit_(limit), begun_(steady_clock::now()) {}

    // Waits for the device, a key or a signal, at most as long as `most`. False: it is over.
    bool wait(milliseconds most)
    {
        const milliseconds left = time_left();
        if (left == milliseconds(0))
            return false;
        const milliseconds time = left < milliseconds(0) || left > most ? most : left;
        pollfd watched[] = {{varn_device_descriptor(), POLLIN, 0},
                            {signals_.descriptor(), POLLIN, 0},
                            {input_is_terminal() ? STDIN_FILENO : -1, POLLIN, 0}};
        poll(watched, 3, static_cast<int>(time.count()));
        if (watched[2].revents != 0 && is_last_key())
            return false;
        const int signal = signals_.arrived();
        return signal == 0 || signal == SIGWINCH;
    }

private:
    milliseconds time_left() const
    {
        if (limit_ < milliseconds(0))
            return limit_;
        const auto left = std::chrono::ceil<milliseconds>(begun_ + limit_ - steady_clock::now());
        return std::max(left, milliseconds(0));
    }

    // Enter in a line, q or Ctrl-D where each key arrives alone, and the end of the input.
    static bool is_last_key()
    {
        char keys[256];
        const ssize_t got = read(STDIN_FILENO, keys, sizeof keys);
        const std::string_view typed(keys, got > 0 ? static_cast<std::size_t>(got) : 0);
        return typed.empty() || typed.find_first_of("qQ\n\x04") != typed.npos;
    }

    held_signals signals_;
    milliseconds limit_;
    steady_clock::time_point begun_;
};

std::string time_of_day()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    return fmt::format("{:%H:%M:%S}.{:03}", local, now.tv_nsec / 1000000);
}

constexpr char watch_format[] = "{:<12}  {:>10}  {:<16}  {:<16}  {:>8}  {:>10}\n";

bool leaves_something_to_ask(const notice &seen)
{
    return seen.iod != 0 && seen.kind != "Removed" && seen.kind != "Lost";
}

} // namespace

// As the interface is called now: a notice may be about its name.
std::string interpreter::name_for(const notice &seen)
{
    if (seen.if_index == 0 && seen.number != 0)
        return seen.about.empty() ? fmt::format("vlan {}", seen.number) : seen.about;
    if (seen.if_index == 0)
        return "-";
    if (seen.kind != "Removed")
        interfaces_.all();
    std::string name = interfaces_.last_name_of(seen.if_index);
    if (!name.empty())
        return name;
    return seen.about.empty() ? fmt::format("0x{:08x}", seen.if_index) : seen.about;
}

// Link, protocol and MTU, which is what most clients live on.
std::string interpreter::row_for(const notice &seen)
{
    const std::string at = time_of_day();
    std::string requests = "-", took = "-";
    if (leaves_something_to_ask(seen)) {
        const u64 before = varn_device_requests();
        const auto begun = steady_clock::now();
        attempt asking(seen.iod);
        varn_ifsvc_is_linkup(seen.iod);
        varn_ifsvc_is_protoup(seen.iod);
        varn_ifsvc_get_if_mtu(seen.iod);
        const std::chrono::duration<double, std::micro> spent = steady_clock::now() - begun;
        if (asking.failure().empty()) {
            requests = fmt::format("{}", varn_device_requests() - before);
            took = fmt::format("{:.1f}", spent.count());
        }
    }
    return fmt::format(watch_format, at, seen.sequence, seen.kind, name_for(seen), requests, took);
}

verdict interpreter::watch(const order &what)
{
    const auto limit = what.given.empty() ? for_ever : read_seconds(what.given[0]);
    if (!limit)
        return misused("not a number of seconds: " + what.given[0]);
    ending end(*limit);
    fmt::print(watch_format, "TIME", "SEQUENCE", "NOTICE", "INTERFACE", "REQUESTS", "MICROSEC");
    do {
        std::fflush(stdout);
        while (const std::optional<notice> seen = told_.take_one()) {
            fmt::print("{}", row_for(*seen));
            std::fflush(stdout);
        }
    } while (end.wait(a_while));
    return done;
}

verdict interpreter::top(const order &what)
{
    const auto limit = what.given.empty() ? for_ever : read_seconds(what.given[0]);
    if (!limit)
        return misused("not a number of seconds: " + what.given[0]);
    ending end(*limit);
    live_view view(socket_);
    auto next = steady_clock::now();
    for (bool goes_on = true; goes_on;) {
        told_.take();
        const std::string trouble = ask_about_all();
        view.show(read_figures(), told_.count(), trouble);
        next = std::max(next + refresh, steady_clock::now());
        while (goes_on && steady_clock::now() < next) {
            goes_on = end.wait(std::chrono::ceil<milliseconds>(next - steady_clock::now()));
            told_.take();
            view.follow_size();
        }
    }
    return done;
}

// The first thing that was not answered ends it: a service that is silent is not waited for again
// and again.
std::string interpreter::ask_about_all()
{
    for (const listed &subject : interfaces_.all()) {
        std::string reason = ask_about(subject);
        if (!reason.empty())
            return reason;
    }
    return interfaces_.failure();
}

// The answer that is awaited is the service's own; what the service tells of it is taken in too.
verdict interpreter::await(const order &what)
{
    unsigned bit = no_bit;
    if (!find_attribute(what.given[0], bit))
        return unknown_attribute(what.given[0]);
    listed subject;
    if (const verdict outcome = find(what.given[1], subject); outcome != done)
        return outcome;
    const auto end = steady_clock::now() + patience;
    for (;;) {
        std::string reason, answer;
        {
            attempt asking(subject.iod);
            answer = ask_attribute(what.given[0], subject.iod, true);
            reason = asking.failure();
        }
        told_.take();
        if (reason.empty() && answer == what.given[2])
            return done;
        if (steady_clock::now() >= end)
            return say(unanswered, reason.empty() ? "the answer stays " + answer : reason);
        told_.wait_for(-1, glance);
    }
}

} // namespace shell
