// SPDX-License-Identifier: Apache-2.0
//
// The destruction of an entry, step by step, and the removal by each key.
#include "entry_tests.h"

#ifdef NDEBUG
#include <sys/uio.h>
#include <unistd.h>
#endif

namespace
{

const std::string whole_destruction =
    joined({traced("If-destroy for if-index 0x1a000007, iod 7, pi 0x107, lif 0x2007\n"),
            "ht_lookup(Lif, 0x2007) = found", "ht_remove_entry(Lif, 0x2007) = 1",
            "ht_lookup(Pi, 0x107) = found", "ht_remove_entry(Pi, 0x107) = 1",
            "ht_remove_entry(Iod, 7) = 1", "ht_lookup(If, 0x1a000007) = found",
            "ht_remove_entry(If, 0x1a000007) = 1", "memacct_free(type 1)"});
const std::string destruction_counted =
    "if_frees +1, if_destroys +1, if_index.removes +1, iod_index.removes +1, pi_index.removes +1, "
    "lif_index.removes +1";

class EntryDestruction : public entry_test
{
protected:
    void SetUp() override
    {
        given(port(7), port(8));
        start_with(config().sync(bits(1, 2, 3)).extn_free());
    }
};

TEST_F(EntryDestruction, LeavesTheTablesInThisOrderAndFreesTheRecordLast)
{
    varn_if_entry_t *doomed = created(7);
    varn_if_destroy_entry(doomed);
    EXPECT_EQ(seen(), whole_destruction);
    EXPECT_EQ(counters_moved(), destruction_counted);
    EXPECT_EQ(released().back().address, doomed);
    EXPECT_TRUE(released().back().is_all(0x4C));
}

TEST_F(EntryDestruction, ReleasesTheExtensionJustBeforeTheRecord)
{
    varn_if_entry_t *doomed = created(7);
    doomed->extn[0] = 0x11;
    varn_if_destroy_entry(doomed);
    EXPECT_TRUE(seen().ends_with(
        lines("ht_remove_entry(If, 0x1a000007) = 1", "extn_free(0x11)", "memacct_free(type 1)")));
}

TEST_F(EntryDestruction, WhileTheCacheIsOffDoesNothingAtAll)
{
    varn_if_entry_t *kept = created(7);
    varn_disable_cache();
    varn_if_destroy_entry(kept);
    EXPECT_EQ(seen(), "");
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(entry(7), kept);
}

TEST_F(EntryDestruction, OfNoEntryDoesNothing)
{
    varn_if_destroy_entry(nullptr);
    EXPECT_EQ(seen(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(EntryDestruction, DoesNotLookUpKeysThatAreAbsent)
{
    varn_if_entry_t *doomed = loose_entry(0x1a000007);
    varn_if_insert_entry(doomed);
    forget_all();
    varn_if_destroy_entry(doomed);
    EXPECT_EQ(
        seen(),
        lines(traced("If-destroy for if-index 0x1a000007, iod 0, pi 0xffffffff, lif 0xffffffff\n"),
              "ht_lookup(If, 0x1a000007) = found", "ht_remove_entry(If, 0x1a000007) = 1",
              "memacct_free(type 1)"));
    EXPECT_EQ(counters_moved(), "if_frees +1, if_destroys +1, if_index.removes +1");
}

TEST_F(EntryDestruction, SkipsTheTablesInWhichItsKeysAreNotFound)
{
    varn_if_entry_t *doomed = loose_entry(0x1a000007, 7, 0x107, 0x2007);
    varn_if_insert_entry(doomed);
    forget_all();
    varn_if_destroy_entry(doomed);
    EXPECT_EQ(seen(),
              lines(traced("If-destroy for if-index 0x1a000007, iod 7, pi 0x107, lif 0x2007\n"),
                    "ht_lookup(Lif, 0x2007) = null", "ht_lookup(Pi, 0x107) = null",
                    "ht_lookup(Iod, 7) = null", "ht_lookup(If, 0x1a000007) = found",
                    "ht_remove_entry(If, 0x1a000007) = 1", "memacct_free(type 1)"));
    EXPECT_EQ(counters_moved(), "if_frees +1, if_destroys +1, if_index.removes +1");
}

TEST_F(EntryDestruction, OfAnEntryThatIsNotFiledIsCountedAndFreesNothing)
{
    varn_if_entry_t *loose = loose_entry(0x1a000007);
    varn_if_destroy_entry(loose);
    EXPECT_EQ(
        seen(),
        lines(traced("If-destroy for if-index 0x1a000007, iod 0, pi 0xffffffff, lif 0xffffffff\n"),
              "ht_lookup(If, 0x1a000007) = null"));
    EXPECT_EQ(counters_moved(), "if_destroys +1");
}

TEST_F(EntryDestruction, OnlyAsksForPresenceSoThatAKeyOfAnotherEntryLeadsToARefusedRemoval)
{
    varn_if_entry_t *rightful = created(7);
    varn_if_entry_t *doomed = loose_entry(0x1a000009, 7, 0x107, 0x2007);
    varn_if_insert_entry(doomed);
    forget_all();
    varn_if_destroy_entry(doomed);
    EXPECT_EQ(
        seen(),
        lines(traced("If-destroy for if-index 0x1a000009, iod 7, pi 0x107, lif 0x2007\n"),
              "ht_lookup(Lif, 0x2007) = found", "ht_remove_entry(Lif, 0x2007) = 0",
              reported("varn_lif_delete_entry", "Failed to del lif entry for if 0x1a000009, iod 7, "
                                                "lif 0x2007; possible leak?\n"),
              "ht_lookup(Pi, 0x107) = found", "ht_remove_entry(Pi, 0x107) = 0",
              reported("varn_pi_delete_entry", "Failed to del pi entry for if 0x1a000009, iod 7, "
                                               "pi 0x107; possible leak?\n"),
              "ht_remove_entry(Iod, 7) = 0",
              reported("varn_iod_delete_entry", "Failed to del iod entry for if 0x1a000009, iod 7;"
                                                "possible leak?\n"),
              "ht_lookup(If, 0x1a000009) = found", "ht_remove_entry(If, 0x1a000009) = 1",
              "memacct_free(type 1)"));
    EXPECT_EQ(counters_moved(), "if_frees +1, if_destroys +1, if_index.removes +1, "
                                "iod_index.remove_fail +1, pi_index.remove_fail +1, "
                                "lif_index.remove_fail +1");
    EXPECT_EQ(entry(7), rightful);
    EXPECT_EQ(rightful->ref_count, 4);
}

TEST_F(EntryDestruction, OfASecondRecordOfAnIfIndexLeavesTheFiledOne)
{
    varn_if_entry_t *filed = created(7);
    varn_if_entry_t *second = loose_entry(0x1a000007);
    varn_if_destroy_entry(second);
    EXPECT_EQ(
        seen(),
        lines(traced("If-destroy for if-index 0x1a000007, iod 0, pi 0xffffffff, lif 0xffffffff\n"),
              "ht_lookup(If, 0x1a000007) = found", "ht_remove_entry(If, 0x1a000007) = 0",
              reported("varn_if_delete_entry",
                       "Failed to delete entry for if 0x1a000007: possible leak?\n")));
    EXPECT_EQ(entry(7), filed);
    EXPECT_EQ(counters_moved(), "if_destroys +1, if_index.remove_fail +1");
}

// A table that is left out stays behind, and with it the record.
TEST_F(EntryDestruction, LeavesATableAloneWhoseSyncBitIsClearAndThenFreesNothing)
{
    const u64 cached = bits(1, 2, 3, 25);
    for (const unsigned left_out : {1u, 2u, 3u}) {
        SCOPED_TRACE("sync bit " + dec(left_out));
        start_with(config().sync(cached));
        varn_if_entry_t *stays = created(7);
        varn.config.sync = cached & ~bits(left_out);
        varn_if_destroy_entry(stays);
        const std::string told = seen();
        const bool touched[] = {told.find("_entry(Iod") != std::string::npos,
                                told.find("(Pi, ") != std::string::npos,
                                told.find("(Lif, ") != std::string::npos};
        for (const unsigned bit : {1u, 2u, 3u})
            EXPECT_EQ(touched[bit - 1], bit != left_out) << told;
        EXPECT_TRUE(told.ends_with(
            lines("ht_remove_entry(If, 0x1a000007) = 1",
                  reported("varn_if_delete_entry", "Failed to delete entry for if 0x1a000007: "
                                                   "ref-cnt !0?\n"),
                  "syslog_backtrace(\"varn_if_delete_entry\", 7)")))
            << told;
        EXPECT_EQ(stays->ref_count, 1);
        EXPECT_EQ(released().size(), 0u);
    }
    breaks_invariants_because("an entry stays in a table that was switched off under it");
}

TEST_F(EntryDestruction, OfAnEntryUnderIodZeroDeliberatelyLeavesItInTheIodTable)
{
    on(ifsvc_get_iod_frm_ifindex).answers(0, 0);
    varn_if_entry_t *stays = varn_if_create_entry_by_if(0x1a000007, 0, none, none);
    ASSERT_NE(stays, nullptr);
    forget_all();
    varn_if_destroy_entry(stays);
    EXPECT_EQ(seen(),
              lines(traced("If-destroy for if-index 0x1a000007, iod 0, pi 0x107, lif 0x2007\n"),
                    "ht_lookup(Lif, 0x2007) = found", "ht_remove_entry(Lif, 0x2007) = 1",
                    "ht_lookup(Pi, 0x107) = found", "ht_remove_entry(Pi, 0x107) = 1",
                    "ht_lookup(If, 0x1a000007) = found", "ht_remove_entry(If, 0x1a000007) = 1",
                    reported("varn_if_delete_entry",
                             "Failed to delete entry for if 0x1a000007: ref-cnt !0?\n"),
                    "syslog_backtrace(\"varn_if_delete_entry\", 7)"));
    EXPECT_TRUE(stands_in(&varn.iod_table, stays));
    EXPECT_EQ(stays->ref_count, 1);
    breaks_invariants_because("iod 0 reads as absent when the entry is destroyed");
}

// ---- removal by key ----

struct removal {
    const char *name;
    u32 (*remove)(u32 key);
    u32 key;
    const char *lookup;    // told for a key that is found; an iod's is not
    const char *not_found; // told for one that is not
    u32 result_while_off;
};

const removal removed_by_if = {"if",
                               varn_if_remove_entry_by_if,
                               0x1a000007,
                               "ht_lookup(If, 0x1a000007) = found",
                               "ht_lookup(If, 0x1a000007) = null",
                               1};
const removal removed_by_pi = {"pi",
                               varn_if_remove_entry_by_pi,
                               0x107,
                               "ht_lookup(Pi, 0x107) = found",
                               "ht_lookup(Pi, 0x107) = null",
                               1};
const removal removed_by_lif = {"lif",
                                varn_if_remove_entry_by_lif,
                                0x2007,
                                "ht_lookup(Lif, 0x2007) = found",
                                "ht_lookup(Lif, 0x2007) = null",
                                1};
const removal removed_by_iod = {"iod", varn_if_remove_entry_by_iod, 7,
                                "",    "ht_lookup(Iod, 7) = null",  0};

class RemovalByKey : public entry_test, public testing::WithParamInterface<removal>
{
protected:
    void SetUp() override
    {
        given(port(7), port(8));
        start_caching(bits(1, 2, 3));
    }
};

INSTANTIATE_TEST_SUITE_P(Keys, RemovalByKey,
                         testing::Values(removed_by_if, removed_by_pi, removed_by_lif,
                                         removed_by_iod),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_P(RemovalByKey, DestroysTheEntryThatStandsUnderTheKey)
{
    created(8);
    created(7);
    EXPECT_EQ(GetParam().remove(GetParam().key), 1u);
    EXPECT_EQ(seen(), joined({GetParam().lookup, whole_destruction}));
    EXPECT_EQ(counters_moved(), destruction_counted);
    EXPECT_EQ(entry(7), nullptr);
    EXPECT_NE(entry(8), nullptr);
}

TEST_P(RemovalByKey, OfAnUnknownKeyReturnsZeroAndDeliberatelyOnlyTheIodIsTraced)
{
    created(8);
    const bool is_iod = GetParam().key == 7;
    EXPECT_EQ(GetParam().remove(GetParam().key), 0u);
    EXPECT_EQ(seen(),
              joined({GetParam().not_found,
                      is_iod ? traced("Varn remove failed for Interface with iod 7\n") : ""}));
    EXPECT_EQ(history().size(), is_iod ? 1u : 0u);
    EXPECT_EQ(counters_moved(), "");
}

TEST_P(RemovalByKey, WhileTheCacheIsOffRemovesNothingButDeliberatelyReturnsOneExceptByIod)
{
    varn_if_entry_t *kept = created(7);
    varn_disable_cache();
    EXPECT_EQ(GetParam().remove(GetParam().key), GetParam().result_while_off);
    EXPECT_EQ(seen(), GetParam().lookup);
    EXPECT_EQ(entry(7), kept);
    EXPECT_EQ(kept->ref_count, 4);
    EXPECT_EQ(counters_moved(), "");
}

TEST_P(RemovalByKey, OfAnUnknownKeyWhileTheCacheIsOffReturnsZeroInSilence)
{
    varn_disable_cache();
    EXPECT_EQ(GetParam().remove(GetParam().key), 0u);
    EXPECT_EQ(seen(), GetParam().key == 7 ? "" : GetParam().not_found);
}

TEST_P(RemovalByKey, DoesNotCreateOnAMiss)
{
    EXPECT_EQ(GetParam().remove(GetParam().key), 0u);
    EXPECT_EQ(entry(7), nullptr);
    EXPECT_EQ(on(if_index_get_type).asked(), 0u);
}

// ---- removal with a permission ----

class RemovalWithPermission : public entry_test
{
protected:
    void SetUp() override
    {
        given(port(7), port(8));
        start_caching(bits(1, 2, 3));
    }

    // The bits of the bitmap that are clear.
    static std::vector<u32> forbidden()
    {
        std::vector<u32> iods;
        for (u32 iod = 0; iod < 32768; ++iod)
            if ((varn_iodbmp[iod / 32] >> (iod % 32) & 1u) == 0)
                iods.push_back(iod);
        return iods;
    }
};

TEST_F(RemovalWithPermission, RetiresAnIodUntilItIsAllowedAgain)
{
    created(7);
    EXPECT_EQ(varn_if_remove_entry_by_if_ext(0x1a000007, 7, 0), 1u);
    EXPECT_EQ(seen(), lines("ht_lookup(If, 0x1a000007) = found", whole_destruction));
    EXPECT_EQ(varn_find_entry_by_iod(7), nullptr);
    EXPECT_EQ(seen(),
              lines("ht_lookup(Iod, 7) = null", "ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007",
                    "if_index_get_type(0x1a000007) = 0 -> 26", "ht_lookup(If, 0x1a000007) = null",
                    reported("varn_if_create_entry_by_if",
                             "Error: Should not create varn entry for if-index "
                             "0x1a000007, iod 7, pi 0xffffffff, lif 0xffffffff\n")));
    EXPECT_EQ(varn_if_remove_entry_by_if_ext(0x1a000007, 7, 1), 0u);
    EXPECT_EQ(seen(), "ht_lookup(If, 0x1a000007) = null");
    EXPECT_NE(varn_find_entry_by_iod(7), nullptr);
}

TEST_F(RemovalWithPermission, RetiresTheIodForEveryIfIndex)
{
    varn_if_remove_entry_by_if_ext(0x1a000007, 7, 0);
    EXPECT_EQ(varn_if_create_entry_by_if(0x1a000008, 7, none, none), nullptr);
    EXPECT_NE(varn_if_create_entry_by_if(0x1a000008, 8, none, none), nullptr);
}

TEST_F(RemovalWithPermission, ChangesTheOneBitOnly)
{
    for (const u32 iod : {0u, 7u, 31u, 32u, 63u, 64u, 32736u, 32767u}) {
        SCOPED_TRACE("iod " + dec(iod));
        EXPECT_EQ(varn_if_remove_entry_by_if_ext(0x1a000007, iod, 0), 0u);
        EXPECT_EQ(forbidden(), std::vector<u32>{iod});
        EXPECT_EQ(varn_if_remove_entry_by_if_ext(0x1a000007, iod, 0x80000000), 0u);
        EXPECT_EQ(forbidden(), std::vector<u32>{});
    }
}

TEST_F(RemovalWithPermission, RemovesTheEntryOfTheIfIndexAlsoWhenItAllows)
{
    created(7);
    EXPECT_EQ(varn_if_remove_entry_by_if_ext(0x1a000007, 8, 1), 1u);
    EXPECT_EQ(entry(7), nullptr);
    EXPECT_EQ(forbidden(), std::vector<u32>{});
}

TEST_F(RemovalWithPermission, ForbidsAlsoWhileTheCacheIsOff)
{
    const varn_if_entry_t *kept = created(7);
    varn_disable_cache();
    EXPECT_EQ(varn_if_remove_entry_by_if_ext(0x1a000007, 7, 0), 1u);
    EXPECT_EQ(forbidden(), std::vector<u32>{7});
    EXPECT_EQ(entry(7), kept);
}

TEST_F(RemovalWithPermission, KeepsTheEntryOfAnotherIfIndexUnderAForbiddenIod)
{
    const varn_if_entry_t *kept = created(7);
    EXPECT_EQ(varn_if_remove_entry_by_if_ext(0x1a000008, 7, 0), 0u);
    EXPECT_EQ(varn_find_entry_by_iod(7), kept);
}

#ifdef NDEBUG
// What lies behind the bitmap is another object's, or nobody's: then the read fails, and the text says
// so.
std::string word_behind_the_bitmap()
{
    u32 word = 0;
    iovec here{&word, sizeof word};
    iovec there{varn_iodbmp + VARN_IODBMP_WORDS, sizeof word};
    return process_vm_readv(getpid(), &here, 1, &there, 1, 0) == sizeof word ? hex(word)
                                                                             : "no word";
}

// A larger iod is the caller's mistake. Forbidding and allowing would leave different bits.
TEST_F(RemovalWithPermission, OfAnIodBeyondTheBitmapLeavesTheBitmapAndWhatIsBehindIt)
{
    for (const u32 iod : {32768u, 32769u, 32799u, 0xFFFFFFFFu})
        for (const u32 allow : {0u, 1u}) {
            SCOPED_TRACE("iod " + dec(iod) + (allow ? " allowed" : " forbidden"));
            created(7);
            const std::string behind = word_behind_the_bitmap();
            EXPECT_EQ(varn_if_remove_entry_by_if_ext(0x1a000007, iod, allow), 1u);
            EXPECT_EQ(word_behind_the_bitmap(), behind);
            EXPECT_EQ(entry(7), nullptr);
            EXPECT_EQ(forbidden(), std::vector<u32>{});
        }
}
#endif

} // namespace
