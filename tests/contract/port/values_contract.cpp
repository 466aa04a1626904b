// SPDX-License-Identifier: Apache-2.0
//
// What is set is what is answered: numbers, MAC addresses, extension values, private data, port
// modes. Each for two values and beside an interface that must not change with it.
#include "known_world.h"

#include <cstring>

#include "idxsvc.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "supvr.h"
#include "vrfsvc.h"

using namespace port_contract;

namespace
{

u32 base_table(u32 iod) { return vrfsvc_if_get_table_id(iod, 1, "base"); }

u32 access_vlan(u32 iod)
{
    vlan_key_t info{};
    u32 mode = 0;
    return ifsvc_get_vlan_info(iod, &info, &mode) == 1 ? info.vlan : 0;
}

struct value_row {
    contract_value_t value;
    u32 (*ask)(u32 iod);
    std::vector<u32> extremes;
};

void PrintTo(const value_row &row, std::ostream *out) { *out << name_of(row.value); }

const value_row rows[] = {
    {CONTRACT_LINKUP, ifsvc_is_linkup, {0, 1}},
    {CONTRACT_PROTOUP, ifsvc_is_protoup, {0, 1}},
    {CONTRACT_SWITCHPORT, ifsvc_is_switchport, {0, 1}},
    {CONTRACT_SWITCHING, ifsvc_is_switching_enabled_on_iod, {0, 1}},
    {CONTRACT_P2P, ifsvc_is_native_p2p, {0, 1}},
    {CONTRACT_MTU, ifsvc_get_if_mtu, {68, 1500, 9216, 65535}},
    {CONTRACT_ENCAP, ifsvc_get_if_encaptype, {1, 255, 65535}},
    {CONTRACT_VLAN, access_vlan, {1, 100, 4094}},
    {CONTRACT_CONTEXT, vrfsvc_if_get_context_id, {1, 0x80000001}},
    {CONTRACT_BASE_TABLE, base_table, {1, 0xFFFFFFFE}},
};

struct every_number : known_world, testing::WithParamInterface<value_row> {
    face port, other;

    void SetUp() override
    {
        GIVEN(add(port, "port1", CONTRACT_PHYSICAL));
        GIVEN(add(other, "port2", CONTRACT_PHYSICAL));
        if (GetParam().value == CONTRACT_VLAN || GetParam().value == CONTRACT_SWITCHING) {
            GIVEN(set(port, CONTRACT_SWITCHPORT, 1)); // which alone has them
        }
    }
};

std::string value_name(const testing::TestParamInfo<value_row> &row)
{
    return name_of(row.param.value);
}

} // namespace

TEST_P(every_number, IsAnsweredAsItWasSet)
{
    for (const u32 to : GetParam().extremes) {
        GIVEN(set(port, GetParam().value, to));
        EXPECT_EQ(GetParam().ask(port.iod), to);
    }
    for (const u32 to : GetParam().extremes) { // and from the last one to the first
        GIVEN(set(port, GetParam().value, to));
        EXPECT_EQ(GetParam().ask(port.iod), to);
    }
}

TEST_P(every_number, IsNotThatOfAnotherInterface)
{
    GIVEN(set(other, GetParam().value, GetParam().extremes.front()));
    const u32 before = GetParam().ask(other.iod);
    GIVEN(set(port, GetParam().value, GetParam().extremes.back()));
    EXPECT_EQ(GetParam().ask(other.iod), before);
}

INSTANTIATE_TEST_SUITE_P(All, every_number, testing::ValuesIn(rows), value_name);

namespace
{

struct values : known_world {
    face port, other;

    void SetUp() override
    {
        GIVEN(add(port, "port1", CONTRACT_PHYSICAL));
        GIVEN(add(other, "port2", CONTRACT_PHYSICAL));
    }
};

} // namespace

// ---- VLAN of a switchport

TEST_F(values, TheVlanOfASwitchportNamesThisInstanceAndItsPortMode)
{
    GIVEN(set(port, CONTRACT_SWITCHPORT, 1));
    GIVEN(set(port, CONTRACT_VLAN, 77));
    GIVEN(set(port, CONTRACT_PORT_MODE, 0x100));
    vlan_key_t info{0xFFFF, untouched};
    u32 mode = untouched;
    EXPECT_EQ(ifsvc_get_vlan_info(port.iod, &info, &mode), 1u) << "success is 1 here";
    const u32 vlan = info.vlan;
    const u32 vinst = info.vinst;
    EXPECT_EQ(vlan, 77u);
    EXPECT_EQ(vinst, supvr_vinst_get());
    EXPECT_EQ(mode, 0x100u);
}

