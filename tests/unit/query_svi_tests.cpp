// SPDX-License-Identifier: Apache-2.0
//
// The two questions about VLAN interfaces that are built on the identity queries.
#include "query_ground.h"

namespace
{

constexpr const char *asked_if_index_of_svi = "ifsvc_get_ifindex_frm_iod(20020) = 0 -> 0x9000014";
constexpr const char *asked_iod_of_svi = "ifsvc_get_iod_frm_ifindex(0x9000014) = 0 -> 20020";

class svi_query : public query_test
{
protected:
    svi_query() { given(svi(20)); }
};

// ---- Is this iod a VLAN interface's? ----

using IsIodSvi = svi_query;

TEST_F(IsIodSvi, Of0IsNoAndAsksNobody)
{
    start_with(bits(1));
    on(ifsvc_is_ifindex_svi).answers(1);
    EXPECT_EQ(varn_ifsvc_is_iod_svi(0), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(IsIodSvi, OfAnUnknownIodIsNoWithoutTheQuestion)
{
    start_with(bits(1));
    gone(7);
    on(ifsvc_is_ifindex_svi).answers(1);
    EXPECT_EQ(varn_ifsvc_is_iod_svi(7), 0u);
    EXPECT_EQ(calls(), lines(asked_unknown_iod, asked_unknown_iod));
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(IsIodSvi, OfAnIfIndexThatHasMovedIsNoWithoutTheQuestion)
{
    start_with(bits(1));
    filled(7).dirty = bits(1);
    on(ifsvc_get_iod_frm_ifindex).answers(0, 9);
    on(ifsvc_is_ifindex_svi).answers(1);
    EXPECT_EQ(varn_ifsvc_is_iod_svi(7), 0u);
    EXPECT_EQ(calls(), "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 9");
}

TEST_F(IsIodSvi, AsksByTheIfIndexThatIsCached)
{
    start_with(bits(1));
    filled(20020);
    filled(7);
    EXPECT_EQ(varn_ifsvc_is_iod_svi(20020), 1u);
    EXPECT_EQ(varn_ifsvc_is_iod_svi(7), 0u);
    EXPECT_EQ(calls(),
              lines("ifsvc_is_ifindex_svi(0x9000014) = 1", "ifsvc_is_ifindex_svi(0x1a000007) = 0"));
    EXPECT_EQ(counters_moved(), "hits[1] +2");
}

TEST_F(IsIodSvi, PassesTheAnswerOnUnchanged)
{
    start_with(bits(1));
    filled(7);
    on(ifsvc_is_ifindex_svi).of(0x1a000007).answers(0x12346);
    EXPECT_EQ(varn_ifsvc_is_iod_svi(7), 0x12346u);
}

TEST_F(IsIodSvi, WithTheIodNotCachedAsksBothOfTheService)
{
    start_with(everything & ~bits(1));
    EXPECT_EQ(varn_ifsvc_is_iod_svi(20020), 1u);
    EXPECT_EQ(calls(), lines(asked_if_index_of_svi, "ifsvc_is_ifindex_svi(0x9000014) = 1"));
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(IsIodSvi, OfAnIodWithoutEntryCreatesIt)
{
    start_with(bits(1));
    EXPECT_EQ(varn_ifsvc_is_iod_svi(20020), 1u);
    EXPECT_EQ(calls(), lines(asked_if_index_of_svi, "ifsvc_get_if_mtu(20020) = 1500",
                             "ifsvc_is_ifindex_svi(0x9000014) = 1"));
    EXPECT_EQ(counters_moved(), "hits[1] +1, " + std::string(counted_creation));
}

// ---- The iod of a VLAN's interface ----

class GetSviIodForVlan : public svi_query
{
protected:
    void start_recording(u64 sync)
    {
        start_with(sync);
        record(types);
    }
    static constexpr const char *built = "if_index_vlan_port_init(20, 3) = 0 -> 0x9000014";
};

TEST_F(GetSviIodForVlan, BuildsTheIfIndexAndAsksItsIod)
{
    start_recording(bits(1));
    EXPECT_EQ(varn_ifsvc_get_svi_iod_for_vlan(20, 3), 20020u);
    EXPECT_EQ(calls(), lines(built, asked_iod_of_svi));
    EXPECT_EQ(counters_moved(), "misses[1] +1");
    EXPECT_EQ(entries(), 0u);
}

TEST_F(GetSviIodForVlan, AnswersFromTheEntryWhenThereIsOne)
{
    start_with(bits(1));
    filled(20020);
    record(types);
    EXPECT_EQ(varn_ifsvc_get_svi_iod_for_vlan(20, 3), 20020u);
    EXPECT_EQ(calls(), built);
    EXPECT_EQ(counters_moved(), "hits[1] +1");
}

TEST_F(GetSviIodForVlan, WithTheIodNotCachedGoesToTheService)
{
    start_recording(everything & ~bits(1));
    EXPECT_EQ(varn_ifsvc_get_svi_iod_for_vlan(20, 3), 20020u);
    EXPECT_EQ(calls(), lines(built, asked_iod_of_svi));
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(GetSviIodForVlan, PassesBothArgumentsOnUnchanged)
{
    start_recording(bits(1));
    varn_ifsvc_get_svi_iod_for_vlan(0xFFFF, 0xFFFFFFFE);
    EXPECT_EQ(calls(), lines("if_index_vlan_port_init(65535, 4294967294) = 0 -> 0x900ffff",
                             "ifsvc_get_iod_frm_ifindex(0x900ffff) = 0x40040004"));
}

TEST_F(GetSviIodForVlan, WhoseIfIndexCannotBeBuiltIs0WithoutTheQuestion)
{
    start_recording(bits(1));
    on(if_index_vlan_port_init).fails(0x41);
    EXPECT_EQ(varn_ifsvc_get_svi_iod_for_vlan(20, 3), 0u);
    EXPECT_EQ(calls(), "if_index_vlan_port_init(20, 3) = 0x41");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(GetSviIodForVlan, WithoutAnInterfaceIs0)
{
    start_recording(bits(1));
    gone(20020);
    EXPECT_EQ(varn_ifsvc_get_svi_iod_for_vlan(20, 3), 0u);
    EXPECT_EQ(calls(), lines(built, "ifsvc_get_iod_frm_ifindex(0x9000014) = 0x40040004"));
}

// A code is a failure even beside an output.
TEST_F(GetSviIodForVlan, WhoseQuestionFailsIs0WhateverWasWritten)
{
    start_recording(bits(1));
    on(ifsvc_get_iod_frm_ifindex).of(0x09000014).answers(0x41, 5);
    EXPECT_EQ(varn_ifsvc_get_svi_iod_for_vlan(20, 3), 0u);
}

TEST_F(GetSviIodForVlan, ThatHasMovedIs0)
{
    start_with(bits(1));
    filled(20020).dirty = bits(1);
    on(ifsvc_get_iod_frm_ifindex).of(0x09000014).answers(0, 9);
    EXPECT_EQ(varn_ifsvc_get_svi_iod_for_vlan(20, 3), 0u);
    EXPECT_EQ(calls(), "ifsvc_get_iod_frm_ifindex(0x9000014) = 0 -> 9");
}

TEST_F(GetSviIodForVlan, WhoseIodIs0Is0)
{
    start_with(bits(1));
    on(ifsvc_get_iod_frm_ifindex).of(0x09000014).answers(0, 0);
    EXPECT_EQ(varn_ifsvc_get_svi_iod_for_vlan(20, 3), 0u);
    EXPECT_EQ(calls(), "ifsvc_get_iod_frm_ifindex(0x9000014) = 0 -> 0");
}

} // namespace
