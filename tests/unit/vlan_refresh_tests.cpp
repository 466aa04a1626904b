// SPDX-License-Identifier: Apache-2.0
//
// The refresh of a VLAN entry, which forgives nothing: unless every question that it asked was
// answered the entry stays as dirty as it was. And what makes an entry dirty: the re-fetch of a
// VLAN and the flushes, which replace the mask.
#include "vlan_ground.h"

namespace side_cache
{
namespace
{

// ---- refresh of an entry ----

using VlanUpdateEntry = vlan_ground;

TEST_F(VlanUpdateEntry, AsksForExactlyWhatIsDirtyInOrder)
{
    run(vlan_cache);
    for (u32 chosen = 0; chosen < 8; ++chosen) {
        const bool pvlan = chosen & 1, bd = chosen & 2, findex = chosen & 4;
        SCOPED_TRACE(chosen);
        varn_vlan_entry_t &kept =
            filed_dirty((pvlan ? pvlan_bit : 0) | (bd ? bd_bit : 0) | (findex ? findex_bit : 0));
        std::string journal = asked_vinst, counted;
        journal += pvlan ? spell("\n", asked_primary) : "";
        journal += bd ? spell("\n", asked_bd) : "";
        journal += findex ? spell("\n", asked_bd, "\n", asked_flood) : "";
        add_if(bd, counted, "vlan_updates.bd +1");
        add_if(findex, counted, "vlan_updates.findex +1");
        add_if(pvlan, counted, "vlan_updates.pvlan +1");

        EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
        EXPECT_EQ(calls(), journal);
        EXPECT_EQ(counters_moved(), counted);
        EXPECT_EQ(dirty_of(kept), 0u);
    }
}

TEST_F(VlanUpdateEntry, FillsEachFieldFromItsOwnAnswer)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(field_bits);
    on(vlan_get_bd_and_primary_vlan).answers(0, 601, 30);
    on(vlan_get_bd).answers_once(0, 602).answers_once(0, 603);
    on(idxsvc_lib_bd_to_di).of(603).answers(0, 0x777u);
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(calls(), lines(asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0 -> 601, 30",
                             "vlan_get_bd(1/20) = 0 -> 602", "vlan_get_bd(1/20) = 0 -> 603",
                             "idxsvc_lib_bd_to_di(603) = 0 -> 0x777"));
    EXPECT_EQ(fields(kept), "bd 603, flood 0x777, pvlan 30");
}

TEST_F(VlanUpdateEntry, OfThePrimaryVlanAloneWritesTheBridgeDomainToo)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(pvlan_bit);
    on(vlan_get_bd_and_primary_vlan).answers(0, 601, 30);
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(fields(kept), "bd 601, flood 0x4014, pvlan 30");
}

TEST_F(VlanUpdateEntry, AsksForTheInstanceOnceAndUsesIt)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(field_bits);
    on(supvr_vinst_get).answers(513);
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(calls(), lines("supvr_vinst_get() = 513",
                             "vlan_get_bd_and_primary_vlan(513/20) = 0 -> 520, 20",
                             "vlan_get_bd(513/20) = 0 -> 520", "vlan_get_bd(513/20) = 0 -> 520",
                             asked_flood));
}

TEST_F(VlanUpdateEntry, ClearsTheWholeMaskAlsoBitsThatAreNotItsOwn)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(~u64{0});
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(dirty_of(kept), 0u);
    kept.dirty = bits(5, 63);
    forget_all();
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(calls(), asked_vinst);
    EXPECT_EQ(dirty_of(kept), 0u);
}

TEST_F(VlanUpdateEntry, OfNullGivesZeroAndAsksNothing)
{
    run(vlan_cache);
    EXPECT_EQ(varn_vlan_update_entry(nullptr), 0u);
    EXPECT_EQ(calls(), "");
}

TEST_F(VlanUpdateEntry, TestsNeitherTheSwitchNorTheBits)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(field_bits);
    switch_off();
    cache(0);
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(calls(), refresh_of_all());
    EXPECT_EQ(dirty_of(kept), 0u);
}

