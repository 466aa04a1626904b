// SPDX-License-Identifier: Apache-2.0
//
// The first operational member of a port-channel: the handler of its changes, and the query that
// answers from the entry or asks the port-channel manager.
#include "handler_ground.h"

namespace
{

constexpr u32 port_8 = 0x1a000008;
constexpr u32 no_member = 0x40e30001;

class first_member_test : public handler_test
{
protected:
    first_member_test() { given(port_channel(3)); }

    varn_if_entry_t &start_with(u64 sync)
    {
        start_caching(sync);
        return watched(16003);
    }
};

const std::string update_lines = lines(traced("Varn-update for if-index 0x16000003, iod 16003\n"),
                                       "if_index_get_type(0x16000003) = 0 -> 22");

// ---- the handler ----

class UpdateAggsvcFop : public first_member_test
{
protected:
    static u32 notified(u32 old_member, u32 fresh_member, u32 if_index = channel_3)
    {
        message<varn_fop_update_t> update;
        update.big_endian(0, if_index).big_endian(8, old_member).big_endian(12, fresh_member);
        return varn_update_aggsvc_fop(update.get());
    }
    // What stands in the journal before anything is changed.
    static std::string opening(const std::string &from_to)
    {
        return lines("ifsvc_get_ifindex_name(0x16000003, 255) = 0 -> \"port-channel3\"",
                     traced(spell("AGGSVC First-Op-member for interface port-channel3 (if "
                                  "0x16000003) From ",
                                  from_to, "\n")));
    }
    static std::string creation_lines()
    {
        return lines(traced("Creating varn entry for if-index 0x16000003 on aggsvc-fop"),
                     "if_index_get_type(0x16000003) = 0 -> 22",
                     "ifsvc_get_iod_frm_ifindex(0x16000003) = 0 -> 16003",
                     traced("If-create for if-index 0x16000003, iod 16003, pi 0xffffffff, lif "
                            "0xffffffff\n"),
                     "ifsvc_get_if_mtu(16003) = 1500", update_lines);
    }
};

constexpr const char *counted_creation = "if_allocs +1, if_index.inserts +1, iod_index.inserts +1, "
                                         "aggsvc_updates +1";

TEST_F(UpdateAggsvcFop, WhileTheCacheIsOffReturnsZero)
{
    start_with(bits(1, 27));
    varn_enabled = 0;
    EXPECT_EQ(notified(0, index_7), 0u);
    EXPECT_EQ(notified(0, 0), 0u);
    expect_untouched();
}

TEST_F(UpdateAggsvcFop, StoresTheNewMemberAndCleansItWhetherCachedOrNot)
{
    for (const u64 sync : {bits(1), bits(1, 27)})
        for (const u64 dirt : {u64{0}, bits(27)}) {
            SCOPED_TRACE(spell("sync ", hex(sync), ", dirty ", hex(dirt)));
            varn_if_entry_t &kept = start_with(sync);
            kept.dirty = dirt;
            watch(kept);
            EXPECT_EQ(notified(port_8, index_7), 1u);
            EXPECT_EQ(calls(), lines(opening("0x1a000008 to 0x1a000007"), update_lines));
            EXPECT_EQ(changes(), spell("aggsvc_if 0 -> 436207623", dirt == 0 ? "" : ", dirty -27"));
            EXPECT_EQ(counters_moved(), "updates[22] +1, aggsvc_updates +1");
        }
}

TEST_F(UpdateAggsvcFop, OfACachedPortChannelLooksAtTheNewMemberAlone)
{
    start_with(bits(1, 27));
    EXPECT_EQ(notified(0, index_7), 1u);
    EXPECT_EQ(entry(16003)->aggsvc_if, index_7);
    EXPECT_EQ(notified(index_7, index_7), 1u);
    EXPECT_EQ(entry(16003)->aggsvc_if, index_7);
}

TEST_F(UpdateAggsvcFop, FetchesPortIndexAndLifAgain)
{
    start_with(bits(1, 2, 3, 27));
    the(16003).pi(0x777).lif(0x888);
    EXPECT_EQ(notified(0, index_7), 1u);
    EXPECT_EQ(changes(), "pi 0x8003 -> 0x777, lif 0x8003 -> 0x888, pi_remaps 0 -> 1, lif_remaps 0 "
                         "-> 1, aggsvc_if 0 -> 436207623, dirty -27");
    EXPECT_EQ(counters_moved(),
              "updates[2] +1, updates[3] +1, updates[22] +1, pi_remaps +1, lif_remaps +1, "
              "pi_index.inserts +1, pi_index.removes +1, lif_index.inserts +1, "
              "lif_index.removes +1, aggsvc_updates +1");
}

TEST_F(UpdateAggsvcFop, CopiesTheTwoSyncBitsIntoTheDirtyMaskAlsoWhenTheyAreClear)
{
    varn_if_entry_t &kept = start_with(bits(1, 2, 3));
    varn.config.sync = bits(1);
    kept.dirty = bits(2, 3, 14, 26);
    watch(kept);
    EXPECT_EQ(notified(0, index_7), 1u);
    EXPECT_EQ(calls(), lines(opening("0x0 to 0x1a000007"), update_lines));
    EXPECT_EQ(changes(), "aggsvc_if 0 -> 436207623, dirty -2, dirty -3");
    varn.config.sync = bits(1, 2, 3);
}

TEST_F(UpdateAggsvcFop, IgnoresAFailedRefresh)
{
    varn_if_entry_t &kept = start_with(bits(1, 27));
    kept.dirty = bits(1, 27);
    watch(kept);
    on(ifsvc_get_iod_frm_ifindex).answers(0, 99);
    EXPECT_EQ(notified(0, index_7), 1u);
    EXPECT_EQ(changes(), "iod_remaps 0 -> 1, aggsvc_if 0 -> 436207623, dirty -27");
}

TEST_F(UpdateAggsvcFop, OutlivesAnEntryThatTheRefreshDestroys)
{
    start_with(bits(1, 27)).dirty = bits(1);
    on(ifsvc_get_iod_frm_ifindex).answers(0x41, 16003);
    EXPECT_EQ(notified(0, index_7), 1u);
    EXPECT_EQ(entry(16003), nullptr);
}

TEST_F(UpdateAggsvcFop, ToNoMemberRemovesTheEntry)
{
    for (const auto &[old_member, from_to] :
         {std::pair<u32, const char *>{index_7, "0x1a000007 to 0x0"}, {0, "0x0 to 0x0"}}) {
        start_with(bits(1, 27));
        EXPECT_EQ(notified(old_member, 0), 1u);
        EXPECT_EQ(calls(), lines(opening(from_to),
                                 traced(spell("AGGSVC varn entry removed for interface "
                                              "port-channel3 (if 0x16000003) during change "
                                              "from ",
                                              from_to, "\n")),
                                 traced("If-destroy for if-index 0x16000003, iod 16003, pi "
                                        "0xffffffff, lif 0xffffffff\n")));
        EXPECT_EQ(counters_moved(), "if_frees +1, if_destroys +1, if_index.removes +1, "
                                    "iod_index.removes +1, aggsvc_updates +1");
        EXPECT_EQ(entry(16003), nullptr);
    }
}

TEST_F(UpdateAggsvcFop, FromAMemberOfAnUncachedPortChannelLogsOnly)
{
    start_caching(bits(1, 27));
    for (const auto &[fresh, from_to] :
         {std::pair<u32, const char *>{port_8, "0x1a000007 to 0x1a000008"},
          {0, "0x1a000007 to 0x0"}}) {
        EXPECT_EQ(notified(index_7, fresh), 0u);
        EXPECT_EQ(calls(), lines(opening(from_to),
                                 traced(spell("AGGSVC varn entry not found for interface "
                                              "port-channel3 (if 0x16000003) during change "
                                              "from ",
                                              from_to, "\n"))));
        EXPECT_EQ(counters_moved(), "aggsvc_updates +1");
        EXPECT_EQ(entry(16003), nullptr);
    }
}

TEST_F(UpdateAggsvcFop, FromNoMemberOfAnUncachedPortChannelCreatesItsEntry)
{
    start_caching(bits(1));
    EXPECT_EQ(notified(0, index_7), 1u);
    EXPECT_EQ(calls(), lines(opening("0x0 to 0x1a000007"), creation_lines()));
    EXPECT_EQ(counters_moved(), spell("updates[22] +1, ", counted_creation));
    ASSERT_NE(entry(16003), nullptr);
    EXPECT_EQ(entry(16003)->aggsvc_if, index_7);
    EXPECT_EQ(dirty(entry(16003)), 0u);
}

// The refresh of the new entry has fetched a member; the notification's one takes its place.
TEST_F(UpdateAggsvcFop, OfANewEntryStoresTheMemberOfTheNotification)
{
    start_caching(bits(1, 27));
    the(16003).first_member(port_8);
    EXPECT_EQ(notified(0, index_7), 1u);
    EXPECT_EQ(calls(), lines(opening("0x0 to 0x1a000007"), creation_lines(),
                             "aggsvc_get_pc_info(0x16000003) = 0 -> 0x1a000008"));
    EXPECT_EQ(entry(16003)->aggsvc_if, index_7);
    EXPECT_EQ(counters_moved(), spell("updates[22] +2, ", counted_creation));
}

TEST_F(UpdateAggsvcFop, DeliberatelyCreatesAnEntryWithoutMemberThatIsAskedForLater)
{
    start_caching(bits(1, 27));
    EXPECT_EQ(notified(0, 0), 1u);
    EXPECT_EQ(calls(), lines(opening("0x0 to 0x0"), creation_lines(),
                             "aggsvc_get_pc_info(0x16000003) = 0 -> 0x0"));
    ASSERT_NE(entry(16003), nullptr);
    EXPECT_EQ(entry(16003)->aggsvc_if, 0u);
    EXPECT_EQ(dirty(entry(16003)), 0u);

    u32 member = 5;
    EXPECT_EQ(varn_aggsvc_get_fop(channel_3, &member), no_member);
    EXPECT_EQ(member, 5u);
    EXPECT_EQ(calls(), lines("if_index_get_type(0x16000003) = 0 -> 22",
                             "aggsvc_get_pc_info(0x16000003) = 0 -> 0x0"));
}

TEST_F(UpdateAggsvcFop, ReturnsZeroWhenNoEntryCouldBeCreated)
{
    start_caching(bits(1, 27));
    on(ifsvc_get_iod_frm_ifindex).fails(0x42);
    EXPECT_EQ(notified(0, index_7), 0u);
    EXPECT_EQ(calls(),
              lines(opening("0x0 to 0x1a000007"),
                    traced("Creating varn entry for if-index 0x16000003 on aggsvc-fop"),
                    "if_index_get_type(0x16000003) = 0 -> 22",
                    "ifsvc_get_iod_frm_ifindex(0x16000003) = 0x42",
                    reported("varn_if_create_entry_by_if",
                             "ifsvc_get_iod_frm_ifindex failed for if-index 0x16000003, err: "
                             "0x42\n")));
    EXPECT_EQ(counters_moved(), "aggsvc_updates +1");
}

TEST_F(UpdateAggsvcFop, ReadsItsWordsAsBigEndianOnEveryHost)
{
    start_with(bits(1, 27));
    message<varn_fop_update_t> update;
    const std::uint8_t bytes[] = {0x16, 0, 0, 3,    0xEE, 0xEE, 0xEE, 0xEE,
                                  0x01, 2, 3, 0x84, 0x85, 6,    7,    0x08};
    for (std::size_t at = 0; at < sizeof bytes; ++at)
        update.byte(at, bytes[at]);
    EXPECT_EQ(varn_update_aggsvc_fop(update.get()), 1u);
    EXPECT_EQ(calls(), lines(opening("0x1020384 to 0x85060708"), update_lines));
    EXPECT_EQ(entry(16003)->aggsvc_if, 0x85060708u);
}

TEST_F(UpdateAggsvcFop, FindsTheEntryByItsIfIndexEvenWhereNoIodIsCached)
{
    start_caching(0);
    varn_if_create_entry_by_if(channel_3, 16003, none, none);
    watch(*entry_of(channel_3));
    EXPECT_EQ(notified(port_8, index_7), 1u);
    EXPECT_EQ(changes(), "aggsvc_if 0 -> 436207623");
}

TEST_F(UpdateAggsvcFop, TakesAnInterfaceOfAnyType)
{
    start_caching(bits(1));
    watched(7);
    EXPECT_EQ(notified(0, port_8, index_7), 1u);
    EXPECT_EQ(changes(), "aggsvc_if 0 -> 436207624");
}

// ---- the query ----

class AggsvcGetFop : public first_member_test
{
protected:
    // The result, with the member behind it when one was written.
    static std::string asked_for(u32 if_index = channel_3)
    {
        u32 member = 0xDEAD;
        const u32 result = varn_aggsvc_get_fop(if_index, &member);
        return member == 0xDEAD ? hex(result) : spell(hex(result), " -> ", hex(member));
    }
};

const std::string asked_for_member = "aggsvc_get_pc_info(0x16000003) = ";

TEST_F(AggsvcGetFop, WithItsAttributeNotCachedAsksEachTimeAndTouchesNoEntry)
{
    varn_if_entry_t &kept = start_with(everything_told);
    the(16003).first_member(index_7);
    kept.aggsvc_if = port_8;
    watch(kept);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(asked_for(), "0x0 -> 0x1a000007");
        EXPECT_EQ(calls(), spell(asked_for_member, "0 -> 0x1a000007"));
        EXPECT_EQ(counters_moved(), "misses[22] +1");
    }
    EXPECT_EQ(changes(), "");
    varn_if_remove_entry_by_iod(16003);
    EXPECT_EQ(asked_for(), "0x0 -> 0x1a000007");
    EXPECT_EQ(entry(16003), nullptr);
}

