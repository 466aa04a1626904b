// SPDX-License-Identifier: Apache-2.0
//
// The exported objects, stop, off and on: what varn_cleanup leaves alone, and which half of the
// sync mask survives a time off.
#include "lifecycle_ground.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

// Seen before main, so before any test has touched the library.
const bool all_zero_at_load =
    is_all(&varn, sizeof varn, 0) && varn_enabled == 0 && varn_do_sync == 0 && varn_error_cb == 0 &&
    is_all(varn_iodbmp, sizeof varn_iodbmp, 0) && is_all(varn_print_str, sizeof varn_print_str, 0);

class lifecycle : public varn_test
{
protected:
    void record_everything()
    {
        for (const family each :
             {services, tables, allocations, messages, types, threads, backtraces, bit_tests})
            record(each);
    }
};

using Objects = lifecycle;
using Cleanup = lifecycle;
using DisableCache = lifecycle;
using RestoreCache = lifecycle;
using IsEnabled = lifecycle;

// ---- the exported objects ----

TEST_F(Objects, AreAllZeroAtLoadTime) { EXPECT_TRUE(all_zero_at_load); }

TEST_F(Objects, HaveTheirSizes)
{
    EXPECT_EQ(sizeof varn_enabled, 4u);
    EXPECT_EQ(sizeof varn_do_sync, 4u);
    EXPECT_EQ(sizeof varn_error_cb, 4u);
    EXPECT_EQ(sizeof varn_iodbmp, 4096u);
    EXPECT_EQ(sizeof varn_print_str, 128u);
}

TEST_F(IsEnabled, GivesTheSwitchAsItStands)
{
    EXPECT_EQ(varn_is_enabled(), 0u);
    start(config());
    EXPECT_EQ(varn_is_enabled(), 1u);
    varn_disable_cache();
    EXPECT_EQ(varn_is_enabled(), 0u);
    varn_enabled = 7;
    EXPECT_EQ(varn_is_enabled(), 7u);
}

// ---- varn_cleanup ----

const char five_cleanups[] = "ht_cleanup(Lif) = 1\nht_cleanup(Pi) = 1\nht_cleanup(Iod) = 1\n"
                             "ht_cleanup(If) = 1\nht_cleanup(Vlan) = 1";

TEST_F(Cleanup, ReleasesFiveTablesInOrderAndDeliberatelyLeavesTheRestAlone)
{
    given(port(7));
    start(config().sync(every_table));
    ASSERT_NE(varn_find_entry_by_iod(7), nullptr);
    forget_all();
    record_everything();

    EXPECT_EQ(varn_cleanup(), 1u);

    EXPECT_EQ(calls(), five_cleanups);
    EXPECT_TRUE(is_initialised(&varn.pc_table));
    EXPECT_FALSE(is_initialised(&varn.vlan_table));
    EXPECT_EQ(live_blocks().size(), 1u);
    EXPECT_EQ(released().size(), 0u);
    EXPECT_EQ(varn_enabled, 1u);
    EXPECT_EQ(u64{varn.config.sync}, every_table | bits(25));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(Cleanup, CallsForFiveTablesWhateverExists)
{
    record_everything();
    EXPECT_EQ(varn_cleanup(), 1u);
    EXPECT_EQ(calls(), five_cleanups);
    EXPECT_EQ(varn_enabled, 0u);
}

TEST_F(Cleanup, GivesOneAlsoWhenATableRefuses)
{
    start(config().sync(every_table));
    on(ht_cleanup).of("Iod").fails_once();
    record(tables);
    EXPECT_EQ(varn_cleanup(), 1u);
    EXPECT_EQ(calls(), lines("ht_cleanup(Lif) = 1", "ht_cleanup(Pi) = 1", "ht_cleanup(Iod) = 0",
                             "ht_cleanup(If) = 1", "ht_cleanup(Vlan) = 1"));
    EXPECT_EQ(history_text(), "");
}

// ---- off and on ----

TEST_F(DisableCache, KeepsTheLowHalfOfSyncAndClearsBoth)
{
    start(config().sync(0x0000000302000002));
    varn_disable_cache();
    EXPECT_EQ(varn_do_sync, 0x02000002u);
    EXPECT_EQ(u64{varn.config.sync}, 0u);
    EXPECT_EQ(varn_enabled, 0u);
}

TEST_F(DisableCache, WhileDisabledChangesNothing)
{
    start(config().sync(bits(1, 17)));
    varn_disable_cache();
    const u32 kept = varn_do_sync;
    varn.config.sync = 0x123;
    varn_disable_cache();
    EXPECT_EQ(varn_do_sync, kept);
    EXPECT_EQ(u64{varn.config.sync}, 0x123u);
    EXPECT_EQ(varn_enabled, 0u);
}

TEST_F(DisableCache, KeepsTablesAndEntriesAndSendsEveryQueryToItsService)
{
    given(port(7).linkup(1));
    start(config().sync(bits(1, 2, 3, 17)));
    varn_ifsvc_is_linkup(7);
    varn_if_entry_t *const kept = entry(7);
    forget_all();
    record_everything();

    varn_disable_cache();
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(entry(7), kept);
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    EXPECT_EQ(calls(), "ifsvc_is_linkup(7) = 1");

    varn_restore_cache();
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    EXPECT_EQ(entry(7), kept);
    EXPECT_EQ(on(ifsvc_is_linkup).asked(), 2ul) << "once at creation, once while disabled";
}

TEST_F(RestoreCache, DeliberatelyLosesTheHighHalfOfSync)
{
    start(config().sync(0x0000000302000002));
    varn_disable_cache();
    varn_restore_cache();
    EXPECT_EQ(u64{varn.config.sync}, 0x0000000002000002u);
    EXPECT_EQ(varn_enabled, 1u);
}

TEST_F(RestoreCache, ClearsAHighHalfThatWasSetMeanwhile)
{
    start(config().sync(bits(1)));
    varn_disable_cache();
    varn.config.sync = ~u64{0};
    varn_restore_cache();
    EXPECT_EQ(u64{varn.config.sync}, 0x0000000002000002u);
}

TEST_F(RestoreCache, WhileEnabledChangesNothing)
{
    start(config().sync(0x0000000302000002));
    varn_do_sync = 0x55;
    varn_restore_cache();
    EXPECT_EQ(u64{varn.config.sync}, 0x0000000302000002u);
    EXPECT_EQ(varn_do_sync, 0x55u);
    EXPECT_EQ(varn_enabled, 1u);
}

TEST_F(RestoreCache, OfALibraryThatWasNeverStartedSwitchesItOn)
{
    varn_restore_cache();
    EXPECT_EQ(varn_enabled, 1u);
    EXPECT_EQ(u64{varn.config.sync}, 0u);
    EXPECT_EQ(calls(), "");
}

} // namespace
