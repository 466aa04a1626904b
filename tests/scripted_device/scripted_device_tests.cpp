// SPDX-License-Identifier: Apache-2.0
//
// The scripted device's own tests: what the journal says, who answers, when it fails, and what the
// doubles of allocator, log and backtrace see.
#include "scripted_device.h"
#include "scripted_device_c.h"

#include <gtest/gtest.h>

using namespace scripted;
using u32 = std::uint32_t;

namespace
{

class device_test : public testing::Test
{
protected:
    device_test() { reset(); }
};

using Journal = device_test;
using World = device_test;
using Script = device_test;
using Allocator = device_test;
using Process = device_test;

TEST_F(Journal, TellsEachCallWithItsAnswerAndOutputs)
{
    given(port(7), port_channel(3).members({0x1a000007}), vlan(20));
    u32 number = 0;
    std::uint16_t bd = 0;
    std::uint8_t mac[6];
    aggsvc_pc_info_t info{};
    info.pc_ifindex = 0x16000003;

    ifsvc_is_linkup(7);
    ifsvc_get_iod_frm_ifindex(0x1a000007, &number);
    ifsvc_get_iod_frm_ifindex(0x1a000008, &number);
    ifsvc_get_if_src_mac_addr(7, mac);
    aggsvc_get_pc_info(&info);
    vlan_get_bd_and_primary_vlan({1, 20}, &bd, &number);
    vrfsvc_if_get_table_id(7, 1, "base");
    supvr_vinst_get();

    EXPECT_EQ(calls(),
              lines("ifsvc_is_linkup(7) = 1", "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7",
                    "ifsvc_get_iod_frm_ifindex(0x1a000008) = 0x40040004",
                    "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0007",
                    "aggsvc_get_pc_info(0x16000003) = 0 -> 0x1a000007",
                    "vlan_get_bd_and_primary_vlan(1/20) = 0 -> 520, 20",
                    "vrfsvc_if_get_table_id(7, 1, \"base\") = 0x10001", "supvr_vinst_get() = 1"));
    EXPECT_EQ(calls(), "");
}

TEST_F(Journal, TellsTheInProcessLibrariesOnlyWhenAsked)
{
    const auto act = [] {
        std::uint8_t type = 0;
        const bitset_t set = {{0, 4}};
        if_index_get_type(0x1a000007, &type);
        bitset_is_bit_set(&set, 34);
        thrsvc_get_thread_pid();
        memacct_free(memacct_alloc(544, 1, 8));
        syslog_backtrace("caller", 7);
        histlog_his_log_event_for_uuid_inst(1, 2, 1, 0, 7, "\x79\0\0\0a\n");
    };
    act();
    EXPECT_EQ(calls(), "");
    for (const family each : {types, bit_tests, threads, allocations, backtraces, messages})
        record(each);
    act();
    const u32 code = history().back().code; // its bytes stand in the order of the host
    EXPECT_EQ(calls(), lines("if_index_get_type(0x1a000007) = 0 -> 26", "bitset_is_bit_set(34) = 1",
                             "thrsvc_get_thread_pid() = 77", "memacct_alloc(544, 1, 8) = block",
                             "memacct_free(type 1)", "syslog_backtrace(\"caller\", 7)",
                             "history(level 1, code " + dec(code) + ", \"a\\n\")"));
}

TEST_F(Journal, PutsACallThatIsMadeWithinAnotherBehindIt)
{
    given(port(7));
    on(ifsvc_is_linkup).does([](u32 iod) { return ifsvc_is_protoup(iod) + 5; });
    EXPECT_EQ(ifsvc_is_linkup(7), 6u);
    EXPECT_EQ(calls(), lines("ifsvc_is_linkup(7) = 6", "ifsvc_is_protoup(7) = 1"));
}

TEST_F(Journal, DropsALineThatWasForgottenWhileItsCallRan)
{
    on(ifsvc_is_linkup).does([](u32) { return forget(), ifsvc_is_vlan(1); });
    ifsvc_is_linkup(7);
    EXPECT_EQ(calls(), "ifsvc_is_vlan(1) = 0");
}

TEST_F(World, AnswersWhatWasGivenAsItWasGiven)
{
    given(port(7).linkup(2).mtu(70000).name("mine").extension(0x11, 5).private_data(0x12, {1, 2}));
    char name[4];
    u32 size = 9;
    EXPECT_EQ(ifsvc_is_linkup(7), 2u);
    EXPECT_EQ(ifsvc_get_if_mtu(7), 70000u);
    EXPECT_EQ(ifsvc_get_extension(7, 0x11), 5u);
    EXPECT_EQ(ifsvc_is_extension_set(7, 0x12), 0u);
    EXPECT_STREQ(ifsvc_get_if_name(7), "mine");
    EXPECT_EQ(ifsvc_get_ifindex_name(0x1a000007, name, sizeof name), 0u);
    EXPECT_STREQ(name, "min");
    const auto *block =
        reinterpret_cast<const std::uint8_t *>(ifsvc_get_private_data(7, 0x12, &size));
    ASSERT_EQ(size, 2u);
    EXPECT_EQ(block[1], 2);
}

TEST_F(World, KnowsNothingThatWasNotGiven)
{
    char name[8] = "old";
    u32 out = 9;
    EXPECT_EQ(ifsvc_get_if_mtu(7), 0u);
    EXPECT_STREQ(ifsvc_get_if_name(7), "(unknown iod 7)");
    EXPECT_EQ(ifsvc_get_ifindex_name(7, name, sizeof name), unknown);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(idxsvc_lib_ifidx_to_di(7, &out), unknown);
    EXPECT_EQ(out, 9u);
    EXPECT_EQ(ifsvc_get_private_data(7, 1, &out), 0u);
    EXPECT_EQ(out, 0u);
}

TEST_F(World, FindsAnInterfaceByEachOfItsChangingIdentities)
{
    given(port(7), port(8));
    u32 out = 0;
    the(7).iod(9).pi(0x999).lif(none);
    EXPECT_EQ(ifsvc_get_iod_frm_ifindex(0x1a000007, &out), 0u);
    EXPECT_EQ(out, 9u);
    EXPECT_EQ(idxsvc_lib_si_to_ifidx(0x999, &out), 0u);
    EXPECT_EQ(out, 0x1a000007u);
    EXPECT_EQ(idxsvc_lib_si_to_ifidx(0x107, &out), unknown);
    EXPECT_EQ(lifsvc_query_ifindex_to_lif(0x1a000007, &out), unknown);
    gone(8);
    EXPECT_EQ(ifsvc_is_linkup(8), 0u);
}

TEST_F(World, GivesAnInterfaceOfEveryTypeItsTypeByteAndItsAnswer)
{
    given(port(1).of_type(24), port(2).of_type(7), port(3).of_type(5), port_channel(1), svi(4));
    std::uint8_t type = 0;
    EXPECT_EQ(if_index_get_type(0x18000001, &type), 0u);
    EXPECT_EQ(type, 24);
    EXPECT_EQ(ifsvc_is_gre_tunnel(1), 1u);
    EXPECT_EQ(ifsvc_is_cbus(2), 1u);
    EXPECT_EQ(ifsvc_is_mgmtether(3), 1u);
    EXPECT_EQ(ifsvc_is_super_802_3ad(16001), 1u);
    EXPECT_EQ(ifsvc_is_ifindex_svi(0x09000004), 1u);
    EXPECT_EQ(ifsvc_get_svi_iod_for_vlan(1, 4), 20004u);
}

TEST_F(World, TakesBackALentTextAtTheNextCall)
{
    given(port(7));
    const char *lent = ifsvc_get_if_name(7);
    EXPECT_STREQ(lent, "eth7");
    ifsvc_is_linkup(7);
    EXPECT_STREQ(lent, "????");
}

TEST_F(Script, OverrulesAllCallsOrThoseOfOneInterface)
{
    given(port(7), port(8));
    on(ifsvc_is_linkup).answers(4);
    on(ifsvc_is_linkup).of(7).answers(6);
    EXPECT_EQ(ifsvc_is_linkup(7), 6u);
    EXPECT_EQ(ifsvc_is_linkup(8), 4u);
    EXPECT_EQ(on(ifsvc_is_linkup).asked(), 2u);
    on(ifsvc_is_linkup).as_usual();
    EXPECT_EQ(ifsvc_is_linkup(7), 1u);
}

TEST_F(Script, WritesTheOutputsOfEveryKind)
{
    vlan_key_t key{};
    u32 number = 0;
    std::uint8_t mac[6] = {};
    char name[4];
    ifsvc_port_mode_t mode{};
    on(ifsvc_get_vlan_info).answers(1, vlan_key_t{2, 30}, 5);
    on(ifsvc_get_if_src_mac_addr).answers(0, mac_address{1, 2, 3, 4, 5, 6});
    on(ifsvc_get_ifindex_name).answers(0, "longer");
    on(ifsvc_get_ifindex_port_mode_list).of(0x1a000001).answers(0, 0x300);
    mode.if_index = 0x1a000001;

    ifsvc_get_vlan_info(7, &key, &number);
    ifsvc_get_if_src_mac_addr(7, mac);
    ifsvc_get_ifindex_name(7, name, sizeof name);
    ifsvc_get_ifindex_port_mode_list(&mode, 1);
    EXPECT_EQ(calls(), lines("ifsvc_get_vlan_info(7) = 1 -> 2/30, 5",
                             "ifsvc_get_if_src_mac_addr(7) = 0 -> 0102.0304.0506",
                             "ifsvc_get_ifindex_name(0x7, 4) = 0 -> \"lon\"",
                             "ifsvc_get_ifindex_port_mode_list(0x1a000001, 1) = 0 -> 0x300"));
}

// What `count` calls of a service say, in a row.
std::string answers_in_a_row(int count)
{
    std::string row;
    for (; count > 0; --count) {
        u32 out = 0;
        add_to_list(row, hex(idxsvc_lib_ifidx_to_di(0x1a000007, &out)));
    }
    return row;
}

TEST_F(Script, FailsByCount)
{
    given(port(7));
    on(idxsvc_lib_ifidx_to_di).fails_once(9);
    EXPECT_EQ(answers_in_a_row(3), "0x9, 0x0, 0x0");
    on(idxsvc_lib_ifidx_to_di).fails_call(2, 8);
    EXPECT_EQ(answers_in_a_row(3), "0x0, 0x8, 0x0");
    on(idxsvc_lib_ifidx_to_di).fails_after(1);
    EXPECT_EQ(answers_in_a_row(3), "0x0, 0x41, 0x41");
    on(idxsvc_lib_ifidx_to_di).fails_once(5).fails_once(6);
    EXPECT_EQ(answers_in_a_row(3), "0x5, 0x6, 0x41");
}

TEST_F(Script, FailingLeavesTheOutputsAsTheContractSays)
{
    given(port(7).private_data(1, {1}));
    u32 iod = 9, size = 9;
    char name[8] = "old";
    on(ifsvc_get_iod_frm_ifindex).fails();
    on(ifsvc_get_ifindex_name).fails();
    on(ifsvc_get_private_data).fails();
    EXPECT_EQ(ifsvc_get_iod_frm_ifindex(0x1a000007, &iod), 0x41u);
    EXPECT_EQ(iod, 9u);
    EXPECT_EQ(ifsvc_get_ifindex_name(0x1a000007, name, sizeof name), 0x41u);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(ifsvc_get_private_data(7, 1, &size), 0u);
    EXPECT_EQ(size, 0u);
}

TEST_F(Script, MayAskTheWorldAndChangeItsOwnRules)
{
    given(port(7));
    on(ifsvc_get_if_mtu).does([](u32 iod) {
        on(ifsvc_get_if_mtu).as_usual();
        return on(ifsvc_get_if_mtu).by_default(iod) + 1;
    });
    EXPECT_EQ(ifsvc_get_if_mtu(7), 1501u);
    EXPECT_EQ(ifsvc_get_if_mtu(7), 1500u);
}

TEST_F(Script, IsForgottenByReset)
{
    on(ifsvc_is_linkup).answers(3);
    record(types);
    reset();
    EXPECT_EQ(ifsvc_is_linkup(7), 0u);
    EXPECT_FALSE(is_recorded(types));
    EXPECT_EQ(on(ifsvc_is_linkup).asked(), 1u);
}

TEST_F(Allocator, FillsFreshBlocksAndKeepsWhatReleasedOnesHeld)
{
    auto *bytes = static_cast<std::uint8_t *>(memacct_alloc(544, 1, 16));
    EXPECT_EQ(bytes[0], 0xA5);
    EXPECT_EQ(bytes[15], 0xA5);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % 64, 0u);
    ASSERT_EQ(live_blocks().size(), 1u);
    std::memset(bytes, 0x4C, 16);
    memacct_free(bytes);
    EXPECT_TRUE(live_blocks().empty());
    ASSERT_EQ(released().size(), 1u);
    EXPECT_EQ(released()[0].size, 16u);
    EXPECT_TRUE(released()[0].is_all(0x4C));
    EXPECT_FALSE(released()[0].is_all(0x4D));
    check_released();
    EXPECT_TRUE(complaints().empty());
}

