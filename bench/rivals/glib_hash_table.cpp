// SPDX-License-Identifier: Apache-2.0
//
// GLib's GHashTable from a number to a record.
#include "rival.h"

#include <glib.h>

namespace rival
{
namespace
{

GHashTable *records;
record *removed;

record *look_up(uint32_t iod)
{
    return static_cast<record *>(g_hash_table_lookup(records, GUINT_TO_POINTER(iod)));
}

const record *find(uint32_t iod) { return look_up(iod); }

void fill(uint32_t count)
{
    records = g_hash_table_new(g_direct_hash, g_direct_equal);
    for (uint32_t iod = 1; iod <= count; ++iod)
        g_hash_table_insert(records, GUINT_TO_POINTER(iod), new_record(iod));
}

void remove(uint32_t iod)
{
    removed = look_up(iod);
    g_hash_table_remove(records, GUINT_TO_POINTER(iod));
}

void insert(uint32_t iod) { g_hash_table_insert(records, GUINT_TO_POINTER(iod), removed); }

} // namespace
} // namespace rival

#include "rival_calls.h"
