/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A client in C, linked with the scripted device alone: every header of the contract compiles as
 * C11, and the device answers and tells. Ends with 0 when all of it held.
 */
#include "scripted_device_c.h"

#include "aggsvc.h"
#include "bitset.h"
#include "histlog.h"
#include "ht.h"
#include "idxsvc.h"
#include "if_index.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "memacct.h"
#include "supvr.h"
#include "syslog_backtrace.h"
#include "thrsvc.h"
#include "vlansvc.h"
#include "vrfsvc.h"

#include <stdio.h>
#include <string.h>

int main(void)
{
    scripted_reset();
    scripted_given_port(7);
    scripted_set_linkup(7, 0);
    const uint32_t up = ifsvc_is_linkup(7);
    const uint32_t mtu = ifsvc_get_if_mtu(7);
    const char *expected = "ifsvc_is_linkup(7) = 0\nifsvc_get_if_mtu(7) = 1500";
    const char *told = scripted_calls();
    if (up == 0 && mtu == 1500 && strcmp(told, expected) == 0)
        return 0;
    printf("told: %s\n", told);
    return 1;
}
