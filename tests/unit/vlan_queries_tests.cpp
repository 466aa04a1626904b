// SPDX-License-Identifier: Apache-2.0
//
// Two of the questions that the VLAN cache answers: bridge domain and flood destination index. The
// bridge domain is asked with the caller's own key; the flood index asks for the instance only when
// it turns to a service, and counts on the row of the bridge domain.
#include "vlan_ground.h"

namespace side_cache
{
namespace
{

const std::string refresh_failed = lines(vlan_found, failed_refresh_of_all());

// ---- bridge domain ----

class vlan_get_bd_query : public vlan_ground
{
protected:
    static constexpr vlan_key_t key{1, 20};

    // A query that must give 0; the bridge domain.
    static u32 bridge_domain(vlan_key_t of = key)
    {
        u16 bd = 0xDEAD;
        EXPECT_EQ(varn_vlan_get_bd(of, &bd), 0u);
        return bd;
    }
};

using VlanGetBd = vlan_get_bd_query;

TEST_F(VlanGetBd, OfANewVlanMakesTheEntryAndCountsAHit)
{
    run(vlan_cache);
    EXPECT_EQ(bridge_domain(), 520u);
    EXPECT_EQ(calls(), lines(vlan_filing(), refresh_of_all()));
    EXPECT_EQ(counters_moved(), spell("vlan_hits.bd +1, ", counted_refresh, ", vlan_allocs +1"));
}

TEST_F(VlanGetBd, OfANewVlanCountsTheFieldsThatAreCachedAlone)
{
    run(vlan_bit | bd_bit);
    EXPECT_EQ(bridge_domain(), 520u);
    EXPECT_EQ(calls(), lines(vlan_filing(), asked_vinst, asked_bd));
    EXPECT_EQ(counters_moved(), "vlan_hits.bd +1, vlan_updates.bd +1, vlan_allocs +1");
}

TEST_F(VlanGetBd, OfACleanEntryIsOneLookup)
{
    run(vlan_cache);
    filed();
    given(vlan(20).bd(777));
    EXPECT_EQ(bridge_domain(), 520u);
    EXPECT_EQ(calls(), vlan_found);
    EXPECT_EQ(counters_moved(), "vlan_hits.bd +1");
}

TEST_F(VlanGetBd, AfterAFailedRefreshAsksOnceMoreAndClearsItsBitAlone)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed_dirty(field_bits | bits(5));
    on(vlan_get_bd_and_primary_vlan).fails(0x42);
    EXPECT_EQ(bridge_domain(), 520u);
    EXPECT_EQ(calls(), lines(vlan_found, asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0x42",
                             traced("1 vlan_get_bd_and_primary_vlan returned 0x42 for vlan 20\n"),
                             asked_bd, asked_bd, asked_flood, asked_bd));
    EXPECT_EQ(counters_moved(), spell("vlan_misses.bd +1, ", counted_refresh));
    EXPECT_EQ(dirty_of(kept), pvlan_bit | findex_bit | bits(5));
}

TEST_F(VlanGetBd, OfANewVlanWhoseRefreshFailedAsksASecondTime)
{
    run(vlan_bit | bd_bit);
    on(vlan_get_bd).fails_once(0x41);
    EXPECT_EQ(bridge_domain(), 520u);
    EXPECT_EQ(calls(), lines(vlan_filing(), asked_vinst, "vlan_get_bd(1/20) = 0x41",
                             traced("1 vlan_get_bd returned bad 0x41 for vlan 20\n"), asked_bd));
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +1, vlan_updates.bd +1, vlan_allocs +1");
    EXPECT_EQ(dirty_of(*held()), vlan_bit | type_bit);
}

TEST_F(VlanGetBd, OfAFailingServiceIsDeliberatelyASuccessWithWhatTheEntryHolds)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed_dirty(field_bits);
    vlan_services_fail();
    EXPECT_EQ(bridge_domain(), 520u);
    EXPECT_EQ(calls(), lines(refresh_failed, "vlan_get_bd(1/20) = 0x41",
                             traced("varn_vlan_get_bd: bad rv 0x41 for vlan 20\n")));
    EXPECT_EQ(counters_moved(), spell("vlan_misses.bd +1, ", counted_refresh));
    EXPECT_EQ(dirty_of(kept), field_bits);
}

