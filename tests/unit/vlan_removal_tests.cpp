// SPDX-License-Identifier: Apache-2.0
//
// The removal of a VLAN: its entry goes, and the interface entry of its SVI, where one is filed
// with a clean lif, leaves the Lif table and is marked. That an iod was found may be known without
// the Iod table, so such a lookup is not compared; that none was found is the table's word.
#include "vlan_ground.h"

#include <sstream>

namespace side_cache
{
namespace
{

constexpr u64 lif_bit = u64{1} << 3;
constexpr u64 all_tables = vlan_cache | bits(1, 2, 3);
constexpr const char *asked_svi = "ifsvc_get_svi_iod_for_vlan(1, 20) = 20020";
constexpr const char *lif_removed = "ht_remove_entry(Lif, 0xa014) = 1";

const std::string told_stale = traced("Vlan 20 deleted, removing stale lif entry for if-index "
                                      "0x9000014, iod 20020, lif 0xa014\n");

class vlan_removal : public vlan_ground
{
protected:
    // A running cache that holds VLAN 20 and its SVI.
    varn_if_entry_t &run_with_svi(u64 sync = all_tables)
    {
        run(sync);
        varn_if_entry_t *made = varn_if_create_entry_by_iod(20020);
        varn_vlan_create_entry_by_vlan(20);
        forget_all();
        return *made;
    }

    // The journal without the lookups of iods that were found.
    static std::string seen()
    {
        std::istringstream all(calls());
        std::string kept;
        for (std::string line; std::getline(all, line);)
            if (!(line.starts_with("ht_lookup(Iod,") && line.ends_with(" = found")))
                kept += kept.empty() ? line : "\n" + line;
        return kept;
    }

    static std::string deletion()
    {
        return lines(vlan_found, "ht_remove_entry(Vlan, 20) = 1", "memacct_free(type 2)");
    }
};

using VlanRemoval = vlan_removal;

TEST_F(VlanRemoval, DropsTheStaleLifOfItsSviAndThenTheEntry)
{
    varn_if_entry_t &of_svi = run_with_svi();
    ASSERT_EQ(of_svi.lif, 0xa014u);
    of_svi.dirty = bits(5, 17, 40);
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 1u);
    EXPECT_EQ(seen(), lines(asked_vinst, asked_svi, told_stale, lif_removed, deletion()));
    EXPECT_EQ(counters_moved(), "lif_index.removes +1, vlan_frees +1");
    EXPECT_EQ(entries(), 0u);
    EXPECT_EQ(entry(20020), &of_svi) << "the interface entry itself stays";
    EXPECT_EQ(of_svi.lif, none);
    EXPECT_EQ(dirty(&of_svi), bits(3, 5, 17, 40)) << "its lif is asked again, all else untouched";
}

TEST_F(VlanRemoval, WithoutAVlanEntryStillDropsTheLifAndGivesZero)
{
    varn_if_entry_t &of_svi = run_with_svi();
    varn_vlan_delete_entry(held());
    forget_all();
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 0u);
    EXPECT_EQ(seen(), lines(asked_vinst, asked_svi, told_stale, lif_removed, vlan_missing));
    EXPECT_EQ(counters_moved(), "lif_index.removes +1");
    EXPECT_EQ(of_svi.lif, none);
}

TEST_F(VlanRemoval, OfAnSviWhoseLifIsDirtyLeavesTheLifTableAlone)
{
    varn_if_entry_t &of_svi = run_with_svi();
    of_svi.dirty = lif_bit | bits(17);
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 1u);
    EXPECT_EQ(seen(), lines(asked_vinst, asked_svi, deletion()));
    EXPECT_EQ(counters_moved(), "vlan_frees +1");
    EXPECT_EQ(of_svi.lif, 0xa014u);
    EXPECT_EQ(dirty(&of_svi), lif_bit | bits(17));
}

TEST_F(VlanRemoval, OfAnSviWithoutALifLeavesTheLifTableAlone)
{
    the(20020).lif(none);
    varn_if_entry_t &of_svi = run_with_svi();
    of_svi.dirty = bits(17);
    ASSERT_EQ(of_svi.lif, none);
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 1u);
    EXPECT_EQ(seen(), lines(asked_vinst, asked_svi, deletion()));
    EXPECT_EQ(counters_moved(), "vlan_frees +1");
    EXPECT_EQ(dirty(&of_svi), bits(17));
}

TEST_F(VlanRemoval, WithoutAnSviAsksNoTableForIt)
{
    gone(20020);
    run(all_tables);
    filed();
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 1u);
    EXPECT_EQ(calls(), lines(asked_vinst, "ifsvc_get_svi_iod_for_vlan(1, 20) = 0", deletion()));
    EXPECT_EQ(counters_moved(), "vlan_frees +1");
}