TEST_F(values, ARoutedPortHasNoVlanThoughItHadOne)
{
    GIVEN(set(port, CONTRACT_SWITCHPORT, 1));
    GIVEN(set(port, CONTRACT_VLAN, 77));
    set(port, CONTRACT_PORT_MODE, 0x100); // where it can be set
    GIVEN(set(port, CONTRACT_SWITCHPORT, 0));
    EXPECT_EQ(ifsvc_get_if_vlanid(port.iod), 0u);
    vlan_key_t info{};
    u32 mode = 0;
    const u32 code = ifsvc_get_vlan_info(port.iod, &info, &mode);
    const u32 vlan = info.vlan;
    EXPECT_TRUE(code != 1 || (vlan == 0 && mode == 0))
        << "code " << code << ", VLAN " << vlan << ", port mode " << mode
        << ": an error, or a success with VLAN 0 and port mode 0";
}

// ---- MAC addresses

TEST_F(values, TheMacAddressIsWhatWasSetAndIsRecognised)
{
    const u8 mac[6] = {0x02, 0xFE, 0x80, 0x01, 0x7F, 0xFF};
    const u8 nearly[6] = {0x02, 0xFE, 0x80, 0x01, 0x7F, 0xFE};
    GIVEN(set_mac(other, nearly));
    GIVEN(set_mac(port, mac));
    u8 answer[8] = {};
    EXPECT_EQ(ifsvc_get_if_src_mac_addr(port.iod, answer), 0u);
    EXPECT_EQ(std::memcmp(answer, mac, 6), 0);
    EXPECT_EQ(answer[6], 0) << "more than six bytes were written";
    EXPECT_NE(ifsvc_is_if_mac_addr(port.iod, mac), 0u);
    EXPECT_EQ(ifsvc_is_if_mac_addr(port.iod, nearly), 0u);
}

// ---- Extension values and private data

TEST_F(values, AnExtensionValueBelongsToItsKeyAlone)
{
    GIVEN(attach(port, 0x51, 0xABCD1234, ""));
    EXPECT_EQ(ifsvc_get_extension(port.iod, 0x51), 0xABCD1234u);
    EXPECT_NE(ifsvc_is_extension_set(port.iod, 0x51), 0u);
    EXPECT_EQ(ifsvc_get_extension(port.iod, 0x52), 0u) << "under another key";
    EXPECT_EQ(ifsvc_is_extension_set(port.iod, 0x52), 0u) << "under another key";
    EXPECT_EQ(ifsvc_get_extension(other.iod, 0x51), 0u) << "of another interface";
    GIVEN(attach(port, 0x51, 0, ""));
    EXPECT_EQ(ifsvc_get_extension(port.iod, 0x51), 0u) << "after it was taken away";
    EXPECT_EQ(ifsvc_is_extension_set(port.iod, 0x51), 0u) << "after it was taken away";
}

TEST_F(values, PrivateDataAreTheBytesThatWereAttached)
{
    std::string last;
    for (const std::size_t size : {1u, 4u, 64u}) {
        last = std::string("\0\xFF", 2) + std::string(size, 'x');
        last.resize(size);
        GIVEN(attach(port, 0x51, 5, last));
        u32 answered = untouched;
        const uintptr_t block = ifsvc_get_private_data(port.iod, 0x51, &answered);
        ASSERT_EQ(answered, size);
        ASSERT_NE(block, 0u);
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(block), answered), last);
    }
    GIVEN(attach(port, 0x51, 5, ""));
    u32 size = untouched;
    EXPECT_EQ(ifsvc_get_private_data(port.iod, 0x51, &size), 0u) << "after it was taken away";
    EXPECT_EQ(size, 0u) << "size is always written";
}

TEST_F(values, ABlockOutlivesTheInterfaceUntilTheNextCall)
{
    const std::string bytes(48, 'p');
    GIVEN(attach(port, 0x51, 5, bytes));
    u32 size = 0;
    const uintptr_t block = ifsvc_get_private_data(port.iod, 0x51, &size);
    ASSERT_NE(block, 0u);
    GIVEN(remove(port));
    reuse_freed_memory();
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(block), size), bytes);
}

// ---- Port modes

