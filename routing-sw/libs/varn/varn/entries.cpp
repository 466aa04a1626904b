// SPDX-License-Identifier: Apache-2.0
//
// How entries come and go. An entry is created on demand from its if-index, whatever identifier was
// asked for: the iod is obtained, a record is allocated, filed under if-index and iod, and the
// refresh fills it and files it under pi and lif. The newest creator of an iod wins. An entry goes
// from the tables in the order Lif, Pi, Iod, If, so that the delete that frees comes last.
//
// The iod permission bitmap says for which iods an entry may be created at all.
#include "entries.h"

#include <cerrno>
#include <cstring>

#include "idxsvc.h"
#include "if_index.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "memacct.h"
#include "memory.h"
#include "messages.h"
#include "misuse.h"
#include "syslog_backtrace.h"

using namespace ifcache;

namespace
{

// Deliberate: not the byte of a release, so that a stale pointer shows which path freed the record.
constexpr int unfiled_poison = 0x4D;
constexpr u32 iodbmp_bits = VARN_IODBMP_WORDS * 32;

// An iod beyond the bitmap has no bit, which counts as a clear one.
bool is_permitted(u32 iod)
{
    return iod < iodbmp_bits && (varn_iodbmp[iod / 32] >> (iod % 32) & 1);
}

// An iod that the caller does not know is asked for. False: it cannot be had, or may have no entry.
bool obtain_iod(u32 if_index, u32 &iod, u32 pi, u32 lif)
{
    if (iod == VARN_NO_IOD) {
        const u32 code = ifsvc_get_iod_frm_ifindex(if_index, &iod);
        if (code) {
            REPORT("varn_if_create_entry_by_if",
                   "ifsvc_get_iod_frm_ifindex failed for if-index 0x%x, err: 0x%x\n", if_index,
                   code);
            return false;
        }
    }
    if (!is_permitted(iod)) {
        REPORT("varn_if_create_entry_by_if",
               "Error: Should not create varn entry for if-index 0x%x, iod %d, pi 0x%x, lif 0x%x\n",
               if_index, iod, pi, lif);
        return false;
    }
    return true;
}

varn_if_entry_t *allocate_entry(u32 if_index, u32 iod)
{
    void *block =
        allocate(VARN_MEM_varn_if_entry_t, sizeof(varn_if_entry_t), "../routing-sw/libs/varn/varn",
                 {"varn_if_create_entry_by_if", __LINE__});
    if (!block) {
        TRACE("If-create for if-index 0x%x, iod %d failed\n", if_index, iod);
        ++varn.create_fail;
        return nullptr;
    }
    std::memset(block, 0, sizeof(varn_if_entry_t));
    ++varn.if_allocs;
    return static_cast<varn_if_entry_t *>(block);
}

// Everything that is cached starts dirty, but for the key. Deliberate: the MTU too, which is
// fetched at once and again by the refresh; and pi and lif are left for the refresh to find.
void set_initial_values(varn_if_entry_t &entry, u32 if_index, u32 iod)
{
    entry.dirty = varn.config.sync & ~VARN_MASK(VARN_BIT_IF_INDEX);
    entry.if_index = if_index;
    entry.pi = VARN_NO_PI;
    entry.lif = VARN_NO_LIF;
    entry.mtu = static_cast<uint16_t>(ifsvc_get_if_mtu(iod));
}

void discard_unfiled(varn_if_entry_t *entry, u32 if_index, u32 iod)
{
    ++varn.if_frees;
    std::memset(static_cast<void *>(entry), unfiled_poison, sizeof *entry);
    memacct_free(entry);
    REPORT("varn_if_create_entry_by_if", "If-create for if-index 0x%x, iod %d failed\n", if_index,
           iod);
}

void evict_holder_of_iod(u32 if_index, u32 iod)
{
    const varn_if_entry_t *holder = find_by_iod(iod);
    if (!holder)
        return;
    REPORT(
        "varn_if_create_entry_by_if",
        "If-create for if-index 0x%x, iod %d exists - deleting existing one (0x%x), PI 0x%x/LIF 0x%x\n",
        if_index, iod, holder->if_index, holder->pi, holder->lif);
    syslog_backtrace("varn_if_create_entry_by_if", 7);
    varn_if_remove_entry_by_iod(iod);
}

bool file_under_iod(varn_if_entry_t *entry, u32 iod)
{
    entry->iod = iod;
    evict_holder_of_iod(entry->if_index, iod);
    if (!varn_iod_insert_entry(entry)) {
        entry->iod = VARN_NO_IOD;
        REPORT("varn_if_create_entry_by_if", "Iod-create for if-index 0x%x, iod %d failed\n",
               entry->if_index, iod);
        return false;
    }
    mark_clean(*entry, iod_attribute);
    return true;
}

// From here on the entry is in the If table: what fails destroys it.
varn_if_entry_t *complete(varn_if_entry_t *entry, u32 iod, uint8_t type)
{
    WORK_ON(entry);
    entry->if_type = type;
    mark_clean(*entry, if_type_attribute);
    if (is_dirty(*entry, iod_attribute) && !file_under_iod(entry, iod)) {
        varn_if_destroy_entry(entry);
        return nullptr;
    }
    if (varn.config.on_create) {
        CALL_ON_CREATE();
        varn.config.on_create(iod);
    }
    if (!varn_if_update_entry(entry, 1)) {
        varn_if_destroy_entry(entry);
        return nullptr;
    }
    return entry;
}

// Deliberate: 1 also while the cache is off and the entry survives.
u32 destroy_found(varn_if_entry_t *entry)
{
    if (!entry)
        return 0;
    varn_if_destroy_entry(entry);
    return 1;
}

} // namespace

