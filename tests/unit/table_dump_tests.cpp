// SPDX-License-Identifier: Apache-2.0
//
// The dumps of whole tables: the printer of each table, the statistics line, every entry of the
// interface tables, and the iod bitmap. A walk or statistics that fail are reported under the name
// of the function that wanted them.
#include "dump_ground.h"

namespace
{

std::string header(const ht_t *table, const std::string &size, const std::string &buckets)
{
    return spell("Hash table ", told_address(table), ", size ", size, ", num_buckets ", buckets,
                 "\n");
}

class table_dump : public dump_test
{
protected:
    table_dump() { given(port(7), port(8)); }

    // Two ports in all four interface tables, and a client that hears errors.
    void start_with_ports()
    {
        start_printing(
            config().uuid(0x11).sync(bits(1, 2, 3, 10, 31, 33)).num_buckets(64).error_cb(6));
        varn_error_cb = 1;
        varn_if_create_entry_by_iod(7);
        varn_if_create_entry_by_iod(8);
        forget_all();
    }

    // What the entry's own printer says.
    static std::string entry_text(u32 iod)
    {
        varn_if_entry_print(terminal, entry(iod));
        return printed();
    }
};

// ---- the printer of each table ----

struct printer {
    const char *name;
    void (*print)(std::uintptr_t arg, ht_t *table);
    ht_t *table;
    const char *function;
};

void PrintTo(const printer &row, std::ostream *out) { *out << row.name; }

const printer interface_printers[] = {
    {"If", varn_if_print_table, &varn.if_table, "varn_if_print_table"},
    {"Iod", varn_iod_print_table, &varn.iod_table, "varn_iod_print_table"},
    {"Pi", varn_pi_print_table, &varn.pi_table, "varn_pi_print_table"},
    {"Lif", varn_lif_print_table, &varn.lif_table, "varn_lif_print_table"}};
const printer side_printers[] = {
    {"Pc", varn_pc_print_table, &varn.pc_table, "varn_pc_print_table"},
    {"Vlan", varn_vlan_print_table, &varn.vlan_table, "varn_vlan_print_table"}};

class TablePrinter : public table_dump, public testing::WithParamInterface<printer>
{
protected:
    const printer &row = GetParam();
};
using InterfaceTablePrinter = TablePrinter;

TEST_P(InterfaceTablePrinter, PrintsAHeaderThenEveryEntry)
{
    start_with_ports();
    const std::string expected = header(row.table, "2", "64") + entry_text(7) + entry_text(8);
    forget_all();
    row.print(terminal, row.table);
    EXPECT_EQ(printed(), expected);
    EXPECT_EQ(calls(), lines("ifsvc_get_if_name(7) = \"eth7\"", "ifsvc_get_if_name(8) = \"eth8\""));
    EXPECT_EQ(history_text(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_P(InterfaceTablePrinter, WalksTheTableThatItIsGiven)
{
    start_with_ports();
    varn_pi_delete_entry(entry(8));
    const std::string expected = header(&varn.pi_table, "1", "64") + entry_text(7);
    row.print(terminal, &varn.pi_table);
    EXPECT_EQ(printed(), expected);
}

TEST_P(InterfaceTablePrinter, OfATableThatDoesNotExistPrintsAnEmptyOne)
{
    start_printing(config().sync(0));
    ht_t absent{};
    row.print(terminal, &absent);
    EXPECT_EQ(printed(), header(&absent, "0", "0"));
}

TEST_P(TablePrinter, StartsItsWalkAtTheFirstOfAllBuckets)
{
    start_with_ports();
    record(tables);
    row.print(terminal, row.table);
    const std::string walk = spell("ht_iterator_init(", row.name, ", 0, 64) = 1");
    EXPECT_EQ(calls().substr(0, walk.size()), walk);
}

TEST_P(TablePrinter, OfANullTableWalksNoBucketAndPrintsAnEmptyOne)
{
    start_with_ports();
    record(tables);
    row.print(terminal, nullptr);
    EXPECT_EQ(printed(), header(nullptr, "0", "0"));
    EXPECT_EQ(calls(), lines("ht_iterator_init(null, 0, 0) = 1", "ht_iterator_next(null) = null"));
}

TEST_P(TablePrinter, WhoseWalkCannotStartReportsItAndPrintsNothing)
{
    start_with_ports();
    record(messages);
    on(ht_iterator_init).fails();
    row.print(terminal, row.table);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), reported(row.function, "Couldn't init iterator\n"));
    EXPECT_EQ(std::string(varn_print_str), "Couldn't init iterator\n");
    const history_record &told = history().front();
    EXPECT_EQ(told.length, std::string("[77]: Couldn't init iterator\n").size() + 5);
    EXPECT_EQ(told.event_id, 0x730000u);
    EXPECT_EQ(told.uuid, 0x11u);
}

TEST_P(TablePrinter, ReportsAWalkThatCannotStartAlsoWithoutASink)
{
    start_with_ports();
    record(messages);
    on(ht_iterator_init).fails();
    row.print(0, row.table);
    EXPECT_EQ(calls(), reported(row.function, "Couldn't init iterator\n"));
}

TEST_P(TablePrinter, WhileDisabledDoesNothing)
{
    start_with_ports();
    record(tables);
    varn_disable_cache();
    row.print(terminal, row.table);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
}

TEST_P(TablePrinter, WithoutASinkPrintsNothing)
{
    start_with_ports();
    row.print(0, row.table);
    varn.config.print = nullptr;
    row.print(terminal, row.table);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(history_text(), "");
}

const auto name_of_printer = [](const auto &each) { return std::string(each.param.name); };
INSTANTIATE_TEST_SUITE_P(Each, InterfaceTablePrinter, testing::ValuesIn(interface_printers),
                         name_of_printer);
INSTANTIATE_TEST_SUITE_P(Interface, TablePrinter, testing::ValuesIn(interface_printers),
                         name_of_printer);
INSTANTIATE_TEST_SUITE_P(Side, TablePrinter, testing::ValuesIn(side_printers), name_of_printer);

// ---- every entry of the interface tables ----

using EntriesDump = table_dump;

TEST_F(EntriesDump, PrintsAnEntryOncePerTableThatHoldsIt)
{
    start_with_ports();
    varn_lif_delete_entry(entry(7));
    varn_pi_delete_entry(entry(8));
    const std::string seven = entry_text(7), eight = entry_text(8);
    forget_all();
    varn_if_dump(terminal);
    EXPECT_EQ(printed(), "If table\n" + header(&varn.if_table, "2", "64") + seven + eight +
                             "Iod table\n" + header(&varn.iod_table, "2", "64") + seven + eight +
                             "PI table\n" + header(&varn.pi_table, "1", "64") + seven +
                             "LIF table\n" + header(&varn.lif_table, "1", "64") + eight);
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(EntriesDump, ShowsTablesThatDoNotExistAsEmpty)
{
    start_printing(config().sync(0).num_buckets(64));
    varn_if_dump(terminal);
    EXPECT_EQ(printed(), "If table\n" + header(&varn.if_table, "0", "64") + "Iod table\n" +
                             header(&varn.iod_table, "0", "0") + "PI table\n" +
                             header(&varn.pi_table, "0", "0") + "LIF table\n" +
                             header(&varn.lif_table, "0", "0"));
}

TEST_F(EntriesDump, WhoseWalksCannotStartReportsEachPrinterAndGoesOn)
{
    start_with_ports();
    record(messages);
    on(ht_iterator_init).fails();
    varn_if_dump(terminal);
    EXPECT_EQ(printed(), "If table\nIod table\nPI table\nLIF table\n");
    EXPECT_EQ(calls(), lines(reported("varn_if_print_table", "Couldn't init iterator\n"),
                             reported("varn_iod_print_table", "Couldn't init iterator\n"),
                             reported("varn_pi_print_table", "Couldn't init iterator\n"),
                             reported("varn_lif_print_table", "Couldn't init iterator\n")));
}

TEST_F(EntriesDump, WhileDisabledDoesNothing)
{
    start_with_ports();
    record(tables);
    varn_disable_cache();
    varn_if_dump(terminal);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
}

TEST_F(EntriesDump, WithoutASinkPrintsNothingAndAsksForNoName)
{
    start_with_ports();
    varn_if_dump(0);
    varn.config.print = nullptr;
    varn_if_dump(terminal);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
}

// ---- statistics ----

using TableStatistics = table_dump;

TEST_F(TableStatistics, ShowsWhatTheTableSaysInOneLine)
{
    start_with_ports();
    on(ht_get_stats).of("Pi").does([](ht_t *, ht_stats_t *stats) {
        *stats = {4294967295UL, 17, 1.0 / 3};
        return 1u;
    });
    varn_print_stats(terminal, &varn.pi_table);
    EXPECT_EQ(printed(), "Size hwm: 4294967295, worst lookup: 17, average lookup: 0.333333\n");
}

TEST_F(TableStatistics, OfALivingTable)
{
    start_with_ports();
    varn_if_remove_entry_by_iod(8);
    varn_print_stats(terminal, &varn.if_table);
    EXPECT_EQ(printed(), "Size hwm: 2, worst lookup: 1, average lookup: 1.000000\n");
}

TEST_F(TableStatistics, OfATableThatDoesNotExistAreZeros)
{
    start_printing(config().sync(0));
    varn_print_stats(terminal, &varn.iod_table);
    EXPECT_EQ(printed(), "Size hwm: 0, worst lookup: 0, average lookup: 0.000000\n");
}

TEST_F(TableStatistics, ThatFailAreReported)
{
    start_with_ports();
    record(messages);
    on(ht_get_stats).fails();
    varn_print_stats(terminal, &varn.if_table);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), reported("varn_print_stats", "Failed to get stats\n"));
    EXPECT_EQ(std::string(varn_print_str), "Failed to get stats\n");
    EXPECT_EQ(history().front().length, std::string("[77]: Failed to get stats\n").size() + 5);
}

TEST_F(TableStatistics, ThatFailAreReportedAlsoWithoutASink)
{
    start_with_ports();
    record(messages);
    on(ht_get_stats).fails();
    varn_print_stats(0, &varn.if_table);
    EXPECT_EQ(calls(), reported("varn_print_stats", "Failed to get stats\n"));
}

TEST_F(TableStatistics, WhileDisabledAreNotAsked)
{
    start_with_ports();
    record(tables);
    varn_disable_cache();
    varn_print_stats(terminal, &varn.if_table);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), "");
}

