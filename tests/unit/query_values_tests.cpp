// SPDX-License-Identifier: Apache-2.0
//
// The cached numbers and addresses: where they depart from the common road. A fetched zero is an
// answer (MTU), is asked again (encapsulation), or is asked again while all six bytes are zero
// (MAC address).
#include "query_ground.h"

#include <cstring>

namespace
{

using bytes = mac_address;

constexpr bytes no_mac = {0, 0, 0, 0, 0, 0};
constexpr bytes other_mac = {2, 0, 0, 0, 0, 9};

bytes six(const std::uint8_t *from)
{
    bytes all{};
    std::memcpy(all.data(), from, all.size());
    return all;
}

// ---- MTU and encapsulation ----

using GetIfMtu = query_test;

TEST_F(GetIfMtu, ZeroFromTheServiceLeavesACleanEntryDeliberately)
{
    start_with(bits(1, 13));
    varn_if_entry_t &kept = filled(7);
    kept.dirty = bits(13);
    the(7).mtu(0);

    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 0u);
    EXPECT_EQ(calls(), "ifsvc_get_if_mtu(7) = 0");
    EXPECT_EQ(counters_moved(), "misses[12] +1");
    EXPECT_EQ(kept.mtu, 0u);
    EXPECT_EQ(u64{kept.dirty}, 0u);

    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[12] +1");
}

// The refresh keeps a zero dirty, so the query that created the entry asks once more.
TEST_F(GetIfMtu, ZeroAtCreationIsAskedOnceMoreByTheQueryDeliberately)
{
    start_with(bits(1, 13));
    the(7).mtu(0);

    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 0u);
    EXPECT_EQ(calls(), lines(asked_if_index, "ifsvc_get_if_mtu(7) = 0", "ifsvc_get_if_mtu(7) = 0",
                             "ifsvc_get_if_mtu(7) = 0"));
    EXPECT_EQ(counters_moved(), "misses[12] +1, updates[12] +1, " + std::string(counted_creation));
    EXPECT_EQ(u64{filled(7).dirty}, 0u);
}

TEST_F(GetIfMtu, WhoseLow16BitsAreZeroIsAZeroAndClean)
{
    start_with(bits(1, 13));
    varn_if_entry_t &kept = filled(7);
    kept.dirty = bits(13);
    the(7).mtu(0x10000);
    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 0u);
    EXPECT_EQ(u64{kept.dirty}, 0u);
}

using GetIfEncaptype = query_test;

TEST_F(GetIfEncaptype, ZeroIsAskedAgain)
{
    start_with(bits(1, 4));
    varn_if_entry_t &kept = filled(7);
    kept.dirty = bits(4);
    the(7).encap(0);
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(varn_ifsvc_get_if_encaptype(7), 0u);
        EXPECT_EQ(calls(), "ifsvc_get_if_encaptype(7) = 0");
        EXPECT_EQ(counters_moved(), "misses[5] +1");
        EXPECT_EQ(kept.encap, 0u);
        EXPECT_EQ(u64{kept.dirty}, bits(4));
    }
    the(7).encap(3);
    EXPECT_EQ(varn_ifsvc_get_if_encaptype(7), 3u);
    EXPECT_EQ(u64{kept.dirty}, 0u);
}

TEST_F(GetIfEncaptype, WhoseLow16BitsAreZeroIsAskedAgain)
{
    start_with(bits(1, 4));
    varn_if_entry_t &kept = filled(7);
    kept.dirty = bits(4);
    the(7).encap(0x30000);
    EXPECT_EQ(varn_ifsvc_get_if_encaptype(7), 0u);
    EXPECT_EQ(kept.encap, 0u);
    EXPECT_EQ(u64{kept.dirty}, bits(4));
}

// ---- The MAC address ----

class GetIfMacAddr : public query_test
{
protected:
    // What the query gives on a road that passes by the cache: the shared buffer.
    void expect_shared_buffer(const std::string &requests)
    {
        const std::uint8_t *given_back = varn_ifsvc_get_if_mac_addr(7);
        EXPECT_EQ(six(given_back), mac_of_7);
        EXPECT_EQ(calls(), requests);
        EXPECT_EQ(counters_moved(), "misses[4] +1");
        EXPECT_EQ(entries(), 0u);
        EXPECT_EQ(given_back, varn_get_if_src_mac_addr(8));
        EXPECT_EQ(six(given_back), no_mac);
    }
    static constexpr const char *asked = "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0007";
};