TEST_F(VlanGetBd, OfAFailingServiceThatWroteIsWhatItWrote)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed_dirty(bd_bit);
    on(vlan_get_bd).answers(0x41, 604);
    EXPECT_EQ(bridge_domain(), 604u);
    EXPECT_EQ(kept.bd, 604u);
    EXPECT_EQ(dirty_of(kept), bd_bit);
}

TEST_F(VlanGetBd, GivesTheServiceTheCallersKeyAndLooksAtTheVlanAlone)
{
    run(vlan_bit | bd_bit);
    on(vlan_get_bd).of(20).fails_once(0x41);
    EXPECT_EQ(bridge_domain({9, 20}), 520u);
    EXPECT_EQ(calls(), lines(vlan_filing(), asked_vinst, "vlan_get_bd(1/20) = 0x41",
                             traced("1 vlan_get_bd returned bad 0x41 for vlan 20\n"),
                             "vlan_get_bd(9/20) = 0 -> 520"));
    held()->dirty = 0;
    EXPECT_EQ(bridge_domain({5, 20}), 520u);
    EXPECT_EQ(calls(), vlan_found);
}

// The table is keyed by 16 bits; services and messages get the whole number.
TEST_F(VlanGetBd, OfAWideVlanGivesTheTableItsLow16Bits)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed();
    EXPECT_EQ(bridge_domain({1, 0x10014}), 520u);
    EXPECT_EQ(calls(), vlan_found);
    filed_dirty(bd_bit);
    on(vlan_get_bd).fails(0x41);
    EXPECT_EQ(bridge_domain({1, 0x10014}), 520u);
    EXPECT_EQ(calls(), lines(vlan_found, asked_vinst, "vlan_get_bd(1/20) = 0x41",
                             traced("1 vlan_get_bd returned bad 0x41 for vlan 20\n"),
                             "vlan_get_bd(1/65556) = 0x41",
                             traced("varn_vlan_get_bd: bad rv 0x41 for vlan 65556\n")));
    EXPECT_EQ(dirty_of(kept), bd_bit);
}

TEST_F(VlanGetBd, WithItsBitClearGoesToTheServiceWithTheCallersKey)
{
    run(vlan_cache & ~bd_bit);
    filed();
    EXPECT_EQ(bridge_domain({9, 20}), 520u);
    EXPECT_EQ(calls(), "vlan_get_bd(9/20) = 0 -> 520");
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +1");
    on(vlan_get_bd).answers(0x40050007, 604);
    u16 bd = 0;
    EXPECT_EQ(varn_vlan_get_bd(key, &bd), 0x40050007u);
    EXPECT_EQ(bd, 604u);
    EXPECT_EQ(calls(), "vlan_get_bd(1/20) = 0x40050007") << "nothing is traced";
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +1");
}

TEST_F(VlanGetBd, WithoutAnEntryGoesToTheService)
{
    run(vlan_cache);
    on(ht_insert).of("Vlan").fails();
    EXPECT_EQ(bridge_domain(), 520u);
    EXPECT_EQ(calls(), lines(failed_filing(), asked_bd));
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +1, vlan_allocs +1, vlan_frees +1");
    on(vlan_get_bd).fails(0x40050007);
    u16 bd = 0;
    EXPECT_EQ(varn_vlan_get_bd(key, &bd), 0x40050007u);
}

TEST_F(VlanGetBd, WithoutMemoryGoesToTheService)
{
    run(vlan_cache);
    on(memacct_alloc).fails();
    captured_stdout([] { EXPECT_EQ(bridge_domain(), 520u); });
    EXPECT_EQ(calls(), lines(failed_allocation(), asked_bd));
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +1");
}

