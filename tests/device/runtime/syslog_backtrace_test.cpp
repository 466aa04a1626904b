// SPDX-License-Identifier: Apache-2.0
//
// The lines of a backtrace, read from the copy that the system log's interface writes to standard
// error when it is asked to.
#include "syslog_backtrace.h"

#include <gtest/gtest.h>

#include <syslog.h>

#include <algorithm>

namespace
{

std::string logged(const char *function, uint32_t priority)
{
    openlog("backtrace-test", LOG_PERROR, LOG_USER);
    testing::internal::CaptureStderr();
    syslog_backtrace(function, priority);
    const std::string text = testing::internal::GetCapturedStderr();
    closelog();
    return text;
}

} // namespace

TEST(syslog_backtrace_lines, AreHeadedByTheFindersName)
{
    const std::string text = logged("varn_if_delete_entry", 7);
    EXPECT_EQ(text.rfind("backtrace-test: backtrace from varn_if_delete_entry, ", 0), 0u) << text;
}

TEST(syslog_backtrace_lines, AreOneForEachFrame)
{
    const std::string text = logged("finder", 7);
    const auto lines = std::count(text.begin(), text.end(), '\n');
    EXPECT_GE(lines, 3);
    const std::string announced = ", " + std::to_string(lines - 1) + " frames\n";
    EXPECT_NE(text.find(announced), std::string::npos) << text;
    EXPECT_NE(text.find("  #0 "), std::string::npos) << text;
}

TEST(syslog_backtrace_lines, HaveThePriorityThatWasAsked)
{
    setlogmask(LOG_UPTO(LOG_ERR));
    const std::string hidden = logged("finder", 7);
    const std::string shown = logged("finder", 3);
    setlogmask(LOG_UPTO(LOG_DEBUG));
    EXPECT_EQ(hidden, "");
    EXPECT_NE(shown, "");
}

TEST(syslog_backtrace_lines, StandForANamelessFinderToo)
{
    EXPECT_NE(logged(nullptr, 7).find("backtrace from ?, "), std::string::npos);
}
