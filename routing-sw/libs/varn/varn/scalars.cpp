// SPDX-License-Identifier: Apache-2.0
//
// Updating one number from its service, as refreshes and notifications do. Each of these makes a
// request, so that a row is read here at run time; the queries have it folded in.
#include "scalars.h"

namespace ifcache
{

void update(const scalar &row, varn_if_entry_t &entry, u32 iod)
{
    row.store(entry, row.ask(iod));
    count_update(row.id);
}

void update_and_clean(const scalar &row, varn_if_entry_t &entry, u32 iod)
{
    update(row, entry, iod);
    mark_clean(entry, row.id);
}

void refresh_flag(const scalar &row, varn_if_entry_t &entry)
{
    if (is_dirty(entry, row.id))
        update_and_clean(row, entry, entry.iod);
}

// Deliberate: a zero is asked again, the MTU's too, which a query takes for an answer.
void refresh_value(const scalar &row, varn_if_entry_t &entry)
{
    if (!is_dirty(entry, row.id))
        return;
    update(row, entry, entry.iod);
    if (row.load(entry))
        mark_clean(entry, row.id);
}

} // namespace ifcache
