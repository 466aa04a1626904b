// SPDX-License-Identifier: Apache-2.0
//
// Notifications of the L3 state: when they create and remove entries, what they take from the
// record and what from the service, and what L3 up asks again besides.
#include "handler_ground.h"

namespace
{

constexpr const char *asked_mac = "ifsvc_get_if_src_mac_addr(7) = 0 -> 0a0b.0c0d.0e0f";
constexpr const char *asked_switchport = "ifsvc_is_switchport(7) = 5";
constexpr const char *asked_ethernet = "ifsvc_is_ethernet(7) = 1";
constexpr const char *asked_encap = "ifsvc_get_if_encaptype(7) = 6";

// The interface's answers differ from what the entry holds, and only their low bit counts: the link
// is up, the protocol down, a switchport; its MAC is the new one.
class UpdateL3State : public handler_test
{
protected:
    varn_if_entry_t &start_with(u32 type, u64 sync, u32 track_l3 = 0)
    {
        given_type(type);
        start_client(config().sync(sync).track_l3(track_l3));
        return opposite(*varn_if_create_entry_by_iod(7));
    }
    void given_type(u32 type)
    {
        gone(7);
        given(port(7).of_type(static_cast<std::uint8_t>(type)).linkup(3).protoup(2).switchport(5));
        the(7).mac(new_mac).encap(6);
    }
    varn_if_entry_t &opposite(varn_if_entry_t &kept)
    {
        kept.linkup = kept.switchport = kept.ethernet = 0;
        kept.protoup = 1;
        kept.mtu = 1500;
        kept.encap = 1;
        std::memcpy(kept.mac, "\x02\0\0\0\0\x07", 6);
        return watch(kept);
    }

