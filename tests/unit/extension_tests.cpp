// SPDX-License-Identifier: Apache-2.0
//
// The getters, testers and setters of the four extension slots: each rule is run over all of them.
#include "extension_ground.h"

namespace
{

class ExtensionSlot : public extension_test, public testing::WithParamInterface<extension_slot>
{
protected:
    // What a query does that does not come to the cache: one question, one miss, no entry.
    void expect_passed_on(const std::string &requests)
    {
        EXPECT_EQ(calls(), requests);
        EXPECT_EQ(counters_moved(), counted("misses", row.counter));
        EXPECT_TRUE(records_in(&varn.if_table).empty());
    }

    // Nothing but this slot's value, its size and the dirty mask differs.
    void expect_only_this_slot_changed(const varn_if_entry_t &now, varn_if_entry_t before)
    {
        before.extn[row.number] = now.extn[row.number];
        before.extn_size[row.number] = now.extn_size[row.number];
        before.dirty = now.dirty;
        EXPECT_EQ(std::memcmp(&now, &before, sizeof now), 0);
    }

    const extension_slot &row = GetParam();
};

using GetExtension = ExtensionSlot;
using IsExtensionSet = ExtensionSlot;
using SetExtension = ExtensionSlot;

// ---- getters ----

TEST_P(GetExtension, WithTheIodNotCachedGoesToItsService)
{
    start(with_keys(all_slots_cached & ~bits(1)));
    on(ifsvc_get_extension).of(7, 0x99).answers(0x56);
    EXPECT_EQ(row.get(7, 0x99), 0x56u);
    expect_passed_on("ifsvc_get_extension(7, 0x99) = 0x56");
}

TEST_P(GetExtension, WithTheSlotNotCachedGoesToItsService)
{
    start(with_keys(all_slots_cached & ~bits(row.bit)));
    on(ifsvc_get_extension).of(7, 0x99).answers(0x56);
    EXPECT_EQ(row.get(7, 0x99), 0x56u);
    expect_passed_on("ifsvc_get_extension(7, 0x99) = 0x56");
}

TEST_P(GetExtension, WhileDisabledGoesToItsService)
{
    start(with_keys(all_slots_cached));
    varn_disable_cache();
    on(ifsvc_get_extension).of(7, 0x99).answers(0x56);
    EXPECT_EQ(row.get(7, 0x99), 0x56u);
    expect_passed_on("ifsvc_get_extension(7, 0x99) = 0x56");
}

TEST_P(GetExtension, OfAnIodThatHasNoEntryGoesToItsService)
{
    start(with_keys(all_slots_cached));
    gone(7);
    on(ifsvc_get_extension).of(7, 0x99).answers(0x56);
    EXPECT_EQ(row.get(7, 0x99), 0x56u);
    expect_passed_on(
        lines("ifsvc_get_ifindex_frm_iod(7) = 0x40040004", "ifsvc_get_extension(7, 0x99) = 0x56"));
}

TEST_P(GetExtension, WhenDirtyAsksUnderTheCallersKeyAndKeepsTheValue)
{
    start(with_keys(all_slots_cached));
    varn_if_entry_t &entry = standing();
    const varn_if_entry_t before = entry;
    entry.dirty = ~u64{0};
    on(ifsvc_get_extension).of(7, 0x99).answers(0x80000056);

    EXPECT_EQ(row.get(7, 0x99), 0x80000056u);

    EXPECT_EQ(calls(), "ifsvc_get_extension(7, 0x99) = 0x80000056");
    EXPECT_EQ(counters_moved(), counted("misses", row.counter));
    EXPECT_EQ(entry.extn[row.number], 0x80000056u);
    EXPECT_EQ(entry.extn_size[row.number], 40 + row.number);
    EXPECT_EQ(dirty(&entry), ~bits(row.bit));
    expect_only_this_slot_changed(entry, before);
}

TEST_P(GetExtension, WithADecoderDeliberatelyDoesNotUseIt)
{
    start(with_keys(all_slots_cached).extn_decode(row.number));
    the(7).extension(0x99, 0x57).private_data(0x99, {1, 2});
    standing().dirty = bits(row.bit);
    EXPECT_EQ(row.get(7, 0x99), 0x57u);
    EXPECT_EQ(calls(), "ifsvc_get_extension(7, 0x99) = 0x57");
}

TEST_P(GetExtension, WhenCleanAsksNobodyWhateverTheKey)
{
    start(with_keys(all_slots_cached));
    const varn_if_entry_t &entry = standing();
    EXPECT_EQ(row.get(7, 0x99), 0xE0 + row.number);
    EXPECT_EQ(row.get(7, 0x98), 0xE0 + row.number);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), spell("hits[", dec(row.counter), "] +2"));
    EXPECT_EQ(dirty(&entry), 0u);
}