TEST_F(Allocator, ComplainsOfWhatIsReleasedTwiceOrIsNoBlock)
{
    int other = 0;
    void *block = memacct_alloc(544, 1, 16);
    memacct_free(nullptr);
    memacct_free(block);
    memacct_free(block);
    memacct_free(&other);
    EXPECT_EQ(complaints(), (std::vector<std::string>{"memacct_free: released twice",
                                                      "memacct_free: not a block"}));
}

#if !defined(__SANITIZE_ADDRESS__)
TEST_F(Allocator, ComplainsOfAWriteAfterTheRelease)
{
    auto *bytes = static_cast<volatile std::uint8_t *>(memacct_alloc(544, 2, 16));
    memacct_free(const_cast<std::uint8_t *>(bytes));
    bytes[3] = 1;
    check_released();
    EXPECT_EQ(complaints(),
              std::vector<std::string>{"a block of type 2 was written after its release"});
}
#endif

TEST_F(Allocator, FailsByCountAndByType)
{
    on(memacct_alloc).of(544, 2).fails_call(2);
    EXPECT_NE(memacct_alloc(544, 2, 8), nullptr);
    EXPECT_NE(memacct_alloc(544, 1, 8), nullptr);
    EXPECT_EQ(memacct_alloc(544, 2, 8), nullptr);
    EXPECT_NE(memacct_alloc(544, 2, 8), nullptr);
}

