/* SPDX-License-Identifier: Apache-2.0 */
/*
 * if_index.h: what can be read off an if-index without asking anyone.
 *
 * An if-index is a u32 that carries its interface type; how is the device's own affair. The
 * functions are pure: same arguments, same answer, no request to another process. Results: 0 is
 * success, everything else an error code.
 */
#ifndef IF_INDEX_H
#define IF_INDEX_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The types that change what a client does. A device may have others; they are given no meaning. */
#define IF_INDEX_TYPE_MGMT     5  /* management Ethernet */
#define IF_INDEX_TYPE_CBUS     7  /* cbus */
#define IF_INDEX_TYPE_SVI      9  /* VLAN interface: it has no port index */
#define IF_INDEX_TYPE_PC       22 /* port-channel */
#define IF_INDEX_TYPE_GRE      24 /* GRE tunnel */
#define IF_INDEX_TYPE_PHYSICAL 26 /* physical port */

/*
 * Gives the type of an if-index. An if-index that the device cannot have given out is an error.
 *   if_index  the if-index.
 *   type      takes the type, 8 bits; written on success only.
 * 0, or an error code.
 */
uint32_t if_index_get_type(uint32_t if_index, uint8_t *type);

/*
 * Builds the if-index of a VLAN's interface (SVI), whether or not that interface exists.
 *   if_index  takes the if-index; written on success only.
 *   vlan      VLAN id, 1 to 4094.
 *   arg       virtual device instance.
 * 0, or an error code.
 */
uint32_t if_index_vlan_port_init(uint32_t *if_index, uint16_t vlan, uint32_t arg);

#ifdef __cplusplus
}
#endif

#endif
