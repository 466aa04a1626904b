// SPDX-License-Identifier: Apache-2.0
//
// The dump of the global record, compared whole. Every counter has a number of its own: hits begin
// at 1000, misses at 2000, updates at 3000, each with the slot added, and the single counters stand
// from 101 on.
#include "dump_ground.h"

namespace
{

constexpr const char *masks_line = "sync 0x0000000302000002, crit: 0x00000004000000c0, med: "
                                   "0x00000005000000b0, low: 0x80000000000000a0, once: "
                                   "0x0000000600000090";

constexpr const char *counts =
    "If Allocs:101,If Frees 102,If Destroys 103,Vlan Allocs 201,Vlan Frees 202\n"
    "PC Allocs 221,PC Frees 222\n"
    "If Inserts/Removes/Insert-fail/Remove-fail/Remaps 111, 112, 113, 114\n"
    "Iod Inserts/Removes/Insert-fail/Remove-fail/Remaps 121, 122, 123, 124, 104\n"
    "Pi Inserts/Removes/Insert-fail/Remove-fail/Remaps 131, 132, 133, 134, 105\n"
    "Lif Inserts/Removes/Insert-fail/Remove-fail/Remaps 141, 142, 143, 144, 106\n"
    "Updates: Phy:151, L2:152, L3:153, L3-p:154, L2-b:155, L3-b:156, Aggsvc:157\n"
    "Updates: If:161, Iod:162, Pi:163, Lif:164\n"
    "\t\tHits\tMisses\tUpdates\n"
    "If-index:\t1000\t2000\t3000\n"
    "Iod     :\t1001\t2001\t3001\n"
    "Pi      :\t1002\t2002\t3002\n"
    "Lif     :\t1003\t2003\t3003\n"
    "mac     :\t1004\t2004\t3004\n"
    "encap   :\t1005\t2005\t3005\n"
    "ext     :\t1006\t2006\t3006\n"
    "ext     :\t1007\t2007\t3007\n"
    "ext     :\t1008\t2008\t3008\n"
    "ext     :\t1009\t2009\t3009\n"
    "context :\t1010\t2010\t3010\n"
    "base_tid:\t1011\t2011\t3011\n"
    "mtu     :\t1012\t2012\t3012\n"
    "switchport:\t1013\t2013\t3013\n"
    "switching :\t1014\t2014\t3014\n"
    "linkup  :\t1015\t2015\t3015\n"
    "protoup :\t1016\t2016\t3016\n"
    "ethernet:\t1017\t2017\t3017\n"
    "loopback:\t1026\t2026\t3026\n"
    "p2p     :\t1027\t2027\t3027\n"
    "is_vlan :\t1018\t2018\t3018\n"
    "vlan    :\t1019\t2019\t3019\n"
    "ips     :\t1020\t2020\t3020\n"
    "null    :\t1021\t2021\t3021\n"
    "aggsvc_if  :\t1022\t2022\t3022\n"
    "gre     :\t1023\t2023\t3023\n"
    "subif   :\t1024\t2024\t3024\n"
    "name    :\t1025\t2025\t3025\n"
    "bd      :\t181\t171\t191\n"
    "FIndex  :\t182\t172\t192\n"
    "pvlan   :\t183\t173\t193\n"
    "pc      :\t211\t212\t213\n"
    "is_dci_tun:\t1029\t2029\t3029\n"
    "is_dci_ovl:\t1030\t2030\t3030\n";

const std::string whole = spell(masks_line, counts);
constexpr std::size_t whole_pieces = 1 + 5 + 2 + 4 + 3 * 5 + 7 + 4 + 1 + 34 * 3;

void number_the_interface_counters()
{
    for (unsigned slot = 0; slot < 32; ++slot) {
        varn.hits[slot] = 1000 + slot;
        varn.misses[slot] = 2000 + slot;
        varn.updates[slot] = 3000 + slot;
    }
    varn.if_allocs = 101, varn.if_frees = 102, varn.if_destroys = 103;
    varn.iod_remaps = 104, varn.pi_remaps = 105, varn.lif_remaps = 106;
    varn.if_index = {111, 112, 113, 114};
    varn.iod_index = {121, 122, 123, 124};
    varn.pi_index = {131, 132, 133, 134};
    varn.lif_index = {141, 142, 143, 144};
    varn.phy_updates = 151, varn.l2_updates = 152, varn.l3_updates = 153;
    varn.l3_param_updates = 154, varn.l2_bundle_updates = 155, varn.l3_bundle_updates = 156;
    varn.aggsvc_updates = 157;
    varn.if_refreshes = 161, varn.iod_refreshes = 162;
    varn.pi_refreshes = 163, varn.lif_refreshes = 164;
    varn.create_fail = 165;
}

void number_the_side_counters()
{
    varn.vlan_misses = {171, 172, 173};
    varn.vlan_hits = {181, 182, 183};
    varn.vlan_updates = {191, 192, 193};
    varn.vlan_allocs = 201, varn.vlan_frees = 202;
    varn.pc_hits = 211, varn.pc_misses = 212, varn.pc_updates = 213;
    varn.pc_allocs = 221, varn.pc_frees = 222;
}

class numbered_dump : public dump_test
{
protected:
    void start_numbered()
    {
        breaks_invariants_because("the counters were numbered by the test");
        start_printing(config()
                           .sync(0x0000000300000002)
                           .crit(0x00000004000000c0)
                           .med(0x00000005000000b0)
                           .low(0x80000000000000a0)
                           .once(0x0000000600000090)
                           .num_buckets(64));
        number_the_interface_counters();
        number_the_side_counters();
        forget_all();
    }
};

using GlobalDump = numbered_dump;
using FullDump = numbered_dump;

TEST_F(GlobalDump, ShowsMasksThenCountersThenARowForEachAttribute)
{
    start_numbered();
    varn_print_global(terminal);
    EXPECT_EQ(printed(), whole);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(history_text(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(GlobalDump, JoinsTheMasksAndTheFirstCounterWithoutASeparator)
{
    start_numbered();
    varn_print_global(terminal);
    EXPECT_NE(printed().find("once: 0x0000000600000090If Allocs:101,If Frees"), std::string::npos);
}

TEST_F(GlobalDump, ShowsFourNumbersForTheIfTableAndFiveForTheOthers)
{
    start_numbered();
    varn_print_global(terminal);
    const std::string text = printed();
    EXPECT_NE(text.find("\nIf Inserts/Removes/Insert-fail/Remove-fail/Remaps 111, 112, 113, 114\n"),
              std::string::npos);
    for (const char *five : {"Remaps 121, 122, 123, 124, 104\n", "Remaps 131, 132, 133, 134, 105\n",
                             "Remaps 141, 142, 143, 144, 106\n"})
        EXPECT_NE(text.find(five), std::string::npos) << five;
}

TEST_F(GlobalDump, ComesInPiecesOfOneNumberEach)
{
    start_numbered();
    varn_print_global(terminal);
    const auto &pieces = printout().pieces;
    ASSERT_EQ(pieces.size(), whole_pieces);
    EXPECT_EQ(pieces[0], masks_line);
    const char *const next[] = {"If Allocs:101,",
                                "If Frees 102,",
                                "If Destroys 103,",
                                "Vlan Allocs 201,",
                                "Vlan Frees 202\n",
                                "PC Allocs 221,",
                                "PC Frees 222\n",
                                "If Inserts/Removes/Insert-fail/Remove-fail/Remaps 111, ",
                                "112, ",
                                "113, ",
                                "114\n",
                                "Iod Inserts/Removes/Insert-fail/Remove-fail/Remaps 121, ",
                                "122, ",
                                "123, ",
                                "124, ",
                                "104\n"};
    for (std::size_t at = 0; at < std::size(next); ++at)
        EXPECT_EQ(pieces[1 + at], next[at]);
    const char *const then[] = {
        "Updates: Phy:151, ", "L2:152, ",   "L3:153, ",     "L3-p:154, ",
        "L2-b:155, ",         "L3-b:156, ", "Aggsvc:157\n", "Updates: If:161, ",
        "Iod:162, ",          "Pi:163, ",   "Lif:164\n",    "\t\tHits\tMisses\tUpdates\n",
        "If-index:\t1000\t",  "2000\t",     "3000\n"};
    for (std::size_t at = 0; at < std::size(then); ++at)
        EXPECT_EQ(pieces[27 + at], then[at]);
    EXPECT_EQ(pieces[whole_pieces - 3], "is_dci_ovl:\t1030\t");
}

// The callback may be taken away at any moment; what was printed until then is a beginning.
TEST_F(GlobalDump, StopsAtTheFirstPieceWithoutACallback)
{
    start_numbered();
    for (std::size_t pieces = 1; pieces <= whole_pieces; ++pieces) {
        SCOPED_TRACE(pieces);
        varn.config.print = keep_piece;
        printout().stop_after = pieces;
        varn_print_global(terminal);
        EXPECT_EQ(printout().pieces.size(), pieces);
        const std::string text = printed();
        EXPECT_EQ(text, whole.substr(0, text.size()));
    }
}

TEST_F(GlobalDump, WithoutACallbackPrintsNothing)
{
    start_numbered();
    varn.config.print = nullptr;
    varn_print_global(terminal);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(history_text(), "");
}

TEST_F(GlobalDump, WithAnArgumentOf0PrintsNothing)
{
    start_numbered();
    varn_print_global(0);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(history_text(), "");
}

// Switching the cache off empties sync, and that is all that the dump shows of it.
TEST_F(GlobalDump, WithTheCacheDisabledStillPrintsEverything)
{
    start_numbered();
    varn_disable_cache();
    varn_print_global(terminal);
    EXPECT_EQ(printed(), "sync 0x0000000000000000" + whole.substr(23));
}

TEST_F(GlobalDump, ShowsAll64BitsOfACounter)
{
    start_numbered();
    varn.if_allocs = ~u64{0};
    varn.lif_remaps = u64{1} << 32;
    varn.hits[30] = u64{1} << 63;
    varn.pc_updates = 5000000000;
    varn_print_global(terminal);
    const std::string text = printed();
    for (const char *part : {"If Allocs:18446744073709551615,", "143, 144, 4294967296\n",
                             "is_dci_ovl:\t9223372036854775808\t", "\t212\t5000000000\n"})
        EXPECT_NE(text.find(part), std::string::npos) << part;
}

// ---- the full dump ----

// Statistics of a table that can be told from those of another.
void give_statistics()
{
    const struct {
        const char *table;
        ht_stats_t says;
    } rows[] = {{"If", {11, 12, 1.5}},
                {"Iod", {21, 22, 2.5}},
                {"Pi", {31, 32, 3.5}},
                {"Lif", {41, 42, 0.1}}};
    for (const auto &row : rows)
        on(ht_get_stats).of(row.table).does([says = row.says](ht_t *, ht_stats_t *stats) {
            *stats = says;
            return 1u;
        });
}

constexpr const char *statistics =
    "If table\nSize hwm: 11, worst lookup: 12, average lookup: 1.500000\n"
    "Iod table\nSize hwm: 21, worst lookup: 22, average lookup: 2.500000\n"
    "PI table\nSize hwm: 31, worst lookup: 32, average lookup: 3.500000\n"
    "LIF table\nSize hwm: 41, worst lookup: 42, average lookup: 0.100000\n";

TEST_F(FullDump, AddsTheStatisticsOfTheFourTablesAndTheBitmap)
{
    start_numbered();
    give_statistics();
    varn_iodbmp[2] = 0xFFFFFFFE;
    varn_dump(terminal);
    EXPECT_EQ(printed(), whole + statistics +
                             "IOD Bitmap Dump:\n"
                             "Index : 2,\tIOD Range [64 - 95]\t: 0xfffffffe\n"
                             "\n");
}

TEST_F(FullDump, AsksNothingButTheStatistics)
{
    start_numbered();
    record(tables);
    varn_dump(terminal);
    EXPECT_EQ(calls(), lines("ht_get_stats(If) = 1", "ht_get_stats(Iod) = 1",
                             "ht_get_stats(Pi) = 1", "ht_get_stats(Lif) = 1"));
}

TEST_F(FullDump, WithTheCacheDisabledIsTheGlobalDumpAlone)
{
    start_numbered();
    varn_disable_cache();
    record(tables);
    varn_dump(terminal);
    EXPECT_EQ(printed(), "sync 0x0000000000000000" + whole.substr(23));
    EXPECT_EQ(calls(), "");
}

TEST_F(FullDump, WithoutASinkPrintsNothing)
{
    start_numbered();
    varn_dump(0);
    varn.config.print = nullptr;
    varn_dump(terminal);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(history_text(), "");
}

TEST_F(FullDump, WhoseStatisticsFailReportsEachAndGoesOn)
{
    start_numbered();
    give_statistics();
    on(ht_get_stats).of("Iod").fails();
    on(ht_get_stats).of("Lif").fails();
    varn_dump(terminal);
    EXPECT_EQ(printed(), whole + "If table\nSize hwm: 11, worst lookup: 12, average lookup: "
                                 "1.500000\nIod table\nPI table\nSize hwm: 31, worst lookup: 32, "
                                 "average lookup: 3.500000\nLIF table\nIOD Bitmap Dump:\n\n");
    EXPECT_EQ(history_text(), "[77]: Failed to get stats\n[77]: Failed to get stats\n");
}

} // namespace