    static int notified(u32 type, unsigned state)
    {
        return varn_update_l3_state(l3_of(type << 24 | 7, 7, state).get());
    }
    static std::string asked_type(u32 type)
    {
        return spell("if_index_get_type(", hex(type << 24 | 7), ") = 0 -> ", dec(type));
    }
    // What stands in the journal before anything is changed.
    static std::string opening(u32 type)
    {
        return lines(asked_type(type), asked_name_of_7,
                     traced("L3 Protocol-change update for interface eth7 (iod 7)\n"));
    }
    static std::string refresh_lines(u32 type)
    {
        const std::string update =
            spell("Varn-update for if-index ", hex(type << 24 | 7), ", iod 7\n");
        return lines(traced(update), asked_type(type));
    }
};

TEST_F(UpdateL3State, WhileTheCacheIsOffReturnsMinusOneAndFillsInNoIod)
{
    start_with(26, everything_told, 1);
    varn_enabled = 0;
    l3_message update = l3_of(index_7, 0, 2);
    EXPECT_EQ(varn_update_l3_state(update.get()), -1);
    EXPECT_EQ(update.get()->iod, 0u);
    expect_untouched();
}

TEST_F(UpdateL3State, OfAnUnknownIfIndexReportsItReturnsTheErrorAndHasNotCounted)
{
    start_with(26, everything_told);
    on(if_index_get_type).fails(0x41);
    EXPECT_EQ(notified(26, 1), 0x41);
    EXPECT_EQ(calls(),
              lines("if_index_get_type(0x1a000007) = 0x41",
                    reported("varn_update_l3_state", " Invalid interface index 0x1a000007\n")));
    EXPECT_STREQ(varn_print_str, " Invalid interface index 0x1a000007\n");
    EXPECT_EQ(history_text(), "[77]:  Invalid interface index 0x1a000007\n");
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(changes(), "");
}

TEST_F(UpdateL3State, DeliberatelyCountsAfterItsChecksWhereTheL2HandlerCountsBefore)
{
    start_with(26, everything_told);
    on(if_index_get_type).fails(0x41);
    varn_update_l2_state(l2_of(index_7, 7, 1).get());
    varn_update_l3_state(l3_of(index_7, 7, 1).get());
    EXPECT_EQ(counters_moved(), "l2_updates +1");
}

TEST_F(UpdateL3State, OfIodZeroFillsItIntoTheRecord)
{
    start_with(26, bits(1));
    l3_message update = l3_of(index_7, 0, 2);
    EXPECT_EQ(varn_update_l3_state(update.get()), 0);
    EXPECT_EQ(update.get()->iod, 7u);
    EXPECT_EQ(calls(), lines(asked_type(26), "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7",
                             asked_name_of_7,
                             traced("L3 Protocol-change update for interface eth7 (iod 7)\n"),
                             asked_linkup, asked_protoup));
    EXPECT_EQ(counters_moved(), "updates[15] +1, updates[16] +1, l3_updates +1");
}

TEST_F(UpdateL3State, OfAnIodThatCannotBeHadReportsItReturnsTheErrorAndHasNotCounted)
{
    start_with(26, everything_told, 1);
    on(ifsvc_get_iod_frm_ifindex).fails(0x40040009);
    l3_message update = l3_of(index_7, 0, 1);
    EXPECT_EQ(varn_update_l3_state(update.get()), 0x40040009);
    EXPECT_EQ(update.get()->iod, 0u);
    EXPECT_EQ(calls(), lines(asked_type(26), "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x40040009",
                             reported("varn_update_l3_state",
                                      "ifsvc_get_iod_frm_ifindex failed for if-index "
                                      "0x1a000007, err: 0x40040009\n")));
    EXPECT_STREQ(varn_print_str, "ifsvc_get_iod_frm_ifindex failed for if-index 0x1a000007, err: "
                                 "0x40040009\n");
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(changes(), "");
}

TEST_F(UpdateL3State, OfAKnownIodAsksForNone)
{
    start_with(26, bits(1));
    on(ifsvc_get_iod_frm_ifindex).fails();
    EXPECT_EQ(notified(26, 1), 0);
    EXPECT_EQ(on(ifsvc_get_iod_frm_ifindex).asked(), 0u);
}

// ---- entries that come and go ----

using UpdateL3StateTracking = UpdateL3State;

TEST_F(UpdateL3StateTracking, RemovesTheEntryOfWhatIsNotUp)
{
    for (const unsigned state : {0u, 2u, 16u, 255u}) {
        SCOPED_TRACE(state);
        start_with(26, bits(1, 17), 5);
        EXPECT_EQ(notified(26, state), 0);
        EXPECT_EQ(calls(),
                  lines(opening(26), traced("Removing varn entry for if-iod 7 on l3-change.\n"),
                        traced("If-destroy for if-index 0x1a000007, iod 7, pi "
                               "0xffffffff, lif 0xffffffff\n")));
        EXPECT_EQ(counters_moved(), "if_frees +1, if_destroys +1, if_index.removes +1, "
                                    "iod_index.removes +1, l3_updates +1");
        EXPECT_EQ(entry(7), nullptr);
    }
}

TEST_F(UpdateL3StateTracking, KeepsTheEntryOfWhatIsUp)
{
    const varn_if_entry_t *kept = &start_with(26, bits(1), 1);
    EXPECT_EQ(notified(26, 1), 0);
    EXPECT_EQ(entry(7), kept);
    EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0, dirty +19");
}

TEST_F(UpdateL3StateTracking, CreatesAnEntryOfWhatIsUp)
{
    given_type(26);
    start_client(config().sync(bits(1, 17)).track_l3(1));
    EXPECT_EQ(notified(26, 1), 0);
    EXPECT_EQ(calls(),
              lines(opening(26), traced("Creating varn entry for if-iod 7 on l3-change.\n"),
                    "ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007", asked_type(26),
                    traced("If-create for if-index 0x1a000007, iod 7, pi 0xffffffff, "
                           "lif 0xffffffff\n"),
                    "ifsvc_get_if_mtu(7) = 1500", refresh_lines(26), asked_linkup));
    EXPECT_EQ(counters_moved(), "updates[15] +1, if_allocs +1, if_index.inserts +1, "
                                "iod_index.inserts +1, l3_updates +1");
    EXPECT_NE(entry(7), nullptr);
}

TEST_F(UpdateL3StateTracking, ReturnsZeroEvenWhenNoEntryCouldBeCreated)
{
    given_type(26);
    start_client(config().sync(bits(1, 17)).track_l3(1));
    on(ifsvc_get_ifindex_frm_iod).fails(0x42);
    EXPECT_EQ(notified(26, 1), 0);
    EXPECT_EQ(calls(),
              lines(opening(26), traced("Creating varn entry for if-iod 7 on l3-change.\n"),
                    "ifsvc_get_ifindex_frm_iod(7) = 0x42"));
    EXPECT_EQ(entry(7), nullptr);
}

TEST_F(UpdateL3StateTracking, WithoutEntryOtherwiseCreatesNoneAndSaysSo)
{
    given_type(26);
    for (const auto &[track_l3, state] : {std::pair{0u, 1u}, {0u, 2u}, {1u, 2u}, {5u, 0u}}) {
        start_client(config().sync(bits(1, 17)).track_l3(track_l3));
        EXPECT_EQ(notified(26, state), -1);
        const std::string told = spell("Not creating cache entry for if-iod 7 on l3-change, ",
                                       dec(track_l3), ", state: ", dec(state), "\n");
        EXPECT_EQ(calls(), lines(opening(26), traced(told)));
        EXPECT_EQ(counters_moved(), "l3_updates +1");
        EXPECT_EQ(entry(7), nullptr);
    }
}

TEST_F(UpdateL3StateTracking, WhenOffNeverRemovesAnEntry)
{
    const varn_if_entry_t *kept = &start_with(26, bits(1), 0);
    for (const unsigned state : {0u, 1u, 2u, 16u}) {
        EXPECT_EQ(notified(26, state), 0);
        EXPECT_EQ(entry(7), kept);
    }
    EXPECT_EQ(counters_moved(), "misses[4] +1, misses[5] +1, misses[17] +1, updates[15] +4, "
                                "updates[16] +4, l3_updates +4");
}

// ---- what is rewritten ----

TEST_F(UpdateL3State, NotUpRewritesFromTheServiceAndTheRecord)
{
    start_with(1, everything_told);
    for (const unsigned state : {0u, 2u, 16u}) {
        SCOPED_TRACE(state);
        opposite(*entry(7));
        EXPECT_EQ(notified(1, state), 0);
        EXPECT_EQ(calls(),
                  lines(opening(1), asked_linkup, asked_protoup, asked_mac, asked_switchport));
        EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f, switchport 0 -> 1, linkup 0 "
                             "-> 1, protoup 1 -> 0, mtu 1500 -> 9000");
        EXPECT_EQ(counters_moved(), "updates[4] +1, updates[12] +1, updates[13] +1, updates[15] "
                                    "+1, updates[16] +1, l3_updates +1");
    }
}

