// SPDX-License-Identifier: Apache-2.0
//
// connections.h: the clients of the service. Each has a D-Bus connection of its own, on which the
// table of requests is published as one object. A client that breaks the protocol loses its
// connection and nothing else happens.
#ifndef VARN_DEVICE_CONNECTIONS_H
#define VARN_DEVICE_CONNECTIONS_H

#include <list>
#include <memory>
#include <vector>

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include "device_model.h"
#include "requests.h"

namespace device
{

class connections
{
public:
    connections(device_model &model, sd_event *loop);
    ~connections();
    connections(const connections &) = delete;
    connections &operator=(const connections &) = delete;

    // Takes over the socket of a new client.
    void add(int fd);

private:
    struct client;
    struct bound_request { // what a request's handler finds under its userdata
        client *from;
        const request *row;
    };
    struct client {
        connections *owner = nullptr;
        sd_bus *bus = nullptr;
        tally count;
        std::vector<bound_request> bound;

        ~client() { sd_bus_close_unref(bus); }
    };

    static int on_request(sd_bus_message *request, void *bound, sd_bus_error *error);
    static int on_hello(sd_bus_message *request, void *, sd_bus_error *);
    static int on_disconnect(sd_bus_message *, void *from, sd_bus_error *);

    int serve(client &added, int fd);
    void build_vtable();

    device_model &model_;
    sd_event *loop_;
    tally count_;
    std::vector<sd_bus_vtable> vtable_; // outlives every client
    std::list<client> clients_;
};

} // namespace device

#endif
