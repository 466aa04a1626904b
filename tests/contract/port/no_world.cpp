// SPDX-License-Identifier: Apache-2.0
//
// no_world.cpp: the hooks of a port that has none.
#include "contract_world.h"

const contract_world_t *contract_world_hooks(void)
{
    static const contract_world_t nothing{};
    return &nothing;
}
