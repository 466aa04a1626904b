// SPDX-License-Identifier: Apache-2.0
//
// requests.h: what may be asked of the device, as one table of rows: the name on the wire, its
// arguments and results, and how the answer is read off the model.
#ifndef VARN_DEVICE_REQUESTS_H
#define VARN_DEVICE_REQUESTS_H

#include <span>
#include <string>
#include <vector>

#include <systemd/sd-bus.h>

#include "device_model.h"
#include "notice_queue.h"

namespace device
{

class inventory;

struct tally {
    std::uint64_t answered = 0; // requests answered, errors included; see request::counted
};

// Everything that an answer may look at.
struct call {
    device_model &model;
    const tally &all_clients;
    const tally &this_client;
    notice_queue &notices; // of the client that asks
    const stream_position &position;
    sd_bus_message *request;
    sd_bus_error *error;                    // filled by an answer that returns a negative number
    device::inventory *inventory = nullptr; // null: this device is not changed by requests
};

struct request {
    const char *name;
    const char *takes;      // D-Bus signature
    const char *gives;      // D-Bus signature
    const char *parameters; // names of what is taken and given, as SD_BUS_PARAM writes them
    int (*answer)(const call &);
    bool counted = true;         // in the figures of Stats
    bool changes_device = false; // for those only who may do so
};

std::span<const request> requests();

} // namespace device

#endif
