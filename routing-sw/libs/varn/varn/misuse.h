// SPDX-License-Identifier: Apache-2.0
//
// What the contract leaves to the caller (the list in varn.h, "What is the caller's fault"), looked
// at in debug builds only: they stop with a message that names the function and the rule. With
// NDEBUG every line of it is gone, and so is its cost.
//
// An exported function begins with VISIT (the two that start and stop with ENTER). It says with
// WORK_ON which entry it must find again after a callback, and with WALK that it walks a table. Who
// calls a callback of the client says so with CALL_OUT: what then comes in from deeper than that is
// the client's doing, while the library itself may remove what it works on.
#ifndef VARN_MISUSE_H
#define VARN_MISUSE_H

#include "../varn.h"

#ifdef NDEBUG

#define MUST(rule, condition) static_cast<void>(0)
#define VISIT()               static_cast<void>(0)
#define ENTER()               static_cast<void>(0)
#define CLEANED_UP(is)        static_cast<void>(0)
#define CALL_OUT()            static_cast<void>(0)
#define CALL_ON_CREATE()      static_cast<void>(0)
#define WORK_ON(entry)        static_cast<void>(0)
#define WALK()                static_cast<void>(0)

#else

namespace ifcache
{

[[noreturn]] void stop(const char *function, const char *rule);

// Rule 4: while a visit lasts no other thread comes in.
struct visit {
    explicit visit(const char *function);
    ~visit();
    visit(const visit &) = delete;
    visit &operator=(const visit &) = delete;
};
void expect_no_cleanup(const char *function); // rule 5
void set_cleaned_up(bool is);

// A callback of the client runs while it lasts.
struct call_out {
    explicit call_out(bool of_on_create);
    ~call_out();
    call_out(const call_out &) = delete;
    call_out &operator=(const call_out &) = delete;

    const bool is_on_create;
};

// Rule 8. on_create may switch, where no other callback is around it.
bool may_start();
bool may_switch();

// Rule 6: while it lasts no callback removes the entry. Of any of the three kinds; null is no entry.
// Nested by callbacks, so each knows the one around it.
struct work {
    explicit work(const void *on);
    ~work();
    work(const work &) = delete;
    work &operator=(const work &) = delete;

    const void *entry;
    unsigned depth; // of callbacks
    const work *around;
};
bool is_worked_on(const void *entry);

// Rule 7: while it lasts no entry comes, moves or goes.
struct walk_guard {
    walk_guard();
    ~walk_guard();
    walk_guard(const walk_guard &) = delete;
    walk_guard &operator=(const walk_guard &) = delete;
};
bool is_walking();

} // namespace ifcache

#define MISUSE_JOINED(a, b) a##b
#define MISUSE_NAMED(a, b)  MISUSE_JOINED(a, b)

#define MUST(rule, condition) ((condition) ? static_cast<void>(0) : ifcache::stop(__func__, rule))
#define VISIT()                                                                                    \
    const ifcache::visit visiting(__func__);                                                       \
    ifcache::expect_no_cleanup(__func__)
#define ENTER()          const ifcache::visit visiting(__func__)
#define CLEANED_UP(is)   ifcache::set_cleaned_up(is)
#define CALL_OUT()       const ifcache::call_out calling_out(false)
#define CALL_ON_CREATE() const ifcache::call_out calling_out(true)
#define WORK_ON(entry)   const ifcache::work MISUSE_NAMED(working_, __LINE__)(entry)
#define WALK()           const ifcache::walk_guard walking

#endif

// The rules, by their numbers in varn.h.
#define RULE_RBH      "rule 1: the hash bucket is 0 to 15"
#define RULE_IOD      "rule 2: the iod is below 32768"
#define RULE_NULL     "rule 3: a null pointer where none is allowed"
#define RULE_THREADS  "rule 4: two threads in the library at once"
#define RULE_CLEANUP  "rule 5: called between varn_cleanup and varn_init"
#define RULE_WORKED   "rule 6: a callback removed the entry that the call works on"
#define RULE_WALKING  "rule 7: a callback changed the tables while one is printed or flushed"
#define RULE_SWITCHED "rule 8: a callback started, stopped or switched the cache"

#endif
