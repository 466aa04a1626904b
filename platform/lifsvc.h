/* SPDX-License-Identifier: Apache-2.0 */
/*
 * lifsvc.h: the logical-interface table service. Each call is a request to another process.
 * Results: 0 is success, everything else an error code (no such interface, no lif, no answer);
 * outputs are written on success only. The identifiers are passed as int32_t and mean the same 32
 * bits as a uint32_t.
 */
#ifndef LIFSVC_H
#define LIFSVC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Gives the lif of an interface.
 *   if_index  the interface.
 *   lif       takes the lif.
 * 0, or an error code.
 */
uint32_t lifsvc_query_ifindex_to_lif(int32_t if_index, uint32_t *lif);

/*
 * Gives the if-index of the interface that has a lif.
 *   lif       the lif.
 *   if_index  takes the if-index.
 * 0, or an error code.
 */
uint32_t lifsvc_query_lif_to_ifindex(int32_t lif, uint32_t *if_index);

#ifdef __cplusplus
}
#endif

#endif
