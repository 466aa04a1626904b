// SPDX-License-Identifier: Apache-2.0
//
// The four translations between if-index, lif and port index. They share one road, which is run
// over all of them, and differ in their key, their gate, their code, and in whether they write.
#include "varn_fixture.h"

namespace
{

constexpr u32 unwritten_translation = 0xABCD;

struct translation {
    const char *name;
    u32 (*ask)(u32 key, u32 *out);
    u32 key;         // of port(7)
    u32 answer;      // for port(7)
    unsigned bit;    // gate and dirty bit; the counter slot has the same number
    u32 failed_code; // when the refresh fails
    const char *refreshes;
    bool keyed_by_if_index;
    bool writes;      // from the cache
    const char *call; // its service
};

void PrintTo(const translation &row, std::ostream *out) { *out << row.name; }

// clang-format off
const translation translations[] = {
    {"ifindex_to_lif", [](u32 key, u32 *out) { return varn_lifsvc_query_ifindex_to_lif(static_cast<std::int32_t>(key), out); }, 0x1a000007, 0x2007, 3, 0x41080003, "lif_refreshes +1", true, false, "lifsvc_query_ifindex_to_lif(0x1a000007)"},
    {"lif_to_ifindex", [](u32 key, u32 *out) { return varn_lifsvc_query_lif_to_ifindex(static_cast<std::int32_t>(key), out); }, 0x2007, 0x1a000007, 3, 0x41080003, "lif_refreshes +1", false, true, "lifsvc_query_lif_to_ifindex(0x2007)"},
    {"ifidx_to_di", [](u32 key, u32 *out) { return varn_idxsvc_lib_ifidx_to_di(static_cast<std::int32_t>(key), out); }, 0x1a000007, 0x107, 2, 0x40e00002, "pi_refreshes +1", true, true, "idxsvc_lib_ifidx_to_di(0x1a000007)"},
    {"si_to_ifidx", [](u32 key, u32 *out) { return varn_idxsvc_lib_si_to_ifidx(static_cast<std::int32_t>(key), out); }, 0x107, 0x1a000007, 2, 0x40e00002, "pi_refreshes +1", false, true, "idxsvc_lib_si_to_ifidx(0x107)"},
};
// clang-format on

class Translation : public varn_test, public testing::WithParamInterface<translation>
{
protected:
    Translation() { given(port(7)); }

    varn_if_entry_t &standing()
    {
        varn_if_entry_t *made = varn_if_create_entry_by_iod(7);
        forget_all();
        return *made;
    }

    std::string asked() const { return spell(row.call, " = 0 -> ", hex(row.answer)); }
    std::string refused() const { return spell(row.call, " = 0x40040004"); }
    std::string counted(const char *array) const { return spell(array, "[", dec(row.bit), "] +1"); }
    // What the refresh of the dirty key asks and counts.
    std::string refresh_asked() const
    {
        return row.bit == 2 ? "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107"
                            : "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2007";
    }
    std::string refresh_counted() const
    {
        return spell(counted("misses"), ", ", counted("updates"), ", ", row.refreshes);
    }

    // Asks; what was written must be this.
    u32 ask_writing(u32 expected)
    {
        u32 out = unwritten_translation;
        const u32 code = row.ask(row.key, &out);
        EXPECT_EQ(out, expected);
        return code;
    }

