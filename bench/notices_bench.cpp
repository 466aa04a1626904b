// SPDX-License-Identifier: Apache-2.0
//
// What a notice of each kind costs in its handler, about an interface that has an entry and with
// nothing changed by it; once with a trace sink that discards, once with the event history.
#include <benchmark/benchmark.h>

#include <arpa/inet.h>

#include "in_process.h"
#include "platform_stub.h"
#include "population.h"
#include "varn.h"

namespace
{

using bench::if_index_of;

void phy_state(uint32_t iod)
{
    const varn_phy_update_t update{if_index_of(iod), iod, 1};
    varn_update_phy_state(&update);
}

varn_l2_update_t l2_up(uint32_t iod)
{
    varn_l2_update_t update{};
    update.if_index = if_index_of(iod);
    update.iod = iod;
    update.mac[0] = 2;
    update.state = 1;
    update.mtu = 1500;
    return update;
}

void l2_state(uint32_t iod)
{
    const varn_l2_update_t update = l2_up(iod);
    varn_update_l2_state(&update);
}

void l2_bundle_state(uint32_t iod)
{
    const varn_l2_update_t update = l2_up(iod);
    varn_update_l2_bundle_state(&update);
}

varn_l3_update_t l3_up(uint32_t iod) { return {if_index_of(iod), iod, 1, {}, 1500}; }

void l3_state(uint32_t iod)
{
    varn_l3_update_t update = l3_up(iod);
    varn_update_l3_state(&update);
}

void l3_bundle_state(uint32_t iod)
{
    const varn_l3_update_t update = l3_up(iod);
    varn_update_l3_bundle_state(&update);
}

void l3_param(uint32_t iod)
{
    const varn_l3_param_update_t update{0, iod};
    const bitset_t changed{{1u << VARN_L3_PARAM_MTU, 0}};
    varn_update_l3_param(&update, &changed);
}

void switchport(uint32_t iod) { varn_update_switchport(static_cast<int32_t>(iod)); }
void vlan(uint32_t iod) { varn_update_vlan(static_cast<int32_t>(iod)); }
void extension0(uint32_t iod) { varn_remove_extension0(static_cast<int32_t>(iod)); }

void linkup_dirty_bit(uint32_t iod)
{
    varn_update_is_linkup_dirty_bit(static_cast<int32_t>(iod), 0, 0);
}

void router_mac(uint32_t iod)
{
    const varn_mac_update_t update{if_index_of(iod), {2, 0, 0, 0, 0, 1}, {}, 1};
    varn_update_router_mac(&update);
}

void first_member(uint32_t iod)
{
    const uint32_t member = htonl(if_index_of(iod));
    const varn_fop_update_t update{htonl(bench::pc_index_of(iod)), 0, member, member};
    varn_update_aggsvc_fop(&update);
}

struct notice {
    const char *name;
    void (*handle)(uint32_t iod);
};

constexpr notice kinds[] = {
    {"varn_update_phy_state", phy_state},
    {"varn_update_l2_state", l2_state},
    {"varn_update_l3_state", l3_state},
    {"varn_update_switchport", switchport},
    {"varn_update_l2_bundle_state", l2_bundle_state},
    {"varn_update_l3_bundle_state", l3_bundle_state},
    {"varn_update_l3_param", l3_param},
    {"varn_update_vlan", vlan},
    {"varn_remove_extension0", extension0},
    {"varn_update_is_linkup_dirty_bit", linkup_dirty_bit},
    {"varn_update_router_mac", router_mac},
    {"varn_update_aggsvc_fop", first_member},
};

void handle(benchmark::State &state, const notice *kind, const uint16_t *order, bool into_history)
{
    if (into_history)
        bench::trace_into_history();
    uint32_t at = 0;
    for (auto _ : state)
        kind->handle(order[at++ & (bench::num_random_iods - 1)]);
    bench::discard_traces();
    state.counters["operations"] = 1;
}

} // namespace

void bench::register_notices(const uint16_t *order)
{
    for (const notice &kind : kinds) {
        const std::string name = kind.name;
        benchmark::RegisterBenchmark(("notice/" + name).c_str(), handle, &kind, order, false);
        benchmark::RegisterBenchmark(("history/" + name).c_str(), handle, &kind, order, true);
    }
}
