// SPDX-License-Identifier: Apache-2.0
//
// Notifications of the state of a bundle's member. The L2 one is told by the service, as L2 up is,
// but looks at no state and no type and fetches no identity; the L3 one asks nobody at all.
#include "handler_ground.h"

namespace
{

// The interface's answers differ from what the entry holds, and only their low bit counts.
class bundle_test : public handler_test
{
protected:
    varn_if_entry_t &start_with(u32 type, u64 sync)
    {
        gone(7);
        given(port(7).of_type(static_cast<std::uint8_t>(type)).linkup(3).protoup(2).switchport(5));
        the(7).switching(4);
        start_caching(sync);
        return opposite(*varn_if_create_entry_by_iod(7));
    }
    varn_if_entry_t &opposite(varn_if_entry_t &kept)
    {
        kept.linkup = kept.switchport = 0;
        kept.protoup = kept.switching = 1;
        kept.vlan = 5;
        kept.mtu = 1500;
        std::memcpy(kept.mac, "\x02\0\0\0\0\x07", 6);
        return watch(kept);
    }
};

constexpr u32 bundle_types[] = {5, 9, 22, 24, 26, 1};

// ---- L2 ----

class UpdateL2BundleState : public bundle_test
{
protected:
    static u32 notified(u32 type, unsigned state)
    {
        return varn_update_l2_bundle_state(l2_of(type << 24 | 7, 7, state).get());
    }
    static std::string asked_always()
    {
        return lines(asked_name_of_7,
                     traced("L2 bundle phy state update for interface eth7 (iod 7)\n"),
                     "ifsvc_is_linkup(7) = 3", "ifsvc_is_protoup(7) = 2");
    }
};

TEST_F(UpdateL2BundleState, WhileTheCacheIsOffReturnsZero)
{
    start_with(26, everything_told);
    varn_enabled = 0;
    EXPECT_EQ(notified(26, 1), 0u);
    expect_untouched();
}

TEST_F(UpdateL2BundleState, WithoutEntryCountsLogsAndReturnsZero)
{
    start_caching(bits(1, 17));
    EXPECT_EQ(notified(26, 1), 0u);
    EXPECT_EQ(calls(), lines(asked_name_of_7,
                             traced("L2 bundle phy state update for interface eth7 (iod 7)\n")));
    EXPECT_EQ(counters_moved(), "l2_bundle_updates +1");
    EXPECT_EQ(entry(7), nullptr);
}

// No type is asked for, and neither a port index nor a port-channel's member.
TEST_F(UpdateL2BundleState, OfEveryTypeAndStateDoesTheSame)
{
    for (const u32 type : bundle_types) {
        start_with(type, everything_told | bits(2, 3));
        for (const unsigned state : {0u, 1u, 2u, 255u}) {
            SCOPED_TRACE(spell("type ", dec(type), ", state ", dec(state)));
            opposite(*entry(7));
            EXPECT_EQ(notified(type, state), 1u);
            EXPECT_EQ(calls(), lines(asked_always(), "ifsvc_is_switchport(7) = 5",
                                     "ifsvc_is_switching_enabled_on_iod(7) = 4"));
            EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f, switchport 0 -> 1, "
                                 "switching 1 -> 0, linkup 0 -> 1, protoup 1 -> 0, vlan 5 -> 30, "
                                 "mtu 1500 -> 9000");
            EXPECT_EQ(counters_moved(), "updates[4] +1, updates[12] +1, updates[13] +1, "
                                        "updates[14] +1, updates[15] +1, updates[16] +1, "
                                        "updates[19] +1, l2_bundle_updates +1");
        }
    }
}

TEST_F(UpdateL2BundleState, RefreshesLinkAndProtocolEvenWhenTheyAreNotCached)
{
    varn_if_entry_t &kept = start_with(26, bits(1));
    kept.dirty = ~u64{0};
    watch(kept);
    EXPECT_EQ(notified(26, 2), 1u);
    EXPECT_EQ(calls(), asked_always());
    EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0, dirty -17, dirty -18");
    EXPECT_EQ(counters_moved(), "updates[15] +1, updates[16] +1, l2_bundle_updates +1");
}

constexpr written_attribute written_by_a_bundle[] = {
    {9, 4, "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f", ""},
    {13, 12, "mtu 1500 -> 9000", ""},
    {10, 19, "vlan 5 -> 30", ""},
    {15, 13, "switchport 0 -> 1", "ifsvc_is_switchport(7) = 5"},
    {16, 14, "switching 1 -> 0", "ifsvc_is_switching_enabled_on_iod(7) = 4"},
};

TEST_F(UpdateL2BundleState, WritesEachAttributeOnlyWhenItIsCachedAndLeavesItsDirtyBit)
{
    for (const written_attribute &each : written_by_a_bundle)
        for (const u64 dirt : {u64{0}, ~bits(17, 18)}) {
            SCOPED_TRACE(spell("bit ", dec(each.bit), ", dirty ", hex(dirt)));
            varn_if_entry_t &kept = start_with(22, bits(1, each.bit));
            kept.linkup = 1;
            kept.protoup = 0;
            kept.dirty = dirt;
            watch(kept);
            EXPECT_EQ(notified(22, 1), 1u);
            EXPECT_EQ(calls(),
                      *each.asked == '\0' ? asked_always() : lines(asked_always(), each.asked));
            EXPECT_EQ(changes(), each.change);
            const std::string own = spell("updates[", dec(each.slot), "] +1");
            const std::string always = "updates[15] +1, updates[16] +1";
            EXPECT_EQ(counters_moved(),
                      spell(each.slot < 15 ? spell(own, ", ", always) : spell(always, ", ", own),
                            ", l2_bundle_updates +1"));
        }
}

