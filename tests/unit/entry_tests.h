// SPDX-License-Identifier: Apache-2.0
//
// The ground of the tests of creation, removal and refresh: a cache whose client hears errors, and
// a journal that tells services, tables, allocations, types, backtraces and messages in one. A
// report stands there as two lines, the client's callback and the event history.
//
// That an iod was found may be known to the library without the table, so the line of a found one
// is not told; that none was found is always the table's word.
#pragma once

#include "log_lines.h"

#include <cstring>
#include <sstream>

// How every refresh of port 7 begins.
inline const std::string refresh_of_7_began =
    lines(traced("Varn-update for if-index 0x1a000007, iod 7\n"),
          "if_index_get_type(0x1a000007) = 0 -> 26");

// The text joined from its parts, without those that are empty.
inline std::string joined(const std::vector<std::string> &parts)
{
    std::string all;
    for (const std::string &part : parts)
        all += all.empty() || part.empty() ? part : '\n' + part;
    return all;
}

// The mask by value: in the record it is aligned to 4 bytes, which no reference to it may be.
inline u64 dirty_of(const varn_if_entry_t *which) { return which->dirty; }

class entry_test : public varn_test
{
protected:
    // A running cache that keeps these attributes.
    void start_caching(u64 sync) { start_with(config().sync(sync)); }
    void start_with(config with)
    {
        start(with.uuid(0x11).error_cb(6));
        varn_error_cb = 1;
        for (const family each : {tables, allocations, messages, types, backtraces})
            record(each);
    }

    // A new entry of the world's interface with this iod; the journal begins anew.
    varn_if_entry_t *created(u32 iod)
    {
        varn_if_entry_t *made = varn_if_create_entry_by_iod(iod);
        EXPECT_NE(made, nullptr) << "iod " << iod;
        forget_all();
        return made;
    }

    // The journal, without the lines of found iods.
    static std::string seen()
    {
        std::istringstream all(calls());
        std::vector<std::string> kept;
        for (std::string line; std::getline(all, line);)
            if (!(line.starts_with("ht_lookup(Iod,") && line.ends_with(" = found")))
                kept.push_back(line);
        return joined(kept);
    }

    // Every record of the log has the client's uuid, the library's event id and its true length.
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

    void TearDown() override
    {
        check_log_records();
        varn_test::TearDown();
    }
};