TEST_F(GetIfMacAddr, WithTheIodNotCachedGivesTheSharedBuffer)
{
    start_with(everything & ~bits(1));
    expect_shared_buffer(asked);
}

TEST_F(GetIfMacAddr, WithTheMacNotCachedGivesTheSharedBuffer)
{
    start_with(everything & ~bits(9));
    expect_shared_buffer(asked);
}

TEST_F(GetIfMacAddr, OfAnIodWithoutAnEntryToBeHadGivesTheSharedBuffer)
{
    start_with(everything);
    on(ifsvc_get_ifindex_frm_iod).of(7).fails(0x41);
    expect_shared_buffer(lines("ifsvc_get_ifindex_frm_iod(7) = 0x41", asked));
}

TEST_F(GetIfMacAddr, OfAnUnknownInterfaceIsAllZero)
{
    start_with(0);
    gone(7);
    EXPECT_EQ(six(varn_ifsvc_get_if_mac_addr(7)), no_mac);
    EXPECT_EQ(calls(), "ifsvc_get_if_src_mac_addr(7) = 0x40040004");
}

TEST_F(GetIfMacAddr, OfAnIodWithoutEntryCreatesItAndAnswersFromIt)
{
    start_with(bits(1, 9));
    const std::uint8_t *given_back = varn_ifsvc_get_if_mac_addr(7);
    EXPECT_EQ(calls(), lines(asked_if_index, asked_first_mtu, asked));
    EXPECT_EQ(counters_moved(), "hits[4] +1, updates[4] +1, " + std::string(counted_creation));
    EXPECT_EQ(given_back, filled(7).mac);
    EXPECT_EQ(six(given_back), mac_of_7);
}

TEST_F(GetIfMacAddr, WhenDirtyAsksAgainAndGivesTheEntrysOwnBytes)
{
    start_with(bits(1, 9));
    varn_if_entry_t &kept = filled(7);
    kept.dirty = bits(9);
    the(7).mac(other_mac);

    EXPECT_EQ(varn_ifsvc_get_if_mac_addr(7), kept.mac);

    EXPECT_EQ(calls(), "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0009");
    EXPECT_EQ(counters_moved(), "misses[4] +1");
    EXPECT_EQ(six(kept.mac), other_mac);
    EXPECT_EQ(u64{kept.dirty}, 0u);
}

TEST_F(GetIfMacAddr, WhenCleanAsksNobodyAndGivesTheEntrysOwnBytes)
{
    start_with(bits(1, 9));
    varn_if_entry_t &kept = filled(7);
    the(7).mac(other_mac);
    EXPECT_EQ(varn_ifsvc_get_if_mac_addr(7), kept.mac);
    EXPECT_EQ(six(kept.mac), mac_of_7);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[4] +1");
}

TEST_F(GetIfMacAddr, AllZeroIsKeptAndAskedAgain)
{
    start_with(bits(1, 9));
    varn_if_entry_t &kept = filled(7);
    kept.dirty = bits(9);
    the(7).mac(no_mac);
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(varn_ifsvc_get_if_mac_addr(7), kept.mac);
        EXPECT_EQ(calls(), "ifsvc_get_if_src_mac_addr(7) = 0 -> 0000.0000.0000");
        EXPECT_EQ(counters_moved(), "misses[4] +1");
        EXPECT_EQ(six(kept.mac), no_mac);
        EXPECT_EQ(u64{kept.dirty}, bits(9));
    }
}

TEST_F(GetIfMacAddr, ThatTheServiceFailsToGiveBecomesAllZero)
{
    start_with(bits(1, 9));
    varn_if_entry_t &kept = filled(7);
    kept.dirty = bits(9);
    on(ifsvc_get_if_src_mac_addr).fails(0x41);
    EXPECT_EQ(six(varn_ifsvc_get_if_mac_addr(7)), no_mac);
    EXPECT_EQ(u64{kept.dirty}, bits(9));
}

TEST_F(GetIfMacAddr, IsKnownByAnyOneOfItsBytes)
{
    start_with(bits(1, 9));
    varn_if_entry_t &kept = filled(7);
    for (std::size_t at = 0; at < 6; ++at) {
        SCOPED_TRACE(at);
        bytes mac = no_mac;
        mac[at] = 1;
        the(7).mac(mac);
        kept.dirty = bits(9);
        EXPECT_EQ(six(varn_ifsvc_get_if_mac_addr(7)), mac);
        EXPECT_EQ(u64{kept.dirty}, 0u);
    }
}

// ---- Is it this MAC address? ----