TEST_F(VlanRemoval, OfAnSviThatIsNotCachedDeletesTheVlanAlone)
{
    run(all_tables);
    filed();
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 1u);
    EXPECT_EQ(calls(), lines(asked_vinst, asked_svi, "ht_lookup(Iod, 20020) = null", deletion()));
    EXPECT_EQ(counters_moved(), "vlan_frees +1");
}

TEST_F(VlanRemoval, WithoutAnIodTableDeletesTheVlanAlone)
{
    run(vlan_cache);
    filed();
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 1u);
    EXPECT_EQ(calls(), lines(asked_vinst, asked_svi, "ht_lookup(Iod, 20020) = null", deletion()));
}

// The trace is written, but the lif table is not looked at and the bit is not set.
TEST_F(VlanRemoval, WithLifsNotCachedTracesAndLeavesTheLifWhereItStands)
{
    varn_if_entry_t &of_svi = run_with_svi();
    of_svi.dirty = bits(17);
    cache(all_tables & ~lif_bit);
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 1u);
    EXPECT_EQ(seen(), lines(asked_vinst, asked_svi, told_stale, deletion()));
    EXPECT_EQ(counters_moved(), "vlan_frees +1");
    EXPECT_EQ(of_svi.lif, 0xa014u);
    EXPECT_EQ(dirty(&of_svi), bits(17));
}

TEST_F(VlanRemoval, WhoseLifCannotBeTakenOutIsReportedAndMarkedAllTheSame)
{
    varn_if_entry_t &of_svi = run_with_svi();
    of_svi.dirty = 0;
    on(ht_remove_entry).of("Lif").fails();
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 1u);
    EXPECT_EQ(seen(), lines(asked_vinst, asked_svi, told_stale, "ht_remove_entry(Lif, 0xa014) = 0",
                            reported("varn_lif_delete_entry",
                                     "Failed to del lif entry for if 0x9000014, iod 20020, lif "
                                     "0xa014; possible leak?\n"),
                            deletion()));
    EXPECT_EQ(counters_moved(), "lif_index.remove_fail +1, vlan_frees +1");
    EXPECT_EQ(of_svi.lif, 0xa014u);
    EXPECT_EQ(dirty(&of_svi), lif_bit);
}

TEST_F(VlanRemoval, WhoseDeletionFailsStillGivesOneDeliberately)
{
    gone(20020);
    run(vlan_cache);
    filed();
    on(ht_remove_entry).of("Vlan").fails_once();
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 1u);
    EXPECT_EQ(calls(), lines(asked_vinst, "ifsvc_get_svi_iod_for_vlan(1, 20) = 0", vlan_found,
                             "ht_remove_entry(Vlan, 20) = 0",
                             reported("varn_vlan_delete_entry",
                                      "*** Failed to delete entry: possible leak?\n")));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(entries(), 1u);
    EXPECT_EQ(live_blocks().size(), 1u);
}

TEST_F(VlanRemoval, AsksForTheSviOfTheInstance)
{
    run(vlan_cache);
    on(supvr_vinst_get).answers(0xFFFF);
    on(ifsvc_get_svi_iod_for_vlan).answers(0);
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 0u);
    EXPECT_EQ(calls(), lines("supvr_vinst_get() = 65535",
                             "ifsvc_get_svi_iod_for_vlan(65535, 20) = 0", vlan_missing));
}

// The table is keyed by 16 bits; the service and the trace get the whole number.
TEST_F(VlanRemoval, OfAWideVlanGivesTheTableItsLow16Bits)
{
    run_with_svi().dirty = 0;
    on(ifsvc_get_svi_iod_for_vlan).of(1, 0x10014).answers(20020);
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(0x10014), 1u);
    EXPECT_EQ(seen(), lines(asked_vinst, "ifsvc_get_svi_iod_for_vlan(1, 65556) = 20020",
                            traced("Vlan 65556 deleted, removing stale lif entry for if-index "
                                   "0x9000014, iod 20020, lif 0xa014\n"),
                            lif_removed, deletion()));
}

TEST_F(VlanRemoval, WhileSwitchedOffGivesZeroAndAsksNothing)
{
    varn_if_entry_t &of_svi = run_with_svi();
    switch_off();
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(of_svi.lif, 0xa014u);
    EXPECT_EQ(entries(), 1u);
}

TEST_F(VlanRemoval, LooksAtNoAttributeBitOfItsOwn)
{
    run(vlan_cache);
    filed();
    cache(0);
    EXPECT_EQ(varn_vlan_remove_entry_by_vlan(20), 1u);
    EXPECT_EQ(entries(), 0u);
}

} // namespace
} // namespace side_cache
