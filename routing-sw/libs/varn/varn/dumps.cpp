// SPDX-License-Identifier: Apache-2.0
//
// What the cache holds, for a person to read: the interface tables, their entries, table statistics
// and the iod bitmap. A dump walks live tables and must not run beside a call that changes them.
#include <cstdio>

#include "index.h"
#include "misuse.h"
#include "print.h"

#include "if_index.h"
#include "ifsvc.h"

using namespace ifcache;

namespace
{

constexpr unsigned num_mac_texts = 8;
char mac_texts[num_mac_texts][16];
unsigned mac_text_calls;

void print_if_entry(uintptr_t arg, const void *entry)
{
    varn_if_entry_print(arg, static_cast<const varn_if_entry_t *>(entry));
}

void print_if_table(const char *function, uintptr_t arg, ht_t *table)
{
    if (varn_enabled && !print_entries(arg, table, print_if_entry))
        REPORT(function, "Couldn't init iterator\n");
}

void print_identity(uintptr_t arg, const varn_if_entry_t &entry)
{
    const uint64_t dirty = entry.dirty;
    PRINT(arg, "Entry (0x%p) %s - if_index: 0x%x(%d)%s iod: %d%s\n",
          static_cast<const void *>(&entry), ifsvc_get_if_name(entry.iod), entry.if_index,
          entry.if_type, marker(dirty, VARN_BIT_IF_INDEX), entry.iod,
          end_marker(dirty, VARN_BIT_IOD));
    if (is_cached(pi_attribute))
        PRINT(arg, "PI 0x%x%s LIF 0x%x%s\n", entry.pi, marker(dirty, VARN_BIT_PI), entry.lif,
              end_marker(dirty, VARN_BIT_LIF));
}

void print_values(uintptr_t arg, const varn_if_entry_t &entry)
{
    const uint64_t dirty = entry.dirty;
    // Deliberate: here and in the two lines below the last marker is not the end form.
    PRINT(arg,
          "MAC: %s%s encap %d%s Ctx %d%s Extn:0x%x(s%d)%s Tid %d%s Vlan %d%s Port-mode 0x%x%s\n",
          varn_format_mac(entry.mac), marker(dirty, VARN_BIT_MAC), entry.encap,
          marker(dirty, VARN_BIT_ENCAP), entry.context_id, marker(dirty, VARN_BIT_CONTEXT),
          entry.extn[0], entry.extn_size[0], marker(dirty, VARN_BIT_EXTN), entry.base_tid,
          marker(dirty, VARN_BIT_BASE_TID), entry.vlan, marker(dirty, VARN_BIT_VLAN),
          entry.port_mode, marker(dirty, VARN_BIT_VLAN));
    if (entry.extn[1] || entry.extn[2] || entry.extn[3])
        PRINT(arg, "Extn1:0x%x(s%d)%s Extn2:0x%x(s%d)%s Extn3:0x%x(s%d)%s\n", entry.extn[1],
              entry.extn_size[1], marker(dirty, VARN_BIT_EXTN1), entry.extn[2], entry.extn_size[2],
              marker(dirty, VARN_BIT_EXTN2), entry.extn[3], entry.extn_size[3],
              marker(dirty, VARN_BIT_EXTN3));
}

void print_flags(uintptr_t arg, const varn_if_entry_t &entry)
{
    const uint64_t dirty = entry.dirty;
    PRINT(
        arg,
        "mtu:%d%s sw-port %d%s sw:%d%s linkup:%d%s protoup:%d%s eth:%d%s isvlan:%d%s ips:%d%s null:%d%s lo:%d%s p2p:%d%s ismvpn:%d%s\n",
        entry.mtu, marker(dirty, VARN_BIT_MTU), entry.switchport,
        marker(dirty, VARN_BIT_SWITCHPORT), entry.switching, marker(dirty, VARN_BIT_SWITCHING),
        entry.linkup, marker(dirty, VARN_BIT_LINKUP), entry.protoup,
        marker(dirty, VARN_BIT_PROTOUP), entry.ethernet, marker(dirty, VARN_BIT_ETHERNET),
        entry.is_vlan, marker(dirty, VARN_BIT_IS_VLAN), entry.ips, marker(dirty, VARN_BIT_IPS),
        entry.null, marker(dirty, VARN_BIT_NULL), entry.loopback, marker(dirty, VARN_BIT_LOOPBACK),
        entry.p2p, marker(dirty, VARN_BIT_P2P), entry.mvpn, marker(dirty, VARN_BIT_MVPN));
}

// Deliberate: an iod that the bitmap does not cover shows value 0.
unsigned permission_of(u32 iod)
{
    const u32 word = iod / 32;
    return word < VARN_IODBMP_WORDS ? varn_iodbmp[word] >> (iod % 32) & 1 : 0;
}

void print_state(uintptr_t arg, const varn_if_entry_t &entry)
{
    const uint64_t dirty = entry.dirty;
    PRINT(arg, "valid: 0x%016llx, dirty: 0x%016llx\n", static_cast<unsigned long long>(entry.valid),
          static_cast<unsigned long long>(dirty));
    // Deliberate: one value under two labels.
    PRINT(arg, "aggsvc_if: 0x%x%s gre_hdr: 0x%x%s ref_count: %d\n", entry.aggsvc_if,
          marker(dirty, VARN_BIT_AGGSVC_IF), entry.aggsvc_if, marker(dirty, VARN_BIT_GRE_HDR),
          entry.ref_count);
    // Deliberate: the position counts from 1.
    PRINT(arg, "IOD Bitmap:- Array Index: %lu, Bit Position: %lu Value: %u\n",
          static_cast<unsigned long>(entry.iod / 32),
          static_cast<unsigned long>(entry.iod % 32 + 1), permission_of(entry.iod));
}

} // namespace