// ---- a refresh that fails ----

using VlanFailingRefresh = vlan_ground;

constexpr u64 more_bits = field_bits | u64{1} << 5;

TEST_F(VlanFailingRefresh, WithoutThePrimaryVlanDeliberatelyKeepsEveryBit)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(more_bits);
    on(vlan_get_bd_and_primary_vlan).fails_once(0x40050007);
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(calls(),
              lines(asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0x40050007",
                    traced("1 vlan_get_bd_and_primary_vlan returned 0x40050007 for vlan 20\n"),
                    asked_bd, asked_bd, asked_flood));
    EXPECT_EQ(counters_moved(), counted_refresh);
    EXPECT_EQ(dirty_of(kept), more_bits);
}

TEST_F(VlanFailingRefresh, WithoutTheBridgeDomainDeliberatelyKeepsEveryBit)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(more_bits);
    on(vlan_get_bd).fails_once(0x40050007);
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(calls(), lines(asked_vinst, asked_primary, "vlan_get_bd(1/20) = 0x40050007",
                             traced("1 vlan_get_bd returned bad 0x40050007 for vlan 20\n"),
                             asked_bd, asked_flood));
    EXPECT_EQ(counters_moved(), counted_refresh);
    EXPECT_EQ(dirty_of(kept), more_bits);

    forget_all();
    EXPECT_EQ(varn_vlan_create_entry_by_vlan(20), &kept);
    EXPECT_EQ(calls(), lines(vlan_found, refresh_of_all())) << "the primary VLAN is asked again";
    EXPECT_EQ(dirty_of(kept), 0u);
}

TEST_F(VlanFailingRefresh, WithoutTheFloodsBridgeDomainDoesNotAskForTheIndex)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(more_bits);
    on(vlan_get_bd).fails_call(2, 0x40050007);
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(calls(), lines(asked_vinst, asked_primary, asked_bd, "vlan_get_bd(1/20) = 0x40050007",
                             traced("2 vlan_get_bd returned bad 0x40050007 for vlan 20\n")));
    EXPECT_EQ(counters_moved(), counted_refresh);
    EXPECT_EQ(dirty_of(kept), more_bits);
}

TEST_F(VlanFailingRefresh, WithoutTheFloodIndexDeliberatelyKeepsEveryBit)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(more_bits);
    on(idxsvc_lib_bd_to_di).fails_once(0x40050007);
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(calls(), lines(asked_vinst, asked_primary, asked_bd, asked_bd,
                             "idxsvc_lib_bd_to_di(520) = 0x40050007",
                             traced("idxsvc_lib_bd_to_di returned bad 0x40050007\n")));
    EXPECT_EQ(counters_moved(), counted_refresh);
    EXPECT_EQ(dirty_of(kept), more_bits);
}

TEST_F(VlanFailingRefresh, OfEverythingTracesEachAndStillGivesOne)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(more_bits);
    vlan_services_fail();
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(calls(), failed_refresh_of_all());
    EXPECT_EQ(counters_moved(), counted_refresh);
    EXPECT_EQ(dirty_of(kept), more_bits);
    EXPECT_EQ(fields(kept), "bd 520, flood 0x4014, pvlan 20") << "what the entry held";
}

TEST_F(VlanFailingRefresh, LeavesInTheEntryWhatTheServicesWrote)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed_dirty(pvlan_bit | findex_bit);
    on(vlan_get_bd_and_primary_vlan).answers(0x41, 601, 30);
    on(idxsvc_lib_bd_to_di).answers(0x43, 0x777u);
    on(vlan_get_bd).answers(0, 603);
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(fields(kept), "bd 603, flood 0x777, pvlan 30");
    kept.dirty = bd_bit;
    on(vlan_get_bd).answers(0x41, 604);
    EXPECT_EQ(varn_vlan_update_entry(&kept), 1u);
    EXPECT_EQ(fields(kept), "bd 604, flood 0x777, pvlan 30");
    EXPECT_EQ(dirty_of(kept), bd_bit);
}

// ---- re-fetch of a VLAN ----

using VlanUpdateVlan = vlan_ground;