    const translation &row = GetParam();
};

TEST_P(Translation, WithItsKeyNotCachedGoesToItsService)
{
    start(config().sync(bits(1, 2, 3) & ~bits(row.bit)));
    standing();
    EXPECT_EQ(ask_writing(row.answer), 0u);
    EXPECT_EQ(calls(), asked());
    EXPECT_EQ(counters_moved(), counted("misses"));
}

TEST_P(Translation, WithItsKeyNotCachedReturnsTheServicesOwnCode)
{
    start(config().sync(bits(1, 2, 3) & ~bits(row.bit)));
    gone(7);
    EXPECT_EQ(ask_writing(unwritten_translation), 0x40040004u);
    EXPECT_EQ(calls(), refused());
    EXPECT_EQ(counters_moved(), counted("misses"));
    EXPECT_TRUE(records_in(&varn.if_table).empty());
}

TEST_P(Translation, WithTheCacheDisabledGoesToItsService)
{
    start(config().sync(bits(1, 2, 3)));
    standing();
    varn_disable_cache();
    EXPECT_EQ(ask_writing(row.answer), 0u);
    EXPECT_EQ(calls(), asked());
    EXPECT_EQ(counters_moved(), counted("misses"));
}

// The iod bit plays no part here.
TEST_P(Translation, OfACleanEntryAsksNobody)
{
    for (const u64 sync : {bits(1, 2, 3), bits(2, 3), bits(1, row.bit), bits(row.bit)}) {
        SCOPED_TRACE(sync);
        start(config().sync(sync));
        ASSERT_NE(varn_if_create_entry_by_if(0x1a000007, 7, none, none), nullptr);
        forget_all();
        EXPECT_EQ(ask_writing(row.writes ? row.answer : unwritten_translation), 0u);
        EXPECT_EQ(calls(), "");
        EXPECT_EQ(counters_moved(), counted("hits"));
        varn_if_remove_entry_by_if(0x1a000007);
    }
}

TEST_P(Translation, OfAStaleEntryRefreshesItFirst)
{
    start(config().sync(bits(1, 2, 3)));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(row.bit);
    EXPECT_EQ(ask_writing(row.writes ? row.answer : unwritten_translation), 0u);
    EXPECT_EQ(calls(), refresh_asked());
    EXPECT_EQ(counters_moved(), refresh_counted());
    EXPECT_EQ(dirty(&entry), 0u);
}

TEST_P(Translation, LooksAtItsOwnDirtyBitOnly)
{
    start(config().sync(bits(1, 2, 3)));
    varn_if_entry_t &entry = standing();
    entry.dirty = ~bits(row.bit);
    EXPECT_EQ(ask_writing(row.writes ? row.answer : unwritten_translation), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), counted("hits"));
    EXPECT_EQ(dirty(&entry), ~bits(row.bit));
}

TEST_P(Translation, WhoseRefreshFailsWritesNothing)
{
    start(config().sync(bits(1, 2, 3)));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(1, row.bit);
    on(ifsvc_get_iod_frm_ifindex).fails(0x41);

    EXPECT_EQ(ask_writing(unwritten_translation), row.failed_code);

    EXPECT_EQ(calls(), "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x41");
    EXPECT_EQ(dirty(&entry), bits(1, row.bit));
    EXPECT_EQ(counters_moved(),
              spell(counted("misses"), ", updates[1] +1, iod_remaps +1, ", row.refreshes));
}

// The iod that comes with the error is this entry's own, so that the refresh removes it.
TEST_P(Translation, WhoseRefreshRemovesTheEntryDoesNotTouchItAgain)
{
    start(config().sync(bits(1, 2, 3)));
    standing().dirty = bits(1, row.bit);
    on(ifsvc_get_iod_frm_ifindex).answers(0x41, 7);
    EXPECT_EQ(ask_writing(unwritten_translation), row.failed_code);
    EXPECT_TRUE(records_in(&varn.if_table).empty());
    check_released();
}

TEST_P(Translation, OfAMissingEntryCreatesItAndAnswersFromIt)
{
    start(config().sync(bits(1, 2, 3)));
    EXPECT_EQ(ask_writing(row.writes ? row.answer : unwritten_translation), 0u);

    const std::string identity = "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7";
    EXPECT_EQ(calls(),
              lines(row.keyed_by_if_index ? identity : lines(asked(), identity),
                    "ifsvc_get_if_mtu(7) = 1500", "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107",
                    "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2007"));
    EXPECT_EQ(counters_moved(),
              spell(counted("hits"), ", updates[2] +1, updates[3] +1, if_allocs +1, "
                                     "if_index.inserts +1, iod_index.inserts +1, "
                                     "pi_index.inserts +1, lif_index.inserts +1"));
}

