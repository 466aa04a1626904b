// SPDX-License-Identifier: Apache-2.0
//
// The calling thread's id, asked of the system once a thread. A forked child's thread is another
// one, although it inherits the parent's thread-local memory: the answer is kept for one fork
// generation.
#include "thrsvc.h"

#include "fork_generation.h"

#include <unistd.h>

namespace
{

struct kept_id {
    uint32_t generation; // 0: nothing kept
    uint32_t id;
};

constinit thread_local kept_id kept{};

} // namespace

uint32_t thrsvc_get_thread_pid(void)
{
    const uint32_t generation = device_runtime::fork_generation();
    if (generation == 0 || kept.generation != generation)
        kept = {generation, static_cast<uint32_t>(gettid())};
    return kept.id;
}
