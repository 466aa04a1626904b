// SPDX-License-Identifier: Apache-2.0
//
// records.h: from a notice on the wire to the notification record that the cache's handler takes.
// Pure: asks no one, keeps nothing.
#ifndef VARN_DEVICE_CLIENT_RECORDS_H
#define VARN_DEVICE_CLIENT_RECORDS_H

#include <cstdint>

#include "device/service/notice.h"
#include "varn_device.h"

namespace client
{

// Calls `any` and the callback of the notice's kind, where there are such. `why` belongs to a lost
// notice.
void deliver(const wire::notice &told, std::uint64_t sequence, const char *why,
             const varn_device_notices_t &to);

} // namespace client

#endif
