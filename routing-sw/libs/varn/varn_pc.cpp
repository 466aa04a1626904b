// SPDX-License-Identifier: Apache-2.0
//
// The port-channel cache: for each port-channel the member that serves each hash bucket. Its table
// exists only when VARN_BIT_PC was cached at varn_init.
#include <cstddef>

#include "ht.h"
#include "varn/attributes.h"
#include "varn/messages.h"

using namespace ifcache;

namespace
{

u32 key_of(const void *key) { return *static_cast<const u32 *>(key); }

} // namespace

uint32_t varn_pc_hash(const void *key, uint32_t num_buckets) { return key_of(key) % num_buckets; }
const void *varn_pc_get_key(const void *entry) { return entry; }
uint32_t varn_pc_keys_equal(const void *a, const void *b) { return key_of(a) == key_of(b); }

uint32_t varn_pc_table_init(void)
{
    if (!is_cached(VARN_BIT_PC))
        return 1;
    if (ht_init(&varn.pc_table, 0, offsetof(varn_pc_entry_t, link), varn.config.num_buckets, 0.0,
                varn_pc_hash, varn_pc_get_key, varn_pc_keys_equal))
        return 1;
    REPORT("varn_pc_table_init", "Couldn't initialize pc hash table\n");
    ht_cleanup(&varn.pc_table);
    return 0;
}
