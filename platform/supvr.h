/* SPDX-License-Identifier: Apache-2.0 */
/* supvr.h: the system manager. */
#ifndef SUPVR_H
#define SUPVR_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Gives the virtual device instance that this process serves. It never changes while the process
 * lives. */
uint16_t supvr_vinst_get(void);

#ifdef __cplusplus
}
#endif

#endif
