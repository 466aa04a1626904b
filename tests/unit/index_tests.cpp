// SPDX-License-Identifier: Apache-2.0
//
// The four indexes: insert and delete, with their counters and messages, and the release of an
// entry by the delete of the If table. The eight operations are alike but for what stands in their
// row; the rows are written here a second time.
#include "varn.h"
#include "varn_fixture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{

// Entry 0x1a000007 with iod 7, pi 0x107 and lif 0x2007 is the one that every row is told about.
struct index_row {
    const char *table;
    const ht_t &object;
    u32 (*insert)(varn_if_entry_t *);
    const char *insert_name;
    const char *insert_message;
    u32 (*remove)(varn_if_entry_t *);
    const char *remove_name;
    const char *remove_message;
    const char *counters;
    const char *key; // as the journal tells it
    u32 varn_if_entry_t::*field;
    u32 bit;    // of sync, that a delete asks for; 25 is always set
    u32 absent; // what a delete writes into the key
};

const index_row if_row = {"If",
                          varn.if_table,
                          varn_if_insert_entry,
                          "varn_if_insert_entry",
                          "Failed to add varn entry for if-index 0x1a000007",
                          varn_if_delete_entry,
                          "varn_if_delete_entry",
                          "Failed to delete entry for if 0x1a000007: possible leak?",
                          "if_index",
                          "0x1a000007",
                          &varn_if_entry_t::if_index,
                          25,
                          0};
const index_row iod_row = {"Iod",
                           varn.iod_table,
                           varn_iod_insert_entry,
                           "varn_iod_insert_entry",
                           "Failed to add iod entry for if 0x1a000007, iod 7",
                           varn_iod_delete_entry,
                           "varn_iod_delete_entry",
                           "Failed to del iod entry for if 0x1a000007, iod 7;possible leak?",
                           "iod_index",
                           "7",
                           &varn_if_entry_t::iod,
                           1,
                           0};
const index_row pi_row = {"Pi",
                          varn.pi_table,
                          varn_pi_insert_entry,
                          "varn_pi_insert_entry",
                          "Failed to add pi entry for if 0x1a000007, iod 7, pi 0x107",
                          varn_pi_delete_entry,
                          "varn_pi_delete_entry",
                          "Failed to del pi entry for if 0x1a000007, iod 7, pi 0x107; possible "
                          "leak?",
                          "pi_index",
                          "0x107",
                          &varn_if_entry_t::pi,
                          2,
                          0xFFFFFFFF};
const index_row lif_row = {"Lif",
                           varn.lif_table,
                           varn_lif_insert_entry,
                           "varn_lif_insert_entry",
                           "Failed to add lif entry for if 0x1a000007, iod 7, lif 0x2007",
                           varn_lif_delete_entry,
                           "varn_lif_delete_entry",
                           "Failed to del lif entry for if 0x1a000007, iod 7, lif 0x2007; "
                           "possible leak?",
                           "lif_index",
                           "0x2007",
                           &varn_if_entry_t::lif,
                           3,
                           0xFFFFFFFF};

class row_test : public varn_test, public testing::WithParamInterface<const index_row *>
{
protected:
    row_test() : row(*GetParam())
    {
        start(config().sync(bits(1, 2, 3)).uuid(0x11).error_cb(6));
        record(tables);
        record(backtraces);
        varn_error_cb = 1;
        made = loose_entry(0x1a000007, 7, 0x107, 0x2007);
    }

    std::string call(const char *function, const char *result) const
    {
        return spell(function, "(", row.table, ", ", row.key, ") = ", result);
    }

    std::string moved(const char *counter) const
    {
        return spell(row.counters, ".", counter, " +1");
    }

