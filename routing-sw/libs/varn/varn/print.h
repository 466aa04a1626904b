// SPDX-License-Identifier: Apache-2.0
//
// The sink of the dumps. A piece is printed only while the client's print callback is installed and
// the caller's arg is not 0; the values of a piece are evaluated only then.
#ifndef VARN_PRINT_H
#define VARN_PRINT_H

#include "attributes.h"
#include "ht.h"
#include "messages.h"
#include "misuse.h"

namespace ifcache
{

inline bool can_print(uintptr_t arg) { return varn.config.print && arg; }

// Marks a dirty value within a line, and at the end of one.
inline const char *marker(uint64_t dirty, unsigned bit)
{
    return dirty & VARN_MASK(bit) ? "*," : ",";
}
inline const char *end_marker(uint64_t dirty, unsigned bit)
{
    return dirty & VARN_MASK(bit) ? "*" : "";
}

// Prints a table's header line and each of its entries. False: the walk could not start, for the
// caller to report.
bool print_entries(uintptr_t arg, ht_t *table, void (*print)(uintptr_t arg, const void *entry));

} // namespace ifcache

#define PRINT(arg, ...)                                                                            \
    do {                                                                                           \
        CHECK_FORMAT(__VA_ARGS__);                                                                 \
        if (ifcache::can_print(arg)) {                                                             \
            CALL_OUT();                                                                            \
            varn.config.print((arg), __VA_ARGS__);                                                 \
        }                                                                                          \
    } while (0)

#endif