TEST_F(VlanGetBd, WhileSwitchedOffGoesToTheServiceWithoutALookup)
{
    run(vlan_cache);
    filed();
    switch_off();
    EXPECT_EQ(bridge_domain(), 520u);
    EXPECT_EQ(calls(), asked_bd);
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +1");
}

// ---- flood destination index ----

class flood_query : public vlan_ground
{
protected:
    // What the query gives and writes: "0 -> 0x4014, 520".
    static std::string flood(u16 vlan = 20)
    {
        u32 di = 0xDEAD;
        u16 bd = 0x77;
        const u32 result = varn_vlan_to_flood_di(vlan, &di, &bd);
        return spell(result == 0 ? "0" : hex(result), " -> ", hex(di), ", ", dec(bd));
    }

    static std::string status(const char *first, const char *second)
    {
        return traced(
            spell("varn_vlan_to_flood_di: Status1 ", first, ", Status2 ", second, " vlan 20\n"));
    }
};

using FloodDi = flood_query;

TEST_F(FloodDi, OfANewVlanMakesTheEntryAndDeliberatelyCountsABdHit)
{
    run(vlan_cache);
    EXPECT_EQ(flood(), "0 -> 0x4014, 520");
    EXPECT_EQ(calls(), lines(vlan_filing(), refresh_of_all()));
    EXPECT_EQ(counters_moved(), spell("vlan_hits.bd +1, ", counted_refresh, ", vlan_allocs +1"));
}

TEST_F(FloodDi, OfACleanEntryIsOneLookupAndDeliberatelyABdHit)
{
    run(vlan_cache);
    filed();
    EXPECT_EQ(flood(), "0 -> 0x4014, 520");
    EXPECT_EQ(calls(), vlan_found);
    EXPECT_EQ(counters_moved(), "vlan_hits.bd +1");
}

TEST_F(FloodDi, AfterAFailedRefreshAsksBothAndClearsItsBitAlone)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed_dirty(field_bits | bits(5));
    on(vlan_get_bd_and_primary_vlan).fails(0x42);
    EXPECT_EQ(flood(), "0 -> 0x4014, 520");
    EXPECT_EQ(calls(), lines(vlan_found, asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0x42",
                             traced("1 vlan_get_bd_and_primary_vlan returned 0x42 for vlan 20\n"),
                             asked_bd, asked_bd, asked_flood, asked_vinst, asked_bd, asked_flood));
    EXPECT_EQ(counters_moved(), spell("vlan_misses.bd +1, ", counted_refresh));
    EXPECT_EQ(dirty_of(kept), pvlan_bit | bd_bit | bits(5));
}

TEST_F(FloodDi, AsksForTheIndexWhateverTheBridgeDomainGave)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed_dirty(findex_bit);
    on(vlan_get_bd).fails(0x41);
    EXPECT_EQ(flood(), "0 -> 0x4014, 520");
    EXPECT_EQ(calls(), lines(vlan_found, asked_vinst, "vlan_get_bd(1/20) = 0x41",
                             traced("2 vlan_get_bd returned bad 0x41 for vlan 20\n"), asked_vinst,
                             "vlan_get_bd(1/20) = 0x41", asked_flood, status("0x41", "0x0")));
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +1, vlan_updates.findex +1");
    EXPECT_EQ(dirty_of(kept), findex_bit);
}

TEST_F(FloodDi, WithoutTheIndexStaysDirty)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed_dirty(findex_bit);
    on(idxsvc_lib_bd_to_di).fails(0x43);
    EXPECT_EQ(flood(), "0 -> 0x4014, 520") << "what the entry holds";
    EXPECT_EQ(calls(), lines(vlan_found, asked_vinst, asked_bd, "idxsvc_lib_bd_to_di(520) = 0x43",
                             traced("idxsvc_lib_bd_to_di returned bad 0x43\n"), asked_vinst,
                             asked_bd, "idxsvc_lib_bd_to_di(520) = 0x43", status("0x0", "0x43")));
    EXPECT_EQ(dirty_of(kept), findex_bit);
}

