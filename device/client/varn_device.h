/* SPDX-License-Identifier: Apache-2.0 */
/*
 * varn_device.h: the client library of the reference device, beyond the contract that it fulfils.
 *
 * The functions of the platform headers are requests to varn-deviced over its socket. The first one
 * connects; nothing needs to be called before. What a client may want besides (another socket, a
 * time-out of its own, why a request failed, what requests cost) is here.
 *
 * Conventions
 *   1. Results: 0 is success, everything else one of the codes below; they are also what the
 *      platform functions with a code return. Outputs are written on success only.
 *   2. A request ends within the time-out, whatever the service does. After a connection was lost
 *      or could not be made, requests fail at once with the same code until a pause is over, which
 *      grows from 50 ms to 2 s with each further failure; then the next request tries again. A
 *      connection that breaks under a request (the service was started anew) is made again once
 *      within that request.
 *   3. No thread, no lock: a process with several threads serialises its calls.
 */
#ifndef VARN_DEVICE_H
#define VARN_DEVICE_H

#include <stdint.h>

#include "bitset.h"

#ifdef __cplusplus
extern "C" {
#endif

#define VARN_DEVICE_OK             UINT32_C(0)          /* done */
#define VARN_DEVICE_E_NO_INTERFACE UINT32_C(0x40F10001) /* there is no such interface */
#define VARN_DEVICE_E_NO_VALUE     UINT32_C(0x40F10002) /* the interface has no such value */
#define VARN_DEVICE_E_NOT_ALLOWED  UINT32_C(0x40F10003) /* this device's source has no changes */
#define VARN_DEVICE_E_NO_SERVICE   UINT32_C(0x40F10004) /* not running, or the connection broke */
#define VARN_DEVICE_E_TIMEOUT      UINT32_C(0x40F10005) /* the service did not answer in time */
#define VARN_DEVICE_E_REFUSED      UINT32_C(0x40F10006) /* the service refused the request's form */
#define VARN_DEVICE_E_BAD_ANSWER   UINT32_C(0x40F10007) /* the answer is not what was asked for */
#define VARN_DEVICE_E_ARGUMENT     UINT32_C(0x40F10008) /* a null or impossible argument */
#define VARN_DEVICE_E_CHANGE       UINT32_C(0x40F10009) /* a change that makes no sense; see the text */
#define VARN_DEVICE_E_PERMISSION   UINT32_C(0x40F1000A) /* this process may not change the device */

#define VARN_DEVICE_DEFAULT_SOCKET     "/run/varn/deviced.sock" /* where the service is found */
#define VARN_DEVICE_SOCKET_VARIABLE    "VARN_DEVICE_SOCKET" /* environment; used where it is set */
#define VARN_DEVICE_DEFAULT_TIMEOUT_MS UINT32_C(2000)       /* how long a request may take */

/*
 * Connects to the service and stays with that path. Any former connection is closed and any pause
 * ended.
 *   path  path of the socket; null: that of the environment, or else the default one.
 * 0, or a code.
 */
uint32_t varn_device_connect(const char *path);

/* Closes the connection. The next request connects again, and with a subscription in force the next
 * dispatching does. */
void varn_device_disconnect(void);

/*
 * Sets how long a request may take.
 *   milliseconds  0 means the default.
 */
void varn_device_set_timeout(uint32_t milliseconds);

/* Requests sent by this process so far, whatever became of them; subscriptions are none. */
uint64_t varn_device_requests(void);

/*
 * The code and the explanation of the failed request that was last; 0 and "" where none failed
 * since the process began or varn_device_clear_error was called. A success changes neither.
 */
uint32_t varn_device_last_error(void);
const char *varn_device_last_error_text(void);
void varn_device_clear_error(void);

/*
 * Writes the iods of all interfaces, in rising order.
 *   iods      takes them.
 *   capacity  how many are written at most.
 *   count     takes how many there are, which may be more.
 * 0, or a code.
 */
uint32_t varn_device_list_iods(uint32_t *iods, uint32_t capacity, uint32_t *count);

/*
 * Requests that the service answered so far. This request itself is not among them.
 *   all_clients  takes those of all clients since the service was started.
 *   this_client  takes those of this connection.
 * 0, or a code.
 */
uint32_t varn_device_stats(uint64_t *all_clients, uint64_t *this_client);

/*
 * Attaches an extension value and a block of private data to an interface under the caller's key,
 * in place of what stood there; they are what ifsvc_get_extension and ifsvc_get_private_data give
 * to every client from then on. The service keeps them as long as the interface lives.
 *   iod        the interface.
 *   key        the client that attaches them: its uuid.
 *   extension  the value; 0 = none.
 *   block      the data, which is copied.
 *   size       its bytes.
 * 0, or a code.
 */
uint32_t varn_device_attach(uint32_t iod, uint32_t key, uint32_t extension, const void *block,
                            uint32_t size);

/*
 * Changes a device that has an inventory, by the words of one command of varnctl(1) without its
 * options: {"set", "port7", "mtu", "9000"}.
 *   words   the words of the command.
 *   count   how many there are.
 *   answer  takes what there is to say, often "", good until the next request; may be null.
 * 0, or a code. VARN_DEVICE_E_CHANGE: nothing was changed, and varn_device_last_error_text says
 * what was wrong with which word.
 */
uint32_t varn_device_change(const char *const *words, uint32_t count, const char **answer);

/* ---- Notices --------------------------------------------------------------------------------- */

/*
 * The service tells its clients of every change of what it answers. The client library queues what
 * arrives, also what arrives while a request waits for its answer, and hands it out in its order
 * from varn_device_dispatch and from nowhere else: never from within a request.
 *
 * What arrives has an order with the answers of requests: an answer that was given before a change
 * is there before the notice of that change can be dispatched. So a client that hands every notice
 * on to the cache never keeps an answer from before a change as a good one.
 *
 * The records are those of varn.h; this header only names them.
 */
struct varn_phy_update;
struct varn_l2_update;
struct varn_l3_update;
struct varn_l3_param_update;
struct varn_mac_update;
struct varn_fop_update;

/*
 * What a client wants to be called for; a null member is skipped. Every callback gets `arg` first.
 * Records belong to the library and are good during the call. A callback may make requests, and it
 * may not dispatch.
 *
 * The upper ones each have a handler in the cache, which takes just these arguments.
 */
typedef struct varn_device_notices {
    uintptr_t arg; /* the client's own, handed to every callback */

    /*
     * Handlers:
     *   physical_state   varn_update_phy_state
     *   l2_state         varn_update_l2_state
     *   l3_state         varn_update_l3_state
     *   l2_bundle_state  varn_update_l2_bundle_state
     *   l3_bundle_state  varn_update_l3_bundle_state
     *   l3_parameters    varn_update_l3_param
     *   switchport       varn_update_switchport
     *   vlan             varn_update_vlan
     *   router_mac       varn_update_router_mac
     *   first_member     varn_update_aggsvc_fop
     */
    void (*physical_state)(uintptr_t arg, const struct varn_phy_update *record);
    void (*l2_state)(uintptr_t arg, const struct varn_l2_update *record);
    void (*l3_state)(uintptr_t arg, struct varn_l3_update *record);
    void (*l2_bundle_state)(uintptr_t arg, const struct varn_l2_update *record);
    void (*l3_bundle_state)(uintptr_t arg, const struct varn_l3_update *record);
    void (*l3_parameters)(uintptr_t arg, const struct varn_l3_param_update *record,
                          const bitset_t *changed);
    void (*switchport)(uintptr_t arg, uint32_t iod);
    void (*vlan)(uintptr_t arg, uint32_t iod);
    void (*router_mac)(uintptr_t arg, const struct varn_mac_update *record);
    void (*first_member)(uintptr_t arg, const struct varn_fop_update *record);

    /*
     * The others say what to do:
     *   linkup             the link must be asked again: varn_update_is_linkup_dirty_bit(iod, 0, 1),
     *                      if the interface has an entry.
     *   extension_removed  under that key: varn_remove_extension0(iod) if the key is the client's
     *                      own (varn.config.uuid). `changed` follows.
     *   changed            any other attribute (routing context, tunnel, port mode, name, an
     *                      extension): varn_flush_if_entry(entry, 2) if the interface stands in
     *                      varn.if_table, and only then, with crit = sync without VARN_BIT_IOD. A
     *                      flush by a key would create the entry. Then
     *                      varn_if_update_entry(entry, 0) if the entry keeps a parent (aggsvc_if
     *                      of what is no port-channel) or extension 0 has a decoder: no query
     *                      asks for the parent, nor every one for the size of the data.
     *   removed            the interface is gone, also when another one has its if-index by now:
     *                      varn_if_remove_entry_by_if(if_index), and for a port-channel
     *                      varn_pc_remove_entry_by_if_index(if_index).
     *   added              nothing to forget; for whoever lists interfaces.
     *   members            membership or hash buckets of a port-channel: varn_pc_invalidate(pc), if
     *                      it has an entry.
     *   vlan_changed       bridge domain, flood index or primary VLAN: varn_vlan_update_vlan(vlan).
     *   vlan_deleted       varn_vlan_remove_entry_by_vlan(vlan).
     *   lost               notices are missing, or the service is another one: everything must be
     *                      forgotten. Walk varn.if_table and destroy every entry, and remove every
     *                      entry of varn.pc_table and varn.vlan_table by its key (a flush would not
     *                      do: it keeps identities). `why` is for a log.
     */
    void (*linkup)(uintptr_t arg, uint32_t if_index, uint32_t iod);
    void (*extension_removed)(uintptr_t arg, uint32_t if_index, uint32_t iod, uint32_t key);
    void (*changed)(uintptr_t arg, uint32_t if_index, uint32_t iod);
    void (*added)(uintptr_t arg, uint32_t if_index, uint32_t iod);
    void (*removed)(uintptr_t arg, uint32_t if_index, uint32_t iod);
    void (*members)(uintptr_t arg, uint32_t pc_ifindex);
    void (*vlan_changed)(uintptr_t arg, uint32_t vlan);
    void (*vlan_deleted)(uintptr_t arg, uint32_t vlan);
    void (*lost)(uintptr_t arg, const char *why);

    /* Called before each of the above, for whoever shows or counts notices: the name of the notice,
     * its sequence number (0 for one that was made on this side), and what it is about (0: nothing
     * of that kind; `number` is a port-channel's if-index or a VLAN). */
    void (*any)(uintptr_t arg, const char *name, uint64_t sequence, uint32_t if_index, uint32_t iod,
                uint32_t number);
} varn_device_notices_t;

/*
 * Asks for notices from now on.
 *   callbacks  who is called, which is copied; null asks for no more.
 * It stays in force over lost connections: the library asks anew whenever it has connected again.
 * Whoever subscribes before its first query misses nothing. 0 also when there is no service at the
 * moment: the subscription is made as soon as there is one, beginning with `lost`.
 * VARN_DEVICE_E_ARGUMENT from within a callback.
 */
uint32_t varn_device_subscribe(const varn_device_notices_t *callbacks);

/*
 * A descriptor that is readable while varn_device_dispatch has something to do: a notice is queued,
 * something arrived, or it is time to connect again. It stays the same for the life of the process;
 * a forked child asks for its own. -1: none could be made. Never read from it or close it.
 */
int varn_device_descriptor(void);

/*
 * Takes in what arrived, connects again where that is due, and hands out what is queued. It may
 * wait for a service, at most as long as a request.
 *   most  so many notices at most; 0: all that there are, those included that arrive meanwhile.
 * Gives how many were handed out.
 */
uint32_t varn_device_dispatch(uint32_t most);

/* Whether a connection is open at the moment: 1 or 0. */
uint32_t varn_device_is_connected(void);

#ifdef __cplusplus
}
#endif

#endif