TEST_F(AggsvcGetFop, WithItsAttributeNotCachedReturnsTheServicesErrorOrThatThereIsNone)
{
    start_with(bits(1));
    EXPECT_EQ(asked_for(), "0x40e30001");
    on(aggsvc_get_pc_info).fails(0x4711);
    EXPECT_EQ(asked_for(), "0x4711");
    EXPECT_EQ(counters_moved(), "misses[22] +2");
}

TEST_F(AggsvcGetFop, WithoutEntryCreatesItAndCountsAHit)
{
    start_caching(bits(1, 27));
    the(16003).first_member(index_7);
    EXPECT_EQ(asked_for(), "0x0 -> 0x1a000007");
    EXPECT_EQ(calls(), lines("if_index_get_type(0x16000003) = 0 -> 22",
                             "ifsvc_get_iod_frm_ifindex(0x16000003) = 0 -> 16003",
                             traced("If-create for if-index 0x16000003, iod 16003, pi "
                                    "0xffffffff, lif 0xffffffff\n"),
                             "ifsvc_get_if_mtu(16003) = 1500", update_lines,
                             spell(asked_for_member, "0 -> 0x1a000007")));
    EXPECT_EQ(counters_moved(), "hits[22] +1, updates[22] +1, if_allocs +1, if_index.inserts +1, "
                                "iod_index.inserts +1");
}

