// SPDX-License-Identifier: Apache-2.0
//
// The dumps, piece by piece.
#include "model_tables.h"

#include <cstdio>

namespace naive
{

namespace
{

using llu = unsigned long long;

const char *mark(bool is_dirty) { return is_dirty ? "*," : ","; }
const char *end_mark(bool is_dirty) { return is_dirty ? "*" : ""; }

} // namespace

std::string cache::format_mac(const u8 *mac)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02x%02x.%02x%02x.%02x%02x", mac[0], mac[1], mac[2], mac[3],
                  mac[4], mac[5]);
    macs.emplace_back(); // which of two texts in one line is made first is not said
    return text;
}

// ---- the global dump ----

void cache::print_index(uintptr_t arg, const char *name, const index_counts &of, const u64 *remaps)
{
    print(arg, "%s Inserts/Removes/Insert-fail/Remove-fail/Remaps %llu, ", name,
          static_cast<llu>(of.inserts));
    print(arg, "%llu, ", static_cast<llu>(of.removes));
    print(arg, "%llu, ", static_cast<llu>(of.insert_fail));
    if (remaps == nullptr) {
        print(arg, "%llu\n", static_cast<llu>(of.remove_fail));
        return;
    }
    print(arg, "%llu, ", static_cast<llu>(of.remove_fail));
    print(arg, "%llu\n", static_cast<llu>(*remaps));
}

void cache::print_row(uintptr_t arg, const char *label, u64 hits, u64 misses, u64 updates)
{
    print(arg, "%s:\t%llu\t", label, static_cast<llu>(hits));
    print(arg, "%llu\t", static_cast<llu>(misses));
    print(arg, "%llu\n", static_cast<llu>(updates));
}

void cache::print_rows(uintptr_t arg)
{
    const auto slot = [&](const char *label, unsigned number) {
        print_row(arg, label, count.hits[number], count.misses[number], count.updates[number]);
    };
    const char *const first[] = {"If-index", "Iod     ", "Pi      ", "Lif     ",   "mac     ",
                                 "encap   ", "ext     ", "ext     ", "ext     ",   "ext     ",
                                 "context ", "base_tid", "mtu     ", "switchport", "switching ",
                                 "linkup  ", "protoup ", "ethernet"};
    for (unsigned number = 0; number < 18; ++number)
        slot(first[number], number);
    slot("loopback", 26);
    slot("p2p     ", 27);
    slot("is_vlan ", 18);
    slot("vlan    ", 19);
    slot("ips     ", 20);
    slot("null    ", 21);
    slot("aggsvc_if  ", 22);
    slot("gre     ", 23);
    slot("subif   ", 24);
    slot("name    ", 25);
    print_row(arg, "bd      ", count.bd_hits, count.bd_misses, count.bd_updates);
    print_row(arg, "FIndex  ", count.findex_hits, count.findex_misses, count.findex_updates);
    print_row(arg, "pvlan   ", count.pvlan_hits, count.pvlan_misses, count.pvlan_updates);
    print_row(arg, "pc      ", count.pc_hits, count.pc_misses, count.pc_updates);
    slot("is_dci_tun", 29);
    slot("is_dci_ovl", 30);
}

void cache::print_global(uintptr_t arg)
{
    const auto mask = [](u64 of) { return static_cast<llu>(of); };
    print(arg, "sync 0x%016llx, crit: 0x%016llx, med: 0x%016llx, low: 0x%016llx, once: 0x%016llx",
          mask(config.sync), mask(config.crit), mask(config.med), mask(config.low),
          mask(config.once));
    print(arg, "If Allocs:%llu,", mask(count.if_allocs));
    print(arg, "If Frees %llu,", mask(count.if_frees));
    print(arg, "If Destroys %llu,", mask(count.if_destroys));
    print(arg, "Vlan Allocs %llu,", mask(count.vlan_allocs));
    print(arg, "Vlan Frees %llu\n", mask(count.vlan_frees));
    print(arg, "PC Allocs %llu,", mask(count.pc_allocs));
    print(arg, "PC Frees %llu\n", mask(count.pc_frees));
    print_index(arg, "If", count.if_index, nullptr);
    print_index(arg, "Iod", count.iod_index, &count.iod_remaps);
    print_index(arg, "Pi", count.pi_index, &count.pi_remaps);
    print_index(arg, "Lif", count.lif_index, &count.lif_remaps);
    print(arg, "Updates: Phy:%llu, ", mask(count.phy));
    print(arg, "L2:%llu, ", mask(count.l2));
    print(arg, "L3:%llu, ", mask(count.l3));
    print(arg, "L3-p:%llu, ", mask(count.l3_param));
    print(arg, "L2-b:%llu, ", mask(count.l2_bundle));
    print(arg, "L3-b:%llu, ", mask(count.l3_bundle));
    print(arg, "Aggsvc:%llu\n", mask(count.aggsvc));
    print(arg, "Updates: If:%llu, ", mask(count.if_refreshes));
    print(arg, "Iod:%llu, ", mask(count.iod_refreshes));
    print(arg, "Pi:%llu, ", mask(count.pi_refreshes));
    print(arg, "Lif:%llu\n", mask(count.lif_refreshes));
    print(arg, "\t\tHits\tMisses\tUpdates\n");
    print_rows(arg);
}

