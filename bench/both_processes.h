// SPDX-License-Identifier: Apache-2.0
//
// The time of a request between two processes on one processor: what both of them were on it. On an
// idle machine that is the time that passes; unlike it, it does not grow with what others run.
#pragma once

#include <sys/types.h>

#include <ctime>

#include <benchmark/benchmark.h>

namespace bench
{

class both_processes
{
public:
    explicit both_processes(pid_t other)
    {
        if (clock_getcpuclockid(other, &other_) != 0)
            other_ = -1;
        start_ = now();
    }

    // Of one iteration, as the counter "both_ns"; none when the other process cannot be timed.
    void tell(benchmark::State &state) const
    {
        if (other_ != -1)
            state.counters["both_ns"] = (now() - start_) / static_cast<double>(state.iterations());
    }

private:
    static double nanoseconds(clockid_t clock)
    {
        timespec read{};
        clock_gettime(clock, &read);
        return static_cast<double>(read.tv_sec) * 1e9 + static_cast<double>(read.tv_nsec);
    }
    double now() const
    {
        return nanoseconds(CLOCK_PROCESS_CPUTIME_ID) + (other_ == -1 ? 0 : nanoseconds(other_));
    }

    clockid_t other_ = -1;
    double start_ = 0;
};

} // namespace bench
