// SPDX-License-Identifier: Apache-2.0
//
// client.cpp: one client of a soak. It follows the notices, asks the cache, and compares all the
// time. While the device changes, two answers are comparable only if no notice came in between: what
// was told before an answer is there when the answer is, so a mismatch with nothing left to dispatch
// is a stale answer, and with something left it is asked again.
#include <cstdio>
#include <cstdlib>

#include <poll.h>
#include <unistd.h>

#include "board.h"
#include "client.h"
#include "comparison.h"
#include "random.h"
#include "shell/follower.h"
#include "varn_device.h"
#include "world.h"

namespace soak
{
namespace
{

using namespace coherence;

constexpr int turn_ms = 20;
constexpr u32 questions_a_turn = 20, comparisons_a_turn = 10, turns_between_meetings = 100;
constexpr u32 most_attempts = 20, slices = 8, most_interfaces = 4096;

client_row *own_row;

void count(uintptr_t, const char *name, uint64_t, uint32_t, uint32_t, uint32_t)
{
    ++own_row->notices;
    if (std::string_view(name) == "Lost")
        ++own_row->lost;
}

bool has_lost_an_answer()
{
    const u32 code = varn_device_last_error();
    return code == VARN_DEVICE_E_NO_SERVICE || code == VARN_DEVICE_E_TIMEOUT ||
           code == VARN_DEVICE_E_BAD_ANSWER;
}

class member
{
public:
    member(client_row &row, u32 number) : row_(row), number_(number), random_(number) {}

    void take_turn(u32 turn)
    {
        pollfd waited{varn_device_descriptor(), POLLIN, 0};
        poll(&waited, 1, turn_ms);
        varn_device_dispatch(0);
        if (turn % turns_between_meetings == 0 || people_.names().empty())
            meet();
        for (u32 n = 0; n < questions_a_turn; ++n)
            ask();
        for (u32 n = 0; n < comparisons_a_turn; ++n)
            compare_some();
    }

    // All queries, about a part of the interfaces that changes from client to client.
    void compare_all_of_a_slice()
    {
        meet();
        const ground &over = people_.everyone();
        for (const query &of : all_queries())
            for (std::size_t n = number_ % slices; n < num_questions(over, of); n += slices)
                compare_until_decided(of, question(over, of, n));
    }

private:
    void meet()
    {
        std::vector<u32> iods(most_interfaces);
        u32 found = 0;
        if (varn_device_list_iods(iods.data(), most_interfaces, &found) != VARN_DEVICE_OK)
            return;
        iods.resize(found);
        people_.meet(iods);
    }

    std::pair<const query *, asked> some_question(std::span<const query> queries)
    {
        const query &of = random_.pick(queries);
        const ground &over = people_.everyone();
        const std::size_t all = num_questions(over, of);
        return {all == 0 ? nullptr : &of,
                all == 0 ? asked{} : question(over, of, random_.below(all))};
    }

    void ask()
    {
        const auto [of, what] = some_question(exported_queries());
        if (of == nullptr)
            return;
        of->cached(what);
        ++row_.asked;
    }

    void compare_some()
    {
        const auto [of, what] = some_question(all_queries());
        if (of != nullptr)
            compare_until_decided(*of, what);
    }

    void compare_until_decided(const query &of, const asked &what)
    {
        for (u32 attempt = 0; attempt < most_attempts; ++attempt) {
            varn_device_dispatch(0);
            varn_device_clear_error();
            const auto found = compare(of, what);
            const bool is_certain = varn_device_dispatch(0) == 0 && !has_lost_an_answer();
            if (found && !is_certain)
                continue;
            ++row_.compared;
            if (found)
                note_stale(*found);
            return;
        }
        ++row_.undecided;
    }

    void note_stale(const mismatch &found)
    {
        if (row_.stale++ == 0)
            std::snprintf(row_.first_stale.data(), row_.first_stale.size(), "%s",
                          text_of(found).c_str());
    }

    client_row &row_;
    u32 number_;
    random_numbers random_;
    acquaintances people_;
};

} // namespace

int be_client(const std::string &socket, board &of, std::uint32_t number)
{
    own_row = &of.clients[number];
    setenv("VARN_DEVICE_SOCKET", socket.c_str(), 1);
    varn_config_t config = full_configuration();
    config.num_buckets = 1024;
    start_client(config);
    varn_device_notices_t callbacks = shell::follower_notices();
    callbacks.any = count;
    if (varn_device_subscribe(&callbacks) != VARN_DEVICE_OK)
        return 1;
    // Beginning is no loss.
    varn_device_dispatch(0);
    own_row->lost = 0;

    member self(*own_row, number);
    for (u32 turn = 0; of.now == phase::going; ++turn)
        self.take_turn(turn);
    self.compare_all_of_a_slice();
    own_row->has_rested = 1;
    while (of.now != phase::ending)
        usleep(turn_ms * 1000);
    end_client();
    return 0;
}

} // namespace soak
