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
    uint8_t reserved[6];            /* the manager's own */
    uint32_t pc_ifindex;            /* in: the port-channel's if-index */
    uint32_t first_operational_mbr; /* out: if-index of the first operational member; 0 = none */
} aggsvc_pc_info_t;

/* The answer of aggsvc_get_pc_for_port. */
typedef struct __attribute__((packed)) aggsvc_pc_for_port {
    uint8_t reserved[6]; /* the manager's own */
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

/*
 * Gives the first operational member of a port-channel.
 *   info  names the port-channel and takes the member.
 * 0, also without a member, or an error code.
 */
uint32_t aggsvc_get_pc_info(aggsvc_pc_info_t *info);

/*
 * Gives the port-channel that a port belongs to. Success with pc_ifindex 0 means: in none, also of a
 * known interface that is no port. An interface that is not known is an error.
 *   port_ifindex  if-index of the port.
 *   membership    takes the port-channel.
 * 0, or an error code.
 */
uint32_t aggsvc_get_pc_for_port(uint32_t port_ifindex, aggsvc_pc_for_port_t *membership);

/*
 * Gives the member port that serves a hash bucket of a port-channel. A bucket that no member serves
 * is an error: a success with 0 would be kept by a cache as a member.
 *   pc_ifindex   if-index of the port-channel.
 *   rbh          hash bucket, 0 to 15; more is the caller's fault, and an error.
 *   mbr_ifindex  takes the member's if-index.
 * 0, or an error code.
 */
uint32_t aggsvc_get_pc_mbr_ifidx_from_rbh(uint32_t pc_ifindex, uint32_t rbh, uint32_t *mbr_ifindex);

#ifdef __cplusplus
}
#endif

#endif
