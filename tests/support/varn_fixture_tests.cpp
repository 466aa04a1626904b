// SPDX-License-Identifier: Apache-2.0
//
// The fixture's own tests: that each invariant is seen to break, that callbacks and counters are
// told, and that one test leaves nothing to the next.
#include "varn_fixture.h"

#include <gtest/gtest-spi.h>

#include <cstdio>

namespace
{

class Fixture : public varn_test
{
protected:
    // What the check says of the state that the test has made.
    std::string broken()
    {
        breaks_invariants_because("the test shows that the check sees it");
        return broken_invariants({}, {});
    }

    void start_with_one_entry()
    {
        given(port(7));
        start(config().sync(bits(1, 2, 3)));
        ASSERT_NE(varn_find_entry_by_iod(7), nullptr);
        ASSERT_NE(entry(7), nullptr);
        check();
    }
};

TEST_F(Fixture, FindsAnEntryWithoutALineInTheJournal)
{
    start_with_one_entry();
    forget_all();
    record(tables);
    EXPECT_EQ(entry(7), entry_of(0x1a000007));
    EXPECT_EQ(entry(8), nullptr);
    EXPECT_EQ(entry_of(8), nullptr);
    EXPECT_EQ(calls(), "");
}

TEST_F(Fixture, BeginsEachTestAtLoadTime)
{
    EXPECT_EQ(varn_enabled, 0u);
    EXPECT_EQ(sync_mask(), 0u);
    EXPECT_EQ(varn_iodbmp[0], 0u);
    EXPECT_EQ(entry(7), nullptr);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(Fixture, SeesAWrongReferenceCount)
{
    start_with_one_entry();
    entry(7)->ref_count = 3;
    EXPECT_EQ(broken(), "entry 0x1a000007: ref_count 3, but in 4 tables\n");
}

TEST_F(Fixture, SeesAnEntryThatIsFiledWithoutIf)
{
    start_with_one_entry();
    varn_if_entry_t *lost = entry(7);
    ht_remove_entry(&varn.if_table, lost);
    lost->ref_count = 3;
    ++varn.if_index.removes;
    EXPECT_EQ(broken(), "entry 0x1a000007: stands in a table, but not in If\n");
}

TEST_F(Fixture, SeesAKeyThatIsFiledWhileAbsentAndOneThatIsNotFiled)
{
    start_with_one_entry();
    entry(7)->lif = none;
    EXPECT_EQ(broken(), "entry 0x1a000007: has no key for Lif, but stands in it\n");
    varn_if_entry_t *each = entry(7);
    each->lif = 0x2007;
    ht_remove_entry(&varn.pi_table, each);
    each->ref_count = 3;
    ++varn.pi_index.removes;
    EXPECT_EQ(broken(), "entry 0x1a000007: has a key for Pi, but does not stand in it\n");
}

TEST_F(Fixture, SeesWrongCounters)
{
    start_with_one_entry();
    ++varn.iod_index.inserts;
    ++varn.if_frees;
    ++varn.pc_allocs;
    EXPECT_EQ(broken(), "Iod table: 2 entries counted, 1 held\n"
                        "interface entries: 1 allocated, 1 freed, 1 live\n"
                        "port-channel entries: 1 allocated, 0 freed, 0 live\n");
}

TEST_F(Fixture, SeesAValidMaskThatWasWritten)
{
    start_with_one_entry();
    entry(7)->valid = 1;
    EXPECT_EQ(broken(), "entry 0x1a000007: valid was written\n");
}

TEST_F(Fixture, SeesWhatTheDoublesComplainOf)
{
    complain("something");
    EXPECT_EQ(broken(), "something\n");
}

TEST_F(Fixture, FailsATestThatSaysItBreaksWhatHolds)
{
    EXPECT_NONFATAL_FAILURE(
        {
            breaks_invariants_because("of nothing");
            TearDown();
            breaks_invariants_because("");
        },
        "said to break invariants because of nothing");
}

TEST_F(Fixture, FailsATestThatBreaksAnInvariantInSilence)
{
    start_with_one_entry();
    entry(7)->valid = 1;
    EXPECT_NONFATAL_FAILURE(TearDown(), "valid was written");
    entry(7)->valid = 0;
}

TEST_F(Fixture, TellsWhichCountersMoved)
{
    start_with_one_entry();
    forget_all();
    varn.misses[15] += 2;
    varn.hits[3] += 1;
    varn.vlan_updates.pvlan += 5;
    EXPECT_EQ(counters_moved(), "misses[15] +2, hits[3] +1, vlan_updates.pvlan +5");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(Fixture, HearsEveryCallbackInItsPlaceAmongTheCalls)
{
    const config all = config()
                           .extn_decode(2)
                           .debug_print()
                           .debug_print_arg(5)
                           .error_print()
                           .error_cb(6)
                           .print()
                           .extn_free()
                           .on_create([](u32 iod) { ifsvc_is_linkup(iod); });
    const varn_config_t &record = all.record();
    const std::uint8_t block[] = {4, 6};
    record.debug_print("a %d\n", 1);
    record.debug_print_arg(record.debug_arg, "b %s", "x");
    record.error_print("c");
    record.error_cb(record.error_arg, "%s:%d: %s\n", "fn", 12, "text\n");
    record.print(7, "d\t");
    record.extn_free(0x11);
    record.on_create(7);
    EXPECT_EQ(record.extn_decode[2](block, 2), 10u);
    EXPECT_EQ(record.extn_decode[2](nullptr, 2), 0u);
    const std::string told =
        lines("debug_print(\"a 1\\n\")", "debug_print_arg(0x5, \"b x\")", "error_print(\"c\")",
              "error_cb(0x6, \"%s:%d: %s\\n\", fn, line, \"text\\n\")", "print(0x7, \"d\\t\")",
              "extn_free(0x11)", "on_create(7)");
    const std::string decoded = lines("extn_decode2(2 bytes) = 0xa", "extn_decode2(2 bytes) = 0x0");
    EXPECT_EQ(calls(), lines(told, "ifsvc_is_linkup(7) = 0", decoded));
    EXPECT_EQ(heard(), lines(told, decoded));
    EXPECT_EQ(heard(), "");
}

TEST_F(Fixture, LetsATestFileAnEntryOfItsOwn)
{
    start(config().sync(bits(1)));
    varn_if_entry_t *made = loose_entry(0x1a000009, 9, 0x109);
    EXPECT_EQ(varn_if_insert_entry(made), 1u);
    EXPECT_EQ(made->ref_count, 1u);
    check();
    EXPECT_EQ(varn_if_delete_entry(made), 1u);
    EXPECT_TRUE(released().back().is_all(0x4C));
}

TEST_F(Fixture, CapturesTheStandardOutput)
{
    EXPECT_EQ(captured_stdout([] { std::printf("said %d\n", 5); }), "said 5\n");
    EXPECT_EQ(captured_stdout([] {}), "");
}

} // namespace
