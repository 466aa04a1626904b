// SPDX-License-Identifier: Apache-2.0
//
// How a refresh fills the extension slots: with the configured key of the slot, through its decoder
// where it has one, and only what is both cached and dirty.
#include "extension_ground.h"

namespace
{

class ExtensionRefresh : public extension_test, public testing::WithParamInterface<extension_slot>
{
protected:
    std::string refreshed(varn_if_entry_t &entry)
    {
        EXPECT_EQ(varn_if_update_entry(&entry, 0), 1u);
        return calls();
    }

    const extension_slot &row = GetParam();
};

TEST_P(ExtensionRefresh, WithoutDecoderAsksTheExtensionUnderTheConfiguredKey)
{
    start(with_keys(all_slots_cached));
    the(7).extension(row.key, 0x200);
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(row.bit);
    EXPECT_EQ(refreshed(entry), spell("ifsvc_get_extension(7, ", hex(row.key), ") = 0x200"));
    EXPECT_EQ(entry.extn[row.number], 0x200u);
    EXPECT_EQ(entry.extn_size[row.number], 40 + row.number);
    EXPECT_EQ(dirty(&entry), 0u);
    EXPECT_EQ(counters_moved(), counted("updates", row.counter));
}

TEST_P(ExtensionRefresh, WithItsDecoderDecodesThePrivateDataUnderTheConfiguredKey)
{
    start(with_keys(all_slots_cached).extn_decode(row.number));
    the(7).private_data(row.key, {9, 8});
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(row.bit);
    EXPECT_EQ(refreshed(entry),
              lines(spell("ifsvc_get_private_data(7, ", hex(row.key), ") = block -> 2"),
                    spell("extn_decode", dec(row.number), "(2 bytes) = 0x11")));
    EXPECT_EQ(entry.extn[row.number], 0x11u);
    EXPECT_EQ(entry.extn_size[row.number], 2u);
    EXPECT_EQ(dirty(&entry), 0u);
    EXPECT_EQ(counters_moved(), counted("updates", row.counter));
}

TEST_P(ExtensionRefresh, OfZeroStoresItAndKeepsItDirty)
{
    start(with_keys(all_slots_cached).extn_decode(row.number));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(row.bit);
    refreshed(entry);
    EXPECT_EQ(entry.extn[row.number], 0u);
    EXPECT_EQ(entry.extn_size[row.number], 0u);
    EXPECT_EQ(dirty(&entry), bits(row.bit));
    EXPECT_EQ(counters_moved(), counted("updates", row.counter));
}

TEST_P(ExtensionRefresh, OfASlotThatIsNotCachedAsksNothing)
{
    start(with_keys(all_slots_cached & ~bits(row.bit)).extn_decode(row.number));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(row.bit);
    EXPECT_EQ(refreshed(entry), "");
    EXPECT_EQ(entry.extn[row.number], 0xE0 + row.number);
    EXPECT_EQ(dirty(&entry), bits(row.bit));
    EXPECT_EQ(counters_moved(), "");
}

TEST_P(ExtensionRefresh, OfACleanSlotAsksNothing)
{
    start(with_keys(all_slots_cached).extn_decode(row.number));
    varn_if_entry_t &entry = standing();
    EXPECT_EQ(refreshed(entry), "");
    EXPECT_EQ(entry.extn[row.number], 0xE0 + row.number);
}

INSTANTIATE_TEST_SUITE_P(Each, ExtensionRefresh, testing::ValuesIn(extension_slots),
                         [](const auto &each) { return spell("Slot", dec(each.param.number)); });

} // namespace
