// SPDX-License-Identifier: Apache-2.0
//
// The port-channel cache: its key, its table, how an entry comes and goes, and the question which
// member port serves a hash bucket. Each operation tests the switch of the cache, the attribute
// bit, both or neither; each of the four has its own tests here.
#include "pc_ground.h"

namespace side_cache
{
namespace
{

// ---- the key ----

using PcKey = pc_ground;

TEST_F(PcKey, HashIsTheRemainderByTheBucketCount)
{
    const struct {
        u32 key, buckets, bucket;
    } rows[] = {{0x16000003, 16384, 3},      {0x16004000, 16384, 0},
                {0x16003FFF, 16384, 16383},  {0xFFFFFFFF, 16384, 16383},
                {0xFFFFFFFF, 10, 5},         {0, 16384, 0},
                {0xFFFFFFFF, 0xFFFFFFFF, 0}, {7, 1, 0}};
    for (const auto &row : rows)
        EXPECT_EQ(varn_pc_hash(&row.key, row.buckets), row.bucket) << row.key;
}

TEST_F(PcKey, StandsAtTheBeginningOfTheEntry)
{
    const varn_pc_entry_t made{};
    EXPECT_EQ(varn_pc_get_key(&made), &made);
}

TEST_F(PcKey, IsComparedInAll32Bits)
{
    const u32 key = 0x16000003, same = 0x16000003;
    EXPECT_EQ(varn_pc_keys_equal(&key, &same), 1u);
    EXPECT_EQ(varn_pc_keys_equal(&key, &key), 1u);
    for (u32 bit = 0; bit < 32; ++bit) {
        const u32 other = key ^ (1u << bit);
        EXPECT_EQ(varn_pc_keys_equal(&key, &other), 0u) << bit;
    }
}

// ---- the table ----

using PcTable = pc_ground;

TEST_F(PcTable, ThatCannotBeMadeIsReportedAndCleanedUp)
{
    run_with(config().sync(pc_bit).num_buckets(64));
    on(ht_init).fails();
    EXPECT_EQ(varn_pc_table_init(), 0u);
    EXPECT_EQ(calls(), lines("ht_init(Pc, 0, 4, 64, 0.0) = 0",
                             reported("varn_pc_table_init", "Couldn't initialize pc hash table\n"),
                             "ht_cleanup(Pc) = 1"));
}

TEST_F(PcTable, IsMadeWhateverTheSwitchOfTheCacheSays)
{
    run_with(config().num_buckets(64));
    switch_off();
    EXPECT_EQ(varn_pc_table_init(), 1u) << "nothing to do";
    EXPECT_EQ(calls(), "");
    cache(pc_bit);
    EXPECT_EQ(varn_pc_table_init(), 1u);
    EXPECT_EQ(calls(), "ht_init(Pc, 0, 4, 64, 0.0) = 1");
}

// ---- lookup and creation ----

using PcCreateEntry = pc_ground;

TEST_F(PcCreateEntry, MakesOneWithEveryBucketDirtyAndNoMember)
{
    run(pc_bit);
    const varn_pc_entry_t *made = varn_pc_create_entry(channel, 1);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(calls(), pc_creation());
    EXPECT_EQ(counters_moved(), "pc_allocs +1");
    EXPECT_EQ(made->pc_ifindex, channel);
    EXPECT_EQ(flags(*made), all_dirty);
    for (const u32 member : made->rbh_mbr_ifindex)
        EXPECT_EQ(member, 0u);
}

TEST_F(PcCreateEntry, FindsWithOneLookupWhatIsThere)
{
    run(pc_bit);
    const varn_pc_entry_t *made = &filed();
    for (const int create : {0, 1, -1}) {
        EXPECT_EQ(varn_pc_create_entry(channel, create), made);
        EXPECT_EQ(calls(), pc_found);
    }
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcCreateEntry, WithoutCreateGivesNullForOneThatIsNotThere)
{
    run(pc_bit);
    EXPECT_EQ(varn_pc_create_entry(channel, 0), nullptr);
    EXPECT_EQ(calls(), pc_missing);
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcCreateEntry, CreatesForAnyCreateOtherThanZero)
{
    run(pc_bit);
    for (const int create : {1, 2, -1, 256}) {
        EXPECT_NE(varn_pc_create_entry(channel + static_cast<u32>(create), create), nullptr);
        EXPECT_EQ(counters_moved(), "pc_allocs +1") << create;
    }
}

TEST_F(PcCreateEntry, WhileSwitchedOffGivesNullWithoutALookup)
{
    run(pc_bit);
    filed();
    switch_off();
    for (const int create : {0, 1})
        EXPECT_EQ(varn_pc_create_entry(channel, create), nullptr);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcCreateEntry, DoesNotLookAtTheAttributeBit)
{
    run(pc_bit);
    cache(0);
    EXPECT_NE(varn_pc_create_entry(channel, 1), nullptr);
    EXPECT_EQ(calls(), pc_creation());
}

TEST_F(PcCreateEntry, WithoutMemoryWarnsThenTracesDeliberatelyWithoutAReport)
{
    run(pc_bit);
    on(memacct_alloc).of(544, 3).fails();
    varn_pc_entry_t *made = nullptr;
    const std::string warning = captured_stdout([&] { made = varn_pc_create_entry(channel, 1); });
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(without_source_line(warning), "Warning! Malloc Failure in "
                                            "../routing-sw/libs/varn/varn_pc[line] for size 140\n");
    EXPECT_EQ(calls(), lines(pc_missing, "memacct_alloc(544, 3, 140) = null",
                             traced("varn_pc_create_entry: Malloc failure\n")));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(entries(), 0u);
}

TEST_F(PcCreateEntry, WithoutMemoryTracesAfterTheWarningAndLeavesErrnoEnomem)
{
    run(pc_bit);
    on(memacct_alloc).fails();
    errno = 0;
    int left = 0;
    const std::string told =
        stdout_and_history([&] { varn_pc_create_entry(channel, 1), left = errno; });
    EXPECT_EQ(without_source_line(told),
              "Warning! Malloc Failure in ../routing-sw/libs/varn/varn_pc[line] for size 140\n"
              "[told]");
    EXPECT_EQ(left, ENOMEM);
}

TEST_F(PcCreateEntry, ThatCannotBeFiledIsFreedAndLeavesErrnoAlone)
{
    run(pc_bit);
    on(ht_insert).of("Pc").fails();
    errno = 0;
    EXPECT_EQ(varn_pc_create_entry(channel, 1), nullptr);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(calls(), lines(pc_missing, "memacct_alloc(544, 3, 140) = block",
                             "ht_insert(Pc, 0x16000003) = 0",
                             reported("varn_pc_insert_entry", "*** Failed to add pc entry\n"),
                             "memacct_free(type 3)"));
    EXPECT_EQ(counters_moved(), "pc_allocs +1, pc_frees +1");
    EXPECT_TRUE(live_blocks().empty());
}

// ---- insertion and deletion ----

using PcInsertEntry = pc_ground;

TEST_F(PcInsertEntry, FilesAnEntry)
{
    run(pc_bit);
    EXPECT_EQ(varn_pc_insert_entry(loose_pc(channel)), 1u);
    EXPECT_EQ(calls(), "ht_insert(Pc, 0x16000003) = 1");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcInsertEntry, OfNullDoesNothing)
{
    run(pc_bit);
    EXPECT_EQ(varn_pc_insert_entry(nullptr), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcInsertEntry, ThatFailsIsReportedAndTheEntryIsKept)
{
    run(pc_bit);
    filed();
    EXPECT_EQ(varn_pc_insert_entry(loose_pc(channel)), 0u);
    EXPECT_EQ(calls(), lines("ht_insert(Pc, 0x16000003) = 0",
                             reported("varn_pc_insert_entry", "*** Failed to add pc entry\n")));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(live_blocks().size(), 2u);
}

TEST_F(PcInsertEntry, TestsNeitherTheSwitchNorTheBit)
{
    run(pc_bit);
    switch_off();
    cache(0);
    EXPECT_EQ(varn_pc_insert_entry(loose_pc(channel)), 1u);
}

using PcDeleteEntry = pc_ground;

TEST_F(PcDeleteEntry, TakesItOutCountsItAndFreesIt)
{
    run(pc_bit);
    varn_pc_entry_t &doomed = filed();
    EXPECT_EQ(varn_pc_delete_entry(&doomed), 1u);
    EXPECT_EQ(calls(), lines("ht_remove_entry(Pc, 0x16000003) = 1", "memacct_free(type 3)"));
    EXPECT_EQ(counters_moved(), "pc_frees +1");
    EXPECT_EQ(entries(), 0u);
}

// What is freed is left as it stood: the flags behind the key and the link are still 1.
TEST_F(PcDeleteEntry, DoesNotOverwriteWhatItFrees)
{
    run(pc_bit);
    varn_pc_delete_entry(&filed());
    ASSERT_EQ(released().size(), 1u);
    varn_pc_entry_t was;
    ASSERT_EQ(released()[0].size, sizeof was);
    std::memcpy(&was, released()[0].bytes.data(), sizeof was);
    EXPECT_EQ(was.pc_ifindex, channel);
    EXPECT_EQ(flags(was), all_dirty);
}

TEST_F(PcDeleteEntry, OfNullDoesNothing)
{
    run(pc_bit);
    EXPECT_EQ(varn_pc_delete_entry(nullptr), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcDeleteEntry, ThatTheTableRefusesIsReportedAndKept)
{
    run(pc_bit);
    varn_pc_entry_t &kept = filed();
    on(ht_remove_entry).of("Pc").fails_once();
    EXPECT_EQ(varn_pc_delete_entry(&kept), 0u);
    EXPECT_EQ(calls(), lines("ht_remove_entry(Pc, 0x16000003) = 0",
                             reported("varn_pc_delete_entry",
                                      "*** Failed to delete pc entry: possible leak?\n")));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(live_blocks().size(), 1u);
    EXPECT_EQ(entries(), 1u);
}

TEST_F(PcDeleteEntry, TestsNeitherTheSwitchNorTheBit)
{
    run(pc_bit);
    varn_pc_entry_t &doomed = filed();
    switch_off();
    cache(0);
    EXPECT_EQ(varn_pc_delete_entry(&doomed), 1u);
}

using PcRemoveEntry = pc_ground;

TEST_F(PcRemoveEntry, DeletesTheEntryWithThisKeyAndNoOther)
{
    run(pc_bit);
    filed(channel + 1);
    filed();
    EXPECT_EQ(varn_pc_remove_entry_by_if_index(channel), 1u);
    EXPECT_EQ(calls(),
              lines(pc_found, "ht_remove_entry(Pc, 0x16000003) = 1", "memacct_free(type 3)"));
    EXPECT_EQ(counters_moved(), "pc_frees +1");
    EXPECT_EQ(entries(), 1u);
}

TEST_F(PcRemoveEntry, WithoutAnEntryGivesZeroSilently)
{
    run(pc_bit);
    EXPECT_EQ(varn_pc_remove_entry_by_if_index(channel), 0u);
    EXPECT_EQ(calls(), pc_missing);
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(PcRemoveEntry, WhoseDeletionFailsStillGivesOneDeliberately)
{
    run(pc_bit);
    filed();
    on(ht_remove_entry).of("Pc").fails_once();
    EXPECT_EQ(varn_pc_remove_entry_by_if_index(channel), 1u);
    EXPECT_EQ(calls(), lines(pc_found, "ht_remove_entry(Pc, 0x16000003) = 0",
                             reported("varn_pc_delete_entry",
                                      "*** Failed to delete pc entry: possible leak?\n")));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(live_blocks().size(), 1u);
}

TEST_F(PcRemoveEntry, WhileSwitchedOffGivesZeroWithoutALookup)
{
    run(pc_bit);
    filed();
    switch_off();
    EXPECT_EQ(varn_pc_remove_entry_by_if_index(channel), 0u);
    EXPECT_EQ(calls(), "");
}

TEST_F(PcRemoveEntry, DoesNotLookAtTheAttributeBit)
{
    run(pc_bit);
    filed();
    cache(0);
    EXPECT_EQ(varn_pc_remove_entry_by_if_index(channel), 1u);
}

} // namespace
} // namespace side_cache
