/* SPDX-License-Identifier: Apache-2.0 */
/*
 * vlansvc.h: the VLAN service. Each call is a request to another process. Results: 0 is success,
 * everything else an error code; an output may have been written by a call that failed.
 */
#ifndef VLANSVC_H
#define VLANSVC_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * A VLAN of one virtual device instance: packed, 6 bytes. It is also the record of a VLAN answer.
 */
typedef struct __attribute__((packed)) vlan_key {
    uint16_t vinst; /* virtual device instance, from supvr_vinst_get */
    uint32_t vlan;  /* VLAN id, 1 to 4094; 0 in an answer: none */
} vlan_key_t;

#ifdef __cplusplus
static_assert(sizeof(vlan_key_t) == 6 && offsetof(vlan_key_t, vlan) == 2, "vlan_key_t is packed");
#else
_Static_assert(sizeof(vlan_key_t) == 6 && offsetof(vlan_key_t, vlan) == 2, "vlan_key_t is packed");
#endif

/*
 * Gives the bridge domain of a VLAN.
 *   key  the VLAN; one of another instance than supvr_vinst_get gives is not known.
 *   bd   takes the bridge domain.
 * 0, or an error code.
 */
uint32_t vlan_get_bd(vlan_key_t key, uint16_t *bd);

/*
 * Gives the bridge domain of a VLAN and the primary VLAN that it belongs to.
 *   key           the VLAN; one of another instance than supvr_vinst_get gives is not known.
 *   bd            takes the bridge domain.
 *   primary_vlan  takes the primary VLAN: the VLAN itself where it is none's secondary.
 * 0, or an error code.
 */
uint32_t vlan_get_bd_and_primary_vlan(vlan_key_t key, uint16_t *bd, uint32_t *primary_vlan);

#ifdef __cplusplus
}
#endif

#endif