TEST_P(GetExtension, OfZeroAsksAgainEachTime)
{
    start(with_keys(all_slots_cached));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(row.bit);
    for (const char *which : {"first", "second"}) {
        SCOPED_TRACE(which);
        EXPECT_EQ(row.get(7, 0x99), 0u);
        EXPECT_EQ(calls(), "ifsvc_get_extension(7, 0x99) = 0x0");
        EXPECT_EQ(counters_moved(), counted("misses", row.counter));
        EXPECT_EQ(dirty(&entry), bits(row.bit));
        EXPECT_EQ(entry.extn[row.number], 0u);
    }
}

TEST_P(GetExtension, OfACleanZeroCountsAHitAndMarksItDirty)
{
    start(with_keys(all_slots_cached));
    varn_if_entry_t &entry = standing();
    entry.extn[row.number] = 0;
    EXPECT_EQ(row.get(7, 0x99), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), counted("hits", row.counter));
    EXPECT_EQ(dirty(&entry), bits(row.bit));
}

// The refresh of the new entry asks under the configured key, and its answer is then a hit.
TEST_P(GetExtension, OfAnIodWithoutEntryCreatesItAndAnswersFromIt)
{
    start(with_keys(bits(1, row.bit)));
    the(7).extension(row.key, 0x58).extension(0x99, 0x59);
    EXPECT_EQ(row.get(7, 0x99), 0x58u);
    EXPECT_EQ(calls(),
              lines("ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007", "ifsvc_get_if_mtu(7) = 1500",
                    spell("ifsvc_get_extension(7, ", hex(row.key), ") = 0x58")));
    EXPECT_EQ(counters_moved(),
              spell(counted("hits", row.counter), ", ", counted("updates", row.counter),
                    ", if_allocs +1, if_index.inserts +1, iod_index.inserts +1"));
}

// ---- testers ----

TEST_P(IsExtensionSet, WithTheIodNotCachedPassesTheAnswerOnAsItIs)
{
    start(with_keys(all_slots_cached & ~bits(1)).extn_decode(row.number));
    on(ifsvc_is_extension_set).of(7, 0x99).answers(6);
    EXPECT_EQ(row.is_set(7, 0x99), 6u);
    expect_passed_on("ifsvc_is_extension_set(7, 0x99) = 6");
}

TEST_P(IsExtensionSet, WithTheSlotNotCachedPassesTheAnswerOnAsItIs)
{
    start(with_keys(all_slots_cached & ~bits(row.bit)).extn_decode(row.number));
    on(ifsvc_is_extension_set).of(7, 0x99).answers(6);
    EXPECT_EQ(row.is_set(7, 0x99), 6u);
    expect_passed_on("ifsvc_is_extension_set(7, 0x99) = 6");
}

TEST_P(IsExtensionSet, OfAnIodThatHasNoEntryPassesTheAnswerOnAsItIs)
{
    start(with_keys(all_slots_cached).extn_decode(row.number));
    gone(7);
    on(ifsvc_is_extension_set).of(7, 0x99).answers(6);
    EXPECT_EQ(row.is_set(7, 0x99), 6u);
    expect_passed_on(
        lines("ifsvc_get_ifindex_frm_iod(7) = 0x40040004", "ifsvc_is_extension_set(7, 0x99) = 6"));
}

