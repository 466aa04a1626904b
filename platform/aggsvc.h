/* SPDX-License-Identifier: Apache-2.0 */
/*
 * aggsvc.h: the port-channel manager. Each call is a request to another process. Results: 0 is
 * success, everything else an error code. The records are the manager's own, packed; a caller
 * writes and reads only the members named here and need not initialise any other byte.
 */
#ifndef AGGSVC_H
#define AGGSVC_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The request and answer of aggsvc_get_pc_info. */
typedef struct __attribute__((packed)) aggsvc_pc_info {
    uint8_t reserved[6];
    uint32_t pc_ifindex;            /* in: the port-channel's if-index */
    uint32_t first_operational_mbr; /* out: if-index of the first operational member; 0 = none */
} aggsvc_pc_info_t;

/* The answer of aggsvc_get_pc_for_port. */
typedef struct __attribute__((packed)) aggsvc_pc_for_port {
    uint8_t reserved[6];
    uint32_t pc_ifindex; /* out: if-index of the port's port-channel; 0 = in none */
} aggsvc_pc_for_port_t;

#ifdef __cplusplus
static_assert(offsetof(aggsvc_pc_info_t, pc_ifindex) == 6, "request record");
static_assert(offsetof(aggsvc_pc_info_t, first_operational_mbr) == 10, "request record");
static_assert(offsetof(aggsvc_pc_for_port_t, pc_ifindex) == 6, "membership record");
#else
_Static_assert(offsetof(aggsvc_pc_info_t, pc_ifindex) == 6, "request record");
_Static_assert(offsetof(aggsvc_pc_info_t, first_operational_mbr) == 10, "request record");
_Static_assert(offsetof(aggsvc_pc_for_port_t, pc_ifindex) == 6, "membership record");
#endif

/* Gives the first operational member of the port-channel info->pc_ifindex. */
uint32_t aggsvc_get_pc_info(aggsvc_pc_info_t *info);

/* Gives the port-channel that a port belongs to. Success with 0 means: in none. */
uint32_t aggsvc_get_pc_for_port(uint32_t port_ifindex, aggsvc_pc_for_port_t *membership);

/* Gives the member port that serves hash bucket rbh (0 to 15) of a port-channel. */
uint32_t aggsvc_get_pc_mbr_ifidx_from_rbh(uint32_t pc_ifindex, uint32_t rbh, uint32_t *mbr_ifindex);

#ifdef __cplusplus
}
#endif

#endif
