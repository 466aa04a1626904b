// SPDX-License-Identifier: Apache-2.0
//
// client.cpp: the cache over the minimal port. Asks twice, changes something, asks again, and says
// each time how often the cache had the answer.
#include <cinttypes>
#include <cstdio>

#include "device.h"
#include "if_index.h"
#include "ifsvc.h"
#include "varn.h"

namespace
{

void ask(const char *when, uint32_t iod)
{
    const char *state = varn_ifsvc_is_linkup(iod) ? "up" : "down";
    std::printf("%s: %s is %s; so far %" PRIu64 " hits, %" PRIu64 " misses\n", when,
                varn_ifsvc_get_if_name(iod), state, varn.hits[VARN_SLOT_LINKUP],
                varn.misses[VARN_SLOT_LINKUP]);
}

} // namespace

int main()
{
    varn_config_t config{};
    config.sync = VARN_MASK(VARN_BIT_IOD) | VARN_MASK(VARN_BIT_LINKUP);
    config.crit = VARN_MASK(VARN_BIT_LINKUP); // as notices.cpp wants it
    minimal::add("port1", IF_INDEX_TYPE_PHYSICAL, 0, nullptr);
    minimal::interface &port = *minimal::named("port1");
    const uint32_t iod = port.values[minimal::iod];
    if (!varn_init(&config)) {
        std::fprintf(stderr, "client: the cache did not start\n");
        return 1;
    }
    ask("first", iod);
    ask("again", iod);
    minimal::set(port, minimal::linkup, 1);
    ask("not told yet", iod);
    minimal::dispatch();
    ask("told", iod);
    ask("again", iod);
    return 0;
}
