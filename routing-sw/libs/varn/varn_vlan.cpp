// SPDX-License-Identifier: Apache-2.0
//
// The VLAN cache: for each VLAN its bridge domain, flood destination index and primary VLAN. Its
// table exists only when VARN_BIT_VLAN was cached at varn_init. Keys are 16 bits wide.
#include <cstddef>

#include "ht.h"
#include "varn/attributes.h"
#include "varn/messages.h"

using namespace ifcache;

namespace
{

uint16_t key_of(const void *key) { return *static_cast<const uint16_t *>(key); }

} // namespace

uint32_t varn_vlan_hash(const void *key, uint32_t num_buckets) { return key_of(key) % num_buckets; }
const void *varn_vlan_get_key(const void *entry) { return entry; }
uint32_t varn_vlan_keys_equal(const void *a, const void *b) { return key_of(a) == key_of(b); }

uint32_t varn_vlan_table_init(void)
{
    if (!is_cached(VARN_BIT_VLAN))
        return 1;
    if (ht_init(&varn.vlan_table, 0, offsetof(varn_vlan_entry_t, link), varn.config.num_buckets,
                0.0, varn_vlan_hash, varn_vlan_get_key, varn_vlan_keys_equal))
        return 1;
    REPORT("varn_vlan_table_init", "Couldn't initialize hash table\n");
    ht_cleanup(&varn.vlan_table);
    return 0;
}
