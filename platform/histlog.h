/* SPDX-License-Identifier: Apache-2.0 */
/*
 * histlog.h: the event-history log of the device. A record is opaque bytes under the uuid of the
 * client that wrote it; it is kept in a bounded store that outlives the process.
 */
#ifndef HISTLOG_H
#define HISTLOG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Appends a record to the history of `uuid`.
 *   uuid      the writer's client, under which its records are looked up.
 *   event_id  the writer's event class.
 *   level     1 informational, 2 error.
 *   inst      instance of the writer; 0 where there is only one.
 *   length    bytes of the record.
 *   record    the bytes, which are copied before the call returns.
 * Returns 0 when the record was written, else an error code. It never blocks on another process,
 * never fails the caller in another way and keeps `errno`.
 */
uint32_t histlog_his_log_event_for_uuid_inst(uint32_t uuid, uint32_t event_id, uint32_t level,
                                             uint32_t inst, uint32_t length, const void *record);

#ifdef __cplusplus
}
#endif

#endif