TEST_F(UpdateL3State, UpAlsoAsksWhetherItIsEthernet)
{
    start_with(1, everything_told);
    EXPECT_EQ(notified(1, 1), 0);
    EXPECT_EQ(calls(), lines(opening(1), asked_linkup, asked_protoup, asked_mac, asked_switchport,
                             asked_ethernet));
    EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f, switchport 0 -> 1, linkup 0 -> 1, "
                         "protoup 1 -> 0, ethernet 0 -> 1, mtu 1500 -> 9000");
    EXPECT_EQ(counters_moved(),
              "misses[17] +1, hits[4] +1, hits[5] +1, updates[4] +1, updates[12] +1, updates[13] "
              "+1, updates[15] +1, updates[16] +1, l3_updates +1");
}

// Unlike the L2 handler: no type is spared.
TEST_F(UpdateL3State, AsksForTheLinkOfAPhysicalPortTooAndLooksAtNoSyncBit)
{
    varn_if_entry_t &kept = start_with(26, bits(1));
    kept.dirty = bits(17, 18);
    watch(kept);
    EXPECT_EQ(notified(26, 2), 0);
    EXPECT_EQ(calls(), lines(opening(26), asked_linkup, asked_protoup));
    EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0, dirty -17, dirty -18");
    EXPECT_EQ(counters_moved(), "updates[15] +1, updates[16] +1, l3_updates +1");
}

constexpr written_attribute written_by_l3[] = {
    {9, 4, "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f", asked_mac},
    {13, 12, "mtu 1500 -> 9000", ""},
    {15, 13, "switchport 0 -> 1", asked_switchport},
    {10, 19, "", ""}, // the VLAN and whether it switches are no affair of this handler
    {16, 14, "", ""},
};

TEST_F(UpdateL3State, WritesEachAttributeOnlyWhenItIsCachedAndLeavesItsDirtyBit)
{
    for (const written_attribute &each : written_by_l3)
        for (const u64 dirt : {u64{0}, ~bits(17, 18)}) {
            SCOPED_TRACE(spell("bit ", dec(each.bit), ", dirty ", hex(dirt)));
            varn_if_entry_t &kept = start_with(26, bits(1, each.bit));
            kept.linkup = 1;
            kept.protoup = 0;
            kept.dirty = dirt;
            watch(kept);
            EXPECT_EQ(notified(26, 2), 0);
            const std::string asked = lines(opening(26), asked_linkup, asked_protoup);
            EXPECT_EQ(calls(), *each.asked == '\0' ? asked : lines(asked, each.asked));
            EXPECT_EQ(changes(), each.change);
            const std::string own = spell("updates[", dec(each.slot), "] +1, ");
            EXPECT_EQ(counters_moved(), spell(*each.change == '\0' ? "" : own,
                                              "updates[15] +1, updates[16] +1, l3_updates +1"));
        }
}

