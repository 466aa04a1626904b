// SPDX-License-Identifier: Apache-2.0
//
// The attributes that a refresh fills by a rule of their own (member of a port-channel, MAC, port
// mode, VLAN), each for every type that changes it, and the bits that no refresh clears.
#include "entry_tests.h"

namespace
{

class deviant_refresh : public entry_test
{
protected:
    void SetUp() override
    {
        given(port(7), port_channel(3).members({0x1a000007}));
        start_caching(bits(1, 2));
        refreshed = created(7);
        for (const family each : {messages, types, tables})
            record(each, false);
    }

    void refresh_entry(varn_if_entry_t *which, u64 dirty)
    {
        which->dirty = dirty;
        EXPECT_EQ(varn_if_update_entry(which, 0), 1u);
    }
    void refresh(u64 dirty) { refresh_entry(refreshed, dirty); }

    varn_if_entry_t *refreshed = nullptr;
};

// ---- the first operational member ----

using RefreshOfTheMember = deviant_refresh;

TEST_F(RefreshOfTheMember, OfAPortChannelAsksWithItsIfIndex)
{
    varn_if_entry_t *channel = created(16003);
    refresh_entry(channel, bits(27));
    EXPECT_EQ(seen(), "aggsvc_get_pc_info(0x16000003) = 0 -> 0x1a000007");
    EXPECT_EQ(channel->aggsvc_if, 0x1a000007u);
    EXPECT_EQ(dirty_of(channel), 0u);
    EXPECT_EQ(counters_moved(), "updates[22] +1");
}

TEST_F(RefreshOfTheMember, ThatIsZeroKeepsTheOldOneAndTheBit)
{
    varn_if_entry_t *channel = created(16003);
    channel->aggsvc_if = 0x1a000009;
    on(aggsvc_get_pc_info).answers(0, 0);
    refresh_entry(channel, bits(27));
    EXPECT_EQ(channel->aggsvc_if, 0x1a000009u);
    EXPECT_EQ(dirty_of(channel), bits(27));
    EXPECT_EQ(counters_moved(), "updates[22] +1");
}

TEST_F(RefreshOfTheMember, ThatFailsKeepsTheOldOneAndTheBit)
{
    varn_if_entry_t *channel = created(16003);
    channel->aggsvc_if = 0x1a000009;
    on(aggsvc_get_pc_info).does([](aggsvc_pc_info_t *info) {
        info->first_operational_mbr = 0x1a000007;
        return 0x41u;
    });
    refresh_entry(channel, bits(27));
    EXPECT_EQ(seen(), "aggsvc_get_pc_info(0x16000003) = 0x41");
    EXPECT_EQ(channel->aggsvc_if, 0x1a000009u);
    EXPECT_EQ(dirty_of(channel), bits(27));
    EXPECT_EQ(counters_moved(), "updates[22] +1");
}

TEST_F(RefreshOfTheMember, ThatTheServiceLeftUnwrittenIsZero)
{
    varn_if_entry_t *channel = created(16003);
    on(aggsvc_get_pc_info).does([](aggsvc_pc_info_t *) { return 0u; });
    refresh_entry(channel, bits(27));
    EXPECT_EQ(channel->aggsvc_if, 0u);
    EXPECT_EQ(dirty_of(channel), bits(27));
}

TEST_F(RefreshOfTheMember, OfAnyOtherTypeClearsTheBitWithoutAQuestionOrACount)
{
    for (const u32 type : {0u, 1u, 5u, 7u, 9u, 24u, 26u, 255u}) {
        SCOPED_TRACE("type " + dec(type));
        on(if_index_get_type).answers(0, type);
        refreshed->aggsvc_if = 0x1a000009;
        refresh(bits(27));
        EXPECT_EQ(seen(), "");
        EXPECT_EQ(refreshed->aggsvc_if, 0x1a000009u);
        EXPECT_EQ(dirty_of(refreshed), 0u);
        EXPECT_EQ(counters_moved(), "");
    }
}

// ---- the MAC ----

using RefreshOfTheMac = deviant_refresh;

TEST_F(RefreshOfTheMac, CopiesTheSixBytes)
{
    the(7).mac({2, 4, 6, 8, 10, 12});
    refresh(bits(9));
    EXPECT_EQ(seen(), "ifsvc_get_if_src_mac_addr(7) = 0 -> 0204.0608.0a0c");
    EXPECT_EQ(mac_text(refreshed->mac), "0204.0608.0a0c");
    EXPECT_EQ(dirty_of(refreshed), 0u);
    EXPECT_EQ(counters_moved(), "updates[4] +1");
}

TEST_F(RefreshOfTheMac, KnowsAMacByAnyOfItsBytes)
{
    for (std::size_t byte = 0; byte < 6; ++byte) {
        SCOPED_TRACE("byte " + dec(byte));
        mac_address mac{};
        mac[byte] = 0x80;
        the(7).mac(mac);
        refresh(bits(9));
        EXPECT_EQ(std::memcmp(refreshed->mac, mac.data(), 6), 0);
        EXPECT_EQ(dirty_of(refreshed), 0u);
    }
}

TEST_F(RefreshOfTheMac, ThatIsAllZeroIsStoredAndKeepsTheBit)
{
    refresh(bits(9));
    the(7).mac({});
    refresh(bits(9));
    EXPECT_EQ(mac_text(refreshed->mac), "0000.0000.0000");
    EXPECT_EQ(dirty_of(refreshed), bits(9));
}

TEST_F(RefreshOfTheMac, ThatFailsIsAsAllZero)
{
    refresh(bits(9));
    forget_all();
    on(ifsvc_get_if_src_mac_addr).fails();
    refresh(bits(9));
    EXPECT_EQ(mac_text(refreshed->mac), "0000.0000.0000");
    EXPECT_EQ(dirty_of(refreshed), bits(9));
    EXPECT_EQ(counters_moved(), "updates[4] +1");
}

using SourceMac = entry_test;

TEST_F(SourceMac, IsGivenInOneBufferThatTheNextCallOverwrites)
{
    given(port(7), port(8));
    const std::uint8_t *first = varn_get_if_src_mac_addr(7);
    EXPECT_EQ(mac_text(first), "0200.0000.0007");
    EXPECT_EQ(varn_get_if_src_mac_addr(8), first);
    EXPECT_EQ(mac_text(first), "0200.0000.0008");
    EXPECT_EQ(calls(), lines("ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0007",
                             "ifsvc_get_if_src_mac_addr(8) = 0 -> 0200.0000.0008"));
}

TEST_F(SourceMac, IsAllZeroWhenTheServiceLeavesTheBufferUntouched)
{
    given(port(7));
    varn_get_if_src_mac_addr(7);
    on(ifsvc_get_if_src_mac_addr).does([](u32, std::uint8_t *mac) {
        EXPECT_EQ(mac_text(mac), "0000.0000.0000");
        return 0u;
    });
    EXPECT_EQ(mac_text(varn_get_if_src_mac_addr(7)), "0000.0000.0000");
    on(ifsvc_get_if_src_mac_addr).fails();
    EXPECT_EQ(mac_text(varn_get_if_src_mac_addr(7)), "0000.0000.0000");
}

TEST_F(SourceMac, IsAskedForAlsoWhileTheCacheIsOff)
{
    given(port(7));
    EXPECT_EQ(varn_enabled, 0u);
    EXPECT_EQ(mac_text(varn_get_if_src_mac_addr(7)), "0200.0000.0007");
}

// ---- the port mode ----

using RefreshOfThePortMode = deviant_refresh;

TEST_F(RefreshOfThePortMode, OfType26SetsTheFlagWhateverTheAnswer)
{
    const auto code_is = [](u32 code) {
        return [code](ifsvc_port_mode_t *list, u32) { return list->port_mode = 0x300, code; };
    };
    for (const u32 code : {0u, 0x41u}) {
        SCOPED_TRACE("code " + hex(code));
        refreshed->ips = 0;
        refreshed->port_mode = 5;
        on(ifsvc_get_ifindex_port_mode_list).does(code_is(code));
        refresh(bits(21));
        EXPECT_EQ(refreshed->ips, 1u);
        EXPECT_EQ(refreshed->port_mode, 5u) << "the answer is not stored";
        EXPECT_EQ(dirty_of(refreshed), 0u);
        EXPECT_EQ(counters_moved(), "updates[20] +1");
    }
    EXPECT_EQ(seen(), lines("ifsvc_get_ifindex_port_mode_list(0x1a000007, 1) = 0 -> 0x300",
                            "ifsvc_get_ifindex_port_mode_list(0x1a000007, 1) = 0x41"));
}

TEST_F(RefreshOfThePortMode, AsksWithARecordThatIsZeroBehindTheIfIndex)
{
    bool was_asked = false;
    on(ifsvc_get_ifindex_port_mode_list).does([&](ifsvc_port_mode_t *list, u32) {
        ifsvc_port_mode_t wanted{};
        wanted.if_index = 0x1a000007;
        EXPECT_EQ(std::memcmp(list, &wanted, 536), 0);
        was_asked = true;
        return 0u;
    });
    refresh(bits(21));
    EXPECT_TRUE(was_asked);
}

TEST_F(RefreshOfThePortMode, OfAnyOtherTypeDoesNothingAndDeliberatelyKeepsTheBit)
{
    for (const u32 type : {0u, 1u, 5u, 7u, 9u, 22u, 24u, 25u, 27u, 255u}) {
        SCOPED_TRACE("type " + dec(type));
        on(if_index_get_type).answers(0, type);
        refresh(bits(21));
        EXPECT_EQ(seen(), "");
        EXPECT_EQ(refreshed->ips, 0u);
        EXPECT_EQ(dirty_of(refreshed), bits(21));
        EXPECT_EQ(counters_moved(), "");
    }
}

// ---- the VLAN ----

class RefreshOfTheVlan : public deviant_refresh
{
protected:
    void refresh_vlan(u64 also_dirty = 0)
    {
        refreshed->vlan = 99;
        refreshed->port_mode = 98;
        refreshed->aggsvc_if = 97;
        refresh(bits(10) | also_dirty);
    }

