// SPDX-License-Identifier: Apache-2.0
//
// Long lives of the cache, drawn at random from a fixed seed. In the first kind the cache is told
// of every change, and must always answer as the services do. In the second kind anything may
// happen, identities move and everything fails now and then, and the invariants must hold after
// each step.
#include "query_ground.h"

#include <random>

namespace
{

constexpr u32 ports = 8;
constexpr u32 steps_of_history = 1500;

// A query whose cached answer is the service's own while the service says 0 and 1, or 16 bits.
struct twin {
    u32 (*cached)(u32);
    u32 (*direct)(u32);
};

u32 cached_mac(u32 iod) { return varn_ifsvc_get_if_mac_addr(iod)[5]; }
u32 direct_mac(u32 iod)
{
    std::uint8_t mac[6] = {};
    return ifsvc_get_if_src_mac_addr(iod, mac) == 0 ? mac[5] : 0;
}
u32 cached_if_index(u32 iod)
{
    u32 if_index = 0;
    return varn_ifsvc_get_ifindex_frm_iod(iod, &if_index) == 0 ? if_index : 0;
}
u32 direct_if_index(u32 iod)
{
    u32 if_index = 0;
    return ifsvc_get_ifindex_frm_iod(iod, &if_index) == 0 ? if_index : 0;
}
u32 cached_iod(u32 iod)
{
    u32 found = 0;
    return varn_ifsvc_get_iod_frm_ifindex(0x1a000000 | iod, &found) == 0 ? found : 0;
}
u32 direct_iod(u32 iod)
{
    u32 found = 0;
    return ifsvc_get_iod_frm_ifindex(0x1a000000 | iod, &found) == 0 ? found : 0;
}
u32 cached_vlan(u32 iod)
{
    varn_vlan_info_t info = {0, 0};
    u32 mode = 0;
    return varn_ifsvc_get_vlan_info(iod, &info, &mode) + varn_ifsvc_get_if_vlanid(iod);
}

const twin twins[] = {
    {varn_ifsvc_is_linkup, ifsvc_is_linkup},
    {varn_ifsvc_is_protoup, ifsvc_is_protoup},
    {varn_ifsvc_is_switchport, ifsvc_is_switchport},
    {varn_ifsvc_is_switching_enabled_on_iod, ifsvc_is_switching_enabled_on_iod},
    {varn_ifsvc_is_ethernet, ifsvc_is_ethernet},
    {varn_ifsvc_is_vlan, ifsvc_is_vlan},
    {varn_ifsvc_is_null0, ifsvc_is_null0},
    {varn_ifsvc_is_native_p2p, ifsvc_is_native_p2p},
    {varn_ifsvc_is_loopback, ifsvc_is_loopback},
    {varn_ifsvc_is_mvpn_tunnel, ifsvc_is_mvpn_tunnel},
    {varn_ifsvc_get_if_mtu, ifsvc_get_if_mtu},
    {varn_ifsvc_get_if_encaptype, ifsvc_get_if_encaptype},
    {varn_ifsvc_is_gre_tunnel, ifsvc_is_gre_tunnel},
    {cached_mac, direct_mac},
    {cached_if_index, direct_if_index},
    {cached_iod, direct_iod},
};

// An attribute of the world, and the bit that a change of it makes stale.
struct world_change {
    u32 facts::*which;
    unsigned bit;
    u32 values; // 0 to values - 1
};

const world_change world_changes[] = {
    {&facts::linkup, 17, 2},    {&facts::protoup, 18, 2},   {&facts::switchport, 15, 2},
    {&facts::switching, 16, 2}, {&facts::ethernet, 19, 2},  {&facts::is_vlan, 20, 2},
    {&facts::null0, 22, 2},     {&facts::p2p, 23, 2},       {&facts::loopback, 24, 2},
    {&facts::mvpn, 26, 2},      {&facts::mtu, 13, 0x10000}, {&facts::encap, 4, 3},
};

class CacheHistory : public query_test, public testing::WithParamInterface<u32>
{
protected:
    CacheHistory() : chance_(GetParam())
    {
        for (u32 n = 1; n <= ports; ++n)
            given(port(n));
    }
    u32 below(u32 limit) { return static_cast<u32>(chance_() % limit); }
    u32 some_iod() { return 1 + below(ports + 1); } // the last one is unknown
    template <typename Rows>
    const auto &one_of(const Rows &rows)
    {
        return rows[below(static_cast<u32>(std::size(rows)))];
    }

    void start_small() { start(config().num_buckets(16).sync(everything)); }
    void mark_stale(u32 iod, u64 mask)
    {
        if (varn_if_entry_t *found = entry(iod))
            found->dirty |= mask;
    }

    // ---- what befalls a cache that is told of everything ----

