// SPDX-License-Identifier: Apache-2.0
//
// The backtrace never disturbs its caller.
#include "syslog_backtrace.h"

#include <gtest/gtest.h>

#include <cerrno>

TEST(syslog_backtrace, ErrnoStaysAsItWas)
{
    for (const int value : {0, ENOMEM, 12345}) {
        errno = value;
        syslog_backtrace("contract", 7);
        EXPECT_EQ(errno, value);
    }
}