    void expect_stored(u32 is_vlan, u32 vlan, u32 port_mode, u32 aggsvc_if, u64 dirty = 0)
    {
        EXPECT_EQ(refreshed->is_vlan, is_vlan);
        EXPECT_EQ(refreshed->vlan, vlan);
        EXPECT_EQ(refreshed->port_mode, port_mode);
        EXPECT_EQ(refreshed->aggsvc_if, aggsvc_if);
        EXPECT_EQ(dirty_of(refreshed), dirty);
        EXPECT_EQ(counters_moved(), "updates[19] +1");
    }
};

TEST_F(RefreshOfTheVlan, OfASubInterfaceStoresItsVlan)
{
    the(7).sub_interface(0x1a000001, 30).switchport(1);
    refresh_vlan();
    EXPECT_EQ(seen(),
              lines("ifsvc_is_vlan(7) = 1", "ifsvc_is_vlan(7) = 1", "ifsvc_get_if_vlanid(7) = 30"));
    expect_stored(1, 30, 98, 97);
}

TEST_F(RefreshOfTheVlan, OfASubInterfaceStoresItsParentWhenThatIsDirtyAndKeepsThatBit)
{
    the(7).sub_interface(0x1a000001, 30);
    refresh_vlan(bits(29));
    EXPECT_EQ(seen(),
              lines("ifsvc_is_vlan(7) = 1", "ifsvc_is_vlan(7) = 1", "ifsvc_get_if_vlanid(7) = 30",
                    "ifsvc_get_sub_interface_parent(7) = 0x1a000001"));
    expect_stored(1, 30, 98, 0x1a000001, bits(29));
}

TEST_F(RefreshOfTheVlan, StoresSixteenBitsOfAVlanAndAParentOfZero)
{
    the(7).sub_interface(0, 0x1001e);
    refresh_vlan(bits(29));
    expect_stored(1, 30, 98, 0, bits(29));
}

TEST_F(RefreshOfTheVlan, OfASwitchportStoresVlanAndPortMode)
{
    the(7).access(20, 2);
    refresh_vlan(bits(29));
    EXPECT_EQ(seen(), lines("ifsvc_is_vlan(7) = 0", "ifsvc_is_vlan(7) = 0",
                            "ifsvc_is_switchport(7) = 1", "ifsvc_get_vlan_info(7) = 1 -> 1/20, 2"));
    expect_stored(0, 20, 2, 97, bits(29));
}

TEST_F(RefreshOfTheVlan, OfASwitchportWhoseVlanIsNotKnownKeepsTheOldOnesButClearsTheBit)
{
    the(7).access(20, 2);
    for (const u32 result : {0u, 2u, 0xFFFFFFFFu}) {
        SCOPED_TRACE("result " + hex(result));
        on(ifsvc_get_vlan_info).answers(result, vlan_key_t{1, 30}, 5);
        refresh_vlan();
        expect_stored(0, 99, 98, 97);
    }
}

TEST_F(RefreshOfTheVlan, OfASwitchportTakesOutputsThatWereNotWrittenForZero)
{
    on(ifsvc_is_switchport).answers(2);
    on(ifsvc_get_vlan_info).does([](u32, vlan_key_t *, u32 *) { return 1u; });
    refresh_vlan();
    expect_stored(0, 0, 0, 97);
}

TEST_F(RefreshOfTheVlan, OfAnyOtherInterfaceOnlyClearsTheBit)
{
    refreshed->is_vlan = 1;
    refresh_vlan();
    EXPECT_EQ(seen(),
              lines("ifsvc_is_vlan(7) = 0", "ifsvc_is_vlan(7) = 0", "ifsvc_is_switchport(7) = 0"));
    expect_stored(0, 99, 98, 97);
}

TEST_F(RefreshOfTheVlan, DeliberatelyAsksTwiceTheFirstForTheFlagTheSecondForTheBranch)
{
    the(7).vlanid(30);
    on(ifsvc_is_vlan).answers_once(1).answers_once(0);
    refresh_vlan();
    expect_stored(1, 99, 98, 97);
    on(ifsvc_is_vlan).answers_once(0).answers_once(1);
    refresh_vlan();
    expect_stored(0, 30, 98, 97);
}

TEST_F(RefreshOfTheVlan, TakesTheLowBitForTheFlagAndAnyYesForTheBranch)
{
    the(7).vlanid(30);
    on(ifsvc_is_vlan).answers(2);
    refresh_vlan();
    expect_stored(0, 30, 98, 97);
}

TEST_F(RefreshOfTheVlan, LeavesTheBitOfItsFlagAlone)
{
    the(7).sub_interface(0x1a000001, 30);
    refresh_vlan(bits(20));
    expect_stored(1, 30, 98, 97, bits(20));
}

TEST_F(RefreshOfTheVlan, AloneStoresAParent)
{
    the(7).sub_interface(0x1a000001, 30);
    refresh(bits(29));
    EXPECT_EQ(seen(), "");
    EXPECT_EQ(refreshed->aggsvc_if, 0u);
    EXPECT_EQ(dirty_of(refreshed), bits(29));
    EXPECT_EQ(counters_moved(), "");
}

// ---- the bits ----

using RefreshOfTheMask = deviant_refresh;

TEST_F(RefreshOfTheMask, NeverClearsTheBitsThatItDoesNotFill)
{
    for (const unsigned bit : {0u, 1u, 14u, 20u, 25u, 26u, 28u, 29u, 33u, 34u, 63u}) {
        SCOPED_TRACE("bit " + dec(bit));
        refresh(bits(bit));
        EXPECT_EQ(dirty_of(refreshed), bits(bit));
        EXPECT_EQ(seen(), bit == 1 ? "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7" : "");
    }
}

TEST_F(RefreshOfTheMask, ClearsTheVlanCachesBitsWithoutAQuestion)
{
    refresh(bits(30, 31, 32));
    EXPECT_EQ(dirty_of(refreshed), 0u);
    EXPECT_EQ(seen(), "");
    refresh(bits(31, 33));
    EXPECT_EQ(dirty_of(refreshed), bits(33));
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(RefreshOfTheMask, NeverWritesTheValidMask)
{
    refresh(all_entry_bits);
    EXPECT_EQ(u64{refreshed->valid}, 0u);
}

// The questions that depend on the type, for every type that has a meaning and one that has none.
TEST_F(RefreshOfTheMask, AsksByTheTypeForPiMemberAndPortMode)
{
    struct {
        u32 type;
        bool asks_pi, asks_member, asks_port_mode;
    } const types_known[] = {{5, true, false, false},  {7, true, false, false},
                             {9, false, false, false}, {22, true, true, false},
                             {24, true, false, false}, {26, true, false, true},
                             {200, true, false, false}};
    on(aggsvc_get_pc_info).answers(0, 0x1a000001);
    for (const auto &each : types_known) {
        SCOPED_TRACE("type " + dec(each.type));
        on(if_index_get_type).answers(0, each.type);
        refresh(bits(2, 21, 27));
        EXPECT_EQ(
            seen(),
            joined({each.asks_pi ? "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107" : "",
                    each.asks_member ? "aggsvc_get_pc_info(0x1a000007) = 0 -> 0x1a000001" : "",
                    each.asks_port_mode
                        ? "ifsvc_get_ifindex_port_mode_list(0x1a000007, 1) = 0 -> 0x200"
                        : ""}));
    }
}

} // namespace