TEST_P(Translation, OfWhatCannotBeCreatedReturnsTheServicesOwnCode)
{
    start(config().sync(bits(1, 2, 3)));
    gone(7);
    EXPECT_EQ(ask_writing(unwritten_translation), 0x40040004u);
    const std::string creation =
        row.keyed_by_if_index ? "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x40040004" : refused();
    EXPECT_EQ(calls(), lines(creation, refused()));
    EXPECT_EQ(counters_moved(), counted("misses"));
}

TEST_P(Translation, OfAForbiddenIodGivesTheServicesAnswer)
{
    start(config().sync(bits(1, 2, 3)));
    varn_iodbmp[0] = 0;
    EXPECT_EQ(ask_writing(row.answer), 0u);
    const std::string identity = "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7";
    EXPECT_EQ(calls(),
              row.keyed_by_if_index ? lines(identity, asked()) : lines(asked(), identity, asked()));
    EXPECT_EQ(counters_moved(), counted("misses"));
}

TEST_P(Translation, WithoutCreateOnMissOnlyLooksUp)
{
    start(config().sync(bits(1, 2, 3)));
    varn.config.create_on_miss = 0;
    record(tables);
    EXPECT_EQ(ask_writing(row.answer), 0u);
    const char *table = row.keyed_by_if_index ? "If" : row.bit == 2 ? "Pi" : "Lif";
    EXPECT_EQ(calls(), lines(spell("ht_lookup(", table, ", ", hex(row.key), ") = null"), asked()));
    EXPECT_EQ(counters_moved(), counted("misses"));
}

TEST_P(Translation, WithoutCreateOnMissFindsAStandingEntry)
{
    start(config().sync(bits(1, 2, 3)));
    standing();
    varn.config.create_on_miss = 0;
    EXPECT_EQ(ask_writing(row.writes ? row.answer : unwritten_translation), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), counted("hits"));
}

// Only the creator by if-index asks whether the cache is on; the tables of pi and lif do not.
TEST_P(Translation, WithEnabledAtZeroAloneIsStillCachedUnlessTheKeyIsTheIfIndex)
{
    start(config().sync(bits(1, 2, 3)));
    standing();
    varn_enabled = 0;
    EXPECT_EQ(ask_writing(row.answer), 0u);
    EXPECT_EQ(calls(), row.keyed_by_if_index ? asked() : "");
    EXPECT_EQ(counters_moved(), counted(row.keyed_by_if_index ? "misses" : "hits"));
}

TEST_P(Translation, WithEnabledAtZeroAndWithoutCreateOnMissIsStillCached)
{
    start(config().sync(bits(1, 2, 3)));
    standing();
    varn_enabled = 0;
    varn.config.create_on_miss = 0;
    EXPECT_EQ(ask_writing(row.writes ? row.answer : unwritten_translation), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), counted("hits"));
}

TEST_P(Translation, WithEnabledAtZeroCannotRefreshAStaleEntry)
{
    start(config().sync(bits(1, 2, 3)));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(row.bit);
    varn_enabled = 0;
    varn.config.create_on_miss = 0;
    EXPECT_EQ(ask_writing(unwritten_translation), row.failed_code);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), spell(counted("misses"), ", ", row.refreshes));
    EXPECT_EQ(dirty(&entry), bits(row.bit));
}

