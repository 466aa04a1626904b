/* SPDX-License-Identifier: Apache-2.0 */
/*
 * links.c: asks every interface of the device twice whether its link is up, and says what each round
 * cost. The first round makes the entries, the second one asks nobody.
 *
 *   cc links.c $(pkg-config --cflags --libs varn-platform varn-device) -o links
 *
 * The service of the device has to run; VARN_DEVICE_SOCKET names its socket where that is not the
 * usual one.
 */
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "varn.h"
#include "varn_device.h"

#define MOST_INTERFACES 32768

static uint32_t iods[MOST_INTERFACES];

static void ask_all(const char *round, uint32_t count)
{
    const uint64_t before = varn_device_requests();
    uint32_t up = 0;
    for (uint32_t each = 0; each < count; ++each)
        up += varn_ifsvc_is_linkup(iods[each]);
    printf("%s round: %" PRIu32 " of %" PRIu32 " links are up, %" PRIu64 " requests\n", round, up,
           count, varn_device_requests() - before);
}

int main(void)
{
    uint32_t count = 0;
    if (varn_device_list_iods(iods, MOST_INTERFACES, &count) != VARN_DEVICE_OK) {
        fprintf(stderr, "links: %s\n", varn_device_last_error_text());
        return 1;
    }
    if (count > MOST_INTERFACES)
        count = MOST_INTERFACES;

    varn_config_t config;
    memset(&config, 0, sizeof config);
    config.sync = VARN_MASK(VARN_BIT_IOD) | VARN_MASK(VARN_BIT_LINKUP);
    if (!varn_init(&config)) {
        fprintf(stderr, "links: the cache did not start\n");
        return 1;
    }
    ask_all("first", count);
    ask_all("second", count);
    printf("%" PRIu64 " hits, %" PRIu64 " misses\n", varn.hits[VARN_SLOT_LINKUP],
           varn.misses[VARN_SLOT_LINKUP]);
    return 0;
}
