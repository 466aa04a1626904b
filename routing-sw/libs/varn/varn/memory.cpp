// SPDX-License-Identifier: Apache-2.0
//
// The library's memory types, and the allocation of its records under them. The table of types is
// what the accounting allocator is told at start; its last row has an empty name and ends every
// walk.
#include "memory.h"

#include <strings.h>

#include <cerrno>
#include <cstdio>

#include "memacct.h"
#include "misuse.h"

namespace
{

struct memory_type {
    uint32_t value;
    const char *name;
};

constexpr memory_type memory_types[] = {
    {VARN_MEM_NONE, "VARN_MEM_NONE"},
    {VARN_MEM_varn_if_entry_t, "VARN_MEM_varn_if_entry_t"},
    {VARN_MEM_varn_vlan_entry_t, "VARN_MEM_varn_vlan_entry_t"},
    {VARN_MEM_varn_pc_entry_t, "VARN_MEM_varn_pc_entry_t"},
    {VARN_MEM_MAX, "VARN_MEM_MAX"},
    {0, ""},
};

} // namespace

const char *__varn_mem_type_t_find(uint32_t value)
{
    for (const memory_type *type = memory_types; *type->name; ++type)
        if (type->value == value)
            return type->name;
    return nullptr;
}

uint32_t __varn_mem_type_t_str2enum(const char *name)
{
    MUST(RULE_NULL, name);
    for (const memory_type *type = memory_types; *type->name; ++type)
        if (strcasecmp(type->name, name) == 0)
            return type->value;
    return VARN_MEM_NONE;
}

void *ifcache::allocate(varn_mem_type_t type, size_t size, const char *source, site at)
{
    if (void *block = memacct_alloc(account_id, type, size))
        return block;
    std::printf("Warning! Malloc Failure in %s[%d] for size %d\n", source, at.line,
                static_cast<int>(size));
    TRACE("%s: Malloc failure\n", at.function); // Deliberate: a trace, not a report.
    errno = ENOMEM;
    return nullptr;
}
