/* SPDX-License-Identifier: Apache-2.0 */
/*
 * ifsvc.h: the client library of the interface manager, which owns the state of every interface.
 *
 * Conventions:
 *   1. Each call is a request to another process and may take as long as its time-out. It never
 *      hangs.
 *   2. An interface is named by its iod (device-local ordinal, 1 to 32767 for every interface that
 *      the device gives out; 0 = none) or by its if-index (u32).
 *   3. A query that returns its value has no way to tell failure: an unknown interface and a
 *      service that does not answer give 0.
 *   4. A query that returns a code gives 0 for success and an error code otherwise, unless its
 *      comment says otherwise; outputs are written on success only.
 *   5. Texts and blocks that are returned by pointer belong to the client library and stay valid
 *      until its next call, also when their interface goes meanwhile.
 *   6. No call runs a callback of its caller: notifications are handed out only where the client
 *      asks for them.
 *
 * Parameters, where a comment says nothing else
 *
 *   iod        iod of the interface
 *   if_index   if-index of the interface
 *   key        uuid of the client that attached the extension or the data
 *   mac        6 bytes
 *   size       bytes of the block
 */
#ifndef IFSVC_H
#define IFSVC_H

#include <stddef.h>
#include <stdint.h>

#include "vlansvc.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Questions with a yes or no ---- */

/* Non-zero is yes. Gives 0 also for an unknown interface and where the service does not answer. */
uint32_t ifsvc_is_linkup(uint32_t iod);                   /* the physical link is there */
uint32_t ifsvc_is_protoup(uint32_t iod);                  /* the line protocol is up */
uint32_t ifsvc_is_switchport(uint32_t iod);               /* an L2 port */
uint32_t ifsvc_is_switching_enabled_on_iod(uint32_t iod); /* an L2 port that forwards */
uint32_t ifsvc_is_ethernet(uint32_t iod);                 /* an Ethernet medium */
uint32_t ifsvc_is_vlan(uint32_t iod);  /* a VLAN sub-interface or VLAN interface */
uint32_t ifsvc_is_null0(uint32_t iod); /* the null interface, which drops all that it is given */
uint32_t ifsvc_is_native_p2p(uint32_t iod);    /* a point-to-point medium */
uint32_t ifsvc_is_loopback(uint32_t iod);      /* a loopback */
uint32_t ifsvc_is_mvpn_tunnel(uint32_t iod);   /* a tunnel of a multicast VPN */
uint32_t ifsvc_is_gre_tunnel(uint32_t iod);    /* a GRE tunnel */
uint32_t ifsvc_is_super_802_3ad(uint32_t iod); /* a port-channel */
uint32_t ifsvc_is_cbus(uint32_t iod);          /* of type 7 */
uint32_t ifsvc_is_mgmtether(uint32_t iod);     /* a management port */
uint32_t ifsvc_is_dci_tunnel(uint32_t iod);    /* a tunnel between data centres */
uint32_t ifsvc_is_dci_overlay(uint32_t iod);   /* an overlay between data centres */
uint32_t ifsvc_is_6to4_tunnel(uint32_t iod);   /* a 6to4 tunnel */
uint32_t ifsvc_is_mpls_tunnel(uint32_t iod);   /* an MPLS tunnel */

/* Whether this is the if-index of a VLAN's interface (SVI): non-zero is yes. */
uint32_t ifsvc_is_ifindex_svi(uint32_t if_index);

/* ---- Values ---- */

uint32_t ifsvc_get_if_mtu(uint32_t iod);       /* bytes; 16 bits are significant */
uint32_t ifsvc_get_if_encaptype(uint32_t iod); /* device's own number; 16 bits; 0 = not known */

/* VLAN of a VLAN (sub-)interface; a device may give the access VLAN of a switchport too. 16 bits;
 * 0 = none. */
uint32_t ifsvc_get_if_vlanid(uint32_t iod);

/* Gives the if-index of the interface that a VLAN sub-interface stands on; 0 = none. */
uint32_t ifsvc_get_sub_interface_parent(uint32_t iod);

/* Writes the source MAC address. 0, or an error code with the bytes left alone. */
uint32_t ifsvc_get_if_src_mac_addr(uint32_t iod, uint8_t *mac);

