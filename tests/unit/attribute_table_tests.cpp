// SPDX-License-Identifier: Apache-2.0
//
// The table of attributes, seen from outside: for every bit of a dirty mask which service a refresh
// asks, which counter slot moves, which field holds the answer and what becomes of the bit. Bits
// and slots are plain numbers, written here a second time. Then what ties the masks to the values.
#include "varn.h"
#include "varn_fixture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{

using entry_t = varn_if_entry_t;

constexpr u64 every_bit = 0x3FFFFFFFF; // bits 0 to 33
constexpr u32 the_port = 7;

struct attribute {
    const char *name;
    unsigned bit;
    u32 iod; // of the interface that is refreshed
    const char *asked;
    int slot; // -1: no counter moves
    bool is_cleared;
    u32 (*field)(const entry_t &);
    u32 kept; // what the field holds afterwards; 0 before
};

void PrintTo(const attribute &row, std::ostream *out) { *out << row.name; }

u32 no_field(const entry_t &) { return 0; }

const char vlan_asked[] = "ifsvc_is_vlan(7) = 0\nifsvc_is_vlan(7) = 0\nifsvc_is_switchport(7) = 1\n"
                          "ifsvc_get_vlan_info(7) = 1 -> 1/30, 5";

// clang-format off
const attribute attributes[] = {
    {"if_index", 0, 7, "", -1, false, no_field, 0},
    {"iod", 1, 7, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7", 1, false, no_field, 0},
    {"pi", 2, 7, "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107", 2, true, [](const entry_t &e) { return e.pi - 0x107; }, 0},
    {"lif", 3, 7, "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2007", 3, true, [](const entry_t &e) { return e.lif - 0x2007; }, 0},
    {"encap", 4, 7, "ifsvc_get_if_encaptype(7) = 33", 5, true, [](const entry_t &e) -> u32 { return e.encap; }, 33},
    {"extn", 5, 7, "ifsvc_get_extension(7, 0x11) = 0xa1", 6, true, [](const entry_t &e) { return e.extn[0]; }, 0xa1},
    {"extn1", 6, 7, "ifsvc_get_extension(7, 0x12) = 0xa2", 7, true, [](const entry_t &e) { return e.extn[1]; }, 0xa2},
    {"extn2", 7, 7, "ifsvc_get_extension(7, 0x13) = 0xa3", 8, true, [](const entry_t &e) { return e.extn[2]; }, 0xa3},
    {"extn3", 8, 7, "ifsvc_get_extension(7, 0x14) = 0xa4", 9, true, [](const entry_t &e) { return e.extn[3]; }, 0xa4},
    {"mac", 9, 7, "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0007", 4, true, [](const entry_t &e) -> u32 { return e.mac[0] * 256u + e.mac[5]; }, 0x207},
    {"vlan", 10, 7, vlan_asked, 19, true, [](const entry_t &e) -> u32 { return e.vlan * 256u + e.port_mode; }, 30 * 256 + 5},
    {"context", 11, 7, "vrfsvc_if_get_context_id(7) = 0x31", 10, true, [](const entry_t &e) { return e.context_id; }, 0x31},
    {"base_tid", 12, 7, "vrfsvc_if_get_table_id(7, 1, \"base\") = 0x41", 11, true, [](const entry_t &e) { return e.base_tid; }, 0x41},
    {"mtu", 13, 7, "ifsvc_get_if_mtu(7) = 9216", 12, true, [](const entry_t &e) -> u32 { return e.mtu; }, 9216},
    {"name", 14, 7, "", -1, false, no_field, 0},
    {"switchport", 15, 7, "ifsvc_is_switchport(7) = 1", 13, true, [](const entry_t &e) -> u32 { return e.switchport; }, 1},
    {"switching", 16, 7, "ifsvc_is_switching_enabled_on_iod(7) = 1", 14, true, [](const entry_t &e) -> u32 { return e.switching; }, 1},
    {"linkup", 17, 7, "ifsvc_is_linkup(7) = 1", 15, true, [](const entry_t &e) -> u32 { return e.linkup; }, 1},
    {"protoup", 18, 7, "ifsvc_is_protoup(7) = 1", 16, true, [](const entry_t &e) -> u32 { return e.protoup; }, 1},
    {"ethernet", 19, 7, "ifsvc_is_ethernet(7) = 1", 17, true, [](const entry_t &e) -> u32 { return e.ethernet; }, 1},
    {"is_vlan", 20, 7, "", -1, false, no_field, 0},
    {"ips", 21, 7, "ifsvc_get_ifindex_port_mode_list(0x1a000007, 1) = 0 -> 0x200", 20, true, [](const entry_t &e) -> u32 { return e.ips; }, 1},
    {"null", 22, 7, "ifsvc_is_null0(7) = 1", 21, true, [](const entry_t &e) -> u32 { return e.null; }, 1},
    {"p2p", 23, 7, "ifsvc_is_native_p2p(7) = 1", 27, true, [](const entry_t &e) -> u32 { return e.p2p; }, 1},
    {"loopback", 24, 7, "ifsvc_is_loopback(7) = 1", 26, true, [](const entry_t &e) -> u32 { return e.loopback; }, 1},
    {"if_type", 25, 7, "", -1, false, [](const entry_t &e) -> u32 { return e.if_type - 26u; }, 0},
    {"mvpn", 26, 7, "", -1, false, [](const entry_t &e) -> u32 { return e.mvpn; }, 0},
    {"aggsvc_if", 27, 16003, "aggsvc_get_pc_info(0x16000003) = 0 -> 0x1a000007", 22, true, [](const entry_t &e) { return e.aggsvc_if; }, 0x1a000007},
    {"aggsvc_if_of_a_port", 27, 7, "", -1, true, [](const entry_t &e) { return e.aggsvc_if; }, 0},
    {"gre_hdr", 28, 7, "", -1, false, no_field, 0},
    {"subif", 29, 7, "", -1, false, [](const entry_t &e) { return e.aggsvc_if; }, 0},
    {"pvlan", 30, 7, "", -1, true, no_field, 0},
    {"bd", 31, 7, "", -1, true, no_field, 0},
    {"findex", 32, 7, "", -1, true, no_field, 0},
    {"pc", 33, 7, "", -1, false, no_field, 0},
};
// clang-format on

class attribute_test : public varn_test
{
protected:
    attribute_test()
    {
        given(port(7)
                  .mtu(9216)
                  .encap(33)
                  .context(0x31)
                  .base_table(0x41)
                  .access(30, 5)
                  .null0(1)
                  .p2p(1)
                  .loopback(1)
                  .mvpn(1)
                  .extension(0x11, 0xa1)
                  .extension(0x12, 0xa2)
                  .extension(0x13, 0xa3)
                  .extension(0x14, 0xa4),
              port_channel(3).members({0x1a000007}));
    }

    static config keyed(u64 sync)
    {
        return config().sync(sync).uuid(0x11).extn_uuid(1, 0x12).extn_uuid(2, 0x13).extn_uuid(3,
                                                                                              0x14);
    }

    // An entry whose values were wiped, so that what a refresh stores can be seen.
    entry_t *wiped(u32 iod)
    {
        entry_t *found = varn_if_create_entry_by_iod(iod);
        std::memset(found->mac, 0, sizeof found->mac);
        std::memset(found->extn, 0, sizeof found->extn);
        found->encap = found->vlan = found->mtu = 0;
        found->context_id = found->base_tid = found->port_mode = found->aggsvc_if = 0;
        found->switchport = found->switching = found->linkup = found->protoup = 0;
        found->ethernet = found->is_vlan = found->ips = found->null = 0;
        found->loopback = found->p2p = found->mvpn = 0;
        return found;
    }
};

class Attribute : public attribute_test, public testing::WithParamInterface<attribute>
{
};
INSTANTIATE_TEST_SUITE_P(All, Attribute, testing::ValuesIn(attributes),
                         [](const auto &each) { return each.param.name; });

TEST_P(Attribute, HasItsBitItsServiceItsSlotAndItsField)
{
    const attribute &row = GetParam();
    start(keyed(every_bit));
    entry_t *entry = wiped(row.iod);
    entry->dirty = bits(row.bit);
    forget_all();

    EXPECT_EQ(varn_if_update_entry(entry, 0), 1u);

    EXPECT_EQ(calls(), row.asked);
    EXPECT_EQ(counters_moved(),
              row.slot < 0 ? "" : spell("updates[", std::to_string(row.slot), "] +1"));
    EXPECT_EQ(u64{entry->dirty}, row.is_cleared ? 0 : bits(row.bit));
    EXPECT_EQ(row.field(*entry), row.kept);
}

TEST_P(Attribute, WithItsBitClearIsAskedOfNobody)
{
    const attribute &row = GetParam();
    start(keyed(every_bit));
    entry_t *entry = wiped(row.iod);
    entry->dirty = 0;
    forget_all();
    EXPECT_EQ(varn_if_update_entry(entry, 0), 1u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "");
    EXPECT_EQ(u64{entry->dirty}, 0u);
    EXPECT_EQ(row.field(*entry), 0u) << "what was wiped stays wiped";
}

using AttributesNotCached = attribute_test;

TEST_F(AttributesNotCached, CountTheirMissesInSlots29And30)
{
    start(keyed(every_bit));
    EXPECT_EQ(varn_ifsvc_is_dci_tunnel(7), 0u);
    EXPECT_EQ(counters_moved(), "misses[29] +1");
    EXPECT_EQ(varn_ifsvc_is_dci_overlay(7), 0u);
    EXPECT_EQ(counters_moved(), "misses[30] +1");
}

// ---- what ties the masks to the values ----

using FreshEntry = attribute_test;
using SyncMask = attribute_test;
using AbsentKey = attribute_test;
using VlanAndPortMode = attribute_test;

struct masks {
    u64 sync, dirty;
};

// Before its first refresh; bits 1 and 25 are known by then, and bit 0 is the key.
TEST_F(FreshEntry, HasAllOfSyncDirtyButTheBitsThatCreationKnows)
{
    for (const masks &each : {masks{0x3FFFFFFFF, 0x3FDFFFFFC}, masks{0x00020003, 0x00020000},
                              masks{0x00020001, 0x00020000}, masks{0, 0},
                              masks{0xFFFFFFFFFFFFFFFF, 0xFFFFFFFFFDFFFFFC}}) {
        SCOPED_TRACE(hex(each.sync));
        u64 seen = 1;
        start(keyed(each.sync).on_create([&](u32) { seen = entry_of(0x1a000007)->dirty; }));
        ASSERT_NE(varn_if_create_entry_by_if(0x1a000007, 7, none, none), nullptr);
        EXPECT_EQ(seen, each.dirty);
    }
}

TEST_F(FreshEntry, HasNoPiNoLifAndAnUntouchedValidMask)
{
    std::string seen;
    start(keyed(every_bit).on_create([&](u32) {
        const entry_t &made = *entry_of(0x1a000007);
        seen = lines(spell("pi ", hex(made.pi)), spell("lif ", hex(made.lif)),
                     spell("mtu ", dec(made.mtu)), spell("type ", dec(made.if_type)),
                     spell("iod ", dec(made.iod)), spell("valid ", hex(made.valid)),
                     spell("ref_count ", dec(made.ref_count)), spell("linkup ", dec(made.linkup)),
                     spell("encap ", dec(made.encap)));
    }));
    ASSERT_NE(varn_if_create_entry_by_iod(7), nullptr);
    EXPECT_EQ(seen, lines("pi 0xffffffff", "lif 0xffffffff", "mtu 9216", "type 26", "iod 7",
                          "valid 0x0", "ref_count 2", "linkup 0", "encap 0"));
}

TEST_F(FreshEntry, IsOneAllocationOfTheRecordsTypeAndSize)
{
    start(keyed(every_bit));
    record(allocations);
    record(services, false);
    ASSERT_NE(varn_if_create_entry_by_iod(7), nullptr);
    EXPECT_EQ(calls(), "memacct_alloc(544, 1, 136) = block");
    EXPECT_EQ(entry(7)->ref_count, 4u);
}

struct plain_query {
    const char *name;
    u32 (*ask)(u32 iod);
    u32 (*service)(u32 iod);
};

#define QUERY(name)                                                                                \
    plain_query { #name, varn_##name, name }

const plain_query plain_queries[] = {
    QUERY(ifsvc_is_linkup),        QUERY(ifsvc_is_protoup),
    QUERY(ifsvc_is_switchport),    QUERY(ifsvc_is_switching_enabled_on_iod),
    QUERY(ifsvc_is_ethernet),      QUERY(ifsvc_is_vlan),
    QUERY(ifsvc_is_null0),         QUERY(ifsvc_is_native_p2p),
    QUERY(ifsvc_is_loopback),      QUERY(ifsvc_is_mvpn_tunnel),
    QUERY(ifsvc_get_if_mtu),       QUERY(ifsvc_get_if_encaptype),
    QUERY(ifsvc_get_if_vlanid),    QUERY(ifsvc_is_gre_tunnel),
    QUERY(ifsvc_is_super_802_3ad), QUERY(ifsvc_is_cbus),
    QUERY(ifsvc_is_mgmtether)};

// Asks twice; 1 when the answer was the service's both times.
void expect_passed_on(const plain_query &query)
{
    const unsigned long before = on(query.service).asked();
    on(query.service).of(the_port).answers(0x4321);
    EXPECT_EQ(query.ask(the_port), 0x4321u) << query.name;
    EXPECT_EQ(query.ask(the_port), 0x4321u) << query.name;
    EXPECT_EQ(on(query.service).asked() - before, 2ul) << query.name;
}

TEST_F(SyncMask, OfZeroTrustsNoValueAndSendsEveryQueryToItsService)
{
    start(keyed(0));
    entry_t *entry = varn_if_create_entry_by_if(0x1a000007, 7, none, none);
    ASSERT_NE(entry, nullptr);
    varn.config.sync = 0;
    for (const plain_query &each : plain_queries)
        expect_passed_on(each);
    EXPECT_EQ(entry_of(0x1a000007)->linkup, 0u);
}

TEST_F(SyncMask, TakenAwayLaterLeavesCachedValuesUntrusted)
{
    start(keyed(every_bit));
    ASSERT_NE(varn_if_create_entry_by_iod(the_port), nullptr);
    varn.config.sync = 0;
    for (const plain_query &each : plain_queries)
        expect_passed_on(each);
}

TEST_F(AbsentKey, MeansThatTheEntryIsNotInTheTable)
{
    given(port(8).pi(none).lif(none));
    start(keyed(every_bit));
    const entry_t *made = varn_if_create_entry_by_iod(8);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->pi, 0xFFFFFFFFu);
    EXPECT_EQ(made->lif, 0xFFFFFFFFu);
    EXPECT_FALSE(stands_in(&varn.pi_table, made));
    EXPECT_FALSE(stands_in(&varn.lif_table, made));
    EXPECT_EQ(made->ref_count, 2u);
}

TEST_F(VlanAndPortMode, OfASwitchportAreChangedTogetherByARefresh)
{
    start(keyed(every_bit));
    entry_t *entry = varn_if_create_entry_by_iod(the_port);
    the(the_port).access(31, 6);
    entry->dirty |= bits(10);
    EXPECT_EQ(varn_if_update_entry(entry, 0), 1u);
    EXPECT_EQ(lines(dec(entry->vlan), dec(entry->port_mode)), lines("31", "6"));
    EXPECT_EQ(entry->dirty & bits(10), 0u);
}

TEST_F(VlanAndPortMode, OfASwitchportAreChangedTogetherByAQuery)
{
    start(keyed(every_bit));
    entry_t *entry = varn_if_create_entry_by_iod(the_port);
    the(the_port).access(31, 6);
    entry->dirty |= bits(10);
    EXPECT_EQ(varn_ifsvc_get_if_vlanid(the_port), 31u);
    EXPECT_EQ(lines(dec(entry->vlan), dec(entry->port_mode)), lines("31", "6"));
    EXPECT_EQ(entry->dirty & bits(10), 0u);
}

} // namespace
