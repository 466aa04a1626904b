// SPDX-License-Identifier: Apache-2.0
//
// follower.h: how a client keeps the cache true. Every notice of the device goes to the handler
// that the cache has for it; for what it has none, the recipe of varn_device.h is followed. A
// worked example: a program of its own can take this file as it is.
//
// It asks of the configuration that crit is sync without VARN_BIT_IOD.
#ifndef VARNSH_FOLLOWER_H
#define VARNSH_FOLLOWER_H

#include "varn_device.h"

namespace shell
{

// The callbacks for varn_device_subscribe. `any` and `added` are left to the caller, and so is
// `arg`, of which none of these makes use.
varn_device_notices_t follower_notices();

// Takes everything out of the cache. For lost notices, and after the cache was off: what was told
// meanwhile went past it.
void forget_everything();

} // namespace shell

#endif
