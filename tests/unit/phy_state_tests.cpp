// SPDX-License-Identifier: Apache-2.0
//
// Notifications of the physical link state: a link that goes away takes its entry with it, a link
// that is there has an entry that says so, and the port-channel above it asks for its members anew.
#include "handler_ground.h"

namespace
{

using UpdatePhyState = handler_test;

constexpr const char *counted_removal = "if_frees +1, if_destroys +1, if_index.removes +1, "
                                        "iod_index.removes +1, phy_updates +1";

std::string interface_line(const varn_if_entry_t *entry, unsigned state)
{
    return traced(
        spell("Interface eth7 (iod 7): entry ", address_text(entry), ", state ", dec(state), "\n"));
}

u32 notified(unsigned state)
{
    phy_message update = phy_of(index_7, 7, state);
    return varn_update_phy_state(update.get());
}

// What a creation for iod 7 writes and asks when only iod and linkup are cached.
std::string creation_lines()
{
    return lines(traced("Creating varn entry for if-iod 7 on phy-change.\n"),
                 "ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007", asked_type_of_7,
                 traced("If-create for if-index 0x1a000007, iod 7, pi 0xffffffff, lif "
                        "0xffffffff\n"),
                 "ifsvc_get_if_mtu(7) = 1500",
                 traced("Varn-update for if-index 0x1a000007, iod 7\n"), asked_type_of_7,
                 "ifsvc_is_linkup(7) = 1");
}

TEST_F(UpdatePhyState, WhileTheCacheIsOffDoesNothing)
{
    start_caching(bits(1, 17, 33));
    watched(7);
    varn_enabled = 0;
    for (const unsigned state : {0u, 1u, 2u})
        EXPECT_EQ(notified(state), 0u);
    expect_untouched();
}

TEST_F(UpdatePhyState, AfterTheCacheWasDisabledDoesNothing)
{
    start_caching(bits(1, 17, 33));
    watched(7);
    varn_disable_cache();
    EXPECT_EQ(notified(2), 0u);
    expect_untouched();
}

TEST_F(UpdatePhyState, OfALinkThatWentAwayWithoutEntryLogsOneLineAndReturnsZero)
{
    start_caching(bits(1, 17));
    EXPECT_EQ(notified(2), 0u);
    EXPECT_EQ(calls(), lines(asked_name_of_7, interface_line(nullptr, 2)));
    EXPECT_EQ(counters_moved(), "phy_updates +1");
}

TEST_F(UpdatePhyState, OfALinkThatWentAwayDeletesItsEntry)
{
    start_caching(bits(1, 17));
    const varn_if_entry_t *kept = &watched(7);
    EXPECT_EQ(notified(2), 1u);
    EXPECT_EQ(calls(), lines(asked_name_of_7, interface_line(kept, 2),
                             traced("Deleting varn entry for if-iod 7 on phy-change.\n"),
                             traced("If-destroy for if-index 0x1a000007, iod 7, pi 0xffffffff, "
                                    "lif 0xffffffff\n")));
    EXPECT_EQ(counters_moved(), counted_removal);
    EXPECT_EQ(entry(7), nullptr);
    EXPECT_EQ(released().size(), 1u);
}

TEST_F(UpdatePhyState, OfAnyOtherStateMakesTheEntryLinkUpWithoutAsking)
{
    start_caching(bits(1, 17));
    the(7).linkup(0);
    varn_if_entry_t &kept = watched(7);
    for (const unsigned state : {0u, 1u, 3u, 16u, 255u}) {
        SCOPED_TRACE(state);
        kept.linkup = 0;
        watch(kept);
        EXPECT_EQ(notified(state), 1u);
        EXPECT_EQ(calls(), lines(asked_name_of_7, interface_line(&kept, state)));
        EXPECT_EQ(changes(), "linkup 0 -> 1");
        EXPECT_EQ(counters_moved(), "phy_updates +1");
    }
}

// The service would say no, and the next query asks it all the same if the bit was dirty.
TEST_F(UpdatePhyState, DeliberatelyTrustsTheStateAndLeavesTheDirtyBitAsItWas)
{
    start_caching(bits(1, 17));
    the(7).linkup(0);
    varn_if_entry_t &kept = watched(7);
    for (const u64 dirt : {u64{0}, bits(17), ~u64{0}}) {
        SCOPED_TRACE(dirt);
        kept.dirty = dirt;
        kept.linkup = 0;
        watch(kept);
        EXPECT_EQ(notified(1), 1u);
        EXPECT_EQ(changes(), "linkup 0 -> 1");
    }
}

TEST_F(UpdatePhyState, SetsTheLinkUpEvenWhenItIsNotCached)
{
    start_caching(bits(1));
    varn_if_entry_t &kept = watched(7);
    EXPECT_EQ(notified(0), 1u);
    EXPECT_EQ(changes(), "linkup 0 -> 1");
    EXPECT_EQ(calls(), lines(asked_name_of_7, interface_line(&kept, 0)));
}

TEST_F(UpdatePhyState, OfALinkWithoutEntryCreatesOneAndFillsIt)
{
    start_caching(bits(1, 17));
    for (const unsigned state : {0u, 1u, 3u}) {
        SCOPED_TRACE(state);
        EXPECT_EQ(notified(state), 1u);
        EXPECT_EQ(calls(),
                  lines(asked_name_of_7, interface_line(nullptr, state), creation_lines()));
        EXPECT_EQ(counters_moved(), "updates[15] +1, if_allocs +1, if_index.inserts +1, "
                                    "iod_index.inserts +1, phy_updates +1");
        ASSERT_NE(entry(7), nullptr);
        EXPECT_EQ(entry(7)->linkup, 1u);
        EXPECT_EQ(dirty(entry(7)), 0u);
        varn_if_remove_entry_by_iod(7);
        forget_all();
    }
}

// Unlike an entry that stands already: the refresh of the new one has asked the service.
TEST_F(UpdatePhyState, OfANewEntryBelievesTheServiceAndNotTheState)
{
    start_caching(bits(1, 17));
    the(7).linkup(0);
    EXPECT_EQ(notified(1), 1u);
    ASSERT_NE(entry(7), nullptr);
    EXPECT_EQ(entry(7)->linkup, 0u);
}

TEST_F(UpdatePhyState, ReturnsOneEvenWhenNoEntryCouldBeCreated)
{
    start_caching(bits(1, 17));
    gone(7);
    EXPECT_EQ(notified(1), 1u);
    EXPECT_EQ(calls(), lines("ifsvc_get_if_name(7) = \"(unknown iod 7)\"",
                             traced("Interface (unknown iod 7) (iod 7): entry 0x0, state 1\n"),
                             traced("Creating varn entry for if-iod 7 on phy-change.\n"),
                             "ifsvc_get_ifindex_frm_iod(7) = 0x40040004"));
    EXPECT_EQ(counters_moved(), "phy_updates +1");
    EXPECT_EQ(entry(7), nullptr);
}

TEST_F(UpdatePhyState, FindsTheEntryByIodAlone)
{
    start_caching(bits(1, 17));
    the(7).linkup(0);
    varn_if_entry_t &kept = watched(7);
    phy_message of_another_index = phy_of(0x1a000008, 7, 1);
    EXPECT_EQ(varn_update_phy_state(of_another_index.get()), 1u);
    EXPECT_EQ(calls(), lines(asked_name_of_7, interface_line(&kept, 1)));
    EXPECT_EQ(changes(), "linkup 0 -> 1");

    phy_message of_another_iod = phy_of(index_7, 8, 2);
    EXPECT_EQ(varn_update_phy_state(of_another_iod.get()), 0u);
    EXPECT_EQ(calls(), lines("ifsvc_get_if_name(8) = \"(unknown iod 8)\"",
                             traced("Interface (unknown iod 8) (iod 8): entry 0x0, state "
                                    "2\n")));
    EXPECT_EQ(entry(7), &kept);
}

class UpdatePhyStateOfAMember : public handler_test
{
protected:
    void start_with_channel(u64 sync)
    {
        given(port(7).in_channel(channel_3), port(8).in_channel(channel_3),
              port_channel(3).members({index_7}));
        start_caching(sync | bits(33));
        cache_members(channel_3);
        ASSERT_FALSE(members_are_dirty());
    }
};

constexpr const char *asked_channel_of_7 = "aggsvc_get_pc_for_port(0x1a000007) = 0 -> 0x16000003";

TEST_F(UpdatePhyStateOfAMember, InvalidatesThePortChannelBeforeAllElse)
{
    start_with_channel(bits(1, 17));
    const varn_if_entry_t *kept = &watched(7);
    EXPECT_EQ(notified(1), 1u);
    EXPECT_EQ(calls(), lines(asked_type_of_7, asked_channel_of_7,
                             traced("PC Varn invalidated for 0x16000003\n"), asked_name_of_7,
                             interface_line(kept, 1)));
    EXPECT_EQ(counters_moved(), "phy_updates +1, pc_updates +1");
    EXPECT_TRUE(members_are_dirty());
}

TEST_F(UpdatePhyStateOfAMember, InvalidatesThePortChannelAlsoWithoutEntry)
{
    start_with_channel(bits(1, 17));
    EXPECT_EQ(notified(2), 0u);
    EXPECT_EQ(calls(), lines(asked_type_of_7, asked_channel_of_7,
                             traced("PC Varn invalidated for 0x16000003\n"), asked_name_of_7,
                             interface_line(nullptr, 2)));
    EXPECT_TRUE(members_are_dirty());
}

TEST_F(UpdatePhyStateOfAMember, InvalidatesThePortChannelThenDeletesTheEntry)
{
    start_with_channel(bits(1, 17));
    watched(7);
    EXPECT_EQ(notified(2), 1u);
    EXPECT_EQ(counters_moved(), spell(counted_removal, ", pc_updates +1"));
    EXPECT_TRUE(members_are_dirty());
    EXPECT_EQ(entry(7), nullptr);
}

TEST_F(UpdatePhyStateOfAMember, AsksForThePortChannelOfTheRecordsIfIndex)
{
    start_with_channel(bits(1, 17));
    const varn_if_entry_t *kept = &watched(7);
    phy_message mixed = phy_of(0x1a000008, 7, 1);
    EXPECT_EQ(varn_update_phy_state(mixed.get()), 1u);
    EXPECT_EQ(calls(), lines("if_index_get_type(0x1a000008) = 0 -> 26",
                             "aggsvc_get_pc_for_port(0x1a000008) = 0 -> 0x16000003",
                             traced("PC Varn invalidated for 0x16000003\n"), asked_name_of_7,
                             interface_line(kept, 1)));
}

TEST_F(UpdatePhyStateOfAMember, WithThePortChannelsNotCachedNeverTouchesThem)
{
    start_with_channel(bits(1, 17));
    const varn_if_entry_t *kept = &watched(7);
    varn.config.sync &= ~bits(33);
    for (const unsigned state : {0u, 1u, 3u}) {
        EXPECT_EQ(notified(state), 1u);
        EXPECT_EQ(calls(), lines(asked_name_of_7, interface_line(kept, state)));
    }
    EXPECT_EQ(notified(2), 1u);
    EXPECT_EQ(counters_moved(), "if_frees +1, if_destroys +1, if_index.removes +1, "
                                "iod_index.removes +1, phy_updates +4");
    EXPECT_FALSE(members_are_dirty());
    EXPECT_EQ(on(aggsvc_get_pc_for_port).asked(), 0u);
}

TEST_F(UpdatePhyStateOfAMember, OfAnInterfaceThatIsNoPortAsksForNoPortChannel)
{
    start_with_channel(bits(1, 17));
    for (const u32 type : {5u, 9u, 22u, 24u, 1u}) {
        const u32 if_index = type << 24 | 7;
        phy_message update = phy_of(if_index, 7, 2);
        EXPECT_EQ(varn_update_phy_state(update.get()), 0u);
        EXPECT_EQ(calls(), lines(spell("if_index_get_type(", hex(if_index), ") = 0 -> ", dec(type)),
                                 asked_name_of_7, interface_line(nullptr, 2)));
    }
    EXPECT_FALSE(members_are_dirty());
}

TEST_F(UpdatePhyStateOfAMember, GoesOnWhenThePortChannelIsNotCached)
{
    given(port(7).in_channel(channel_3), port_channel(3));
    start_caching(bits(1, 17, 33));
    const varn_if_entry_t *kept = &watched(7);
    EXPECT_EQ(notified(1), 1u);
    EXPECT_EQ(calls(), lines(asked_type_of_7, asked_channel_of_7,
                             reported("varn_pc_invalidate",
                                      "No Memory available for aggsvc entry ifindex 0x16000003\n"),
                             asked_name_of_7, interface_line(kept, 1)));
}

TEST_F(UpdatePhyStateOfAMember, GoesOnWhenTheIfIndexIsRejected)
{
    start_with_channel(bits(1, 17));
    const varn_if_entry_t *kept = &watched(7);
    on(if_index_get_type).fails(0x41);
    EXPECT_EQ(notified(1), 1u);
    EXPECT_EQ(calls(), lines("if_index_get_type(0x1a000007) = 0x41",
                             reported("varn_pc_invalidate_entry_by_phy_if",
                                      "Invalid interface index 0x1a000007\n"),
                             asked_name_of_7, interface_line(kept, 1)));
    EXPECT_FALSE(members_are_dirty());
}

} // namespace
