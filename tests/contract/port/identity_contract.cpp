// SPDX-License-Identifier: Apache-2.0
//
// What an interface is called by, and what it is: iod, if-index, type, name, and the questions that
// follow from its kind.
#include "known_world.h"

#include <cstring>
#include <set>

#include "histlog.h"
#include "if_index.h"
#include "ifsvc.h"
#include "memacct.h"
#include "supvr.h"
#include "thrsvc.h"

using namespace port_contract;

namespace
{

struct identity : known_world {
    face port, other;

    void SetUp() override
    {
        GIVEN(add(port, "port1", CONTRACT_PHYSICAL));
        GIVEN(add(other, "port2", CONTRACT_PHYSICAL));
    }
};

} // namespace

TEST_F(identity, IodsAreOneTo32767AndEachIsOneInterface)
{
    std::set<u32> iods;
    std::set<u32> if_indexes;
    for (const face &each : {port, other}) {
        EXPECT_GE(each.iod, 1u);
        EXPECT_LE(each.iod, 32767u);
        EXPECT_TRUE(iods.insert(each.iod).second) << "iod " << each.iod << " is two interfaces";
        EXPECT_TRUE(if_indexes.insert(each.if_index).second) << "if-index of two interfaces";
    }
}

TEST_F(identity, IodAndIfIndexLeadToEachOther)
{
    for (const face &each : {port, other}) {
        u32 if_index = untouched;
        EXPECT_EQ(ifsvc_get_ifindex_frm_iod(each.iod, &if_index), 0u);
        EXPECT_EQ(if_index, each.if_index);
    }
}

TEST_F(identity, AnotherInterfaceThatComesOrGoesChangesNothing)
{
    face third;
    GIVEN(add(third, "port3", CONTRACT_PHYSICAL));
    GIVEN(remove(other));
    u32 iod = untouched;
    EXPECT_EQ(ifsvc_get_iod_frm_ifindex(port.if_index, &iod), 0u);
    EXPECT_EQ(iod, port.iod);
    EXPECT_EQ(ifsvc_get_iod_frm_ifindex(third.if_index, &iod), 0u);
    EXPECT_EQ(iod, third.iod);
}

// ---- Names

TEST_F(identity, TheNameIsGivenByIodAndByIfIndex)
{
    for (const face &each : {port, other}) {
        EXPECT_EQ(std::string(ifsvc_get_if_name(each.iod)), each.name);
        char buffer[64] = "left over";
        EXPECT_EQ(ifsvc_get_ifindex_name(each.if_index, buffer, sizeof buffer), 0u);
        EXPECT_EQ(std::string(buffer), each.name);
    }
}

TEST_F(identity, TheNameOfAnUnknownIodIsATextThatSaysSo)
{
    for (const u32 iod : unknown_iods()) {
        const char *name = ifsvc_get_if_name(iod);
        ASSERT_NE(name, nullptr) << "iod " << iod;
        EXPECT_NE(std::string(name), "") << "iod " << iod;
        EXPECT_NE(std::string(name), port.name) << "iod " << iod;
    }
}

// The library writes a trace with a name in it: between the question and the use of its answer lie
// calls of other services.
TEST_F(identity, ANameOutlivesCallsOfOtherServices)
{
    const char *name = ifsvc_get_if_name(port.iod);
    const char record[] = "a record between the question and the use of its answer";
    histlog_his_log_event_for_uuid_inst(377, 121, 1, 0, sizeof record, record);
    thrsvc_get_thread_pid();
    memacct_free(memacct_alloc(544, 1, 136));
    supvr_vinst_get();
    EXPECT_EQ(std::string(name), port.name);
}

TEST_F(identity, ANameOutlivesItsInterfaceUntilTheNextCall)
{
    const char *name = ifsvc_get_if_name(port.iod);
    GIVEN(remove(port));
    reuse_freed_memory();
    EXPECT_EQ(std::string(name), port.name);
}

TEST_F(identity, ANameIsCutToItsBufferAndEndedByAZero)
{
    for (u32 size = 1; size <= 8; ++size) {
        char buffer[12];
        std::memset(buffer, 0x7E, sizeof buffer);
        ifsvc_get_ifindex_name(port.if_index, buffer, size);
        const std::string expected = port.name.substr(0, size - 1);
        EXPECT_EQ(std::string(buffer, strnlen(buffer, sizeof buffer)), expected) << size;
        for (u32 n = size; n < sizeof buffer; ++n)
            EXPECT_EQ(buffer[n], 0x7E) << "byte " << n << " of a buffer of " << size;
    }
}

// ---- The virtual device instance

TEST(supvr_vinst_get, IsTheSameWhileTheProcessLives)
{
    for (int n = 0; n < 1000; ++n)
        ASSERT_EQ(supvr_vinst_get(), vinst_at_start());
}

// ---- Kinds