class IsIfMacAddr : public query_test
{
protected:
    static u32 ask(const bytes &mac) { return varn_ifsvc_is_if_mac_addr(7, mac.data()); }
    // The service's own answer is passed on, whatever it is.
    void expect_passed_on(const std::string &requests)
    {
        EXPECT_EQ(ask(other_mac), 0x12345u);
        EXPECT_EQ(calls(), requests);
        EXPECT_EQ(counters_moved(), "misses[4] +1");
        EXPECT_EQ(entries(), 0u);
    }
    void start_with_odd_service(u64 sync)
    {
        start_with(sync);
        on(ifsvc_is_if_mac_addr).of(7).answers(0x12345);
    }
    static constexpr const char *passed = "ifsvc_is_if_mac_addr(7, 0200.0000.0009) = 74565";
};

TEST_F(IsIfMacAddr, WithTheIodNotCachedGoesToItsService)
{
    start_with_odd_service(everything & ~bits(1));
    expect_passed_on(passed);
}

TEST_F(IsIfMacAddr, WithTheMacNotCachedGoesToItsService)
{
    start_with_odd_service(everything & ~bits(9));
    expect_passed_on(passed);
}

TEST_F(IsIfMacAddr, OfAnIodWithoutAnEntryToBeHadGoesToItsService)
{
    start_with_odd_service(everything);
    gone(7);
    expect_passed_on(lines(asked_unknown_iod, passed));
}

TEST_F(IsIfMacAddr, OfAnIodWithoutEntryCreatesItAndComparesWithIt)
{
    start_with_odd_service(bits(1, 9));
    EXPECT_EQ(ask(mac_of_7), 1u);
    EXPECT_EQ(calls(), lines(asked_if_index, asked_first_mtu,
                             "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0007"));
    EXPECT_EQ(counters_moved(), "hits[4] +1, updates[4] +1, " + std::string(counted_creation));
}

TEST_F(IsIfMacAddr, WhenCleanComparesAllSixBytesAndAsksNobody)
{
    start_with_odd_service(bits(1, 9));
    filled(7);
    EXPECT_EQ(ask(mac_of_7), 1u);
    EXPECT_EQ(counters_moved(), "hits[4] +1");
    for (std::size_t at = 0; at < 6; ++at) {
        SCOPED_TRACE(at);
        bytes mac = mac_of_7;
        mac[at] ^= 0x80;
        EXPECT_EQ(ask(mac), 0u);
        EXPECT_EQ(counters_moved(), "hits[4] +1");
    }
    EXPECT_EQ(calls(), "");
}

TEST_F(IsIfMacAddr, WhenDirtyFetchesTheMacAndComparesWithIt)
{
    start_with_odd_service(bits(1, 9));
    varn_if_entry_t &kept = filled(7);
    kept.dirty = bits(9);
    the(7).mac(other_mac);

    EXPECT_EQ(ask(mac_of_7), 0u);
    EXPECT_EQ(calls(), "ifsvc_get_if_src_mac_addr(7) = 0 -> 0200.0000.0009");
    EXPECT_EQ(counters_moved(), "misses[4] +1");
    EXPECT_EQ(six(kept.mac), other_mac);
    EXPECT_EQ(u64{kept.dirty}, 0u);

    EXPECT_EQ(ask(other_mac), 1u);
    EXPECT_EQ(counters_moved(), "hits[4] +1");
}

TEST_F(IsIfMacAddr, AllZeroIsComparedAndAskedAgain)
{
    start_with_odd_service(bits(1, 9));
    varn_if_entry_t &kept = filled(7);
    kept.dirty = bits(9);
    the(7).mac(no_mac);
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(ask(no_mac), 1u);
        EXPECT_EQ(calls(), "ifsvc_get_if_src_mac_addr(7) = 0 -> 0000.0000.0000");
        EXPECT_EQ(counters_moved(), "misses[4] +1");
        EXPECT_EQ(u64{kept.dirty}, bits(9));
    }
}

// It may well be asked about bytes that the library itself gave.
TEST_F(IsIfMacAddr, WhenDirtyComparesWithTheBytesItGaveBefore)
{
    start_with_odd_service(bits(1, 9));
    varn_if_entry_t &kept = filled(7);
    const std::uint8_t *own = varn_ifsvc_get_if_mac_addr(7);
    kept.dirty = bits(9);
    the(7).mac(other_mac);
    EXPECT_EQ(varn_ifsvc_is_if_mac_addr(7, own), 1u);
}

} // namespace
