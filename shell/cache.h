// SPDX-License-Identifier: Apache-2.0
//
// cache.h: how this process uses the cache. It starts it with everything cached, and gives what is
// missing there for a client that talks to a person: whether an answer can be believed.
//
// The cache keeps what a service answers, and a service that is gone answers 0. So every question
// is asked within an attempt: when a request under it failed, what was filled meanwhile is marked
// stale again, and only what was clean before is still served from memory.
#ifndef VARNSH_CACHE_H
#define VARNSH_CACHE_H

#include <cstdint>
#include <string>

#include "varn.h"

namespace shell
{

using u32 = std::uint32_t;
using u64 = std::uint64_t;

inline constexpr u32 own_uuid = 1; // key of this client's event history and of extension 0

// Starts the cache. Reports go to standard error, and traces too where they are wanted.
bool start_cache(bool with_traces);

// Gives back every entry and the tables.
void end_cache();

// What a fresh entry has to ask: all that is cached, but for what names the entry itself.
u64 askable();

// The entry of an iod if there is one; asks nobody.
varn_if_entry_t *entry_at_hand(u32 iod);

class attempt
{
public:
    explicit attempt(u32 iod);

    // Empty when every request since the beginning was answered; otherwise the reason, and the
    // cache is as unsure as it was before.
    std::string failure();

private:
    u32 iod_;
    bool was_there_;
    u64 dirty_;
};

} // namespace shell

#endif
