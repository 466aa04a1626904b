// SPDX-License-Identifier: Apache-2.0
//
// The question which member port serves a hash bucket of a port-channel: past the cache, without an
// entry, as a miss and as a hit; and what a failing service leaves behind.
#include "pc_ground.h"

namespace side_cache
{
namespace
{

using PcMember = pc_ground;

// Asked for bucket 5; what the journal says of the service.
const std::string asked = "aggsvc_get_pc_mbr_ifidx_from_rbh(0x16000003, 5) = 0 -> 0x1a000002";
const std::string told_answer = traced("Varn PC ifindex: 0x16000003, rbh: 5, phy: 0x1a000002\n");

constexpr const char *members_query = "varn_aggsvc_get_pc_mbr_ifidx_from_rbh";

std::string bad_answer(const std::string &code)
{
    return reported(members_query,
                    "get_pc_mbr_ifidx_for_all_rbh bad for ifindex 0x16000003, bndl_port 5, "
                    "retval " +
                        code + "\n");
}

// A service that fails with this code after it has written this member.
void service_fails(u32 code, u32 writing)
{
    on(aggsvc_get_pc_mbr_ifidx_from_rbh).answers(code, writing);
}

// ---- the cached road ----

TEST_F(PcMember, OfANewPortChannelIsAskedAndThenKnown)
{
    run(pc_bit);
    EXPECT_EQ(member_of(5), 0x1a000002u);
    EXPECT_EQ(calls(), lines(pc_creation(), asked, told_answer));
    EXPECT_EQ(counters_moved(), "pc_misses +1, pc_allocs +1");

    the(16003).members({0x1a000008});
    EXPECT_EQ(member_of(5), 0x1a000002u) << "from the cache";
    EXPECT_EQ(calls(), pc_found) << "one lookup and nothing else";
    EXPECT_EQ(counters_moved(), "pc_hits +1");

    EXPECT_EQ(varn_pc_invalidate(channel), 1u);
    forget_all();
    EXPECT_EQ(member_of(5), 0x1a000008u);
    EXPECT_EQ(counters_moved(), "pc_misses +1");
}

TEST_F(PcMember, IsKeptBucketByBucket)
{
    run(pc_bit);
    const varn_pc_entry_t &kept = filed();
    std::string wanted = all_dirty;
    for (u8 bucket = 0; bucket < 16; ++bucket) {
        SCOPED_TRACE(int{bucket});
        on(aggsvc_get_pc_mbr_ifidx_from_rbh).answers_once(0, 0x1a000100u + bucket);
        EXPECT_EQ(member_of(bucket), 0x1a000100u + bucket);
        wanted[bucket] = '0';
        EXPECT_EQ(flags(kept), wanted);
        EXPECT_EQ(kept.rbh_mbr_ifindex[bucket], 0x1a000100u + bucket);
        EXPECT_EQ(counters_moved(), "pc_misses +1");
    }
    forget_all();
    for (u8 bucket = 0; bucket < 16; ++bucket)
        EXPECT_EQ(member_of(bucket), 0x1a000100u + bucket);
    EXPECT_EQ(counters_moved(), "pc_hits +16");
}

TEST_F(PcMember, IsKeptPortChannelByPortChannel)
{
    given(port_channel(4).members({0x1a000008}));
    run(pc_bit);
    EXPECT_EQ(member_of(0), 0x1a000001u);
    EXPECT_EQ(member_of(0, 0x16000004), 0x1a000008u);
    forget_all();
    EXPECT_EQ(member_of(0), 0x1a000001u);
    EXPECT_EQ(member_of(0, 0x16000004), 0x1a000008u);
    EXPECT_EQ(counters_moved(), "pc_hits +2");
}

// A zero from the service is an answer as any other.
TEST_F(PcMember, OfZeroIsAnAnswerAndKept)
{
    run(pc_bit);
    on(aggsvc_get_pc_mbr_ifidx_from_rbh).answers(0, 0u);
    const varn_pc_entry_t &kept = filed();
    EXPECT_EQ(member_of(5), 0u);
    EXPECT_EQ(flags(kept), "1111101111111111");
    EXPECT_EQ(counters_moved(), "pc_misses +1");
    EXPECT_EQ(member_of(5), 0u);
    EXPECT_EQ(counters_moved(), "pc_hits +1");
}

// ---- failures ----

TEST_F(PcMember, OfAFailingServiceStaysDirtyAndIsAskedAgain)
{
    run(pc_bit);
    const varn_pc_entry_t &kept = filed();
    on(aggsvc_get_pc_mbr_ifidx_from_rbh).fails_once(0x40050007);
    u32 member = 0xDEAD;
    EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, 5, &member), 1u);
    EXPECT_EQ(calls(),
              lines(pc_found, "aggsvc_get_pc_mbr_ifidx_from_rbh(0x16000003, 5) = 0x40050007",
                    bad_answer("0x40050007")));
    EXPECT_EQ(counters_moved(), "pc_misses +1");
    EXPECT_EQ(member, 0u);
    EXPECT_EQ(flags(kept), all_dirty);

