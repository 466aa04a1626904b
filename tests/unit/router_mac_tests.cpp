// SPDX-License-Identifier: Apache-2.0
//
// Notifications of the router MAC: the one handler that works while the cache is off, and stores a
// MAC of zeros as it is.
#include "handler_ground.h"

namespace
{

class UpdateRouterMac : public handler_test
{
protected:
    static std::int32_t notified(const mac_address &mac, u32 if_index = index_7, u32 state = 3)
    {
        message<varn_mac_update_t> update;
        update.word(0, if_index).mac(4, mac).word(16, state);
        return varn_update_router_mac(update.get());
    }
    static std::string interface_line(const varn_if_entry_t &kept, const std::string &state = "3")
    {
        return lines(asked_name_of_7, traced(spell("Interface eth7 (iod 7): entry ",
                                                   address_text(&kept), ", state ", state, "\n")));
    }
};

const std::string updated_line =
    traced("Updated old_mac: 0200.0000.0007 to new_mac: 0a0b.0c0d.0e0f\n");
const std::string removed_line = traced(
    "Removed MAC (Interface Removed) old_mac :0200.0000.0007 is reset to : ZERO MAC adress \n");

TEST_F(UpdateRouterMac, WithTheMacNotCachedReturnsMinusOneAndDoesNothing)
{
    start_caching(everything_told & ~bits(9));
    watched(7);
    EXPECT_EQ(notified(new_mac), -1);
    expect_untouched();
}

TEST_F(UpdateRouterMac, StoresTheMacAndLeavesItsDirtyBit)
{
    start_caching(bits(1, 9));
    varn_if_entry_t &kept = watched(7);
    for (const u64 dirt : {u64{0}, ~bits(1)}) {
        SCOPED_TRACE(dirt);
        std::memcpy(kept.mac, the(7).is.mac.data(), 6);
        kept.dirty = dirt;
        watch(kept);
        EXPECT_EQ(notified(new_mac), 0);
        EXPECT_EQ(calls(), lines(interface_line(kept), updated_line));
        EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f");
        EXPECT_EQ(counters_moved(), "hits[1] +1, updates[4] +1");
    }
}

TEST_F(UpdateRouterMac, DeliberatelyWorksWhileTheCacheIsOff)
{
    start_caching(bits(1, 9));
    varn_if_entry_t &kept = watched(7);
    varn_enabled = 0;
    EXPECT_EQ(notified(new_mac), 0);
    EXPECT_EQ(calls(), lines(interface_line(kept), updated_line));
    EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f");
}

// Disabling takes the MAC out of what is cached.
TEST_F(UpdateRouterMac, AfterTheCacheWasDisabledReturnsMinusOne)
{
    start_caching(bits(1, 9));
    watched(7);
    varn_disable_cache();
    EXPECT_EQ(notified(new_mac), -1);
    expect_untouched();
}

TEST_F(UpdateRouterMac, OfZerosStoresThemAsARemoval)
{
    start_caching(bits(1, 9));
    varn_if_entry_t &kept = watched(7);
    EXPECT_EQ(notified({}), 0);
    EXPECT_EQ(calls(), lines(interface_line(kept), removed_line));
    EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0000.0000.0000");
    EXPECT_EQ(counters_moved(), "hits[1] +1, updates[4] +1");
}

TEST_F(UpdateRouterMac, OfOneByteThatIsNotZeroIsNoRemoval)
{
    start_caching(bits(1, 9));
    for (std::size_t at = 0; at < 6; ++at) {
        mac_address mac{};
        mac[at] = 0x80;
        watched(7);
        const std::string was = mac_text(entry(7)->mac);
        EXPECT_EQ(notified(mac), 0);
        EXPECT_EQ(history().back().text, spell("[77]: Updated old_mac: ", was,
                                               " to new_mac: ", mac_text(mac.data()), "\n"));
    }
}

TEST_F(UpdateRouterMac, OnlyPrintsTheState)
{
    start_caching(bits(1, 9));
    varn_if_entry_t &kept = watched(7);
    for (const auto &[state, text] : {std::pair<u32, const char *>{2, "2"}, {0xFFFFFFFE, "-2"}}) {
        std::memcpy(kept.mac, the(7).is.mac.data(), 6);
        watch(kept);
        EXPECT_EQ(notified(new_mac, index_7, state), 0);
        EXPECT_EQ(calls(), lines(interface_line(kept, text), updated_line));
    }
}

TEST_F(UpdateRouterMac, WithoutEntryReturnsMinusOneAndCreatesNone)
{
    start_caching(bits(1, 9));
    EXPECT_EQ(notified(new_mac), -1);
    EXPECT_EQ(calls(), "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7");
    EXPECT_EQ(counters_moved(), "misses[1] +1");
    EXPECT_EQ(entry(7), nullptr);
}

TEST_F(UpdateRouterMac, OfAnUnknownIfIndexLooksForNoEntry)
{
    start_caching(bits(1, 9));
    watched(7);
    EXPECT_EQ(notified(new_mac, 0x1a000009), -1);
    EXPECT_EQ(calls(), "ifsvc_get_iod_frm_ifindex(0x1a000009) = 0x40040004");
    EXPECT_EQ(changes(), "");
}

// The if-index has no entry, but the iod that the service gives for it has one.
TEST_F(UpdateRouterMac, WritesTheEntryOfTheIodThatTheServiceGives)
{
    start_caching(bits(1, 9));
    varn_if_entry_t &kept = watched(7);
    on(ifsvc_get_iod_frm_ifindex).of(0x1a000009).answers(0, 7);
    EXPECT_EQ(notified(new_mac, 0x1a000009), 0);
    EXPECT_EQ(calls(), lines("ifsvc_get_iod_frm_ifindex(0x1a000009) = 0 -> 7", interface_line(kept),
                             updated_line));
    EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f");
}

TEST_F(UpdateRouterMac, OfADirtyIodRefreshesTheEntryFirst)
{
    start_caching(bits(1, 9));
    varn_if_entry_t &kept = watched(7);
    kept.dirty = bits(1, 9);
    watch(kept);
    EXPECT_EQ(notified(new_mac), 0);
    EXPECT_EQ(calls(), lines(traced("Varn-update for if-index 0x1a000007, iod 7\n"),
                             asked_type_of_7, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7",
                             "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0007",
                             interface_line(kept), updated_line));
    EXPECT_EQ(changes(), "mac 0200.0000.0007 -> 0a0b.0c0d.0e0f, dirty -9");
    EXPECT_EQ(counters_moved(), "misses[1] +1, updates[1] +1, updates[4] +2, iod_refreshes +1");
}

// While the cache is off nothing can be refreshed, so the iod stays unknown.
TEST_F(UpdateRouterMac, OfADirtyIodWhileTheCacheIsOffFindsNoEntry)
{
    start_caching(bits(1, 9));
    varn_if_entry_t &kept = watched(7);
    kept.dirty = bits(1);
    watch(kept);
    varn_enabled = 0;
    EXPECT_EQ(notified(new_mac), -1);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(changes(), "");
    EXPECT_EQ(counters_moved(), "misses[1] +1, iod_refreshes +1");
}

TEST_F(UpdateRouterMac, OfAnIodThatChangedFindsNoEntry)
{
    start_caching(bits(1, 9));
    varn_if_entry_t &kept = watched(7);
    kept.dirty = bits(1);
    watch(kept);
    on(ifsvc_get_iod_frm_ifindex).answers(0, 99);
    EXPECT_EQ(notified(new_mac), -1);
    EXPECT_EQ(changes(), "iod_remaps 0 -> 1");
}

} // namespace
