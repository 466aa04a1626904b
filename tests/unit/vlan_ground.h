// SPDX-License-Identifier: Apache-2.0
//
// The ground of the tests of the VLAN cache: VLAN 20 with bridge domain 520, flood index 0x4014 and
// primary VLAN 20, and its SVI, interface 0x09000014 with iod 20020 and lif 0xa014. This process
// serves virtual device instance 1.
#pragma once

#include "side_cache_ground.h"

namespace side_cache
{

constexpr u64 vlan_bit = u64{1} << 10;
constexpr u64 pvlan_bit = u64{1} << 30;
constexpr u64 bd_bit = u64{1} << 31;
constexpr u64 findex_bit = u64{1} << 32;
constexpr u64 field_bits = pvlan_bit | bd_bit | findex_bit;
constexpr u64 vlan_cache = vlan_bit | field_bits;
constexpr u64 type_bit = u64{1} << 25; // set by every start

// What the journal says of the services when all goes well.
constexpr const char *asked_vinst = "supvr_vinst_get() = 1";
constexpr const char *asked_primary = "vlan_get_bd_and_primary_vlan(1/20) = 0 -> 520, 20";
constexpr const char *asked_bd = "vlan_get_bd(1/20) = 0 -> 520";
constexpr const char *asked_flood = "idxsvc_lib_bd_to_di(520) = 0 -> 0x4014";
constexpr const char *vlan_found = "ht_lookup(Vlan, 20) = found";
constexpr const char *vlan_missing = "ht_lookup(Vlan, 20) = null";

inline std::string refresh_of_all()
{
    return lines(asked_vinst, asked_primary, asked_bd, asked_bd, asked_flood);
}
inline std::string vlan_filing()
{
    return lines(vlan_missing, "memacct_alloc(544, 2, 32) = block", "ht_insert(Vlan, 20) = 1");
}
constexpr const char *counted_refresh =
    "vlan_updates.bd +1, vlan_updates.findex +1, vlan_updates.pvlan +1";

// A creation that finds no memory, and one that finds no room in the table.
inline std::string failed_allocation()
{
    return lines(vlan_missing, "memacct_alloc(544, 2, 32) = null",
                 traced("varn_vlan_create_entry_by_vlan: Malloc failure\n"));
}
inline std::string failed_filing(const std::string &told_key = "20")
{
    return lines(vlan_missing, "memacct_alloc(544, 2, 32) = block",
                 spell("ht_insert(Vlan, ", told_key, ") = 0"),
                 reported("varn_vlan_insert_entry", "*** Failed to add entry\n"),
                 "memacct_free(type 2)");
}
// The same where the table was never made; the journal knows no key of such a table's records.
inline std::string filing_without_a_table() { return failed_filing("?"); }

// Adds to a list of counters what a case moves.
inline void add_if(bool moved, std::string &counters, const char *counter)
{
    if (moved)
        add_to_list(counters, counter);
}

class vlan_ground : public ground
{
protected:
    // The entry of a VLAN, made and refreshed where that is wanting; how is forgotten.
    varn_vlan_entry_t &filed(u16 vlan = 20)
    {
        varn_vlan_entry_t *found = varn_vlan_create_entry_by_vlan(vlan);
        forget_all();
        return *found;
    }

    // The same with these bits dirty.
    varn_vlan_entry_t &filed_dirty(u64 mask)
    {
        varn_vlan_entry_t &found = filed();
        found.dirty = mask;
        return found;
    }

    // The entry that the table holds; null when there is none. Nobody is asked.
    static varn_vlan_entry_t *held(u16 vlan = 20)
    {
        for (void *record : records_in(&varn.vlan_table))
            if (auto *each = static_cast<varn_vlan_entry_t *>(record); each->vlan == vlan)
                return each;
        return nullptr;
    }

    varn_vlan_entry_t *loose_vlan(u16 vlan)
    {
        auto *made = loose_record<varn_vlan_entry_t>(2, varn.vlan_allocs);
        made->vlan = vlan;
        return made;
    }

    static u64 dirty_of(const varn_vlan_entry_t &of) { return of.dirty; }

    // "bd 520, flood 0x4014, pvlan 20".
    static std::string fields(const varn_vlan_entry_t &of)
    {
        return spell("bd ", dec(of.bd), ", flood ", hex(of.flood_di), ", pvlan ", dec(of.pvlan));
    }

    // Every VLAN question fails from now on, without a word in its outputs.
    static void vlan_services_fail()
    {
        on(vlan_get_bd).fails(0x41);
        on(vlan_get_bd_and_primary_vlan).fails(0x42);
        on(idxsvc_lib_bd_to_di).fails(0x43);
    }

    static std::size_t entries() { return records_in(&varn.vlan_table).size(); }
};

// The traces of a refresh in which every question failed.
inline std::string failed_refresh_of_all()
{
    return lines(
        asked_vinst, "vlan_get_bd_and_primary_vlan(1/20) = 0x42",
        traced("1 vlan_get_bd_and_primary_vlan returned 0x42 for vlan 20\n"),
        "vlan_get_bd(1/20) = 0x41", traced("1 vlan_get_bd returned bad 0x41 for vlan 20\n"),
        "vlan_get_bd(1/20) = 0x41", traced("2 vlan_get_bd returned bad 0x41 for vlan 20\n"));
}

} // namespace side_cache
