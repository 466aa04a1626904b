// SPDX-License-Identifier: Apache-2.0
//
// Creation of an entry by its if-index: the order of all that happens, what a new entry holds, and
// who may have one. How it fails is in creation_failure_tests.cpp.
#include "entry_tests.h"

namespace
{

using EntryCreation = entry_test;

varn_if_entry_t *create(u32 if_index, u32 iod = 0)
{
    return varn_if_create_entry_by_if(if_index, iod, none, none);
}

const std::string iod_question = "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7";

// What the creation of port 7 with the three keys cached says once its iod is known.
std::string creation_from_iod(const std::string &on_create = "")
{
    return joined(
        {traced("If-create for if-index 0x1a000007, iod 7, pi 0xffffffff, "
                "lif 0xffffffff\n"),
         "memacct_alloc(544, 1, 136) = block", "ifsvc_get_if_mtu(7) = 1500",
         "ht_insert(If, 0x1a000007) = 1", "ht_lookup(Iod, 7) = null", "ht_insert(Iod, 7) = 1",
         on_create, traced("Varn-update for if-index 0x1a000007, iod 7\n"),
         "if_index_get_type(0x1a000007) = 0 -> 26",
         "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107", "ht_lookup(Pi, 0x107) = null",
         traced("Creating pi entry for if-index 0x1a000007, iod 7, pi 0x107\n"),
         "ht_insert(Pi, 0x107) = 1", "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2007",
         "ht_lookup(Lif, 0x2007) = null",
         traced("Creating lif entry for if-index 0x1a000007, iod 7, lif 0x2007\n"),
         "ht_insert(Lif, 0x2007) = 1"});
}

TEST_F(EntryCreation, DoesItsStepsInThisOrder)
{
    given(port(7));
    start_with(config().sync(bits(1, 2, 3)).on_create());
    const varn_if_entry_t *made = create(0x1a000007);
    EXPECT_EQ(seen(),
              lines("if_index_get_type(0x1a000007) = 0 -> 26", "ht_lookup(If, 0x1a000007) = null",
                    iod_question, creation_from_iod("on_create(7)")));
    EXPECT_EQ(made, entry(7));
    EXPECT_EQ(counters_moved(), "updates[2] +1, updates[3] +1, if_allocs +1, if_index.inserts +1, "
                                "iod_index.inserts +1, pi_index.inserts +1, lif_index.inserts +1");
}

TEST_F(EntryCreation, DoesNotAskForAnIodThatIsGiven)
{
    given(port(7));
    start_caching(bits(1, 2, 3));
    create(0x1a000007, 7);
    EXPECT_EQ(seen(), lines("if_index_get_type(0x1a000007) = 0 -> 26",
                            "ht_lookup(If, 0x1a000007) = null", creation_from_iod()));
}

TEST_F(EntryCreation, LeavesAnEntryThatHoldsItsKeysAndZeroElsewhere)
{
    given(port(7));
    start_caching(bits(1, 2, 3));
    varn_if_entry_t left = *create(0x1a000007);
    varn_if_entry_t wanted{};
    wanted.if_index = 0x1a000007;
    wanted.iod = 7;
    wanted.pi = 0x107;
    wanted.lif = 0x2007;
    wanted.mtu = 1500;
    wanted.if_type = 26;
    wanted.ref_count = 4;
    left.if_link = left.iod_link = left.pi_link = left.lif_link = varn_link_t{};
    EXPECT_EQ(std::memcmp(&left, &wanted, sizeof left), 0);
}

TEST_F(EntryCreation, KeepsTheTypeThatTheIfIndexHas)
{
    given(port(7).of_type(24));
    start_caching(bits(1));
    EXPECT_EQ(create(the(7).is.if_index)->if_type, 24);
}

TEST_F(EntryCreation, FetchesTheMtuAtOnceWhetherCachedOrNot)
{
    given(port(7).mtu(9216), port(8).mtu(70000));
    start_caching(bits(1));
    EXPECT_EQ(create(0x1a000007)->mtu, 9216);
    EXPECT_EQ(create(0x1a000008)->mtu, 70000 - 65536);
}

TEST_F(EntryCreation, OnlyPrintsThePiAndTheLifThatItIsGiven)
{
    given(port(7));
    u32 pi = 0, lif = 0;
    start_with(config().sync(bits(1, 2, 3)).on_create([&](u32) {
        pi = entry(7)->pi;
        lif = entry(7)->lif;
    }));
    varn_if_create_entry_by_if(0x1a000007, 7, 0x55, 0x66);
    EXPECT_EQ(history().front().text,
              "[77]: If-create for if-index 0x1a000007, iod 7, pi 0x55, lif 0x66\n");
    EXPECT_EQ(pi, none);
    EXPECT_EQ(lif, none);
}

TEST_F(EntryCreation, OfAnExistingEntryReturnsItAsItIsEvenForAnotherIod)
{
    given(port(7), port(8));
    start_with(config().sync(bits(1, 2, 3)).on_create());
    varn_if_entry_t *existing = created(7);
    existing->dirty = bits(1, 2, 3, 17);
    EXPECT_EQ(varn_if_create_entry_by_if(0x1a000007, 8, 0x55, 0x66), existing);
    EXPECT_EQ(seen(), lines("if_index_get_type(0x1a000007) = 0 -> 26",
                            "ht_lookup(If, 0x1a000007) = found"));
    EXPECT_EQ(existing->iod, 7u);
    EXPECT_EQ(dirty_of(existing), bits(1, 2, 3, 17));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(EntryCreation, OfAnExistingEntryIgnoresThatItsIodIsForbidden)
{
    given(port(7));
    start_caching(bits(1));
    varn_if_entry_t *existing = created(7);
    varn_iodbmp[0] = 0;
    EXPECT_EQ(create(0x1a000007), existing);
}

// ---- the first mask ----

TEST_F(EntryCreation, MakesEveryCachedAttributeDirtyButTheKeyTheTypeAndTheIod)
{
    for (unsigned bit = 0; bit < 64; ++bit) {
        SCOPED_TRACE("sync bit " + dec(bit));
        u64 first = 0;
        given(port(7));
        start_with(config().sync(bits(1, bit)).on_create([&](u32) { first = entry(7)->dirty; }));
        ASSERT_NE(create(0x1a000007), nullptr);
        EXPECT_EQ(first, bit == 0 || bit == 1 || bit == 25 ? 0 : bits(bit));
        varn_if_remove_entry_by_if(0x1a000007);
    }
}

TEST_F(EntryCreation, MakesTheSideCachesBitsDirtyTooAndTheRefreshLeavesBit33)
{
    given(port(7));
    u64 first = 0;
    start_with(
        config().sync(bits(1, 30, 31, 32, 33)).on_create([&](u32) { first = entry(7)->dirty; }));
    EXPECT_EQ(dirty_of(create(0x1a000007)), bits(33));
    EXPECT_EQ(first, bits(30, 31, 32, 33));
}

TEST_F(EntryCreation, LeavesDirtyWhatNoRefreshFills)
{
    given(port(7));
    start_caching(bits(0, 1, 14, 20, 25, 26, 28, 29));
    EXPECT_EQ(dirty_of(create(0x1a000007)), bits(14, 20, 26, 28, 29));
}

// ---- without the Iod table ----

TEST_F(EntryCreation, WithoutTheIodCachedLeavesItZeroAndTheEntryInTheIfTableOnly)
{
    given(port(7));
    u32 at_callback = 0, references = 0;
    u64 first = 0;
    start_with(config().sync(bits(17)).on_create([&](u32) {
        const varn_if_entry_t *made = entry_of(0x1a000007);
        at_callback = made->iod;
        references = made->ref_count;
        first = made->dirty;
    }));
    const varn_if_entry_t *made = create(0x1a000007);
    EXPECT_EQ(seen(), lines("if_index_get_type(0x1a000007) = 0 -> 26",
                            "ht_lookup(If, 0x1a000007) = null", iod_question,
                            traced("If-create for if-index 0x1a000007, iod 7, pi 0xffffffff, "
                                   "lif 0xffffffff\n"),
                            "memacct_alloc(544, 1, 136) = block", "ifsvc_get_if_mtu(7) = 1500",
                            "ht_insert(If, 0x1a000007) = 1", "on_create(7)",
                            traced("Varn-update for if-index 0x1a000007, iod 0\n"),
                            "if_index_get_type(0x1a000007) = 0 -> 26", "ifsvc_is_linkup(0) = 0"));
    EXPECT_EQ(at_callback, 0u);
    EXPECT_EQ(references, 1u);
    EXPECT_EQ(first, bits(17));
    EXPECT_EQ(made->iod, 0u);
    EXPECT_EQ(made->ref_count, 1);
}

TEST_F(EntryCreation, WithoutTheIodCachedIsHeldOnceUntilTheRefreshFilesPiAndLif)
{
    given(port(7));
    u32 references = 0;
    start_with(config().sync(bits(2, 3)).on_create([&](u32) {
        references = entry_of(0x1a000007)->ref_count;
    }));
    const varn_if_entry_t *made = create(0x1a000007);
    EXPECT_EQ(references, 1u);
    EXPECT_EQ(made->ref_count, 3);
    EXPECT_EQ(made->iod, 0u);
}

TEST_F(EntryCreation, CallsBackOnceTheEntryStandsUnderItsIod)
{
    given(port(7));
    bool stands = false;
    u32 references = 0;
    start_with(config().sync(bits(1, 2, 3)).on_create([&](u32 iod) {
        const varn_if_entry_t *made = entry(iod);
        stands = made != nullptr && stands_in(&varn.iod_table, made);
        references = made != nullptr ? made->ref_count : 0u;
    }));
    create(0x1a000007);
    EXPECT_TRUE(stands);
    EXPECT_EQ(references, 2u);
}

// ---- an iod that another entry holds ----

TEST_F(EntryCreation, WithTheIodOfAnotherEntryDestroysTheOtherOne)
{
    given(port(7), port(8));
    start_caching(bits(1, 2, 3));
    const void *old = created(7);
    varn_if_entry_t *newest = create(0x1a000008, 7);
    EXPECT_EQ(
        seen(),
        joined({"if_index_get_type(0x1a000008) = 0 -> 26",
                "ht_lookup(If, 0x1a000008) = null",
                traced("If-create for if-index 0x1a000008, iod 7, pi 0xffffffff, lif 0xffffffff\n"),
                "memacct_alloc(544, 1, 136) = block",
                "ifsvc_get_if_mtu(7) = 1500",
                "ht_insert(If, 0x1a000008) = 1",
                reported("varn_if_create_entry_by_if",
                         "If-create for if-index 0x1a000008, iod 7 exists - deleting existing one "
                         "(0x1a000007), PI 0x107/LIF 0x2007\n"),
                "syslog_backtrace(\"varn_if_create_entry_by_if\", 7)",
                traced("If-destroy for if-index 0x1a000007, iod 7, pi 0x107, lif 0x2007\n"),
                "ht_lookup(Lif, 0x2007) = found",
                "ht_remove_entry(Lif, 0x2007) = 1",
                "ht_lookup(Pi, 0x107) = found",
                "ht_remove_entry(Pi, 0x107) = 1",
                "ht_remove_entry(Iod, 7) = 1",
                "ht_lookup(If, 0x1a000007) = found",
                "ht_remove_entry(If, 0x1a000007) = 1",
                "memacct_free(type 1)",
                "ht_insert(Iod, 7) = 1",
                traced("Varn-update for if-index 0x1a000008, iod 7\n"),
                "if_index_get_type(0x1a000008) = 0 -> 26",
                "idxsvc_lib_ifidx_to_di(0x1a000008) = 0 -> 0x108",
                "ht_lookup(Pi, 0x108) = null",
                traced("Creating pi entry for if-index 0x1a000008, iod 7, pi 0x108\n"),
                "ht_insert(Pi, 0x108) = 1",
                "lifsvc_query_ifindex_to_lif(0x1a000008) = 0 -> 0x2008",
                "ht_lookup(Lif, 0x2008) = null",
                traced("Creating lif entry for if-index 0x1a000008, iod 7, lif 0x2008\n"),
                "ht_insert(Lif, 0x2008) = 1"}));
    EXPECT_EQ(released().back().address, old);
    EXPECT_TRUE(released().back().is_all(0x4C));
    EXPECT_EQ(entry(7), newest);
    EXPECT_TRUE(stands_in(&varn.iod_table, newest));
    EXPECT_EQ(entry_of(0x1a000007), nullptr);
}

// ---- iod 0 ----

TEST_F(EntryCreation, FilesAnIodOfZeroThatTheServiceGivesUnderZeroDeliberately)
{
    given(port(7));
    start_with(config().sync(bits(1)).on_create());
    on(ifsvc_get_iod_frm_ifindex).answers(0, 0);
    varn_if_entry_t *made = create(0x1a000007);
    EXPECT_EQ(
        seen(),
        lines("if_index_get_type(0x1a000007) = 0 -> 26", "ht_lookup(If, 0x1a000007) = null",
              "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 0",
              traced("If-create for if-index 0x1a000007, iod 0, pi 0xffffffff, lif 0xffffffff\n"),
              "memacct_alloc(544, 1, 136) = block", "ifsvc_get_if_mtu(0) = 0",
              "ht_insert(If, 0x1a000007) = 1", "ht_lookup(Iod, 0) = null", "ht_insert(Iod, 0) = 1",
              "on_create(0)", traced("Varn-update for if-index 0x1a000007, iod 0\n"),
              "if_index_get_type(0x1a000007) = 0 -> 26"));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(varn_find_entry_by_iod(0), made);
    EXPECT_EQ(made->ref_count, 2);
    breaks_invariants_because("0 is the absent iod, and an entry is filed under it");
}

} // namespace
