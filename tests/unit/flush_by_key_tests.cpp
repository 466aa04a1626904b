// SPDX-License-Identifier: Apache-2.0
//
// The flush by if-index, iod, pi and lif. All four get their entry from the creator of their key,
// so that it exists afterwards; where the creators differ, the flushes do.
#include "varn_fixture.h"

namespace
{

constexpr const char *trace = "[77]: Flushing cache for if-index=0x1a000007, iod=7, opt=0x1\n";
constexpr const char *found_iod = "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7";

struct by_key {
    const char *name;
    void (*flush)(u32 key, u32 opt);
    u32 key;             // of port(7)
    const char *asked;   // how a missing entry's if-index is asked; empty for the if-index itself
    const char *refused; // the same for an interface that nobody knows
    const char *report;  // what is said of such a one
    bool asks_iod;       // the creation asks the iod too
    bool found_while_off;
    bool obeys_create_on_miss;
};

void PrintTo(const by_key &row, std::ostream *out) { *out << row.name; }

// clang-format off
const by_key keys[] = {
    {"if_index", varn_if_flush_if, 0x1a000007, "", "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x40040004", "[77]: ifsvc_get_iod_frm_ifindex failed for if-index 0x1a000007, err: 0x40040004\n", true, false, false},
    {"iod", varn_if_flush_iod, 7, "ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007", "ifsvc_get_ifindex_frm_iod(7) = 0x40040004", "", false, true, false},
    {"pi", varn_if_flush_pi, 0x107, "idxsvc_lib_si_to_ifidx(0x107) = 0 -> 0x1a000007", "idxsvc_lib_si_to_ifidx(0x107) = 0x40040004", "", true, true, true},
    {"lif", varn_if_flush_lif, 0x2007, "lifsvc_query_lif_to_ifindex(0x2007) = 0 -> 0x1a000007", "lifsvc_query_lif_to_ifindex(0x2007) = 0x40040004", "", true, true, true},
};
// clang-format on

class FlushByKey : public varn_test, public testing::WithParamInterface<by_key>
{
protected:
    FlushByKey()
    {
        given(port(7));
        start(config().uuid(0x11).sync(bits(1, 2, 3, 17)).med(bits(17, 40)).low(bits(5)));
    }

    // What is asked until the if-index and the iod of a missing entry are known.
    std::string asked_identity() const
    {
        const std::string first = row.asked;
        if (!row.asks_iod)
            return first;
        return first.empty() ? found_iod : lines(first, found_iod);
    }

    const by_key &row = GetParam();
};

TEST_P(FlushByKey, OfAStandingEntryMarksItAndAsksNobody)
{
    varn_if_entry_t *entry = varn_if_create_entry_by_iod(7);
    forget_all();
    row.flush(row.key, 1);
    EXPECT_EQ(dirty(entry), bits(17, 40));
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(history_text(), trace);
    EXPECT_EQ(counters_moved(), "");
}

TEST_P(FlushByKey, HandsItsOptionOn)
{
    varn_if_entry_t *entry = varn_if_create_entry_by_iod(7);
    row.flush(row.key, 0xFFFFFFFF);
    EXPECT_EQ(dirty(entry), bits(5));
}

TEST_P(FlushByKey, OfAMissingEntryDeliberatelyCreatesFillsAndMarksIt)
{
    row.flush(row.key, 1);

    ASSERT_NE(entry(7), nullptr);
    EXPECT_EQ(dirty(entry(7)), bits(17, 40));
    EXPECT_EQ(entry(7)->linkup, 1u);
    EXPECT_EQ(entry(7)->pi, 0x107u);
    EXPECT_EQ(calls(), lines(asked_identity(), "ifsvc_get_if_mtu(7) = 1500",
                             "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107",
                             "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2007",
                             "ifsvc_is_linkup(7) = 1"));
    EXPECT_EQ(history().back().text, trace);
    EXPECT_EQ(counters_moved(), "updates[2] +1, updates[3] +1, updates[15] +1, if_allocs +1, "
                                "if_index.inserts +1, iod_index.inserts +1, pi_index.inserts +1, "
                                "lif_index.inserts +1");
}

TEST_P(FlushByKey, OfAnUnknownInterfaceSaysOnlyWhatTheCreatorSays)
{
    gone(7);
    row.flush(row.key, 1);
    EXPECT_EQ(calls(), row.refused);
    EXPECT_EQ(history_text(), row.report);
    EXPECT_EQ(counters_moved(), "");
    EXPECT_TRUE(records_in(&varn.if_table).empty());
}

TEST_P(FlushByKey, OfAForbiddenIodCreatesNothing)
{
    varn_iodbmp[0] = ~(u32{1} << 7);
    row.flush(row.key, 1);
    EXPECT_EQ(calls(), asked_identity());
    ASSERT_EQ(history().size(), 1u);
    EXPECT_EQ(history()[0].level, 2u);
    EXPECT_EQ(history_text().substr(0, 41), "[77]: Error: Should not create varn entry");
    EXPECT_TRUE(records_in(&varn.if_table).empty());
}

TEST_P(FlushByKey, OfAMissingEntryWhileDisabledCreatesNothing)
{
    varn_disable_cache();
    row.flush(row.key, 1);
    EXPECT_EQ(calls(), row.asked);
    EXPECT_EQ(history_text(), "");
    EXPECT_TRUE(records_in(&varn.if_table).empty());
}

// The creators by iod, pi and lif look before they ask whether the cache is on.
TEST_P(FlushByKey, OfAStandingEntryWhileDisabledMarksItUnlessTheKeyIsTheIfIndex)
{
    varn_if_entry_t *entry = varn_if_create_entry_by_iod(7);
    forget_all();
    varn_disable_cache();
    row.flush(row.key, 1);
    EXPECT_EQ(dirty(entry), row.found_while_off ? bits(17, 40) : u64{0});
    EXPECT_EQ(history_text(), row.found_while_off ? trace : "");
    EXPECT_EQ(calls(), "");
}

TEST_P(FlushByKey, WithoutCreateOnMissIsRefusedByTheCreatorsThatObeyIt)
{
    varn.config.create_on_miss = 0;
    row.flush(row.key, 1);
    EXPECT_EQ(records_in(&varn.if_table).empty(), row.obeys_create_on_miss);
    if (row.obeys_create_on_miss) {
        EXPECT_EQ(calls(), row.asked);
        EXPECT_EQ(history_text(), "");
    } else {
        ASSERT_NE(entry(7), nullptr);
        EXPECT_EQ(dirty(entry(7)), bits(17, 40));
    }
}

INSTANTIATE_TEST_SUITE_P(Each, FlushByKey, testing::ValuesIn(keys),
                         [](const auto &each) { return std::string(each.param.name); });

} // namespace
