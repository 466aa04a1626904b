// SPDX-License-Identifier: Apache-2.0
//
// Telling the cache that attributes can no longer be trusted, without deleting anything. The caller
// names an option, and the configuration says which attributes it stands for.
#include "attributes.h"
#include "ht.h"
#include "messages.h"
#include "misuse.h"

using namespace ifcache;

// Deliberate: varn_enabled is not asked, and bits that are not cached are marked with the rest.
void varn_flush_if_entry(varn_if_entry_t *entry, uint32_t opt)
{
    VISIT();
    if (!entry)
        return;
    WORK_ON(entry);
    TRACE("Flushing cache for if-index=0x%x, iod=%d, opt=0x%x\n", entry->if_index, entry->iod, opt);
    entry->dirty |= flush_mask(opt);
}

uint32_t varn_if_flush_all(uint32_t opt)
{
    VISIT();
    if (!varn_enabled)
        return 0;
    WALK();
    ht_iterator_t walk;
    if (!ht_iterator_init(&walk, &varn.if_table, 0, varn.if_table.num_buckets)) {
        REPORT("varn_if_flush_all", "Couldn't init iterator\n");
        return 0;
    }
    while (void *entry = ht_iterator_next(&walk))
        varn_flush_if_entry(static_cast<varn_if_entry_t *>(entry), opt);
    return 1;
}

// Deliberate: a flush by identifier creates the entry, so that it exists afterwards.
void varn_if_flush_if(uint32_t if_index, uint32_t opt)
{
    VISIT();
    varn_flush_if_entry(varn_if_create_entry_by_if(if_index, VARN_NO_IOD, VARN_NO_PI, VARN_NO_LIF),
                        opt);
}

void varn_if_flush_iod(uint32_t iod, uint32_t opt)
{
    VISIT();
    varn_flush_if_entry(varn_if_create_entry_by_iod(iod), opt);
}

void varn_if_flush_pi(uint32_t pi, uint32_t opt)
{
    VISIT();
    varn_flush_if_entry(varn_if_create_entry_by_pi(pi), opt);
}

void varn_if_flush_lif(uint32_t lif, uint32_t opt)
{
    VISIT();
    varn_flush_if_entry(varn_if_create_entry_by_lif(lif), opt);
}
