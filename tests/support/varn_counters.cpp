// SPDX-License-Identifier: Apache-2.0
//
// The single counters stand in one list, by name and place; the three arrays are walked by slot.
#include "varn_counters.h"

#include "scripted_device.h"
#include "varn.h"

#include <utility>
#include <vector>

using scripted::add_to_list;
using scripted::dec;
using scripted::spell;

namespace
{

using counter = std::pair<std::string, std::uint64_t>;

struct single_counter {
    const char *name;
    const std::uint64_t &value;
};

const single_counter single_counters[] = {
    {"if_allocs", varn.if_allocs},
    {"if_frees", varn.if_frees},
    {"if_destroys", varn.if_destroys},
    {"iod_remaps", varn.iod_remaps},
    {"pi_remaps", varn.pi_remaps},
    {"lif_remaps", varn.lif_remaps},
    {"if_index.inserts", varn.if_index.inserts},
    {"if_index.removes", varn.if_index.removes},
    {"if_index.insert_fail", varn.if_index.insert_fail},
    {"if_index.remove_fail", varn.if_index.remove_fail},
    {"iod_index.inserts", varn.iod_index.inserts},
    {"iod_index.removes", varn.iod_index.removes},
    {"iod_index.insert_fail", varn.iod_index.insert_fail},
    {"iod_index.remove_fail", varn.iod_index.remove_fail},
    {"pi_index.inserts", varn.pi_index.inserts},
    {"pi_index.removes", varn.pi_index.removes},
    {"pi_index.insert_fail", varn.pi_index.insert_fail},
    {"pi_index.remove_fail", varn.pi_index.remove_fail},
    {"lif_index.inserts", varn.lif_index.inserts},
    {"lif_index.removes", varn.lif_index.removes},
    {"lif_index.insert_fail", varn.lif_index.insert_fail},
    {"lif_index.remove_fail", varn.lif_index.remove_fail},
    {"phy_updates", varn.phy_updates},
    {"l2_updates", varn.l2_updates},
    {"l3_updates", varn.l3_updates},
    {"l3_param_updates", varn.l3_param_updates},
    {"l2_bundle_updates", varn.l2_bundle_updates},
    {"l3_bundle_updates", varn.l3_bundle_updates},
    {"aggsvc_updates", varn.aggsvc_updates},
    {"if_refreshes", varn.if_refreshes},
    {"iod_refreshes", varn.iod_refreshes},
    {"pi_refreshes", varn.pi_refreshes},
    {"lif_refreshes", varn.lif_refreshes},
    {"create_fail", varn.create_fail},
    {"vlan_misses.bd", varn.vlan_misses.bd},
    {"vlan_misses.findex", varn.vlan_misses.findex},
    {"vlan_misses.pvlan", varn.vlan_misses.pvlan},
    {"vlan_hits.bd", varn.vlan_hits.bd},
    {"vlan_hits.findex", varn.vlan_hits.findex},
    {"vlan_hits.pvlan", varn.vlan_hits.pvlan},
    {"vlan_updates.bd", varn.vlan_updates.bd},
    {"vlan_updates.findex", varn.vlan_updates.findex},
    {"vlan_updates.pvlan", varn.vlan_updates.pvlan},
    {"vlan_allocs", varn.vlan_allocs},
    {"vlan_frees", varn.vlan_frees},
    {"pc_hits", varn.pc_hits},
    {"pc_misses", varn.pc_misses},
    {"pc_updates", varn.pc_updates},
    {"pc_allocs", varn.pc_allocs},
    {"pc_frees", varn.pc_frees},
};

void add_slots(std::vector<counter> &all, const char *name, const std::uint64_t *values)
{
    for (unsigned slot = 0; slot < VARN_NUM_SLOTS; ++slot)
        all.emplace_back(spell(name, "[", dec(slot), "]"), values[slot]);
}

std::vector<counter> read_counters()
{
    std::vector<counter> all;
    add_slots(all, "misses", varn.misses);
    add_slots(all, "hits", varn.hits);
    add_slots(all, "updates", varn.updates);
    for (const single_counter &each : single_counters)
        all.emplace_back(each.name, each.value);
    return all;
}

std::vector<counter> &last_read()
{
    static std::vector<counter> kept = read_counters();
    return kept;
}

} // namespace

std::string counters_moved()
{
    const std::vector<counter> now = read_counters();
    std::string moved;
    for (std::size_t at = 0; at < now.size(); ++at) {
        const std::uint64_t was = last_read()[at].second;
        const auto &[name, is] = now[at];
        if (is != was)
            add_to_list(moved, is > was ? spell(name, " +", dec(is - was))
                                        : spell(name, " -", dec(was - is)));
    }
    last_read() = now;
    return moved;
}

void forget_counters() { last_read() = read_counters(); }
