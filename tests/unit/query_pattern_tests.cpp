// SPDX-License-Identifier: Apache-2.0
//
// The road that the cached queries share, told once and walked by every one of them: the two gates,
// the entry that cannot be had, the entry that the query creates, the dirty value and the clean
// one. One row a query: its bit, its slot, its service, its field, and how wide an answer is.
#include "query_ground.h"

#include <cstring>

namespace
{

using entry_t = varn_if_entry_t;

enum class shape { flag, sixteen_bits };

struct member {
    const char *name;
    u32 (*ask)(u32);
    u32 (*service)(u32);
    unsigned bit, slot;
    u32 (*field)(const entry_t &);
    shape kept;
    bool refreshed; // a refresh fills it

    std::string request(u32 answer) const
    {
        return "ifsvc_" + std::string(name) + "(7) = " + std::to_string(answer);
    }
    // What becomes of an answer that is kept, and of one that is passed on.
    u32 from_cache(u32 answer) const { return kept == shape::flag ? answer & 1 : answer & 0xFFFF; }
    u32 passed_on(u32 answer) const { return kept == shape::flag ? answer : answer & 0xFFFF; }
};

void PrintTo(const member &row, std::ostream *out) { *out << row.name; }

// clang-format off
const member members[] = {
    {"is_linkup", varn_ifsvc_is_linkup, ifsvc_is_linkup, 17, 15, [](const entry_t &e) -> u32 { return e.linkup; }, shape::flag, true},
    {"is_protoup", varn_ifsvc_is_protoup, ifsvc_is_protoup, 18, 16, [](const entry_t &e) -> u32 { return e.protoup; }, shape::flag, true},
    {"is_switchport", varn_ifsvc_is_switchport, ifsvc_is_switchport, 15, 13, [](const entry_t &e) -> u32 { return e.switchport; }, shape::flag, true},
    {"is_switching_enabled_on_iod", varn_ifsvc_is_switching_enabled_on_iod, ifsvc_is_switching_enabled_on_iod, 16, 14, [](const entry_t &e) -> u32 { return e.switching; }, shape::flag, true},
    {"is_ethernet", varn_ifsvc_is_ethernet, ifsvc_is_ethernet, 19, 17, [](const entry_t &e) -> u32 { return e.ethernet; }, shape::flag, true},
    {"is_vlan", varn_ifsvc_is_vlan, ifsvc_is_vlan, 20, 18, [](const entry_t &e) -> u32 { return e.is_vlan; }, shape::flag, false},
    {"is_null0", varn_ifsvc_is_null0, ifsvc_is_null0, 22, 21, [](const entry_t &e) -> u32 { return e.null; }, shape::flag, true},
    {"is_native_p2p", varn_ifsvc_is_native_p2p, ifsvc_is_native_p2p, 23, 27, [](const entry_t &e) -> u32 { return e.p2p; }, shape::flag, true},
    {"is_loopback", varn_ifsvc_is_loopback, ifsvc_is_loopback, 24, 26, [](const entry_t &e) -> u32 { return e.loopback; }, shape::flag, true},
    {"is_mvpn_tunnel", varn_ifsvc_is_mvpn_tunnel, ifsvc_is_mvpn_tunnel, 26, 31, [](const entry_t &e) -> u32 { return e.mvpn; }, shape::flag, false},
    {"get_if_mtu", varn_ifsvc_get_if_mtu, ifsvc_get_if_mtu, 13, 12, [](const entry_t &e) -> u32 { return e.mtu; }, shape::sixteen_bits, true},
    {"get_if_encaptype", varn_ifsvc_get_if_encaptype, ifsvc_get_if_encaptype, 4, 5, [](const entry_t &e) -> u32 { return e.encap; }, shape::sixteen_bits, true},
};
// clang-format on

// Wider than 16 bits, and even: the low bit alone would read as no.
constexpr u32 wide = 0x32346;

class CachedQuery : public query_test, public testing::WithParamInterface<member>
{
protected:
    void answers(u32 answer) { on(row.service).of(7).answers(answer); }
    void expect_passed_on(const std::string &requests)
    {
        EXPECT_EQ(row.ask(7), row.passed_on(wide));
        EXPECT_EQ(calls(), requests);
        EXPECT_EQ(counters_moved(), one("misses", row.slot));
        EXPECT_EQ(entries(), 0u);
    }

