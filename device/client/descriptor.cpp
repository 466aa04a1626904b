// SPDX-License-Identifier: Apache-2.0
//
// descriptor.cpp: an epoll instance over the connection, a counter and a timer.
#include "descriptor.h"

#include <cstdint>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include "device/runtime/fork_generation.h"

namespace client
{
namespace
{

bool add(int poll, int fd)
{
    epoll_event waited_for{};
    waited_for.events = EPOLLIN;
    waited_for.data.fd = fd;
    return fd >= 0 && epoll_ctl(poll, EPOLL_CTL_ADD, fd, &waited_for) == 0;
}

void close_one(int &fd)
{
    if (fd >= 0)
        close(fd);
    fd = -1;
}

void mark(int event, bool queued)
{
    std::uint64_t count = 1;
    const ssize_t done =
        queued ? write(event, &count, sizeof count) : read(event, &count, sizeof count);
    static_cast<void>(done); // neither can fail on a counter that is 0 or 1
}

// Setting a timer takes back that it has run out before.
void wake(int timer, std::uint64_t at)
{
    itimerspec once{};
    once.it_value.tv_sec = static_cast<time_t>(at / 1000000);
    once.it_value.tv_nsec = static_cast<long>(at % 1000000) * 1000;
    timerfd_settime(timer, TFD_TIMER_ABSTIME, &once, nullptr);
}

} // namespace

// A child shares these with its parent, who must not be disturbed.
bool descriptor::is_ours() const
{
    return poll_ >= 0 && generation_ == device_runtime::fork_generation();
}

bool descriptor::make()
{
    drop();
    generation_ = device_runtime::fork_generation();
    poll_ = epoll_create1(EPOLL_CLOEXEC);
    queued_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    timer_ = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    if (generation_ != 0 && poll_ >= 0 && add(poll_, queued_) && add(poll_, timer_))
        return true;
    drop();
    return false;
}

void descriptor::drop()
{
    close_one(timer_);
    close_one(queued_);
    close_one(poll_);
    now_ = {};
}

int descriptor::get() { return is_ours() || make() ? poll_ : -1; }

void descriptor::leave_connection()
{
    if (is_ours())
        watch(-1, 0);
}

void descriptor::watch(int connection, std::uint32_t events)
{
    epoll_event waited_for{};
    waited_for.events = events;
    waited_for.data.fd = connection;
    if (connection != now_.connection && now_.connection >= 0)
        epoll_ctl(poll_, EPOLL_CTL_DEL, now_.connection, nullptr);
    if (connection >= 0)
        epoll_ctl(poll_, connection == now_.connection ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, connection,
                  &waited_for);
    now_.connection = connection;
    now_.events = events;
}

void descriptor::set(const reasons &wanted)
{
    if (!is_ours() || wanted == now_)
        return;
    if (wanted.connection != now_.connection || wanted.events != now_.events)
        watch(wanted.connection, wanted.events);
    if (wanted.queued != now_.queued)
        mark(queued_, wanted.queued);
    if (wanted.connect_at != now_.connect_at)
        wake(timer_, wanted.connect_at);
    now_ = wanted;
}

} // namespace client
