// SPDX-License-Identifier: Apache-2.0
//
// process.cpp: what a process has of its own: memory, its event history, its threads, its system
// log; and what can be read off an if-index.
//
// The history is a file that is begun anew when it is full, so that a record stays when its writer
// is gone. $MINIMAL_PORT_HISTORY names it; without that nothing is written, and the call says so. A
// real port writes without a system call a record.
#include <execinfo.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "bitset.h"
#include "device.h"
#include "histlog.h"
#include "if_index.h"
#include "memacct.h"
#include "supvr.h"
#include "syslog_backtrace.h"
#include "thrsvc.h"

// ---- Memory: this device does not account

uint32_t memacct_init(const char *, uint32_t, const char *const *, uint32_t) { return 0; }

void *memacct_alloc(uint32_t, uint32_t, size_t size)
{
    constexpr size_t line = 64;
    return size > PTRDIFF_MAX - line ? nullptr : aligned_alloc(line, (size / line + 1) * line);
}

void memacct_free(void *block) { free(block); }

// ---- Event history

namespace
{

constexpr off_t full = 1 << 20;

bool append(int file, const iovec (&parts)[2])
{
    struct stat now;
    if (fstat(file, &now) != 0 || (now.st_size > full && ftruncate(file, 0) != 0))
        return false;
    return writev(file, parts, 2) == static_cast<ssize_t>(parts[0].iov_len + parts[1].iov_len);
}

} // namespace

uint32_t histlog_his_log_event_for_uuid_inst(uint32_t uuid, uint32_t event_id, uint32_t level,
                                             uint32_t inst, uint32_t length, const void *record)
{
    const int kept_errno = errno;
    const char *path = getenv("MINIMAL_PORT_HISTORY");
    uint32_t head[] = {uuid, event_id, level, inst, length};
    const iovec parts[] = {{head, sizeof head}, {const_cast<void *>(record), length}};
    const int file = open(path == nullptr ? "" : path,
                          O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600);
    const bool is_written = append(file, parts);
    if (file >= 0)
        close(file);
    errno = kept_errno;
    return is_written ? 0 : 2;
}

// ---- System log, threads, system manager

void syslog_backtrace(const char *function, uint32_t priority)
{
    const int kept_errno = errno;
    void *frames[32];
    const int count = backtrace(frames, 32);
    syslog(LOG_PRI(static_cast<int>(priority)), "backtrace from %s", function);
    for (int n = 0; n < count; ++n)
        syslog(LOG_PRI(static_cast<int>(priority)), "  #%d %p", n, frames[n]);
    errno = kept_errno;
}

// Asked each time: a thread that forks is another one in the child.
uint32_t thrsvc_get_thread_pid(void) { return static_cast<uint32_t>(gettid()); }

uint16_t supvr_vinst_get(void) { return 1; }

// ---- Bits and if-indexes

uint32_t bitset_is_bit_set(const bitset_t *set, uint32_t bit)
{
    return set != nullptr && bit < 64 ? set->word[bit / 32] >> bit % 32 & 1 : 0;
}

// The type is the top byte. What is below it is the iod, or instance and VLAN of a VLAN's
// interface; it is never 0.
uint32_t if_index_get_type(uint32_t if_index, uint8_t *type)
{
    const uint32_t top = if_index >> 24;
    const bool is_named = top == IF_INDEX_TYPE_MGMT || top == IF_INDEX_TYPE_CBUS ||
                          top == IF_INDEX_TYPE_SVI || top == IF_INDEX_TYPE_PC ||
                          top == IF_INDEX_TYPE_GRE || top == IF_INDEX_TYPE_PHYSICAL;
    const bool is_own = top >= minimal::loopback && top <= minimal::dci_overlay;
    if ((!is_named && !is_own) || (if_index & 0xFFFFFF) == 0)
        return 2;
    *type = static_cast<uint8_t>(top);
    return 0;
}

uint32_t if_index_vlan_port_init(uint32_t *if_index, uint16_t vlan, uint32_t arg)
{
    if (vlan < 1 || vlan > 4094 || arg > 0xFFF)
        return 2;
    *if_index = uint32_t{IF_INDEX_TYPE_SVI} << 24 | arg << 12 | vlan;
    return 0;
}
