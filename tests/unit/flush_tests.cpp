// SPDX-License-Identifier: Apache-2.0
//
// Flushing: which mask an option selects, that a flush marks and does nothing else, the walk over
// all entries, and the flush by each of the four keys, which makes sure that the entry exists.
#include "varn_fixture.h"

#include <cstring>

namespace
{

// Distinct masks with bits in both halves, inside of sync and outside of it.
constexpr u64 cached = bits(1, 2, 3, 13, 17, 33);
constexpr u64 medium = bits(13, 40);
constexpr u64 critical = bits(15, 17, 63);
constexpr u64 lowest = bits(4, 32);
constexpr u64 never_used = bits(18, 50);
constexpr u64 cached_and_type = cached | bits(25); // what sync is after the start

struct choice {
    u32 opt;
    u64 mask;
    const char *told;
};

const choice choices[] = {{0, lowest, "0x0"},
                          {1, medium, "0x1"},
                          {2, critical, "0x2"},
                          {3, cached_and_type, "0x3"},
                          {4, lowest, "0x4"},
                          {5, lowest, "0x5"},
                          {0x101, lowest, "0x101"},
                          {0x80000001, lowest, "0x80000001"},
                          {0xFFFFFFFF, lowest, "0xffffffff"}};

std::string trace_of_7(const std::string &opt)
{
    return "[77]: Flushing cache for if-index=0x1a000007, iod=7, opt=" + opt + "\n";
}

// A trace sink that looks at the entry that is being flushed.
const varn_if_entry_t *watched;
u64 dirty_when_traced;
void look_at_watched(const char *, ...) { dirty_when_traced = watched->dirty; }

class flush_test : public varn_test
{
protected:
    flush_test() { given(port(7)); }

    static config masks()
    {
        return config().uuid(0x11).sync(cached).med(medium).crit(critical).low(lowest).once(
            never_used);
    }

