// SPDX-License-Identifier: Apache-2.0
//
// The entries of the VLAN cache: their key and table, how one is found, made, filed and deleted. An
// entry is refreshed whenever it is handed out dirty.
#include "vlan_ground.h"

namespace side_cache
{
namespace
{

// ---- the key ----

using VlanKey = vlan_ground;

TEST_F(VlanKey, HashIsTheRemainderByTheBucketCount)
{
    const struct {
        u16 key;
        u32 buckets, bucket;
    } rows[] = {{20, 16384, 20}, {4094, 16384, 4094},    {20, 7, 6},   {0, 16384, 0},
                {65535, 64, 63}, {65535, 100000, 65535}, {4094, 1, 0}, {16384, 16384, 0}};
    for (const auto &row : rows)
        EXPECT_EQ(varn_vlan_hash(&row.key, row.buckets), row.bucket) << row.key;
}

TEST_F(VlanKey, StandsAtTheBeginningOfTheEntry)
{
    const varn_vlan_entry_t made{};
    EXPECT_EQ(varn_vlan_get_key(&made), &made);
}

TEST_F(VlanKey, IsComparedInAll16Bits)
{
    const u16 key = 20, same = 20;
    EXPECT_EQ(varn_vlan_keys_equal(&key, &same), 1u);
    for (u32 bit = 0; bit < 16; ++bit) {
        const auto other = static_cast<u16>(key ^ (1u << bit));
        EXPECT_EQ(varn_vlan_keys_equal(&key, &other), 0u) << bit;
        EXPECT_EQ(varn_vlan_keys_equal(&other, &key), 0u) << bit;
    }
}

TEST_F(VlanKey, IsTwoBytesAndNoMore)
{
    const u16 one[] = {20, 0x1111}, other[] = {20, 0x2222};
    EXPECT_EQ(varn_vlan_keys_equal(one, other), 1u);
    EXPECT_EQ(varn_vlan_hash(one, 100000), 20u);
}

// ---- the table ----

using VlanTable = vlan_ground;

TEST_F(VlanTable, ThatCannotBeMadeIsReportedAndCleanedUp)
{
    run_with(config().sync(vlan_bit).num_buckets(64));
    on(ht_init).fails();
    EXPECT_EQ(varn_vlan_table_init(), 0u);
    EXPECT_EQ(calls(), lines("ht_init(Vlan, 0, 4, 64, 0.0) = 0",
                             reported("varn_vlan_table_init", "Couldn't initialize hash table\n"),
                             "ht_cleanup(Vlan) = 1"));
}

TEST_F(VlanTable, IsMadeWhateverTheSwitchOfTheCacheSays)
{
    run_with(config().sync(field_bits).num_buckets(64));
    switch_off();
    EXPECT_EQ(varn_vlan_table_init(), 1u) << "nothing to do";
    EXPECT_EQ(calls(), "");
    cache(vlan_bit);
    EXPECT_EQ(varn_vlan_table_init(), 1u);
    EXPECT_EQ(calls(), "ht_init(Vlan, 0, 4, 64, 0.0) = 1");
}

// ---- lookup and creation ----

using VlanCreateEntry = vlan_ground;

TEST_F(VlanCreateEntry, MakesFilesAndRefreshesOne)
{
    run(vlan_cache);
    const varn_vlan_entry_t *made = varn_vlan_create_entry_by_vlan(20);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(calls(), lines(vlan_filing(), refresh_of_all()));
    EXPECT_EQ(counters_moved(), std::string(counted_refresh) + ", vlan_allocs +1");
    EXPECT_EQ(made->vlan, 20u);
    EXPECT_EQ(fields(*made), "bd 520, flood 0x4014, pvlan 20");
    EXPECT_EQ(dirty_of(*made), 0u);
}

TEST_F(VlanCreateEntry, StartsWithTheWholeSyncMaskDirtyAndAllElseZero)
{
    run(vlan_cache | bits(1, 17, 33, 63));
    on(supvr_vinst_get).does([] {
        EXPECT_EQ(dirty_of(*held()), sync_mask());
        EXPECT_EQ(fields(*held()), "bd 0, flood 0x0, pvlan 0");
        note("filed before its refresh");
        return u16{1};
    });
    vlan_services_fail();
    const varn_vlan_entry_t *made = varn_vlan_create_entry_by_vlan(20);
    ASSERT_NE(made, nullptr);
    EXPECT_NE(calls().find("filed before its refresh"), std::string::npos);
    EXPECT_EQ(dirty_of(*made), vlan_cache | bits(1, 17, 25, 33, 63));
    EXPECT_EQ(fields(*made), "bd 0, flood 0x0, pvlan 0");
}

TEST_F(VlanCreateEntry, GivesACleanOneAsItIs)
{
    run(vlan_cache);
    const varn_vlan_entry_t *made = &filed();
    EXPECT_EQ(varn_vlan_create_entry_by_vlan(20), made);
    EXPECT_EQ(calls(), vlan_found);
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(VlanCreateEntry, RefreshesADirtyOne)
{
    run(vlan_cache);
    for (u32 bit = 0; bit < 64; ++bit) {
        SCOPED_TRACE(bit);
        varn_vlan_entry_t &made = filed_dirty(u64{1} << bit);
        EXPECT_EQ(varn_vlan_create_entry_by_vlan(20), &made);
        EXPECT_NE(calls().find(asked_vinst), std::string::npos);
        EXPECT_EQ(dirty_of(made), 0u);
    }
}

TEST_F(VlanCreateEntry, HandsOutOneWhoseRefreshFailed)
{
    run(vlan_cache);
    varn_vlan_entry_t &made = filed_dirty(field_bits);
    vlan_services_fail();
    EXPECT_EQ(varn_vlan_create_entry_by_vlan(20), &made);
    EXPECT_EQ(calls(), lines(vlan_found, failed_refresh_of_all()));
    EXPECT_EQ(counters_moved(), counted_refresh);
}

TEST_F(VlanCreateEntry, WhileSwitchedOffGivesNullWithoutALookup)
{
    run(vlan_cache);
    filed();
    switch_off();
    EXPECT_EQ(varn_vlan_create_entry_by_vlan(20), nullptr);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(VlanCreateEntry, WithoutMemoryWarnsThenTraces)
{
    run(vlan_cache);
    on(memacct_alloc).of(544, 2).fails();
    varn_vlan_entry_t *made = nullptr;
    const std::string warning = captured_stdout([&] { made = varn_vlan_create_entry_by_vlan(20); });
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(without_source_line(warning),
              "Warning! Malloc Failure in "
              "../routing-sw/libs/varn/varn_vlan[line] for size 32\n");
    EXPECT_EQ(calls(), failed_allocation());
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(entries(), 0u);
}

TEST_F(VlanCreateEntry, WithoutMemoryTracesAfterTheWarningAndLeavesErrnoEnomem)
{
    run(vlan_cache);
    on(memacct_alloc).fails();
    errno = 0;
    int left = 0;
    const std::string told =
        stdout_and_history([&] { varn_vlan_create_entry_by_vlan(20), left = errno; });
    EXPECT_EQ(without_source_line(told),
              "Warning! Malloc Failure in ../routing-sw/libs/varn/varn_vlan[line] for size 32\n"
              "[told]");
    EXPECT_EQ(left, ENOMEM);
}

TEST_F(VlanCreateEntry, ThatCannotBeFiledIsFreedAndLeavesErrnoAlone)
{
    run(vlan_cache);
    on(ht_insert).of("Vlan").fails();
    errno = 0;
    EXPECT_EQ(varn_vlan_create_entry_by_vlan(20), nullptr);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(calls(), failed_filing());
    EXPECT_EQ(counters_moved(), "vlan_allocs +1, vlan_frees +1");
    EXPECT_TRUE(live_blocks().empty());
}

// The table of a configuration that caches fields without VLANs was never made.
TEST_F(VlanCreateEntry, WithoutATableFails)
{
    run(field_bits);
    EXPECT_EQ(varn_vlan_create_entry_by_vlan(20), nullptr);
    EXPECT_EQ(calls(), filing_without_a_table());
    EXPECT_EQ(counters_moved(), "vlan_allocs +1, vlan_frees +1");
}

// ---- insertion and deletion ----

using VlanInsertEntry = vlan_ground;

TEST_F(VlanInsertEntry, FilesAnEntryAndAsksNothing)
{
    run(vlan_cache);
    EXPECT_EQ(varn_vlan_insert_entry(loose_vlan(20)), 1u);
    EXPECT_EQ(calls(), "ht_insert(Vlan, 20) = 1");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(VlanInsertEntry, OfNullDoesNothing)
{
    run(vlan_cache);
    EXPECT_EQ(varn_vlan_insert_entry(nullptr), 0u);
    EXPECT_EQ(calls(), "");
}

TEST_F(VlanInsertEntry, ThatFailsIsReportedAndTheEntryIsKept)
{
    run(vlan_cache);
    filed();
    EXPECT_EQ(varn_vlan_insert_entry(loose_vlan(20)), 0u);
    EXPECT_EQ(calls(), lines("ht_insert(Vlan, 20) = 0",
                             reported("varn_vlan_insert_entry", "*** Failed to add entry\n")));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(live_blocks().size(), 2u);
}

TEST_F(VlanInsertEntry, TestsNeitherTheSwitchNorTheBit)
{
    run(vlan_cache);
    switch_off();
    cache(0);
    EXPECT_EQ(varn_vlan_insert_entry(loose_vlan(20)), 1u);
}

using VlanDeleteEntry = vlan_ground;

TEST_F(VlanDeleteEntry, TakesItOutCountsItAndFreesIt)
{
    run(vlan_cache);
    EXPECT_EQ(varn_vlan_delete_entry(&filed()), 1u);
    EXPECT_EQ(calls(), lines("ht_remove_entry(Vlan, 20) = 1", "memacct_free(type 2)"));
    EXPECT_EQ(counters_moved(), "vlan_frees +1");
    EXPECT_EQ(entries(), 0u);
}

TEST_F(VlanDeleteEntry, DoesNotOverwriteWhatItFrees)
{
    run(vlan_cache);
    varn_vlan_delete_entry(&filed());
    ASSERT_EQ(released().size(), 1u);
    varn_vlan_entry_t was;
    ASSERT_EQ(released()[0].size, sizeof was);
    std::memcpy(static_cast<void *>(&was), released()[0].bytes.data(), sizeof was);
    EXPECT_EQ(was.vlan, 20u);
    EXPECT_EQ(fields(was), "bd 520, flood 0x4014, pvlan 20");
}

TEST_F(VlanDeleteEntry, OfNullDoesNothing)
{
    run(vlan_cache);
    EXPECT_EQ(varn_vlan_delete_entry(nullptr), 0u);
    EXPECT_EQ(calls(), "");
}

TEST_F(VlanDeleteEntry, ThatTheTableRefusesIsReportedAndKept)
{
    run(vlan_cache);
    varn_vlan_entry_t &kept = filed();
    on(ht_remove_entry).of("Vlan").fails_once();
    EXPECT_EQ(varn_vlan_delete_entry(&kept), 0u);
    EXPECT_EQ(calls(), lines("ht_remove_entry(Vlan, 20) = 0",
                             reported("varn_vlan_delete_entry",
                                      "*** Failed to delete entry: possible leak?\n")));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(live_blocks().size(), 1u);
    EXPECT_EQ(entries(), 1u);
}

TEST_F(VlanDeleteEntry, TestsNeitherTheSwitchNorTheBit)
{
    run(vlan_cache);
    varn_vlan_entry_t &doomed = filed();
    switch_off();
    cache(0);
    EXPECT_EQ(varn_vlan_delete_entry(&doomed), 1u);
}

} // namespace
} // namespace side_cache
