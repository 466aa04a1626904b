// SPDX-License-Identifier: Apache-2.0
//
// Every exported query that can hit, as one question about an interface of the platform stub.
#pragma once

#include <cstdint>
#include <span>

namespace bench
{

struct exported_query {
    const char *name;
    uint32_t (*ask)(uint32_t iod);
};

std::span<const exported_query> exported_queries();

} // namespace bench