/* Whether the 6 bytes are the interface's MAC address: non-zero is yes. */
uint32_t ifsvc_is_if_mac_addr(uint32_t iod, const uint8_t *mac);

/*
 * Gives the access VLAN of a switchport (info->vlan) and its port mode; a device may give the VLAN
 * of a VLAN (sub-)interface too. For what is neither: an error, or a success with VLAN 0 and port
 * mode 0. Only a switchport's mode is given here.
 *   info       takes the instance and the VLAN; VLAN 0 = none.
 *   port_mode  takes the port mode, the device's own number; 0 for what is no switchport.
 * Returns 1 on success; on any other result the outputs are not to be used.
 */
uint32_t ifsvc_get_vlan_info(uint32_t iod, vlan_key_t *info, uint32_t *port_mode);

/* ---- Identity ---- */

/* Translate an identifier into the other one, 32 bits. 0, or an error code for an interface that is
 * not known. */
uint32_t ifsvc_get_ifindex_frm_iod(uint32_t iod, uint32_t *if_index);
uint32_t ifsvc_get_iod_frm_ifindex(uint32_t if_index, uint32_t *iod);

/*
 * Gives the iod of a VLAN's interface (SVI), or 0 where there is none.
 *   vinst  virtual device instance, from supvr_vinst_get; in another one there is none.
 *   vlan   VLAN id, 1 to 4094.
 */
uint32_t ifsvc_get_svi_iod_for_vlan(uint16_t vinst, uint32_t vlan);

/* Gives the interface's name. Never null, for any iod: a text that says so stands for an unknown
 * one. */
const char *ifsvc_get_if_name(uint32_t iod);

/*
 * Writes the interface's name, cut to fit and always ended by a zero. A failing call leaves an
 * empty text.
 *   buffer  takes the name.
 *   size    bytes of the buffer, at least 1.
 * 0, or an error code.
 */
uint32_t ifsvc_get_ifindex_name(uint32_t if_index, char *buffer, uint32_t size);

/* ---- Extensions and private data ---- */

/*
 * Gives the one-word extension value that the owner of `key` attached to the interface; 0 = none.
 */
uint32_t ifsvc_get_extension(uint32_t iod, uint32_t key);

/* Whether the extension value under `key` is set: non-zero is yes. */
uint32_t ifsvc_is_extension_set(uint32_t iod, uint32_t key);

/*
 * Gives the block of private data that the owner of `key` attached to the interface, as an address
 * in a uintptr_t, and its size in bytes; 0 and size 0 where there is none. The block belongs to the
 * client library and stays valid until its next call. *size is always written.
 */
uintptr_t ifsvc_get_private_data(uint32_t iod, uint32_t key, uint32_t *size);

/* ---- Port mode ---- */

/* One element of the list; all bytes not named are the service's own and are zero in a request. */
typedef struct ifsvc_port_mode {
    uint32_t if_index; /* in */
    uint8_t reserved_4[8];
    uint32_t selector; /* in: 0 */
    uint8_t reserved_16[4];
    uint32_t port_mode; /* out; 0x200 = routed port */
    uint8_t reserved_24[512];
} ifsvc_port_mode_t;

#ifdef __cplusplus
static_assert(sizeof(ifsvc_port_mode_t) == 536, "port-mode buffer");
static_assert(offsetof(ifsvc_port_mode_t, if_index) == 0, "port-mode buffer");
static_assert(offsetof(ifsvc_port_mode_t, selector) == 12, "port-mode buffer");
static_assert(offsetof(ifsvc_port_mode_t, port_mode) == 20, "port-mode buffer");
#else
_Static_assert(sizeof(ifsvc_port_mode_t) == 536, "port-mode buffer");
_Static_assert(offsetof(ifsvc_port_mode_t, if_index) == 0, "port-mode buffer");
_Static_assert(offsetof(ifsvc_port_mode_t, selector) == 12, "port-mode buffer");
_Static_assert(offsetof(ifsvc_port_mode_t, port_mode) == 20, "port-mode buffer");
#endif

/*
 * Fills in the port mode of each element of a list.
 *   list   the elements, each naming its interface.
 *   count  how many there are.
 * 0, or an error code.
 */
uint32_t ifsvc_get_ifindex_port_mode_list(ifsvc_port_mode_t *list, uint32_t count);

#ifdef __cplusplus
}
#endif

#endif