TEST_F(AggsvcGetFop, WhenCleanAnswersFromTheEntry)
{
    varn_if_entry_t &kept = start_with(bits(1, 27));
    kept.aggsvc_if = index_7;
    kept.dirty = ~bits(27);
    watch(kept);
    record(types, false);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(asked_for(), "0x0 -> 0x1a000007");
        EXPECT_EQ(calls(), "");
    }
    EXPECT_EQ(counters_moved(), "hits[22] +2");
    EXPECT_EQ(changes(), "");
}

struct asked_again {
    u64 dirt;
    u32 held;
};
constexpr asked_again again[] = {{bits(27), index_7}, {bits(27), 0}, {0, 0}};

class AggsvcGetFopAgain : public AggsvcGetFop, public testing::WithParamInterface<asked_again>
{
protected:
    void start_dirty()
    {
        varn_if_entry_t &kept = start_with(bits(1, 27));
        kept.aggsvc_if = GetParam().held;
        kept.dirty = GetParam().dirt | bits(9);
        watch(kept);
        record(types, false);
    }
};

TEST_P(AggsvcGetFopAgain, StoresAMemberAndCleansIt)
{
    start_dirty();
    the(16003).first_member(port_8);
    EXPECT_EQ(asked_for(), "0x0 -> 0x1a000008");
    EXPECT_EQ(calls(), spell(asked_for_member, "0 -> 0x1a000008"));
    EXPECT_EQ(entry(16003)->aggsvc_if, port_8);
    EXPECT_EQ(dirty(entry(16003)), bits(9));
    EXPECT_EQ(counters_moved(), "misses[22] +1");
    EXPECT_EQ(asked_for(), "0x0 -> 0x1a000008");
    EXPECT_EQ(counters_moved(), "hits[22] +1");
}

