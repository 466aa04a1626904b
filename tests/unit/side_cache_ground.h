// SPDX-License-Identifier: Apache-2.0
//
// The ground of the tests of the two side caches: a small world with a port-channel, its ports and
// a VLAN with its SVI; a client that hears errors; and a journal that tells services, tables,
// allocations, types and messages in one. A report stands there as two lines, the client's callback
// and the event history; a trace as one. After each test every record of the history is checked for
// the client's uuid, the library's event id, and the code and the length that belong to it.
#pragma once

#include "log_lines.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace side_cache
{

using u8 = std::uint8_t;
using u16 = std::uint16_t;

constexpr u32 channel = 0x16000003;
constexpr u32 uplink = 0x1a000007;

// A piece of a dump, as the print callback is given it by a caller whose argument is 7.
inline std::string printed(const std::string &text)
{
    return spell("print(0x7, ", quoted(text.c_str()), ")");
}

// A warning with the word `line` for its source line, which is the library's own affair.
inline std::string without_source_line(const std::string &warning)
{
    const std::size_t from = warning.find('[') + 1, to = warning.find(']');
    if (to == std::string::npos || to <= from)
        return warning;
    const std::string number = warning.substr(from, to - from);
    const bool is_number = number.find_first_not_of("0123456789") == std::string::npos;
    return warning.substr(0, from) + (is_number ? "line" : number) + warning.substr(to);
}

// What an act writes on standard output, where "[told]" stands for a record of the event history.
inline std::string stdout_and_history(const std::function<void()> &act)
{
    on(histlog_his_log_event_for_uuid_inst).does([](u32, u32, u32, u32, u32, const void *) {
        std::printf("[told]");
        return 0u;
    });
    return captured_stdout(act);
}

class ground : public varn_test
{
protected:
    ground()
    {
        given(port_channel(3).members({0x1a000001, 0x1a000002}), port(1), port(2));
        given(port(7).in_channel(channel), port(8), vlan(20), svi(20));
    }

    // A running cache that keeps these attributes.
    void run(u64 sync) { run_with(config().sync(sync)); }
    void run_with(config with)
    {
        start(with.uuid(0x11).error_cb(6).print());
        varn_error_cb = 1;
        for (const family each : {tables, allocations, messages, types})
            record(each);
    }

    // From here on the library is switched off in the one word that most operations look at.
    static void switch_off() { varn_enabled = 0; }
    static void cache(u64 sync) { varn.config.sync = sync; }

    static void check_log_records()
    {
        for (const history_record &each : history()) {
            SCOPED_TRACE(each.text);
            EXPECT_EQ(each.uuid, 0x11u);
            EXPECT_EQ(each.event_id, 0x730000u);
            EXPECT_EQ(each.inst, 0u);
            EXPECT_EQ(each.code, each.level == 2 ? 122u : 121u);
            EXPECT_EQ(each.length, each.text.size() + 5);
        }
    }

    // A zeroed record of a side cache that the test files itself, counted as an allocation.
    template <typename Record>
    Record *loose_record(u32 type, u64 &allocations_counter)
    {
        void *made = on(memacct_alloc).by_default(544, type, sizeof(Record));
        std::memset(made, 0, sizeof(Record));
        ++allocations_counter;
        forget_counters();
        return static_cast<Record *>(made);
    }

    void TearDown() override
    {
        check_log_records();
        varn_test::TearDown();
    }
};

} // namespace side_cache
