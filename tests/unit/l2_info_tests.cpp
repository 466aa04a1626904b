// SPDX-License-Identifier: Apache-2.0
//
// Everything about a port index in one call: from a standing entry, attribute by attribute; without
// one, or with the cache off, through the port-index service and the cached queries.
#include "varn_fixture.h"

#include <cstring>

namespace
{

struct l2_info {
    u32 if_index = 0xA1, iod = 0xA2, linkup = 0xA3;
    std::uint16_t encap = 0xA4;
    u32 switchport = 0xA5, switching = 0xA6, protoup = 0xA7, private_data = 0xA8;

    std::string told() const
    {
        return spell(hex(if_index), " iod ", dec(iod), " linkup ", dec(linkup), " encap ",
                     dec(encap), " switchport ", dec(switchport), " switching ", dec(switching),
                     " protoup ", dec(protoup), " private data ", hex(private_data));
    }
};

const std::string unwritten = l2_info().told();
constexpr u64 all_of_l2_info = bits(1, 2, 4, 5, 15, 16, 17, 18);
constexpr const char *got_if_index = "idxsvc_lib_si_to_ifidx(0x107) = 0 -> 0x1a000007";
constexpr const char *got_iod = "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7";

class L2Info : public varn_test
{
protected:
    L2Info() { given(port(7).encap(3).switchport(1).switching(1).private_data(0x11, {4, 5})); }

    // A standing entry, clean, whose values are not those of the world.
    varn_if_entry_t &standing()
    {
        varn_if_entry_t *made = varn_if_create_entry_by_iod(7);
        made->encap = 9;
        made->linkup = 0;
        made->protoup = 1;
        made->switchport = 0;
        made->switching = 1;
        made->extn[0] = 0xE0;
        made->extn_size[0] = 40;
        made->dirty = 0;
        forget_all();
        return *made;
    }

    u32 ask(u32 pi = 0x107)
    {
        info = {};
        return varn_get_if_l2_info_by_pi(pi, &info.if_index, &info.iod, &info.linkup, &info.encap,
                                         &info.switchport, &info.switching, &info.protoup,
                                         &info.private_data);
    }

    static config caching(u64 sync = all_of_l2_info)
    {
        return config().uuid(0x11).sync(sync).extn_decode(0);
    }

    l2_info info;
};

// What the cached queries ask while nothing is cached.
const std::string asked_in_turn =
    lines("ifsvc_is_linkup(7) = 1", "ifsvc_get_if_encaptype(7) = 3", "ifsvc_is_switchport(7) = 1",
          "ifsvc_is_switching_enabled_on_iod(7) = 1", "ifsvc_is_protoup(7) = 1",
          "ifsvc_get_private_data(7, 0x11) = block -> 2", "extn_decode0(2 bytes) = 0x9");
constexpr const char *world_told = "0x1a000007 iod 7 linkup 1 encap 3 switchport 1 switching 1 "
                                   "protoup 1 private data 0x9";
constexpr const char *entry_told = "0x1a000007 iod 7 linkup 0 encap 9 switchport 0 switching 1 "
                                   "protoup 1 private data 0xe0";

// ---- the cache is off ----

TEST_F(L2Info, WhileDisabledAsksTheServicesInTurn)
{
    start(caching());
    standing();
    varn_disable_cache();
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), world_told);
    EXPECT_EQ(calls(), lines(got_if_index, got_iod, asked_in_turn));
    EXPECT_EQ(counters_moved(), "misses[1] +1, misses[2] +1, misses[5] +1, misses[6] +1, "
                                "misses[13] +1, misses[14] +1, misses[15] +1, misses[16] +1");
}

TEST_F(L2Info, WithEnabledAtZeroAloneIsAnsweredByTheCachedQueries)
{
    start(caching());
    standing();
    varn_enabled = 0;
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), entry_told);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[1] +1, hits[2] +1, hits[5] +1, hits[6] +1, hits[13] +1, "
                                "hits[14] +1, hits[15] +1, hits[16] +1");
}

TEST_F(L2Info, WhileDisabledReturnsTheCodeOfTheFirstTranslation)
{
    start(caching());
    varn_disable_cache();
    gone(7);
    EXPECT_EQ(ask(), 0x40040004u);
    EXPECT_EQ(info.told(), unwritten);
    EXPECT_EQ(calls(), "idxsvc_lib_si_to_ifidx(0x107) = 0x40040004");
    EXPECT_EQ(counters_moved(), "misses[2] +1");
}

