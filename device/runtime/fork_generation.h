// SPDX-License-Identifier: Apache-2.0
//
// Telling a forked child from its parent without a system call, for whatever is kept per process
// and must not be taken over by a child.
#ifndef DEVICE_RUNTIME_FORK_GENERATION_H
#define DEVICE_RUNTIME_FORK_GENERATION_H

#include <cstdint>

namespace device_runtime
{

// Gives a number that is the same for the life of a process and another one in each child forked
// after the first call. 0: forks cannot be watched, so nothing may be kept.
uint32_t fork_generation();

} // namespace device_runtime

#endif