    // The entry of port(7), filled and clean but for bit 9.
    varn_if_entry_t &standing()
    {
        varn_if_entry_t *made = varn_if_create_entry_by_iod(7);
        made->dirty = bits(9);
        forget_all();
        return *made;
    }
};

using FlushEntry = flush_test;
using FlushAll = flush_test;

TEST_F(FlushEntry, OfNullDoesNothing)
{
    start(masks());
    record(tables);
    varn_flush_if_entry(nullptr, 3);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(history_text(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(FlushEntry, AddsTheMaskOfItsOptionAndTouchesNothingElse)
{
    start(masks());
    record(tables);
    varn_if_entry_t &entry = standing();
    for (const choice &each : choices) {
        SCOPED_TRACE(each.told);
        entry.dirty = bits(9);
        varn_if_entry_t expected = entry;
        expected.dirty = bits(9) | each.mask;

        varn_flush_if_entry(&entry, each.opt);

        EXPECT_EQ(std::memcmp(&entry, &expected, sizeof entry), 0);
        EXPECT_EQ(dirty(&entry), bits(9) | each.mask);
        EXPECT_EQ(history_text(), trace_of_7(each.told));
        EXPECT_EQ(calls(), "");
        EXPECT_EQ(counters_moved(), "");
        forget_all();
    }
}

TEST_F(FlushEntry, IsTracedBeforeTheEntryBecomesDirty)
{
    start(masks());
    varn_if_entry_t &entry = standing();
    watched = &entry;
    varn.config.debug_print = look_at_watched;
    varn_flush_if_entry(&entry, 1);
    EXPECT_EQ(dirty_when_traced, bits(9));
    EXPECT_EQ(dirty(&entry), bits(9) | medium);
}

TEST_F(FlushEntry, IsTracedOnceWithCode121AtLevel1)
{
    start(masks());
    varn_flush_if_entry(&standing(), 2);
    ASSERT_EQ(history().size(), 1u);
    const history_record &told = history().front();
    EXPECT_EQ(told.text, trace_of_7("0x2"));
    EXPECT_EQ(told.code, 121u);
    EXPECT_EQ(told.level, 1u);
    EXPECT_EQ(told.event_id, 0x730000u);
    EXPECT_EQ(told.inst, 0u);
    EXPECT_EQ(told.uuid, 0x11u);
    EXPECT_EQ(told.length, trace_of_7("0x2").size() + 5);
    EXPECT_EQ(std::string(varn_print_str), "");
}

TEST_F(FlushEntry, IsTracedToTheClientsOwnSinkWhereThereIsOne)
{
    start(masks().debug_print_arg(5));
    varn_flush_if_entry(&standing(), 1);
    EXPECT_EQ(heard(), "debug_print_arg(0x5, \"Flushing cache for if-index=0x1a000007, iod=7, "
                       "opt=0x1\\n\")");
    EXPECT_EQ(history_text(), "");
}

TEST_F(FlushEntry, WithAnEmptyMaskStillTracesAndLeavesDirtyUnchanged)
{
    start(masks().med(0));
    varn_if_entry_t &entry = standing();
    varn_flush_if_entry(&entry, 1);
    EXPECT_EQ(dirty(&entry), bits(9));
    EXPECT_EQ(history_text(), trace_of_7("0x1"));
}

TEST_F(FlushEntry, TwiceIsTheSameAsOnce)
{
    start(masks());
    varn_if_entry_t &entry = standing();
    varn_flush_if_entry(&entry, 2);
    varn_flush_if_entry(&entry, 2);
    EXPECT_EQ(dirty(&entry), bits(9) | critical);
    EXPECT_EQ(history_text(), trace_of_7("0x2") + trace_of_7("0x2"));
}

TEST_F(FlushEntry, WorksWhileTheCacheIsDisabled)
{
    start(masks());
    varn_if_entry_t &entry = standing();
    varn_disable_cache();
    varn_flush_if_entry(&entry, 1);
    EXPECT_EQ(dirty(&entry), bits(9) | medium);
    EXPECT_EQ(history_text(), trace_of_7("0x1"));
}

// While disabled nothing is cached, so that option selects nothing.
TEST_F(FlushEntry, WithOption3WhileDisabledSelectsTheEmptySync)
{
    start(masks());
    varn_if_entry_t &entry = standing();
    varn_disable_cache();
    varn_flush_if_entry(&entry, 3);
    EXPECT_EQ(dirty(&entry), bits(9));
}

TEST_F(FlushEntry, MarksAttributesThatAreNotCachedToNoEffect)
{
    start(masks());
    varn_if_entry_t &entry = standing();
    varn_flush_if_entry(&entry, 2);
    EXPECT_EQ(dirty(&entry) & bits(15), bits(15));
    EXPECT_EQ(varn_ifsvc_is_switchport(7), 0u);
    EXPECT_EQ(calls(), "ifsvc_is_switchport(7) = 0");
    EXPECT_EQ(counters_moved(), "misses[13] +1");
    EXPECT_EQ(dirty(&entry), bits(9) | critical);
}

TEST_F(FlushEntry, MakesTheNextQueryAskAgainAndOnlyTheNext)
{
    start(masks());
    varn_if_entry_t &entry = standing();
    the(7).mtu(9216);
    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 1500u);
    varn_flush_if_entry(&entry, 1);
    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 9216u);
    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 9216u);
    EXPECT_EQ(calls(), "ifsvc_get_if_mtu(7) = 9216");
    EXPECT_EQ(counters_moved(), "misses[12] +1, hits[12] +2");
}

TEST_F(FlushEntry, WithOption3MakesTheNextIdentityQueryRunTheWholeRefresh)
{
    start(masks());
    varn_if_entry_t &entry = standing();
    varn_flush_if_entry(&entry, 3);
    u32 iod = 0;
    EXPECT_EQ(varn_ifsvc_get_iod_frm_ifindex(0x1a000007, &iod), 0u);
    EXPECT_EQ(iod, 7u);
    EXPECT_EQ(calls(),
              lines("ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7",
                    "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107",
                    "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2007",
                    "ifsvc_is_linkup(7) = 1", "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0007",
                    "ifsvc_get_if_mtu(7) = 1500"));
    EXPECT_EQ(dirty(&entry), bits(1, 25, 33));
    EXPECT_EQ(counters_moved(), "misses[1] +1, updates[1] +1, updates[2] +1, updates[3] +1, "
                                "updates[4] +1, updates[12] +1, updates[15] +1, iod_refreshes +1");
}

// The iod bit is of no concern to a query of another attribute.
TEST_F(FlushEntry, WithOption3MakesAnAttributeQueryAskForItselfAlone)
{
    start(masks());
    varn_flush_if_entry(&standing(), 3);
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    EXPECT_EQ(calls(), "ifsvc_is_linkup(7) = 1");
}

// ---- all entries ----

TEST_F(FlushAll, MarksEveryEntryOnceWhateverOtherTablesHoldIt)
{
    given(port(8));
    start(masks().num_buckets(16));
    varn_if_entry_t &seven = standing();
    varn_if_entry_t *eight = varn_if_create_entry_by_iod(8);
    eight->dirty = 0;
    forget_all();
    record(tables);
    record(messages);

    EXPECT_EQ(varn_if_flush_all(2), 1u);

    EXPECT_EQ(calls(),
              lines("ht_iterator_init(If, 0, 16) = 1", "ht_iterator_next(If) = 0x1a000007",
                    "history(level 1, code 121, \"[77]: Flushing cache for if-index=0x1a000007, "
                    "iod=7, opt=0x2\\n\")",
                    "ht_iterator_next(If) = 0x1a000008",
                    "history(level 1, code 121, \"[77]: Flushing cache for if-index=0x1a000008, "
                    "iod=8, opt=0x2\\n\")",
                    "ht_iterator_next(If) = null"));
    EXPECT_EQ(seven.ref_count, 4u);
    EXPECT_EQ(dirty(&seven), bits(9) | critical);
    EXPECT_EQ(dirty(eight), critical);
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(FlushAll, SelectsTheMaskByItsOption)
{
    start(masks());
    varn_if_entry_t &entry = standing();
    for (const choice &each : choices) {
        SCOPED_TRACE(each.told);
        entry.dirty = 0;
        EXPECT_EQ(varn_if_flush_all(each.opt), 1u);
        EXPECT_EQ(dirty(&entry), each.mask);
    }
}

TEST_F(FlushAll, OfNoEntrySucceeds)
{
    start(masks());
    EXPECT_EQ(varn_if_flush_all(1), 1u);
    EXPECT_EQ(history_text(), "");
}

// Its own bucket count bounds the walk, and another table may not be there.
TEST_F(FlushAll, WalksTheWholeIfTableAlsoWithoutAnIodTable)
{
    start(config().sync(0).low(lowest).num_buckets(64));
    varn_if_entry_t *made = varn_if_create_entry_by_if(0x1a000007, 7, none, none);
    forget();
    record(tables);
    EXPECT_EQ(varn_if_flush_all(0), 1u);
    EXPECT_EQ(calls(), lines("ht_iterator_init(If, 0, 64) = 1", "ht_iterator_next(If) = 0x1a000007",
                             "ht_iterator_next(If) = null"));
    EXPECT_EQ(dirty(made), lowest);
}

TEST_F(FlushAll, WhileDisabledReturns0Silently)
{
    start(masks());
    varn_if_entry_t &entry = standing();
    varn_disable_cache();
    record(tables);
    EXPECT_EQ(varn_if_flush_all(1), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(history_text(), "");
    EXPECT_EQ(dirty(&entry), bits(9));
}

TEST_F(FlushAll, WhoseWalkCannotStartReportsIt)
{
    start(masks().error_cb(6));
    varn_error_cb = 1;
    varn_if_entry_t &entry = standing();
    record(tables);
    record(messages);
    on(ht_iterator_init).fails();

    EXPECT_EQ(varn_if_flush_all(1), 0u);

    EXPECT_EQ(calls(),
              lines("ht_iterator_init(If, 0, 16384) = 0",
                    "error_cb(0x6, \"%s:%d: %s\\n\", varn_if_flush_all, line, \"Couldn't init "
                    "iterator\\n\")",
                    "history(level 2, code 122, \"[77]: Couldn't init iterator\\n\")"));
    EXPECT_EQ(std::string(varn_print_str), "Couldn't init iterator\n");
    EXPECT_EQ(history().front().length, std::strlen("[77]: Couldn't init iterator\n") + 5);
    EXPECT_EQ(dirty(&entry), bits(9));
}

} // namespace