TEST_F(FloodDi, OfTwoFailingServicesIsASuccessWithWhatTheyWrote)
{
    run(vlan_cache);
    const varn_vlan_entry_t &kept = filed_dirty(findex_bit);
    on(vlan_get_bd).answers(0x41, 604);
    on(idxsvc_lib_bd_to_di).answers(0x43, 0x777u);
    EXPECT_EQ(flood(), "0 -> 0x777, 604");
    EXPECT_EQ(calls(), lines(vlan_found, asked_vinst, "vlan_get_bd(1/20) = 0x41",
                             traced("2 vlan_get_bd returned bad 0x41 for vlan 20\n"), asked_vinst,
                             "vlan_get_bd(1/20) = 0x41", "idxsvc_lib_bd_to_di(604) = 0x43",
                             status("0x41", "0x43")));
    EXPECT_EQ(fields(kept), "bd 604, flood 0x777, pvlan 20");
    EXPECT_EQ(dirty_of(kept), findex_bit);
}

TEST_F(FloodDi, WithItsBitClearDeliberatelyCountsTwiceOnTheBdRow)
{
    run(vlan_cache & ~findex_bit);
    filed();
    EXPECT_EQ(flood(), "0 -> 0x4014, 520");
    EXPECT_EQ(calls(), lines(asked_vinst, vlan_found, asked_flood));
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +1, vlan_hits.bd +1");
}

TEST_F(FloodDi, WithItsBitAndThatOfTheBridgeDomainClearAsksBothServices)
{
    run(vlan_bit);
    EXPECT_EQ(flood(), "0 -> 0x4014, 520");
    EXPECT_EQ(calls(), lines(asked_vinst, asked_bd, asked_flood));
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +2");
    on(idxsvc_lib_bd_to_di).answers(0x40050007, 0x777u);
    EXPECT_EQ(flood(), "0x40050007 -> 0x777, 520");
    EXPECT_EQ(calls(), lines(asked_vinst, asked_bd, "idxsvc_lib_bd_to_di(520) = 0x40050007"));
}

TEST_F(FloodDi, WithItsBitClearDoesNotLookAtTheResultForTheBridgeDomain)
{
    run(vlan_bit);
    on(vlan_get_bd).fails(0x41);
    on(idxsvc_lib_bd_to_di).of(0x77).answers(0, 0x9u);
    EXPECT_EQ(flood(), "0 -> 0x9, 119") << "asked with the caller's own value";
    EXPECT_EQ(calls(), lines(asked_vinst, "vlan_get_bd(1/20) = 0x41",
                             "idxsvc_lib_bd_to_di(119) = 0 -> 0x9"));
}

TEST_F(FloodDi, WithoutAnEntryDoesAsWithItsBitClear)
{
    run(vlan_cache);
    on(ht_insert).of("Vlan").fails();
    EXPECT_EQ(flood(), "0 -> 0x4014, 520");
    EXPECT_EQ(calls(), lines(failed_filing(), asked_vinst, failed_filing(), asked_bd, asked_flood));
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +2, vlan_allocs +2, vlan_frees +2");
}

TEST_F(FloodDi, WhileSwitchedOffAsksBothServices)
{
    run(vlan_cache);
    filed();
    switch_off();
    EXPECT_EQ(flood(), "0 -> 0x4014, 520");
    EXPECT_EQ(calls(), lines(asked_vinst, asked_bd, asked_flood));
    EXPECT_EQ(counters_moved(), "vlan_misses.bd +2");
}

TEST_F(FloodDi, BuildsItsKeyFromTheInstance)
{
    run(vlan_bit);
    on(supvr_vinst_get).answers(513);
    EXPECT_EQ(flood(), "0 -> 0x4014, 520");
    EXPECT_EQ(calls(),
              lines("supvr_vinst_get() = 513", "vlan_get_bd(513/20) = 0 -> 520", asked_flood));
}

} // namespace
} // namespace side_cache
