// SPDX-License-Identifier: Apache-2.0
//
// Printing a table: its header line, and each entry with the printer of its kind.
#include "print.h"

#include "misuse.h"

bool ifcache::print_entries(uintptr_t arg, ht_t *table,
                            void (*print)(uintptr_t arg, const void *entry))
{
    const unsigned long num_buckets = table ? table->num_buckets : 0;
    const unsigned long num_entries = table ? table->num_entries : 0;
    WALK();
    ht_iterator_t walk;
    if (!ht_iterator_init(&walk, table, 0, num_buckets))
        return false;
    PRINT(arg, "Hash table 0x%p, size %lu, num_buckets %lu\n", static_cast<const void *>(table),
          num_entries, num_buckets);
    while (const void *entry = ht_iterator_next(&walk))
        print(arg, entry);
    return true;
}