TEST_F(UpdateL3State, OfATunnelNeverTouchesItsMtu)
{
    start_with(24, bits(1, 13));
    for (const unsigned state : {1u, 2u}) {
        EXPECT_EQ(notified(24, state), 0);
        EXPECT_EQ(entry(7)->mtu, 1500u);
    }
    EXPECT_EQ(varn.updates[12], 1u) << "the refresh of the new entry";
    for (const u32 type : {5u, 9u, 22u, 26u, 1u}) {
        SCOPED_TRACE(type);
        start_with(type, bits(1, 13));
        EXPECT_EQ(notified(type, 2), 0);
        EXPECT_EQ(entry(7)->mtu, 9000u);
        EXPECT_EQ(varn.updates[12], 2u);
    }
}

// A MAC of zeros is stored, and its dirty bit is left as it was.
TEST_F(UpdateL3State, StoresAnUnknownMacAsZeros)
{
    varn_if_entry_t &kept = start_with(26, bits(1, 9));
    on(ifsvc_get_if_src_mac_addr).fails(0x41);
    EXPECT_EQ(notified(26, 2), 0);
    EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0000.0000.0000, linkup 0 -> 1, protoup 1 -> 0");
    EXPECT_EQ(dirty(&kept), 0u);
}

// ---- what L3 up asks besides ----

using UpdateL3StateUp = UpdateL3State;

TEST_F(UpdateL3StateUp, OfAManagementPortFetchesTheMacAfresh)
{
    start_with(5, bits(1, 9));
    EXPECT_EQ(notified(5, 1), 0);
    EXPECT_EQ(calls(), lines(opening(5), asked_linkup, asked_protoup, asked_mac, asked_mac,
                             asked_encap, asked_ethernet));
    EXPECT_EQ(counters_moved(), "misses[4] +1, misses[5] +1, misses[17] +1, updates[4] +1, "
                                "updates[15] +1, updates[16] +1, l3_updates +1");
    EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f, linkup 0 -> 1, protoup 1 -> 0, "
                         "dirty +19");
}

TEST_F(UpdateL3StateUp, OfAManagementPortKeepsAnUnknownMacDirty)
{
    start_with(5, bits(1, 9));
    on(ifsvc_get_if_src_mac_addr).fails(0x41);
    EXPECT_EQ(notified(5, 1), 0);
    EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0000.0000.0000, linkup 0 -> 1, protoup 1 -> 0, "
                         "dirty +9, dirty +19");
}

TEST_F(UpdateL3StateUp, OfAnyOtherTypeFetchesTheMacAgainOnlyWhenItIsDirty)
{
    for (const u32 type : {24u, 26u, 1u})
        for (const u64 dirt : {u64{0}, bits(9)}) {
            SCOPED_TRACE(spell("type ", dec(type), ", dirty ", hex(dirt)));
            varn_if_entry_t &kept = start_with(type, bits(1, 9, 19));
            kept.dirty = dirt;
            watch(kept);
            EXPECT_EQ(notified(type, 1), 0);
            const std::string first = lines(opening(type), asked_linkup, asked_protoup, asked_mac);
            EXPECT_EQ(calls(), lines(dirt == 0 ? first : lines(first, asked_mac), asked_encap,
                                     asked_ethernet));
            EXPECT_EQ(dirty(&kept), 0u);
        }
}

TEST_F(UpdateL3StateUp, OfAManagementPortWhoseMacIsNotCachedLeavesItDirty)
{
    start_with(5, bits(1));
    EXPECT_EQ(notified(5, 1), 0);
    EXPECT_EQ(calls(), lines(opening(5), asked_linkup, asked_protoup, asked_mac, asked_encap,
                             asked_ethernet));
    EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0, dirty +9, dirty +19");
}

TEST_F(UpdateL3StateUp, FetchesADirtyEncapsulationAndAlwaysTheEthernetAnswer)
{
    varn_if_entry_t &kept = start_with(26, bits(1, 4, 19));
    kept.dirty = bits(4);
    watch(kept);
    EXPECT_EQ(notified(26, 1), 0);
    EXPECT_EQ(changes(), "encap 1 -> 6, linkup 0 -> 1, protoup 1 -> 0, ethernet 0 -> 1, dirty -4");
    EXPECT_EQ(counters_moved(), "misses[4] +1, misses[5] +1, misses[17] +1, updates[15] +1, "
                                "updates[16] +1, l3_updates +1");
    EXPECT_EQ(calls(), lines(opening(26), asked_linkup, asked_protoup, asked_mac, asked_encap,
                             asked_ethernet));
}

