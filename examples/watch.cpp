// SPDX-License-Identifier: Apache-2.0
//
// watch.cpp: keeps a cache true with the notices of the device, and prints a line for each link that
// goes up or down. follower.cpp, which hands every notice to the handler of the cache, is the one of
// varnsh and can be taken as it is.
//
//   watch [CHANGES]     ends after at least that many lines; without it, never
#include <poll.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>

#include "follower.h"
#include "varn.h"
#include "varn_device.h"

namespace
{

constexpr varn_mask_t cached = VARN_MASK(VARN_BIT_IOD) | VARN_MASK(VARN_BIT_LINKUP);

bool start_cache()
{
    varn_config_t config{};
    config.sync = cached;
    config.crit = cached & ~VARN_MASK(VARN_BIT_IOD); // as the follower wants it
    return varn_init(&config) != 0;
}

std::vector<uint32_t> all_iods()
{
    std::vector<uint32_t> iods(32768);
    uint32_t count = 0;
    if (varn_device_list_iods(iods.data(), static_cast<uint32_t>(iods.size()), &count))
        count = 0;
    iods.resize(count < iods.size() ? count : iods.size());
    return iods;
}

// Asks the cache about every interface; a question about one that did not change costs nothing.
unsigned print_changes(std::map<uint32_t, uint32_t> &known)
{
    unsigned printed = 0;
    for (const uint32_t iod : all_iods()) {
        const uint32_t up = varn_ifsvc_is_linkup(iod);
        const auto [place, is_new] = known.try_emplace(iod, up);
        if (!is_new && place->second != up) {
            place->second = up;
            std::printf("%s is %s\n", varn_ifsvc_get_if_name(iod), up ? "up" : "down");
            std::fflush(stdout);
            ++printed;
        }
    }
    return printed;
}

} // namespace

int main(int argc, char **argv)
{
    const unsigned long wanted = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 0;
    const varn_device_notices_t notices = shell::follower_notices();
    if (!start_cache() || varn_device_subscribe(&notices) || varn_device_descriptor() < 0) {
        std::fprintf(stderr, "watch: could not start: %s\n", varn_device_last_error_text());
        return 1;
    }
    std::map<uint32_t, uint32_t> known;
    print_changes(known);
    std::printf("watching %zu interfaces\n", known.size());
    std::fflush(stdout);
    unsigned long printed = 0;
    while (wanted == 0 || printed < wanted) {
        pollfd ready{varn_device_descriptor(), POLLIN, 0};
        if (poll(&ready, 1, -1) < 0)
            continue;
        varn_device_dispatch(0);
        printed += print_changes(known);
    }
    return 0;
}
