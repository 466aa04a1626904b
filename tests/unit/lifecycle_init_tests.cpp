// SPDX-License-Identifier: Apache-2.0
//
// Start: what varn_init makes and in which order, what it does with the configuration, and what is
// left when a table cannot be made. The whole journal of a start is compared, for every mask.
#include "lifecycle_ground.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace
{

const std::string account =
    "memacct_init(\"Varn\", 544, [\"VARN_MEM_NONE\", \"VARN_MEM_varn_if_entry_t\", "
    "\"VARN_MEM_varn_vlan_entry_t\", \"VARN_MEM_varn_pc_entry_t\"], 4) = 0";

// The tables in the order in which they are made; what a message says when one cannot be.
struct table_row {
    const char *name;
    u32 bit; // of sync; 25 is always set
    u32 link;
    const ht_t &table;
    const char *message;
    const char *reporter;
    bool is_needed; // without it varn_init fails
};

const char no_table[] = "Couldn't initialize hash table";
const table_row tables_made[] = {
    {"If", 25, 4, varn.if_table, no_table, "varn_init", true},
    {"Iod", 1, 16, varn.iod_table, no_table, "varn_init", true},
    {"Pi", 2, 28, varn.pi_table, no_table, "varn_init", true},
    {"Lif", 3, 40, varn.lif_table, no_table, "varn_init", true},
    {"Vlan", 10, 4, varn.vlan_table, no_table, "varn_vlan_table_init", false},
    {"Pc", 33, 4, varn.pc_table, "Couldn't initialize pc hash table", "varn_pc_table_init", false},
};

std::string made(const table_row &row, u32 buckets, const char *result = "1")
{
    return spell("ht_init(", row.name, ", 0, ", dec(row.link), ", ", dec(buckets),
                 ", 0.0) = ", result);
}

// The journal of a varn_init that succeeds.
std::string journal_of_init(u64 sync, u32 buckets)
{
    std::string journal = account;
    for (const table_row &row : tables_made)
        if (row.bit == 25 || (sync >> row.bit & 1) != 0)
            journal = lines(journal, made(row, buckets));
    return journal;
}

class lifecycle_init : public varn_test
{
protected:
    void record_everything()
    {
        for (const family each :
             {services, tables, allocations, messages, types, threads, backtraces, bit_tests})
            record(each);
    }
};

using Init = lifecycle_init;
using FailingInit = lifecycle_init;
using VlanTableInit = lifecycle_init;
using PcTableInit = lifecycle_init;

TEST_F(Init, MakesTheTablesOfEverySyncMaskInOrder)
{
    for (u32 chosen = 0; chosen < 32; ++chosen) {
        u64 sync = bits(17); // a bit that asks for no table
        for (u32 at = 0; at < 5; ++at)
            sync |= (chosen >> at & 1) != 0 ? bits(tables_made[at + 1].bit) : 0;
        SCOPED_TRACE(hex(sync));
        record_everything();
        EXPECT_EQ(init(config().sync(sync)), 1u);
        EXPECT_EQ(calls(), journal_of_init(sync, 16384));
        EXPECT_EQ(varn_enabled, 1u);
    }
}

TEST_F(Init, WithBitsOneToThreeClearMakesTheIfTableAndTheSideTables)
{
    record(tables);
    EXPECT_EQ(init(config().sync(bits(10, 33))), 1u);
    EXPECT_EQ(calls(),
              lines("ht_init(If, 0, 4, 16384, 0.0) = 1", "ht_init(Vlan, 0, 4, 16384, 0.0) = 1",
                    "ht_init(Pc, 0, 4, 16384, 0.0) = 1"));
    for (const ht_t *never : {&varn.iod_table, &varn.pi_table, &varn.lif_table})
        EXPECT_TRUE(is_all(never, sizeof *never, 0));
}

TEST_F(Init, WithNoBucketCountTakes16384)
{
    record(tables);
    EXPECT_EQ(init(config().num_buckets(0)), 1u);
    EXPECT_EQ(varn.config.num_buckets, 16384u);
    EXPECT_EQ(calls(), "ht_init(If, 0, 4, 16384, 0.0) = 1");
}

TEST_F(Init, GivesAnyOtherBucketCountToEveryTableUnchanged)
{
    for (const u32 buckets : {1u, 2u, 64u, 15991u, 16383u, 0x80000001u, 0xFFFFFFFFu}) {
        record_everything();
        EXPECT_EQ(init(config().sync(every_table).num_buckets(buckets)), 1u);
        EXPECT_EQ(varn.config.num_buckets, buckets);
        EXPECT_EQ(calls(), journal_of_init(every_table, buckets));
    }
}

TEST_F(Init, GivesEveryTableItsThreeCallbacks)
{
    std::vector<std::array<const void *, 3>> given_to_tables;
    on(ht_init).does([&](ht_t *table, u32 flags, u32 link, u32 buckets, double growth,
                         ht_hash_fn hash, ht_get_key_fn get_key, ht_keys_equal_fn keys_equal) {
        given_to_tables.push_back({reinterpret_cast<const void *>(hash),
                                   reinterpret_cast<const void *>(get_key),
                                   reinterpret_cast<const void *>(keys_equal)});
        return on(ht_init).by_default(table, flags, link, buckets, growth, hash, get_key,
                                      keys_equal);
    });
    EXPECT_EQ(init(config().sync(every_table)), 1u);
    const auto row = [](ht_hash_fn hash, ht_get_key_fn get_key, ht_keys_equal_fn keys_equal) {
        return std::array<const void *, 3>{reinterpret_cast<const void *>(hash),
                                           reinterpret_cast<const void *>(get_key),
                                           reinterpret_cast<const void *>(keys_equal)};
    };
    const std::vector<std::array<const void *, 3>> wanted = {
        row(varn_if_hash, varn_if_get_key, varn_if_keys_equal),
        row(varn_iod_hash, varn_iod_get_key, varn_iod_keys_equal),
        row(varn_pi_hash, varn_pi_get_key, varn_pi_keys_equal),
        row(varn_lif_hash, varn_lif_get_key, varn_lif_keys_equal),
        row(varn_vlan_hash, varn_vlan_get_key, varn_vlan_keys_equal),
        row(varn_pc_hash, varn_pc_get_key, varn_pc_keys_equal)};
    EXPECT_EQ(given_to_tables, wanted);
}

TEST_F(Init, SetsCreateOnMissAndTheTypeBitWhateverTheClientGave)
{
    EXPECT_EQ(init(config().sync(0).create_on_miss(0)), 1u);
    EXPECT_EQ(varn.config.create_on_miss, 1u);
    EXPECT_EQ(u64{varn.config.sync}, 0x02000000u);
    EXPECT_EQ(init(config().sync(~u64{0}).create_on_miss(9)), 1u);
    EXPECT_EQ(varn.config.create_on_miss, 1u);
    EXPECT_EQ(u64{varn.config.sync}, ~u64{0});
}

TEST_F(Init, CopiesEveryOtherWordOfTheConfiguration)
{
    varn_config_t wanted;
    std::memset(static_cast<void *>(&wanted), 0x5C, sizeof wanted);
    const varn_config_t given = wanted;
    EXPECT_EQ(varn_init(&given), 1u);
    wanted.create_on_miss = 1;
    wanted.sync |= 0x02000000u;
    EXPECT_EQ(std::memcmp(&varn.config, &wanted, sizeof wanted), 0);
    std::memset(static_cast<void *>(&wanted), 0x5C, sizeof wanted);
    EXPECT_EQ(std::memcmp(&given, &wanted, sizeof given), 0) << "the client's own was written";
}

TEST_F(Init, KeepsACopyThatOutlivesTheClientsRecord)
{
    varn_config_t gone_soon = config().uuid(0x11).record();
    EXPECT_EQ(varn_init(&gone_soon), 1u);
    std::memset(static_cast<void *>(&gone_soon), 0, sizeof gone_soon);
    EXPECT_EQ(varn.config.uuid, 0x11u);
}

TEST_F(Init, ZeroesAllThatIsNotAskedFor)
{
    std::memset(static_cast<void *>(&varn), 0xEE, sizeof varn);
    const varn_config_t nothing_asked{};
    EXPECT_EQ(varn_init(&nothing_asked), 1u);
    const auto *begin = reinterpret_cast<const unsigned char *>(&varn);
    const auto *counters = reinterpret_cast<const unsigned char *>(varn.misses);
    EXPECT_TRUE(is_all(&varn.iod_table, 5 * sizeof(ht_t), 0));
    EXPECT_TRUE(is_all(counters, static_cast<std::size_t>(begin + sizeof varn - counters), 0));
}

TEST_F(Init, SetsEveryBitOfTheIodBitmap)
{
    varn_iodbmp[0] = 0;
    varn_iodbmp[1023] = 0x7FFFFFFF;
    EXPECT_EQ(init(config()), 1u);
    EXPECT_TRUE(is_all(varn_iodbmp, sizeof varn_iodbmp, 0xFF));
}

TEST_F(Init, HasTheBitmapAndTheConfigurationInPlaceBeforeAnyCall)
{
    std::string seen;
    on(memacct_init).does([&](const char *, u32, const char *const *, u32) {
        seen = lines(spell("bitmap ", hex(varn_iodbmp[1023])),
                     spell("uuid ", hex(varn.config.uuid)), spell("sync ", hex(varn.config.sync)),
                     spell("buckets ", dec(varn.config.num_buckets)),
                     spell("enabled ", dec(varn_enabled)));
        return 0u;
    });
    EXPECT_EQ(init(config().uuid(0x11).sync(2)), 1u);
    EXPECT_EQ(seen, lines("bitmap 0xffffffff", "uuid 0x11", "sync 0x2000002", "buckets 16384",
                          "enabled 0"));
}

TEST_F(Init, IsSwitchedOnOnlyAfterTheLastTable)
{
    std::string seen;
    on(ht_init).does([&](ht_t *table, u32 flags, u32 link, u32 buckets, double growth,
                         ht_hash_fn hash, ht_get_key_fn get_key, ht_keys_equal_fn keys_equal) {
        seen += dec(varn_enabled);
        return on(ht_init).by_default(table, flags, link, buckets, growth, hash, get_key,
                                      keys_equal);
    });
    EXPECT_EQ(init(config().sync(every_table)), 1u);
    EXPECT_EQ(seen, "000000");
    EXPECT_EQ(varn_enabled, 1u);
}

TEST_F(Init, DoesNotMindAFailedRegistrationOfTheMemoryTypes)
{
    on(memacct_init).fails();
    EXPECT_EQ(init(config()), 1u);
    EXPECT_EQ(varn_enabled, 1u);
    EXPECT_EQ(history_text(), "");
}

TEST_F(Init, LeavesTheClientsSwitchAndTheKeptHalfOfSyncAlone)
{
    varn_error_cb = 5;
    varn_do_sync = 0x123;
    EXPECT_EQ(init(config().sync(bits(1))), 1u);
    EXPECT_EQ(varn_error_cb, 5u);
    EXPECT_EQ(varn_do_sync, 0x123u);
}

TEST_F(Init, OfNullChangesNothing)
{
    given(port(7));
    start(config().sync(bits(1)).uuid(0x11));
    varn_find_entry_by_iod(7);
    varn_iodbmp[3] = 0x12345678;
    forget_all();
    record_everything();
    varn_global_t before;
    std::memcpy(static_cast<void *>(&before), &varn, sizeof varn);

    EXPECT_EQ(varn_init(nullptr), 0u);

    EXPECT_EQ(std::memcmp(&before, &varn, sizeof varn), 0);
    EXPECT_EQ(varn_enabled, 1u);
    EXPECT_EQ(varn_iodbmp[3], 0x12345678u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(heard(), "");
}

TEST_F(Init, OfNullBeforeTheFirstStartLeavesAllZero)
{
    EXPECT_EQ(varn_init(nullptr), 0u);
    EXPECT_TRUE(is_all(&varn, sizeof varn, 0));
    EXPECT_TRUE(is_all(varn_iodbmp, sizeof varn_iodbmp, 0));
    EXPECT_EQ(varn_enabled, 0u);
}

TEST_F(Init, AgainDeliberatelyRebuildsTheTablesAndFreesNothing)
{
    given(port(7));
    start(config().sync(bits(1, 2, 3)));
    ASSERT_NE(varn_find_entry_by_iod(7), nullptr);
    forget_all();
    record_everything();

    EXPECT_EQ(init(config().sync(bits(1))), 1u);

    EXPECT_EQ(calls(), journal_of_init(bits(1), 16384));
    EXPECT_EQ(entry(7), nullptr);
    EXPECT_EQ(live_blocks().size(), 1u);
    EXPECT_EQ(released().size(), 0u);
    EXPECT_EQ(varn.if_allocs, 0u);
    ASSERT_NE(varn_find_entry_by_iod(7), nullptr) << "made anew";
    EXPECT_EQ(live_blocks().size(), 2u);
}

// ---- tables that cannot be made ----

std::string report_of(const table_row &row)
{
    return lines(spell("error_cb(0x6, \"%s:%d: %s\\n\", ", row.reporter, ", line, \"", row.message,
                       "\\n\")"),
                 spell("history(level 2, code 122, \"[77]: ", row.message, "\\n\")"));
}

// The journal of a varn_init for which one table cannot be made.
std::string journal_of_failing_init(const table_row &failing)
{
    std::string journal = account;
    for (const table_row &row : tables_made) {
        if (&row != &failing) {
            journal = lines(journal, made(row, 64));
            continue;
        }
        journal = lines(journal, made(row, 64, "0"), report_of(row),
                        spell("ht_cleanup(", row.name, ") = 1"));
        if (row.is_needed)
            break;
    }
    return journal;
}

TEST_F(FailingInit, ReportsAndCleansUpTheOneTableThatCouldNotBeMade)
{
    for (const table_row &row : tables_made) {
        SCOPED_TRACE(row.name);
        on(ht_init).of(row.name).fails_once();
        record(tables);
        record(allocations);
        record(messages);
        varn_error_cb = 1;
        EXPECT_EQ(init(config().sync(every_table).num_buckets(64).error_cb(6)),
                  row.is_needed ? 0u : 1u);
        EXPECT_EQ(calls(), journal_of_failing_init(row));
        EXPECT_EQ(varn_enabled, row.is_needed ? 0u : 1u);
        EXPECT_EQ(std::string(varn_print_str), spell(row.message, "\n"));
    }
}

TEST_F(FailingInit, DeliberatelyLeavesTheTablesBuiltBefore)
{
    for (std::size_t failing = 0; failing < 4; ++failing) {
        SCOPED_TRACE(tables_made[failing].name);
        on(ht_init).of(tables_made[failing].name).fails_once();
        EXPECT_EQ(init(config().sync(every_table)), 0u);
        for (std::size_t at = 0; at < 6; ++at)
            EXPECT_EQ(is_initialised(&tables_made[at].table), at < failing) << tables_made[at].name;
    }
}

TEST_F(FailingInit, SwitchesTheCacheOffAlsoWhenItWasRunning)
{
    for (std::size_t failing = 0; failing < 4; ++failing) {
        SCOPED_TRACE(tables_made[failing].name);
        start(config());
        EXPECT_EQ(varn_enabled, 1u);
        on(ht_init).of(tables_made[failing].name).fails_once();
        EXPECT_EQ(init(config().sync(every_table)), 0u);
        EXPECT_EQ(varn_enabled, 0u);
    }
}

TEST_F(FailingInit, SwitchesTheCacheOffAsItsLastStep)
{
    start(config());
    std::string seen;
    on(ht_init).of("Pi").fails();
    on(ht_cleanup).does([&](ht_t *table) {
        seen += dec(varn_enabled);
        return on(ht_cleanup).by_default(table);
    });
    EXPECT_EQ(init(config().sync(every_table)), 0u);
    on(ht_cleanup).as_usual();
    EXPECT_EQ(seen, "1");
    EXPECT_EQ(varn_enabled, 0u);
}

TEST_F(FailingInit, HasSetTheBitmapAndCopiedTheConfiguration)
{
    on(ht_init).of("If").fails();
    EXPECT_EQ(init(config().uuid(0x11).sync(2)), 0u);
    EXPECT_TRUE(is_all(varn_iodbmp, sizeof varn_iodbmp, 0xFF));
    EXPECT_EQ(varn.config.uuid, 0x11u);
    EXPECT_EQ(u64{varn.config.sync}, 0x02000002u);
}

// ---- the side tables on their own ----

// Called on its own: what the initialiser answers and does.
std::string alone(u32 (*table_init)(), u32 &result)
{
    record(tables);
    record(messages);
    forget();
    result = table_init();
    return calls();
}

struct side_table {
    u32 (*table_init)();
    const table_row &row;
};

void expect_side_table(const side_table &side)
{
    u32 result = 9;
    varn.config.num_buckets = 128;
    varn.config.sync = ~bits(side.row.bit);
    EXPECT_EQ(alone(side.table_init, result), "");
    EXPECT_EQ(result, 1u);

    varn.config.sync = bits(side.row.bit);
    EXPECT_EQ(alone(side.table_init, result), made(side.row, 128));
    EXPECT_EQ(result, 1u);

    on(ht_init).of(side.row.name).fails_once();
    EXPECT_EQ(alone(side.table_init, result),
              lines(made(side.row, 128, "0"),
                    spell("history(level 2, code 122, \"[77]: ", side.row.message, "\\n\")"),
                    spell("ht_cleanup(", side.row.name, ") = 1")));
    EXPECT_EQ(result, 0u);
}

TEST_F(VlanTableInit, TestsItsOwnBitOnlyAndReportsAFailure)
{
    start(config());
    varn_enabled = 0;
    expect_side_table({varn_vlan_table_init, tables_made[4]});
}

TEST_F(PcTableInit, TestsItsOwnBitOnlyAndReportsAFailure)
{
    start(config());
    varn_enabled = 0;
    expect_side_table({varn_pc_table_init, tables_made[5]});
}

} // namespace
