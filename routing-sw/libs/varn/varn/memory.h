// SPDX-License-Identifier: Apache-2.0
//
// Records come from the accounting allocator, under the library's account and a memory type. A want
// of memory is announced on standard output and traced, and errno says ENOMEM.
#ifndef VARN_MEMORY_H
#define VARN_MEMORY_H

#include <cstddef>

#include "messages.h"

namespace ifcache
{

inline constexpr uint32_t account_id = 544;

// Gives a block with undefined contents, or null. `source` and `at` stand in the announcement.
void *allocate(varn_mem_type_t type, size_t size, const char *source, site at);

} // namespace ifcache

#endif
