// SPDX-License-Identifier: Apache-2.0
//
// The dumps of the port-channel cache: one entry, one table, the whole. A member's name is asked
// before the print sink is looked at; everything else that is not printed is not asked for.
#include "pc_ground.h"

namespace side_cache
{
namespace
{

const std::string heading = printed("Member Bundle-Port-distribution:\n");
constexpr const char *named_eth1 = "ifsvc_get_ifindex_name(0x1a000001, 100) = 0 -> \"eth1\"";
constexpr const char *named_eth2 = "ifsvc_get_ifindex_name(0x1a000002, 100) = 0 -> \"eth2\"";

std::string header_of_pc_table(u32 size)
{
    return printed(spell("Hash table ", told_address(&varn.pc_table), ", size ", dec(size),
                         ", num_buckets 64\n"));
}

class pc_dump : public pc_ground
{
protected:
    // A cache of 64 buckets; the port-channel's buckets 0, 5 and 15 are known.
    varn_pc_entry_t &run_with_members()
    {
        run_with(config().sync(pc_bit).num_buckets(64));
        for (const u8 bucket : {u8{0}, u8{5}, u8{15}})
            member_of(bucket);
        return filed();
    }

    // The lines of that entry.
    static std::string its_lines()
    {
        return lines(heading, named_eth1, printed("      [0]  eth1\n"), named_eth2,
                     printed("      [5]  eth2\n"), named_eth2, printed("      [15]  eth2\n"));
    }

