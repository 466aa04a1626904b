// SPDX-License-Identifier: Apache-2.0
//
// Every branch of the refresh's step that keeps the Lif table right. It is the port index's step
// over again, with the differences that the tests name.
#include "entry_tests.h"

namespace
{

const std::string lif_is_0x999 = "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x999";
const std::string lif_changed_to_0x999 =
    traced("If->lif mapping changed for if-index 0x1a000007, entry->iod=7, lif=0x999\n");
const std::string own_lif_dropped =
    lines(traced("Removing stale lif entry for if-index 0x1a000007, iod 7, lif 0x2007  for new "
                 "port-index 0x999\n"),
          "ht_remove_entry(Lif, 0x2007) = 1");
const std::string lif_insert_0x999 =
    lines(traced("Creating lif entry for if-index 0x1a000007, iod 7, lif 0x999\n"),
          "ht_insert(Lif, 0x999) = 1");
const std::string same_lif = traced("lif same as lifsvc's value, clear dirty bit\n");

class LifStep : public entry_test
{
protected:
    void SetUp() override
    {
        given(port(7), port(8));
        start_caching(bits(1, 2, 3));
        created(8);
        refreshed = created(7);
    }

    u32 refresh(u32 is_new = 0)
    {
        refreshed->dirty = bits(3);
        return varn_if_update_entry(refreshed, is_new);
    }

    varn_if_entry_t *refreshed = nullptr;
};

TEST_F(LifStep, OfAnUnchangedLifClearsTheBitAndTracesIt)
{
    EXPECT_EQ(refresh(), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began,
                            "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2007", same_lif));
    EXPECT_EQ(dirty_of(refreshed), 0u);
    EXPECT_EQ(refreshed->lif, 0x2007u);
    EXPECT_EQ(counters_moved(), "updates[3] +1");
}

TEST_F(LifStep, OfAnUnchangedLifOfANewEntryKeepsTheBit)
{
    EXPECT_EQ(refresh(1), 1u);
    EXPECT_EQ(seen(),
              lines(refresh_of_7_began, "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2007"));
    EXPECT_EQ(dirty_of(refreshed), bits(3));
    EXPECT_EQ(counters_moved(), "updates[3] +1");
}

TEST_F(LifStep, OfAChangedLifMovesTheLinkAndDeliberatelySpeaksOfAPortIndex)
{
    the(7).lif(0x999);
    EXPECT_EQ(refresh(), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began, lif_is_0x999, lif_changed_to_0x999,
                            "ht_lookup(Lif, 0x999) = null", own_lif_dropped, lif_insert_0x999));
    EXPECT_EQ(refreshed->lif, 0x999u);
    EXPECT_EQ(dirty_of(refreshed), 0u);
    EXPECT_EQ(refreshed->lif_remaps, 1);
    EXPECT_EQ(counters_moved(),
              "updates[3] +1, lif_remaps +1, lif_index.inserts +1, lif_index.removes +1");
}

TEST_F(LifStep, OfAChangedLifOfANewEntryDoesNotTraceTheChange)
{
    the(7).lif(0x999);
    EXPECT_EQ(refresh(1), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began, lif_is_0x999, "ht_lookup(Lif, 0x999) = null",
                            own_lif_dropped, lif_insert_0x999));
    EXPECT_EQ(dirty_of(refreshed), 0u);
}

TEST_F(LifStep, OfAFirstLifFilesTheEntry)
{
    varn_lif_delete_entry(refreshed);
    the(7).lif(0x999);
    forget_all();
    EXPECT_EQ(refresh(), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began, lif_is_0x999, lif_changed_to_0x999,
                            "ht_lookup(Lif, 0x999) = null", lif_insert_0x999));
    EXPECT_EQ(refreshed->lif_remaps, 0);
    EXPECT_EQ(counters_moved(), "updates[3] +1, lif_index.inserts +1");
}

TEST_F(LifStep, OfALifThatAnotherEntryHoldsDropsFirstTheOthersLinkThenItsOwn)
{
    the(7).lif(0x2008);
    EXPECT_EQ(refresh(), 1u);
    EXPECT_EQ(
        seen(),
        lines(refresh_of_7_began, "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2008",
              traced("If->lif mapping changed for if-index 0x1a000007, entry->iod=7, lif=0x2008\n"),
              "ht_lookup(Lif, 0x2008) = found",
              traced("Removing stale lif entry for if-index 0x1a000008, iod 8, lif 0x2008  for "
                     "if-index 0x1a000007, iod 7\n"),
              "ht_remove_entry(Lif, 0x2008) = 1",
              traced("Removing stale lif entry for if-index 0x1a000007, iod 7, lif 0x2007  for new "
                     "port-index 0x2008\n"),
              "ht_remove_entry(Lif, 0x2007) = 1",
              traced("Creating lif entry for if-index 0x1a000007, iod 7, lif 0x2008\n"),
              "ht_insert(Lif, 0x2008) = 1"));
    EXPECT_EQ(entry(8)->lif, none);
    EXPECT_EQ(entry(8)->lif_remaps, 0);
    EXPECT_EQ(refreshed->lif_remaps, 2);
    EXPECT_EQ(counters_moved(),
              "updates[3] +1, lif_remaps +2, lif_index.inserts +1, lif_index.removes +2");
}

