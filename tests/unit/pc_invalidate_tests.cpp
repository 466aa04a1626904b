// SPDX-License-Identifier: Apache-2.0
//
// What makes the port-channel cache ask again: the invalidation of one port-channel, and that
// through a member port, which looks at fewer switches and gives another result.
#include "pc_ground.h"

namespace side_cache
{
namespace
{

const std::string told_invalid = traced("PC Varn invalidated for 0x16000003\n");

// ---- of one port-channel ----

using PcInvalidate = pc_ground;

TEST_F(PcInvalidate, MakesEveryBucketDirtyAndKeepsTheMembers)
{
    run(pc_bit);
    const varn_pc_entry_t &kept = filed();
    for (u8 bucket = 0; bucket < 16; ++bucket)
        member_of(bucket);
    EXPECT_EQ(flags(kept), "0000000000000000");
    forget_all();

    EXPECT_EQ(varn_pc_invalidate(channel), 1u);
    EXPECT_EQ(calls(), lines(pc_found, told_invalid));
    EXPECT_EQ(counters_moved(), "pc_updates +1");
    EXPECT_EQ(flags(kept), all_dirty);
    for (u32 bucket = 0; bucket < 16; ++bucket)
        EXPECT_EQ(kept.rbh_mbr_ifindex[bucket], 0x1a000001u + bucket % 2);
}

TEST_F(PcInvalidate, OfADirtyOneIsCountedAndTracedAsWell)
{
    run(pc_bit);
    filed();
    EXPECT_EQ(varn_pc_invalidate(channel), 1u);
    EXPECT_EQ(calls(), lines(pc_found, told_invalid));
    EXPECT_EQ(counters_moved(), "pc_updates +1");
}

TEST_F(PcInvalidate, LeavesOtherPortChannelsAlone)
{
    given(port_channel(4).members({0x1a000008}));
    run(pc_bit);
    const varn_pc_entry_t &other = filed(0x16000004);
    filed();
    member_of(5, 0x16000004);
    EXPECT_EQ(varn_pc_invalidate(channel), 1u);
    EXPECT_EQ(flags(other), "1111101111111111");
}

TEST_F(PcInvalidate, OfOneNeverAskedAboutSpeaksDeliberatelyOfMemory)
{
    run(pc_bit);
    EXPECT_EQ(varn_pc_invalidate(channel), 0u);
    EXPECT_EQ(calls(), lines(pc_missing, reported("varn_pc_invalidate", no_memory_text)));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(entries(), 0u);
}

TEST_F(PcInvalidate, NeedsTheSwitchAndTheBit)
{
    run(pc_bit);
    member_of(5);
    const varn_pc_entry_t &kept = filed();
    switch_off();
    EXPECT_EQ(varn_pc_invalidate(channel), 0u);
    varn_enabled = 1;
    cache(~pc_bit);
    EXPECT_EQ(varn_pc_invalidate(channel), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(flags(kept), "1111101111111111");
}

// ---- through a member port ----

using PcInvalidateByPort = pc_ground;

constexpr const char *asked_type = "if_index_get_type(0x1a000007) = 0 -> 26";
constexpr const char *asked_channel = "aggsvc_get_pc_for_port(0x1a000007) = 0 -> 0x16000003";
constexpr const char *by_port = "varn_pc_invalidate_entry_by_phy_if";

TEST_F(PcInvalidateByPort, InvalidatesItsPortChannelAndNamesIt)
{
    run(pc_bit);
    member_of(5);
    const varn_pc_entry_t &kept = filed();
    EXPECT_EQ(varn_pc_invalidate_entry_by_phy_if(uplink), channel);
    EXPECT_EQ(calls(), lines(asked_type, asked_channel, pc_found, told_invalid));
    EXPECT_EQ(counters_moved(), "pc_updates +1");
    EXPECT_EQ(flags(kept), all_dirty);
}

TEST_F(PcInvalidateByPort, NamesItsPortChannelAlsoWhenThatHasNoEntry)
{
    run(pc_bit);
    EXPECT_EQ(varn_pc_invalidate_entry_by_phy_if(uplink), channel);
    EXPECT_EQ(calls(), lines(asked_type, asked_channel, pc_missing,
                             reported("varn_pc_invalidate", no_memory_text)));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcInvalidateByPort, WithTheBitClearAsksNothing)
{
    run(pc_bit);
    filed();
    cache(~pc_bit);
    EXPECT_EQ(varn_pc_invalidate_entry_by_phy_if(uplink), 0u);
    EXPECT_EQ(calls(), "");
}

TEST_F(PcInvalidateByPort, WhileSwitchedOffDeliberatelyStillAsksAndNamesThePortChannel)
{
    run(pc_bit);
    member_of(5);
    const varn_pc_entry_t &kept = filed();
    switch_off();
    EXPECT_EQ(varn_pc_invalidate_entry_by_phy_if(uplink), channel);
    EXPECT_EQ(calls(), lines(asked_type, asked_channel));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(flags(kept), "1111101111111111");
}

TEST_F(PcInvalidateByPort, OfAnUnknownKindIsReported)
{
    run(pc_bit);
    on(if_index_get_type).answers(0x40290000, 26);
    EXPECT_EQ(varn_pc_invalidate_entry_by_phy_if(uplink), 0u);
    EXPECT_EQ(calls(), lines("if_index_get_type(0x1a000007) = 0x40290000",
                             reported(by_port, "Invalid interface index 0x1a000007\n")));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcInvalidateByPort, OfAnyTypeButAPhysicalPortGivesZeroSilently)
{
    run(pc_bit);
    filed();
    for (u32 type = 0; type < 256; ++type) {
        if (type == 26)
            continue;
        on(if_index_get_type).answers_once(0, type);
        EXPECT_EQ(varn_pc_invalidate_entry_by_phy_if(uplink), 0u);
        EXPECT_EQ(calls(), "if_index_get_type(0x1a000007) = 0 -> " + dec(type));
    }
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcInvalidateByPort, WhoseMembershipCannotBeHadIsReported)
{
    run(pc_bit);
    member_of(5);
    const varn_pc_entry_t &kept = filed();
    on(aggsvc_get_pc_for_port).answers(0x40050007, channel);
    EXPECT_EQ(varn_pc_invalidate_entry_by_phy_if(uplink), 0u);
    EXPECT_EQ(
        calls(),
        lines(asked_type, "aggsvc_get_pc_for_port(0x1a000007) = 0x40050007",
              reported(by_port, "aggsvc_get_pc_for_port failed with 0x40050007 for 0x1a000007\n")));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(flags(kept), "1111101111111111");
}

TEST_F(PcInvalidateByPort, OfAPortInNoBundleGivesZeroSilently)
{
    run(pc_bit);
    filed();
    EXPECT_EQ(varn_pc_invalidate_entry_by_phy_if(0x1a000008), 0u);
    EXPECT_EQ(calls(), lines("if_index_get_type(0x1a000008) = 0 -> 26",
                             "aggsvc_get_pc_for_port(0x1a000008) = 0 -> 0x0"));
    EXPECT_EQ(counters_moved(), "");
}

// The manager's record, as its bytes come: the port-channel stands at byte 6.
TEST_F(PcInvalidateByPort, ReadsThePortChannelAtByteSixOfTheRecord)
{
    run(pc_bit);
    on(aggsvc_get_pc_for_port).does([](u32, aggsvc_pc_for_port_t *membership) {
        u8 bytes[10];
        std::memset(bytes, 0xEE, sizeof bytes);
        std::memcpy(bytes + 6, &channel, sizeof channel);
        std::memcpy(static_cast<void *>(membership), bytes, sizeof bytes);
        return 0u;
    });
    EXPECT_EQ(varn_pc_invalidate_entry_by_phy_if(uplink), channel);
}

} // namespace
} // namespace side_cache
