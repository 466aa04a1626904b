/* SPDX-License-Identifier: Apache-2.0 */
/*
 * idxsvc.h: the port-index service. Each call is a request to another process. Results: 0 is
 * success, everything else an error code (no such interface, no index, no answer); outputs are
 * written on success only. A port index is one number that serves as destination index (di) and as
 * source index (si). if-index and si are passed as int32_t and mean the same 32 bits as a uint32_t.
 */
#ifndef IDXSVC_H
#define IDXSVC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Gives the destination index of an interface.
 *   if_index  the interface.
 *   di        takes the index.
 * 0, or an error code.
 */
uint32_t idxsvc_lib_ifidx_to_di(int32_t if_index, uint32_t *di);

/*
 * Gives the if-index of the interface that has a source index.
 *   si        the index.
 *   if_index  takes the if-index.
 * 0, or an error code.
 */
uint32_t idxsvc_lib_si_to_ifidx(int32_t si, uint32_t *if_index);

/*
 * Gives the flood destination index of a bridge domain.
 *   bd  the bridge domain.
 *   di  takes the index.
 * 0, or an error code.
 */
uint32_t idxsvc_lib_bd_to_di(uint16_t bd, uint32_t *di);

#ifdef __cplusplus
}
#endif

#endif
