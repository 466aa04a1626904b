// SPDX-License-Identifier: Apache-2.0
//
// figures.cpp: reads the cache's global record. The names of the attributes are those of the
// commands.
#include "figures.h"

#include <fmt/format.h>

#include "varn_device.h"

namespace shell
{
namespace
{

// In the order of the counter slots.
constexpr std::string_view slot_names[] = {
    "if_index",  "iod",        "pi",          "lif",      "mac",      "encap",    "extn",
    "extn1",     "extn2",      "extn3",       "context",  "base_tid", "mtu",      "switchport",
    "switching", "linkup",     "protoup",     "ethernet", "is_vlan",  "vlan",     "ips",
    "null",      "aggsvc_if",  "gre",         "subif",    "name",     "loopback", "p2p",
    "if_type",   "dci_tunnel", "dci_overlay", "mvpn",
};
static_assert(std::size(slot_names) == VARN_NUM_SLOTS);

u64 sum(const figures &all, u64 question_figures::*counter)
{
    u64 total = 0;
    for (const question_figures &row : all.questions)
        total += row.*counter;
    return total;
}

std::vector<question_figures> read_questions()
{
    std::vector<question_figures> rows;
    for (u32 slot = 0; slot < VARN_NUM_SLOTS; ++slot)
        rows.push_back({slot_names[slot], varn.hits[slot], varn.misses[slot], varn.updates[slot]});
    const varn_vlan_counters_t &hits = varn.vlan_hits, &misses = varn.vlan_misses;
    const varn_vlan_counters_t &updates = varn.vlan_updates;
    rows.push_back({"bd", hits.bd, misses.bd, updates.bd});
    rows.push_back({"findex", hits.findex, misses.findex, updates.findex});
    rows.push_back({"pvlan", hits.pvlan, misses.pvlan, updates.pvlan});
    rows.push_back({"pc", varn.pc_hits, varn.pc_misses, varn.pc_updates});
    return rows;
}

std::vector<table_figures> read_tables()
{
    const u64 interfaces = varn.if_table.num_entries;
    const u64 vlans = varn.vlan_table.num_entries;
    const u64 channels = varn.pc_table.num_entries;
    return {
        {"interface", interfaces, interfaces * sizeof(varn_if_entry_t)},
        {"iod", varn.iod_table.num_entries, 0},
        {"pi", varn.pi_table.num_entries, 0},
        {"lif", varn.lif_table.num_entries, 0},
        {"vlan", vlans, vlans * sizeof(varn_vlan_entry_t)},
        {"pc", channels, channels * sizeof(varn_pc_entry_t)},
    };
}

} // namespace

u64 figures::hits() const { return sum(*this, &question_figures::hits); }
u64 figures::misses() const { return sum(*this, &question_figures::misses); }
u64 figures::updates() const { return sum(*this, &question_figures::updates); }

figures read_figures()
{
    return {
        read_questions(),
        read_tables(),
        {{"interface", varn.if_allocs, varn.if_frees},
         {"vlan", varn.vlan_allocs, varn.vlan_frees},
         {"pc", varn.pc_allocs, varn.pc_frees}},
        {{"phy_state", varn.phy_updates},
         {"l2_state", varn.l2_updates},
         {"l3_state", varn.l3_updates},
         {"l3_param", varn.l3_param_updates},
         {"l2_bundle_state", varn.l2_bundle_updates},
         {"l3_bundle_state", varn.l3_bundle_updates},
         {"aggsvc_fop", varn.aggsvc_updates}},
        varn_device_requests(),
        varn_is_enabled() == 1,
        varn_device_is_connected() == 1,
    };
}

std::string hit_rate(u64 hits, u64 misses)
{
    if (hits + misses == 0)
        return "-";
    return fmt::format("{:.1f} %",
                       100.0 * static_cast<double>(hits) / static_cast<double>(hits + misses));
}

} // namespace shell