TEST_F(L2Info, WithEnabledAtZeroReturnsTheCodeOfAStalePortIndex)
{
    start(caching());
    standing().dirty = bits(2);
    varn_enabled = 0;
    EXPECT_EQ(ask(), 0x40e00002u);
    EXPECT_EQ(info.told(), unwritten);
    EXPECT_EQ(calls(), "");
}

// The iod stays what the caller had there, 162, and that is what is asked about.
TEST_F(L2Info, WhileDisabledGoesOnWithTheCallersIodWhenNoneCanBeHad)
{
    start(caching());
    varn_disable_cache();
    on(ifsvc_get_iod_frm_ifindex).fails(0x41);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), "0x1a000007 iod 162 linkup 0 encap 0 switchport 0 switching 0 protoup 0 "
                           "private data 0x0");
    EXPECT_EQ(calls(),
              lines(got_if_index, "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x41",
                    "ifsvc_is_linkup(162) = 0", "ifsvc_get_if_encaptype(162) = 0",
                    "ifsvc_is_switchport(162) = 0", "ifsvc_is_switching_enabled_on_iod(162) = 0",
                    "ifsvc_is_protoup(162) = 0", "ifsvc_get_private_data(162, 0x11) = 0 -> 0",
                    "extn_decode0(0 bytes) = 0x0"));
}

TEST_F(L2Info, WhileDisabledWithoutDecoderKeepsTheLow32BitsOfTheBlock)
{
    start(config().uuid(0x11).sync(all_of_l2_info));
    varn_disable_cache();
    on(ifsvc_get_private_data).of(7, 0x11).answers(~std::uintptr_t{0} - 0xF, 4);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.private_data, 0xFFFFFFF0u);
}

TEST_F(L2Info, WhileDisabledPassesOddAnswersOnAsTheyAre)
{
    start(caching());
    varn_disable_cache();
    the(7).linkup(2).switchport(4).switching(6).protoup(8).encap(0x10003);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), "0x1a000007 iod 7 linkup 2 encap 3 switchport 4 switching 6 protoup 8 "
                           "private data 0x9");
}

// ---- there is no entry ----

TEST_F(L2Info, WithoutAnEntryReturnsTheServicesCode)
{
    start(caching());
    gone(7);
    EXPECT_EQ(ask(), 0x40040004u);
    EXPECT_EQ(info.told(), unwritten);
    EXPECT_EQ(calls(), lines("idxsvc_lib_si_to_ifidx(0x107) = 0x40040004",
                             "idxsvc_lib_si_to_ifidx(0x107) = 0x40040004"));
    EXPECT_EQ(counters_moved(), "misses[2] +1");
}

// The iod is forbidden, so that the cached queries have no entry either.
TEST_F(L2Info, WithoutAnEntryAsksTheServicesInTurn)
{
    start(caching());
    varn_iodbmp[0] = 0;
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), world_told);
    const std::string looked = "ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007";
    EXPECT_EQ(calls(),
              lines(got_if_index, got_iod, got_if_index, got_iod, looked, "ifsvc_is_linkup(7) = 1",
                    looked, "ifsvc_get_if_encaptype(7) = 3", looked, "ifsvc_is_switchport(7) = 1",
                    looked, "ifsvc_is_switching_enabled_on_iod(7) = 1", looked,
                    "ifsvc_is_protoup(7) = 1", looked,
                    "ifsvc_get_private_data(7, 0x11) = block -> 2", "extn_decode0(2 bytes) = 0x9"));
    EXPECT_EQ(counters_moved(), "misses[1] +1, misses[2] +1, misses[5] +1, misses[6] +1, "
                                "misses[13] +1, misses[14] +1, misses[15] +1, misses[16] +1");
}

// The service comes to know the port index only at the second question.
TEST_F(L2Info, WithoutAnEntryIsAnsweredByCachedQueriesThatCreateIt)
{
    start(caching());
    on(idxsvc_lib_si_to_ifidx).fails_once(0x41);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), world_told);
    EXPECT_NE(entry(7), nullptr);
    EXPECT_EQ(calls().substr(0, 130),
              lines("idxsvc_lib_si_to_ifidx(0x107) = 0x41", got_if_index, got_iod).substr(0, 130));
    EXPECT_EQ(varn.misses[2], 1u);
    EXPECT_EQ(varn.hits[15], 1u);
}

TEST_F(L2Info, WithoutCreateOnMissOnlyLooksUp)
{
    start(caching());
    varn.config.create_on_miss = 0;
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), world_told);
    EXPECT_EQ(calls(), lines(got_if_index, got_iod, asked_in_turn));
    EXPECT_TRUE(records_in(&varn.if_table).empty());
}

