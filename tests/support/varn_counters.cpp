// SPDX-License-Identifier: Apache-2.0
//
// The single counters stand in one list, by name and place; the three arrays are walked by slot.
#include "varn_counters.h"

#include "scripted_device.h"
#include "varn.h"

#include <algorithm>
#include <array>
#include <iterator>

using scripted::add_to_list;
using scripted::dec;
using scripted::spell;

namespace
{

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

struct counter_array {
    const char *name;
    const std::uint64_t (&values)[VARN_NUM_SLOTS];
};

const counter_array arrays[] = {
    {"misses", varn.misses},
    {"hits", varn.hits},
    {"updates", varn.updates},
};

// The values alone: a name is spelled when its counter has moved. Tests read them some 100,000 times.
constexpr std::size_t in_arrays = std::size(arrays) * VARN_NUM_SLOTS;
using reading = std::array<std::uint64_t, in_arrays + std::size(single_counters)>;

std::string name_at(std::size_t at)
{
    if (at >= in_arrays)
        return single_counters[at - in_arrays].name;
    return spell(arrays[at / VARN_NUM_SLOTS].name, "[", dec(at % VARN_NUM_SLOTS), "]");
}

reading read_counters()
{
    reading all;
    std::uint64_t *next = all.data();
    for (const counter_array &each : arrays)
        next = std::copy_n(each.values, VARN_NUM_SLOTS, next);
    for (const single_counter &each : single_counters)
        *next++ = each.value;
    return all;
}

reading &last_read()
{
    static reading kept = read_counters();
    return kept;
}

} // namespace

std::string counters_moved()
{
    const reading now = read_counters();
    std::string moved;
    for (std::size_t at = 0; at < now.size(); ++at) {
        const std::uint64_t was = last_read()[at];
        const std::uint64_t is = now[at];
        if (is != was)
            add_to_list(moved, is > was ? spell(name_at(at), " +", dec(is - was))
                                        : spell(name_at(at), " -", dec(was - is)));
    }
    last_read() = now;
    return moved;
}

void forget_counters() { last_read() = read_counters(); }