varn_if_entry_t *varn_if_create_entry_by_if(uint32_t if_index, uint32_t iod, uint32_t pi,
                                            uint32_t lif)
{
    VISIT();
    if (!varn_enabled)
        return nullptr;
    uint8_t type = 0;
    if (if_index_get_type(if_index, &type)) {
        // Deliberate: the leading blank, here and wherever a handler reports the same.
        REPORT("varn_if_create_entry_by_if", " Invalid interface index 0x%x\n", if_index);
        return nullptr;
    }
    if (varn_if_entry_t *existing = find_by_if(if_index))
        return existing;
    if (!obtain_iod(if_index, iod, pi, lif))
        return nullptr;

    TRACE("If-create for if-index 0x%x, iod %d, pi 0x%x, lif 0x%x\n", if_index, iod, pi, lif);
    MUST(RULE_WALKING, !is_walking());
    varn_if_entry_t *entry = allocate_entry(if_index, iod);
    if (!entry)
        return nullptr;
    set_initial_values(*entry, if_index, iod);
    if (!varn_if_insert_entry(entry)) {
        discard_unfiled(entry, if_index, iod);
        return nullptr;
    }
    return complete(entry, iod, type);
}

// Deliberate: creation by iod does not ask create_on_miss, creation by pi and lif does.
varn_if_entry_t *ifcache::create_missing_by_iod(u32 iod)
{
    u32 if_index = 0;
    if (ifsvc_get_ifindex_frm_iod(iod, &if_index))
        return nullptr;
    return varn_if_create_entry_by_if(if_index, iod, VARN_NO_PI, VARN_NO_LIF);
}

varn_if_entry_t *varn_if_create_entry_by_iod(uint32_t iod)
{
    VISIT();
    varn_if_entry_t *entry = find_by_iod(iod);
    return entry ? entry : create_missing_by_iod(iod);
}

varn_if_entry_t *varn_if_create_entry_by_pi(uint32_t pi)
{
    VISIT();
    if (varn_if_entry_t *entry = find_by_pi(pi))
        return entry;
    u32 if_index = 0;
    if (idxsvc_lib_si_to_ifidx(static_cast<int32_t>(pi), &if_index))
        return nullptr;
    if (!varn.config.create_on_miss)
        return nullptr;
    return varn_if_create_entry_by_if(if_index, VARN_NO_IOD, pi, VARN_NO_LIF);
}

