// SPDX-License-Identifier: Apache-2.0
//
// Notifications of the L2 state: what L2 down zeroes, what L2 up takes from the record and what
// from the service, and what a port-channel and a VLAN interface fetch again besides.
#include "handler_ground.h"

namespace
{

constexpr const char *update_line = "L2 protocol-change update for interface eth7 (iod 7)\n";

// The interface's answers differ from what the entry holds, and only their low bit counts: the link
// is up, the protocol down, a switchport, not switching.
class UpdateL2State : public handler_test
{
protected:
    // An entry of this type that holds the opposite of all that.
    varn_if_entry_t &start_with(u32 type, u64 sync)
    {
        given_type(type);
        start_caching(sync);
        return opposite(*varn_if_create_entry_by_iod(7));
    }
    void given_type(u32 type)
    {
        gone(7);
        given(port(7).of_type(static_cast<std::uint8_t>(type)).linkup(3).protoup(2).switchport(5));
        the(7).switching(4);
    }
    varn_if_entry_t &opposite(varn_if_entry_t &kept)
    {
        kept.linkup = kept.switchport = 0;
        kept.protoup = kept.switching = 1;
        kept.vlan = 5;
        kept.mtu = 1500;
        return watch(kept);
    }

    static int notified(u32 type, unsigned state)
    {
        return varn_update_l2_state(l2_of(type << 24 | 7, 7, state).get());
    }
    static std::string asked_type(u32 type)
    {
        return spell("if_index_get_type(", hex(type << 24 | 7), ") = 0 -> ", dec(type));
    }
    // What stands in the journal before anything is changed.
    static std::string opening(u32 type)
    {
        return lines(asked_type(type), asked_name_of_7, traced(update_line));
    }
    // A refresh that finds nothing dirty.
    static std::string refresh_lines(u32 type)
    {
        const std::string update =
            spell("Varn-update for if-index ", hex(type << 24 | 7), ", iod 7\n");
        return lines(traced(update), asked_type(type));
    }
};

TEST_F(UpdateL2State, WhileTheCacheIsOffReturnsMinusOne)
{
    start_with(26, everything_told);
    varn_enabled = 0;
    EXPECT_EQ(notified(26, 1), -1);
    EXPECT_EQ(notified(26, 2), -1);
    expect_untouched();
}

TEST_F(UpdateL2State, OfAnUnknownIfIndexReportsItAndReturnsTheErrorButHasCounted)
{
    start_with(26, everything_told);
    on(if_index_get_type).fails(0x40040007);
    EXPECT_EQ(notified(26, 1), 0x40040007);
    EXPECT_EQ(calls(),
              lines("if_index_get_type(0x1a000007) = 0x40040007",
                    reported("varn_update_l2_state", " Invalid interface index 0x1a000007\n")));
    EXPECT_STREQ(varn_print_str, " Invalid interface index 0x1a000007\n");
    EXPECT_EQ(history_text(), "[77]:  Invalid interface index 0x1a000007\n");
    EXPECT_EQ(counters_moved(), "l2_updates +1");
    EXPECT_EQ(changes(), "");
}

TEST_F(UpdateL2State, WithoutEntryReturnsMinusOneAndCreatesNone)
{
    given_type(26);
    start_caching(bits(1, 17));
    for (const unsigned state : {1u, 2u}) {
        EXPECT_EQ(notified(26, state), -1);
        EXPECT_EQ(calls(), opening(26));
        EXPECT_EQ(counters_moved(), "l2_updates +1");
    }
    EXPECT_EQ(entry(7), nullptr);
}

TEST_F(UpdateL2State, DownZeroesLinkAndProtocolAndAsksNobody)
{
    varn_if_entry_t &kept = start_with(22, everything_told);
    kept.linkup = 1;
    kept.dirty = ~u64{0};
    watch(kept);
    EXPECT_EQ(notified(22, 2), 0);
    EXPECT_EQ(calls(), opening(22));
    EXPECT_EQ(changes(), "linkup 1 -> 0, protoup 1 -> 0, dirty -17, dirty -18");
    EXPECT_EQ(counters_moved(), "l2_updates +1");
}

TEST_F(UpdateL2State, DownLooksAtNoSyncBitAndNoType)
{
    varn_if_entry_t &kept = start_with(26, bits(1));
    kept.linkup = 1;
    kept.dirty = bits(17, 18);
    watch(kept);
    EXPECT_EQ(notified(26, 2), 0);
    EXPECT_EQ(changes(), "linkup 1 -> 0, protoup 1 -> 0, dirty -17, dirty -18");
}

TEST_F(UpdateL2State, UpRewritesFromTheRecordAndFromTheService)
{
    start_with(24, everything_told);
    EXPECT_EQ(notified(24, 1), 0);
    EXPECT_EQ(calls(), lines(opening(24), asked_linkup, asked_protoup, "ifsvc_is_switchport(7) = 5",
                             "ifsvc_is_switching_enabled_on_iod(7) = 4"));
    EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f, switchport 0 -> 1, "
                         "switching 1 -> 0, linkup 0 -> 1, protoup 1 -> 0, vlan 5 -> 30, "
                         "mtu 1500 -> 9000");
    EXPECT_EQ(counters_moved(),
              "updates[4] +1, updates[12] +1, updates[13] +1, updates[14] +1, updates[15] +1, "
              "updates[16] +1, updates[19] +1, l2_updates +1");
}

