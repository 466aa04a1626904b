/* SPDX-License-Identifier: Apache-2.0 */
/*
 * memacct.h: the accounting allocator. Every block belongs to an account (one a library) and within
 * it to a memory type, so that an operator can see which library holds how many blocks of which
 * record.
 *
 * Threading: safe to call from any thread.
 */
#ifndef MEMACCT_H
#define MEMACCT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Opens the account `id` under a name and names its first num_types memory types (type_names[t] is
 * the name of type t). The texts must outlive the process's use of the account; the array need not.
 * Opening an account again replaces its names and keeps its figures. Returns 0 on success, else an
 * error code; allocation under an account that could not be opened works all the same.
 */
uint32_t memacct_init(const char *name, uint32_t id, const char *const *type_names,
                      uint32_t num_types);

/*
 * Gives a block of at least `size` bytes, aligned for every type and to a cache line where the
 * implementation can, with undefined contents; null when memory is wanting.
 */
void *memacct_alloc(uint32_t id, uint32_t type, size_t size);

/* Gives a block back. Null is allowed and does nothing. */
void memacct_free(void *block);

#ifdef __cplusplus
}
#endif

#endif