TEST_F(Allocator, KeepsTheAccountsThatWereOpened)
{
    const char *names[] = {"A", "B"};
    record(allocations);
    EXPECT_EQ(memacct_init("Varn", 544, names, 2), 0u);
    ASSERT_EQ(accounts().size(), 1u);
    EXPECT_EQ(accounts()[0].type_names, (std::vector<std::string>{"A", "B"}));
    EXPECT_EQ(calls(), "memacct_init(\"Varn\", 544, [\"A\", \"B\"], 2) = 0");
}

TEST_F(Process, KeepsHistoryRecordsAndBacktraces)
{
    struct {
        u32 code = 122;
        char text[8] = "abc";
    } record_122;
    histlog_his_log_event_for_uuid_inst(0x11, 0x730000, 2, 3, 8, &record_122);
    syslog_backtrace("caller", 7);
    ASSERT_EQ(history().size(), 1u);
    const history_record &kept = history()[0];
    EXPECT_EQ(kept.uuid, 0x11u);
    EXPECT_EQ(kept.event_id, 0x730000u);
    EXPECT_EQ(kept.level, 2u);
    EXPECT_EQ(kept.inst, 3u);
    EXPECT_EQ(kept.length, 8u);
    EXPECT_EQ(kept.code, 122u);
    EXPECT_EQ(kept.text, "abc");
    EXPECT_EQ(kept.bytes.size(), 8u);
    ASSERT_EQ(stack_traces().size(), 1u);
    EXPECT_EQ(stack_traces()[0].function, "caller");
    on(histlog_his_log_event_for_uuid_inst).fails();
    EXPECT_EQ(histlog_his_log_event_for_uuid_inst(0x11, 0x730000, 2, 3, 8, &record_122), 0x41u);
    EXPECT_EQ(history().size(), 1u);
}

TEST_F(Process, ShowsAClientInCWhatItAskedFor)
{
    scripted_given_port(7);
    scripted_set_linkup(7, 0);
    ifsvc_is_linkup(7);
    EXPECT_STREQ(scripted_calls(), "ifsvc_is_linkup(7) = 0");
    scripted_reset();
    EXPECT_EQ(by_iod(7), nullptr);
}

} // namespace
