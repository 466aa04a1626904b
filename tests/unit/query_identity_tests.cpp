// SPDX-License-Identifier: Apache-2.0
//
// The identity queries: if-index from iod, iod from if-index, and what is built on them. A stale
// iod makes each of them refresh the whole entry, which may find that the if-index has moved.
#include "query_ground.h"

namespace
{

constexpr u32 untouched = 0x55555555;
constexpr const char *counted_refresh = "misses[1] +1, updates[1] +1, iod_refreshes +1";
constexpr const char *asked_iod = "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7";
constexpr const char *asked_moved_iod = "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 9";

// The history of a refresh of port(7) that found this.
std::string moved_to(const std::string &iod, const std::string &code)
{
    return "[77]: Varn-update for if-index 0x1a000007, iod 7\n"
           "[77]: If->iod mapping changed for if-index 0x1a000007, entry->iod=7, iod=" +
           iod + ", err: " + code + "\n";
}

// What both directions share: a question, its output, its result.
class identity_query : public query_test
{
protected:
    // A cache of the iod, the link and the MTU, in which port(7) is stale in these attributes.
    varn_if_entry_t &start_stale(u64 dirty)
    {
        start_with(bits(1, 13, 17));
        varn_if_entry_t &kept = filled(7);
        kept.dirty = dirty;
        return kept;
    }

