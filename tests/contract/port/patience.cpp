// SPDX-License-Identifier: Apache-2.0
//
// patience.cpp: a test that hangs, in a loop of the port or in a request without an end, ends the
// program after two minutes, or after the seconds of $VARN_CONTRACT_PATIENCE. Whoever started it
// knows which test was the last.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>

namespace
{

unsigned patience()
{
    const char *seconds = std::getenv("VARN_CONTRACT_PATIENCE");
    return seconds == nullptr ? 120 : static_cast<unsigned>(std::strtoul(seconds, nullptr, 10));
}

class alarm_clock final : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo &) override { alarm(patience()); }
    void OnTestEnd(const testing::TestInfo &) override { alarm(0); }
};

// The framework owns its listeners.
const bool is_set = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new alarm_clock);
    return true;
}();

} // namespace
