// SPDX-License-Identifier: Apache-2.0
//
// The three front doors of creation, which turn an iod, a pi or a lif into an if-index first, and
// the lookup by iod.
#include "entry_tests.h"

namespace
{

// A key's front door, written a second time.
struct door {
    const char *name;
    varn_if_entry_t *(*create)(u32 key);
    u32 key;
    const char *absent;    // the lookup that finds nothing
    const char *asked;     // the question for the if-index
    const char *is_known;  // its answer
    const char *if_create; // what the creator by if-index prints of the keys it is given
    bool gives_iod;
    bool obeys_create_on_miss;
};

const door by_iod = {"iod",
                     varn_if_create_entry_by_iod,
                     7,
                     "ht_lookup(Iod, 7) = null",
                     "ifsvc_get_ifindex_frm_iod(7)",
                     " = 0 -> 0x1a000007",
                     "iod 7, pi 0xffffffff, lif 0xffffffff\n",
                     true,
                     false};
const door by_pi = {"pi",
                    varn_if_create_entry_by_pi,
                    0x107,
                    "ht_lookup(Pi, 0x107) = null",
                    "idxsvc_lib_si_to_ifidx(0x107)",
                    " = 0 -> 0x1a000007",
                    "iod 7, pi 0x107, lif 0xffffffff\n",
                    false,
                    true};
const door by_lif = {"lif",
                     varn_if_create_entry_by_lif,
                     0x2007,
                     "ht_lookup(Lif, 0x2007) = null",
                     "lifsvc_query_lif_to_ifindex(0x2007)",
                     " = 0 -> 0x1a000007",
                     "iod 7, pi 0xffffffff, lif 0x2007\n",
                     false,
                     true};

class CreationByKey : public entry_test, public testing::WithParamInterface<door>
{
protected:
    void all_unknown(u32 code)
    {
        on(ifsvc_get_ifindex_frm_iod).fails(code);
        on(idxsvc_lib_si_to_ifidx).fails(code);
        on(lifsvc_query_lif_to_ifindex).fails(code);
    }
};

INSTANTIATE_TEST_SUITE_P(Doors, CreationByKey, testing::Values(by_iod, by_pi, by_lif),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_P(CreationByKey, ReturnsTheEntryThatStandsUnderTheKey)
{
    given(port(7));
    start_caching(bits(1, 2, 3));
    varn_if_entry_t *existing = created(7);
    all_unknown(0x41);
    EXPECT_EQ(GetParam().create(GetParam().key), existing);
    EXPECT_EQ(on(if_index_get_type).asked(), 2u); // those of the creation
    EXPECT_EQ(counters_moved(), "");
}

TEST_P(CreationByKey, AsksForTheIfIndexAndCreatesByIt)
{
    const door &tested = GetParam();
    given(port(7));
    start_caching(bits(1, 2, 3));
    const varn_if_entry_t *made = tested.create(tested.key);
    EXPECT_TRUE(seen().starts_with(
        joined({tested.absent, spell(tested.asked, tested.is_known),
                "if_index_get_type(0x1a000007) = 0 -> 26", "ht_lookup(If, 0x1a000007) = null",
                tested.gives_iod ? "" : "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7",
                traced(spell("If-create for if-index 0x1a000007, ", tested.if_create)),
                "memacct_alloc(544, 1, 136) = block"})));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made, entry(7));
    EXPECT_EQ(made->pi, 0x107u);
    EXPECT_EQ(made->lif, 0x2007u);
}

TEST_P(CreationByKey, OfAnUnknownKeyReturnsNoneInSilence)
{
    const door &tested = GetParam();
    start_caching(bits(1, 2, 3));
    all_unknown(0x41);
    EXPECT_EQ(tested.create(tested.key), nullptr);
    EXPECT_EQ(seen(), lines(tested.absent, spell(tested.asked, " = 0x41")));
    EXPECT_EQ(counters_moved(), "");
}

TEST_P(CreationByKey, WithoutCreateOnMissDeliberatelyCreatesByIodOnly)
{
    const door &tested = GetParam();
    given(port(7));
    start_caching(bits(1, 2, 3));
    varn.config.create_on_miss = 0;
    const varn_if_entry_t *made = tested.create(tested.key);
    if (tested.obeys_create_on_miss) {
        EXPECT_EQ(made, nullptr);
        EXPECT_EQ(seen(), lines(tested.absent, spell(tested.asked, tested.is_known)));
    } else {
        EXPECT_NE(made, nullptr);
    }
    EXPECT_EQ(entry(7), made);
}

TEST_P(CreationByKey, WhileTheCacheIsOffStillLooksUpAndAsksButCreatesNothing)
{
    const door &tested = GetParam();
    given(port(7));
    start_caching(bits(1, 2, 3));
    varn_disable_cache();
    EXPECT_EQ(tested.create(tested.key), nullptr);
    EXPECT_EQ(seen(), lines(tested.absent, spell(tested.asked, tested.is_known)));
}

TEST_P(CreationByKey, WhileTheCacheIsOffReturnsWhatIsFiled)
{
    given(port(7));
    start_caching(bits(1, 2, 3));
    varn_if_entry_t *existing = created(7);
    varn_disable_cache();
    EXPECT_EQ(GetParam().create(GetParam().key), existing);
}

TEST_P(CreationByKey, WithoutItsTableAsksTheServiceAllTheSame)
{
    const door &tested = GetParam();
    given(port(7));
    start_caching(0);
    const varn_if_entry_t *made = tested.create(tested.key);
    EXPECT_TRUE(seen().starts_with(lines(tested.absent, spell(tested.asked, tested.is_known))));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->ref_count, 1);
    EXPECT_EQ(tested.create(tested.key), made) << "found by its if-index";
}