TEST_F(UpdateL2State, OfAnyStateButTwoIsUp)
{
    varn_if_entry_t &kept = start_with(24, bits(1));
    for (const unsigned state : {0u, 1u, 3u, 16u, 255u}) {
        SCOPED_TRACE(state);
        opposite(kept);
        EXPECT_EQ(notified(24, state), 0);
        EXPECT_EQ(calls(), lines(opening(24), asked_linkup, asked_protoup));
        EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0");
    }
}

TEST_F(UpdateL2State, UpRefreshesLinkAndProtocolEvenWhenTheyAreNotCached)
{
    varn_if_entry_t &kept = start_with(5, bits(1));
    kept.dirty = bits(17, 18);
    watch(kept);
    EXPECT_EQ(notified(5, 1), 0);
    EXPECT_EQ(calls(), lines(opening(5), asked_linkup, asked_protoup));
    EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0, dirty -17, dirty -18");
    EXPECT_EQ(counters_moved(), "updates[15] +1, updates[16] +1, l2_updates +1");
}

TEST_F(UpdateL2State, DeliberatelyLeavesTheLinkOfAPhysicalPortAlone)
{
    varn_if_entry_t &kept = start_with(26, bits(1, 17, 18));
    kept.dirty = bits(17, 18);
    watch(kept);
    EXPECT_EQ(notified(26, 1), 0);
    EXPECT_EQ(calls(), lines(opening(26), asked_protoup));
    EXPECT_EQ(changes(), "protoup 1 -> 0, dirty -18");
    EXPECT_EQ(counters_moved(), "updates[16] +1, l2_updates +1");
}

constexpr written_attribute written_by_l2[] = {
    {9, 4, "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f", ""},
    {13, 12, "mtu 1500 -> 9000", ""},
    {10, 19, "vlan 5 -> 30", ""},
    {15, 13, "switchport 0 -> 1", "ifsvc_is_switchport(7) = 5"},
    {16, 14, "switching 1 -> 0", "ifsvc_is_switching_enabled_on_iod(7) = 4"},
};

// Whatever is dirty stays so, and nothing becomes so.
TEST_F(UpdateL2State, UpWritesEachAttributeOnlyWhenItIsCachedAndLeavesItsDirtyBit)
{
    for (const written_attribute &each : written_by_l2)
        for (const u64 dirt : {u64{0}, ~bits(17, 18)}) {
            SCOPED_TRACE(spell("bit ", dec(each.bit), ", dirty ", hex(dirt)));
            varn_if_remove_entry_by_iod(7);
            varn_if_entry_t &kept = start_with(26, bits(1, each.bit));
            kept.protoup = 0;
            std::memcpy(kept.mac, the(7).is.mac.data(), 6);
            kept.dirty = dirt;
            watch(kept);
            EXPECT_EQ(notified(26, 1), 0);
            const std::string asked = lines(opening(26), asked_protoup);
            EXPECT_EQ(calls(), *each.asked == '\0' ? asked : lines(asked, each.asked));
            EXPECT_EQ(changes(), each.change);
            const std::string own = spell("updates[", dec(each.slot), "] +1");
            const std::string protocol = "updates[16] +1";
            EXPECT_EQ(counters_moved(), each.slot < 16
                                            ? spell(own, ", ", protocol, ", l2_updates +1")
                                            : spell(protocol, ", ", own, ", l2_updates +1"));
        }
}

