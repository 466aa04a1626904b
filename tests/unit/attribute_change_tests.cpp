// SPDX-License-Identifier: Apache-2.0
//
// Notifications of a single attribute: switchport, L3 parameters, VLAN, the first extension; and
// the linkup dirty bit, which a client may set by hand.
#include "handler_ground.h"

namespace
{

const std::string asked_name_of_0 = "ifsvc_get_if_name(0) = \"(unknown iod 0)\"";

// ---- switchport ----

using UpdateSwitchport = handler_test;

const std::string switchport_lines =
    lines(asked_name_of_7, traced("switchport update for interface eth7 (iod 7)\n"));

TEST_F(UpdateSwitchport, WhileTheCacheIsOffReturnsZero)
{
    start_caching(bits(1, 15));
    watched(7);
    varn_enabled = 0;
    EXPECT_EQ(varn_update_switchport(7), 0u);
    expect_untouched();
}

TEST_F(UpdateSwitchport, WithoutEntryLogsAndReturnsZero)
{
    start_caching(bits(1, 15));
    EXPECT_EQ(varn_update_switchport(7), 0u);
    EXPECT_EQ(calls(), switchport_lines);
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(entry(7), nullptr);
}

// Cached or not: there is no test of its sync bit, and no counter of the handler's own.
TEST_F(UpdateSwitchport, AsksCleansAndCountsWhetherCachedOrNot)
{
    for (const u64 sync : {bits(1), bits(1, 15)})
        for (const u32 answer : {0u, 1u, 2u, 5u, 0xFFFFFFFEu}) {
            SCOPED_TRACE(answer);
            start_caching(sync);
            varn_if_entry_t &kept = *varn_if_create_entry_by_iod(7);
            kept.switchport = (answer & 1) == 0;
            kept.dirty = ~u64{0};
            watch(kept);
            the(7).switchport(answer);
            EXPECT_EQ(varn_update_switchport(7), 1u);
            EXPECT_EQ(calls(),
                      lines(switchport_lines, spell("ifsvc_is_switchport(7) = ", dec(answer))));
            EXPECT_EQ(changes(), (answer & 1) == 0 ? "switchport 1 -> 0, dirty -15"
                                                   : "switchport 0 -> 1, dirty -15");
            EXPECT_EQ(counters_moved(), "updates[13] +1");
        }
}

// ---- L3 parameters ----

class UpdateL3Param : public handler_test
{
protected:
    static u32 notified(const bitset_t *changed, u32 iod = 7)
    {
        message<varn_l3_param_update_t> update;
        return varn_update_l3_param(update.word(4, iod).get(), changed);
    }
    varn_if_entry_t &start_with(u64 sync)
    {
        start_caching(sync);
        varn_if_entry_t &kept = *varn_if_create_entry_by_iod(7);
        kept.p2p = 0;
        the(7).p2p(3).mtu(0x12328);
        return watch(kept);
    }
};

const std::string l3_param_lines =
    lines(asked_name_of_7, traced("Phy state update for interface eth7 (iod 7)\n"));
const std::string mtu_lines =
    lines("bitset_is_bit_set(12) = 1", traced("MTU change for interface iod 7\n"),
          "ifsvc_get_if_mtu(7) = 74536");
constexpr const char *asked_p2p = "ifsvc_is_native_p2p(7) = 3";
constexpr bitset_t bit_12{{0x1000, 0}};
constexpr bitset_t all_but_bit_12{{0xFFFFEFFF, 0xFFFFFFFF}};

TEST_F(UpdateL3Param, WhileTheCacheIsOffReturnsZero)
{
    start_with(bits(1, 13, 23));
    varn_enabled = 0;
    EXPECT_EQ(notified(&bit_12), 0u);
    expect_untouched();
}

TEST_F(UpdateL3Param, WithoutEntryCountsLogsAndReturnsZero)
{
    start_caching(bits(1, 13, 23));
    EXPECT_EQ(notified(&bit_12), 0u);
    EXPECT_EQ(calls(), l3_param_lines);
    EXPECT_EQ(counters_moved(), "l3_param_updates +1");
    EXPECT_EQ(entry(7), nullptr);
}

TEST_F(UpdateL3Param, WithoutBitsetUpdatesThePointToPointFlagOnly)
{
    for (const u64 sync : {bits(1), bits(1, 13, 23)}) {
        varn_if_entry_t &kept = start_with(sync);
        kept.dirty = ~u64{0};
        watch(kept);
        EXPECT_EQ(notified(nullptr), 1u);
        EXPECT_EQ(calls(), lines(l3_param_lines, asked_p2p));
        EXPECT_EQ(changes(), "p2p 0 -> 1, dirty -23");
        EXPECT_EQ(counters_moved(), "updates[27] +1, l3_param_updates +1");
    }
}

TEST_F(UpdateL3Param, WithBitTwelveClearUpdatesThePointToPointFlagOnly)
{
    start_with(bits(1, 13, 23));
    EXPECT_EQ(notified(&all_but_bit_12), 1u);
    EXPECT_EQ(calls(), lines(l3_param_lines, "bitset_is_bit_set(12) = 0", asked_p2p));
    EXPECT_EQ(changes(), "p2p 0 -> 1");
    EXPECT_EQ(counters_moved(), "updates[27] +1, l3_param_updates +1");
}

// The MTU's dirty bit and counter are left alone, and its sync bit is not looked at.
TEST_F(UpdateL3Param, WithBitTwelveSetStoresTheServicesMtuWhetherCachedOrNot)
{
    for (const u64 sync : {bits(1), bits(1, 13), bits(1, 13, 23)})
        for (const u64 dirt : {u64{0}, ~bits(23)}) {
            varn_if_entry_t &kept = start_with(sync);
            kept.dirty = dirt;
            kept.mtu = 1500;
            watch(kept);
            EXPECT_EQ(notified(&bit_12), 1u);
            EXPECT_EQ(calls(), lines(l3_param_lines, mtu_lines, asked_p2p));
            EXPECT_EQ(changes(), "p2p 0 -> 1, mtu 1500 -> 9000");
            EXPECT_EQ(counters_moved(), "updates[27] +1, l3_param_updates +1");
        }
}

TEST_F(UpdateL3Param, KeepsTheLowBitOfThePointToPointAnswer)
{
    varn_if_entry_t &kept = start_with(bits(1, 23));
    the(7).p2p(2);
    kept.p2p = 1;
    watch(kept);
    EXPECT_EQ(notified(nullptr), 1u);
    EXPECT_EQ(changes(), "p2p 1 -> 0");
}

// ---- the linkup dirty bit ----

class UpdateIsLinkupDirtyBit : public handler_test
{
protected:
    static std::string updated(unsigned was, unsigned is, int set, const std::string &who)
    {
        return traced(spell("Updated the dirty bit from ", dec(was), " to ", dec(is), ", set ",
                            std::to_string(set), " for interface index ", who, "\n"));
    }
};

constexpr const char *function = "varn_update_is_linkup_dirty_bit";

TEST_F(UpdateIsLinkupDirtyBit, WhileTheCacheIsOffReturnsMinusOne)
{
    start_caching(bits(1, 17));
    watched(7);
    varn_enabled = 0;
    EXPECT_EQ(varn_update_is_linkup_dirty_bit(7, 0, 1), -1);
    EXPECT_EQ(varn_update_is_linkup_dirty_bit(0, index_7, 1), -1);
    expect_untouched();
}

TEST_F(UpdateIsLinkupDirtyBit, WithBothIdentifiersReturnsMinusOneWithoutLogging)
{
    start_caching(bits(1, 17));
    watched(7);
    EXPECT_EQ(varn_update_is_linkup_dirty_bit(7, index_7, 1), -1);
    EXPECT_EQ(varn_update_is_linkup_dirty_bit(-1, 1, 1), -1);
    expect_untouched();
}

struct dirty_row {
    unsigned was;
    int set;
    unsigned is;
};
constexpr dirty_row dirty_rows[] = {{0, 0, 0}, {0, 1, 1}, {1, 0, 0},  {1, 1, 1}, {0, 3, 1},
                                    {1, 2, 0}, {0, 2, 0}, {1, -1, 1}, {0, -1, 1}};

TEST_F(UpdateIsLinkupDirtyBit, ByIodTakesTheLowBit)
{
    start_caching(bits(1));
    varn_if_entry_t &kept = watched(7);
    for (const u64 others : {u64{0}, ~bits(17)})
        for (const dirty_row &row : dirty_rows) {
            SCOPED_TRACE(row.set);
            kept.dirty = others | u64{row.was} << 17;
            watch(kept);
            EXPECT_EQ(varn_update_is_linkup_dirty_bit(7, 0, row.set), 0);
            EXPECT_EQ(calls(), lines(asked_name_of_7,
                                     updated(row.was, row.is, row.set, "0x0, eth7, (iod 7)")));
            EXPECT_EQ(dirty(&kept), others | u64{row.is} << 17);
            kept.dirty = others | u64{row.was} << 17;
            EXPECT_EQ(changes(), "") << "besides the one bit";
            EXPECT_EQ(counters_moved(), "");
        }
}

// The name and the iod of the line are those of the arguments, and there was no iod.
TEST_F(UpdateIsLinkupDirtyBit, ByIfIndexDeliberatelyNamesIodZero)
{
    start_caching(bits(1, 17));
    watched(7);
    EXPECT_EQ(varn_update_is_linkup_dirty_bit(0, index_7, 3), 0);
    EXPECT_EQ(calls(),
              lines(asked_name_of_0, updated(0, 1, 3, "0x1a000007, (unknown iod 0), (iod 0)")));
    EXPECT_EQ(changes(), "dirty +17");
}

TEST_F(UpdateIsLinkupDirtyBit, ByIfIndexFindsAnEntryThatIsFiledByIfIndexAlone)
{
    start_caching(bits(17));
    varn_if_create_entry_by_if(index_7, 7, none, none);
    watch(*entry_of(index_7));
    EXPECT_EQ(varn_update_is_linkup_dirty_bit(0, index_7, 1), 0);
    EXPECT_EQ(changes(), "dirty +17");
}

TEST_F(UpdateIsLinkupDirtyBit, WithoutEntryReportsItAndReturnsMinusOne)
{
    start_caching(bits(1, 17));
    EXPECT_EQ(varn_update_is_linkup_dirty_bit(7, 0, 1), -1);
    EXPECT_EQ(calls(), lines(asked_name_of_7,
                             reported(function, " Entry doesn't exist for interface index 0x0, "
                                                "eth7, (iod 7)\n")));
    EXPECT_STREQ(varn_print_str, " Entry doesn't exist for interface index 0x0, eth7, (iod 7)\n");
    EXPECT_EQ(history_text(),
              "[77]:  Entry doesn't exist for interface index 0x0, eth7, (iod 7)\n");

    EXPECT_EQ(varn_update_is_linkup_dirty_bit(0, index_7, 1), -1);
    EXPECT_EQ(calls(),
              lines(asked_name_of_0, reported(function, " Entry doesn't exist for interface index "
                                                        "0x1a000007, (unknown iod 0), (iod 0)\n")));
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(entry(7), nullptr);
}

TEST_F(UpdateIsLinkupDirtyBit, OfNeitherIdentifierFindsNoEntry)
{
    start_caching(bits(1, 17));
    watched(7);
    EXPECT_EQ(varn_update_is_linkup_dirty_bit(0, 0, 1), -1);
    EXPECT_EQ(calls(), lines(asked_name_of_0,
                             reported(function, " Entry doesn't exist for interface index 0x0, "
                                                "(unknown iod 0), (iod 0)\n")));
    EXPECT_EQ(changes(), "");
}

TEST_F(UpdateIsLinkupDirtyBit, OfANegativeIodFindsNoEntry)
{
    start_caching(bits(1, 17));
    EXPECT_EQ(varn_update_is_linkup_dirty_bit(-1, 0, 1), -1);
    EXPECT_EQ(history_text(), "[77]:  Entry doesn't exist for interface index 0x0, (unknown iod "
                              "4294967295), (iod -1)\n");
}

// ---- VLAN ----

class UpdateVlan : public handler_test
{
protected:
    varn_if_entry_t &start_with(u64 sync)
    {
        start_caching(sync);
        varn_if_entry_t &kept = *varn_if_create_entry_by_iod(7);
        kept.vlan = 5;
        kept.port_mode = 6;
        return watch(kept);
    }
    static std::string succeeded(const std::string &vlan_and_mode)
    {
        return lines(asked_name_of_7, traced(spell("vlan update for interface eth7 (iod 7) "
                                                   "Succeeded, ",
                                                   vlan_and_mode, "\n")));
    }
};

const std::string vlan_lines =
    lines(asked_name_of_7, traced("vlan update for interface eth7 (iod 7)\n"));

TEST_F(UpdateVlan, WhileTheCacheIsOffReturnsZero)
{
    start_with(bits(1, 10));
    varn_enabled = 0;
    EXPECT_EQ(varn_update_vlan(7), 0u);
    expect_untouched();
}

// Its name, for the log line, is all that is asked for.
TEST_F(UpdateVlan, WithoutEntryAsksForNoVlanAndReturnsZero)
{
    start_caching(bits(1, 10));
    EXPECT_EQ(varn_update_vlan(7), 0u);
    EXPECT_EQ(calls(), vlan_lines);
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(entry(7), nullptr);
}

TEST_F(UpdateVlan, FetchesTheVlanAfreshThoughItWasClean)
{
    start_with(bits(1, 10));
    the(7).access(20, 0x2b);
    EXPECT_EQ(varn_update_vlan(7), 1u);
    EXPECT_EQ(calls(), lines(vlan_lines, "ifsvc_get_vlan_info(7) = 1 -> 1/20, 43",
                             "supvr_vinst_get() = 1", succeeded("vlan: 20, mode: 0x2b")));
    EXPECT_EQ(changes(), "vlan 5 -> 20, port_mode 6 -> 43");
    EXPECT_EQ(counters_moved(), "misses[19] +1");
}

// The cached query says yes to everything, so a failed fetch is a success with VLAN 0.
TEST_F(UpdateVlan, DeliberatelySucceedsWhenTheServiceFailed)
{
    start_with(bits(1, 10));
    EXPECT_EQ(varn_update_vlan(7), 1u);
    EXPECT_EQ(calls(), lines(vlan_lines, "ifsvc_get_vlan_info(7) = 0", "supvr_vinst_get() = 1",
                             succeeded("vlan: 0, mode: 0x6")));
    EXPECT_EQ(changes(), "vlan 5 -> 0");
}

TEST_F(UpdateVlan, WithTheVlanNotCachedAsksTheServiceAndLeavesTheVlanDirty)
{
    start_with(bits(1));
    the(7).access(0x10014, 0x2b);
    EXPECT_EQ(varn_update_vlan(7), 1u);
    EXPECT_EQ(calls(), lines(vlan_lines, "ifsvc_get_vlan_info(7) = 1 -> 1/65556, 43",
                             succeeded("vlan: 65556, mode: 0x2b")));
    EXPECT_EQ(changes(), "dirty +10");
    EXPECT_EQ(counters_moved(), "misses[19] +1");
}

TEST_F(UpdateVlan, OfAnyResultThatIsNotZeroSucceeds)
{
    start_with(bits(1));
    on(ifsvc_get_vlan_info).answers(0x80000000, vlan_key_t{1, 21}, 3);
    EXPECT_EQ(varn_update_vlan(7), 1u);
    EXPECT_EQ(calls(), lines(vlan_lines, "ifsvc_get_vlan_info(7) = 2147483648",
                             succeeded("vlan: 21, mode: 0x3")));
}

TEST_F(UpdateVlan, WithTheVlanNotCachedFailsWithTheService)
{
    start_with(bits(1));
    EXPECT_EQ(varn_update_vlan(7), 0u);
    EXPECT_EQ(calls(), lines(vlan_lines, "ifsvc_get_vlan_info(7) = 0", asked_name_of_7,
                             traced("vlan update for interface eth7 (iod 7) FAILED\n")));
    EXPECT_EQ(changes(), "dirty +10");
}

// ---- the first extension ----

using RemoveExtension0 = handler_test;

TEST_F(RemoveExtension0, WhileTheCacheIsOffReturnsZero)
{
    start_caching(bits(1, 5));
    watched(7).extn[0] = 9;
    varn_enabled = 0;
    EXPECT_EQ(varn_remove_extension0(7), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(entry(7)->extn[0], 9u);
}

TEST_F(RemoveExtension0, WithoutEntryLogsAndReturnsZero)
{
    start_caching(bits(1, 5));
    EXPECT_EQ(varn_remove_extension0(7), 0u);
    EXPECT_EQ(calls(), traced("Varn remove failed for Interface with iod 7\n"));
    EXPECT_EQ(counters_moved(), "");
}

// Silent, and the client's extn_free is not told.
TEST_F(RemoveExtension0, ClearsTheFirstValueAndNothingElse)
{
    start_client(config().sync(bits(1, 5)).extn_free());
    varn_if_entry_t &kept = watched(7);
    for (const u64 dirt : {u64{0}, ~u64{0}}) {
        for (u32 &value : kept.extn)
            value = 0xAB;
        kept.extn_size[0] = 4;
        kept.dirty = dirt;
        watch(kept);
        EXPECT_EQ(varn_remove_extension0(7), 1u);
        EXPECT_EQ(changes(), "extn0 0xab -> 0x0");
        EXPECT_EQ(varn_remove_extension0(7), 1u) << "a second time";
        expect_untouched();
    }
}

TEST_F(RemoveExtension0, DoesSoEvenWhenItIsNotCached)
{
    start_caching(bits(1));
    varn_if_entry_t &kept = watched(7);
    kept.extn[0] = 7;
    watch(kept);
    EXPECT_EQ(varn_remove_extension0(7), 1u);
    EXPECT_EQ(changes(), "extn0 0x7 -> 0x0");
}

} // namespace
