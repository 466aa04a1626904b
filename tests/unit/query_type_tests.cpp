// SPDX-License-Identifier: Apache-2.0
//
// The questions about the kind of an interface: those that are read off the type that the entry
// keeps, and those that are never cached.
#include "query_ground.h"

namespace
{

// ---- Read off the entry ----

struct kind {
    const char *name;
    u32 (*ask)(u32);
    u32 (*service)(u32);
    unsigned type;
};

void PrintTo(const kind &row, std::ostream *out) { *out << row.name; }

const kind kinds[] = {
    {"is_gre_tunnel", varn_ifsvc_is_gre_tunnel, ifsvc_is_gre_tunnel, 24},
    {"is_super_802_3ad", varn_ifsvc_is_super_802_3ad, ifsvc_is_super_802_3ad, 22},
    {"is_cbus", varn_ifsvc_is_cbus, ifsvc_is_cbus, 7},
    {"is_mgmtether", varn_ifsvc_is_mgmtether, ifsvc_is_mgmtether, 5},
};

class TypeQuery : public query_test, public testing::WithParamInterface<kind>
{
protected:
    std::string request() const { return "ifsvc_" + std::string(row.name) + "(7) = 74566"; }
    void answers_oddly() { on(row.service).of(7).answers(0x12346); }
    void expect_passed_on(const std::string &requests)
    {
        EXPECT_EQ(row.ask(7), 0x12346u);
        EXPECT_EQ(calls(), requests);
        EXPECT_EQ(counters_moved(), "misses[28] +1");
        EXPECT_EQ(entries(), 0u);
    }

    const kind &row = GetParam();
};

TEST_P(TypeQuery, WithTheIodNotCachedGoesToItsService)
{
    start_with(everything & ~bits(1));
    answers_oddly();
    expect_passed_on(request());
}

// varn_init sets the bit in every configuration; it can only be cleared behind the library's back.
TEST_P(TypeQuery, WithTheTypeNotCachedGoesToItsService)
{
    start_with(everything);
    varn.config.sync &= ~bits(25);
    answers_oddly();
    expect_passed_on(request());
}

TEST_P(TypeQuery, IsCachedInEveryConfigurationThatHasTheIod)
{
    start_with(bits(1));
    answers_oddly();
    EXPECT_EQ(row.ask(7), 0u);
    EXPECT_EQ(calls(), lines(asked_if_index, asked_first_mtu));
    EXPECT_EQ(counters_moved(), counted_creation);
}

TEST_P(TypeQuery, OfAnIodWithoutAnEntryToBeHadGoesToItsService)
{
    start_with(everything);
    gone(7);
    answers_oddly();
    expect_passed_on(lines(asked_unknown_iod, request()));
}

TEST_P(TypeQuery, OfAnIodWithoutEntryCreatesItAndAnswersFromItWithoutAHitDeliberately)
{
    start_with(bits(1));
    given(port(7).of_type(static_cast<std::uint8_t>(row.type)).iod(9));
    const std::string if_index = hex(row.type << 24 | 7);
    EXPECT_EQ(row.ask(9), 1u);
    EXPECT_EQ(calls(), lines("ifsvc_get_ifindex_frm_iod(9) = 0 -> " + if_index,
                             "ifsvc_get_if_mtu(9) = 1500"));
    EXPECT_EQ(counters_moved(), counted_creation);
}

TEST_P(TypeQuery, IsYesForItsOwnTypeAloneAndMovesNoCounter)
{
    start_with(bits(1));
    for (unsigned type = 0; type < 256; ++type)
        given(port(100 + type).of_type(static_cast<std::uint8_t>(type)));
    for (unsigned type = 0; type < 256; ++type) {
        SCOPED_TRACE(type);
        filled(100 + type);
        EXPECT_EQ(row.ask(100 + type), type == row.type ? 1u : 0u);
        EXPECT_EQ(calls(), "");
        EXPECT_EQ(counters_moved(), "");
    }
}

TEST_P(TypeQuery, DoesNotConsultTheDirtyBitDeliberately)
{
    start_with(bits(1));
    given(port(8).of_type(static_cast<std::uint8_t>(row.type)));
    varn_if_entry_t &kept = filled(8);
    kept.dirty = ~u64{0};
    EXPECT_EQ(row.ask(8), 1u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(u64{kept.dirty}, ~u64{0});
}

INSTANTIATE_TEST_SUITE_P(Each, TypeQuery, testing::ValuesIn(kinds),
                         [](const auto &each) { return std::string(each.param.name); });

using IsGreTunnel = query_test;

TEST_F(IsGreTunnel, OfAnEntryOfType24IsYesWithoutAnyCounterMoving)
{
    start_with(everything);
    given(port(8).of_type(24));
    filled(8);
    EXPECT_EQ(varn_ifsvc_is_gre_tunnel(8), 1u);
    EXPECT_EQ(varn_ifsvc_is_gre_tunnel(8), 1u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
}

// ---- Never cached ----

struct passing {
    const char *name;
    u32 (*ask)(u32);
    u32 (*service)(u32);
    const char *counted;
};

void PrintTo(const passing &row, std::ostream *out) { *out << row.name; }

const passing never_cached[] = {
    {"is_dci_tunnel", varn_ifsvc_is_dci_tunnel, ifsvc_is_dci_tunnel, "misses[29] +1"},
    {"is_dci_overlay", varn_ifsvc_is_dci_overlay, ifsvc_is_dci_overlay, "misses[30] +1"},
    {"is_6to4_tunnel", varn_ifsvc_is_6to4_tunnel, ifsvc_is_6to4_tunnel, ""},
    {"is_mpls_tunnel", varn_ifsvc_is_mpls_tunnel, ifsvc_is_mpls_tunnel, ""},
};

class UncachedQuery : public query_test, public testing::WithParamInterface<passing>
{
protected:
    void expect_passed_on()
    {
        on(row.service).of(7).answers(0x12346);
        for (int time = 0; time < 2; ++time) {
            EXPECT_EQ(row.ask(7), 0x12346u);
            EXPECT_EQ(calls(), "ifsvc_" + std::string(row.name) + "(7) = 74566");
            EXPECT_EQ(counters_moved(), row.counted);
        }
    }

    const passing &row = GetParam();
};

TEST_P(UncachedQuery, GoesToItsServiceEachTimeAndCreatesNoEntry)
{
    start_with(everything);
    expect_passed_on();
    EXPECT_EQ(entries(), 0u);
}

TEST_P(UncachedQuery, GoesToItsServiceAlsoForAnEntryThatIsClean)
{
    start_with(everything);
    varn_if_entry_t &kept = filled(7);
    kept.dirty = 0;
    expect_passed_on();
    EXPECT_EQ(u64{kept.dirty}, 0u);
}

TEST_P(UncachedQuery, GoesToItsServiceWithNothingCached)
{
    start_with(0);
    expect_passed_on();
}

INSTANTIATE_TEST_SUITE_P(Each, UncachedQuery, testing::ValuesIn(never_cached),
                         [](const auto &each) { return std::string(each.param.name); });

} // namespace
