// SPDX-License-Identifier: Apache-2.0
//
// How a creation fails at each of its steps, and what it leaves behind: no entry, no block, nothing
// in any table.
#include "entry_tests.h"

#include <cctype>
#include <cerrno>
#include <unistd.h>

namespace
{

class FailingCreation : public entry_test
{
protected:
    void SetUp() override
    {
        given(port(7));
        start_with(config().sync(bits(1, 2, 3)).on_create());
    }

    static varn_if_entry_t *create(u32 iod = 0)
    {
        return varn_if_create_entry_by_if(0x1a000007, iod, none, none);
    }

    static std::string refusal(u32 iod)
    {
        return reported("varn_if_create_entry_by_if",
                        spell("Error: Should not create varn entry for if-index 0x1a000007, iod ",
                              std::to_string(static_cast<int>(iod)),
                              ", pi 0xffffffff, lif 0xffffffff\n"));
    }

    void TearDown() override
    {
        EXPECT_EQ(live_blocks().size(), 0u);
        EXPECT_EQ(records_in(&varn.if_table).size(), 0u);
        EXPECT_EQ(records_in(&varn.iod_table).size(), 0u);
        entry_test::TearDown();
    }
};

const std::string the_type = "if_index_get_type(0x1a000007) = 0 -> 26";
const std::string not_there = "ht_lookup(If, 0x1a000007) = null";
const std::string the_iod = "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7";
const std::string its_beginning =
    lines(the_type, not_there, the_iod,
          traced("If-create for if-index 0x1a000007, iod 7, pi 0xffffffff, lif 0xffffffff\n"));
const std::string up_to_the_mtu =
    lines(its_beginning, "memacct_alloc(544, 1, 136) = block", "ifsvc_get_if_mtu(7) = 1500");

TEST_F(FailingCreation, WhileTheCacheIsOffDoesNothing)
{
    varn_disable_cache();
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(create(7), nullptr);
    EXPECT_EQ(seen(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(FailingCreation, OfAnIfIndexWithoutATypeIsReportedWithTwoBlanks)
{
    on(if_index_get_type).fails(0x41);
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(seen(), lines("if_index_get_type(0x1a000007) = 0x41",
                            reported("varn_if_create_entry_by_if",
                                     " Invalid interface index 0x1a000007\n")));
    EXPECT_STREQ(varn_print_str, " Invalid interface index 0x1a000007\n");
    EXPECT_EQ(history().back().text, "[77]:  Invalid interface index 0x1a000007\n");
    EXPECT_EQ(history().back().level, 2u);
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(FailingCreation, WithoutAnIodIsReportedWithTheServicesCode)
{
    on(ifsvc_get_iod_frm_ifindex).fails(0x40040009);
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(seen(),
              lines(the_type, not_there, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x40040009",
                    reported("varn_if_create_entry_by_if",
                             "ifsvc_get_iod_frm_ifindex failed for if-index 0x1a000007, "
                             "err: 0x40040009\n")));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(FailingCreation, OfAForbiddenIodIsReported)
{
    varn_iodbmp[0] &= ~(1u << 7);
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(seen(), lines(the_type, not_there, the_iod, refusal(7)));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(FailingCreation, OfAForbiddenIodPrintsThePiAndTheLifItWasGiven)
{
    varn_iodbmp[0] &= ~(1u << 7);
    EXPECT_EQ(varn_if_create_entry_by_if(0x1a000007, 7, 0x55, 0x66), nullptr);
    EXPECT_STREQ(varn_print_str, "Error: Should not create varn entry for if-index 0x1a000007, "
                                 "iod 7, pi 0x55, lif 0x66\n");
    EXPECT_EQ(seen(),
              lines(the_type, not_there, reported("varn_if_create_entry_by_if", varn_print_str)));
}

TEST_F(FailingCreation, ReadsThePermissionOfTheVeryIod)
{
    for (const u32 iod : {1u, 31u, 32u, 33u, 63u, 64u, 16384u, 32766u, 32767u}) {
        SCOPED_TRACE("iod " + dec(iod));
        std::memset(varn_iodbmp, 0, sizeof varn_iodbmp);
        varn_iodbmp[iod / 32] = 1u << (iod % 32);
        EXPECT_NE(create(iod), nullptr);
        varn_if_remove_entry_by_if(0x1a000007);
        varn_iodbmp[iod / 32] = 0;
        EXPECT_EQ(create(iod), nullptr);
        std::memset(varn_iodbmp, 0xFF, sizeof varn_iodbmp);
        varn_iodbmp[iod / 32] = ~(1u << (iod % 32));
        EXPECT_EQ(create(iod), nullptr);
    }
}

TEST_F(FailingCreation, OfAnIodBeyondTheBitmapIsRefusedHoweverItArrives)
{
    for (const u32 iod : {32768u, 32769u, 65536u + 7, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE("iod " + dec(iod));
        forget_all();
        EXPECT_EQ(create(iod), nullptr);
        EXPECT_EQ(seen(), lines(the_type, not_there, refusal(iod)));
        on(ifsvc_get_iod_frm_ifindex).answers(0, iod);
        EXPECT_EQ(create(), nullptr);
        EXPECT_EQ(seen(), lines(the_type, not_there,
                                spell("ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> ", dec(iod)),
                                refusal(iod)));
        on(ifsvc_get_ifindex_frm_iod).answers(0, 0x1a000007);
        EXPECT_EQ(varn_if_create_entry_by_iod(iod), nullptr);
        EXPECT_EQ(varn_find_entry_by_iod(iod), nullptr);
        EXPECT_EQ(varn_if_create_entry_by_pi(0x107), nullptr);
        EXPECT_EQ(varn_if_create_entry_by_lif(0x2007), nullptr);
        EXPECT_EQ(counters_moved(), "");
    }
}

// ---- no memory ----

// The warning with the word `line` for the number, which is the library's own affair.
std::string without_its_line(const std::string &warning)
{
    const std::size_t from = warning.find('[') + 1, to = warning.find(']');
    const bool has_line = to != std::string::npos && to > from;
    for (std::size_t at = from; has_line && at < to; ++at)
        EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(warning[at]))) << warning;
    return has_line ? warning.substr(0, from) + "line" + warning.substr(to) : warning;
}

TEST_F(FailingCreation, WithoutMemoryWarnsOnStandardOutputAndTraces)
{
    on(memacct_alloc).of(544, 1).fails();
    varn_if_entry_t *made = entry(7);
    const std::string warning = captured_stdout([&] { made = create(); });
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(without_its_line(warning), "Warning! Malloc Failure in "
                                         "../routing-sw/libs/varn/varn[line] for size 136\n");
    EXPECT_EQ(seen(), lines(its_beginning, "memacct_alloc(544, 1, 136) = null",
                            traced("varn_if_create_entry_by_if: Malloc failure\n"),
                            traced("If-create for if-index 0x1a000007, iod 7 failed\n")));
    EXPECT_EQ(counters_moved(), "create_fail +1");
}

TEST_F(FailingCreation, WithoutMemorySetsErrnoBetweenItsTracesAndAfterTheWarning)
{
    on(memacct_alloc).fails();
    std::vector<int> errors;
    std::vector<bool> was_warned;
    on(histlog_his_log_event_for_uuid_inst).does([&](u32, u32, u32, u32, u32, const void *) {
        errors.push_back(errno);
        std::fflush(stdout);
        was_warned.push_back(lseek(STDOUT_FILENO, 0, SEEK_CUR) > 0);
        errno = errors.back();
        return 0u;
    });
    errno = 0;
    int left = 0;
    captured_stdout([&] { create(), left = errno; });
    EXPECT_EQ(errors, (std::vector<int>{0, 0, ENOMEM}));
    EXPECT_EQ(was_warned, (std::vector<bool>{false, true, true}));
    EXPECT_EQ(left, ENOMEM);
}

// ---- refused by a table ----

TEST_F(FailingCreation, RefusedByTheIfTableFreesTheRecordWithItsOwnPoison)
{
    on(ht_insert).of("If").fails();
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(seen(), lines(up_to_the_mtu, "ht_insert(If, 0x1a000007) = 0",
                            reported("varn_if_insert_entry",
                                     "Failed to add varn entry for if-index 0x1a000007\n"),
                            "memacct_free(type 1)",
                            reported("varn_if_create_entry_by_if",
                                     "If-create for if-index 0x1a000007, iod 7 failed\n")));
    ASSERT_EQ(released().size(), 1u);
    EXPECT_TRUE(released().back().is_all(0x4D));
    EXPECT_EQ(counters_moved(), "if_allocs +1, if_frees +1, if_index.insert_fail +1");
}

TEST_F(FailingCreation, RefusedByTheIodTableDestroysTheEntryWithIodZero)
{
    on(ht_insert).of("Iod").fails();
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(
        seen(),
        lines(
            up_to_the_mtu, "ht_insert(If, 0x1a000007) = 1", "ht_lookup(Iod, 7) = null",
            "ht_insert(Iod, 7) = 0",
            reported("varn_iod_insert_entry", "Failed to add iod entry for if 0x1a000007, iod 7\n"),
            reported("varn_if_create_entry_by_if",
                     "Iod-create for if-index 0x1a000007, iod 7 failed\n"),
            traced("If-destroy for if-index 0x1a000007, iod 0, pi 0xffffffff, lif 0xffffffff\n"),
            "ht_lookup(If, 0x1a000007) = found", "ht_remove_entry(If, 0x1a000007) = 1",
            "memacct_free(type 1)"));
    EXPECT_TRUE(released().back().is_all(0x4C));
    EXPECT_EQ(counters_moved(), "if_allocs +1, if_frees +1, if_destroys +1, if_index.inserts +1, "
                                "if_index.removes +1, iod_index.insert_fail +1");
}

TEST_F(FailingCreation, OfWhichTheRefreshFailsDestroysTheEntry)
{
    on(if_index_get_type).fails_call(2, 0x41);
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(
        seen(),
        lines(up_to_the_mtu, "ht_insert(If, 0x1a000007) = 1", "ht_lookup(Iod, 7) = null",
              "ht_insert(Iod, 7) = 1", "on_create(7)",
              traced("Varn-update for if-index 0x1a000007, iod 7\n"),
              "if_index_get_type(0x1a000007) = 0x41",
              reported("varn_if_update_entry", "Invalid interface index 0x1a000007\n"),
              traced("If-destroy for if-index 0x1a000007, iod 7, pi 0xffffffff, lif 0xffffffff\n"),
              "ht_remove_entry(Iod, 7) = 1", "ht_lookup(If, 0x1a000007) = found",
              "ht_remove_entry(If, 0x1a000007) = 1", "memacct_free(type 1)"));
    EXPECT_TRUE(released().back().is_all(0x4C));
    EXPECT_EQ(counters_moved(),
              "if_allocs +1, if_frees +1, if_destroys +1, if_index.inserts +1, if_index.removes "
              "+1, iod_index.inserts +1, iod_index.removes +1");
}

TEST_F(FailingCreation, RefusedByTheIodTableKeepsNoOldEntryOfThatIod)
{
    given(port(8));
    created(7);
    on(ht_insert).of("Iod").fails();
    EXPECT_EQ(varn_if_create_entry_by_if(0x1a000008, 7, none, none), nullptr);
    EXPECT_EQ(released().size(), 2u);
}

using CreationInACallback = entry_test;

TEST_F(CreationInACallback, ThatSwitchesTheCacheOffLeavesTheEntryFiledButReturnsNone)
{
    given(port(7));
    start_with(config().sync(bits(1, 2, 3)).on_create([](u32) { varn_disable_cache(); }));
    EXPECT_EQ(varn_if_create_entry_by_if(0x1a000007, 7, none, none), nullptr);
    ASSERT_NE(entry(7), nullptr);
    EXPECT_EQ(entry(7)->ref_count, 2);
    EXPECT_EQ(counters_moved(), "if_allocs +1, if_index.inserts +1, iod_index.inserts +1");
}

} // namespace
