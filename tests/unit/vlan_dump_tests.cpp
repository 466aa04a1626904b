// SPDX-License-Identifier: Apache-2.0
//
// The dumps of the VLAN cache: one entry with its markers, one table, the whole. Nobody is asked
// for anything, and only the switch of the cache is looked at, never an attribute bit.
#include "vlan_ground.h"

namespace side_cache
{
namespace
{

class vlan_dump : public vlan_ground
{
protected:
    // A cache of 64 buckets that holds VLANs 20 and 30, the second with everything dirty.
    void run_with_two()
    {
        given(vlan(20).primary(5), vlan(30));
        run_with(config().sync(vlan_cache).num_buckets(64));
        filed(20);
        filed(30).dirty = ~u64{0};
    }

    static std::string line_of_20()
    {
        return printed(
            spell("Entry(", told_address(held(20)), ") - vlan 20, pvlan 5, FI 0x4014, BD 0x208\n"));
    }
    static std::string line_of_30()
    {
        return printed(spell("Entry(", told_address(held(30)),
                             ") - vlan 30, pvlan 30*, FI 0x401e*, BD 0x212*\n"));
    }
    static std::string header(u32 size, u32 buckets)
    {
        return printed(spell("Hash table ", told_address(&varn.vlan_table), ", size ", dec(size),
                             ", num_buckets ", dec(buckets), "\n"));
    }
    static std::string both_walked()
    {
        return lines("ht_iterator_init(Vlan, 0, 64) = 1", header(2, 64),
                     "ht_iterator_next(Vlan) = 20", line_of_20(), "ht_iterator_next(Vlan) = 30",
                     line_of_30(), "ht_iterator_next(Vlan) = null");
    }
};

// ---- an entry ----

using VlanEntryPrint = vlan_dump;

TEST_F(VlanEntryPrint, MarksEachFieldThatIsDirty)
{
    run(vlan_cache);
    varn_vlan_entry_t &shown = filed();
    shown.pvlan = 7;
    for (u32 chosen = 0; chosen < 8; ++chosen) {
        SCOPED_TRACE(chosen);
        const bool pvlan = chosen & 1, bd = chosen & 2, findex = chosen & 4;
        const u64 others = ~field_bits;
        shown.dirty =
            others | (pvlan ? pvlan_bit : 0) | (bd ? bd_bit : 0) | (findex ? findex_bit : 0);
        varn_vlan_entry_print(7, &shown);
        EXPECT_EQ(calls(), printed(spell("Entry(", told_address(&shown), ") - vlan 20, pvlan 7",
                                         pvlan ? "*," : ",", " FI 0x4014", findex ? "*," : ",",
                                         " BD 0x208", bd ? "*" : "", "\n")));
    }
}

TEST_F(VlanEntryPrint, ShowsTheWidestValues)
{
    run(vlan_cache);
    varn_vlan_entry_t shown{};
    shown.vlan = 65535;
    shown.bd = 0xFFFF;
    shown.flood_di = 0xFFFFFFFF;
    shown.pvlan = 4094;
    varn_vlan_entry_print(7, &shown);
    EXPECT_EQ(calls(), printed(spell("Entry(", told_address(&shown),
                                     ") - vlan 65535, pvlan 4094, FI 0xffffffff, BD 0xffff\n")));
}

TEST_F(VlanEntryPrint, OfNullPrintsNothing)
{
    run(vlan_cache);
    varn_vlan_entry_print(7, nullptr);
    EXPECT_EQ(calls(), "");
}

TEST_F(VlanEntryPrint, WithoutASinkPrintsNothing)
{
    run(vlan_cache);
    const varn_vlan_entry_t &shown = filed();
    varn_vlan_entry_print(0, &shown);
    varn.config.print = nullptr;
    varn_vlan_entry_print(7, &shown);
    EXPECT_EQ(calls(), "");
}

TEST_F(VlanEntryPrint, TestsNoSwitch)
{
    run_with_two();
    switch_off();
    cache(0);
    varn_vlan_entry_print(7, held(20));
    EXPECT_EQ(calls(), line_of_20());
}

// ---- an entry by its key ----

using VlanPrint = vlan_dump;

TEST_F(VlanPrint, ShowsTheEntryAsItStands)
{
    run_with_two();
    varn_vlan_print(7, 30);
    EXPECT_EQ(calls(), lines("ht_lookup(Vlan, 30) = found", line_of_30()))
        << "a dirty one is not refreshed";
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(VlanPrint, OfOneThatIsNotThereShowsNothing)
{
    run(vlan_cache);
    varn_vlan_print(7, 20);
    EXPECT_EQ(calls(), vlan_missing);
    EXPECT_EQ(entries(), 0u);
}

// ---- the table ----

using VlanPrintTable = vlan_dump;

TEST_F(VlanPrintTable, ShowsItsSizeAndEveryEntry)
{
    run_with_two();
    varn_vlan_print_table(7, &varn.vlan_table);
    EXPECT_EQ(calls(), both_walked());
}

TEST_F(VlanPrintTable, OfNullShowsAnEmptyOne)
{
    run(vlan_cache);
    varn_vlan_print_table(7, nullptr);
    EXPECT_EQ(calls(), lines("ht_iterator_init(null, 0, 0) = 1",
                             printed(spell("Hash table ", told_address(nullptr),
                                           ", size 0, num_buckets 0\n")),
                             "ht_iterator_next(null) = null"));
}

TEST_F(VlanPrintTable, ThatCannotBeWalkedIsReported)
{
    run_with_two();
    on(ht_iterator_init).fails();
    varn_vlan_print_table(7, &varn.vlan_table);
    EXPECT_EQ(calls(), lines("ht_iterator_init(Vlan, 0, 64) = 0",
                             reported("varn_vlan_print_table", "Couldn't init iterator\n")));
}

// ---- the whole ----

using VlanDump = vlan_dump;

TEST_F(VlanDump, ShowsTheTableAndItsStatistics)
{
    run_with_two();
    varn_vlan_dump(7);
    EXPECT_EQ(calls(), lines(printed("Vlan table\n"), both_walked(), "ht_get_stats(Vlan) = 1",
                             printed("Size hwm: 2, worst lookup: 1, average lookup: 1.000000\n")));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(VlanDump, ShowsLongChainsAsTheTableCountsThem)
{
    given(vlan(21), vlan(22));
    run_with(config().sync(vlan_cache).num_buckets(1));
    for (const u16 each : {u16{20}, u16{21}, u16{22}})
        filed(each);
    varn_vlan_delete_entry(held(21));
    record(tables, false);
    forget_all();
    varn_vlan_dump(7);
    const auto line_of = [](u16 id, const char *values) {
        return printed(spell("Entry(", told_address(held(id)), ") - vlan ", dec(id), values));
    };
    EXPECT_EQ(heard(), lines(printed("Vlan table\n"), header(2, 1),
                             line_of(20, ", pvlan 20, FI 0x4014, BD 0x208\n"),
                             line_of(22, ", pvlan 22, FI 0x4016, BD 0x20a\n"),
                             printed("Size hwm: 3, worst lookup: 2, average lookup: 1.500000\n")));
}

TEST_F(VlanDump, WithVlansNotCachedShowsAnEmptyTable)
{
    run(0);
    varn_vlan_dump(7);
    EXPECT_EQ(calls(),
              lines(printed("Vlan table\n"), "ht_iterator_init(Vlan, 0, 0) = 1", header(0, 0),
                    "ht_iterator_next(Vlan) = null", "ht_get_stats(Vlan) = 1",
                    printed("Size hwm: 0, worst lookup: 0, average lookup: 0.000000\n")));
}

TEST_F(VlanDump, WithoutStatisticsReportsThat)
{
    run(vlan_cache);
    on(ht_get_stats).fails();
    varn_vlan_dump(7);
    EXPECT_EQ(calls(),
              lines(printed("Vlan table\n"), "ht_iterator_init(Vlan, 0, 16384) = 1",
                    header(0, 16384), "ht_iterator_next(Vlan) = null", "ht_get_stats(Vlan) = 0",
                    reported("varn_print_stats", "Failed to get stats\n")));
}

TEST_F(VlanDump, WithoutASinkPrintsNothing)
{
    run_with_two();
    record(tables, false);
    varn_vlan_dump(0);
    varn.config.print = nullptr;
    varn_vlan_dump(7);
    EXPECT_EQ(calls(), "");
}

// The three that look at the switch, and at nothing else.
TEST_F(VlanDump, NeedsTheSwitchAloneAsTheTableAndTheKeyPrinterDo)
{
    run_with_two();
    const auto show_all = [] {
        varn_vlan_dump(7);
        varn_vlan_print_table(7, &varn.vlan_table);
        varn_vlan_print(7, 20);
    };
    switch_off();
    show_all();
    EXPECT_EQ(calls(), "");
    varn_enabled = 1;
    cache(0);
    show_all();
    EXPECT_EQ(calls(), lines(printed("Vlan table\n"), both_walked(), "ht_get_stats(Vlan) = 1",
                             printed("Size hwm: 2, worst lookup: 1, average lookup: 1.000000\n"),
                             both_walked(), vlan_found, line_of_20()));
}

} // namespace
} // namespace side_cache
