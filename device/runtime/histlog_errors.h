// SPDX-License-Identifier: Apache-2.0
//
// The error codes with which this device refuses a history record.
#ifndef DEVICE_RUNTIME_HISTLOG_ERRORS_H
#define DEVICE_RUNTIME_HISTLOG_ERRORS_H

#include <cstdint>

namespace histlog
{

enum error : uint32_t {
    ok = 0,
    no_store = 1,    // this process has no history file; asked for once, not again
    too_long = 2,    // longer than record_max
    bad_argument = 3 // bytes are announced and none given
};

} // namespace histlog

#endif