TEST_F(values, PortModesOfAListAreFilledInOneByOne)
{
    GIVEN(set(port, CONTRACT_PORT_MODE, 0x200));
    GIVEN(set(other, CONTRACT_PORT_MODE, 0x100));
    ifsvc_port_mode_t list[3]{};
    list[0].if_index = other.if_index;
    list[1].if_index = port.if_index;
    list[2].if_index = other.if_index;
    EXPECT_EQ(ifsvc_get_ifindex_port_mode_list(list, 3), 0u);
    EXPECT_EQ(list[0].port_mode, 0x100u);
    EXPECT_EQ(list[1].port_mode, 0x200u);
    EXPECT_EQ(list[2].port_mode, 0x100u);
    EXPECT_EQ(list[0].if_index, other.if_index) << "the question was overwritten";
}

TEST_F(values, AListWithAnUnknownInterfaceFailsAsAWhole)
{
    GIVEN(set(port, CONTRACT_PORT_MODE, 0x200));
    ifsvc_port_mode_t list[2]{};
    list[0].if_index = port.if_index;
    list[1].if_index = unknown_if_indexes().back();
    list[0].port_mode = list[1].port_mode = untouched;
    EXPECT_NE(ifsvc_get_ifindex_port_mode_list(list, 2), 0u);
    EXPECT_EQ(list[0].port_mode, untouched) << "outputs are written on success only";
    EXPECT_EQ(list[1].port_mode, untouched) << "outputs are written on success only";
}

TEST_F(values, AListOfNothingIsASuccess)
{
    ifsvc_port_mode_t one{};
    one.port_mode = untouched;
    EXPECT_EQ(ifsvc_get_ifindex_port_mode_list(&one, 0), 0u);
    EXPECT_EQ(one.port_mode, untouched);
}

// ---- Tables of a routing context

TEST_F(values, ATableOfAnotherNameIsNotTheBaseTable)
{
    GIVEN(set(port, CONTRACT_BASE_TABLE, 4711));
    EXPECT_NE(vrfsvc_if_get_table_id(port.iod, 1, "no table of this name"), 4711u);
}

// ---- Port indexes and lifs

TEST_F(values, PortIndexAndIfIndexLeadToEachOther)
{
    for (const u32 pi : {0x11u, 0x80000000u, 0xFFFFFFFEu}) {
        GIVEN(set(port, CONTRACT_PI, pi));
        u32 di = untouched;
        u32 if_index = untouched;
        EXPECT_EQ(idxsvc_lib_ifidx_to_di(static_cast<int32_t>(port.if_index), &di), 0u);
        EXPECT_EQ(di, pi);
        EXPECT_EQ(idxsvc_lib_si_to_ifidx(static_cast<int32_t>(pi), &if_index), 0u);
        EXPECT_EQ(if_index, port.if_index);
    }
}

TEST_F(values, LifAndIfIndexLeadToEachOther)
{
    for (const u32 lif : {0x21u, 0x80000000u, 0xFFFFFFFEu}) {
        GIVEN(set(port, CONTRACT_LIF, lif));
        u32 answer = untouched;
        u32 if_index = untouched;
        EXPECT_EQ(lifsvc_query_ifindex_to_lif(static_cast<int32_t>(port.if_index), &answer), 0u);
        EXPECT_EQ(answer, lif);
        EXPECT_EQ(lifsvc_query_lif_to_ifindex(static_cast<int32_t>(lif), &if_index), 0u);
        EXPECT_EQ(if_index, port.if_index);
    }
}

TEST_F(values, AnInterfaceWithoutPortIndexOrLifIsAnErrorThatWritesNothing)
{
    GIVEN(set(port, CONTRACT_PI, no_index));
    GIVEN(set(port, CONTRACT_LIF, no_index));
    u32 output = untouched;
    EXPECT_NE(idxsvc_lib_ifidx_to_di(static_cast<int32_t>(port.if_index), &output), 0u);
    EXPECT_NE(lifsvc_query_ifindex_to_lif(static_cast<int32_t>(port.if_index), &output), 0u);
    EXPECT_EQ(output, untouched);
}

TEST_F(values, TheInterfaceOfAVlanHasNoPortIndex)
{
    face svi;
    GIVEN(put_vlan(1209, 302, 0x9302, 1209));
    GIVEN(add(svi, "vlan1209", CONTRACT_SVI, 1209));
    u32 output = untouched;
    EXPECT_NE(idxsvc_lib_ifidx_to_di(static_cast<int32_t>(svi.if_index), &output), 0u);
    EXPECT_EQ(output, untouched);
}
