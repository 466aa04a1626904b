// SPDX-License-Identifier: Apache-2.0
//
// Port-channels, VLANs, and the history that outlives its writer.
#include "known_world.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "aggsvc.h"
#include "histlog.h"
#include "idxsvc.h"
#include "supvr.h"
#include "vlansvc.h"

using namespace port_contract;

namespace
{

struct port_channels : known_world {
    face port, other, pc;

    void SetUp() override
    {
        GIVEN(add(port, "port1", CONTRACT_PHYSICAL));
        GIVEN(add(other, "port2", CONTRACT_PHYSICAL));
        GIVEN(add(pc, "pc1", CONTRACT_PC));
    }
};

// The members that a caller does not name may hold anything.
u32 first_member(u32 pc, u32 &member)
{
    aggsvc_pc_info_t info;
    std::memset(&info, 0xA5, sizeof info);
    info.pc_ifindex = pc;
    const u32 code = aggsvc_get_pc_info(&info);
    member = info.first_operational_mbr;
    return code;
}

u32 membership(u32 port, u32 &pc)
{
    aggsvc_pc_for_port_t answer;
    std::memset(&answer, 0xA5, sizeof answer);
    const u32 code = aggsvc_get_pc_for_port(port, &answer);
    pc = answer.pc_ifindex;
    return code;
}

} // namespace

TEST_F(port_channels, WithoutAnOperationalMemberTheAnswerIsASuccessWithZero)
{
    u32 member = untouched;
    EXPECT_EQ(first_member(pc.if_index, member), 0u);
    EXPECT_EQ(member, 0u);
}

TEST_F(port_channels, TheFirstOperationalMemberIsTheOneThatWasNamed)
{
    for (const face &each : {port, other}) {
        GIVEN(join(each, &pc));
        GIVEN(set_first_member(pc, &each));
        u32 member = untouched;
        EXPECT_EQ(first_member(pc.if_index, member), 0u);
        EXPECT_EQ(member, each.if_index);
    }
    u32 member = untouched;
    GIVEN(set_first_member(pc, nullptr));
    EXPECT_EQ(first_member(pc.if_index, member), 0u);
    EXPECT_EQ(member, 0u) << "after the last one went";
}

TEST_F(port_channels, AMemberThatIsGoneIsNoMember)
{
    GIVEN(join(port, &pc));
    GIVEN(set_first_member(pc, &port));
    GIVEN(remove(port));
    u32 member = untouched;
    EXPECT_EQ(first_member(pc.if_index, member), 0u);
    EXPECT_NE(member, port.if_index);
}

TEST_F(port_channels, APortKnowsItsPortChannelAndZeroIsNone)
{
    u32 answer = untouched;
    EXPECT_EQ(membership(port.if_index, answer), 0u) << "in none is a success";
    EXPECT_EQ(answer, 0u);
    GIVEN(join(port, &pc));
    EXPECT_EQ(membership(port.if_index, answer), 0u);
    EXPECT_EQ(answer, pc.if_index);
    EXPECT_EQ(membership(other.if_index, answer), 0u);
    EXPECT_EQ(answer, 0u) << "of a port that did not join";
    EXPECT_EQ(membership(pc.if_index, answer), 0u) << "in none is a success, also of no port";
    EXPECT_EQ(answer, 0u) << "of a port-channel";
    GIVEN(join(port, nullptr));
    EXPECT_EQ(membership(port.if_index, answer), 0u);
    EXPECT_EQ(answer, 0u) << "after it left";
}

TEST_F(port_channels, EachOfTheSixteenBucketsHasAMemberOfItsOwn)
{
    GIVEN(join(port, &pc));
    GIVEN(join(other, &pc));
    for (u32 rbh = 0; rbh < 16; ++rbh)
        GIVEN(set_bucket(pc, rbh, rbh % 3 == 0 ? port : other));
    for (u32 rbh = 0; rbh < 16; ++rbh) {
        u32 member = untouched;
        EXPECT_EQ(aggsvc_get_pc_mbr_ifidx_from_rbh(pc.if_index, rbh, &member), 0u) << rbh;
        EXPECT_EQ(member, rbh % 3 == 0 ? port.if_index : other.if_index) << "bucket " << rbh;
    }
}