    // One error report and nothing else: callback, shared buffer and history.
    void expect_report(const char *function, const std::string &text)
    {
        EXPECT_EQ(heard(), spell("error_cb(0x6, \"%s:%d: %s\\n\", ", function, ", line, \"", text,
                                 "\\n\")"));
        EXPECT_EQ(varn_print_str, spell(text, "\n"));
        ASSERT_EQ(history().size(), 1u);
        const history_record &last = history()[0];
        EXPECT_EQ(last.text, spell("[77]: ", text, "\n"));
        EXPECT_EQ(lines(hex(last.uuid), hex(last.event_id), dec(last.level), dec(last.code)),
                  lines("0x11", "0x730000", "2", "122"));
        EXPECT_EQ(last.length, text.size() + 6 + 1 + 5);
    }

    void expect_silence()
    {
        EXPECT_EQ(calls(), "");
        EXPECT_EQ(heard(), "");
        EXPECT_EQ(history_text(), "");
        EXPECT_EQ(counters_moved(), "");
    }

    const index_row &row;
    varn_if_entry_t *made;
};

std::string name_of(const testing::TestParamInfo<const index_row *> &row)
{
    return row.param->table;
}

const index_row *const every_row[] = {&if_row, &iod_row, &pi_row, &lif_row};
const index_row *const key_rows[] = {&iod_row, &pi_row, &lif_row};

// ---- what all four tables have alike ----

using EveryIndex = row_test;
INSTANTIATE_TEST_SUITE_P(All, EveryIndex, testing::ValuesIn(every_row), name_of);

TEST_P(EveryIndex, InsertFilesTheEntryAndCountsIt)
{
    EXPECT_EQ(row.insert(made), 1u);
    EXPECT_EQ(calls(), call("ht_insert", "1"));
    EXPECT_TRUE(stands_in(&row.object, made));
    EXPECT_EQ(made->ref_count, 1u);
    EXPECT_EQ(counters_moved(), moved("inserts"));
    EXPECT_EQ(history_text(), "");
    breaks_invariants_because(row.bit == 25 ? "" : "the entry does not stand in If");
}

TEST_P(EveryIndex, InsertCallsWithNoFlags)
{
    u32 seen = 9;
    on(ht_insert).does([&](ht_t *table, void *entry, u32 flags) {
        seen = flags;
        return on(ht_insert).by_default(table, entry, flags);
    });
    EXPECT_EQ(row.insert(made), 1u);
    on(ht_insert).as_usual();
    EXPECT_EQ(seen, 0u);
    breaks_invariants_because(row.bit == 25 ? "" : "the entry does not stand in If");
}

TEST_P(EveryIndex, InsertOfNullGivesZeroAndCountsNothing)
{
    EXPECT_EQ(row.insert(nullptr), 0u);
    expect_silence();
}

TEST_P(EveryIndex, InsertThatTheTableRefusesIsReportedAndChangesNothing)
{
    made->ref_count = 3;
    on(ht_insert).of(row.table).fails();
    EXPECT_EQ(row.insert(made), 0u);
    EXPECT_EQ(lines(call("ht_insert", "0"), heard()), calls());
    on(ht_insert).of(row.table).fails();
    forget_history();
    EXPECT_EQ(row.insert(made), 0u);
    expect_report(row.insert_name, row.insert_message);
    EXPECT_EQ(made->ref_count, 3u);
    EXPECT_EQ(made->iod, 7u);
    EXPECT_EQ(made->pi, 0x107u);
    EXPECT_EQ(made->lif, 0x2007u);
    EXPECT_EQ(counters_moved(), spell(row.counters, ".insert_fail +2"));
}

TEST_P(EveryIndex, InsertOfAKeyThatAnotherEntryHoldsIsRefused)
{
    varn_if_entry_t *other = loose_entry(made->if_index, made->iod, made->pi, made->lif);
    EXPECT_EQ(row.insert(other), 1u);
    forget_all();
    EXPECT_EQ(row.insert(made), 0u);
    expect_report(row.insert_name, row.insert_message);
    EXPECT_EQ(made->ref_count, 0u);
    EXPECT_EQ(counters_moved(), moved("insert_fail"));
    breaks_invariants_because(row.bit == 25 ? "" : "the entry does not stand in If");
}

