// SPDX-License-Identifier: Apache-2.0
//
// The text of a MAC address, and the ring of eight buffers in which it stands.
#include "varn_fixture.h"

#include <array>

namespace
{

using mac_bytes = std::array<std::uint8_t, 6>;

const char *format_of(std::uint8_t last)
{
    const mac_bytes mac{0x02, 0, 0, 0, 0, last};
    return varn_format_mac(mac.data());
}

using FormatMac = varn_test;

TEST_F(FormatMac, WritesThreeGroupsOfFourLowerCaseDigits)
{
    const struct {
        mac_bytes mac;
        const char *text;
    } rows[] = {{{0x00, 0x11, 0x22, 0x33, 0x44, 0x55}, "0011.2233.4455"},
                {{0xAB, 0xCD, 0xEF, 0xFE, 0xDC, 0xBA}, "abcd.effe.dcba"},
                {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, "ffff.ffff.ffff"},
                {{0x00, 0x00, 0x00, 0x00, 0x00, 0x00}, "0000.0000.0000"},
                {{0x01, 0x02, 0x03, 0x04, 0x05, 0x06}, "0102.0304.0506"}};
    for (const auto &row : rows)
        EXPECT_STREQ(varn_format_mac(row.mac.data()), row.text);
}

TEST_F(FormatMac, KeepsEightTextsForOnePrintCall)
{
    std::array<const char *, 8> texts{};
    for (std::uint8_t at = 0; at < 8; ++at)
        texts[at] = format_of(at);
    for (unsigned at = 0; at < 8; ++at)
        EXPECT_EQ(std::string(texts[at]), "0200.0000.000" + std::to_string(at));
    EXPECT_EQ(std::set<const char *>(texts.begin(), texts.end()).size(), 8u);
}

TEST_F(FormatMac, OverwritesTheFirstTextWithTheNinth)
{
    const char *first = format_of(1);
    const char *second = format_of(2);
    for (std::uint8_t at = 3; at <= 8; ++at)
        format_of(at);
    EXPECT_STREQ(first, "0200.0000.0001");
    const char *ninth = format_of(9);
    EXPECT_EQ(ninth, first);
    EXPECT_STREQ(first, "0200.0000.0009");
    EXPECT_STREQ(second, "0200.0000.0002");
}

// However often it was called before: the ring has no end.
TEST_F(FormatMac, GoesRoundTheSameEightBuffersForEver)
{
    const char *first = format_of(0);
    for (unsigned round = 0; round < 300; ++round) {
        for (std::uint8_t at = 1; at < 8; ++at)
            ASSERT_NE(format_of(at), first);
        ASSERT_EQ(format_of(0), first);
    }
}

TEST_F(FormatMac, NeedsNoRunningCache)
{
    varn_enabled = 0;
    EXPECT_STREQ(format_of(0xFE), "0200.0000.00fe");
    EXPECT_EQ(calls(), "");
}

} // namespace
