// SPDX-License-Identifier: Apache-2.0
//
// The device as a whole, and its face towards C.
#include "scripted_device.h"

#include "lent.h"
#include "scripted_device_c.h"

namespace scripted
{

void reset()
{
    reset_services();
    reset_journal();
    reset_world();
    reset_tables();
    reset_memory();
    reset_process();
    take_back();
}

} // namespace scripted

void scripted_reset(void) { scripted::reset(); }

void scripted_given_port(std::uint32_t n) { scripted::given(scripted::port(n)); }

void scripted_set_linkup(std::uint32_t iod, std::uint32_t linkup)
{
    scripted::the(iod).linkup(linkup);
}

const char *scripted_calls(void)
{
    static std::string lines;
    lines = scripted::calls();
    return lines.c_str();
}