varn_if_entry_t *varn_if_create_entry_by_lif(uint32_t lif)
{
    VISIT();
    if (varn_if_entry_t *entry = find_by_lif(lif))
        return entry;
    u32 if_index = 0;
    if (lifsvc_query_lif_to_ifindex(static_cast<int32_t>(lif), &if_index))
        return nullptr;
    if (!varn.config.create_on_miss)
        return nullptr;
    return varn_if_create_entry_by_if(if_index, VARN_NO_IOD, VARN_NO_PI, lif);
}

varn_if_entry_t *ifcache::entry_of_if(u32 if_index)
{
    if (!varn.config.create_on_miss)
        return find_by_if(if_index);
    return varn_if_create_entry_by_if(if_index, VARN_NO_IOD, VARN_NO_PI, VARN_NO_LIF);
}

COLD bool ifcache::freshen(varn_if_entry_t *entry, attribute a, uint64_t &refreshes)
{
    count_miss(a, entry->iod, entry);
    ++refreshes;
    return varn_if_update_entry(entry, 0);
}

varn_if_entry_t *varn_find_entry_by_iod(uint32_t iod)
{
    VISIT();
    return entry_of_iod(iod);
}

// The lookups ask only whether a table holds the key; the deletes take out this very entry.
void varn_if_destroy_entry(varn_if_entry_t *entry)
{
    VISIT();
    if (!varn_enabled || !entry)
        return;
    MUST(RULE_WALKING, !is_walking());
    MUST(RULE_WORKED, !is_worked_on(entry));
    WORK_ON(entry);
    PROBE_DESTROY(entry, entry->iod, entry->if_index);
    TRACE("If-destroy for if-index 0x%x, iod %d, pi 0x%x, lif 0x%x\n", entry->if_index, entry->iod,
          entry->pi, entry->lif);
    if (is_cached(lif_attribute) && entry->lif != VARN_NO_LIF && find_by_lif(entry->lif))
        varn_lif_delete_entry(entry);
    if (is_cached(pi_attribute) && entry->pi != VARN_NO_PI && find_by_pi(entry->pi))
        varn_pi_delete_entry(entry);
    if (is_cached(iod_attribute) && entry->iod != VARN_NO_IOD && find_by_iod(entry->iod))
        varn_iod_delete_entry(entry);
    if (find_by_if(entry->if_index))
        varn_if_delete_entry(entry);
    ++varn.if_destroys;
}

uint32_t varn_if_remove_entry_by_if(uint32_t if_index)
{
    VISIT();
    return destroy_found(find_by_if(if_index));
}

uint32_t varn_if_remove_entry_by_pi(uint32_t pi)
{
    VISIT();
    return destroy_found(find_by_pi(pi));
}

uint32_t varn_if_remove_entry_by_lif(uint32_t lif)
{
    VISIT();
    return destroy_found(find_by_lif(lif));
}

uint32_t varn_if_remove_entry_by_iod(uint32_t iod)
{
    VISIT();
    if (!varn_enabled)
        return 0;
    varn_if_entry_t *entry = find_by_iod(iod);
    if (!entry)
        TRACE("Varn remove failed for Interface with iod %d\n", iod);
    return destroy_found(entry);
}

uint32_t varn_if_remove_entry_by_if_ext(uint32_t if_index, uint32_t iod, uint32_t allow)
{
    VISIT();
    MUST(RULE_IOD, iod < iodbmp_bits);
    if (iod < iodbmp_bits) {
        const u32 bit = u32{1} << (iod % 32);
        u32 &word = varn_iodbmp[iod / 32];
        word = allow ? word | bit : word & ~bit;
    }
    return varn_if_remove_entry_by_if(if_index);
}