TEST_F(L2Info, WithoutCreateOnMissFindsAStandingEntry)
{
    start(caching());
    standing();
    varn.config.create_on_miss = 0;
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), entry_told);
    EXPECT_EQ(calls(), "");
}

// ---- there is one ----

TEST_F(L2Info, OfACleanEntryAsksNobody)
{
    start(caching());
    varn_if_entry_t &entry = standing();
    const varn_if_entry_t before = entry;
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), entry_told);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[2] +1, hits[6] +1");
    EXPECT_EQ(std::memcmp(&entry, &before, sizeof entry), 0);
}

TEST_F(L2Info, OfAMissingEntryCreatesItFirst)
{
    start(caching());
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), world_told);
    EXPECT_EQ(calls(),
              lines(got_if_index, got_iod, "ifsvc_get_if_mtu(7) = 1500",
                    "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107", "ifsvc_is_switchport(7) = 1",
                    "ifsvc_is_linkup(7) = 1", "ifsvc_is_protoup(7) = 1",
                    "ifsvc_get_if_encaptype(7) = 3", "ifsvc_is_switching_enabled_on_iod(7) = 1",
                    "ifsvc_get_private_data(7, 0x11) = block -> 2", "extn_decode0(2 bytes) = 0x9"));
    EXPECT_EQ(counters_moved(),
              "hits[2] +1, hits[6] +1, updates[2] +1, updates[5] +1, updates[6] +1, "
              "updates[13] +1, updates[14] +1, updates[15] +1, updates[16] +1, if_allocs +1, "
              "if_index.inserts +1, iod_index.inserts +1, pi_index.inserts +1");
}

TEST_F(L2Info, OfAnEntryThatIsAllStaleButForItsPortIndexAsksInItsOwnOrder)
{
    start(caching());
    varn_if_entry_t &entry = standing();
    entry.dirty = ~bits(2);

    EXPECT_EQ(ask(), 0u);

    EXPECT_EQ(info.told(), world_told);
    EXPECT_EQ(calls(),
              lines("ifsvc_is_linkup(7) = 1", "ifsvc_is_protoup(7) = 1",
                    "ifsvc_get_if_encaptype(7) = 3", "ifsvc_is_switchport(7) = 1",
                    "ifsvc_is_switching_enabled_on_iod(7) = 1",
                    "ifsvc_get_private_data(7, 0x11) = block -> 2", "extn_decode0(2 bytes) = 0x9"));
    EXPECT_EQ(counters_moved(), "misses[6] +1, hits[2] +1, updates[5] +1, updates[13] +1, "
                                "updates[14] +1, updates[15] +1, updates[16] +1");
    EXPECT_EQ(dirty(&entry), ~bits(2, 4, 5, 17, 18));
    EXPECT_EQ(entry.extn[0], 9u);
    EXPECT_EQ(entry.extn_size[0], 2u);
}

TEST_F(L2Info, OfAnEntryWithAStalePortIndexRefreshesItFirst)
{
    start(caching());
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(2, 17);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.linkup, 1u);
    EXPECT_EQ(calls(),
              lines("idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107", "ifsvc_is_linkup(7) = 1"));
    EXPECT_EQ(counters_moved(), "misses[2] +1, hits[6] +1, updates[2] +1, updates[15] +1, "
                                "pi_refreshes +1");
    EXPECT_EQ(dirty(&entry), 0u);
}

TEST_F(L2Info, OfAnEntryWhoseRefreshFailsWritesNothing)
{
    start(caching());
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(1, 2, 17);
    on(ifsvc_get_iod_frm_ifindex).fails(0x41);
    EXPECT_EQ(ask(), 0x40e00002u);
    EXPECT_EQ(info.told(), unwritten);
    EXPECT_EQ(calls(), "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x41");
    EXPECT_EQ(counters_moved(), "misses[2] +1, updates[1] +1, iod_remaps +1, pi_refreshes +1");
    EXPECT_EQ(dirty(&entry), bits(1, 2, 17));
}

TEST_F(L2Info, OfAnEntryThatItsRefreshRemovesDoesNotTouchItAgain)
{
    start(caching());
    standing().dirty = bits(1, 2);
    on(ifsvc_get_iod_frm_ifindex).answers(0x41, 7);
    EXPECT_EQ(ask(), 0x40e00002u);
    EXPECT_EQ(info.told(), unwritten);
    EXPECT_TRUE(records_in(&varn.if_table).empty());
    check_released();
}

TEST_F(L2Info, KeepsTheLowBitOfEachFlagAnd16BitsOfTheEncapsulation)
{
    start(caching());
    varn_if_entry_t &entry = standing();
    the(7).linkup(2).protoup(3).switchport(4).switching(5).encap(0x10003);
    entry.dirty = bits(4, 15, 16, 17, 18);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), "0x1a000007 iod 7 linkup 0 encap 3 switchport 0 switching 1 protoup 1 "
                           "private data 0xe0");
}