    EXPECT_EQ(member_of(5), 0x1a000002u);
    EXPECT_EQ(calls(), lines(pc_found, asked, told_answer));
    EXPECT_EQ(counters_moved(), "pc_misses +1");
}

TEST_F(PcMember, OfAFailingServiceIsWhatTheServiceLeft)
{
    run(pc_bit);
    varn_pc_entry_t &kept = filed();
    kept.rbh_mbr_ifindex[5] = 0x1a000001;
    service_fails(0x41, 0x99);
    u32 member = 0xDEAD;
    EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, 5, &member), 1u);
    EXPECT_EQ(member, 0x99u);
    EXPECT_EQ(kept.rbh_mbr_ifindex[5], 0x1a000001u);
    EXPECT_EQ(flags(kept), all_dirty);
}

TEST_F(PcMember, HasOneDeliberatelyAsItsOnlyErrorCode)
{
    for (const u64 sync : {pc_bit, u64{0}})
        for (const u32 code : {1u, 2u, 0x40040004u, 0xFFFFFFFFu}) {
            run(sync);
            SCOPED_TRACE(code);
            on(aggsvc_get_pc_mbr_ifidx_from_rbh).fails_once(code);
            u32 member = 0xDEAD;
            EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, 5, &member), 1u);
            EXPECT_EQ(history_text().find(hex(code)) != std::string::npos, true)
                << "the code stands in the report alone";
        }
}

TEST_F(PcMember, WithoutMemoryIsReportedAndNotAsked)
{
    run(pc_bit);
    on(memacct_alloc).of(544, 3).fails();
    u32 member = 0xDEAD, result = 0;
    captured_stdout([&] { result = varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, 5, &member); });
    EXPECT_EQ(result, 1u);
    EXPECT_EQ(member, 0u);
    EXPECT_EQ(calls(), lines(pc_missing, "memacct_alloc(544, 3, 140) = null",
                             traced("varn_pc_create_entry: Malloc failure\n"),
                             reported(members_query, no_memory_text)));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcMember, WithoutARoomInTheTableIsReportedAndNotAsked)
{
    run(pc_bit);
    on(ht_insert).of("Pc").fails();
    u32 member = 0xDEAD;
    EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, 5, &member), 1u);
    EXPECT_EQ(member, 0u);
    EXPECT_EQ(calls(), lines(pc_missing, "memacct_alloc(544, 3, 140) = block",
                             "ht_insert(Pc, 0x16000003) = 0",
                             reported("varn_pc_insert_entry", "*** Failed to add pc entry\n"),
                             "memacct_free(type 3)", reported(members_query, no_memory_text)));
    EXPECT_EQ(counters_moved(), "pc_allocs +1, pc_frees +1");
}

TEST_F(PcMember, WhileSwitchedOffIsAnErrorAndNotAsked)
{
    run(pc_bit);
    filed();
    switch_off();
    u32 member = 0xDEAD;
    EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, 5, &member), 1u);
    EXPECT_EQ(member, 0u);
    EXPECT_EQ(calls(), reported(members_query, no_memory_text));
    EXPECT_EQ(counters_moved(), "");
}

