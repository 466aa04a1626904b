// SPDX-License-Identifier: Apache-2.0
//
// cache.cpp: configuration, sinks, and the attempt.
#include "cache.h"

#include <cstdarg>
#include <cstdio>

#include "follower.h"
#include "ht.h"
#include "varn_device.h"

namespace shell
{
namespace
{

// What comes and goes while an interface lives, and what its clients attached to it.
constexpr u64 flush_states =
    VARN_MASK(VARN_BIT_LINKUP) | VARN_MASK(VARN_BIT_PROTOUP) | VARN_MASK(VARN_BIT_AGGSVC_IF);
constexpr u64 flush_extensions = VARN_MASK(VARN_BIT_EXTN) | VARN_MASK(VARN_BIT_EXTN1) |
                                 VARN_MASK(VARN_BIT_EXTN2) | VARN_MASK(VARN_BIT_EXTN3);

void print_trace(uintptr_t, const char *format, ...)
{
    va_list values;
    va_start(values, format);
    std::fputs("trace: ", stderr);
    std::vfprintf(stderr, format, values);
    va_end(values);
}

void print_report(uintptr_t, const char *, const char *function, int, const char *text)
{
    std::fprintf(stderr, "report: %s: %s", function, text);
}

// The library writes dumps and statistics with it.
void print_dump(uintptr_t, const char *format, ...)
{
    va_list values;
    va_start(values, format);
    std::vprintf(format, values);
    va_end(values);
}

// That an interface lacks a value is an answer; everything else leaves a question open.
bool leaves_open(u32 code) { return code != VARN_DEVICE_OK && code != VARN_DEVICE_E_NO_VALUE; }

} // namespace

bool start_cache(bool with_traces)
{
    varn_config_t config{};
    config.sync = VARN_MASK(VARN_BIT_PC + 1) - 1;
    config.crit = config.sync & ~VARN_MASK(VARN_BIT_IOD); // as follower.h asks
    config.med = flush_states;
    config.low = flush_extensions;
    config.uuid = own_uuid;
    for (u32 n = 0; n < 3; ++n)
        config.extn_uuid[n] = own_uuid + 1 + n;
    config.error_cb = print_report;
    config.print = print_dump;
    if (with_traces)
        config.debug_print_arg = print_trace;
    varn_error_cb = with_traces;
    return varn_init(&config) == 1;
}

// The library's clean-up leaves the entries to the client, and while the cache is off none can be
// removed.
void end_cache()
{
    if (varn_is_enabled() != 1)
        varn_restore_cache();
    forget_everything();
    varn_cleanup();
}

// A stale iod bit would make every later question of identity refresh the whole entry.
u64 askable()
{
    return varn.config.sync &
           ~(VARN_MASK(VARN_BIT_IF_INDEX) | VARN_MASK(VARN_BIT_IOD) | VARN_MASK(VARN_BIT_IF_TYPE));
}

varn_if_entry_t *entry_at_hand(u32 iod)
{
    return static_cast<varn_if_entry_t *>(ht_lookup(&varn.iod_table, &iod));
}

attempt::attempt(u32 iod) : iod_(iod), was_there_(false), dirty_(0)
{
    varn_device_clear_error();
    const varn_if_entry_t *entry = entry_at_hand(iod);
    was_there_ = entry != nullptr;
    if (was_there_)
        dirty_ = entry->dirty;
}

std::string attempt::failure()
{
    if (!leaves_open(varn_device_last_error()))
        return {};
    std::string reason = varn_device_last_error_text();
    varn_if_entry_t *entry = entry_at_hand(iod_);
    if (entry != nullptr && was_there_)
        entry->dirty |= dirty_;
    else if (entry != nullptr)
        varn_if_remove_entry_by_iod(iod_);
    return reason;
}

} // namespace shell