TEST_F(UpdateL2BundleState, TakesTheVlanThatItsFlagSelects)
{
    start_with(26, bits(1, 10));
    for (const auto &[flags, vlan_id] :
         {std::pair{0u, 30u}, {0xEFu, 30u}, {0x10u, 20u}, {0xFFu, 20u}}) {
        l2_message update = l2_of(index_7, 7, 1).byte(14, flags);
        EXPECT_EQ(varn_update_l2_bundle_state(update.get()), 1u);
        EXPECT_EQ(entry(7)->vlan, vlan_id) << flags;
    }
}

TEST_F(UpdateL2BundleState, WithoutVlanInTheRecordKeepsTheVlan)
{
    start_with(26, bits(1, 10));
    l2_message update = l2_of(index_7, 7, 1).byte(8, 0).byte(14, 0x10);
    EXPECT_EQ(varn_update_l2_bundle_state(update.get()), 1u);
    EXPECT_EQ(changes(), "linkup 0 -> 1, protoup 1 -> 0");
    EXPECT_EQ(counters_moved(), "updates[15] +1, updates[16] +1, l2_bundle_updates +1");
}

TEST_F(UpdateL2BundleState, FindsTheEntryByIodAndTrustsAnyIfIndex)
{
    start_with(26, bits(1));
    on(if_index_get_type).fails();
    EXPECT_EQ(varn_update_l2_bundle_state(l2_of(0, 7, 1).get()), 1u);
    EXPECT_EQ(calls(), asked_always());
}

// ---- L3 ----

class UpdateL3BundleState : public bundle_test
{
protected:
    static u32 notified(unsigned state)
    {
        return varn_update_l3_bundle_state(l3_of(index_7, 7, state).get());
    }
    static std::string asked_always()
    {
        return lines(asked_name_of_7,
                     traced("L3 bundle phy state update for interface eth7 (iod 7)\n"));
    }
};

TEST_F(UpdateL3BundleState, WhileTheCacheIsOffReturnsZero)
{
    start_with(26, everything_told);
    varn_enabled = 0;
    EXPECT_EQ(notified(1), 0u);
    expect_untouched();
}

TEST_F(UpdateL3BundleState, WithoutEntryCountsLogsAndReturnsZero)
{
    start_client(config().sync(bits(1, 17)).track_l3(1));
    EXPECT_EQ(notified(1), 0u);
    EXPECT_EQ(calls(), asked_always());
    EXPECT_EQ(counters_moved(), "l3_bundle_updates +1");
    EXPECT_EQ(entry(7), nullptr);
}

struct state_row {
    unsigned state, linkup, protoup;
};

TEST_F(UpdateL3BundleState, ReadsLinkAndProtocolFromTheStateAndAsksNobody)
{
    varn_if_entry_t &kept = start_with(26, bits(1));
    for (const state_row &row : {state_row{0, 0, 0},
                                 {1, 1, 1},
                                 {2, 0, 0},
                                 {3, 0, 0},
                                 {15, 0, 0},
                                 {16, 1, 0},
                                 {17, 0, 0},
                                 {255, 0, 0}})
        for (const unsigned before : {0u, 1u}) {
            SCOPED_TRACE(row.state);
            kept.linkup = kept.protoup = before & 1;
            kept.dirty = ~u64{0};
            forget_all();
            EXPECT_EQ(notified(row.state), 1u);
            EXPECT_EQ(kept.linkup, row.linkup);
            EXPECT_EQ(kept.protoup, row.protoup);
            EXPECT_EQ(dirty(&kept), ~bits(17, 18));
            EXPECT_EQ(calls(), asked_always());
            EXPECT_EQ(counters_moved(), "updates[15] +1, updates[16] +1, l3_bundle_updates +1");
        }
}

// Not even a tunnel keeps its MTU here; MAC and switchport are no affair of this handler.
TEST_F(UpdateL3BundleState, OfEveryTypeWritesTheMtuWhenItIsCached)
{
    for (const u32 type : bundle_types)
        for (const u64 dirt : {u64{0}, ~bits(17, 18)}) {
            SCOPED_TRACE(spell("type ", dec(type), ", dirty ", hex(dirt)));
            varn_if_entry_t &kept = start_with(type, everything_told | bits(2, 3));
            kept.dirty = dirt;
            watch(kept);
            EXPECT_EQ(varn_update_l3_bundle_state(l3_of(type << 24 | 7, 7, 1).get()), 1u);
            EXPECT_EQ(calls(), asked_always());
            EXPECT_EQ(changes(), "linkup 0 -> 1, mtu 1500 -> 9000");
            EXPECT_EQ(counters_moved(), "updates[12] +1, updates[15] +1, updates[16] +1, "
                                        "l3_bundle_updates +1");
        }
}

TEST_F(UpdateL3BundleState, WithTheMtuNotCachedKeepsIt)
{
    start_with(26, everything_told & ~bits(13));
    EXPECT_EQ(notified(1), 1u);
    EXPECT_EQ(changes(), "linkup 0 -> 1");
    EXPECT_EQ(counters_moved(), "updates[15] +1, updates[16] +1, l3_bundle_updates +1");
}

TEST_F(UpdateL3BundleState, OfIodZeroFindsNothingAndFillsInNothing)
{
    start_with(26, bits(1));
    l3_message update = l3_of(index_7, 0, 1);
    EXPECT_EQ(varn_update_l3_bundle_state(update.get()), 0u);
    EXPECT_EQ(update.get()->iod, 0u);
    EXPECT_EQ(calls(), lines("ifsvc_get_if_name(0) = \"(unknown iod 0)\"",
                             traced("L3 bundle phy state update for interface (unknown iod 0) "
                                    "(iod 0)\n")));
    EXPECT_EQ(changes(), "");
}

} // namespace
