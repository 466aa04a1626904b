// SPDX-License-Identifier: Apache-2.0
//
// The global dump: configuration masks, counters, and the table of hits, misses and updates. It
// does not ask whether the cache is on. The rows stand in the order in which they are printed,
// which is neither that of the bits nor that of the slots; slots 28 and 31 have no row.
#include "misuse.h"
#include "print.h"

using namespace ifcache;

namespace
{

using number = unsigned long long;

struct statistics_row {
    const char *label;
    const uint64_t *hits, *misses, *updates;
};

consteval statistics_row of_slot(const char *label, unsigned slot)
{
    return {label, &varn.hits[slot], &varn.misses[slot], &varn.updates[slot]};
}

consteval statistics_row of_vlan(const char *label, uint64_t varn_vlan_counters_t::*field)
{
    return {label, &(varn.vlan_hits.*field), &(varn.vlan_misses.*field),
            &(varn.vlan_updates.*field)};
}

// clang-format off
constexpr statistics_row statistics_rows[] = {
    of_slot("If-index:\t%llu\t",    VARN_SLOT_IF_INDEX),
    of_slot("Iod     :\t%llu\t",    VARN_SLOT_IOD),
    of_slot("Pi      :\t%llu\t",    VARN_SLOT_PI),
    of_slot("Lif     :\t%llu\t",    VARN_SLOT_LIF),
    of_slot("mac     :\t%llu\t",    VARN_SLOT_MAC),
    of_slot("encap   :\t%llu\t",    VARN_SLOT_ENCAP),
    of_slot("ext     :\t%llu\t",    VARN_SLOT_EXTN),
    of_slot("ext     :\t%llu\t",    VARN_SLOT_EXTN1),
    of_slot("ext     :\t%llu\t",    VARN_SLOT_EXTN2),
    of_slot("ext     :\t%llu\t",    VARN_SLOT_EXTN3),
    of_slot("context :\t%llu\t",    VARN_SLOT_CONTEXT),
    of_slot("base_tid:\t%llu\t",    VARN_SLOT_BASE_TID),
    of_slot("mtu     :\t%llu\t",    VARN_SLOT_MTU),
    of_slot("switchport:\t%llu\t",  VARN_SLOT_SWITCHPORT),
    of_slot("switching :\t%llu\t",  VARN_SLOT_SWITCHING),
    of_slot("linkup  :\t%llu\t",    VARN_SLOT_LINKUP),
    of_slot("protoup :\t%llu\t",    VARN_SLOT_PROTOUP),
    of_slot("ethernet:\t%llu\t",    VARN_SLOT_ETHERNET),
    of_slot("loopback:\t%llu\t",    VARN_SLOT_LOOPBACK), // Deliberate: out of slot order,
    of_slot("p2p     :\t%llu\t",    VARN_SLOT_P2P),      // these two.
    of_slot("is_vlan :\t%llu\t",    VARN_SLOT_IS_VLAN),
    of_slot("vlan    :\t%llu\t",    VARN_SLOT_VLAN),
    of_slot("ips     :\t%llu\t",    VARN_SLOT_IPS),
    of_slot("null    :\t%llu\t",    VARN_SLOT_NULL),
    of_slot("aggsvc_if  :\t%llu\t", VARN_SLOT_AGGSVC_IF),
    of_slot("gre     :\t%llu\t",    VARN_SLOT_GRE),
    of_slot("subif   :\t%llu\t",    VARN_SLOT_SUBIF),
    of_slot("name    :\t%llu\t",    VARN_SLOT_NAME),
    of_vlan("bd      :\t%llu\t",    &varn_vlan_counters_t::bd),
    of_vlan("FIndex  :\t%llu\t",    &varn_vlan_counters_t::findex),
    of_vlan("pvlan   :\t%llu\t",    &varn_vlan_counters_t::pvlan),
    {"pc      :\t%llu\t", &varn.pc_hits, &varn.pc_misses, &varn.pc_updates},
    of_slot("is_dci_tun:\t%llu\t",  VARN_SLOT_IS_DCI_TUNNEL),
    of_slot("is_dci_ovl:\t%llu\t",  VARN_SLOT_IS_DCI_OVERLAY),
};
// clang-format on

// Every slot but the two without a row, and the four rows of the side caches.
static_assert(sizeof statistics_rows / sizeof *statistics_rows == VARN_NUM_SLOTS - 2 + 4);

void print_life_counters(uintptr_t arg)
{
    PRINT(arg, "If Allocs:%llu,", number{varn.if_allocs});
    PRINT(arg, "If Frees %llu,", number{varn.if_frees});
    PRINT(arg, "If Destroys %llu,", number{varn.if_destroys});
    PRINT(arg, "Vlan Allocs %llu,", number{varn.vlan_allocs});
    PRINT(arg, "Vlan Frees %llu\n", number{varn.vlan_frees});
    PRINT(arg, "PC Allocs %llu,", number{varn.pc_allocs});
    PRINT(arg, "PC Frees %llu\n", number{varn.pc_frees});
}

// What follows the inserts on the line of an index.
void print_rest_of_index(uintptr_t arg, const varn_index_counters_t &counters, uint64_t remaps)
{
    PRINT(arg, "%llu, ", number{counters.removes});
    PRINT(arg, "%llu, ", number{counters.insert_fail});
    PRINT(arg, "%llu, ", number{counters.remove_fail});
    PRINT(arg, "%llu\n", number{remaps});
}

void print_indexes(uintptr_t arg)
{
    // Deliberate: the label names five numbers, and the If table has no remaps to show.
    PRINT(arg, "If Inserts/Removes/Insert-fail/Remove-fail/Remaps %llu, ",
          number{varn.if_index.inserts});
    PRINT(arg, "%llu, ", number{varn.if_index.removes});
    PRINT(arg, "%llu, ", number{varn.if_index.insert_fail});
    PRINT(arg, "%llu\n", number{varn.if_index.remove_fail});
    PRINT(arg, "Iod Inserts/Removes/Insert-fail/Remove-fail/Remaps %llu, ",
          number{varn.iod_index.inserts});
    print_rest_of_index(arg, varn.iod_index, varn.iod_remaps);
    PRINT(arg, "Pi Inserts/Removes/Insert-fail/Remove-fail/Remaps %llu, ",
          number{varn.pi_index.inserts});
    print_rest_of_index(arg, varn.pi_index, varn.pi_remaps);
    PRINT(arg, "Lif Inserts/Removes/Insert-fail/Remove-fail/Remaps %llu, ",
          number{varn.lif_index.inserts});
    print_rest_of_index(arg, varn.lif_index, varn.lif_remaps);
}

void print_update_counters(uintptr_t arg)
{
    PRINT(arg, "Updates: Phy:%llu, ", number{varn.phy_updates});
    PRINT(arg, "L2:%llu, ", number{varn.l2_updates});
    PRINT(arg, "L3:%llu, ", number{varn.l3_updates});
    PRINT(arg, "L3-p:%llu, ", number{varn.l3_param_updates});
    PRINT(arg, "L2-b:%llu, ", number{varn.l2_bundle_updates});
    PRINT(arg, "L3-b:%llu, ", number{varn.l3_bundle_updates});
    PRINT(arg, "Aggsvc:%llu\n", number{varn.aggsvc_updates});
    PRINT(arg, "Updates: If:%llu, ", number{varn.if_refreshes});
    PRINT(arg, "Iod:%llu, ", number{varn.iod_refreshes});
    PRINT(arg, "Pi:%llu, ", number{varn.pi_refreshes});
    PRINT(arg, "Lif:%llu\n", number{varn.lif_refreshes});
}

void print_statistics(uintptr_t arg)
{
    PRINT(arg, "\t\tHits\tMisses\tUpdates\n");
    for (const statistics_row &row : statistics_rows) {
        if (can_print(arg)) {
            CALL_OUT();
            varn.config.print(arg, row.label, number{*row.hits});
        }
        PRINT(arg, "%llu\t", number{*row.misses});
        PRINT(arg, "%llu\n", number{*row.updates});
    }
}

} // namespace

// Every piece asks for the callback: once it is gone, nothing more is printed.
void varn_print_global(uintptr_t arg)
{
    VISIT();
    const varn_config_t &config = varn.config;
    // Deliberate: no line end, the allocations follow on the same line.
    PRINT(arg, "sync 0x%016llx, crit: 0x%016llx, med: 0x%016llx, low: 0x%016llx, once: 0x%016llx",
          number{config.sync}, number{config.crit}, number{config.med}, number{config.low},
          number{config.once});
    print_life_counters(arg);
    print_indexes(arg);
    print_update_counters(arg);
    print_statistics(arg);
}
