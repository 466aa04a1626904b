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

#ifdef __cplusplus
extern "C" {
#endif

#define VARN_DEVICE_OK             UINT32_C(0)
#define VARN_DEVICE_E_NO_INTERFACE UINT32_C(0x40F10001) /* there is no such interface */
#define VARN_DEVICE_E_NO_VALUE     UINT32_C(0x40F10002) /* the interface has no such value */
#define VARN_DEVICE_E_NOT_KEPT     UINT32_C(0x40F10003) /* the device does not keep that state */
#define VARN_DEVICE_E_NO_SERVICE   UINT32_C(0x40F10004) /* not running, or the connection broke */
#define VARN_DEVICE_E_TIMEOUT      UINT32_C(0x40F10005) /* the service did not answer in time */
#define VARN_DEVICE_E_REFUSED      UINT32_C(0x40F10006) /* the service refused the request's form */
#define VARN_DEVICE_E_BAD_ANSWER   UINT32_C(0x40F10007) /* the answer is not what was asked for */
#define VARN_DEVICE_E_ARGUMENT     UINT32_C(0x40F10008) /* a null or impossible argument */

#define VARN_DEVICE_DEFAULT_SOCKET     "/run/varn/deviced.sock"
#define VARN_DEVICE_SOCKET_VARIABLE    "VARN_DEVICE_SOCKET" /* environment; used where it is set */
#define VARN_DEVICE_DEFAULT_TIMEOUT_MS UINT32_C(2000)

/*
 * Connects to the service at a path and stays with that path. Null: the path of the environment,
 * or else the default one. Any former connection is closed and any pause ended.
 */
uint32_t varn_device_connect(const char *path);

/* Closes the connection. The next request connects again. */
void varn_device_disconnect(void);

/* Sets how long a request may take, in milliseconds; 0 means the default. */
void varn_device_set_timeout(uint32_t milliseconds);

/* Requests sent by this process so far, whatever became of them. */
uint64_t varn_device_requests(void);

/*
 * The code and the explanation of the failed request that was last; 0 and "" where none failed
 * since the process began or varn_device_clear_error was called. A success changes neither.
 */
uint32_t varn_device_last_error(void);
const char *varn_device_last_error_text(void);
void varn_device_clear_error(void);

/*
 * Writes the iods of all interfaces, in rising order, up to `capacity` of them, and how many there
 * are to *count.
 */
uint32_t varn_device_list_iods(uint32_t *iods, uint32_t capacity, uint32_t *count);

/* Requests that the service answered so far: those of all clients, and those of this connection.
 * This request itself is not among them. */
uint32_t varn_device_stats(uint64_t *all_clients, uint64_t *this_client);

/*
 * Attaches an extension value and a block of private data to an interface under the caller's key,
 * in place of what stood there; they are what ifsvc_get_extension and ifsvc_get_private_data give
 * to every client from then on. The service keeps them as long as the interface lives.
 */
uint32_t varn_device_attach(uint32_t iod, uint32_t key, uint32_t extension, const void *block,
                            uint32_t size);

#ifdef __cplusplus
}
#endif

#endif