TEST_F(port_channels, ABucketThatNobodyServesOrThatIsNoneIsAnErrorThatWritesNothing)
{
    u32 member = untouched;
    EXPECT_NE(aggsvc_get_pc_mbr_ifidx_from_rbh(pc.if_index, 0, &member), 0u) << "without a member";
    GIVEN(join(port, &pc));
    for (u32 rbh = 0; rbh < 16; ++rbh)
        GIVEN(set_bucket(pc, rbh, port));
    for (const u32 rbh : {16u, 255u, 256u, 0xFFFFFFFFu})
        EXPECT_NE(aggsvc_get_pc_mbr_ifidx_from_rbh(pc.if_index, rbh, &member), 0u) << rbh;
    EXPECT_EQ(member, untouched);
}

// ---- VLANs

namespace
{

struct vlans : known_world {
    static vlan_key_t key(u32 vlan)
    {
        vlan_key_t made;
        made.vinst = supvr_vinst_get();
        made.vlan = vlan;
        return made;
    }
};

} // namespace

TEST_F(vlans, BridgeDomainPrimaryVlanAndFloodIndexAreThoseThatWereSet)
{
    GIVEN(put_vlan(1, 1000, 0xFFFFFFFE, 1));
    GIVEN(put_vlan(4094, 7, 0x707, 1));
    for (const u32 vlan : {1u, 4094u}) {
        u16 bd = 0;
        u16 same_bd = 0;
        u32 primary = 0;
        u32 flood_di = 0;
        EXPECT_EQ(vlan_get_bd(key(vlan), &bd), 0u);
        EXPECT_EQ(bd, vlan == 1 ? 1000 : 7);
        EXPECT_EQ(vlan_get_bd_and_primary_vlan(key(vlan), &same_bd, &primary), 0u);
        EXPECT_EQ(same_bd, bd) << "the two functions name two bridge domains";
        EXPECT_EQ(primary, 1u);
        EXPECT_EQ(idxsvc_lib_bd_to_di(bd, &flood_di), 0u);
        EXPECT_EQ(flood_di, vlan == 1 ? 0xFFFFFFFEu : 0x707u);
    }
}

TEST_F(vlans, OneOfAnotherInstanceIsNotKnown)
{
    GIVEN(put_vlan(99, 9, 0x109, 99));
    vlan_key_t elsewhere = key(99);
    elsewhere.vinst = static_cast<u16>(elsewhere.vinst + 1);
    u16 bd = 0;
    u32 primary = 0;
    EXPECT_NE(vlan_get_bd(elsewhere, &bd), 0u);
    EXPECT_NE(vlan_get_bd_and_primary_vlan(elsewhere, &bd, &primary), 0u);
}

TEST_F(vlans, ABridgeDomainHas16Bits)
{
    GIVEN(put_vlan(1, 65535, 0x101, 1));
    u16 bd = 0;
    u32 flood_di = 0;
    EXPECT_EQ(vlan_get_bd(key(1), &bd), 0u);
    EXPECT_EQ(bd, 65535);
    EXPECT_EQ(idxsvc_lib_bd_to_di(65535, &flood_di), 0u);
    EXPECT_EQ(flood_di, 0x101u);
}

TEST_F(vlans, OneThatIsChangedAnswersAnew)
{
    GIVEN(put_vlan(99, 9, 0x109, 99));
    GIVEN(put_vlan(100, 10, 0x110, 100));
    GIVEN(put_vlan(100, 11, 0x111, 99));
    u16 bd = 0;
    u32 primary = 0;
    u32 flood_di = 0;
    EXPECT_EQ(vlan_get_bd_and_primary_vlan(key(100), &bd, &primary), 0u);
    EXPECT_EQ(bd, 11);
    EXPECT_EQ(primary, 99u);
    EXPECT_EQ(idxsvc_lib_bd_to_di(11, &flood_di), 0u);
    EXPECT_EQ(flood_di, 0x111u);
}

// ---- The event history

namespace
{

struct history : known_world {
};

} // namespace

TEST_F(history, ARecordOutlivesTheProcessThatWroteIt)
{
    if (hooks().history_holds == nullptr)
        GTEST_SKIP() << "left out: the port has no hook history_holds";
    const std::string record = "written by process " + std::to_string(getpid());
    const auto length = static_cast<u32>(record.size());
    EXPECT_NE(hooks().history_holds(377, record.data(), length), CONTRACT_DONE)
        << "before it was written";
    const pid_t writer = fork();
    if (writer == 0)
        _exit(histlog_his_log_event_for_uuid_inst(377, 121, 1, 0, length, record.data()) == 0 ? 0
                                                                                              : 1);
    int status = -1;
    ASSERT_EQ(waitpid(writer, &status, 0), writer);
    EXPECT_EQ(status, 0) << "the record was not written";
    EXPECT_EQ(hooks().history_holds(377, record.data(), length), CONTRACT_DONE)
        << "the record did not outlive its writer";
}
