// SPDX-License-Identifier: Apache-2.0
//
// The private data behind slot 0: what its owner pushes into the cache, and the query that gives
// the decoded value and the size of the block it came from.
#include "extension_ground.h"

namespace
{

constexpr u64 slot_cached = bits(1, 5);

class UpdatePrivateData : public extension_test
{
protected:
    void expect_ignored()
    {
        EXPECT_EQ(varn_ifsvc_update_private_data(7, 0x99, 0x71, 12), 1u);
        EXPECT_EQ(calls(), "");
        EXPECT_EQ(counters_moved(), "");
        EXPECT_EQ(history_text(), "");
        EXPECT_TRUE(records_in(&varn.if_table).empty());
    }
};

TEST_F(UpdatePrivateData, WithTheIodNotCachedReturns1AndDoesNothing)
{
    start(with_keys(slot_cached & ~bits(1)).extn_decode(0));
    expect_ignored();
}

TEST_F(UpdatePrivateData, WithTheSlotNotCachedReturns1AndDoesNothing)
{
    start(with_keys(slot_cached & ~bits(5)).extn_decode(0));
    expect_ignored();
}

TEST_F(UpdatePrivateData, WithoutDecoderReturns1AndDoesNothing)
{
    start(with_keys(slot_cached).extn_decode(1).extn_decode(2).extn_decode(3));
    expect_ignored();
}

TEST_F(UpdatePrivateData, WithoutDecoderLeavesAStandingEntryAsItWas)
{
    start(with_keys(slot_cached));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(5);
    const varn_if_entry_t before = entry;
    EXPECT_EQ(varn_ifsvc_update_private_data(7, 0x99, 0x71, 12), 1u);
    EXPECT_EQ(std::memcmp(&entry, &before, sizeof entry), 0);
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(UpdatePrivateData, WhileDisabledReturns1AndDoesNothing)
{
    start(with_keys(slot_cached).extn_decode(0));
    varn_disable_cache();
    expect_ignored();
}

TEST_F(UpdatePrivateData, OfAnIodThatHasNoEntryReturns0)
{
    start(with_keys(slot_cached).extn_decode(0));
    gone(7);
    EXPECT_EQ(varn_ifsvc_update_private_data(7, 0x99, 0x71, 12), 0u);
    EXPECT_EQ(calls(), "ifsvc_get_ifindex_frm_iod(7) = 0x40040004");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(UpdatePrivateData, StoresValueAndSizeAndMarksThemClean)
{
    start(with_keys(slot_cached).extn_decode(0));
    varn_if_entry_t &entry = standing();
    entry.dirty = ~u64{0};
    varn_if_entry_t expected = entry;
    expected.extn[0] = 0x80000071;
    expected.extn_size[0] = 0x10000;
    expected.dirty = ~bits(5);

    EXPECT_EQ(varn_ifsvc_update_private_data(7, 0x99, 0x80000071, 0x10000), 1u);

    EXPECT_EQ(std::memcmp(&entry, &expected, sizeof entry), 0);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "updates[6] +1");
}

TEST_F(UpdatePrivateData, ToZeroIsCleanUntilTheNextRead)
{
    start(with_keys(slot_cached).extn_decode(0));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(5);
    EXPECT_EQ(varn_ifsvc_update_private_data(7, 0x99, 0, 0), 1u);
    EXPECT_EQ(dirty(&entry), 0u);
    u32 size = 9;
    EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), 0u);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(dirty(&entry), bits(5));
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[6] +1, updates[6] +1");
}

TEST_F(UpdatePrivateData, OfAnIodWithoutEntryCreatesItFirst)
{
    start(with_keys(slot_cached).extn_decode(0));
    EXPECT_EQ(varn_ifsvc_update_private_data(7, 0x99, 0x71, 12), 1u);
    ASSERT_NE(entry(7), nullptr);
    EXPECT_EQ(entry(7)->extn[0], 0x71u);
    EXPECT_EQ(entry(7)->extn_size[0], 12u);
    EXPECT_EQ(dirty(entry(7)), 0u);
    EXPECT_EQ(counters_moved(),
              "updates[6] +2, if_allocs +1, if_index.inserts +1, iod_index.inserts +1");
}

// ---- the query ----

class GetPrivateData : public extension_test
{
protected:
    u32 size = 0xAAAA;
    static const std::uint8_t block[4];
};

const std::uint8_t GetPrivateData::block[4] = {1, 2, 3, 4};

TEST_F(GetPrivateData, WhenDirtyDeliberatelyAsksUnderTheConfiguredKeyAndNotTheCallers)
{
    start(with_keys(slot_cached).extn_decode(0));
    the(7).private_data(0x11, {4, 4, 4}).private_data(0x99, {1});
    varn_if_entry_t &entry = standing();
    varn_if_entry_t expected = entry;
    entry.dirty = ~u64{0};
    expected.extn[0] = 12;
    expected.extn_size[0] = 3;
    expected.dirty = ~bits(5);

    EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), 12u);

    EXPECT_EQ(size, 3u);
    EXPECT_EQ(calls(),
              lines("ifsvc_get_private_data(7, 0x11) = block -> 3", "extn_decode0(3 bytes) = 0xc"));
    EXPECT_EQ(counters_moved(), "misses[6] +1");
    EXPECT_EQ(std::memcmp(&entry, &expected, sizeof entry), 0);
}

