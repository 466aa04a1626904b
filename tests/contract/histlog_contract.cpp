// SPDX-License-Identifier: Apache-2.0
//
// The event history as its writer sees it: a result, an errno that stays, and a record that belongs
// to the caller again.
#include "histlog.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace
{

uint32_t write_text(const char *text)
{
    const auto length = static_cast<uint32_t>(strlen(text) + 1);
    return histlog_his_log_event_for_uuid_inst(377, 121, 1, 0, length, text);
}

} // namespace

TEST(histlog_write, ARecordIsWritten) { EXPECT_EQ(write_text("a record of the contract"), 0u); }

TEST(histlog_write, ALongHistoryIsWrittenToTheEnd)
{
    for (int i = 0; i < 20000; ++i)
        ASSERT_EQ(write_text("one of very many"), 0u) << "record " << i;
}

TEST(histlog_write, TheLongestRecordOfTheCacheIsTaken)
{
    const char longest[204] = {};
    EXPECT_EQ(histlog_his_log_event_for_uuid_inst(377, 122, 2, 0, sizeof longest, longest), 0u);
}

TEST(histlog_write, ErrnoStaysAsItWas)
{
    for (const int value : {0, ENOMEM, 12345}) {
        errno = value;
        write_text("a record");
        EXPECT_EQ(errno, value);
    }
}

TEST(histlog_write, TheRecordIsNotChanged)
{
    char text[] = "belongs to the caller";
    char before[sizeof text];
    memcpy(before, text, sizeof text);
    write_text(text);
    EXPECT_EQ(memcmp(text, before, sizeof text), 0);
}
