/* SPDX-License-Identifier: Apache-2.0 */
/*
 * What a client in C needs of the scripted device: an interface or two, and the journal. Everything
 * else is reached from C++, through scripted_device.h.
 */
#ifndef SCRIPTED_DEVICE_C_H
#define SCRIPTED_DEVICE_C_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Forgets everything: interfaces, rules, journal, blocks, tables. */
__attribute__((visibility("default"))) void scripted_reset(void);

/* Puts physical port n into the world: iod n, if-index 0x1a000000 + n, named eth<n>, link up. */
__attribute__((visibility("default"))) void scripted_given_port(uint32_t n);

/* Changes the link of the interface with this iod. */
__attribute__((visibility("default"))) void scripted_set_linkup(uint32_t iod, uint32_t linkup);

/* The journal since the last call, lines joined by newlines; good until the next call. */
__attribute__((visibility("default"))) const char *scripted_calls(void);

#ifdef __cplusplus
}
#endif

#endif