    static std::string names_alone() { return lines(named_eth1, named_eth2, named_eth2); }
};

// ---- an entry ----

using PcEntryPrint = pc_dump;

TEST_F(PcEntryPrint, ListsTheBucketsWhoseMemberIsKnown)
{
    const varn_pc_entry_t &shown = run_with_members();
    varn_pc_entry_print(7, &shown);
    EXPECT_EQ(calls(), its_lines());
}

TEST_F(PcEntryPrint, OfAllDirtyBucketsIsTheHeadingAlone)
{
    run(pc_bit);
    varn_pc_entry_print(7, &filed());
    EXPECT_EQ(calls(), heading);
}

TEST_F(PcEntryPrint, ListsAllSixteen)
{
    run(pc_bit);
    varn_pc_entry_t &shown = filed();
    std::string wanted = heading;
    for (u8 bucket = 0; bucket < 16; ++bucket) {
        member_of(bucket);
        const std::string name = bucket % 2 == 0 ? "eth1" : "eth2";
        wanted += spell("\n", bucket % 2 == 0 ? named_eth1 : named_eth2, "\n",
                        printed(spell("      [", dec(bucket), "]  ", name, "\n")));
    }
    forget_all();
    varn_pc_entry_print(7, &shown);
    EXPECT_EQ(calls(), wanted);
}

TEST_F(PcEntryPrint, OfAMemberWithoutANameShowsAnEmptyOne)
{
    run(pc_bit);
    varn_pc_entry_t &shown = filed();
    shown.rbh_dirty[3] = 0;
    shown.rbh_mbr_ifindex[3] = 0x1a000063;
    varn_pc_entry_print(7, &shown);
    EXPECT_EQ(calls(), lines(heading, "ifsvc_get_ifindex_name(0x1a000063, 100) = 0x40040004",
                             printed("      [3]  \n")));
}

TEST_F(PcEntryPrint, OfALongNameShowsItInFull)
{
    run(pc_bit);
    the(1).name(std::string(99, 'e'));
    varn_pc_entry_t &shown = filed();
    member_of(0);
    forget_all();
    varn_pc_entry_print(7, &shown);
    EXPECT_EQ(heard(), lines(heading, printed(spell("      [0]  ", std::string(99, 'e'), "\n"))));
}

TEST_F(PcEntryPrint, OfNullPrintsNothing)
{
    run_with_members();
    varn_pc_entry_print(7, nullptr);
    EXPECT_EQ(calls(), "");
}

TEST_F(PcEntryPrint, AsksTheNamesAlsoWithoutASink)
{
    const varn_pc_entry_t &shown = run_with_members();
    varn_pc_entry_print(0, &shown);
    EXPECT_EQ(calls(), names_alone());
    varn.config.print = nullptr;
    varn_pc_entry_print(7, &shown);
    EXPECT_EQ(calls(), names_alone());
}

TEST_F(PcEntryPrint, TestsNeitherTheSwitchNorTheBit)
{
    const varn_pc_entry_t &shown = run_with_members();
    switch_off();
    cache(0);
    varn_pc_entry_print(7, &shown);
    EXPECT_EQ(calls(), its_lines());
}

// ---- an entry by its key ----

using PcPrint = pc_dump;

TEST_F(PcPrint, ShowsTheEntryOfThePortChannel)
{
    run_with_members();
    varn_pc_print(7, channel);
    EXPECT_EQ(calls(), lines(pc_found, its_lines()));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcPrint, OfOneThatIsNotThereShowsNothing)
{
    run(pc_bit);
    varn_pc_print(7, channel);
    EXPECT_EQ(calls(), pc_missing);
    EXPECT_EQ(counters_moved(), "");
}

// ---- the table ----

using PcPrintTable = pc_dump;

TEST_F(PcPrintTable, ShowsItsSizeAndEveryEntry)
{
    given(port_channel(4).members({0x1a000002}));
    run_with_members();
    member_of(2, 0x16000004);
    forget_all();
    varn_pc_print_table(7, &varn.pc_table);
    EXPECT_EQ(calls(), lines("ht_iterator_init(Pc, 0, 64) = 1", header_of_pc_table(2),
                             "ht_iterator_next(Pc) = 0x16000003", its_lines(),
                             "ht_iterator_next(Pc) = 0x16000004", heading, named_eth2,
                             printed("      [2]  eth2\n"), "ht_iterator_next(Pc) = null"));
}

TEST_F(PcPrintTable, OfNullShowsAnEmptyOne)
{
    run(pc_bit);
    varn_pc_print_table(7, nullptr);
    EXPECT_EQ(calls(), lines("ht_iterator_init(null, 0, 0) = 1",
                             printed(spell("Hash table ", told_address(nullptr),
                                           ", size 0, num_buckets 0\n")),
                             "ht_iterator_next(null) = null"));
}

TEST_F(PcPrintTable, ThatCannotBeWalkedIsReported)
{
    run_with_members();
    on(ht_iterator_init).fails();
    varn_pc_print_table(7, &varn.pc_table);
    EXPECT_EQ(calls(), lines("ht_iterator_init(Pc, 0, 64) = 0",
                             reported("varn_pc_print_table", "Couldn't init iterator\n")));
}

TEST_F(PcPrintTable, WithoutASinkStillAsksTheNames)
{
    run_with_members();
    record(tables, false);
    varn_pc_print_table(0, &varn.pc_table);
    EXPECT_EQ(calls(), names_alone());
    varn.config.print = nullptr;
    varn_pc_print_table(7, &varn.pc_table);
    EXPECT_EQ(calls(), names_alone());
}

// ---- the whole ----

using PcDump = pc_dump;

TEST_F(PcDump, ShowsTheTableAndItsStatistics)
{
    run_with_members();
    varn_pc_dump(7);
    EXPECT_EQ(calls(), lines(printed("PC table\n"), "ht_iterator_init(Pc, 0, 64) = 1",
                             header_of_pc_table(1), "ht_iterator_next(Pc) = 0x16000003",
                             its_lines(), "ht_iterator_next(Pc) = null", "ht_get_stats(Pc) = 1",
                             printed("Size hwm: 1, worst lookup: 1, average lookup: 1.000000\n")));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcDump, WithoutStatisticsReportsThat)
{
    run(pc_bit);
    record(tables, false);
    on(ht_get_stats).fails();
    varn_pc_dump(7);
    EXPECT_EQ(heard(), lines(printed("PC table\n"),
                             printed(spell("Hash table ", told_address(&varn.pc_table),
                                           ", size 0, num_buckets 16384\n")),
                             "error_cb(0x6, \"%s:%d: %s\\n\", varn_print_stats, line, "
                             "\"Failed to get stats\\n\")"));
    EXPECT_EQ(history_text(), "[77]: Failed to get stats\n");
}

TEST_F(PcDump, AfterAWalkThatFailedStillShowsTheStatistics)
{
    run(pc_bit);
    on(ht_iterator_init).fails();
    varn_pc_dump(7);
    EXPECT_EQ(calls(), lines(printed("PC table\n"), "ht_iterator_init(Pc, 0, 16384) = 0",
                             reported("varn_pc_print_table", "Couldn't init iterator\n"),
                             "ht_get_stats(Pc) = 1",
                             printed("Size hwm: 0, worst lookup: 0, average lookup: 0.000000\n")));
}

TEST_F(PcDump, WithoutASinkPrintsNothing)
{
    run_with_members();
    record(tables, false);
    record(services, false);
    varn_pc_dump(0);
    varn.config.print = nullptr;
    varn_pc_dump(7);
    EXPECT_EQ(calls(), "");
}

// The three that look at the switch and at the bit.
TEST_F(PcDump, NeedsTheSwitchAndTheBitAsTheTableAndTheKeyPrinterDo)
{
    run_with_members();
    const auto show_all = [] {
        varn_pc_dump(7);
        varn_pc_print_table(7, &varn.pc_table);
        varn_pc_print(7, channel);
    };
    switch_off();
    show_all();
    EXPECT_EQ(calls(), "");
    varn_enabled = 1;
    cache(~pc_bit);
    show_all();
    EXPECT_EQ(calls(), "");
}

} // namespace
} // namespace side_cache
