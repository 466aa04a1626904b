// SPDX-License-Identifier: Apache-2.0
//
// notices.cpp: one callback sees every notice before its handler does; it counts, and tells the
// list of interfaces what it can no longer rely on.
#include "notices.h"

#include <algorithm>
#include <cerrno>
#include <numeric>

#include <poll.h>

#include "follower.h"
#include "varn_device.h"

namespace shell
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

void notices::subscribe()
{
    varn_device_notices_t callbacks = follower_notices();
    callbacks.arg = reinterpret_cast<uintptr_t>(this);
    callbacks.any = note;
    varn_device_subscribe(&callbacks);
}

void notices::note(uintptr_t arg, const char *kind, u64 sequence, u32 if_index, u32 iod, u32 number)
{
    auto *self = reinterpret_cast<notices *>(arg);
    const u32 subject = if_index != 0 ? if_index : number;
    self->last_ = {kind, sequence, if_index, iod, number, self->interfaces_.last_name_of(subject)};
    ++self->counts_[kind];
    self->follow(*self->last_);
}

void notices::follow(const notice &told)
{
    if (told.kind == "Lost")
        interfaces_.doubt_everything();
    else if (told.kind == "Added")
        interfaces_.expect_more();
    else if (told.kind == "Removed")
        interfaces_.forget(told.if_index);
    else if (told.kind == "Changed")
        interfaces_.doubt(told.if_index);
}

void notices::take() { varn_device_dispatch(0); }

std::optional<notice> notices::take_one()
{
    if (varn_device_dispatch(1) == 0)
        return std::nullopt;
    return last_;
}

bool notices::wait_for(int descriptor, milliseconds time)
{
    const bool endless = time < milliseconds(0);
    const auto end = steady_clock::now() + time;
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
        const auto patience = endless ? -1 : std::max<milliseconds::rep>(left.count(), 0);
        pollfd watched[] = {{descriptor, POLLIN, 0}, {varn_device_descriptor(), POLLIN, 0}};
        const int ready = poll(watched, 2, static_cast<int>(patience));
        if (ready == 0 || (ready < 0 && errno != EINTR))
            return false;
        if (ready > 0 && watched[1].revents != 0)
            take();
        if (ready > 0 && watched[0].revents != 0)
            return true;
        // A device that changes all the time keeps its descriptor readable.
        if (!endless && steady_clock::now() >= end)
            return false;
    }
}

u64 notices::count() const
{
    return std::accumulate(counts_.begin(), counts_.end(), u64{0},
                           [](u64 sum, const auto &row) { return sum + row.second; });
}

} // namespace shell