TEST_P(Translation, PassesEveryBitOfALargeIdentifierOn)
{
    start(config().sync(bits(1, 2, 3)));
    given(port(8).if_index(0x9a000008).pi(0x80000108).lif(0xF0002008));
    const u32 keys[] = {0x9a000008, row.bit == 2 ? 0x80000108u : 0xF0002008u};
    u32 out = unwritten_translation;
    EXPECT_EQ(row.ask(keys[row.keyed_by_if_index ? 0 : 1], &out), 0u);
    EXPECT_EQ(out, row.writes ? keys[row.keyed_by_if_index ? 1 : 0] : unwritten_translation);
    EXPECT_EQ(counters_moved().substr(0, 10), counted("hits"));
}

INSTANTIATE_TEST_SUITE_P(Each, Translation, testing::ValuesIn(translations),
                         [](const auto &each) { return std::string(each.param.name); });

// ---- the one that does not write ----

class IfIndexToLif : public varn_test
{
protected:
    IfIndexToLif()
    {
        given(port(7));
        start(config().sync(bits(1, 2, 3)));
    }
};

TEST_F(IfIndexToLif, FromTheCacheDeliberatelyLeavesTheCallersVariableWhileTheReverseFillsIt)
{
    varn_if_create_entry_by_iod(7);
    u32 lif = 0xABCD, if_index = 0xABCD;
    EXPECT_EQ(varn_lifsvc_query_ifindex_to_lif(0x1a000007, &lif), 0u);
    EXPECT_EQ(varn_lifsvc_query_lif_to_ifindex(0x2007, &if_index), 0u);
    EXPECT_EQ(lif, 0xABCDu);
    EXPECT_EQ(if_index, 0x1a000007u);
}

TEST_F(IfIndexToLif, AfterARefreshDeliberatelyLeavesTheCallersVariable)
{
    varn_if_create_entry_by_iod(7)->dirty = bits(3);
    the(7).lif(0x2099);
    u32 lif = 0xABCD;
    EXPECT_EQ(varn_lifsvc_query_ifindex_to_lif(0x1a000007, &lif), 0u);
    EXPECT_EQ(lif, 0xABCDu);
    EXPECT_EQ(entry(7)->lif, 0x2099u);
}

// ---- what a refresh has changed ----

class StaleTranslation : public varn_test
{
protected:
    StaleTranslation()
    {
        given(port(7));
        start(config().sync(bits(1, 2, 3)));
        varn_if_create_entry_by_iod(7)->dirty = bits(2, 3);
        forget_all();
    }
};

TEST_F(StaleTranslation, OfAnIfIndexGivesTheNewPortIndex)
{
    the(7).pi(0x199);
    u32 di = 0;
    EXPECT_EQ(varn_idxsvc_lib_ifidx_to_di(0x1a000007, &di), 0u);
    EXPECT_EQ(di, 0x199u);
}

TEST_F(StaleTranslation, OfAnIfIndexThatLostItsPortIndexGivesTheAbsentOne)
{
    the(7).pi(none);
    u32 di = 0;
    EXPECT_EQ(varn_idxsvc_lib_ifidx_to_di(0x1a000007, &di), 0u);
    EXPECT_EQ(di, 0xFFFFFFFFu);
}

TEST_F(StaleTranslation, OfAnOldPortIndexAndLifStillGivesTheirIfIndexOnce)
{
    the(7).pi(0x199).lif(0x2099);
    u32 by_pi = 0, by_lif = 0;
    EXPECT_EQ(varn_idxsvc_lib_si_to_ifidx(0x107, &by_pi), 0u);
    EXPECT_EQ(by_pi, 0x1a000007u);
    EXPECT_EQ(varn_idxsvc_lib_si_to_ifidx(0x107, &by_pi), 0x40040004u);
    EXPECT_EQ(varn_lifsvc_query_lif_to_ifindex(0x2007, &by_lif), 0x40040004u);
    EXPECT_EQ(varn_lifsvc_query_lif_to_ifindex(0x2099, &by_lif), 0u);
    EXPECT_EQ(by_lif, 0x1a000007u);
}

} // namespace