namespace
{

struct kind_row {
    contract_kind_t kind;
    int type;                 // of its if-index, or any
    u32 (*question)(u32 iod); // to which it and no other kind says yes; or null
};

constexpr int any = -1;

void PrintTo(const kind_row &row, std::ostream *out) { *out << name_of(row.kind); }

// clang-format off
constexpr kind_row rows[] = {
    { CONTRACT_PHYSICAL,    IF_INDEX_TYPE_PHYSICAL, nullptr },
    { CONTRACT_MGMT,        IF_INDEX_TYPE_MGMT,     ifsvc_is_mgmtether },
    { CONTRACT_CBUS,        IF_INDEX_TYPE_CBUS,     ifsvc_is_cbus },
    { CONTRACT_SVI,         IF_INDEX_TYPE_SVI,      nullptr },
    { CONTRACT_PC,          IF_INDEX_TYPE_PC,       ifsvc_is_super_802_3ad },
    { CONTRACT_GRE,         IF_INDEX_TYPE_GRE,      ifsvc_is_gre_tunnel },
    { CONTRACT_SUBIF,       any,                    nullptr },
    { CONTRACT_LOOPBACK,    any,                    ifsvc_is_loopback },
    { CONTRACT_NULL0,       any,                    ifsvc_is_null0 },
    { CONTRACT_MVPN,        any,                    ifsvc_is_mvpn_tunnel },
    { CONTRACT_MPLS,        any,                    ifsvc_is_mpls_tunnel },
    { CONTRACT_6TO4,        any,                    ifsvc_is_6to4_tunnel },
    { CONTRACT_DCI_TUNNEL,  any,                    ifsvc_is_dci_tunnel },
    { CONTRACT_DCI_OVERLAY, any,                    ifsvc_is_dci_overlay },
};
// clang-format on

constexpr u32 svi_vlan = 1208;

struct every_kind : known_world, testing::WithParamInterface<kind_row> {
    face port, made;

    void SetUp() override
    {
        GIVEN(add(port, "port1", CONTRACT_PHYSICAL));
        if (has_vlan()) {
            GIVEN(put_vlan(svi_vlan, 301, 0x9301, svi_vlan));
        }
        GIVEN(add(made, "made1", GetParam().kind, has_vlan() ? svi_vlan : 0,
                  GetParam().kind == CONTRACT_SUBIF ? &port : nullptr));
    }

    static bool has_vlan()
    {
        return GetParam().kind == CONTRACT_SVI || GetParam().kind == CONTRACT_SUBIF;
    }
};

std::string kind_name(const testing::TestParamInfo<kind_row> &row)
{
    return name_of(row.param.kind);
}

bool has_named_type(u32 type)
{
    for (const kind_row &row : rows)
        if (row.type == static_cast<int>(type))
            return true;
    return false;
}

} // namespace

TEST_P(every_kind, HasTheTypeOfItsKindInItsIfIndex)
{
    u8 type = 0;
    ASSERT_EQ(if_index_get_type(made.if_index, &type), 0u) << "the type of a given-out if-index";
    if (GetParam().type != any) {
        EXPECT_EQ(type, GetParam().type);
    } else {
        EXPECT_FALSE(has_named_type(type)) << "type " << int{type} << " is that of another kind";
    }
}

TEST_P(every_kind, SaysYesToItsOwnQuestionAndToNoOther)
{
    for (const kind_row &row : rows) {
        if (row.question == nullptr)
            continue;
        const u32 answer = row.question(made.iod);
        if (row.kind == GetParam().kind) {
            EXPECT_EQ(answer & 1, 1u) << "the cache keeps the low bit of a yes";
        } else {
            EXPECT_EQ(answer, 0u) << "it says that it is of kind " << name_of(row.kind);
        }
    }
}

TEST_P(every_kind, IsAVlanInterfaceOrIsNot)
{
    EXPECT_EQ(ifsvc_is_vlan(made.iod), has_vlan() ? 1u : 0u);
    EXPECT_EQ(ifsvc_is_ifindex_svi(made.if_index) != 0, GetParam().kind == CONTRACT_SVI);
    EXPECT_EQ(ifsvc_get_if_vlanid(made.iod), has_vlan() ? svi_vlan : 0u);
    if (GetParam().kind == CONTRACT_PHYSICAL) {
        EXPECT_EQ(ifsvc_is_ethernet(made.iod), 1u) << "a port is Ethernet";
    }
}

TEST_P(every_kind, HasAParentWhereItIsASubInterface)
{
    EXPECT_EQ(ifsvc_get_sub_interface_parent(made.iod),
              GetParam().kind == CONTRACT_SUBIF ? port.if_index : 0u);
}

INSTANTIATE_TEST_SUITE_P(All, every_kind, testing::ValuesIn(rows), kind_name);

// ---- The interface of a VLAN

namespace
{

struct vlan_interface : known_world {
    face svi;

    void SetUp() override
    {
        GIVEN(put_vlan(svi_vlan, 301, 0x9301, svi_vlan));
        GIVEN(add(svi, "vlan1208", CONTRACT_SVI, svi_vlan));
    }
};

} // namespace

TEST_F(vlan_interface, HasTheIfIndexThatIsBuiltFromItsVlan)
{
    u32 if_index = 0;
    EXPECT_EQ(if_index_vlan_port_init(&if_index, svi_vlan, supvr_vinst_get()), 0u);
    EXPECT_EQ(if_index, svi.if_index);
}

TEST_F(vlan_interface, IsFoundByItsVlanAndNotWhenItIsGone)
{
    EXPECT_EQ(ifsvc_get_svi_iod_for_vlan(supvr_vinst_get(), svi_vlan), svi.iod);
    EXPECT_EQ(ifsvc_get_svi_iod_for_vlan(supvr_vinst_get(), svi_vlan + 1), 0u);
    const auto elsewhere = static_cast<u16>(supvr_vinst_get() + 1);
    EXPECT_EQ(ifsvc_get_svi_iod_for_vlan(elsewhere, svi_vlan), 0u) << "in another instance";
    GIVEN(remove(svi));
    EXPECT_EQ(ifsvc_get_svi_iod_for_vlan(supvr_vinst_get(), svi_vlan), 0u);
}
