// SPDX-License-Identifier: Apache-2.0
//
// The third question that the VLAN cache answers, the primary VLAN, which never fails and is silent
// on its cached road; and what all three questions do alike.
#include "vlan_ground.h"

namespace side_cache
{
namespace
{

// ---- primary VLAN ----

class pvlan_query : public vlan_ground
{
protected:
    // A query, which always gives 0; the primary VLAN.
    static u32 primary_of(int vlan = 20)
    {
        u32 pvlan = 0xDEAD;
        EXPECT_EQ(varn_pvlan_get_pvlan(vlan, &pvlan), 0u);
        return pvlan;
    }
};

using PvlanGetPvlan = pvlan_query;

TEST_F(PvlanGetPvlan, OfANewVlanMakesTheEntryAndCountsAHit)
{
    given(vlan(20).primary(5));
    run(vlan_cache);
    EXPECT_EQ(primary_of(), 5u);
    EXPECT_EQ(calls(),
              lines(vlan_filing(), asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0 -> 520, 5",
                    asked_bd, asked_bd, asked_flood));
    EXPECT_EQ(counters_moved(), spell("vlan_hits.pvlan +1, ", counted_refresh, ", vlan_allocs +1"));
}

TEST_F(PvlanGetPvlan, OfACleanEntryIsOneLookup)
{
    run(vlan_cache);
    filed();
    given(vlan(20).primary(5));
    EXPECT_EQ(primary_of(), 20u);
    EXPECT_EQ(calls(), vlan_found);
    EXPECT_EQ(counters_moved(), "vlan_hits.pvlan +1");
}

TEST_F(PvlanGetPvlan, AfterAFailedRefreshAsksIntoTheEntryAndClearsItsBitAlone)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed_dirty(field_bits | bits(5));
    on(vlan_get_bd).fails(0x41);
    on(vlan_get_bd_and_primary_vlan).answers(0, 601, 30);
    EXPECT_EQ(primary_of(), 30u);
    EXPECT_EQ(
        calls(),
        lines(vlan_found, asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0 -> 601, 30",
              "vlan_get_bd(1/20) = 0x41", traced("1 vlan_get_bd returned bad 0x41 for vlan 20\n"),
              "vlan_get_bd(1/20) = 0x41", traced("2 vlan_get_bd returned bad 0x41 for vlan 20\n"),
              asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0 -> 601, 30"));
    EXPECT_EQ(counters_moved(), spell("vlan_misses.pvlan +1, ", counted_refresh));
    EXPECT_EQ(dirty_of(kept), bd_bit | findex_bit | bits(5));
    EXPECT_EQ(fields(kept), "bd 601, flood 0x4014, pvlan 30");
}

// The traces are those of the refresh; the query itself is silent.
TEST_F(PvlanGetPvlan, OfAFailingServiceDeliberatelyReportsNothingOfItsOwn)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed_dirty(pvlan_bit);
    on(vlan_get_bd_and_primary_vlan).answers(0x42, 601, 30);
    EXPECT_EQ(primary_of(), 30u) << "what the service wrote into the entry";
    EXPECT_EQ(calls(), lines(vlan_found, asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0x42",
                             traced("1 vlan_get_bd_and_primary_vlan returned 0x42 for vlan 20\n"),
                             asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0x42"));
    EXPECT_EQ(counters_moved(), "vlan_misses.pvlan +1, vlan_updates.pvlan +1");
    EXPECT_EQ(dirty_of(kept), pvlan_bit);
    EXPECT_EQ(fields(kept), "bd 601, flood 0x4014, pvlan 30");
}

TEST_F(PvlanGetPvlan, OfAFailingServiceIsWhatTheEntryHeld)
{
    run(vlan_cache);
    filed_dirty(pvlan_bit);
    on(vlan_get_bd_and_primary_vlan).fails(0x42);
    EXPECT_EQ(primary_of(), 20u);
}

TEST_F(PvlanGetPvlan, WithItsBitClearGoesToTheService)
{
    run(vlan_cache & ~pvlan_bit);
    filed();
    EXPECT_EQ(primary_of(), 20u);
    EXPECT_EQ(calls(), lines(asked_vinst, asked_primary));
    EXPECT_EQ(counters_moved(), "vlan_misses.pvlan +1");
}

TEST_F(PvlanGetPvlan, WithItsBitClearTracesAFailureAndDeliberatelyGivesZero)
{
    run(vlan_cache & ~pvlan_bit);
    on(vlan_get_bd_and_primary_vlan).answers(0x40050007, 601, 30);
    EXPECT_EQ(primary_of(), 30u) << "what the service wrote";
    EXPECT_EQ(calls(), lines(asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0x40050007",
                             traced("2 vlan_get_bd_and_primary_vlan ret0x40050007 vlan 20\n")));
    EXPECT_EQ(counters_moved(), "vlan_misses.pvlan +1");
}

TEST_F(PvlanGetPvlan, WithoutAnEntryGoesToTheService)
{
    run(vlan_cache);
    on(ht_insert).of("Vlan").fails();
    EXPECT_EQ(primary_of(), 20u);
    EXPECT_EQ(calls(), lines(failed_filing(), asked_vinst, asked_primary));
    EXPECT_EQ(counters_moved(), "vlan_misses.pvlan +1, vlan_allocs +1, vlan_frees +1");
}

TEST_F(PvlanGetPvlan, WithoutAnEntryTracesAFailureDeliberatelyInOtherWords)
{
    run(vlan_cache);
    switch_off();
    on(vlan_get_bd_and_primary_vlan).fails(0x40050007);
    EXPECT_EQ(primary_of(), 0xDEADu);
    EXPECT_EQ(calls(), lines(asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0x40050007",
                             traced("3vlan_get_bd_and_primary_vlan ret 0x40050007 vlan 20\n")));
    EXPECT_EQ(counters_moved(), "vlan_misses.pvlan +1");
}

TEST_F(PvlanGetPvlan, StartsItsOwnBridgeDomainAtZero)
{
    u32 seen = 0;
    const auto look = [&](vlan_key_t, u16 *bd, u32 *) {
        seen += *bd == 0;
        *bd = 9;
        return 0u;
    };
    on(vlan_get_bd_and_primary_vlan).does(look);
    run(0);
    primary_of();
    primary_of();
    run(vlan_cache);
    switch_off();
    primary_of();
    EXPECT_EQ(seen, 3u);
}

TEST_F(PvlanGetPvlan, OfAWideVlanGivesTheTableItsLow16Bits)
{
    run(vlan_cache);
    filed();
    EXPECT_EQ(primary_of(0x10014), 20u);
    EXPECT_EQ(calls(), vlan_found);
    filed_dirty(pvlan_bit);
    on(vlan_get_bd_and_primary_vlan).of(20).fails(0x42);
    on(vlan_get_bd_and_primary_vlan).of(0x10014).answers(0, 601, 30);
    EXPECT_EQ(primary_of(0x10014), 30u);
    cache(0);
    EXPECT_EQ(primary_of(-1), 0xDEADu);
    EXPECT_NE(calls().find(traced("2 vlan_get_bd_and_primary_vlan ret0x40040004 vlan -1\n")),
              std::string::npos);
}

// ---- all three ----

using VlanQueries = vlan_ground;

std::string ask_all_three()
{
    u16 bd = 0, flood_bd = 0;
    u32 di = 0, pvlan = 0;
    const u32 results = varn_vlan_get_bd({1, 20}, &bd) + varn_vlan_to_flood_di(20, &di, &flood_bd) +
                        varn_pvlan_get_pvlan(20, &pvlan);
    return spell(dec(results), ": ", dec(bd), ", ", hex(di), "/", dec(flood_bd), ", ", dec(pvlan));
}

// A disable and restore keeps the low half of the attribute bits: the flood index is lost.
TEST_F(VlanQueries, AfterDisableAndRestoreDeliberatelyBypassTheFloodIndexAlone)
{
    run(vlan_cache);
    filed();
    varn_disable_cache();
    varn_restore_cache();
    forget_all();
    EXPECT_EQ(ask_all_three(), "0: 520, 0x4014/520, 20");
    EXPECT_EQ(calls(), lines(vlan_found, asked_vinst, vlan_found, asked_flood, vlan_found));
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +1, vlan_hits.bd +2, vlan_hits.pvlan +1");
}

TEST_F(VlanQueries, WhileDisabledAskTheServices)
{
    run(vlan_cache);
    filed();
    varn_disable_cache();
    EXPECT_EQ(ask_all_three(), "0: 520, 0x4014/520, 20");
    EXPECT_EQ(calls(),
              lines(asked_bd, asked_vinst, asked_bd, asked_flood, asked_vinst, asked_primary));
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +3, vlan_misses.pvlan +1");
}

// With the bits of the fields set and that of VLANs clear, each still tries to make an entry.
TEST_F(VlanQueries, WithoutATableTryItAndThenAskTheServices)
{
    run(field_bits);
    EXPECT_EQ(ask_all_three(), "0: 520, 0x4014/520, 20");
    const std::string tried = filing_without_a_table();
    EXPECT_EQ(calls(), lines(tried, asked_bd, tried, asked_vinst, tried, asked_bd, asked_flood,
                             tried, asked_vinst, asked_primary));
    EXPECT_EQ(counters_moved(),
              "vlan_misses.bd +3, vlan_misses.pvlan +1, vlan_allocs +4, vlan_frees +4");
    EXPECT_TRUE(live_blocks().empty());
}

// The counters of the flood index are printed, but no query moves its hits and misses.
TEST_F(VlanQueries, DeliberatelyNeverMoveTheHitsAndMissesOfTheFloodIndex)
{
    for (const u64 sync : {vlan_cache, vlan_cache & ~findex_bit, field_bits, u64{0}}) {
        SCOPED_TRACE(hex(sync));
        run(sync);
        ask_all_three();
        if (held() != nullptr)
            held()->dirty = field_bits;
        on(idxsvc_lib_bd_to_di).fails_once();
        ask_all_three();
        const std::string moved = counters_moved();
        EXPECT_EQ(moved.find("hits.findex"), std::string::npos);
        EXPECT_EQ(moved.find("misses.findex"), std::string::npos);
        EXPECT_NE(moved.find("misses.bd"), std::string::npos);
    }
}

} // namespace
} // namespace side_cache