void cache::dump(uintptr_t arg)
{
    print_global(arg);
    if (enabled == 0)
        return;
    print(arg, "If table\n");
    print_stats(arg, if_table.object);
    print(arg, "Iod table\n");
    print_stats(arg, iod_table.object);
    print(arg, "PI table\n");
    print_stats(arg, pi_table.object);
    print(arg, "LIF table\n");
    print_stats(arg, lif_table.object);
    dump_iod_bmp(arg);
}

void cache::if_dump(uintptr_t arg)
{
    if (enabled == 0)
        return;
    print(arg, "If table\n");
    if_print_table(arg, if_table.object);
    print(arg, "Iod table\n");
    iod_print_table(arg, iod_table.object);
    print(arg, "PI table\n");
    pi_print_table(arg, pi_table.object);
    print(arg, "LIF table\n");
    lif_print_table(arg, lif_table.object);
}

void cache::pc_dump(uintptr_t arg)
{
    if (enabled == 0 || !syncs(33))
        return;
    print(arg, "PC table\n");
    pc_print_table(arg, pc_table.object);
    print_stats(arg, pc_table.object);
}

void cache::vlan_dump(uintptr_t arg)
{
    if (enabled == 0)
        return;
    print(arg, "Vlan table\n");
    vlan_print_table(arg, vlan_table.object);
    print_stats(arg, vlan_table.object);
}

void cache::print_stats(uintptr_t arg, ht_t *of)
{
    if (enabled == 0)
        return;
    const event &answer = ask(ht_get_stats, address(of));
    if (answer.result == 0) {
        report("varn_print_stats", "Failed to get stats\n");
        return;
    }
    print(arg, "Size hwm: %lu, worst lookup: %lu, average lookup: %f\n",
          static_cast<unsigned long>(answer.out[0]), static_cast<unsigned long>(answer.out[1]),
          std::bit_cast<double>(answer.out[2]));
}

void cache::dump_iod_bmp(uintptr_t arg)
{
    if (enabled == 0)
        return;
    print(arg, "IOD Bitmap Dump:\n");
    for (u32 index = 0; index < 1024; ++index) {
        const u32 word = permissions[index];
        if (word != 0xFFFFFFFF)
            print(arg, "Index : %u,\tIOD Range [%u - %u]\t: 0x%x\n", index, index * 32,
                  index * 32 + 31, word);
    }
    print(arg, "\n");
}

// ---- tables ----

template <typename Record, typename Each>
void cache::print_table(uintptr_t arg, ht_t *object, table<Record> *over, const char *function,
                        Each each)
{
    if (enabled == 0 || !start_walk(object, over, function))
        return;
    const bool is_there = over != nullptr && over->exists;
    print(arg, "Hash table 0x%p, size %lu, num_buckets %lu\n", static_cast<void *>(object),
          is_there ? static_cast<unsigned long>(over->filed.size()) : 0ul,
          is_there ? static_cast<unsigned long>(over->buckets) : 0ul);
    walk_records(over, each);
}

void cache::print_interfaces(uintptr_t arg, ht_t *object, const char *function)
{
    table<entry> *over = nullptr;
    for (table<entry> *each : {&if_table, &iod_table, &pi_table, &lif_table})
        if (each->object == object)
            over = each;
    print_table(arg, object, over, function, [&](entry *of) { if_entry_print(arg, of); });
}

void cache::if_print_table(uintptr_t arg, ht_t *of)
{
    print_interfaces(arg, of, "varn_if_print_table");
}
void cache::iod_print_table(uintptr_t arg, ht_t *of)
{
    print_interfaces(arg, of, "varn_iod_print_table");
}
void cache::pi_print_table(uintptr_t arg, ht_t *of)
{
    print_interfaces(arg, of, "varn_pi_print_table");
}
void cache::lif_print_table(uintptr_t arg, ht_t *of)
{
    print_interfaces(arg, of, "varn_lif_print_table");
}

void cache::pc_print_table(uintptr_t arg, ht_t *of)
{
    if (syncs(33))
        print_table(arg, of, of == nullptr ? nullptr : &pc_table, "varn_pc_print_table",
                    [&](pc_entry *each) { pc_entry_print(arg, each); });
}

void cache::vlan_print_table(uintptr_t arg, ht_t *of)
{
    print_table(arg, of, of == nullptr ? nullptr : &vlan_table, "varn_vlan_print_table",
                [&](vlan_entry *each) { vlan_entry_print(arg, each); });
}