TEST_F(TableStatistics, WithoutASinkPrintNothing)
{
    start_with_ports();
    varn_print_stats(0, &varn.if_table);
    varn.config.print = nullptr;
    varn_print_stats(terminal, &varn.if_table);
    EXPECT_EQ(printed(), "");
}

// ---- the iod bitmap ----

using BitmapDump = table_dump;

TEST_F(BitmapDump, OfAFullBitmapIsAHeaderAndAnEmptyLine)
{
    start_with_ports();
    varn_dump_iod_bmp(terminal);
    EXPECT_EQ(printed(), "IOD Bitmap Dump:\n\n");
}

TEST_F(BitmapDump, ShowsEachWordThatForbidsSomething)
{
    start_with_ports();
    varn_iodbmp[0] = 0xFFFFFF7F;
    varn_iodbmp[1] = 0;
    varn_iodbmp[31] = 0x7FFFFFFF;
    varn_iodbmp[1023] = 1;
    varn_dump_iod_bmp(terminal);
    EXPECT_EQ(printed(), "IOD Bitmap Dump:\n"
                         "Index : 0,\tIOD Range [0 - 31]\t: 0xffffff7f\n"
                         "Index : 1,\tIOD Range [32 - 63]\t: 0x0\n"
                         "Index : 31,\tIOD Range [992 - 1023]\t: 0x7fffffff\n"
                         "Index : 1023,\tIOD Range [32736 - 32767]\t: 0x1\n"
                         "\n");
}