    void change_and_tell()
    {
        const u32 iod = 1 + below(ports);
        const world_change &made = one_of(world_changes);
        the(iod).is.*made.which = below(made.values);
        mark_stale(iod, bits(made.bit));
    }
    void come_and_go()
    {
        const u32 iod = 1 + below(ports);
        varn_if_remove_entry_by_if(0x1a000000 | iod);
        if (below(2) == 0)
            varn_if_create_entry_by_pi(0x100 + iod);
    }
    void told_step()
    {
        switch (below(6)) {
        case 0:
            return come_and_go();
        case 1:
            return mark_stale(some_iod(), chance_());
        case 2:
            varn_if_update_if(0x1a000000 | some_iod());
            return;
        default:
            return change_and_tell();
        }
    }
    void expect_answer_of_the_service()
    {
        const twin &asked = one_of(twins);
        const u32 iod = some_iod();
        const u32 expected = asked.direct(iod);
        EXPECT_EQ(asked.cached(iod), expected) << "iod " << iod;
    }

    // ---- what befalls a cache in a wild world ----

    void move_an_identity()
    {
        const u32 n = 1 + below(ports);
        if (by_if_index(0x1a000000 | n) == nullptr)
            return given(port(n));
        interface moved = port(n);
        switch (below(4)) {
        case 0:
            return gone(by_if_index(0x1a000000 | n)->iod);
        case 1:
            moved.iod(1 + below(ports));
            break;
        case 2:
            moved.pi(below(3) == 0 ? none : 0x100 + below(ports));
            break;
        default:
            moved.lif(below(3) == 0 ? none : 0x2000 + below(ports));
            break;
        }
        given(moved);
    }
    void fail_something()
    {
        switch (below(6)) {
        case 0:
            on(memacct_alloc).fails_once();
            break;
        case 1:
            on(ht_insert).fails_call(1 + below(4));
            break;
        case 2:
            on(ifsvc_get_iod_frm_ifindex).fails_once();
            break;
        case 3:
            on(if_index_get_type).fails_call(1 + below(2));
            break;
        case 4:
            on(idxsvc_lib_ifidx_to_di).fails_once();
            break;
        default:
            on(lifsvc_query_ifindex_to_lif).fails_once();
            break;
        }
    }
    void create_by_some_key()
    {
        const u32 n = some_iod();
        switch (below(4)) {
        case 0:
            varn_if_create_entry_by_if(0x1a000000 | n, below(ports), none, none);
            break;
        case 1:
            varn_if_create_entry_by_iod(n);
            break;
        case 2:
            varn_if_create_entry_by_pi(0x100 + n);
            break;
        default:
            varn_if_create_entry_by_lif(0x2000 + n);
            break;
        }
    }
    void remove_by_some_key()
    {
        const u32 n = some_iod();
        switch (below(5)) {
        case 0:
            varn_if_remove_entry_by_if(0x1a000000 | n);
            break;
        case 1:
            varn_if_remove_entry_by_iod(n);
            break;
        case 2:
            varn_if_remove_entry_by_pi(0x100 + n);
            break;
        case 3:
            varn_if_remove_entry_by_lif(0x2000 + n);
            break;
        default:
            varn_if_remove_entry_by_if_ext(0x1a000000 | n, n, below(4));
            break;
        }
    }
    void refresh_identities(u32 n)
    {
        if (varn_if_entry_t *found = entry_of(0x1a000000 | n))
            found->dirty |= bits(2, 3);
        varn_if_update_if(0x1a000000 | n);
    }
    void switch_off_or_on() { varn_enabled != 0 ? varn_disable_cache() : varn_restore_cache(); }
    void wild_step()
    {
        switch (below(12)) {
        case 0:
            return fail_something();
        case 1:
        case 2:
            return move_an_identity();
        case 3:
        case 4:
            return create_by_some_key();
        case 5:
            return remove_by_some_key();
        case 6:
            return mark_stale(some_iod(), chance_());
        case 7:
            return below(8) == 0 ? switch_off_or_on() : void();
        case 8:
            return refresh_identities(some_iod());
        case 9:
            cached_vlan(some_iod());
            return;
        default:
            one_of(twins).cached(some_iod());
            return;
        }
    }

    bool goes_on() const { return !HasFailure(); }

    std::mt19937_64 chance_;
};

TEST_P(CacheHistory, ToldOfEveryChangeAnswersAsTheServicesDo)
{
    start_small();
    for (u32 step = 0; step < steps_of_history && goes_on(); ++step) {
        SCOPED_TRACE(step);
        told_step();
        expect_answer_of_the_service();
    }
    EXPECT_GT(varn.hits[15], 0u);
    EXPECT_GT(varn.misses[15], 0u);
}

TEST_P(CacheHistory, InAWildWorldKeepsTheInvariants)
{
    start_small();
    for (u32 step = 0; step < steps_of_history && goes_on(); ++step) {
        SCOPED_TRACE(step);
        captured_stdout([this] { wild_step(); }); // the warnings of failed allocations
        check();
    }
    EXPECT_GT(varn.if_frees, 0u);
    EXPECT_GT(varn.create_fail, 0u);
    EXPECT_GT(varn.iod_remaps, 0u);
    EXPECT_GT(varn.pi_remaps, 0u);
    EXPECT_GT(varn.lif_remaps, 0u);
}

INSTANTIATE_TEST_SUITE_P(Seeds, CacheHistory, testing::Range(1u, 9u));

} // namespace