TEST_F(VlanUpdateVlan, AsksAgainForAllThatIsCached)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed();
    given(vlan(20).bd(777).flood_index(0x9).primary(5));
    EXPECT_EQ(varn_vlan_update_vlan(20), 1u);
    EXPECT_EQ(calls(),
              lines(vlan_found, asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0 -> 777, 5",
                    "vlan_get_bd(1/20) = 0 -> 777", "vlan_get_bd(1/20) = 0 -> 777",
                    "idxsvc_lib_bd_to_di(777) = 0 -> 0x9"));
    EXPECT_EQ(counters_moved(), counted_refresh);
    EXPECT_EQ(fields(kept), "bd 777, flood 0x9, pvlan 5");
    EXPECT_EQ(dirty_of(kept), 0u);
}

TEST_F(VlanUpdateVlan, ThatFailsLeavesTheWholeSyncMaskDirtyAndGivesOne)
{
    run(vlan_cache | bits(1, 17));
    const varn_vlan_entry_t &kept = filed();
    on(vlan_get_bd_and_primary_vlan).fails(0x42);
    EXPECT_EQ(varn_vlan_update_vlan(20), 1u);
    EXPECT_EQ(dirty_of(kept), vlan_cache | bits(1, 17, 25));
}

TEST_F(VlanUpdateVlan, OfAMaskReplacesWhatWasDirtyBefore)
{
    run(vlan_bit | bd_bit);
    const varn_vlan_entry_t &kept = filed_dirty(pvlan_bit | findex_bit);
    EXPECT_EQ(varn_vlan_update_vlan(20), 1u);
    EXPECT_EQ(calls(), lines(vlan_found, asked_vinst, asked_bd));
    EXPECT_EQ(dirty_of(kept), 0u);
}