TEST_P(AggsvcGetFopAgain, OfNoMemberLeavesTheEntryAsItWas)
{
    start_dirty();
    EXPECT_EQ(asked_for(), "0x40e30001");
    EXPECT_EQ(calls(), spell(asked_for_member, "0 -> 0x0"));
    EXPECT_EQ(changes(), "");
    EXPECT_EQ(counters_moved(), "misses[22] +1");
}

TEST_P(AggsvcGetFopAgain, ReturnsAnErrorAsItIsAndLeavesTheEntryAsItWas)
{
    start_dirty();
    on(aggsvc_get_pc_info).answers(0x80000005, port_8);
    EXPECT_EQ(asked_for(), "0x80000005");
    EXPECT_EQ(calls(), spell(asked_for_member, "0x80000005"));
    EXPECT_EQ(changes(), "");
    EXPECT_EQ(counters_moved(), "misses[22] +1");
}

INSTANTIATE_TEST_SUITE_P(WhenDirtyOrEmpty, AggsvcGetFopAgain, testing::ValuesIn(again));

TEST_F(AggsvcGetFop, OfAnInterfaceThatCannotHaveAnEntryAsksTheService)
{
    start_caching(bits(1, 27));
    on(ifsvc_get_iod_frm_ifindex).fails(0x42);
    the(16003).first_member(index_7);
    EXPECT_EQ(asked_for(), "0x0 -> 0x1a000007");
    EXPECT_EQ(calls(), lines("if_index_get_type(0x16000003) = 0 -> 22",
                             "ifsvc_get_iod_frm_ifindex(0x16000003) = 0x42",
                             reported("varn_if_create_entry_by_if",
                                      "ifsvc_get_iod_frm_ifindex failed for if-index "
                                      "0x16000003, err: 0x42\n"),
                             spell(asked_for_member, "0 -> 0x1a000007")));
    EXPECT_EQ(counters_moved(), "misses[22] +1");
}

