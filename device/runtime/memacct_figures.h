/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Reading the figures of the accounting allocator of this process, for whoever shows them to an
 * operator. Results: 0 is success, everything else an error code with the output not written.
 * Safe to call from any thread; figures read while others allocate are each right for some moment,
 * but not all for the same one.
 */
#ifndef DEVICE_RUNTIME_MEMACCT_FIGURES_H
#define DEVICE_RUNTIME_MEMACCT_FIGURES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One memory type of one account. Bytes are those asked for, without the allocator's own. */
typedef struct memacct_figures {
    uint32_t id;                /* account */
    uint32_t type;              /* memory type */
    const char *account_name;   /* null: the account was never opened */
    const char *type_name;      /* null: the account names no such type */
    uint64_t live_blocks;       /* blocks handed out and not given back */
    uint64_t live_bytes;        /* bytes of those blocks */
    uint64_t total_allocations; /* blocks ever handed out */
    uint64_t peak_bytes;        /* largest value of live_bytes so far */
} memacct_figures_t;

/* Gives the figures of one type. An error for one that was neither named nor allocated. */
uint32_t memacct_figures_get(uint32_t id, uint32_t type, memacct_figures_t *figures);

/*
 * Walks over all known types in no particular order: *position starts at 0 and is moved on by each
 * call. An error at the end.
 */
uint32_t memacct_figures_next(uint32_t *position, memacct_figures_t *figures);

/*
 * Gives, in id, type and the figures, the sums of what no longer found a place of its own, because
 * more types are in use than the accounting holds: id and type are 0xFFFFFFFF. Zeros in practice.
 */
uint32_t memacct_figures_get_overflow(memacct_figures_t *figures);

#ifdef __cplusplus
}
#endif

#endif