TEST_F(VlanUpdateVlan, WithoutAnEntryCreatesNone)
{
    run(vlan_cache);
    EXPECT_EQ(varn_vlan_update_vlan(20), 0u);
    EXPECT_EQ(calls(), vlan_missing);
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(VlanUpdateVlan, WhileSwitchedOffGivesZeroWithoutALookup)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed();
    switch_off();
    EXPECT_EQ(varn_vlan_update_vlan(20), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(dirty_of(kept), 0u);
}

// ---- flushes ----

class vlan_flush : public vlan_ground
{
protected:
    void run_with_masks()
    {
        run_with(config().sync(vlan_cache).med(bits(30)).crit(bits(31, 40)).low(bits(32)));
    }

    // The mask that a level chooses.
    struct level_row {
        u32 level;
        u64 mask;
    };
    static constexpr level_row levels[] = {
        {1, bits(30)}, {2, bits(31, 40)}, {3, vlan_cache | type_bit}, {0, bits(32)},
        {4, bits(32)}, {0x101, bits(32)}, {0xFFFFFFFF, bits(32)}};
};

using VlanFlushEntry = vlan_flush;

TEST_F(VlanFlushEntry, DeliberatelyReplacesTheMaskByThatOfTheLevel)
{
    run_with_masks();
    for (const level_row &row : levels) {
        SCOPED_TRACE(row.level);
        for (const u64 before : {u64{0}, ~u64{0}, bits(5, 30)}) {
            varn_vlan_entry_t &kept = filed_dirty(before);
            varn_flush_vlan_entry(&kept, row.level);
            EXPECT_EQ(dirty_of(kept), row.mask);
            EXPECT_EQ(calls(), "");
            EXPECT_EQ(counters_moved(), "");
        }
    }
}

TEST_F(VlanFlushEntry, OfNullDoesNothing)
{
    run_with_masks();
    varn_flush_vlan_entry(nullptr, 3);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(VlanFlushEntry, TestsNoSwitch)
{
    run_with_masks();
    varn_vlan_entry_t &kept = filed();
    switch_off();
    varn_flush_vlan_entry(&kept, 1);
    EXPECT_EQ(dirty_of(kept), bits(30));
}

using VlanFlushVlan = vlan_flush;

TEST_F(VlanFlushVlan, OfAnUnknownOneCreatesAndFetchesItFirst)
{
    run_with_masks();
    EXPECT_EQ(varn_vlan_flush_vlan(20, 2), 1u);
    EXPECT_EQ(calls(), lines(vlan_filing(), refresh_of_all()));
    EXPECT_EQ(counters_moved(), std::string(counted_refresh) + ", vlan_allocs +1");
    EXPECT_EQ(dirty_of(*held()), bits(31, 40));
}

TEST_F(VlanFlushVlan, TakesTheMaskOfEveryLevel)
{
    run_with_masks();
    for (const level_row &row : levels) {
        filed();
        EXPECT_EQ(varn_vlan_flush_vlan(20, row.level), 1u);
        EXPECT_EQ(calls(), vlan_found);
        EXPECT_EQ(dirty_of(*held()), row.mask) << row.level;
    }
}

TEST_F(VlanFlushVlan, OfADirtyOneRefreshesItFirst)
{
    run_with_masks();
    const varn_vlan_entry_t &kept = filed_dirty(bd_bit);
    EXPECT_EQ(varn_vlan_flush_vlan(20, 1), 1u);
    EXPECT_EQ(calls(), lines(vlan_found, asked_vinst, asked_bd));
    EXPECT_EQ(dirty_of(kept), bits(30));
}

TEST_F(VlanFlushVlan, GivesOneAlsoWhenThereIsNoEntryToBeHad)
{
    run_with_masks();
    on(ht_insert).of("Vlan").fails();
    EXPECT_EQ(varn_vlan_flush_vlan(20, 1), 1u);
    EXPECT_EQ(calls(), failed_filing());
    EXPECT_EQ(counters_moved(), "vlan_allocs +1, vlan_frees +1");
}

TEST_F(VlanFlushVlan, WhileSwitchedOffGivesZeroAndChangesNothing)
{
    run_with_masks();
    const varn_vlan_entry_t &kept = filed();
    switch_off();
    EXPECT_EQ(varn_vlan_flush_vlan(20, 3), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(dirty_of(kept), 0u);
}

using VlanFlushAll = vlan_flush;

TEST_F(VlanFlushAll, FlushesEveryEntryAndAsksNothing)
{
    given(vlan(30), vlan(4094));
    run_with_masks();
    const varn_vlan_entry_t *all[] = {&filed(20), &filed(30), &filed(4094)};
    for (const level_row &row : levels) {
        SCOPED_TRACE(row.level);
        EXPECT_EQ(varn_vlan_flush_all(row.level), 1u);
        EXPECT_EQ(calls(), lines("ht_iterator_init(Vlan, 0, 16384) = 1",
                                 "ht_iterator_next(Vlan) = 20", "ht_iterator_next(Vlan) = 30",
                                 "ht_iterator_next(Vlan) = 4094", "ht_iterator_next(Vlan) = null"));
        for (const varn_vlan_entry_t *each : all)
            EXPECT_EQ(dirty_of(*each), row.mask) << each->vlan;
    }
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(VlanFlushAll, OfNoneGivesOne)
{
    run_with_masks();
    EXPECT_EQ(varn_vlan_flush_all(3), 1u);
    EXPECT_EQ(entries(), 0u);
}

TEST_F(VlanFlushAll, ThatCannotWalkTheTableIsReported)
{
    run_with_masks();
    const varn_vlan_entry_t &kept = filed();
    on(ht_iterator_init).fails();
    EXPECT_EQ(varn_vlan_flush_all(3), 0u);
    EXPECT_EQ(calls(), lines("ht_iterator_init(Vlan, 0, 16384) = 0",
                             reported("varn_vlan_flush_all", "Couldn't init iterator\n")));
    EXPECT_EQ(dirty_of(kept), 0u);
}

TEST_F(VlanFlushAll, WhileSwitchedOffGivesZeroWithoutAWalk)
{
    run_with_masks();
    const varn_vlan_entry_t &kept = filed();
    switch_off();
    EXPECT_EQ(varn_vlan_flush_all(3), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(dirty_of(kept), 0u);
}

} // namespace
} // namespace side_cache