TEST_F(LifStep, OfALifThatAnotherEntryHoldsCountsOneRemapForAnEntryWithoutALif)
{
    varn_lif_delete_entry(refreshed);
    the(7).lif(0x2008);
    forget_all();
    EXPECT_EQ(refresh(1), 1u);
    EXPECT_EQ(refreshed->lif_remaps, 1);
    EXPECT_EQ(refreshed->lif, 0x2008u);
    EXPECT_EQ(entry(8)->lif, none);
    EXPECT_EQ(counters_moved(),
              "updates[3] +1, lif_remaps +1, lif_index.inserts +1, lif_index.removes +1");
}

TEST_F(LifStep, NeverTakesItselfForAnotherEntry)
{
    the(7).lif(0x999);
    on(ht_lookup).of("Lif", 0x999).answers(refreshed);
    EXPECT_EQ(refresh(), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began, lif_is_0x999, lif_changed_to_0x999,
                            "ht_lookup(Lif, 0x999) = found", own_lif_dropped, lif_insert_0x999));
    EXPECT_EQ(refreshed->lif_remaps, 1);
}

TEST_F(LifStep, ThatFailsDropsTheOldLinkAndKeepsTheBit)
{
    on(lifsvc_query_ifindex_to_lif).fails(0x41);
    for (const u32 is_new : {0u, 1u}) {
        SCOPED_TRACE("is_new " + dec(is_new));
        refreshed->lif = 0x2007;
        if (!stands_in(&varn.lif_table, refreshed))
            varn_lif_insert_entry(refreshed);
        forget_all();
        EXPECT_EQ(refresh(is_new), 1u);
        EXPECT_EQ(
            seen(),
            joined({refresh_of_7_began, "lifsvc_query_ifindex_to_lif(0x1a000007) = 0x41",
                    is_new != 0 ? ""
                                : traced("If->lif mapping changed for if-index 0x1a000007, "
                                         "entry->iod=7, lif=0xffffffff\n"),
                    traced("Removing stale lif entry for if-index 0x1a000007, iod 7, lif 0x2007  "
                           "for new port-index 0xffffffff\n"),
                    "ht_remove_entry(Lif, 0x2007) = 1"}));
        EXPECT_EQ(refreshed->lif, none);
        EXPECT_EQ(dirty_of(refreshed), bits(3));
        EXPECT_EQ(counters_moved(), "updates[3] +1, lif_remaps +1, lif_index.removes +1");
    }
}

TEST_F(LifStep, ThatFailsForAnEntryWithoutALifDeliberatelyClearsTheBitUnlikeThePi)
{
    varn_lif_delete_entry(refreshed);
    on(lifsvc_query_ifindex_to_lif).fails(0x41);
    forget_all();
    EXPECT_EQ(refresh(), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began, "lifsvc_query_ifindex_to_lif(0x1a000007) = 0x41",
                            same_lif));
    EXPECT_EQ(dirty_of(refreshed), 0u);
    EXPECT_EQ(refreshed->lif, none);
}

TEST_F(LifStep, ThatFailsForANewEntryWithoutALifKeepsTheBit)
{
    varn_lif_delete_entry(refreshed);
    on(lifsvc_query_ifindex_to_lif).does([](std::int32_t, u32 *lif) {
        return *lif = 0x999, 0x41u;
    });
    forget_all();
    EXPECT_EQ(refresh(1), 1u);
    EXPECT_EQ(dirty_of(refreshed), bits(3));
    EXPECT_EQ(refreshed->lif, none) << "no value is taken from a failed call";
    EXPECT_EQ(counters_moved(), "updates[3] +1");
}

TEST_F(LifStep, OfANewLifThatTheTableRefusesLeavesNoneAndTheBit)
{
    the(7).lif(0x999);
    on(ht_insert).of("Lif").fails();
    EXPECT_EQ(refresh(), 1u);
    EXPECT_EQ(seen(),
              lines(refresh_of_7_began, lif_is_0x999, lif_changed_to_0x999,
                    "ht_lookup(Lif, 0x999) = null", own_lif_dropped,
                    traced("Creating lif entry for if-index 0x1a000007, iod 7, lif 0x999\n"),
                    "ht_insert(Lif, 0x999) = 0",
                    reported("varn_lif_insert_entry",
                             "Failed to add lif entry for if 0x1a000007, iod 7, lif 0x999\n"),
                    reported("varn_if_update_entry",
                             "Lif-insert for if-index 0x1a000007, iod 7, lif 2457 failed\n")));
    EXPECT_EQ(refreshed->lif, none);
    EXPECT_EQ(dirty_of(refreshed), bits(3));
    EXPECT_EQ(counters_moved(),
              "updates[3] +1, lif_remaps +1, lif_index.removes +1, lif_index.insert_fail +1");
}

TEST_F(LifStep, CountsARemapAlsoWhenTheOthersLinkCannotBeDropped)
{
    varn_lif_delete_entry(refreshed);
    the(7).lif(0x2008);
    on(ht_remove_entry).of("Lif").fails_once();
    forget_all();
    EXPECT_EQ(refresh(1), 1u);
    EXPECT_EQ(refreshed->lif_remaps, 1);
    EXPECT_EQ(refreshed->lif, none) << "the other one still holds it";
    EXPECT_EQ(entry(8)->lif, 0x2008u);
    EXPECT_EQ(counters_moved(), "updates[3] +1, lif_remaps +1, lif_index.insert_fail +1, "
                                "lif_index.remove_fail +1");
}

TEST_F(LifStep, OfType9AsksAllTheSame)
{
    on(if_index_get_type).answers(0, 9);
    EXPECT_EQ(refresh(), 1u);
    EXPECT_EQ(on(lifsvc_query_ifindex_to_lif).asked(), 3u) << "two of them by creations";
    EXPECT_EQ(dirty_of(refreshed), 0u);
}

} // namespace