TEST_F(UpdateL2State, StoresZerosAsTheyStand)
{
    varn_if_entry_t &kept = start_with(26, bits(1, 9, 10, 13));
    l2_message zeros = l2_of(index_7, 7, 1).mac(16, {}).word(24, 0x50000).word(40, 0x60000);
    EXPECT_EQ(varn_update_l2_state(zeros.get()), 0);
    EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0000.0000.0000, protoup 1 -> 0, vlan 5 -> 0, "
                         "mtu 1500 -> 0");
    EXPECT_EQ(dirty(&kept), 0u);
}

TEST_F(UpdateL2State, WithoutVlanInTheRecordKeepsTheVlan)
{
    start_with(26, bits(1, 10));
    for (const unsigned flags : {0u, 0x10u, 0xFFu}) {
        l2_message update = l2_of(index_7, 7, 1).byte(8, 0).byte(14, flags);
        EXPECT_EQ(varn_update_l2_state(update.get()), 0);
        EXPECT_EQ(entry(7)->vlan, 5u);
    }
    EXPECT_EQ(counters_moved(), "updates[16] +3, l2_updates +3");
}

TEST_F(UpdateL2State, TakesTheVlanThatItsFlagSelects)
{
    start_with(26, bits(1, 10));
    for (const unsigned present : {1u, 2u, 0xFFu})
        for (const auto &[flags, vlan_id] :
             {std::pair{0u, 30u}, {0xEFu, 30u}, {0x10u, 20u}, {0x11u, 20u}, {0xFFu, 20u}}) {
            SCOPED_TRACE(flags);
            l2_message update = l2_of(index_7, 7, 1).byte(8, present).byte(14, flags);
            EXPECT_EQ(varn_update_l2_state(update.get()), 0);
            EXPECT_EQ(entry(7)->vlan, vlan_id);
        }
}

TEST_F(UpdateL2State, WithTheVlanNotCachedKeepsIt)
{
    start_with(26, bits(1));
    EXPECT_EQ(notified(26, 1), 0);
    EXPECT_EQ(changes(), "protoup 1 -> 0");
}

TEST_F(UpdateL2State, TakesTheTypeFromTheRecordAndTheEntryFromTheIod)
{
    start_with(24, bits(1));
    EXPECT_EQ(notified(26, 1), 0);
    EXPECT_EQ(calls(), lines(opening(26), asked_protoup));
    EXPECT_EQ(changes(), "protoup 1 -> 0");
}

// ---- the port index and the lif of types 9 and 22, and the port-channel cache ----

using UpdateL2StateFetchingAgain = UpdateL2State;

TEST_F(UpdateL2StateFetchingAgain, TypesNineAndTwentyTwoAskForPortIndexAndLif)
{
    varn_if_entry_t &kept = start_with(22, bits(1, 2, 3));
    EXPECT_EQ(notified(22, 1), 0);
    EXPECT_EQ(calls(), lines(opening(22), asked_linkup, asked_protoup, refresh_lines(22),
                             "idxsvc_lib_ifidx_to_di(0x16000007) = 0 -> 0x107",
                             "lifsvc_query_ifindex_to_lif(0x16000007) = 0 -> 0x2007",
                             traced("lif same as lifsvc's value, clear dirty bit\n")));
    EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0");
    EXPECT_EQ(counters_moved(), "updates[2] +1, updates[3] +1, updates[15] +1, updates[16] +1, "
                                "l2_updates +1");
    EXPECT_EQ(dirty(&kept), 0u);
}

