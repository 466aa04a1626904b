// SPDX-License-Identifier: Apache-2.0
//
// The call stack into the system log: a line for the finder of the mistake, then a line a frame.
// Names come from dladdr, which asks for no memory; a frame whose function is not exported is told
// as its object and the offset within it, as a symbolizer takes it.
#include "syslog_backtrace.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <syslog.h>

#include <cerrno>
#include <cstddef>

namespace
{

constexpr int max_frames = 64;

size_t distance(const void *address, const void *base)
{
    return reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(base);
}

void log_frame(int priority, int number, const void *address)
{
    Dl_info info{};
    if (dladdr(address, &info) == 0 || info.dli_fname == nullptr)
        syslog(priority, "  #%d %p", number, address);
    else if (info.dli_sname == nullptr)
        syslog(priority, "  #%d %s+0x%zx", number, info.dli_fname,
               distance(address, info.dli_fbase));
    else
        syslog(priority, "  #%d %s+0x%zx (%s)", number, info.dli_sname,
               distance(address, info.dli_saddr), info.dli_fname);
}

} // namespace

void syslog_backtrace(const char *function, uint32_t priority)
{
    const int kept_errno = errno;
    const int level = LOG_PRI(static_cast<int>(priority));
    void *frames[max_frames];
    const int count = backtrace(frames, max_frames);
    syslog(level, "backtrace from %s, %d frames", function != nullptr ? function : "?", count);
    for (int i = 0; i < count; ++i)
        log_frame(level, i, frames[i]);
    errno = kept_errno;
}
