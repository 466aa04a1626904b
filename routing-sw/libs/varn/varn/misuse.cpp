// SPDX-License-Identifier: Apache-2.0
//
// The state behind misuse.h. A thread is known by the address of its errno, which needs nothing but
// libc. All but the first word is read and written only by the thread that is inside.
#include "misuse.h"

#ifndef NDEBUG

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace ifcache
{

namespace
{

const int *visitor; // the errno of the thread inside, or null
unsigned visits;    // how deep it is: callbacks and the library itself call in again
unsigned calls_out; // how many callbacks are running
unsigned calls_of_on_create;
unsigned walks;
const work *innermost_work;
bool is_cleaned_up;

} // namespace

void stop(const char *function, const char *rule)
{
    std::fprintf(stderr, "varn: %s: %s\n", function, rule);
    std::abort();
}

visit::visit(const char *function)
{
    const int *nobody = nullptr;
    if (!__atomic_compare_exchange_n(&visitor, &nobody, &errno, false, __ATOMIC_ACQ_REL,
                                     __ATOMIC_ACQUIRE) &&
        nobody != &errno)
        stop(function, RULE_THREADS);
    ++visits;
}

visit::~visit()
{
    if (--visits == 0)
        __atomic_store_n(&visitor, nullptr, __ATOMIC_RELEASE);
}

// Whoever puts the exported objects back to zero by hand starts from the beginning, and while the
// cache is off nothing of it is used.
void expect_no_cleanup(const char *function)
{
    if (is_cleaned_up && varn_enabled && varn.config.num_buckets != 0)
        stop(function, RULE_CLEANUP);
}

void set_cleaned_up(bool is) { is_cleaned_up = is; }

call_out::call_out(bool of_on_create) : is_on_create(of_on_create)
{
    ++calls_out;
    calls_of_on_create += is_on_create;
}

call_out::~call_out()
{
    --calls_out;
    calls_of_on_create -= is_on_create;
}

bool may_start() { return calls_out == 0; }
bool may_switch() { return calls_out == 0 || (calls_out == 1 && calls_of_on_create == 1); }

work::work(const void *on) : entry(on), depth(calls_out), around(innermost_work)
{
    innermost_work = this;
}

work::~work() { innermost_work = around; }

bool is_worked_on(const void *entry)
{
    for (const work *each = innermost_work; entry && each; each = each->around)
        if (each->entry == entry && each->depth < calls_out)
            return true;
    return false;
}

walk_guard::walk_guard() { ++walks; }
walk_guard::~walk_guard() { --walks; }
bool is_walking() { return walks != 0; }

} // namespace ifcache

#endif
