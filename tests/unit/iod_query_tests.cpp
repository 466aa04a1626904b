// SPDX-License-Identifier: Apache-2.0
//
// The cached question for the iod of an if-index: it finds entries but creates none, and refreshes
// one whose iod is dirty before it answers.
#include "entry_tests.h"

namespace
{

class IodQuery : public entry_test
{
protected:
    void SetUp() override
    {
        given(port(7), port(8));
        start_caching(bits(1, 2, 3));
    }

    // The answer; `iod` holds 99 when it was not written.
    u32 ask(u32 if_index = 0x1a000007)
    {
        iod = 99;
        return varn_ifsvc_get_iod_frm_ifindex(if_index, &iod);
    }

    u32 iod = 99;
};

TEST_F(IodQuery, WithTheIodNotCachedAsksTheService)
{
    created(7);
    varn.config.sync = ~bits(1);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(iod, 7u);
    EXPECT_EQ(seen(), "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7");
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(IodQuery, WithTheIodNotCachedReturnsTheServicesCode)
{
    varn.config.sync = 0;
    on(ifsvc_get_iod_frm_ifindex).fails(0x40040009);
    EXPECT_EQ(ask(), 0x40040009u);
    EXPECT_EQ(iod, 99u);
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(IodQuery, WithoutAnEntryAsksTheServiceAndCreatesNone)
{
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(iod, 7u);
    EXPECT_EQ(seen(), lines("ht_lookup(If, 0x1a000007) = null",
                            "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7"));
    EXPECT_EQ(entry(7), nullptr);
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(IodQuery, WithoutAnEntryReturnsTheServicesCode)
{
    EXPECT_EQ(ask(0x1a000009), unknown);
    EXPECT_EQ(iod, 99u);
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(IodQuery, OfACleanEntryAsksNobody)
{
    created(7)->dirty = ~bits(1);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(iod, 7u);
    EXPECT_EQ(seen(), "ht_lookup(If, 0x1a000007) = found");
    EXPECT_EQ(dirty_of(entry(7)), ~bits(1));
    EXPECT_EQ(counters_moved(), "hits[1] +1");
}

TEST_F(IodQuery, OfADirtyIodRefreshesTheWholeEntryAndDeliberatelyAgainAtEveryQuestion)
{
    created(7)->dirty = bits(1, 17);
    const std::string refresh = lines("ht_lookup(If, 0x1a000007) = found",
                                      traced("Varn-update for if-index 0x1a000007, iod 7\n"),
                                      "if_index_get_type(0x1a000007) = 0 -> 26",
                                      "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7");
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(iod, 7u);
    EXPECT_EQ(seen(), lines(refresh, "ifsvc_is_linkup(7) = 1"));
    EXPECT_EQ(counters_moved(), "misses[1] +1, updates[1] +1, updates[15] +1, iod_refreshes +1");
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(seen(), refresh);
    EXPECT_EQ(counters_moved(), "misses[1] +1, updates[1] +1, iod_refreshes +1");
}

TEST_F(IodQuery, WhoseRefreshFindsAnotherIodReturnsItsOwnCodeWithoutAnOutput)
{
    created(8);
    created(7)->dirty = bits(1);
    on(ifsvc_get_iod_frm_ifindex).answers(0, 8);
    EXPECT_EQ(ask(), 0x40E30001u);
    EXPECT_EQ(iod, 99u);
    EXPECT_EQ(entry(8), nullptr);
    EXPECT_EQ(on(ifsvc_get_iod_frm_ifindex).asked(), 1u) << "the service is not asked once more";
    EXPECT_EQ(counters_moved(),
              "misses[1] +1, updates[1] +1, if_frees +1, if_destroys +1, iod_remaps +1, "
              "if_index.removes +1, iod_index.removes +1, pi_index.removes +1, lif_index.removes "
              "+1, iod_refreshes +1");
}

TEST_F(IodQuery, WhoseRefreshRemovesTheEntryItselfTouchesItNoMore)
{
    created(7)->dirty = bits(1);
    on(ifsvc_get_iod_frm_ifindex).does([](u32, u32 *out) { return *out = 7, 0x41u; });
    EXPECT_EQ(ask(), 0x40E30001u);
    EXPECT_EQ(iod, 99u);
    EXPECT_EQ(entry(7), nullptr);
}

TEST_F(IodQuery, WhoseRefreshFailsForWantOfATypeReturnsTheSameCode)
{
    created(7)->dirty = bits(1);
    on(if_index_get_type).fails();
    EXPECT_EQ(ask(), 0x40E30001u);
    EXPECT_EQ(iod, 99u);
    EXPECT_EQ(counters_moved(), "misses[1] +1, iod_refreshes +1");
}

TEST_F(IodQuery, AfterTheCacheWasSwitchedOffAsksTheService)
{
    created(7);
    varn_disable_cache();
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(iod, 7u);
    EXPECT_EQ(seen(), "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7");
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(IodQuery, ReadsTheSyncMaskOnlyAndNotWhetherTheCacheIsOn)
{
    created(7);
    varn_enabled = 0;
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(iod, 7u);
    EXPECT_EQ(counters_moved(), "hits[1] +1");
    entry(7)->dirty = bits(1);
    EXPECT_EQ(ask(), 0x40E30001u) << "a refresh needs the cache on";
    EXPECT_EQ(iod, 99u);
    EXPECT_EQ(counters_moved(), "misses[1] +1, iod_refreshes +1");
}

} // namespace