TEST_P(EveryIndex, InsertTestsNoSyncBitAndNotWhetherTheCacheIsOn)
{
    varn.config.sync = 0;
    varn_enabled = 0;
    EXPECT_EQ(row.insert(made), 1u);
    EXPECT_EQ(calls(), call("ht_insert", "1"));
    breaks_invariants_because(row.bit == 25 ? "" : "the entry does not stand in If");
}

TEST_P(EveryIndex, InsertDeliberatelyLetsTheReferenceCountWrap)
{
    made->ref_count = 255;
    EXPECT_EQ(row.insert(made), 1u);
    EXPECT_EQ(made->ref_count, 0u);
    breaks_invariants_because("the count has wrapped");
}

TEST_P(EveryIndex, InsertIntoATableThatNeverExistedIsReported)
{
    varn.config.error_cb = nullptr;
    ht_cleanup(const_cast<ht_t *>(&row.object));
    forget_all();
    EXPECT_EQ(row.insert(made), 0u);
    EXPECT_EQ(history_text(), spell("[77]: ", row.insert_message, "\n"));
    EXPECT_EQ(counters_moved(), moved("insert_fail"));
}

TEST_P(EveryIndex, DeleteOfNullGivesZeroAndCountsNothing)
{
    EXPECT_EQ(row.remove(nullptr), 0u);
    expect_silence();
}

TEST_P(EveryIndex, DeleteThatTheTableRefusesIsReportedAndChangesNothing)
{
    made->ref_count = 3;
    EXPECT_EQ(row.remove(made), 0u);
    EXPECT_EQ(calls(), lines(call("ht_remove_entry", "0"),
                             spell("error_cb(0x6, \"%s:%d: %s\\n\", ", row.remove_name,
                                   ", line, \"", row.remove_message, "\\n\")")));
    expect_report(row.remove_name, row.remove_message);
    EXPECT_EQ(made->ref_count, 3u);
    EXPECT_EQ(made->iod, 7u);
    EXPECT_EQ(made->pi, 0x107u);
    EXPECT_EQ(made->lif, 0x2007u);
    EXPECT_EQ(counters_moved(), moved("remove_fail"));
    EXPECT_EQ(released().size(), 0u);
}

TEST_P(EveryIndex, DeleteGoesByTheEntryAndNotByItsKey)
{
    varn_if_entry_t *other = loose_entry(made->if_index, made->iod, made->pi, made->lif);
    EXPECT_EQ(row.insert(other), 1u);
    EXPECT_EQ(row.remove(made), 0u);
    EXPECT_TRUE(stands_in(&row.object, other));
    breaks_invariants_because(row.bit == 25 ? "" : "the entry does not stand in If");
}

// ---- delete from the Iod, Pi and Lif tables ----

using KeyIndex = row_test;
INSTANTIATE_TEST_SUITE_P(All, KeyIndex, testing::ValuesIn(key_rows), name_of);

TEST_P(KeyIndex, DeleteTakesTheEntryOutAndMakesItsKeyAbsent)
{
    EXPECT_EQ(varn_if_insert_entry(made), 1u);
    EXPECT_EQ(row.insert(made), 1u);
    forget_all();
    EXPECT_EQ(row.remove(made), 1u);
    EXPECT_EQ(calls(), call("ht_remove_entry", "1"));
    EXPECT_FALSE(stands_in(&row.object, made));
    EXPECT_EQ(made->*row.field, row.absent);
    EXPECT_EQ(made->ref_count, 1u);
    EXPECT_EQ(counters_moved(), moved("removes"));
    EXPECT_EQ(heard(), "");
    EXPECT_EQ(history_text(), "");
    EXPECT_EQ(released().size(), 0u);
}

