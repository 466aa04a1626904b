/* SPDX-License-Identifier: Apache-2.0 */
/* thrsvc.h: the calling thread. */
#ifndef THRSVC_H
#define THRSVC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Gives the system's id of the calling thread; never 0. Never fails, never blocks. */
uint32_t thrsvc_get_thread_pid(void);

#ifdef __cplusplus
}
#endif

#endif