// ---- entries ----

void cache::if_entry_print(uintptr_t arg, const entry *of)
{
    if (of == nullptr)
        return;
    if (can_print(arg)) {
        const std::string name = name_of(of->iod);
        print(arg, "Entry (0x%p) %s - if_index: 0x%x(%d)%s iod: %d%s\n", of->at, name.c_str(),
              of->if_index, of->if_type, mark(of->is_dirty(0)), static_cast<int>(of->iod),
              end_mark(of->is_dirty(1)));
        print_values(arg, of);
    }
    if (of->if_type == 22)
        pc_print(arg, of->if_index);
}

void cache::print_values(uintptr_t arg, const entry *of)
{
    const auto m = [&](unsigned bit) { return mark(of->is_dirty(bit)); };
    const auto d = [](u32 number) { return static_cast<int>(number); };
    if (syncs(2))
        print(arg, "PI 0x%x%s LIF 0x%x%s\n", of->pi, m(2), of->lif, end_mark(of->is_dirty(3)));
    const std::string mac = format_mac(of->mac.data());
    print(arg,
          "MAC: %s%s encap %d%s Ctx %d%s Extn:0x%x(s%d)%s Tid %d%s Vlan %d%s Port-mode 0x%x%s\n",
          mac.c_str(), m(9), of->encap, m(4), d(of->context_id), m(11), of->extn[0],
          d(of->extn_size[0]), m(5), d(of->base_tid), m(12), of->vlan, m(10), of->port_mode, m(10));
    if (of->extn[1] != 0 || of->extn[2] != 0 || of->extn[3] != 0)
        print(arg, "Extn1:0x%x(s%d)%s Extn2:0x%x(s%d)%s Extn3:0x%x(s%d)%s\n", of->extn[1],
              d(of->extn_size[1]), m(6), of->extn[2], d(of->extn_size[2]), m(7), of->extn[3],
              d(of->extn_size[3]), m(8));
    print(arg,
          "mtu:%d%s sw-port %d%s sw:%d%s linkup:%d%s protoup:%d%s eth:%d%s isvlan:%d%s ips:%d%s "
          "null:%d%s lo:%d%s p2p:%d%s ismvpn:%d%s\n",
          of->mtu, m(13), of->switchport, m(15), of->switching, m(16), of->linkup, m(17),
          of->protoup, m(18), of->ethernet, m(19), of->is_vlan, m(20), of->ips, m(21), of->null,
          m(22), of->loopback, m(24), of->p2p, m(23), of->mvpn, m(26));
    print(arg, "valid: 0x%016llx, dirty: 0x%016llx\n", static_cast<llu>(of->valid),
          static_cast<llu>(of->dirty));
    print(arg, "aggsvc_if: 0x%x%s gre_hdr: 0x%x%s ref_count: %d\n", of->aggsvc_if, m(27),
          of->aggsvc_if, m(28), of->ref_count);
    print(arg, "IOD Bitmap:- Array Index: %lu, Bit Position: %lu Value: %u\n",
          static_cast<unsigned long>(of->iod / 32), static_cast<unsigned long>(of->iod % 32 + 1),
          static_cast<unsigned>(may_have_entry(of->iod)));
}

void cache::if_print_iod(uintptr_t arg, u32 iod)
{
    if (enabled != 0)
        if_entry_print(arg, iod_table.find(iod));
}

void cache::pc_entry_print(uintptr_t arg, const pc_entry *of)
{
    if (of == nullptr)
        return;
    print(arg, "Member Bundle-Port-distribution:\n");
    for (u32 rbh = 0; rbh < 16; ++rbh) {
        if (of->rbh_dirty[rbh] != 0)
            continue;
        const std::string name = ask(ifsvc_get_ifindex_name, of->rbh_mbr_ifindex[rbh], 100).answer;
        print(arg, "      [%d]  %s\n", static_cast<int>(rbh), name.c_str());
    }
}

void cache::pc_print(uintptr_t arg, u32 pc_ifindex)
{
    if (enabled != 0 && syncs(33))
        pc_entry_print(arg, pc_table.find(pc_ifindex));
}

void cache::vlan_entry_print(uintptr_t arg, const vlan_entry *of)
{
    if (of == nullptr)
        return;
    print(arg, "Entry(0x%p) - vlan %d, pvlan %d%s FI 0x%x%s BD 0x%x%s\n", of->at, of->vlan,
          static_cast<int>(of->pvlan), mark(of->is_dirty(30)), of->flood_di, mark(of->is_dirty(32)),
          of->bd, end_mark(of->is_dirty(31)));
}

void cache::vlan_print(uintptr_t arg, u16 vlan)
{
    if (enabled != 0)
        vlan_entry_print(arg, vlan_table.find(vlan));
}

} // namespace naive