TEST_P(KeyIndex, DeleteLeavesTheOtherKeysAlone)
{
    for (const index_row *each : every_row)
        EXPECT_EQ(each->insert(made), 1u);
    EXPECT_EQ(made->ref_count, 4u);
    EXPECT_EQ(row.remove(made), 1u);
    EXPECT_EQ(made->ref_count, 3u);
    for (const index_row *other : every_row) {
        EXPECT_EQ(stands_in(&other->object, made), other != &row) << other->table;
        EXPECT_EQ(made->*other->field == other->absent, other == &row) << other->table;
    }
}

TEST_P(KeyIndex, DeleteWithItsSyncBitClearTouchesNothing)
{
    EXPECT_EQ(varn_if_insert_entry(made), 1u);
    EXPECT_EQ(row.insert(made), 1u);
    forget_all();
    varn.config.sync = ~bits(row.bit);
    const u32 key = made->*row.field;
    EXPECT_EQ(row.remove(made), 0u);
    expect_silence();
    EXPECT_EQ(made->*row.field, key);
    EXPECT_EQ(made->ref_count, 2u);
    EXPECT_TRUE(stands_in(&row.object, made));
}

TEST_P(KeyIndex, DeleteTestsItsOwnSyncBitOnlyAndNotWhetherTheCacheIsOn)
{
    EXPECT_EQ(varn_if_insert_entry(made), 1u);
    EXPECT_EQ(row.insert(made), 1u);
    varn.config.sync = bits(row.bit);
    varn_enabled = 0;
    EXPECT_EQ(row.remove(made), 1u);
    EXPECT_EQ(made->*row.field, row.absent);
}

TEST_P(KeyIndex, DeleteDeliberatelyLetsTheReferenceCountWrap)
{
    EXPECT_EQ(row.insert(made), 1u);
    made->ref_count = 0;
    EXPECT_EQ(row.remove(made), 1u);
    EXPECT_EQ(made->ref_count, 255u);
}

// ---- delete from the If table: the release of the entry ----

class IfDelete : public varn_test
{
protected:
    // An entry that stands in the If table.
    varn_if_entry_t *filed(const config &with)
    {
        start(with);
        varn_if_entry_t *made = loose_entry(0x1a000007, 7, 0x107, 0x2007);
        EXPECT_EQ(varn_if_insert_entry(made), 1u);
        forget_all();
        for (const family each : {tables, allocations, messages, backtraces})
            record(each);
        return made;
    }
};

const char removed[] = "ht_remove_entry(If, 0x1a000007) = 1";

TEST_F(IfDelete, OfTheLastReferenceOverwritesTheRecordAndFreesIt)
{
    varn_if_entry_t *made = filed(config());
    EXPECT_EQ(varn_if_delete_entry(made), 1u);
    EXPECT_EQ(calls(), lines(removed, "memacct_free(type 1)"));
    ASSERT_EQ(released().size(), 1u);
    EXPECT_EQ(released()[0].address, made);
    EXPECT_EQ(released()[0].bytes.size(), 136u);
    EXPECT_TRUE(released()[0].is_all(0x4C));
    EXPECT_EQ(counters_moved(), "if_frees +1, if_index.removes +1");
}

TEST_F(IfDelete, TestsNeitherTheSyncMaskNorWhetherTheCacheIsOn)
{
    varn_if_entry_t *made = filed(config());
    varn.config.sync = 0;
    varn_enabled = 0;
    EXPECT_EQ(varn_if_delete_entry(made), 1u);
    EXPECT_EQ(released().size(), 1u);
}

