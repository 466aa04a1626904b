/* SPDX-License-Identifier: Apache-2.0 */
/*
 * vrfsvc.h: the routing-context service. Each call is a request to another process. An answer of 0
 * means not known: no such interface, no such table, or no answer from the service.
 */
#ifndef VRFSVC_H
#define VRFSVC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Gives the id of the routing context (VRF) that an interface is in, or 0.
 *   iod  the interface.
 */
uint32_t vrfsvc_if_get_context_id(uint32_t iod);

/*
 * Gives the id of a table of an address family in an interface's routing context, or 0.
 *   iod     the interface.
 *   family  1: IPv4.
 *   name    "base": the context's unicast table. The text is read before the call returns.
 */
uint32_t vrfsvc_if_get_table_id(uint32_t iod, uint32_t family, const char *name);

#ifdef __cplusplus
}
#endif

#endif