using CreationByIod = entry_test;

TEST_F(CreationByIod, OfAnIfIndexThatIsFiledUnderAnotherIodReturnsThatEntry)
{
    given(port(7));
    start_caching(bits(1));
    varn_if_entry_t *existing = created(7);
    on(ifsvc_get_ifindex_frm_iod).of(9).answers(0, 0x1a000007);
    EXPECT_EQ(varn_if_create_entry_by_iod(9), existing);
    EXPECT_EQ(existing->iod, 7u);
}

TEST_F(CreationByIod, OfIodZeroAsksForTheIfIndexesOwnIod)
{
    given(port(7));
    start_caching(bits(1));
    on(ifsvc_get_ifindex_frm_iod).of(0).answers(0, 0x1a000007);
    const varn_if_entry_t *made = varn_if_create_entry_by_iod(0);
    EXPECT_TRUE(seen().starts_with(
        lines("ht_lookup(Iod, 0) = null", "ifsvc_get_ifindex_frm_iod(0) = 0 -> 0x1a000007",
              "if_index_get_type(0x1a000007) = 0 -> 26", "ht_lookup(If, 0x1a000007) = null",
              "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7")));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->iod, 7u);
}

using FindByIod = entry_test;

TEST_F(FindByIod, WithoutCreateOnMissOnlyLooksUp)
{
    given(port(7), port(8));
    start_caching(bits(1, 2, 3));
    varn_if_entry_t *existing = created(7);
    varn.config.create_on_miss = 0;
    EXPECT_EQ(varn_find_entry_by_iod(7), existing);
    EXPECT_EQ(varn_find_entry_by_iod(8), nullptr);
    EXPECT_EQ(seen(), "ht_lookup(Iod, 8) = null");
}

TEST_F(FindByIod, WithAnyCreateOnMissCreates)
{
    given(port(7), port(8));
    start_caching(bits(1, 2, 3));
    varn_if_entry_t *existing = created(7);
    varn.config.create_on_miss = 2;
    EXPECT_EQ(varn_find_entry_by_iod(7), existing);
    EXPECT_EQ(seen(), "");
    EXPECT_NE(varn_find_entry_by_iod(8), nullptr);
    EXPECT_TRUE(seen().starts_with(
        lines("ht_lookup(Iod, 8) = null", "ifsvc_get_ifindex_frm_iod(8) = 0 -> 0x1a000008")));
    EXPECT_EQ(varn_find_entry_by_iod(9), nullptr);
    EXPECT_EQ(seen(),
              lines("ht_lookup(Iod, 9) = null", "ifsvc_get_ifindex_frm_iod(9) = 0x40040004"));
}

} // namespace