TEST_P(IsExtensionSet, WhenDirtyWithoutDecoderAsksTheExtensionUnderTheCallersKey)
{
    start(with_keys(all_slots_cached));
    varn_if_entry_t &entry = standing();
    const varn_if_entry_t before = entry;
    entry.dirty = ~u64{0};
    on(ifsvc_get_extension).of(7, 0x99).answers(0x100);

    EXPECT_EQ(row.is_set(7, 0x99), 1u);

    EXPECT_EQ(calls(), "ifsvc_get_extension(7, 0x99) = 0x100");
    EXPECT_EQ(counters_moved(), counted("misses", row.counter));
    EXPECT_EQ(entry.extn[row.number], 0x100u);
    EXPECT_EQ(entry.extn_size[row.number], 40 + row.number);
    EXPECT_EQ(dirty(&entry), ~bits(row.bit));
    expect_only_this_slot_changed(entry, before);
}

TEST_P(IsExtensionSet, WhenDirtyWithItsDecoderDecodesThePrivateDataUnderTheCallersKey)
{
    start(with_keys(all_slots_cached).extn_decode(row.number));
    the(7).private_data(0x99, {1, 2, 7});
    varn_if_entry_t &entry = standing();
    const varn_if_entry_t before = entry;
    entry.dirty = ~u64{0};

    EXPECT_EQ(row.is_set(7, 0x99), 1u);

    EXPECT_EQ(calls(), lines("ifsvc_get_private_data(7, 0x99) = block -> 3",
                             spell("extn_decode", dec(row.number), "(3 bytes) = 0xa")));
    EXPECT_EQ(counters_moved(), counted("misses", row.counter));
    EXPECT_EQ(entry.extn[row.number], 10u);
    EXPECT_EQ(entry.extn_size[row.number], 3u);
    EXPECT_EQ(dirty(&entry), ~bits(row.bit));
    expect_only_this_slot_changed(entry, before);
}

TEST_P(IsExtensionSet, DoesNotUseTheDecoderOfAnotherSlot)
{
    config others = with_keys(all_slots_cached);
    for (u32 other = 0; other < 4; ++other)
        if (other != row.number)
            others.extn_decode(other);
    start(others);
    standing().dirty = bits(row.bit);
    on(ifsvc_get_extension).of(7, 0x99).answers(5);
    EXPECT_EQ(row.is_set(7, 0x99), 1u);
    EXPECT_EQ(calls(), "ifsvc_get_extension(7, 0x99) = 0x5");
}

TEST_P(IsExtensionSet, WithoutPrivateDataIs0AndAsksAgain)
{
    start(with_keys(all_slots_cached).extn_decode(row.number));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(row.bit);
    for (const char *which : {"first", "second"}) {
        SCOPED_TRACE(which);
        EXPECT_EQ(row.is_set(7, 0x99), 0u);
        EXPECT_EQ(calls(), lines("ifsvc_get_private_data(7, 0x99) = 0 -> 0",
                                 spell("extn_decode", dec(row.number), "(0 bytes) = 0x0")));
        EXPECT_EQ(counters_moved(), counted("misses", row.counter));
        EXPECT_EQ(entry.extn[row.number], 0u);
        EXPECT_EQ(entry.extn_size[row.number], 0u);
        EXPECT_EQ(dirty(&entry), bits(row.bit));
    }
}

TEST_P(IsExtensionSet, WhenCleanAsksNobody)
{
    start(with_keys(all_slots_cached).extn_decode(row.number));
    varn_if_entry_t &entry = standing();
    entry.extn[row.number] = 0x100;
    EXPECT_EQ(row.is_set(7, 0x99), 1u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), counted("hits", row.counter));
    EXPECT_EQ(dirty(&entry), 0u);
}

TEST_P(IsExtensionSet, OfACleanZeroIs0CountsAHitAndMarksItDirty)
{
    start(with_keys(all_slots_cached));
    varn_if_entry_t &entry = standing();
    entry.extn[row.number] = 0;
    EXPECT_EQ(row.is_set(7, 0x99), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), counted("hits", row.counter));
    EXPECT_EQ(dirty(&entry), bits(row.bit));
}

// ---- setters ----

TEST_P(SetExtension, StoresTheValueAloneAndAsksNobody)
{
    start(with_keys(all_slots_cached).extn_decode(row.number));
    varn_if_entry_t &entry = standing();
    const varn_if_entry_t before = entry;
    entry.dirty = ~u64{0};

    EXPECT_EQ(row.set(7, 0x99, 0x80000001), 1u);

    EXPECT_EQ(calls(), "");
    EXPECT_EQ(history_text(), "");
    EXPECT_EQ(counters_moved(), counted("updates", row.counter));
    EXPECT_EQ(entry.extn[row.number], 0x80000001u);
    EXPECT_EQ(entry.extn_size[row.number], 40 + row.number);
    EXPECT_EQ(dirty(&entry), ~bits(row.bit));
    expect_only_this_slot_changed(entry, before);
}

