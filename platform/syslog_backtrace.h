/* SPDX-License-Identifier: Apache-2.0 */
/* syslog_backtrace.h: the call stack into the system log, when a caller's mistake was found. */
#ifndef SYSLOG_BACKTRACE_H
#define SYSLOG_BACKTRACE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Writes the calling thread's stack to the system log. Never fails the caller and keeps `errno`.
 *   function  the name of the function that found the mistake, which heads the stack.
 *   priority  as syslog has it; 7: debug.
 */
void syslog_backtrace(const char *function, uint32_t priority);

#ifdef __cplusplus
}
#endif

#endif