TEST_F(L2Info, AsksAZeroEncapsulationAgainEachTime)
{
    start(caching());
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(4);
    for (const u32 raw : {0u, 0x10000u, 0u}) {
        the(7).encap(raw);
        EXPECT_EQ(ask(), 0u);
        EXPECT_EQ(info.encap, 0u);
        EXPECT_EQ(calls(), spell("ifsvc_get_if_encaptype(7) = ", dec(raw)));
        EXPECT_EQ(counters_moved(), "hits[2] +1, hits[6] +1, updates[5] +1");
        EXPECT_EQ(dirty(&entry), bits(4));
    }
}

TEST_F(L2Info, DeliberatelyAsksStaleSwitchportAndSwitchingAgainEachTime)
{
    start(caching());
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(15, 16);
    for (const u32 answer : {1u, 0u, 1u}) {
        the(7).switchport(answer).switching(answer);
        EXPECT_EQ(ask(), 0u);
        EXPECT_EQ(info.switchport, answer);
        EXPECT_EQ(info.switching, answer);
        EXPECT_EQ(calls(), lines(spell("ifsvc_is_switchport(7) = ", dec(answer)),
                                 spell("ifsvc_is_switching_enabled_on_iod(7) = ", dec(answer))));
        EXPECT_EQ(counters_moved(), "hits[2] +1, hits[6] +1, updates[13] +1, updates[14] +1");
        EXPECT_EQ(dirty(&entry), bits(15, 16));
    }
}

TEST_F(L2Info, AsksZeroPrivateDataAgainEachTime)
{
    start(caching());
    varn_if_entry_t &entry = standing();
    the(7).private_data(0x11, {0, 0, 0});
    entry.dirty = bits(5);
    for (const char *which : {"first", "second"}) {
        SCOPED_TRACE(which);
        EXPECT_EQ(ask(), 0u);
        EXPECT_EQ(info.private_data, 0u);
        EXPECT_EQ(calls(), lines("ifsvc_get_private_data(7, 0x11) = block -> 3",
                                 "extn_decode0(3 bytes) = 0x0"));
        EXPECT_EQ(counters_moved(), "misses[6] +1, hits[2] +1");
        EXPECT_EQ(dirty(&entry), bits(5));
        EXPECT_EQ(entry.extn_size[0], 3u);
    }
}

TEST_F(L2Info, OfACleanZeroOfPrivateDataCountsAHitAndMarksItDirty)
{
    start(caching());
    varn_if_entry_t &entry = standing();
    entry.extn[0] = 0;
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.private_data, 0u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[2] +1, hits[6] +1");
    EXPECT_EQ(dirty(&entry), bits(5));
}

TEST_F(L2Info, WithoutDecoderKeepsTheLow32BitsOfTheBlock)
{
    start(config().uuid(0x11).sync(all_of_l2_info));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(5);
    on(ifsvc_get_private_data).of(7, 0x11).answers(~std::uintptr_t{0} - 0xF, 4);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.private_data, 0xFFFFFFF0u);
    EXPECT_EQ(entry.extn[0], 0xFFFFFFF0u);
    EXPECT_EQ(entry.extn_size[0], 4u);
    EXPECT_EQ(dirty(&entry), 0u);
    EXPECT_EQ(calls(), "ifsvc_get_private_data(7, 0x11) = block -> 4");
}

// No gate but the switch of the cache: what is not cached is answered as the new entry has it.
TEST_F(L2Info, DoesNotConsultSync)
{
    start(config().uuid(0x11).sync(bits(1, 2)));
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.told(), "0x1a000007 iod 7 linkup 0 encap 0 switchport 0 switching 0 protoup 0 "
                           "private data 0x0");
    EXPECT_EQ(calls(), lines(got_if_index, got_iod, "ifsvc_get_if_mtu(7) = 1500",
                             "idxsvc_lib_ifidx_to_di(0x1a000007) = 0 -> 0x107"));
}

// Without a Pi table the service is asked each time which entry it is.
TEST_F(L2Info, WithThePortIndexNotCachedAsksForTheIfIndexEachTime)
{
    start(config().uuid(0x11).sync(bits(1, 17)));
    varn_if_create_entry_by_iod(7);
    forget_all();
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(info.linkup, 1u);
    EXPECT_EQ(calls(), got_if_index);
    EXPECT_EQ(counters_moved(), "hits[2] +1, hits[6] +1");
}

} // namespace
