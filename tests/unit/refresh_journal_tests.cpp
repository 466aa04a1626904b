// SPDX-License-Identifier: Apache-2.0
//
// The order of a refresh, as whole journals: with every bit dirty, with each bit alone, with each
// bit left out, of new entries and of old ones; and the refresh by if-index.
#include "entry_tests.h"

namespace
{

// What one dirty bit adds to the refresh of port 7.
struct step {
    unsigned bit;
    std::string not_new;
    std::string is_new;
};

step alike(unsigned bit, const std::string &text) { return {bit, text, text}; }

const std::string asks_lif = "lifsvc_query_ifindex_to_lif(0x1a000007) = 0 -> 0x2007";

// The steps in their order, of a switchport whose identities have not changed.
const step steps[] = {
    {1, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7", ""},
    alike(2, "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107"),
    {3, lines(asks_lif, traced("lif same as lifsvc's value, clear dirty bit\n")), asks_lif},
    alike(27, ""),
    alike(15, "ifsvc_is_switchport(7) = 1"),
    alike(17, "ifsvc_is_linkup(7) = 1"),
    alike(18, "ifsvc_is_protoup(7) = 1"),
    alike(4, "ifsvc_get_if_encaptype(7) = 1"),
    alike(16, "ifsvc_is_switching_enabled_on_iod(7) = 1"),
    alike(5, "ifsvc_get_extension(7, 0x11) = 0x1"),
    alike(6, "ifsvc_get_extension(7, 0x22) = 0x2"),
    alike(7, "ifsvc_get_extension(7, 0x33) = 0x3"),
    alike(8, "ifsvc_get_extension(7, 0x44) = 0x4"),
    alike(9, "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0007"),
    alike(19, "ifsvc_is_ethernet(7) = 1"),
    alike(24, "ifsvc_is_loopback(7) = 0"),
    alike(23, "ifsvc_is_native_p2p(7) = 0"),
    alike(22, "ifsvc_is_null0(7) = 0"),
    alike(11, "vrfsvc_if_get_context_id(7) = 0x1"),
    alike(12, "vrfsvc_if_get_table_id(7, 1, \"base\") = 0x10001"),
    alike(21, "ifsvc_get_ifindex_port_mode_list(0x1a000007, 1) = 0 -> 0x200"),
    alike(10, lines("ifsvc_is_vlan(7) = 0", "ifsvc_is_vlan(7) = 0", "ifsvc_is_switchport(7) = 1",
                    "ifsvc_get_vlan_info(7) = 1 -> 1/20, 2")),
    alike(13, "ifsvc_get_if_mtu(7) = 1500"),
};

std::string journal_of(u64 dirty, u32 is_new)
{
    std::vector<std::string> all = {traced("Varn-update for if-index 0x1a000007, iod 7\n"),
                                    "if_index_get_type(0x1a000007) = 0 -> 26"};
    for (const step &each : steps)
        if ((dirty & bits(each.bit)) != 0)
            all.push_back(is_new != 0 ? each.is_new : each.not_new);
    return joined(all);
}

// What is left dirty: what no refresh clears, and the unchanged keys of a new entry.
u64 left_of(u64 dirty, u32 is_new)
{
    const u64 never_cleared = bits(0, 1, 14, 20, 25, 26, 28, 29) | ~u64{0} << 33;
    return dirty & (is_new != 0 ? never_cleared | bits(2, 3) : never_cleared);
}

class WholeRefresh : public entry_test, public testing::WithParamInterface<u32>
{
protected:
    void SetUp() override
    {
        given(port(7)
                  .access(20, 2)
                  .extension(0x11, 1)
                  .extension(0x22, 2)
                  .extension(0x33, 3)
                  .extension(0x44, 4));
        start_with(
            config().sync(all_entry_bits).extn_uuid(1, 0x22).extn_uuid(2, 0x33).extn_uuid(3, 0x44));
        refreshed = created(7);
    }

    u32 is_new() const { return GetParam(); }

    void expect_journal_of(u64 dirty)
    {
        refreshed->dirty = dirty;
        EXPECT_EQ(varn_if_update_entry(refreshed, is_new()), 1u);
        EXPECT_EQ(seen(), journal_of(dirty, is_new()));
        EXPECT_EQ(dirty_of(refreshed), left_of(dirty, is_new()));
    }

    varn_if_entry_t *refreshed = nullptr;
};

INSTANTIATE_TEST_SUITE_P(OldAndNew, WholeRefresh, testing::Values(0u, 1u, 2u),
                         [](const auto &tested) { return "is_new_" + dec(tested.param); });

TEST_P(WholeRefresh, AsksForEverythingInThisOrder)
{
    expect_journal_of(~u64{0});
    EXPECT_EQ(counters_moved(),
              spell(is_new() != 0 ? "" : "updates[1] +1, ",
                    "updates[2] +1, updates[3] +1, updates[4] +1, updates[5] +1, updates[6] +1, "
                    "updates[7] +1, updates[8] +1, updates[9] +1, updates[10] +1, updates[11] +1, "
                    "updates[12] +1, updates[13] +1, updates[14] +1, updates[15] +1, "
                    "updates[16] +1, updates[17] +1, updates[19] +1, updates[20] +1, "
                    "updates[21] +1, updates[26] +1, updates[27] +1"));
}

TEST_P(WholeRefresh, WithEachBitAloneAsksForThatAttributeOnly)
{
    for (unsigned bit = 0; bit < 64; ++bit) {
        SCOPED_TRACE("bit " + dec(bit));
        expect_journal_of(bits(bit));
    }
}

TEST_P(WholeRefresh, WithEachBitLeftOutAsksForEverythingElse)
{
    for (unsigned bit = 0; bit < 64; ++bit) {
        SCOPED_TRACE("bit " + dec(bit));
        expect_journal_of(~bits(bit));
    }
}

TEST_P(WholeRefresh, AsksForNothingTwice)
{
    expect_journal_of(~u64{0});
    forget_all();
    expect_journal_of(refreshed->dirty & ~bits(1, 2, 3));
    EXPECT_EQ(on(ifsvc_is_linkup).asked(), 2u) << "at creation and once more";
}

// ---- other interfaces, whole ----

using RefreshJournal = entry_test;

TEST_F(RefreshJournal, OfAPortChannelThatMovedPutsTheTablesRightBeforeItAsksForValues)
{
    given(port_channel(3).members({0x1a000007}));
    start_caching(bits(1, 2, 3));
    varn_if_entry_t *channel = created(16003);
    the(16003).pi(0x999).lif(none);
    channel->dirty = bits(1, 2, 3, 13, 17, 21, 27);
    EXPECT_EQ(varn_if_update_entry(channel, 0), 1u);
    EXPECT_EQ(
        seen(),
        lines(traced("Varn-update for if-index 0x16000003, iod 16003\n"),
              "if_index_get_type(0x16000003) = 0 -> 22",
              "ifsvc_get_iod_frm_ifindex(0x16000003) = 0 -> 16003",
              "idxsvc_lib_ifidx_to_di(0x16000003) = 0 -> 0x999",
              traced("If->pi mapping changed for if-index 0x16000003, entry->pi=16003, pi=32771, "
                     "port_index=2457\n"),
              "ht_lookup(Pi, 0x999) = null",
              traced("Removing stale entry for if-index 0x16000003, iod 16003, pi 0x8003  for new "
                     "port-index 0x999\n"),
              "ht_remove_entry(Pi, 0x8003) = 1",
              traced("Creating pi entry for if-index 0x16000003, iod 16003, pi 0x999\n"),
              "ht_insert(Pi, 0x999) = 1", "lifsvc_query_ifindex_to_lif(0x16000003) = 0x40040004",
              traced("If->lif mapping changed for if-index 0x16000003, entry->iod=16003, "
                     "lif=0xffffffff\n"),
              traced("Removing stale lif entry for if-index 0x16000003, iod 16003, lif 0x8003  "
                     "for new port-index 0xffffffff\n"),
              "ht_remove_entry(Lif, 0x8003) = 1",
              "aggsvc_get_pc_info(0x16000003) = 0 -> 0x1a000007", "ifsvc_is_linkup(16003) = 1",
              "ifsvc_get_if_mtu(16003) = 1500"));
    EXPECT_EQ(dirty_of(channel), bits(1, 3, 21));
}

TEST_F(RefreshJournal, OfANewSubInterfaceOfType9AsksForItsParentWithinTheVlan)
{
    given(svi(20).sub_interface(0x1a000001, 20));
    start_caching(bits(1, 2, 3, 10, 29));
    const varn_if_entry_t *made = varn_if_create_entry_by_if(0x09000014, 20020, none, none);
    EXPECT_TRUE(seen().ends_with(lines(
        traced("Varn-update for if-index 0x9000014, iod 20020\n"),
        "if_index_get_type(0x9000014) = 0 -> 9",
        "lifsvc_query_ifindex_to_lif(0x9000014) = 0 -> 0xa014", "ht_lookup(Lif, 0xa014) = null",
        traced("Creating lif entry for if-index 0x9000014, iod 20020, lif 0xa014\n"),
        "ht_insert(Lif, 0xa014) = 1", "ifsvc_is_vlan(20020) = 1", "ifsvc_is_vlan(20020) = 1",
        "ifsvc_get_if_vlanid(20020) = 20", "ifsvc_get_sub_interface_parent(20020) = 0x1a000001")));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(dirty_of(made), bits(29));
    EXPECT_EQ(made->pi, none);
}

TEST_F(RefreshJournal, WithTheIodOnAnotherInterfaceStopsBeforeThePi)
{
    given(port(7));
    start_caching(bits(1, 2, 3));
    varn_if_entry_t *refreshed = created(7);
    the(7).iod(9);
    refreshed->dirty = ~u64{0};
    EXPECT_EQ(varn_if_update_entry(refreshed, 0), 0u);
    EXPECT_EQ(on(idxsvc_lib_ifidx_to_di).asked(), 1u) << "by the creation";
    EXPECT_EQ(dirty_of(refreshed), ~u64{0});
}

// ---- by if-index ----

class RefreshByIfIndex : public entry_test
{
protected:
    void SetUp() override
    {
        given(port(7));
        start_caching(bits(1, 2, 3));
    }
};

TEST_F(RefreshByIfIndex, OfAnUnknownOneReturnsZeroAndCreatesNothing)
{
    EXPECT_EQ(varn_if_update_if(0x1a000007), 0u);
    EXPECT_EQ(seen(), "ht_lookup(If, 0x1a000007) = null");
    EXPECT_EQ(entry(7), nullptr);
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(RefreshByIfIndex, WhileTheCacheIsOffReturnsZero)
{
    created(7);
    varn_disable_cache();
    EXPECT_EQ(varn_if_update_if(0x1a000007), 0u);
    EXPECT_EQ(seen(), "");
    EXPECT_EQ(counters_moved(), "");
}

TEST_F(RefreshByIfIndex, RefreshesAnEntryThatIsNotNew)
{
    created(7)->dirty = bits(1, 2);
    EXPECT_EQ(varn_if_update_if(0x1a000007), 1u);
    EXPECT_EQ(seen(), lines("ht_lookup(If, 0x1a000007) = found", journal_of(bits(1, 2), 0)));
    EXPECT_EQ(counters_moved(), "updates[1] +1, updates[2] +1, if_refreshes +1");
    EXPECT_EQ(dirty_of(entry(7)), bits(1));
}

TEST_F(RefreshByIfIndex, ReturnsTheRefreshsFailureAndCountsItAllTheSame)
{
    created(7)->dirty = bits(1);
    on(ifsvc_get_iod_frm_ifindex).fails(0x41);
    EXPECT_EQ(varn_if_update_if(0x1a000007), 0u);
    EXPECT_EQ(counters_moved(), "updates[1] +1, iod_remaps +1, if_refreshes +1");
}

} // namespace