TEST_F(AggsvcGetFop, WithoutCreationOnMissLooksTheEntryUpOnly)
{
    start_caching(bits(1, 27));
    the(16003).first_member(index_7);
    varn.config.create_on_miss = 0;
    EXPECT_EQ(asked_for(), "0x0 -> 0x1a000007");
    EXPECT_EQ(calls(), spell(asked_for_member, "0 -> 0x1a000007"));
    EXPECT_EQ(entry(16003), nullptr);
    EXPECT_EQ(counters_moved(), "misses[22] +1");

    watched(16003);
    EXPECT_EQ(asked_for(), "0x0 -> 0x1a000007");
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[22] +1");
}

// The enable flag is the creator's affair, not the query's: a plain look-up still finds the entry.
TEST_F(AggsvcGetFop, WhileTheCacheIsOffGetsNoEntryFromTheCreatorAndAsksTheService)
{
    varn_if_entry_t &kept = start_with(bits(1, 27));
    kept.aggsvc_if = port_8;
    kept.dirty = 0;
    watch(kept);
    the(16003).first_member(index_7);
    varn_enabled = 0;
    EXPECT_EQ(asked_for(), "0x0 -> 0x1a000007");
    EXPECT_EQ(calls(), spell(asked_for_member, "0 -> 0x1a000007"));
    EXPECT_EQ(counters_moved(), "misses[22] +1");
    EXPECT_EQ(changes(), "");

    varn.config.create_on_miss = 0;
    EXPECT_EQ(asked_for(), "0x0 -> 0x1a000008");
    EXPECT_EQ(counters_moved(), "hits[22] +1");
}

TEST_F(AggsvcGetFop, WritesTheQuestionAtByteSixAndReadsTheAnswerAtByteTen)
{
    start_with(bits(1));
    u32 question = 0;
    on(aggsvc_get_pc_info).does([&](aggsvc_pc_info_t *info) {
        auto *bytes = reinterpret_cast<std::uint8_t *>(info);
        std::memcpy(&question, bytes + 6, sizeof question);
        const u32 answer = 0x01020304;
        std::memcpy(bytes + 10, &answer, sizeof answer);
        return 0u;
    });
    EXPECT_EQ(asked_for(), "0x0 -> 0x1020304");
    EXPECT_EQ(question, channel_3);
}

} // namespace