TEST_F(BitmapDump, ShowsAllWordsOfAnEmptyBitmap)
{
    start_with_ports();
    for (u32 &word : varn_iodbmp)
        word = 0;
    varn_dump_iod_bmp(terminal);
    EXPECT_EQ(printout().pieces.size(), 1026u);
}

TEST_F(BitmapDump, ShowsARetiredIod)
{
    start_with_ports();
    varn_if_remove_entry_by_if_ext(0x1a000007, 7, 0);
    varn_dump_iod_bmp(terminal);
    EXPECT_EQ(printed(), "IOD Bitmap Dump:\nIndex : 0,\tIOD Range [0 - 31]\t: 0xffffff7f\n\n");
}

TEST_F(BitmapDump, WhileDisabledPrintsNothing)
{
    start_with_ports();
    varn_disable_cache();
    varn_dump_iod_bmp(terminal);
    EXPECT_EQ(printed(), "");
}

TEST_F(BitmapDump, WithoutASinkPrintsNothing)
{
    start_with_ports();
    varn_iodbmp[0] = 0;
    varn_dump_iod_bmp(0);
    varn.config.print = nullptr;
    varn_dump_iod_bmp(terminal);
    EXPECT_EQ(printed(), "");
}

// ---- the trace sink is another one ----

TEST(DumpSink, IsNotTheTraceSinkThatSetPrintInstalls)
{
    varn.config.print = keep_piece;
    varn_set_print(heard_debug_print_arg, 0x55);
    EXPECT_EQ(varn.config.debug_print_arg, &heard_debug_print_arg);
    EXPECT_EQ(varn.config.debug_arg, 0x55u);
    EXPECT_EQ(varn.config.print, &keep_piece);
    varn_set_print(nullptr, 0);
    EXPECT_EQ(varn.config.debug_print_arg, nullptr);
    EXPECT_EQ(varn.config.debug_arg, 0u);
    varn.config.print = nullptr;
}

} // namespace
