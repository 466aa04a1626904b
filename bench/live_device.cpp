// SPDX-License-Identifier: Apache-2.0
//
// Finds an interface on the live device: the first one that it lists.
#include "live_device.h"

#include <cstdio>
#include <cstdlib>

#include "ifsvc.h"
#include "varn.h"
#include "varn_device.h"

namespace
{

uint32_t subject_iod;
uint32_t subject_if_index;

[[noreturn]] void give_up(const char *what)
{
    std::fprintf(stderr, "varn_bench: %s: %s\n", what, varn_device_last_error_text());
    std::exit(1);
}

// The event history would be measured with the library otherwise.
void discard(uintptr_t, const char *, ...) {}

constexpr uint64_t interface_attributes = (uint64_t{1} << 30) - 1;

} // namespace

void bench::start()
{
    uint32_t count = 0;
    if (varn_device_connect(nullptr) || varn_device_list_iods(&subject_iod, 1, &count))
        give_up("no service to ask");
    if (count == 0 || ifsvc_get_ifindex_frm_iod(subject_iod, &subject_if_index))
        give_up("the service has no interface");
    varn_config_t config{};
    config.sync = interface_attributes;
    config.debug_print_arg = discard;
    if (!varn_init(&config))
        give_up("the library did not start");
}

uint32_t bench::iod() { return subject_iod; }
uint32_t bench::if_index() { return subject_if_index; }