    const member &row = GetParam();
};

TEST_P(CachedQuery, WithTheIodNotCachedGoesToItsService)
{
    start_with(everything & ~bits(1));
    answers(wide);
    expect_passed_on(row.request(wide));
}

TEST_P(CachedQuery, WithItsAttributeNotCachedGoesToItsService)
{
    start_with(everything & ~bits(row.bit));
    answers(wide);
    expect_passed_on(row.request(wide));
}

TEST_P(CachedQuery, WithNothingCachedGoesToItsService)
{
    start_with(0);
    answers(wide);
    expect_passed_on(row.request(wide));
}

TEST_P(CachedQuery, OfAnIodThatHasNoIfIndexGoesToItsService)
{
    start_with(everything);
    gone(7);
    answers(wide);
    expect_passed_on(lines("ifsvc_get_ifindex_frm_iod(7) = 0x40040004", row.request(wide)));
    EXPECT_EQ(history_text(), "");
}

TEST_P(CachedQuery, OfAForbiddenIodGoesToItsService)
{
    start_with(everything);
    varn_iodbmp[0] = ~(u32{1} << 7);
    answers(wide);
    expect_passed_on(lines(asked_if_index, row.request(wide)));
    EXPECT_EQ(history_text(), "[77]: Error: Should not create varn entry for if-index "
                              "0x1a000007, iod 7, pi 0xffffffff, lif 0xffffffff\n");
}

TEST_P(CachedQuery, OfAnIodWithoutEntryCreatesItAndAnswersFromIt)
{
    start_with(bits(1, row.bit));
    the(7).mtu(1501);
    answers(1501);

    EXPECT_EQ(row.ask(7), row.from_cache(1501));

    EXPECT_EQ(calls(), lines(asked_if_index, "ifsvc_get_if_mtu(7) = 1501", row.request(1501)));
    const std::string by_refresh = one("hits", row.slot) + ", " + one("updates", row.slot);
    EXPECT_EQ(counters_moved(),
              (row.refreshed ? by_refresh : one("misses", row.slot)) + ", " + counted_creation);
    EXPECT_EQ(entries(), 1u);
    EXPECT_EQ(u64{filled(7).dirty}, 0u);
}

TEST_P(CachedQuery, OfAnIodWithoutEntryFillsEveryAttributeFirst)
{
    start_with(everything);
    row.ask(7);
    // No refresh clears 14, 20, 26, 28, 29 and 33, and the extensions 5 to 8 are not set.
    const u64 left = bits(5, 6, 7, 8, 14, 20, 26, 28, 29, 33);
    EXPECT_EQ(u64{filled(7).dirty}, left & ~bits(row.bit));
    EXPECT_EQ(entries(), 1u);
}

TEST_P(CachedQuery, WhenDirtyAsksItsServiceOnceAndKeepsTheAnswer)
{
    start_with(bits(1, row.bit));
    entry_t &kept = filled(7);
    for (const u32 answer : {1u, 0x10002u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(answer);
        answers(answer);
        kept.dirty = bits(row.bit);
        EXPECT_EQ(row.ask(7), row.from_cache(answer));
        EXPECT_EQ(calls(), row.request(answer));
        EXPECT_EQ(counters_moved(), one("misses", row.slot));
        EXPECT_EQ(row.field(kept), row.from_cache(answer));
        EXPECT_EQ(u64{kept.dirty}, 0u);
    }
}

TEST_P(CachedQuery, WhenCleanAsksNobodyAndCountsAHit)
{
    start_with(bits(1, row.bit));
    answers(5);
    entry_t &kept = filled(7);
    kept.dirty = bits(row.bit);
    row.ask(7);
    forget_all();
    answers(8);

    EXPECT_EQ(row.ask(7), row.from_cache(5));
    EXPECT_EQ(row.ask(7), row.from_cache(5));

    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[" + std::to_string(row.slot) + "] +2");
    EXPECT_EQ(row.field(kept), row.from_cache(5));
}

// All is dirty, the iod too; still the query asks one question and cleans one bit.
TEST_P(CachedQuery, WhenDirtyLeavesAllOtherAttributesAlone)
{
    start_with(everything);
    entry_t &kept = filled(7);
    entry_t expected = kept;
    kept.dirty = ~u64{0};
    answers(row.field(kept));

    row.ask(7);

    EXPECT_EQ(calls(), row.request(row.field(expected)));
    EXPECT_EQ(counters_moved(), one("misses", row.slot));
    EXPECT_EQ(u64{kept.dirty}, ~bits(row.bit));
    expected.dirty = kept.dirty;
    EXPECT_EQ(std::memcmp(&kept, &expected, sizeof expected), 0);
    EXPECT_EQ(history_text(), "");
}

TEST_P(CachedQuery, DoesNotMistakeOneInterfaceForAnother)
{
    start_with(bits(1, row.bit));
    given(port(8));
    filled(7).dirty = bits(row.bit);
    filled(8).dirty = bits(row.bit);
    on(row.service).of(8).answers(9);
    answers(6);

    EXPECT_EQ(row.ask(7), row.from_cache(6));
    EXPECT_EQ(row.ask(8), row.from_cache(9));
    EXPECT_EQ(row.ask(7), row.from_cache(6));
}

INSTANTIATE_TEST_SUITE_P(Each, CachedQuery, testing::ValuesIn(members),
                         [](const auto &each) { return std::string(each.param.name); });

// The road once more as a story about a link.

using IsLinkup = query_test;

TEST_F(IsLinkup, ForTheFirstTimeCountsAHitForTheRefreshHasFilledIt)
{
    start_with(bits(1, 17));
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    EXPECT_EQ(calls(), lines(asked_if_index, asked_first_mtu, "ifsvc_is_linkup(7) = 1"));
    EXPECT_EQ(counters_moved(), "hits[15] +1, updates[15] +1, " + std::string(counted_creation));
}

TEST_F(IsLinkup, OfAnIodWithoutEntryFetchesEveryAttributeThenAnswersFromTheEntry)
{
    start_with(everything);
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    EXPECT_EQ(
        calls(),
        lines(
            asked_if_index, asked_first_mtu, "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107",
            "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2007", "ifsvc_is_switchport(7) = 0",
            "ifsvc_is_linkup(7) = 1", "ifsvc_is_protoup(7) = 1", "ifsvc_get_if_encaptype(7) = 1",
            "ifsvc_is_switching_enabled_on_iod(7) = 0", "ifsvc_get_extension(7, 0x11) = 0x0",
            "ifsvc_get_extension(7, 0x12) = 0x0", "ifsvc_get_extension(7, 0x13) = 0x0",
            "ifsvc_get_extension(7, 0x14) = 0x0",
            "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0007", "ifsvc_is_ethernet(7) = 1",
            "ifsvc_is_loopback(7) = 0", "ifsvc_is_native_p2p(7) = 0", "ifsvc_is_null0(7) = 0",
            "vrfsvc_if_get_context_id(7) = 0x1", "vrfsvc_if_get_table_id(7, 1, \"base\") = 0x10001",
            "ifsvc_get_ifindex_port_mode_list(0x1a000007, 1) = 0 -> 0x200", "ifsvc_is_vlan(7) = 0",
            "ifsvc_is_vlan(7) = 0", "ifsvc_is_switchport(7) = 0", "ifsvc_get_if_mtu(7) = 1500"));
    EXPECT_EQ(counters_moved(),
              "hits[15] +1, updates[2] +1, updates[3] +1, updates[4] +1, updates[5] +1, "
              "updates[6] +1, updates[7] +1, updates[8] +1, updates[9] +1, updates[10] +1, "
              "updates[11] +1, updates[12] +1, updates[13] +1, updates[14] +1, updates[15] +1, "
              "updates[16] +1, updates[17] +1, updates[19] +1, updates[20] +1, updates[21] +1, "
              "updates[26] +1, updates[27] +1, if_allocs +1, if_index.inserts +1, "
              "iod_index.inserts +1, pi_index.inserts +1, lif_index.inserts +1");
}

TEST_F(IsLinkup, ForTheSecondTimeAsksNobodyAndCountsAHit)
{
    start_with(bits(1, 17));
    varn_ifsvc_is_linkup(7);
    forget_all();
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[15] +1");
}

TEST_F(IsLinkup, KeepsItsAnswerUntilItIsMarkedStale)
{
    start_with(bits(1, 17));
    entry_t &kept = filled(7);
    the(7).linkup(0);
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    kept.dirty |= bits(17);
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 0u);
    EXPECT_EQ(calls(), "ifsvc_is_linkup(7) = 0");
    EXPECT_EQ(counters_moved(), "misses[15] +1, hits[15] +1");
}

TEST_F(IsLinkup, AsksTheIfIndexOncePerEntryThatCannotBeHad)
{
    start_with(bits(1, 17));
    gone(7);
    varn_ifsvc_is_linkup(7);
    varn_ifsvc_is_linkup(7);
    EXPECT_EQ(calls(),
              lines("ifsvc_get_ifindex_frm_iod(7) = 0x40040004", "ifsvc_is_linkup(7) = 0",
                    "ifsvc_get_ifindex_frm_iod(7) = 0x40040004", "ifsvc_is_linkup(7) = 0"));
    EXPECT_EQ(counters_moved(), "misses[15] +2");
}

} // namespace