TEST_F(UpdateL2StateFetchingAgain, TypeNineHasNoPortIndex)
{
    start_with(9, bits(1, 2, 3));
    EXPECT_EQ(notified(9, 1), 0);
    EXPECT_EQ(calls(), lines(opening(9), asked_linkup, asked_protoup, refresh_lines(9),
                             "lifsvc_query_ifindex_to_lif(0x9000007) = 0 -> 0x2007",
                             traced("lif same as lifsvc's value, clear dirty bit\n")));
    EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0");
}

TEST_F(UpdateL2StateFetchingAgain, APortIndexAndALifThatMovedAreFiledAnew)
{
    start_with(22, bits(1, 2, 3));
    the(7).pi(0x777).lif(0x888);
    EXPECT_EQ(notified(22, 1), 0);
    EXPECT_EQ(changes(), "pi 0x107 -> 0x777, lif 0x2007 -> 0x888, linkup 0 -> 1, protoup 1 -> 0, "
                         "pi_remaps 0 -> 1, lif_remaps 0 -> 1");
}

TEST_F(UpdateL2StateFetchingAgain, OtherTypesAskForNeither)
{
    for (const u32 type : {5u, 24u, 26u, 1u}) {
        SCOPED_TRACE(type);
        varn_if_entry_t &kept = start_with(type, bits(1, 2, 3, 33));
        kept.dirty = bits(2);
        watch(kept);
        EXPECT_EQ(notified(type, 1), 0);
        const std::string asked = type == 26 ? "" : spell(asked_linkup, "\n");
        EXPECT_EQ(calls(), lines(opening(type), spell(asked, asked_protoup)));
        EXPECT_EQ(changes(), type == 26 ? "protoup 1 -> 0" : "linkup 0 -> 1, protoup 1 -> 0");
        varn_if_remove_entry_by_iod(7);
    }
}

// A bit of the configuration that is clear clears the entry's.
TEST_F(UpdateL2StateFetchingAgain, CopiesTheTwoSyncBitsIntoTheDirtyMaskAlsoWhenTheyAreClear)
{
    for (const u64 copied : {bits(), bits(2), bits(3), bits(2, 3)}) {
        SCOPED_TRACE(copied);
        varn_if_entry_t &kept = start_with(22, bits(1, 2, 3));
        varn.config.sync = bits(1) | copied;
        kept.dirty = bits(2, 3, 14, 26, 28, 33);
        watch(kept);
        EXPECT_EQ(notified(22, 1), 0);
        EXPECT_EQ(on(idxsvc_lib_ifidx_to_di).asked(), 1u + ((copied & bits(2)) != 0));
        EXPECT_EQ(on(lifsvc_query_ifindex_to_lif).asked(), 1u + ((copied & bits(3)) != 0));
        EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0, dirty -2, dirty -3");
        varn.config.sync = bits(1, 2, 3);
        varn_if_remove_entry_by_iod(7);
        on(idxsvc_lib_ifidx_to_di).as_usual();
        on(lifsvc_query_ifindex_to_lif).as_usual();
    }
}

// What is dirty besides is fetched in the same go: the record's values are not the last word.
TEST_F(UpdateL2StateFetchingAgain, TheRefreshAsksForAllElseThatIsDirty)
{
    varn_if_entry_t &kept = start_with(22, bits(1, 13));
    kept.dirty = bits(13, 15);
    watch(kept);
    EXPECT_EQ(notified(22, 1), 0);
    EXPECT_EQ(calls(), lines(opening(22), asked_linkup, asked_protoup, refresh_lines(22),
                             "ifsvc_is_switchport(7) = 5", "ifsvc_get_if_mtu(7) = 1500"));
    EXPECT_EQ(changes(), "switchport 0 -> 1, linkup 0 -> 1, protoup 1 -> 0, dirty -13, dirty -15");
    EXPECT_EQ(counters_moved(), "updates[12] +2, updates[13] +1, updates[15] +1, updates[16] +1, "
                                "l2_updates +1");
}

