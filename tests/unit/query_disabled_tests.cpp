// SPDX-License-Identifier: Apache-2.0
//
// Every query while the cache cannot answer: not yet started, nothing cached, the iod not cached,
// switched off. Each goes to its service and nowhere else. Then the cache is switched on again, and
// the entries that it kept answer as before.
#include "query_ground.h"

#include <iterator>

namespace
{

constexpr u64 not_kept_in_entries = bits(14); // a name is asked every time

// The queries with outputs, as functions of an iod.
u32 ask_mac(u32 iod) { return varn_ifsvc_get_if_mac_addr(iod)[5]; }
u32 ask_is_mac(u32 iod) { return varn_ifsvc_is_if_mac_addr(iod, mac_of_7.data()); }
u32 ask_name(u32 iod) { return static_cast<u32>(std::string(varn_ifsvc_get_if_name(iod)).size()); }
u32 ask_vlan_info(u32 iod)
{
    varn_vlan_info_t info = {0, 0};
    u32 mode = 0;
    const u32 result = varn_ifsvc_get_vlan_info(iod, &info, &mode);
    return result == 1 ? info.vlan << 8 | mode : 0;
}
u32 ask_if_index(u32 iod)
{
    u32 if_index = 0;
    return varn_ifsvc_get_ifindex_frm_iod(iod, &if_index) == 0 ? if_index : 0;
}
u32 ask_iod(u32 iod)
{
    u32 found = 0;
    return varn_ifsvc_get_iod_frm_ifindex(0x1a000000 | iod, &found) == 0 ? found : 0;
}
u32 ask_svi_iod(u32 iod)
{
    return varn_ifsvc_get_svi_iod_for_vlan(static_cast<std::uint16_t>(iod), 3);
}

// A query of port(7): what it asks of the services when the cache cannot answer, what that counts,
// its answer, and what it asks and counts when the entry is there and clean.
struct query {
    const char *name;
    u32 (*ask)(u32 iod);
    const char *passed;
    const char *counted;
    u32 answer;
    const char *asked_of_a_clean_entry;
    const char *counted_then;
};

void PrintTo(const query &row, std::ostream *out) { *out << row.name; }

// clang-format off
const query queries[] = {
    {"is_linkup", varn_ifsvc_is_linkup, "ifsvc_is_linkup(7) = 1", "misses[15] +1", 1, "", "hits[15] +1"},
    {"is_protoup", varn_ifsvc_is_protoup, "ifsvc_is_protoup(7) = 1", "misses[16] +1", 1, "", "hits[16] +1"},
    {"is_switchport", varn_ifsvc_is_switchport, "ifsvc_is_switchport(7) = 1", "misses[13] +1", 1, "", "hits[13] +1"},
    {"is_switching_enabled_on_iod", varn_ifsvc_is_switching_enabled_on_iod, "ifsvc_is_switching_enabled_on_iod(7) = 1", "misses[14] +1", 1, "", "hits[14] +1"},
    {"is_ethernet", varn_ifsvc_is_ethernet, "ifsvc_is_ethernet(7) = 1", "misses[17] +1", 1, "", "hits[17] +1"},
    {"is_vlan", varn_ifsvc_is_vlan, "ifsvc_is_vlan(7) = 0", "misses[18] +1", 0, "", "hits[18] +1"},
    {"is_null0", varn_ifsvc_is_null0, "ifsvc_is_null0(7) = 0", "misses[21] +1", 0, "", "hits[21] +1"},
    {"is_native_p2p", varn_ifsvc_is_native_p2p, "ifsvc_is_native_p2p(7) = 1", "misses[27] +1", 1, "", "hits[27] +1"},
    {"is_loopback", varn_ifsvc_is_loopback, "ifsvc_is_loopback(7) = 0", "misses[26] +1", 0, "", "hits[26] +1"},
    {"is_mvpn_tunnel", varn_ifsvc_is_mvpn_tunnel, "ifsvc_is_mvpn_tunnel(7) = 1", "misses[31] +1", 1, "", "hits[31] +1"},
    {"get_if_mtu", varn_ifsvc_get_if_mtu, "ifsvc_get_if_mtu(7) = 9216", "misses[12] +1", 9216, "", "hits[12] +1"},
    {"get_if_encaptype", varn_ifsvc_get_if_encaptype, "ifsvc_get_if_encaptype(7) = 4", "misses[5] +1", 4, "", "hits[5] +1"},
    {"get_if_mac_addr", ask_mac, "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0007", "misses[4] +1", 7, "", "hits[4] +1"},
    {"is_if_mac_addr", ask_is_mac, "ifsvc_is_if_mac_addr(7, 0200.0000.0007) = 1", "misses[4] +1", 1, "", "hits[4] +1"},
    {"get_if_vlanid", varn_ifsvc_get_if_vlanid, "ifsvc_get_if_vlanid(7) = 20", "misses[19] +1", 20, "", "hits[19] +1"},
    {"get_vlan_info", ask_vlan_info, "ifsvc_get_vlan_info(7) = 1 -> 1/20, 2", "misses[19] +1", 20 << 8 | 2, "supvr_vinst_get() = 1", "hits[19] +1"},
    {"get_if_name", ask_name, "ifsvc_get_if_name(7) = \"eth7\"", "misses[25] +1", 4, "ifsvc_get_ifindex_name(0x1a000007, 255) = 0 -> \"eth7\"", "hits[25] +1"},
    {"is_gre_tunnel", varn_ifsvc_is_gre_tunnel, "ifsvc_is_gre_tunnel(7) = 0", "misses[28] +1", 0, "", ""},
    {"is_super_802_3ad", varn_ifsvc_is_super_802_3ad, "ifsvc_is_super_802_3ad(7) = 0", "misses[28] +1", 0, "", ""},
    {"is_cbus", varn_ifsvc_is_cbus, "ifsvc_is_cbus(7) = 0", "misses[28] +1", 0, "", ""},
    {"is_mgmtether", varn_ifsvc_is_mgmtether, "ifsvc_is_mgmtether(7) = 0", "misses[28] +1", 0, "", ""},
    {"is_dci_tunnel", varn_ifsvc_is_dci_tunnel, "ifsvc_is_dci_tunnel(7) = 1", "misses[29] +1", 1, "ifsvc_is_dci_tunnel(7) = 1", "misses[29] +1"},
    {"is_dci_overlay", varn_ifsvc_is_dci_overlay, "ifsvc_is_dci_overlay(7) = 1", "misses[30] +1", 1, "ifsvc_is_dci_overlay(7) = 1", "misses[30] +1"},
    {"is_6to4_tunnel", varn_ifsvc_is_6to4_tunnel, "ifsvc_is_6to4_tunnel(7) = 1", "", 1, "ifsvc_is_6to4_tunnel(7) = 1", ""},
    {"is_mpls_tunnel", varn_ifsvc_is_mpls_tunnel, "ifsvc_is_mpls_tunnel(7) = 1", "", 1, "ifsvc_is_mpls_tunnel(7) = 1", ""},
    {"get_ifindex_frm_iod", ask_if_index, "ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007", "misses[1] +1", 0x1a000007, "", "hits[1] +1"},
    {"get_iod_frm_ifindex", ask_iod, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7", "misses[1] +1", 7, "", "hits[1] +1"},
    {"is_iod_svi", varn_ifsvc_is_iod_svi, "ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007\nifsvc_is_ifindex_svi(0x1a000007) = 0", "misses[1] +1", 0, "ifsvc_is_ifindex_svi(0x1a000007) = 0", "hits[1] +1"},
    {"get_svi_iod_for_vlan", ask_svi_iod, "ifsvc_get_iod_frm_ifindex(0x9000007) = 0 -> 20007", "misses[1] +1", 20007, "", "hits[1] +1"},
};
// clang-format on

static_assert(std::size(queries) == 29);

class EveryQuery : public query_test, public testing::WithParamInterface<query>
{
protected:
    EveryQuery()
    {
        given(svi(7));
        given(port(7).mtu(9216).encap(4).access(20, 2).vlanid(20).p2p(1).mvpn(1).dci_tunnel(1));
        the(7).dci_overlay(1).tunnel_6to4(1).mpls(1);
    }
    // Twice, for the first time must leave nothing behind.
    void expect_passed_on()
    {
        const std::size_t entries_before = entries();
        for (int time = 0; time < 2; ++time) {
            EXPECT_EQ(row.ask(7), row.answer);
            EXPECT_EQ(calls(), row.passed);
            EXPECT_EQ(counters_moved(), row.counted);
            EXPECT_EQ(entries(), entries_before);
        }
        EXPECT_EQ(history_text(), "");
    }
    void expect_answered_from_clean_entries()
    {
        EXPECT_EQ(row.ask(7), row.answer);
        EXPECT_EQ(calls(), row.asked_of_a_clean_entry);
        EXPECT_EQ(counters_moved(), row.counted_then);
    }
    // Entries for port(7) and its namesake VLAN, with nothing left to ask.
    void fill_and_clean()
    {
        start_with(everything);
        for (const u32 iod : {7u, 20007u}) {
            varn_ifsvc_is_vlan(iod);
            varn_ifsvc_is_mvpn_tunnel(iod);
            filled(iod).dirty &= not_kept_in_entries;
        }
    }

    const query &row = GetParam();
};

TEST_P(EveryQuery, BeforeTheStartGoesToItsService) { expect_passed_on(); }

TEST_P(EveryQuery, WithNothingCachedGoesToItsService)
{
    start_with(0);
    expect_passed_on();
}

TEST_P(EveryQuery, WithOnlyTheIodNotCachedGoesToItsService)
{
    start_with(~bits(1));
    expect_passed_on();
}

TEST_P(EveryQuery, WhileTheCacheIsDisabledGoesToItsService)
{
    start_with(everything);
    varn_disable_cache();
    expect_passed_on();
}

TEST_P(EveryQuery, WhileTheCacheIsDisabledDoesNotLookAtItsEntry)
{
    fill_and_clean();
    varn_disable_cache();
    expect_passed_on();
}

TEST_P(EveryQuery, OfACleanEntryAsksNothingThatIsKept)
{
    fill_and_clean();
    expect_answered_from_clean_entries();
}

TEST_P(EveryQuery, AfterTheCacheIsRestoredAnswersFromTheEntryThatWasKept)
{
    fill_and_clean();
    varn_disable_cache();
    row.ask(7);
    varn_restore_cache();
    forget_all();
    expect_answered_from_clean_entries();
}

INSTANTIATE_TEST_SUITE_P(Each, EveryQuery, testing::ValuesIn(queries),
                         [](const auto &each) { return std::string(each.param.name); });

// A value that changed while the cache was off is not noticed: nothing marked it.
using DisabledCache = query_test;

TEST_F(DisabledCache, IsRestoredWithTheValuesThatItHad)
{
    start_with(bits(1, 17));
    filled(7);
    varn_disable_cache();
    the(7).linkup(0);
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 0u);
    varn_restore_cache();
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    EXPECT_EQ(calls(), "ifsvc_is_linkup(7) = 0");
    EXPECT_EQ(counters_moved(), "misses[15] +1, hits[15] +1");
}

TEST_F(DisabledCache, KeepsADirtyBitForTheTimeAfter)
{
    start_with(bits(1, 17));
    varn_if_entry_t &kept = filled(7);
    kept.dirty = bits(17);
    varn_disable_cache();
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    EXPECT_EQ(u64{kept.dirty}, bits(17));
    varn_restore_cache();
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    EXPECT_EQ(calls(), lines("ifsvc_is_linkup(7) = 1", "ifsvc_is_linkup(7) = 1"));
    EXPECT_EQ(counters_moved(), "misses[15] +2");
}

// The tables are there and sync is set, but nothing may be created.
TEST_F(DisabledCache, AfterAFailedStartFindsNoEntryAndGoesToTheService)
{
    on(ht_init).of("Lif").fails();
    EXPECT_EQ(init(config().sync(bits(1, 3, 17))), 0u);
    forget_all();
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
    EXPECT_EQ(calls(), lines(asked_if_index, "ifsvc_is_linkup(7) = 1"));
    EXPECT_EQ(counters_moved(), "misses[15] +1");
    EXPECT_EQ(entries(), 0u);
}

} // namespace
