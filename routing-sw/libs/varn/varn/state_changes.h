// SPDX-License-Identifier: Apache-2.0
//
// What the handlers of state and of bundle notifications have in common.
#ifndef VARN_STATE_CHANGES_H
#define VARN_STATE_CHANGES_H

#include "attributes.h"

namespace ifcache
{

// Has port index and lif fetched again, where they are cached. After this the entry may be gone.
void refetch_identity(varn_if_entry_t *entry);

// Stores what an L2 record carries (MAC, MTU, VLAN) and asks for switchport and switching, each
// only where it is cached, each counted. No dirty bit is touched.
void take_l2_values(varn_if_entry_t &entry, const varn_l2_update_t &record);

} // namespace ifcache

#endif
