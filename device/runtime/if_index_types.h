/* SPDX-License-Identifier: Apache-2.0 */
/*
 * How this device numbers its interfaces. An if-index is the interface type in the top byte and
 * below it a 24-bit ordinal, which is never 0. The ordinal of a VLAN interface (SVI) is the virtual
 * device instance (12 bits) above the VLAN id (12 bits, 1 to 4094); the ordinals of all other types
 * are the service's to give out.
 */
#ifndef DEVICE_RUNTIME_IF_INDEX_TYPES_H
#define DEVICE_RUNTIME_IF_INDEX_TYPES_H

#include "if_index.h"

#include <stdint.h>

/* The types beside those that if_index.h names. */
#define IF_INDEX_TYPE_LOOPBACK    20 /* loopback */
#define IF_INDEX_TYPE_VLAN_SUBIF  27 /* VLAN sub-interface of a port or port-channel */
#define IF_INDEX_TYPE_6TO4        28 /* 6to4 tunnel */
#define IF_INDEX_TYPE_NULL0       29 /* null interface */
#define IF_INDEX_TYPE_VIRTUAL     30 /* any other virtual interface, such as a macvlan */
#define IF_INDEX_TYPE_MPLS_TUNNEL 31 /* MPLS tunnel */
#define IF_INDEX_TYPE_MVPN_TUNNEL 32 /* multicast VPN tunnel */
#define IF_INDEX_TYPE_DCI_TUNNEL  33 /* data-centre interconnect tunnel */
#define IF_INDEX_TYPE_DCI_OVERLAY 34 /* data-centre interconnect overlay */

#define IF_INDEX_ORDINAL_MAX 0xffffffu
#define IF_INDEX_VLAN_MAX    4094u
#define IF_INDEX_VINST_MAX   0xfffu

/* The error codes of the functions here and in if_index.h. */
#define IF_INDEX_E_ARGUMENT 1u /* null output */
#define IF_INDEX_E_TYPE     2u /* no type of this device */
#define IF_INDEX_E_ORDINAL  3u /* 0, beyond 24 bits, or not one that the type can have */

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Builds the if-index of the interface with this ordinal among those of its type. Returns 0, or an
 * error code with *if_index not written.
 */
uint32_t if_index_build(uint8_t type, uint32_t ordinal, uint32_t *if_index);

/* Gives the ordinal, the part of an if-index below its type. */
static inline uint32_t if_index_ordinal(uint32_t if_index)
{
    return if_index & IF_INDEX_ORDINAL_MAX;
}

#ifdef __cplusplus
}
#endif

#endif
