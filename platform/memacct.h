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
 * Opens an account and names its memory types. Opening an account again replaces its names and
 * keeps its figures. The texts must outlive the process's use of the account; the array need not.
 *   name        the account's name, for people.
 *   id          the account.
 *   type_names  the name of type t at place t.
 *   num_types   how many types have a name.
 * Returns 0 on success, else an
 * error code; allocation under an account that could not be opened works all the same.
 */
uint32_t memacct_init(const char *name, uint32_t id, const char *const *type_names,
                      uint32_t num_types);

/*
 * Gives a block, aligned for every type and to a cache line where the implementation can, with
 * undefined contents; null when memory is wanting.
 *   id    the account that the block belongs to.
 *   type  its memory type there.
 *   size  bytes that it has at least.
 */
void *memacct_alloc(uint32_t id, uint32_t type, size_t size);

/*
 * Gives a block back.
 *   block  what memacct_alloc gave; null is allowed and does nothing.
 */
void memacct_free(void *block);

#ifdef __cplusplus
}
#endif

#endif