TEST_F(GetPrivateData, OfAZeroValueAsksAgainEachTime)
{
    start(with_keys(slot_cached).extn_decode(0));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(5);
    for (const char *which : {"first", "second"}) {
        SCOPED_TRACE(which);
        EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), 0u);
        EXPECT_EQ(size, 0u);
        EXPECT_EQ(calls(),
                  lines("ifsvc_get_private_data(7, 0x11) = 0 -> 0", "extn_decode0(0 bytes) = 0x0"));
        EXPECT_EQ(counters_moved(), "misses[6] +1");
        EXPECT_EQ(dirty(&entry), bits(5));
    }
}

TEST_F(GetPrivateData, WhenCleanGivesValueAndSizeAndAsksNobody)
{
    start(with_keys(slot_cached).extn_decode(0));
    const varn_if_entry_t &entry = standing();
    EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), 0xE0u);
    EXPECT_EQ(size, 40u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[6] +1");
    EXPECT_EQ(dirty(&entry), 0u);
}

TEST_F(GetPrivateData, OfACleanZeroCountsAHitAndMarksItDirty)
{
    start(with_keys(slot_cached).extn_decode(0));
    varn_if_entry_t &entry = standing();
    entry.extn[0] = 0;
    EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), 0u);
    EXPECT_EQ(size, 40u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[6] +1");
    EXPECT_EQ(dirty(&entry), bits(5));
}

TEST_F(GetPrivateData, OfAnIodWithoutEntryCreatesItAndAnswersFromIt)
{
    start(with_keys(slot_cached).extn_decode(0));
    the(7).private_data(0x11, {4, 4, 4}).private_data(0x99, {1});
    EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), 12u);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(calls(),
              lines("ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007", "ifsvc_get_if_mtu(7) = 1500",
                    "ifsvc_get_private_data(7, 0x11) = block -> 3", "extn_decode0(3 bytes) = 0xc"));
    EXPECT_EQ(counters_moved(), "hits[6] +1, updates[6] +1, if_allocs +1, if_index.inserts +1, "
                                "iod_index.inserts +1");
}

TEST_F(GetPrivateData, OfAnIodThatHasNoEntryDecodesWhatStandsUnderTheCallersKey)
{
    start(with_keys(slot_cached).extn_decode(0));
    the(7).private_data(0x11, {4, 4, 4}).private_data(0x99, {1, 1});
    on(ifsvc_get_ifindex_frm_iod).fails(0x41);
    EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), 2u);
    EXPECT_EQ(size, 2u);
    EXPECT_EQ(calls(),
              lines("ifsvc_get_ifindex_frm_iod(7) = 0x41",
                    "ifsvc_get_private_data(7, 0x99) = block -> 2", "extn_decode0(2 bytes) = 0x2"));
    EXPECT_EQ(counters_moved(), "misses[6] +1");
}

TEST_F(GetPrivateData, WithAGateClosedDecodesWhatStandsUnderTheCallersKey)
{
    for (const u64 sync : {bits(1), bits(5), u64{0}}) {
        SCOPED_TRACE(sync);
        start(with_keys(sync).extn_decode(0));
        the(7).private_data(0x11, {4, 4, 4}).private_data(0x99, {1, 1});
        EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), 2u);
        EXPECT_EQ(size, 2u);
        EXPECT_EQ(calls(), lines("ifsvc_get_private_data(7, 0x99) = block -> 2",
                                 "extn_decode0(2 bytes) = 0x2"));
        EXPECT_EQ(counters_moved(), "misses[6] +1");
        EXPECT_TRUE(records_in(&varn.if_table).empty());
    }
}

TEST_F(GetPrivateData, WithoutDecoderPassesTheBlockOnWhateverTheEntryHolds)
{
    start(with_keys(slot_cached).extn_decode(1));
    varn_if_entry_t &entry = standing();
    const varn_if_entry_t before = entry;
    const auto address = reinterpret_cast<std::uintptr_t>(&block);
    on(ifsvc_get_private_data).of(7, 0x99).answers(address, 4);

    EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), address);

    EXPECT_EQ(size, 4u);
    EXPECT_EQ(calls(), "ifsvc_get_private_data(7, 0x99) = block -> 4");
    EXPECT_EQ(counters_moved(), "misses[6] +1");
    EXPECT_EQ(std::memcmp(&entry, &before, sizeof entry), 0);
}

TEST_F(GetPrivateData, WithoutDecoderPassesEveryBitOfAnAddressOn)
{
    start(with_keys(0));
    const auto address = ~std::uintptr_t{0} - 0xF;
    on(ifsvc_get_private_data).of(7, 0x99).answers(address, 4);
    EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), address);
    EXPECT_EQ(counters_moved(), "misses[6] +1");
}

TEST_F(GetPrivateData, WithoutDecoderAndDataGives0AndSize0)
{
    start(with_keys(slot_cached));
    EXPECT_EQ(varn_ifsvc_get_private_data(7, 0x99, &size), 0u);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(counters_moved(), "misses[6] +1");
}

} // namespace
