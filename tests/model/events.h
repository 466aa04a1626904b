// SPDX-License-Identifier: Apache-2.0
//
// What leaves the library during one operation, in order: every platform call with its arguments
// and its answer, every callback of the client, every piece of standard output. The library writes
// the log first; the model then runs the same operation, must ask for the same things in the same
// order, and takes the answers from here. So a fault or an odd answer comes to both alike.
#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace naive
{

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i32 = std::int32_t;

struct event {
    const char *name = "";    // of the platform function or callback; compared by address
    std::array<u64, 9> in{};  // what was given: numbers, addresses, packed records
    unsigned n_in = 0;        //
    std::string text;         // what was given: the text
    u64 result = 0;           // what was answered
    std::array<u64, 3> out{}; // what was answered: outputs in the order of the arguments,
    unsigned n_out = 0;       //
    bool written = false;     // which count only when they were written
    std::string answer;       // what was answered: the text
    bool spoiled = false;     // a table or the allocator was told to fail

    void give(u64 number) { in[n_in++] = number; }
    void tell(u64 number) { out[n_out++] = number; }
};

std::string told(const event &what);

// What a callback of the printf kind is given.
std::string formatted(const char *format, std::va_list values);

// The callbacks of the client and the like, which are no platform functions.
extern const char *const heard_debug_print;
extern const char *const heard_debug_print_arg;
extern const char *const heard_error_print;
extern const char *const heard_error_cb;
extern const char *const heard_print;
extern const char *const heard_on_create;
extern const char *const heard_extn_free;
extern const char *const heard_decoder;
extern const char *const heard_nested_answer; // a query that on_create asked has come back
extern const char *const heard_stdout;

// The log of the operation that runs.
class event_log
{
public:
    void clear() { used_ = 0; }
    std::size_t size() const { return used_; }
    const event &operator[](std::size_t at) const { return events_[at]; }
    event &operator[](std::size_t at) { return events_[at]; }

    // The reference is good until the next add.
    event &add(const char *name)
    {
        if (used_ == events_.size())
            events_.emplace_back();
        event &added = events_[used_++];
        added.name = name;
        added.n_in = added.n_out = 0;
        added.written = added.spoiled = false;
        added.result = 0;
        added.text.clear();
        added.answer.clear();
        return added;
    }

private:
    std::vector<event> events_;
    std::size_t used_ = 0;
};

event_log &the_log();

} // namespace naive