TEST_P(SetExtension, DoesNotConsultSync)
{
    start(with_keys(bits(1)));
    varn_if_entry_t &entry = standing();
    EXPECT_EQ(row.set(7, 0x99, 0x61), 1u);
    EXPECT_EQ(entry.extn[row.number], 0x61u);
    EXPECT_EQ(counters_moved(), counted("updates", row.counter));
}

// Without an Iod table the entry is found again over its if-index.
TEST_P(SetExtension, WithTheIodNotCachedStillFindsTheEntryByAskingItsIfIndex)
{
    start(with_keys(0));
    const varn_if_entry_t *entry = varn_if_create_entry_by_if(0x1a000007, 7, none, none);
    forget_all();
    EXPECT_EQ(row.set(7, 0x99, 0x61), 1u);
    EXPECT_EQ(calls(), "ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007");
    EXPECT_EQ(entry->extn[row.number], 0x61u);
    EXPECT_EQ(counters_moved(), counted("updates", row.counter));
}

TEST_P(SetExtension, WhileDisabledStillStoresIntoAStandingEntry)
{
    start(with_keys(all_slots_cached));
    const varn_if_entry_t &entry = standing();
    varn_disable_cache();
    EXPECT_EQ(row.set(7, 0x99, 0x61), 1u);
    EXPECT_EQ(entry.extn[row.number], 0x61u);
    EXPECT_EQ(counters_moved(), counted("updates", row.counter));
}

TEST_P(SetExtension, OfAnIodWithoutEntryCreatesItFirst)
{
    start(with_keys(bits(1, row.bit)));
    the(7).extension(row.key, 0x58);
    EXPECT_EQ(row.set(7, 0x99, 0x61), 1u);
    ASSERT_NE(entry(7), nullptr);
    EXPECT_EQ(entry(7)->extn[row.number], 0x61u);
    EXPECT_EQ(counters_moved(), spell("updates[", dec(row.counter),
                                      "] +2, if_allocs +1, if_index.inserts +1, "
                                      "iod_index.inserts +1"));
}

TEST_P(SetExtension, OfAnIodThatHasNoEntryReturns1AndDoesNothing)
{
    start(with_keys(all_slots_cached));
    gone(7);
    EXPECT_EQ(row.set(7, 0x99, 0x61), 1u);
    EXPECT_EQ(calls(), "ifsvc_get_ifindex_frm_iod(7) = 0x40040004");
    EXPECT_EQ(counters_moved(), "");
    EXPECT_TRUE(records_in(&varn.if_table).empty());
}

TEST_P(SetExtension, ToZeroIsReadOnceAsAHitAndThenAskedAgain)
{
    start(with_keys(all_slots_cached));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(row.bit);
    EXPECT_EQ(row.set(7, 0x99, 0), 1u);
    EXPECT_EQ(dirty(&entry), 0u);
    forget_all();

    EXPECT_EQ(row.get(7, 0x99), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), counted("hits", row.counter));
    EXPECT_EQ(dirty(&entry), bits(row.bit));

    on(ifsvc_get_extension).of(7, 0x99).answers(3);
    EXPECT_EQ(row.get(7, 0x99), 3u);
    EXPECT_EQ(calls(), "ifsvc_get_extension(7, 0x99) = 0x3");
    EXPECT_EQ(counters_moved(), counted("misses", row.counter));
    EXPECT_EQ(dirty(&entry), 0u);
}

const auto name_of_slot = [](const auto &each) { return spell("Slot", dec(each.param.number)); };
INSTANTIATE_TEST_SUITE_P(Each, GetExtension, testing::ValuesIn(extension_slots), name_of_slot);
INSTANTIATE_TEST_SUITE_P(Each, IsExtensionSet, testing::ValuesIn(extension_slots), name_of_slot);
INSTANTIATE_TEST_SUITE_P(Each, SetExtension, testing::ValuesIn(extension_slots), name_of_slot);

} // namespace
