// SPDX-License-Identifier: Apache-2.0
//
// The two queries that share the VLAN, the port mode and their one dirty bit: each with every
// branch of its own way to fetch them.
#include "query_ground.h"

namespace
{

// A started cache of VLANs, in which port(7) has VLAN 100 and port mode 3, and is stale.
class vlan_query : public query_test
{
protected:
    void start_stale()
    {
        start_with(bits(1, 10));
        kept = &filled(7);
        kept->vlan = 100;
        kept->port_mode = 3;
        kept->is_vlan = 0;
        kept->dirty = bits(10, 15, 20, 29);
    }
    void expect_kept(u32 vlan_id, u32 port_mode) const
    {
        EXPECT_EQ(kept->vlan, vlan_id);
        EXPECT_EQ(kept->port_mode, port_mode);
        EXPECT_EQ(u64{kept->dirty}, bits(15, 20, 29));
        EXPECT_EQ(kept->is_vlan, 0);
        EXPECT_EQ(kept->switchport, 0);
        EXPECT_EQ(kept->aggsvc_if, 0u);
    }

    varn_if_entry_t *kept = nullptr;
};

// ---- The VLAN id ----

class GetIfVlanid : public vlan_query
{
protected:
    void expect_passed_on(const std::string &requests)
    {
        EXPECT_EQ(varn_ifsvc_get_if_vlanid(7), 0x0014u);
        EXPECT_EQ(calls(), requests);
        EXPECT_EQ(counters_moved(), "misses[19] +1");
        EXPECT_EQ(entries(), 0u);
    }
    void expect_fetched(u32 vlan_id, const std::string &requests)
    {
        EXPECT_EQ(varn_ifsvc_get_if_vlanid(7), vlan_id);
        EXPECT_EQ(calls(), requests);
        EXPECT_EQ(counters_moved(), "misses[19] +1");
    }
    static constexpr const char *passed = "ifsvc_get_if_vlanid(7) = 65556"; // 0x10014
};

TEST_F(GetIfVlanid, WithTheIodNotCachedGoesToItsServiceAndGives16Bits)
{
    start_with(everything & ~bits(1));
    the(7).vlanid(0x10014);
    expect_passed_on(passed);
}

TEST_F(GetIfVlanid, WithTheVlanNotCachedGoesToItsServiceAndGives16Bits)
{
    start_with(everything & ~bits(10));
    the(7).vlanid(0x10014);
    expect_passed_on(passed);
}

TEST_F(GetIfVlanid, OfAnIodWithoutAnEntryToBeHadGoesToItsServiceAndGives16Bits)
{
    start_with(everything);
    the(7).vlanid(0x10014);
    on(ifsvc_get_ifindex_frm_iod).of(7).fails(0x41);
    expect_passed_on(lines("ifsvc_get_ifindex_frm_iod(7) = 0x41", passed));
}

TEST_F(GetIfVlanid, OfAnIodWithoutEntryCreatesItAndAnswersFromIt)
{
    start_with(bits(1, 10));
    the(7).access(20, 2);
    EXPECT_EQ(varn_ifsvc_get_if_vlanid(7), 20u);
    EXPECT_EQ(calls(),
              lines(asked_if_index, asked_first_mtu, "ifsvc_is_vlan(7) = 0", "ifsvc_is_vlan(7) = 0",
                    "ifsvc_is_switchport(7) = 1", "ifsvc_get_vlan_info(7) = 1 -> 1/20, 2"));
    EXPECT_EQ(counters_moved(), "hits[19] +1, updates[19] +1, " + std::string(counted_creation));
    EXPECT_EQ(filled(7).port_mode, 2u);
}

TEST_F(GetIfVlanid, WhenCleanAsksNobody)
{
    start_stale();
    kept->dirty = 0;
    EXPECT_EQ(varn_ifsvc_get_if_vlanid(7), 100u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[19] +1");
}

TEST_F(GetIfVlanid, OfAStaleSubInterfaceAsksTheVlanAndLeavesThePortMode)
{
    start_stale();
    the(7).sub_interface(0x1a000001, 20).switchport(1);
    expect_fetched(20, lines("ifsvc_is_vlan(7) = 1", "ifsvc_get_if_vlanid(7) = 20"));
    expect_kept(20, 3);
}

TEST_F(GetIfVlanid, OfAStaleSubInterfaceTakesAnyNonZeroAnswerForAYes)
{
    start_stale();
    the(7).is_vlan(2).vlanid(0x10015);
    expect_fetched(0x15, lines("ifsvc_is_vlan(7) = 2", "ifsvc_get_if_vlanid(7) = 65557"));
    expect_kept(0x15, 3);
}

TEST_F(GetIfVlanid, OfAStaleSubInterfaceWithoutAVlanIsZeroAndClean)
{
    start_stale();
    the(7).is_vlan(1).vlanid(0);
    expect_fetched(0, lines("ifsvc_is_vlan(7) = 1", "ifsvc_get_if_vlanid(7) = 0"));
    expect_kept(0, 3);
}

TEST_F(GetIfVlanid, OfAStaleSwitchportAsksTheVlanInfoAndKeepsBothOfIt)
{
    start_stale();
    the(7).switchport(2).access_vlan(0x10016).port_mode(5);
    expect_fetched(0x16, lines("ifsvc_is_vlan(7) = 0", "ifsvc_is_switchport(7) = 2",
                               "ifsvc_get_vlan_info(7) = 1 -> 1/65558, 5"));
    expect_kept(0x16, 5);
}

TEST_F(GetIfVlanid, OfAStaleSwitchportWhoseInfoFailsKeepsTheOldOnesButIsClean)
{
    for (const u32 failure : {0u, 2u, 0x40040004u}) {
        SCOPED_TRACE(failure);
        start_stale();
        the(7).switchport(1);
        on(ifsvc_get_vlan_info).of(7).answers(failure, vlan_key_t{1, 77}, 9);
        expect_fetched(100, lines("ifsvc_is_vlan(7) = 0", "ifsvc_is_switchport(7) = 1",
                                  "ifsvc_get_vlan_info(7) = " + dec(failure)));
        expect_kept(100, 3);
        varn_if_remove_entry_by_iod(7);
        varn_cleanup();
    }
}

TEST_F(GetIfVlanid, OfAnythingElseKeepsTheOldOneButIsClean)
{
    start_stale();
    expect_fetched(100, lines("ifsvc_is_vlan(7) = 0", "ifsvc_is_switchport(7) = 0"));
    expect_kept(100, 3);
    EXPECT_EQ(varn_ifsvc_get_if_vlanid(7), 100u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[19] +1");
}

// ---- VLAN and port mode ----

class GetVlanInfo : public vlan_query
{
protected:
    GetVlanInfo() { on(supvr_vinst_get).answers(0xABCD); }

    u32 ask() { return varn_ifsvc_get_vlan_info(7, &info, &mode); }
    void expect_given(u32 vinst, u32 vlan_id, u32 port_mode) const
    {
        EXPECT_EQ(u32{info.vinst}, vinst);
        EXPECT_EQ(u32{info.vlan}, vlan_id);
        EXPECT_EQ(mode, port_mode);
    }
    // The service's own record and result are passed on, whatever they are.
    void expect_passed_on(const std::string &before)
    {
        on(ifsvc_get_vlan_info).of(7).answers(1, vlan_key_t{4, 0x10014}, 6);
        EXPECT_EQ(ask(), 1u);
        EXPECT_EQ(calls(), before + "ifsvc_get_vlan_info(7) = 1 -> 4/65556, 6");
        expect_given(4, 0x10014, 6);
        EXPECT_EQ(counters_moved(), "misses[19] +1");
        on(ifsvc_get_vlan_info).of(7).fails(0x12345);
        EXPECT_EQ(ask(), 0x12345u);
        EXPECT_EQ(calls(), before + "ifsvc_get_vlan_info(7) = 74565");
        expect_given(4, 0x10014, 6);
        EXPECT_EQ(counters_moved(), "misses[19] +1");
        EXPECT_EQ(entries(), 0u);
    }

    varn_vlan_info_t info = {0x1111, 0x22222222};
    u32 mode = 0x33333333;
};

TEST_F(GetVlanInfo, WithTheIodNotCachedGoesToItsService)
{
    start_with(everything & ~bits(1));
    expect_passed_on("");
}

TEST_F(GetVlanInfo, WithTheVlanNotCachedGoesToItsService)
{
    start_with(everything & ~bits(10));
    expect_passed_on("");
}

TEST_F(GetVlanInfo, OfAnIodWithoutAnEntryToBeHadGoesToItsService)
{
    start_with(everything);
    gone(7);
    expect_passed_on(lines(asked_unknown_iod, ""));
}

TEST_F(GetVlanInfo, OfAnIodWithoutEntryCreatesItAndAnswersFromIt)
{
    start_with(bits(1, 10));
    the(7).access(20, 2);
    EXPECT_EQ(ask(), 1u);
    EXPECT_EQ(calls(), lines(asked_if_index, asked_first_mtu, "ifsvc_is_vlan(7) = 0",
                             "ifsvc_is_vlan(7) = 0", "ifsvc_is_switchport(7) = 1",
                             "ifsvc_get_vlan_info(7) = 1 -> 1/20, 2", "supvr_vinst_get() = 43981"));
    expect_given(0xABCD, 20, 2);
    EXPECT_EQ(counters_moved(), "hits[19] +1, updates[19] +1, " + std::string(counted_creation));
}

TEST_F(GetVlanInfo, WhenCleanFillsTheWholeRecordAndAsksOnlyTheInstance)
{
    start_stale();
    kept->vlan = 0xFFFE;
    kept->port_mode = 0xFFFFFFF0;
    kept->dirty = 0;
    EXPECT_EQ(ask(), 1u);
    EXPECT_EQ(calls(), "supvr_vinst_get() = 43981");
    expect_given(0xABCD, 0xFFFE, 0xFFFFFFF0);
    EXPECT_EQ(counters_moved(), "hits[19] +1");
}

TEST_F(GetVlanInfo, WhenDirtyAsksAndKeepsButTakesTheInstanceFromTheSystemManager)
{
    start_stale();
    on(ifsvc_get_vlan_info).of(7).answers(1, vlan_key_t{4, 0x10014}, 6);
    EXPECT_EQ(ask(), 1u);
    EXPECT_EQ(calls(),
              lines("ifsvc_get_vlan_info(7) = 1 -> 4/65556, 6", "supvr_vinst_get() = 43981"));
    expect_given(0xABCD, 0x14, 6);
    expect_kept(0x14, 6);
    EXPECT_EQ(counters_moved(), "misses[19] +1");
}

TEST_F(GetVlanInfo, WhenDirtyAndTheServiceFailsGives1AndVlan0Deliberately)
{
    for (const u32 failure : {0u, 2u, 0x40040004u}) {
        SCOPED_TRACE(failure);
        start_stale();
        on(ifsvc_get_vlan_info).of(7).answers(failure, vlan_key_t{4, 77}, 9);
        EXPECT_EQ(ask(), 1u);
        EXPECT_EQ(calls(),
                  lines("ifsvc_get_vlan_info(7) = " + dec(failure), "supvr_vinst_get() = 43981"));
        expect_given(0xABCD, 0, 3);
        expect_kept(0, 3);
        EXPECT_EQ(counters_moved(), "misses[19] +1");
        varn_if_remove_entry_by_iod(7);
        varn_cleanup();
    }
}

TEST_F(GetVlanInfo, AfterAFailureIsAHitWithVlan0)
{
    start_stale();
    EXPECT_EQ(ask(), 1u);
    forget_all();
    EXPECT_EQ(ask(), 1u);
    EXPECT_EQ(calls(), "supvr_vinst_get() = 43981");
    expect_given(0xABCD, 0, 3);
    EXPECT_EQ(counters_moved(), "hits[19] +1");
}

// One bit for both queries: what one has fetched, the other has.
TEST_F(GetVlanInfo, AndTheVlanIdCleanEachOther)
{
    start_stale();
    the(7).access(20, 2);
    EXPECT_EQ(ask(), 1u);
    EXPECT_EQ(varn_ifsvc_get_if_vlanid(7), 20u);
    EXPECT_EQ(counters_moved(), "misses[19] +1, hits[19] +1");
    the(7).access(21, 4);
    kept->dirty = bits(10);
    EXPECT_EQ(varn_ifsvc_get_if_vlanid(7), 21u);
    EXPECT_EQ(ask(), 1u);
    expect_given(0xABCD, 21, 4);
    EXPECT_EQ(counters_moved(), "misses[19] +1, hits[19] +1");
}

} // namespace
