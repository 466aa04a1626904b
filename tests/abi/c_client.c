/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A client in C11. Of the library it knows varn.h and nothing else; the C driver links it against
 * the shared library and the scripted device. It walks the main road once: start, a first query
 * that creates the entry, a second one that asks nobody, a stale attribute, removal, stop.
 */
#include "varn.h"

#include <stdio.h>
#include <string.h>

/* Of the scripted device that stands in for the services. */
void scripted_reset(void);
void scripted_given_port(uint32_t n);
void scripted_set_linkup(uint32_t iod, uint32_t linkup);
const char *scripted_calls(void);

static int failures;

static void expect(int holds, const char *what, int line)
{
    if (holds)
        return;
    ++failures;
    fprintf(stderr, "c_client.c:%d: does not hold: %s\n", line, what);
}
#define EXPECT(condition) expect((condition), #condition, __LINE__)

static uint32_t created_iod;
static void remember(uint32_t iod) { created_iod = iod; }

int main(void)
{
    varn_config_t config;
    memset(&config, 0, sizeof config);
    config.sync = VARN_MASK(VARN_BIT_IOD) | VARN_MASK(VARN_BIT_LINKUP);
    config.on_create = remember;

    scripted_reset();
    scripted_given_port(7);
    EXPECT(varn_init(NULL) == 0);
    EXPECT(varn_init(&config) == 1);
    EXPECT(varn_is_enabled() == 1);
    EXPECT(varn.config.num_buckets == 16384);

    EXPECT(varn_ifsvc_is_linkup(7) == 1);
    EXPECT(created_iod == 7);
    EXPECT(varn.hits[VARN_SLOT_LINKUP] == 1);
    scripted_calls();

    scripted_set_linkup(7, 0);
    EXPECT(varn_ifsvc_is_linkup(7) == 1);
    EXPECT(strcmp(scripted_calls(), "") == 0);

    varn_if_entry_t *entry = varn_find_entry_by_iod(7);
    EXPECT(entry != NULL && entry->if_index == 0x1a000007 && entry->ref_count == 2);
    if (entry)
        entry->dirty |= VARN_MASK(VARN_BIT_LINKUP);
    EXPECT(varn_ifsvc_is_linkup(7) == 0);
    EXPECT(strcmp(scripted_calls(), "ifsvc_is_linkup(7) = 0") == 0);
    EXPECT(varn.misses[VARN_SLOT_LINKUP] == 1);

    EXPECT(varn_if_remove_entry_by_iod(7) == 1);
    EXPECT(varn.if_frees == 1 && varn.iod_table.num_entries == 0);
    EXPECT(varn_cleanup() == 1);

    if (failures == 0)
        puts("c_client: all expectations hold");
    return failures != 0;
}