    u32 out = untouched;
};

// ---- The if-index of an iod ----

class GetIfindexFrmIod : public identity_query
{
protected:
    u32 ask(u32 iod) { return varn_ifsvc_get_ifindex_frm_iod(iod, &out); }
};

TEST_F(GetIfindexFrmIod, Of0Writes0WithoutTouchingAnything)
{
    for (const u64 sync : {everything, u64{0}}) {
        start_with(sync);
        out = untouched;
        EXPECT_EQ(ask(0), 0u);
        EXPECT_EQ(out, 0u);
        EXPECT_EQ(calls(), "");
        EXPECT_EQ(counters_moved(), "");
    }
}

TEST_F(GetIfindexFrmIod, WithTheIodNotCachedGoesToItsService)
{
    start_with(everything & ~bits(1));
    EXPECT_EQ(ask(7), 0u);
    EXPECT_EQ(out, 0x1a000007u);
    EXPECT_EQ(calls(), asked_if_index);
    EXPECT_EQ(counters_moved(), "misses[1] +1");
    EXPECT_EQ(entries(), 0u);
}

TEST_F(GetIfindexFrmIod, WithTheIodNotCachedPassesAFailureOn)
{
    start_with(everything & ~bits(1));
    EXPECT_EQ(ask(8), 0x40040004u);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(calls(), "ifsvc_get_ifindex_frm_iod(8) = 0x40040004");
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(GetIfindexFrmIod, OfAnUnknownIodAsksTheServiceOnceMore)
{
    start_with(everything);
    gone(7);
    EXPECT_EQ(ask(7), 0x40040004u);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(calls(), lines(asked_unknown_iod, asked_unknown_iod));
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(GetIfindexFrmIod, OfAForbiddenIodGivesTheServicesAnswer)
{
    start_with(everything);
    varn_iodbmp[0] = ~(u32{1} << 7);
    EXPECT_EQ(ask(7), 0u);
    EXPECT_EQ(out, 0x1a000007u);
    EXPECT_EQ(calls(), lines(asked_if_index, asked_if_index));
    EXPECT_EQ(counters_moved(), "misses[1] +1");
    EXPECT_EQ(entries(), 0u);
}

// It needs no attribute bit but bit 1.
TEST_F(GetIfindexFrmIod, OfAnIodWithoutEntryCreatesItAndAnswersFromIt)
{
    start_with(bits(1));
    EXPECT_EQ(ask(7), 0u);
    EXPECT_EQ(out, 0x1a000007u);
    EXPECT_EQ(calls(), lines(asked_if_index, asked_first_mtu));
    EXPECT_EQ(counters_moved(), "hits[1] +1, " + std::string(counted_creation));
}

TEST_F(GetIfindexFrmIod, WhenCleanAsksNobody)
{
    start_stale(bits(13, 17));
    EXPECT_EQ(ask(7), 0u);
    EXPECT_EQ(out, 0x1a000007u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[1] +1");
}

TEST_F(GetIfindexFrmIod, WhenTheIodIsDirtyRefreshesTheWholeEntry)
{
    varn_if_entry_t &kept = start_stale(bits(1, 13, 17));
    the(7).linkup(0).mtu(9216);
    EXPECT_EQ(ask(7), 0u);
    EXPECT_EQ(out, 0x1a000007u);
    EXPECT_EQ(calls(), lines(asked_iod, "ifsvc_is_linkup(7) = 0", "ifsvc_get_if_mtu(7) = 9216"));
    EXPECT_EQ(counters_moved(), "misses[1] +1, updates[1] +1, updates[12] +1, updates[15] +1, "
                                "iod_refreshes +1");
    EXPECT_EQ(kept.mtu, 9216u);
    EXPECT_EQ(history_text(), "[77]: Varn-update for if-index 0x1a000007, iod 7\n");
}

TEST_F(GetIfindexFrmIod, LeavesTheIodDirtyAndRefreshesEachTimeDeliberately)
{
    varn_if_entry_t &kept = start_stale(bits(1));
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(ask(7), 0u);
        EXPECT_EQ(calls(), asked_iod);
        EXPECT_EQ(counters_moved(), counted_refresh);
        EXPECT_EQ(u64{kept.dirty}, bits(1));
    }
}

TEST_F(GetIfindexFrmIod, WhoseIfIndexHasMovedIsACodeWithoutOutput)
{
    varn_if_entry_t &kept = start_stale(bits(1, 13, 17));
    on(ifsvc_get_iod_frm_ifindex).of(0x1a000007).answers(0, 9);
    EXPECT_EQ(ask(7), 0x40E30001u);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(calls(), asked_moved_iod);
    EXPECT_EQ(counters_moved(), "misses[1] +1, updates[1] +1, iod_remaps +1, iod_refreshes +1");
    EXPECT_EQ(history_text(),
              moved_to("9", "0x0") + "[77]: Varn remove failed for Interface with iod 9\n");
    EXPECT_EQ(kept.iod, 7u);
    EXPECT_EQ(kept.iod_remaps, 1u);
    EXPECT_EQ(u64{kept.dirty}, bits(1, 13, 17));
}

TEST_F(GetIfindexFrmIod, WhoseIfIndexHasMovedRemovesTheEntryThatIsThere)
{
    given(port(9));
    start_stale(bits(1));
    filled(9);
    on(ifsvc_get_iod_frm_ifindex).of(0x1a000007).answers(0, 9);
    EXPECT_EQ(ask(7), 0x40E30001u);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(history_text(), moved_to("9", "0x0") +
                                  "[77]: If-destroy for if-index 0x1a000009, iod 9, pi "
                                  "0xffffffff, lif 0xffffffff\n");
    EXPECT_EQ(entry_of(0x1a000009), nullptr);
    EXPECT_NE(entry_of(0x1a000007), nullptr);
    EXPECT_EQ(counters_moved(), "misses[1] +1, updates[1] +1, if_frees +1, if_destroys +1, "
                                "iod_remaps +1, if_index.removes +1, iod_index.removes +1, "
                                "iod_refreshes +1");
}

TEST_F(GetIfindexFrmIod, WhoseIfIndexIsUnknownNowIsACodeWithoutOutput)
{
    start_stale(bits(1));
    gone(7);
    EXPECT_EQ(ask(7), 0x40E30001u);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(calls(), "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x40040004");
    EXPECT_EQ(history_text(),
              moved_to("0", "0x40040004") + "[77]: Varn remove failed for Interface with iod 0\n");
}

// A service that fails and names the entry's own iod makes the refresh remove this very entry.
TEST_F(GetIfindexFrmIod, DoesNotTouchAnEntryThatTheRefreshRemoved)
{
    start_stale(bits(1));
    on(ifsvc_get_iod_frm_ifindex).of(0x1a000007).answers(0x41, 7);
    EXPECT_EQ(ask(7), 0x40E30001u);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(entries(), 0u);
    EXPECT_EQ(calls(), "ifsvc_get_iod_frm_ifindex(0x1a000007) = 0x41");
}

// ---- The iod of an if-index ----

class GetIodFrmIfindex : public identity_query
{
protected:
    u32 ask(u32 if_index) { return varn_ifsvc_get_iod_frm_ifindex(if_index, &out); }
};

TEST_F(GetIodFrmIfindex, WithTheIodNotCachedGoesToItsService)
{
    start_with(everything & ~bits(1));
    EXPECT_EQ(ask(0x1a000007), 0u);
    EXPECT_EQ(out, 7u);
    EXPECT_EQ(calls(), asked_iod);
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(GetIodFrmIfindex, WithTheIodNotCachedPassesAFailureOn)
{
    start_with(everything & ~bits(1));
    EXPECT_EQ(ask(0x1a000008), 0x40040004u);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(GetIodFrmIfindex, WithoutEntryGoesToItsServiceAndCreatesNone)
{
    start_with(everything);
    EXPECT_EQ(ask(0x1a000007), 0u);
    EXPECT_EQ(out, 7u);
    EXPECT_EQ(calls(), asked_iod);
    EXPECT_EQ(counters_moved(), "misses[1] +1");
    EXPECT_EQ(entries(), 0u);
}

TEST_F(GetIodFrmIfindex, WithoutEntryPassesAFailureOn)
{
    start_with(everything);
    EXPECT_EQ(ask(0x1a000008), 0x40040004u);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(calls(), "ifsvc_get_iod_frm_ifindex(0x1a000008) = 0x40040004");
    EXPECT_EQ(counters_moved(), "misses[1] +1");
}

TEST_F(GetIodFrmIfindex, WhenCleanAsksNobody)
{
    start_stale(bits(13, 17));
    EXPECT_EQ(ask(0x1a000007), 0u);
    EXPECT_EQ(out, 7u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[1] +1");
}

TEST_F(GetIodFrmIfindex, WhenTheIodIsDirtyRefreshesTheWholeEntryEachTimeDeliberately)
{
    varn_if_entry_t &kept = start_stale(bits(1, 17));
    EXPECT_EQ(ask(0x1a000007), 0u);
    EXPECT_EQ(out, 7u);
    EXPECT_EQ(calls(), lines(asked_iod, "ifsvc_is_linkup(7) = 1"));
    EXPECT_EQ(counters_moved(), "misses[1] +1, updates[1] +1, updates[15] +1, iod_refreshes +1");
    EXPECT_EQ(u64{kept.dirty}, bits(1));
    EXPECT_EQ(ask(0x1a000007), 0u);
    EXPECT_EQ(calls(), asked_iod);
    EXPECT_EQ(counters_moved(), counted_refresh);
}

TEST_F(GetIodFrmIfindex, ThatHasMovedIsACodeWithoutOutput)
{
    start_stale(bits(1));
    on(ifsvc_get_iod_frm_ifindex).of(0x1a000007).answers(0, 9);
    EXPECT_EQ(ask(0x1a000007), 0x40E30001u);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(calls(), asked_moved_iod);
    EXPECT_EQ(counters_moved(), "misses[1] +1, updates[1] +1, iod_remaps +1, iod_refreshes +1");
    EXPECT_EQ(history_text(),
              moved_to("9", "0x0") + "[77]: Varn remove failed for Interface with iod 9\n");
}

TEST_F(GetIodFrmIfindex, DoesNotTouchAnEntryThatTheRefreshRemoved)
{
    start_stale(bits(1));
    on(ifsvc_get_iod_frm_ifindex).of(0x1a000007).answers(0x41, 7);
    EXPECT_EQ(ask(0x1a000007), 0x40E30001u);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(entries(), 0u);
}

} // namespace
