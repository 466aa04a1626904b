// SPDX-License-Identifier: Apache-2.0
//
// The count of forks between this process and the one that asked first. It is raised in the child,
// by the one thread that a child starts with, before fork returns there.
#include "fork_generation.h"

#include <pthread.h>

#include <atomic>

namespace
{

constinit std::atomic<uint32_t> generation{1};
pthread_once_t watched = PTHREAD_ONCE_INIT;

void raise_generation() { generation.fetch_add(1, std::memory_order_relaxed); }

void watch_forks()
{
    if (pthread_atfork(nullptr, nullptr, raise_generation) != 0)
        generation.store(0, std::memory_order_relaxed);
}

} // namespace

uint32_t device_runtime::fork_generation()
{
    pthread_once(&watched, watch_forks);
    return generation.load(std::memory_order_relaxed);
}
