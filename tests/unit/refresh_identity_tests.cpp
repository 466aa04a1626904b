// SPDX-License-Identifier: Apache-2.0
//
// The first half of a refresh, as far as the port index: who is refreshed at all, the check of the
// iod, and every branch of the step that keeps the Pi table right. The lif's step has its own file.
#include "entry_tests.h"

namespace
{

// Ports 7 and 8 stand in all tables; only what a test makes dirty is refreshed.
class Refresh : public entry_test
{
protected:
    void SetUp() override
    {
        given(port(7), port(8));
        start_with(config().sync(bits(1, 2, 3)).on_create());
        created(8);
        refreshed = created(7);
    }

    u32 refresh(u64 dirty, u32 is_new = 0)
    {
        refreshed->dirty = dirty;
        return varn_if_update_entry(refreshed, is_new);
    }

    varn_if_entry_t *refreshed = nullptr;
};

TEST_F(Refresh, WhileTheCacheIsOffDoesNothing)
{
    varn_disable_cache();
    EXPECT_EQ(refresh(~u64{0}), 0u);
    EXPECT_EQ(seen(), "");
    EXPECT_EQ(dirty_of(refreshed), ~u64{0});
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(Refresh, OfNoEntryDoesNothing)
{
    EXPECT_EQ(varn_if_update_entry(nullptr, 0), 0u);
    EXPECT_EQ(varn_if_update_entry(nullptr, 1), 0u);
    EXPECT_EQ(seen(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(Refresh, OfACleanEntryOnlyTracesAndReadsTheType)
{
    for (const u32 is_new : {0u, 1u}) {
        EXPECT_EQ(refresh(0, is_new), 1u);
        EXPECT_EQ(seen(), refresh_of_7_began);
        EXPECT_EQ(counters_moved(), "");
    }
}

TEST_F(Refresh, OfAnIfIndexWithoutATypeIsReportedAndKeepsEveryBit)
{
    on(if_index_get_type).fails(0x41);
    EXPECT_EQ(refresh(~u64{0}), 0u);
    EXPECT_EQ(seen(),
              lines(traced("Varn-update for if-index 0x1a000007, iod 7\n"),
                    "if_index_get_type(0x1a000007) = 0x41",
                    reported("varn_if_update_entry", "Invalid interface index 0x1a000007\n")));
    EXPECT_EQ(history().back().text, "[77]: Invalid interface index 0x1a000007\n");
    EXPECT_EQ(dirty_of(refreshed), ~u64{0});
    EXPECT_EQ(counters_moved(), "");
}

// ---- the iod ----

using IodCheck = Refresh;

TEST_F(IodCheck, OfTheSameIodGoesOnAndDeliberatelyKeepsTheBit)
{
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(refresh(bits(1)), 1u);
        EXPECT_EQ(seen(),
                  lines(refresh_of_7_began, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7"));
        EXPECT_EQ(dirty_of(refreshed), bits(1));
        EXPECT_EQ(counters_moved(), "updates[1] +1");
    }
}

TEST_F(IodCheck, IsNotMadeOfANewEntryNorWithAClearBit)
{
    on(ifsvc_get_iod_frm_ifindex).fails();
    EXPECT_EQ(refresh(bits(1), 1), 1u);
    EXPECT_EQ(dirty_of(refreshed), bits(1));
    EXPECT_EQ(refresh(0), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began, refresh_of_7_began));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(IodCheck, OfAnotherIodRemovesTheEntryOfThatIodAndDeliberatelyKeepsItsOwn)
{
    on(ifsvc_get_iod_frm_ifindex).answers(0, 8);
    EXPECT_EQ(refresh(~u64{0}), 0u);
    EXPECT_EQ(
        seen(),
        lines(refresh_of_7_began, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 8",
              reported("varn_if_update_entry", "If->iod mapping changed for if-index 0x1a000007, "
                                               "entry->iod=7, iod=8, err: 0x0\n"),
              traced("If-destroy for if-index 0x1a000008, iod 8, pi 0x108, lif 0x2008\n"),
              "ht_lookup(Lif, 0x2008) = found", "ht_remove_entry(Lif, 0x2008) = 1",
              "ht_lookup(Pi, 0x108) = found", "ht_remove_entry(Pi, 0x108) = 1",
              "ht_remove_entry(Iod, 8) = 1", "ht_lookup(If, 0x1a000008) = found",
              "ht_remove_entry(If, 0x1a000008) = 1", "memacct_free(type 1)"));
    EXPECT_EQ(refreshed->iod, 7u);
    EXPECT_EQ(refreshed->iod_remaps, 1);
    EXPECT_EQ(dirty_of(refreshed), ~u64{0});
    EXPECT_EQ(counters_moved(), "updates[1] +1, if_frees +1, if_destroys +1, iod_remaps +1, "
                                "if_index.removes +1, iod_index.removes +1, pi_index.removes +1, "
                                "lif_index.removes +1");
}

TEST_F(IodCheck, OfAnotherIodWithoutAnEntryTracesThatNoneWasRemoved)
{
    on(ifsvc_get_iod_frm_ifindex).answers(0, 9);
    EXPECT_EQ(refresh(bits(1, 2, 3)), 0u);
    EXPECT_EQ(
        seen(),
        lines(refresh_of_7_began, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 9",
              reported("varn_if_update_entry", "If->iod mapping changed for if-index 0x1a000007, "
                                               "entry->iod=7, iod=9, err: 0x0\n"),
              "ht_lookup(Iod, 9) = null", traced("Varn remove failed for Interface with iod 9\n")));
    EXPECT_EQ(refreshed->iod_remaps, 1);
    EXPECT_EQ(counters_moved(), "updates[1] +1, iod_remaps +1");
}

TEST_F(IodCheck, OfAnIodBeyondTheBitmapFindsNoEntryToRemove)
{
    on(ifsvc_get_iod_frm_ifindex).answers(0, 0xFFFFFFFF);
    EXPECT_EQ(refresh(bits(1)), 0u);
    EXPECT_EQ(
        seen(),
        lines(refresh_of_7_began, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 4294967295",
              reported("varn_if_update_entry", "If->iod mapping changed for if-index 0x1a000007, "
                                               "entry->iod=7, iod=-1, err: 0x0\n"),
              "ht_lookup(Iod, 4294967295) = null",
              traced("Varn remove failed for Interface with iod -1\n")));
    EXPECT_EQ(entry(7), refreshed);
    EXPECT_EQ(refreshed->iod_remaps, 1);
}

TEST_F(IodCheck, ThatFailsRemovesTheEntryOfIodZero)
{
    on(ifsvc_get_iod_frm_ifindex).fails(0x40040009);
    EXPECT_EQ(refresh(bits(1, 2, 3)), 0u);
    EXPECT_EQ(
        seen(),
        lines(refresh_of_7_began, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x40040009",
              reported("varn_if_update_entry", "If->iod mapping changed for if-index 0x1a000007, "
                                               "entry->iod=7, iod=0, err: 0x40040009\n"),
              "ht_lookup(Iod, 0) = null", traced("Varn remove failed for Interface with iod 0\n")));
    EXPECT_EQ(entry(7), refreshed);
    EXPECT_EQ(refreshed->iod_remaps, 1);
    EXPECT_EQ(counters_moved(), "updates[1] +1, iod_remaps +1");
}

TEST_F(IodCheck, ThatFailsButNamesTheSameIodRemovesTheVeryEntry)
{
    on(ifsvc_get_iod_frm_ifindex).does([](u32, u32 *iod) { return *iod = 7, 0x41u; });
    EXPECT_EQ(refresh(bits(1, 2, 3)), 0u);
    EXPECT_TRUE(seen().starts_with(
        lines(refresh_of_7_began, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x41",
              reported("varn_if_update_entry", "If->iod mapping changed for if-index 0x1a000007, "
                                               "entry->iod=7, iod=7, err: 0x41\n"),
              traced("If-destroy for if-index 0x1a000007, iod 7, pi 0x107, lif 0x2007\n"))));
    EXPECT_EQ(entry(7), nullptr);
    ASSERT_EQ(released().size(), 1u);
    EXPECT_TRUE(released().back().is_all(0x4C)) << "nothing is written to it afterwards";
}

// ---- the port index ----

using PiStep = Refresh;

const std::string pi_insert_0x999 =
    lines(traced("Creating pi entry for if-index 0x1a000007, iod 7, pi 0x999\n"),
          "ht_insert(Pi, 0x999) = 1");
const std::string own_pi_dropped =
    lines(traced("Removing stale entry for if-index 0x1a000007, iod 7, pi 0x107  for new "
                 "port-index 0x999\n"),
          "ht_remove_entry(Pi, 0x107) = 1");
const std::string pi_is_0x999 = "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x999";
// The values deliberately sit one place off their labels.
const std::string pi_changed_to_0x999 =
    traced("If->pi mapping changed for if-index 0x1a000007, entry->pi=7, pi=263, "
           "port_index=2457\n");

TEST_F(PiStep, OfAnUnchangedPiClearsTheBitInSilenceUnlessTheEntryIsNew)
{
    for (const u32 is_new : {0u, 1u}) {
        SCOPED_TRACE("is_new " + dec(is_new));
        EXPECT_EQ(refresh(bits(2), is_new), 1u);
        EXPECT_EQ(seen(),
                  lines(refresh_of_7_began, "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107"));
        EXPECT_EQ(dirty_of(refreshed), is_new == 0 ? 0 : bits(2));
        EXPECT_EQ(refreshed->pi, 0x107u);
        EXPECT_EQ(counters_moved(), "updates[2] +1");
    }
}

TEST_F(PiStep, OfAChangedPiMovesTheLinkAndDeliberatelyTracesValuesOnePlaceOff)
{
    the(7).pi(0x999);
    EXPECT_EQ(refresh(bits(2)), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began, pi_is_0x999, pi_changed_to_0x999,
                            "ht_lookup(Pi, 0x999) = null", own_pi_dropped, pi_insert_0x999));
    EXPECT_EQ(refreshed->pi, 0x999u);
    EXPECT_EQ(dirty_of(refreshed), 0u);
    EXPECT_EQ(refreshed->pi_remaps, 1);
    EXPECT_EQ(counters_moved(),
              "updates[2] +1, pi_remaps +1, pi_index.inserts +1, pi_index.removes +1");
}

TEST_F(PiStep, OfAChangedPiOfANewEntryDoesNotTraceTheChange)
{
    the(7).pi(0x999);
    EXPECT_EQ(refresh(bits(2), 1), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began, pi_is_0x999, "ht_lookup(Pi, 0x999) = null",
                            own_pi_dropped, pi_insert_0x999));
    EXPECT_EQ(dirty_of(refreshed), 0u);
}

TEST_F(PiStep, OfAFirstPiFilesTheEntry)
{
    varn_pi_delete_entry(refreshed);
    forget_all();
    the(7).pi(0x999);
    EXPECT_EQ(refresh(bits(2)), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began, pi_is_0x999,
                            traced("If->pi mapping changed for if-index 0x1a000007, entry->pi=7, "
                                   "pi=-1, port_index=2457\n"),
                            "ht_lookup(Pi, 0x999) = null", pi_insert_0x999));
    EXPECT_EQ(dirty_of(refreshed), 0u);
    EXPECT_EQ(refreshed->pi_remaps, 0);
    EXPECT_EQ(counters_moved(), "updates[2] +1, pi_index.inserts +1");
}

TEST_F(PiStep, OfAPiThatAnotherEntryHoldsTakesTheLinkAwayFromIt)
{
    varn_pi_delete_entry(refreshed);
    the(7).pi(0x108);
    forget_all();
    EXPECT_EQ(refresh(bits(2), 1), 1u);
    EXPECT_EQ(seen(),
              lines(refresh_of_7_began, "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x108",
                    "ht_lookup(Pi, 0x108) = found",
                    traced("Removing stale pi entry for if-index 0x1a000008, iod 8, pi 0x108  for "
                           "if-index 0x1a000007, iod 7\n"),
                    "ht_remove_entry(Pi, 0x108) = 1",
                    traced("Creating pi entry for if-index 0x1a000007, iod 7, pi 0x108\n"),
                    "ht_insert(Pi, 0x108) = 1"));
    EXPECT_EQ(entry(8)->pi, none);
    EXPECT_EQ(entry(8)->ref_count, 3);
    EXPECT_EQ(entry(8)->pi_remaps, 0);
    EXPECT_EQ(refreshed->pi_remaps, 1);
    EXPECT_EQ(counters_moved(),
              "updates[2] +1, pi_remaps +1, pi_index.inserts +1, pi_index.removes +1");
}

TEST_F(PiStep, OfAPiThatAnotherEntryHoldsDropsFirstTheOthersLinkThenItsOwn)
{
    the(7).pi(0x108);
    EXPECT_EQ(refresh(bits(2)), 1u);
    EXPECT_EQ(seen(),
              lines(refresh_of_7_began, "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x108",
                    traced("If->pi mapping changed for if-index 0x1a000007, entry->pi=7, pi=263, "
                           "port_index=264\n"),
                    "ht_lookup(Pi, 0x108) = found",
                    traced("Removing stale pi entry for if-index 0x1a000008, iod 8, pi 0x108  for "
                           "if-index 0x1a000007, iod 7\n"),
                    "ht_remove_entry(Pi, 0x108) = 1",
                    traced("Removing stale entry for if-index 0x1a000007, iod 7, pi 0x107  for "
                           "new port-index 0x108\n"),
                    "ht_remove_entry(Pi, 0x107) = 1",
                    traced("Creating pi entry for if-index 0x1a000007, iod 7, pi 0x108\n"),
                    "ht_insert(Pi, 0x108) = 1"));
    EXPECT_EQ(refreshed->pi_remaps, 2);
    EXPECT_EQ(counters_moved(),
              "updates[2] +1, pi_remaps +2, pi_index.inserts +1, pi_index.removes +2");
}

TEST_F(PiStep, NeverTakesItselfForAnotherEntry)
{
    the(7).pi(0x999);
    on(ht_lookup).of("Pi", 0x999).answers(refreshed);
    EXPECT_EQ(refresh(bits(2)), 1u);
    EXPECT_EQ(seen(), lines(refresh_of_7_began, pi_is_0x999, pi_changed_to_0x999,
                            "ht_lookup(Pi, 0x999) = found", own_pi_dropped, pi_insert_0x999));
    EXPECT_EQ(refreshed->pi_remaps, 1);
}

TEST_F(PiStep, ThatFailsDropsTheOldLinkAndKeepsTheBit)
{
    on(idxsvc_lib_ifidx_to_di).fails(0x41);
    EXPECT_EQ(refresh(bits(2)), 1u);
    EXPECT_EQ(seen(),
              lines(refresh_of_7_began, "idxsvc_lib_ifidx_to_di(0x1a000007) = 0x41",
                    traced("If->pi mapping changed for if-index 0x1a000007, entry->pi=7, pi=263, "
                           "port_index=-1\n"),
                    traced("Removing stale entry for if-index 0x1a000007, iod 7, pi 0x107  for new "
                           "port-index 0xffffffff\n"),
                    "ht_remove_entry(Pi, 0x107) = 1"));
    EXPECT_EQ(refreshed->pi, none);
    EXPECT_EQ(dirty_of(refreshed), bits(2));
    EXPECT_EQ(refreshed->pi_remaps, 1);
    EXPECT_EQ(counters_moved(), "updates[2] +1, pi_remaps +1, pi_index.removes +1");
}

TEST_F(PiStep, ThatFailsForANewEntryWithALinkDropsItWithoutTracingTheChange)
{
    on(idxsvc_lib_ifidx_to_di).fails(0x41);
    EXPECT_EQ(refresh(bits(2), 1), 1u);
    EXPECT_EQ(seen(),
              lines(refresh_of_7_began, "idxsvc_lib_ifidx_to_di(0x1a000007) = 0x41",
                    traced("Removing stale entry for if-index 0x1a000007, iod 7, pi 0x107  for new "
                           "port-index 0xffffffff\n"),
                    "ht_remove_entry(Pi, 0x107) = 1"));
    EXPECT_EQ(dirty_of(refreshed), bits(2));
}

TEST_F(PiStep, ThatFailsForAnEntryWithoutAPiKeepsTheBitNewOrNot)
{
    varn_pi_delete_entry(refreshed);
    on(idxsvc_lib_ifidx_to_di).fails(0x41);
    forget_all();
    for (const u32 is_new : {0u, 1u}) {
        SCOPED_TRACE("is_new " + dec(is_new));
        EXPECT_EQ(refresh(bits(2), is_new), 1u);
        EXPECT_EQ(seen(), lines(refresh_of_7_began, "idxsvc_lib_ifidx_to_di(0x1a000007) = 0x41"));
        EXPECT_EQ(refreshed->pi, none);
        EXPECT_EQ(dirty_of(refreshed), bits(2));
        EXPECT_EQ(counters_moved(), "updates[2] +1");
    }
}

TEST_F(PiStep, TakesNoValueFromAFailedCall)
{
    varn_pi_delete_entry(refreshed);
    on(idxsvc_lib_ifidx_to_di).does([](std::int32_t, u32 *di) { return *di = 0x999, 0x41u; });
    EXPECT_EQ(refresh(bits(2)), 1u);
    EXPECT_EQ(refreshed->pi, none);
}

TEST_F(PiStep, OfANewPiThatTheTableRefusesLeavesNoneAndTheBit)
{
    the(7).pi(0x999);
    on(ht_insert).of("Pi").fails();
    EXPECT_EQ(refresh(bits(2)), 1u);
    EXPECT_EQ(seen(),
              lines(refresh_of_7_began, pi_is_0x999, pi_changed_to_0x999,
                    "ht_lookup(Pi, 0x999) = null", own_pi_dropped,
                    traced("Creating pi entry for if-index 0x1a000007, iod 7, pi 0x999\n"),
                    "ht_insert(Pi, 0x999) = 0",
                    reported("varn_pi_insert_entry",
                             "Failed to add pi entry for if 0x1a000007, iod 7, pi 0x999\n"),
                    reported("varn_if_update_entry",
                             "Pi-insert for if-index 0x1a000007, iod 7, pi 2457 failed\n")));
    EXPECT_EQ(refreshed->pi, none);
    EXPECT_EQ(dirty_of(refreshed), bits(2));
    EXPECT_EQ(counters_moved(),
              "updates[2] +1, pi_remaps +1, pi_index.removes +1, pi_index.insert_fail +1");
}

TEST_F(PiStep, CountsARemapAlsoWhenTheOthersLinkCannotBeDropped)
{
    varn_pi_delete_entry(refreshed);
    the(7).pi(0x108);
    on(ht_remove_entry).of("Pi").fails_once();
    forget_all();
    EXPECT_EQ(refresh(bits(2), 1), 1u);
    EXPECT_EQ(refreshed->pi_remaps, 1);
    EXPECT_EQ(refreshed->pi, none) << "the other one still holds it";
    EXPECT_EQ(dirty_of(refreshed), bits(2));
    EXPECT_EQ(entry(8)->pi, 0x108u);
    EXPECT_EQ(counters_moved(), "updates[2] +1, pi_remaps +1, pi_index.insert_fail +1, "
                                "pi_index.remove_fail +1");
}

// ---- type 9, which has no port index ----

TEST_F(PiStep, OfType9NeverAsksAndClearsTheBit)
{
    given(svi(20));
    refreshed = created(20020);
    for (const u32 is_new : {0u, 1u}) {
        EXPECT_EQ(refresh(bits(2), is_new), 1u);
        EXPECT_EQ(seen(), lines(traced("Varn-update for if-index 0x9000014, iod 20020\n"),
                                "if_index_get_type(0x9000014) = 0 -> 9"));
        EXPECT_EQ(dirty_of(refreshed), 0u);
        EXPECT_EQ(counters_moved(), "");
    }
}

TEST_F(PiStep, OfAnIfIndexThatIsNowOfType9DropsTheOldLink)
{
    on(if_index_get_type).answers(0, 9);
    EXPECT_EQ(refresh(bits(2)), 1u);
    EXPECT_EQ(seen(),
              lines(traced("Varn-update for if-index 0x1a000007, iod 7\n"),
                    "if_index_get_type(0x1a000007) = 0 -> 9",
                    traced("If->pi mapping changed for if-index 0x1a000007, entry->pi=7, pi=263, "
                           "port_index=-1\n"),
                    traced("Removing stale entry for if-index 0x1a000007, iod 7, pi 0x107  for new "
                           "port-index 0xffffffff\n"),
                    "ht_remove_entry(Pi, 0x107) = 1"));
    EXPECT_EQ(refreshed->pi, none);
    EXPECT_EQ(dirty_of(refreshed), 0u);
    EXPECT_EQ(refreshed->if_type, 26) << "the type of the creation is kept";
    EXPECT_EQ(counters_moved(), "pi_remaps +1, pi_index.removes +1");
}

TEST_F(Refresh, CountsTheRemapsOfAnEntryInOneByteThatWraps)
{
    refreshed->iod_remaps = refreshed->pi_remaps = refreshed->lif_remaps = 255;
    the(7).pi(0x999).lif(0x9999);
    EXPECT_EQ(refresh(bits(2, 3)), 1u);
    EXPECT_EQ(refreshed->pi_remaps, 0);
    EXPECT_EQ(refreshed->lif_remaps, 0);
    on(ifsvc_get_iod_frm_ifindex).of(0x1a000007).fails(0x41);
    EXPECT_EQ(refresh(bits(1)), 0u);
    EXPECT_EQ(refreshed->iod_remaps, 0);
    EXPECT_EQ(varn.iod_remaps, 1u);
}

} // namespace
