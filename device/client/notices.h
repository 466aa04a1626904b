// SPDX-License-Identifier: Apache-2.0
//
// notices.h: what the connection tells the notices that travel over it. The other way round, what
// notices need of the connection stands in connection.h.
#ifndef VARN_DEVICE_CLIENT_NOTICES_H
#define VARN_DEVICE_CLIENT_NOTICES_H

#include "connection.h"

namespace client
{

// A connection was made: subscribes over it, if this process wants notices. Negative: the
// connection is of no use.
int join_stream(u64 deadline);

// A request failed for want of a connection, or of an answer in time.
void note_failed_request();

// Something about the connection may have changed, or something may have arrived over it.
void look_after_notices();

// The connection is about to be closed.
void before_closing();

} // namespace client

#endif
