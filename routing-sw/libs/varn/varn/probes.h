// SPDX-License-Identifier: Apache-2.0
//
// Places at which a tracer can look in: static probes of the provider `varn`, for gdb, perf,
// SystemTap and bpftrace. docs/operations.md says what each of them means and how wide its arguments
// are; a probe that changes changes there too, and in tools/bpftrace.
//
// A probe is one nop, and a note beside the program that says where its arguments stand. So that a
// hit pays for nothing else, an argument of it must stand in a register or in the entry already.
// Counting a hit or a miss fires its probe: the verbs of attributes.h and the side caches' own below.
//
// Where the system has no <sys/sdt.h>, as where the library is built for another processor, there
// are none.
#ifndef VARN_PROBES_H
#define VARN_PROBES_H

#if defined(__has_include)
#if __has_include(<sys/sdt.h>)
#define VARN_HAS_PROBES
#endif
#endif

#ifdef VARN_HAS_PROBES

// clang takes memory where it has the choice, and would write a register there first.
#if defined(__clang__) && !defined(STAP_SDT_ARG_CONSTRAINT)
#define STAP_SDT_ARG_CONSTRAINT nr
#endif
#include <sys/sdt.h>

// STAP_PROBE3, but `inline`: the compiler is to take a probe for the nop that it is. By the lines of
// its text it would be dear, and what a hit calls were no longer inlined.
#define VARN_PROBE(name, a, b, c)                                                                  \
    do {                                                                                           \
        __asm__ __volatile__ __inline__(                                                           \
            _SDT_ASM_BODY(varn, name, _SDT_ASM_ARGS, (3))::_SDT_ASM_OPERANDS_3(a, b, c));          \
        __asm__ __volatile__ __inline__(_SDT_ASM_BASE);                                            \
    } while (false)
#else
#define VARN_PROBE(name, a, b, c) (static_cast<void>(a), static_cast<void>(b), static_cast<void>(c))
#endif

#define PROBE_HIT(bit, of, entry)               VARN_PROBE(hit, bit, of, entry)
#define PROBE_MISS(bit, of, entry)              VARN_PROBE(miss, bit, of, entry)
#define PROBE_REFRESH(entry, iod, dirty)        VARN_PROBE(refresh, entry, iod, dirty)
#define PROBE_NOTIFICATION(name, iod, if_index) VARN_PROBE(notification, name, iod, if_index)
#define PROBE_DESTROY(entry, iod, if_index)     VARN_PROBE(destroy, entry, iod, if_index)

#endif