class UpdateL2StateOfAPortChannel : public UpdateL2State
{
protected:
    void start_with_members()
    {
        given_type(22);
        the(7).members({0x1a000008});
        start_caching(bits(1, 33));
        opposite(*varn_if_create_entry_by_iod(7));
        cache_members(0x16000007);
    }
};

TEST_F(UpdateL2StateOfAPortChannel, InvalidatesItsMembersLast)
{
    start_with_members();
    EXPECT_EQ(notified(22, 1), 0);
    EXPECT_EQ(calls(), lines(opening(22), asked_linkup, asked_protoup, refresh_lines(22),
                             traced("PC Varn invalidated for 0x16000007\n")));
    EXPECT_EQ(counters_moved(), "updates[15] +1, updates[16] +1, l2_updates +1, pc_updates +1");
    EXPECT_TRUE(members_are_dirty());
}

TEST_F(UpdateL2StateOfAPortChannel, DownLeavesItsMembersCached)
{
    start_with_members();
    EXPECT_EQ(notified(22, 2), 0);
    EXPECT_EQ(counters_moved(), "l2_updates +1");
    EXPECT_FALSE(members_are_dirty());
}

TEST_F(UpdateL2StateOfAPortChannel, WithoutCachedMembersReportsThatAndSucceeds)
{
    start_with(22, bits(1, 33));
    EXPECT_EQ(notified(22, 1), 0);
    EXPECT_EQ(calls(),
              lines(opening(22), asked_linkup, asked_protoup, refresh_lines(22),
                    reported("varn_pc_invalidate",
                             "No Memory available for aggsvc entry ifindex 0x16000007\n")));
}

TEST_F(UpdateL2StateOfAPortChannel, WithTheMembersNotCachedDoesNotLookForThem)
{
    start_with(22, bits(1));
    EXPECT_EQ(notified(22, 1), 0);
    EXPECT_EQ(calls(), lines(opening(22), asked_linkup, asked_protoup, refresh_lines(22)));
}

TEST_F(UpdateL2StateOfAPortChannel, TypeNineDoesNotLookForMembers)
{
    start_with(9, bits(1, 33));
    EXPECT_EQ(notified(9, 1), 0);
    EXPECT_EQ(calls(), lines(opening(9), asked_linkup, asked_protoup, refresh_lines(9)));
}

// The result of the refresh is not looked at: here it finds the if-index on another iod.
TEST_F(UpdateL2StateOfAPortChannel, GoesOnAfterAFailedRefresh)
{
    varn_if_entry_t &kept = start_with(22, bits(1, 33));
    kept.dirty = bits(1);
    on(ifsvc_get_iod_frm_ifindex).answers(0, 99);
    EXPECT_EQ(notified(22, 1), 0);
    EXPECT_EQ(calls(),
              lines(opening(22), asked_linkup, asked_protoup, refresh_lines(22),
                    "ifsvc_get_iod_frm_ifindex(0x16000007) = 0 -> 99",
                    reported("varn_if_update_entry",
                             "If->iod mapping changed for if-index 0x16000007, entry->iod=7, "
                             "iod=99, err: 0x0\n"),
                    traced("Varn remove failed for Interface with iod 99\n"),
                    reported("varn_pc_invalidate",
                             "No Memory available for aggsvc entry ifindex 0x16000007\n")));
}

// The service failed and yet named the entry's own iod: the refresh destroys the very entry.
TEST_F(UpdateL2StateOfAPortChannel, OutlivesAnEntryThatTheRefreshDestroys)
{
    varn_if_entry_t &kept = start_with(22, bits(1, 33));
    kept.dirty = bits(1);
    on(ifsvc_get_iod_frm_ifindex).answers(0x41, 7);
    EXPECT_EQ(notified(22, 1), 0);
    EXPECT_EQ(entry(7), nullptr);
    EXPECT_EQ(counters_moved(),
              "updates[1] +1, updates[15] +1, updates[16] +1, if_frees +1, if_destroys +1, "
              "iod_remaps +1, if_index.removes +1, iod_index.removes +1, l2_updates +1");
}

} // namespace
