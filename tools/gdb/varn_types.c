/* SPDX-License-Identifier: Apache-2.0 */
/*
 * varn_types.c: the records and numbers of varn.h, for the debugger.
 *
 * Compiled with debug information and never linked: the object holds no code, only what varn.h says,
 * in the form that gdb reads. With it varn_gdb.py knows each record, offset and name in a process
 * whose library and client carry no debug information, for the processor of this build. The layout is
 * pinned, so that one object holds for every library of the same SONAME.
 */
#include "varn.h"

/* The types of two exported objects that are arrays. */
typedef uint32_t varn_iod_bitmap[VARN_IODBMP_WORDS];
typedef char varn_report_text[sizeof varn_print_str];

/* What the reference device keeps in the state of an ht_t (device/runtime/ht.cpp). Another device has
 * a table of its own; varn_gdb.py looks whether a table is this one. */
struct varn_reference_table {
    ht_hash_fn hash;
    ht_get_key_fn get_key;
    ht_keys_equal_fn keys_equal;
    void **buckets;
    uintptr_t *slots; /* a record's address, or an odd number where there is none */
    uint32_t link_position;
    uint32_t slots_used;
    uint32_t free_slot;
    size_t mapped_bytes;
    unsigned long size_hwm;
};

_Static_assert(sizeof(struct varn_reference_table) <= sizeof(((ht_t *)0)->state), "it fits");