TEST_F(IfDelete, OfAnEntryThatStandsElsewhereDeliberatelyKeepsItAndReports)
{
    varn_if_entry_t *made = filed(config().sync(bits(1)).error_cb(6));
    EXPECT_EQ(varn_iod_insert_entry(made), 1u);
    forget_all();
    varn_error_cb = 1;
    EXPECT_EQ(varn_if_delete_entry(made), 1u);
    EXPECT_EQ(calls(),
              lines(removed,
                    "error_cb(0x6, \"%s:%d: %s\\n\", varn_if_delete_entry, line, \"Failed to "
                    "delete entry for if 0x1a000007: ref-cnt !0?\\n\")",
                    "history(level 2, code 122, \"[77]: Failed to delete entry for if "
                    "0x1a000007: ref-cnt !0?\\n\")",
                    "syslog_backtrace(\"varn_if_delete_entry\", 7)"));
    EXPECT_STREQ(varn_print_str, "Failed to delete entry for if 0x1a000007: ref-cnt !0?\n");
    EXPECT_EQ(history()[0].event_id, 0x730000u);
    EXPECT_EQ(history()[0].length, history()[0].text.size() + 5);
    EXPECT_EQ(counters_moved(), "if_index.removes +1");
    EXPECT_EQ(released().size(), 0u);
    EXPECT_EQ(made->ref_count, 1u);
    EXPECT_EQ(made->iod, 7u);
    EXPECT_FALSE(stands_in(&varn.if_table, made));
    EXPECT_TRUE(stands_in(&varn.iod_table, made));
    breaks_invariants_because("the entry is left in Iod alone");
}

TEST_F(IfDelete, DeliberatelyLetsTheReferenceCountWrap)
{
    varn_if_entry_t *made = filed(config());
    made->ref_count = 0;
    EXPECT_EQ(varn_if_delete_entry(made), 1u);
    EXPECT_EQ(made->ref_count, 255u);
    EXPECT_EQ(released().size(), 0u);
    EXPECT_EQ(stack_traces().size(), 1u);
}

TEST_F(IfDelete, HandsANonZeroExtensionToExtnFreeBeforeTheRelease)
{
    varn_if_entry_t *made = filed(config().extn_free());
    made->extn[0] = 0x11223344;
    EXPECT_EQ(varn_if_delete_entry(made), 1u);
    EXPECT_EQ(calls(), lines(removed, "extn_free(0x11223344)", "memacct_free(type 1)"));
    EXPECT_TRUE(released()[0].is_all(0x4C));
}

TEST_F(IfDelete, HandsNoZeroExtensionToExtnFreeAndNoOtherExtensionThanTheFirst)
{
    varn_if_entry_t *made = filed(config().extn_free());
    made->extn[1] = made->extn[2] = made->extn[3] = 0x55;
    EXPECT_EQ(varn_if_delete_entry(made), 1u);
    EXPECT_EQ(calls(), lines(removed, "memacct_free(type 1)"));
}

TEST_F(IfDelete, WithoutExtnFreeReleasesAnExtendedEntryAllTheSame)
{
    varn_if_entry_t *made = filed(config());
    made->extn[0] = 0x11;
    EXPECT_EQ(varn_if_delete_entry(made), 1u);
    EXPECT_EQ(calls(), lines(removed, "memacct_free(type 1)"));
}

TEST_F(IfDelete, OfAnEntryThatStandsElsewhereDoesNotCallExtnFree)
{
    varn_if_entry_t *made = filed(config().sync(bits(3)).extn_free());
    made->extn[0] = 0x11;
    EXPECT_EQ(varn_lif_insert_entry(made), 1u);
    EXPECT_EQ(varn_if_delete_entry(made), 1u);
    EXPECT_EQ(heard(), "");
    breaks_invariants_because("the entry is left in Lif alone");
}

TEST_F(IfDelete, RefusedByTheTableFreesNothing)
{
    varn_if_entry_t *made = filed(config().extn_free());
    made->extn[0] = 0x11;
    on(ht_remove_entry).of("If").fails_once();
    EXPECT_EQ(varn_if_delete_entry(made), 0u);
    EXPECT_EQ(calls(), lines("ht_remove_entry(If, 0x1a000007) = 0",
                             "history(level 2, code 122, \"[77]: Failed to delete entry for if "
                             "0x1a000007: possible leak?\\n\")"));
    EXPECT_EQ(counters_moved(), "if_index.remove_fail +1");
    EXPECT_EQ(made->ref_count, 1u);
    EXPECT_EQ(released().size(), 0u);
}

} // namespace