TEST_F(UpdateL3StateUp, OnlyStateOneIsUp)
{
    start_with(5, everything_told);
    for (const unsigned state : {0u, 2u, 3u, 16u, 255u})
        EXPECT_EQ(notified(5, state), 0);
    EXPECT_EQ(on(ifsvc_is_ethernet).asked(), 1u) << "the refresh of the new entry";
}

// ---- types 9 and 22 ----

using UpdateL3StateFetchingAgain = UpdateL3State;

TEST_F(UpdateL3StateFetchingAgain, APortChannelMovesAndLosesItsMembersLast)
{
    given_type(22);
    the(7).members({0x1a000008});
    start_caching(bits(1, 2, 3, 33));
    opposite(*varn_if_create_entry_by_iod(7));
    cache_members(0x16000007);
    the(7).pi(0x777);
    EXPECT_EQ(notified(22, 2), 0);
    EXPECT_EQ(calls(),
              lines(opening(22), asked_linkup, asked_protoup, refresh_lines(22),
                    "idxsvc_lib_ifidx_to_di(0x16000007) = 0 -> 0x777",
                    traced("If->pi mapping changed for if-index 0x16000007, entry->pi=7, "
                           "pi=263, port_index=1911\n"),
                    traced("Removing stale entry for if-index 0x16000007, iod 7, pi 0x107  "
                           "for new port-index 0x777\n"),
                    traced("Creating pi entry for if-index 0x16000007, iod 7, pi 0x777\n"),
                    "lifsvc_query_ifindex_to_lif(0x16000007) = 0 -> 0x2007",
                    traced("lif same as lifsvc's value, clear dirty bit\n"),
                    traced("PC Varn invalidated for 0x16000007\n")));
    EXPECT_EQ(changes(), "pi 0x107 -> 0x777, linkup 0 -> 1, protoup 1 -> 0, pi_remaps 0 -> 1");
    EXPECT_TRUE(members_are_dirty());
}

// The refresh fetches the ethernet answer once more where its dirty bit had to stay.
TEST_F(UpdateL3StateFetchingAgain, AnUncachedEthernetAnswerIsFetchedByTheRefreshAgain)
{
    start_with(9, bits(1));
    EXPECT_EQ(notified(9, 1), 0);
    EXPECT_EQ(calls(), lines(opening(9), asked_linkup, asked_protoup, asked_mac, asked_encap,
                             asked_ethernet, refresh_lines(9), asked_ethernet));
    EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0, ethernet 0 -> 1");
}

TEST_F(UpdateL3StateFetchingAgain, CopiesTheTwoSyncBitsIntoTheDirtyMaskAlsoWhenTheyAreClear)
{
    varn_if_entry_t &kept = start_with(9, bits(1, 2, 3));
    varn.config.sync = bits(1);
    kept.dirty = bits(2, 3, 14);
    watch(kept);
    EXPECT_EQ(notified(9, 2), 0);
    EXPECT_EQ(calls(), lines(opening(9), asked_linkup, asked_protoup, refresh_lines(9)));
    EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0, dirty -2, dirty -3");
    varn.config.sync = bits(1, 2, 3);
}

TEST_F(UpdateL3StateFetchingAgain, OtherTypesDoNot)
{
    for (const u32 type : {5u, 24u, 26u, 1u}) {
        SCOPED_TRACE(type);
        start_with(type, bits(1, 2, 3, 33));
        EXPECT_EQ(notified(type, 2), 0);
        EXPECT_EQ(calls(), lines(opening(type), asked_linkup, asked_protoup));
    }
}

TEST_F(UpdateL3StateFetchingAgain, OutlivesAnEntryThatTheRefreshDestroys)
{
    varn_if_entry_t &kept = start_with(22, bits(1, 33));
    kept.dirty = bits(1);
    on(ifsvc_get_iod_frm_ifindex).answers(0x41, 7);
    EXPECT_EQ(notified(22, 2), 0);
    EXPECT_EQ(entry(7), nullptr);
    EXPECT_EQ(history().back().text,
              "[77]: No Memory available for aggsvc entry ifindex 0x16000007\n");
}

} // namespace
