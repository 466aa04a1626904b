// SPDX-License-Identifier: Apache-2.0
//
// The name of an interface: asked every time, by the if-index that the entry saves looking up, into
// ten buffers of 255 bytes that are used in turn.
#include "query_ground.h"

#include <set>
#include <utility>
#include <vector>

namespace
{

constexpr std::size_t buffers = 10;
constexpr const char *asked_name = "ifsvc_get_ifindex_name(0x1a000007, 255) = 0 -> \"eth7\"";

class GetIfName : public query_test
{
protected:
    void expect_passed_on(const std::string &requests)
    {
        EXPECT_STREQ(varn_ifsvc_get_if_name(7), "lent name");
        EXPECT_EQ(calls(), requests);
        EXPECT_EQ(counters_moved(), "misses[25] +1");
        EXPECT_EQ(entries(), 0u);
    }
    void start_with_lent_name(u64 sync)
    {
        start_with(sync);
        on(ifsvc_get_if_name).of(7).answers("lent name");
    }
    static constexpr const char *passed = "ifsvc_get_if_name(7) = \"lent name\"";
};

TEST_F(GetIfName, WithTheIodNotCachedGoesToItsService)
{
    start_with_lent_name(everything & ~bits(1));
    expect_passed_on(passed);
}

TEST_F(GetIfName, WithTheNameNotCachedGoesToItsService)
{
    start_with_lent_name(everything & ~bits(14));
    expect_passed_on(passed);
}

TEST_F(GetIfName, OfAnIodWithoutAnEntryToBeHadGoesToItsService)
{
    start_with_lent_name(everything);
    gone(7);
    expect_passed_on(lines(asked_unknown_iod, passed));
}

TEST_F(GetIfName, ThatIsPassedOnIsTheServicesOwnText)
{
    static const char *const own = "own";
    start_with(0);
    on(ifsvc_get_if_name).answers(own);
    EXPECT_EQ(varn_ifsvc_get_if_name(7), own);
}

TEST_F(GetIfName, OfAnIodWithoutEntryCreatesItAndAsksByItsIfIndex)
{
    start_with_lent_name(bits(1, 14));
    EXPECT_STREQ(varn_ifsvc_get_if_name(7), "eth7");
    EXPECT_EQ(calls(), lines(asked_if_index, asked_first_mtu, asked_name));
    EXPECT_EQ(counters_moved(), "hits[25] +1, " + std::string(counted_creation));
}

TEST_F(GetIfName, IsAskedEachTimeAndCountsAHitWhateverTheDirtyBitDeliberately)
{
    start_with_lent_name(bits(1, 14));
    varn_if_entry_t &kept = filled(7);
    for (const u64 dirty : {bits(14), u64{0}}) {
        kept.dirty = dirty;
        EXPECT_STREQ(varn_ifsvc_get_if_name(7), "eth7");
        EXPECT_EQ(calls(), asked_name);
        EXPECT_EQ(counters_moved(), "hits[25] +1");
        EXPECT_EQ(u64{kept.dirty}, dirty);
    }
}

TEST_F(GetIfName, IsTheNameOfNow)
{
    start_with(bits(1, 14));
    filled(7);
    EXPECT_STREQ(varn_ifsvc_get_if_name(7), "eth7");
    the(7).name("renamed");
    EXPECT_STREQ(varn_ifsvc_get_if_name(7), "renamed");
}

TEST_F(GetIfName, ThatCannotBeHadIsAnEmptyTextAndAHit)
{
    start_with(bits(1, 14));
    filled(7);
    for (std::size_t turn = 0; turn < buffers; ++turn) // so that each buffer held a name before
        varn_ifsvc_get_if_name(7);
    forget_all();
    on(ifsvc_get_ifindex_name).fails(0x41);
    EXPECT_STREQ(varn_ifsvc_get_if_name(7), "");
    EXPECT_EQ(calls(), "ifsvc_get_ifindex_name(0x1a000007, 255) = 0x41");
    EXPECT_EQ(counters_moved(), "hits[25] +1");
}

TEST_F(GetIfName, StaysGoodFor9FurtherCallsAndIsOverwrittenByThe10th)
{
    start_with(bits(1, 14));
    filled(7);
    const char *first = varn_ifsvc_get_if_name(7);
    std::set<const char *> all = {first};
    for (std::size_t turn = 1; turn < buffers; ++turn) {
        the(7).name("name" + std::to_string(turn));
        all.insert(varn_ifsvc_get_if_name(7));
        EXPECT_STREQ(first, "eth7");
    }
    EXPECT_EQ(all.size(), buffers);
    the(7).name("eleventh");
    EXPECT_EQ(varn_ifsvc_get_if_name(7), first);
    EXPECT_STREQ(first, "eleventh");
}

TEST_F(GetIfName, OfTheLongestKindDoesNotReachItsNeighbours)
{
    start_with(bits(1, 14));
    filled(7);
    std::vector<std::pair<const char *, std::string>> names;
    for (std::size_t turn = 0; turn < buffers; ++turn) {
        names.emplace_back("", std::string(254, static_cast<char>('a' + turn)));
        the(7).name(names.back().second);
        names.back().first = varn_ifsvc_get_if_name(7);
    }
    for (const auto &[text, expected] : names)
        EXPECT_EQ(text, expected);
}

TEST_F(GetIfName, ThatIsPassedOnDoesNotTurnTheRing)
{
    start_with(bits(1, 14));
    filled(7);
    const char *first = varn_ifsvc_get_if_name(7);
    for (std::size_t turn = 1; turn < buffers; ++turn) {
        varn_ifsvc_get_if_name(8);
        EXPECT_NE(varn_ifsvc_get_if_name(7), first);
    }
    varn_ifsvc_get_if_name(8);
    EXPECT_EQ(varn_ifsvc_get_if_name(7), first);
}

} // namespace
