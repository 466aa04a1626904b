// SPDX-License-Identifier: Apache-2.0
//
// The configuration of a test, written as a sentence:
//
//   start(config().sync(bits(1, 2, 3, 17)).num_buckets(64).on_create());
//
// The callbacks are switched on one by one. Each of them formats what it is given, keeps it in
// heard(), and writes it into the journal, so that its place among the service calls can be seen:
//
//   debug_print("If-destroy for ...\n")                the client's trace sink
//   debug_print_arg(0x5, "...")                        with its argument
//   error_print("...")
//   error_cb(0x6, "%s:%d: %s\n", varn_init, line, "Couldn't initialize hash table\n")
//   print(0x7, "...")
//   on_create(7)   extn_free(0x11)   extn_decode0(4 bytes) = 0xa
//
// The source line that error_cb is given is the library's own affair: it is told as the word `line`
// when it is greater than 0.
#pragma once

#include "varn.h"

#include <cstdint>
#include <functional>
#include <string>

// The mask of these attribute bits.
template <typename... Bit>
constexpr std::uint64_t bits(Bit... bit)
{
    return ((std::uint64_t{1} << bit) | ... | std::uint64_t{0});
}

// All bits that an interface entry can have.
constexpr std::uint64_t all_entry_bits = 0x3FFFFFFF;

class config
{
public:
    using u32 = std::uint32_t;

    config &num_buckets(u32 value) { return record_.num_buckets = value, *this; }
    config &sync(std::uint64_t mask) { return record_.sync = mask, *this; }
    config &crit(std::uint64_t mask) { return record_.crit = mask, *this; }
    config &med(std::uint64_t mask) { return record_.med = mask, *this; }
    config &low(std::uint64_t mask) { return record_.low = mask, *this; }
    config &once(std::uint64_t mask) { return record_.once = mask, *this; }
    config &uuid(u32 value) { return record_.uuid = value, *this; }
    // The key of extension 1, 2 or 3.
    config &extn_uuid(u32 slot, u32 key) { return record_.extn_uuid[slot - 1] = key, *this; }
    // Installs a decoder: the value is the sum of the block's bytes, and 0 for no block.
    config &extn_decode(u32 slot);
    config &debug_print();
    config &debug_print_arg(std::uintptr_t arg);
    config &error_print();
    config &error_cb(std::uintptr_t arg);
    config &print();
    config &create_on_miss(u32 value) { return record_.create_on_miss = value, *this; }
    config &track_l3(u32 value) { return record_.track_l3 = value, *this; }
    config &extn_free();
    config &on_create();
    // A callback that also does something, such as to call the library again.
    config &on_create(std::function<void(u32 iod)> act);

    const varn_config_t &record() const { return record_; }

private:
    varn_config_t record_{};
};

// A trace sink as debug_print_arg installs it, for the setters of the library.
void heard_debug_print_arg(std::uintptr_t arg, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

// What the callbacks were given since the last heard(), a line each.
std::string heard();

// Forgets what was heard and what on_create is to do.
void reset_callbacks();