// ---- past the cache ----

TEST_F(PcMember, WithTheBitClearIsAlwaysAskedAndNothingIsKept)
{
    run(0);
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(member_of(5), 0x1a000002u);
        EXPECT_EQ(calls(), asked);
        EXPECT_EQ(counters_moved(), "pc_misses +1");
    }
    EXPECT_TRUE(live_blocks().empty());
}

TEST_F(PcMember, WithTheBitClearIsAskedAlsoWhileSwitchedOff)
{
    run(pc_bit);
    varn_disable_cache();
    EXPECT_EQ(member_of(5), 0x1a000002u);
    EXPECT_EQ(calls(), asked);
    EXPECT_EQ(counters_moved(), "pc_misses +1");
}

TEST_F(PcMember, WithTheBitClearAndAFailingServiceIsReported)
{
    run(0);
    service_fails(0x40050007, 0x99);
    u32 member = 0xDEAD;
    EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, 5, &member), 1u);
    EXPECT_EQ(member, 0x99u) << "what the service left";
    EXPECT_EQ(calls(), lines("aggsvc_get_pc_mbr_ifidx_from_rbh(0x16000003, 5) = 0x40050007",
                             bad_answer("0x40050007")));
    EXPECT_EQ(counters_moved(), "pc_misses +1");
}

TEST_F(PcMember, IsSetToZeroBeforeTheServiceIsAsked)
{
    for (const u64 sync : {pc_bit, u64{0}}) {
        run(sync);
        SCOPED_TRACE(hex(sync));
        u32 member = 0xDEAD, seen = 1;
        on(aggsvc_get_pc_mbr_ifidx_from_rbh).does_once([&](u32, u32, u32 *) {
            seen = member;
            return 0x41u;
        });
        EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, 5, &member), 1u);
        EXPECT_EQ(seen, 0u);
        EXPECT_EQ(member, 0u);
    }
}

TEST_F(PcMember, PastTheCacheTakesAnyBucketAsTheNumberThatItIs)
{
    run(0);
    on(aggsvc_get_pc_mbr_ifidx_from_rbh).of(channel, 200u).answers(0x41);
    u32 member = 0xDEAD;
    EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel, 200, &member), 1u);
    EXPECT_EQ(calls(), lines("aggsvc_get_pc_mbr_ifidx_from_rbh(0x16000003, 200) = 0x41",
                             reported(members_query,
                                      "get_pc_mbr_ifidx_for_all_rbh bad for ifindex 0x16000003, "
                                      "bndl_port 200, retval 0x41\n")));
}

// Disabling and restoring keeps only the low half of the attribute bits.
TEST_F(PcMember, AfterDisableAndRestoreIsDeliberatelyAskedForever)
{
    run(pc_bit);
    const varn_pc_entry_t &kept = filed();
    EXPECT_EQ(member_of(5), 0x1a000002u);
    varn_disable_cache();
    varn_restore_cache();
    forget_all();
    the(16003).members({0x1a000008});
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(member_of(5), 0x1a000008u);
        EXPECT_EQ(calls(), "aggsvc_get_pc_mbr_ifidx_from_rbh(0x16000003, 5) = 0 -> 0x1a000008");
        EXPECT_EQ(counters_moved(), "pc_misses +1");
    }
    EXPECT_EQ(kept.rbh_mbr_ifindex[5], 0x1a000002u) << "the entry is kept as it was";
    EXPECT_EQ(varn_pc_invalidate(channel), 0u);
    EXPECT_EQ(calls(), "");
}

TEST_F(PcMember, IsTracedToTheClientsSinkInPlaceOfTheHistory)
{
    run_with(config().sync(pc_bit).debug_print_arg(5));
    filed();
    EXPECT_EQ(member_of(5), 0x1a000002u);
    EXPECT_EQ(calls(), lines(pc_found, asked,
                             "debug_print_arg(0x5, \"Varn PC ifindex: 0x16000003, rbh: 5, phy: "
                             "0x1a000002\\n\")"));
}

} // namespace
} // namespace side_cache