// By hand, because a notification handler writes two of them whether they are read or not.
const char *varn_format_mac(const uint8_t *mac)
{
    VISIT();
    MUST(RULE_NULL, mac);
    constexpr char digits[] = "0123456789abcdef";
    char *text = mac_texts[mac_text_calls++ % num_mac_texts];
    char *at = text;
    for (unsigned byte = 0; byte < 6; ++byte) {
        if (byte == 2 || byte == 4)
            *at++ = '.';
        *at++ = digits[mac[byte] >> 4];
        *at++ = digits[mac[byte] & 15];
    }
    *at = '\0';
    return text;
}

void varn_if_entry_print(uintptr_t arg, const varn_if_entry_t *entry)
{
    VISIT();
    if (!entry)
        return;
    WORK_ON(entry);
    print_identity(arg, *entry);
    print_values(arg, *entry);
    print_flags(arg, *entry);
    print_state(arg, *entry);
    if (entry->if_type == IF_INDEX_TYPE_PC)
        varn_pc_print(arg, entry->if_index);
}

void varn_if_print_iod(uintptr_t arg, uint32_t iod)
{
    VISIT();
    if (varn_enabled)
        varn_if_entry_print(arg, find_by_iod(iod));
}

void varn_if_print_table(uintptr_t arg, ht_t *table)
{
    VISIT();
    print_if_table("varn_if_print_table", arg, table);
}

void varn_iod_print_table(uintptr_t arg, ht_t *table)
{
    VISIT();
    print_if_table("varn_iod_print_table", arg, table);
}

void varn_pi_print_table(uintptr_t arg, ht_t *table)
{
    VISIT();
    print_if_table("varn_pi_print_table", arg, table);
}

void varn_lif_print_table(uintptr_t arg, ht_t *table)
{
    VISIT();
    print_if_table("varn_lif_print_table", arg, table);
}

void varn_print_stats(uintptr_t arg, ht_t *table)
{
    VISIT();
    if (!varn_enabled)
        return;
    ht_stats_t stats;
    if (!ht_get_stats(table, &stats)) {
        REPORT("varn_print_stats", "Failed to get stats\n");
        return;
    }
    PRINT(arg, "Size hwm: %lu, worst lookup: %lu, average lookup: %f\n", stats.size_hwm,
          stats.worst_lookup, stats.average_lookup);
}

void varn_dump_iod_bmp(uintptr_t arg)
{
    VISIT();
    if (!varn_enabled)
        return;
    PRINT(arg, "IOD Bitmap Dump:\n");
    for (u32 index = 0; index < VARN_IODBMP_WORDS; ++index)
        if (varn_iodbmp[index] != UINT32_MAX)
            PRINT(arg, "Index : %u,\tIOD Range [%u - %u]\t: 0x%x\n", index, index * 32,
                  index * 32 + 31, varn_iodbmp[index]);
    PRINT(arg, "\n");
}

void varn_dump(uintptr_t arg)
{
    VISIT();
    varn_print_global(arg);
    if (!varn_enabled)
        return;
    PRINT(arg, "If table\n");
    varn_print_stats(arg, &varn.if_table);
    PRINT(arg, "Iod table\n");
    varn_print_stats(arg, &varn.iod_table);
    PRINT(arg, "PI table\n");
    varn_print_stats(arg, &varn.pi_table);
    PRINT(arg, "LIF table\n");
    varn_print_stats(arg, &varn.lif_table);
    varn_dump_iod_bmp(arg);
}

void varn_if_dump(uintptr_t arg)
{
    VISIT();
    if (!varn_enabled)
        return;
    PRINT(arg, "If table\n");
    varn_if_print_table(arg, &varn.if_table);
    PRINT(arg, "Iod table\n");
    varn_iod_print_table(arg, &varn.iod_table);
    PRINT(arg, "PI table\n");
    varn_pi_print_table(arg, &varn.pi_table);
    PRINT(arg, "LIF table\n");
    varn_lif_print_table(arg, &varn.lif_table);
}
