// SPDX-License-Identifier: Apache-2.0
//
// connections.h: the clients of the service. Each has a D-Bus connection of its own, on which the
// table of requests and the notices are published as one object. A client that breaks the protocol,
// or that asks and asks and never reads, loses its connection and nothing else happens.
//
// The stream of one client has one order: whatever it is still to be told goes out before the next
// of its requests is answered. So no answer is older than a notice that the client has before it.
//
// Who may connect may ask everything; that is the socket's mode. Who may change the device is
// narrower: root and the user that the service runs as.
#ifndef VARN_DEVICE_CONNECTIONS_H
#define VARN_DEVICE_CONNECTIONS_H

#include <list>
#include <memory>
#include <vector>

#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include "device_model.h"
#include "notice_queue.h"
#include "requests.h"

namespace device
{

class connections
{
public:
    connections(device_model &model, sd_event *loop, std::size_t queue = default_queue);
    ~connections();
    connections(const connections &) = delete;
    connections &operator=(const connections &) = delete;

    // Requests may change the device, through its inventory.
    void take_changes(inventory &told) { inventory_ = &told; }

    // Takes over the socket of a new client.
    void add(int fd);

    // Tells every client that asked for notices, each as soon as it reads.
    void notify(const wire::notice &told);

private:
    struct client;
    struct bound_request { // what a request's handler finds under its userdata
        client *from;
        const request *row;
    };
    struct client {
        client(connections &its_owner, std::size_t queue) : owner(its_owner), notices(queue) {}
        client(const client &) = delete;
        client &operator=(const client &) = delete;
        ~client() { sd_bus_close_unref(bus); }

        connections &owner;
        sd_bus *bus = nullptr;
        ucred peer{};
        tally count;
        notice_queue notices;
        std::vector<bound_request> bound;
        std::uint64_t told_before_request = 0; // notices handed over when it asked last
        std::uint64_t unread = 0; // requests since all answers were last known to be written
        bool dropped = false;     // to be removed at the end of the turn
    };

    static int on_message(sd_bus_message *message, void *from, sd_bus_error *);
    static int on_request(sd_bus_message *request, void *bound, sd_bus_error *error);
    static int on_hello(sd_bus_message *request, void *, sd_bus_error *);
    static int on_disconnect(sd_bus_message *, void *from, sd_bus_error *);
    static int on_turn(sd_event_source *, void *self);

    int serve(client &added, int fd);
    int publish(client &added);
    void build_vtable();
    void pump(client &to, std::uint64_t room);
    void drop(client &from);
    void note_unread(client &from);

    device_model &model_;
    inventory *inventory_ = nullptr;
    sd_event *loop_;
    std::size_t queue_;
    sd_event_source *turn_ = nullptr;
    stream_position position_;
    tally count_;
    std::vector<sd_bus_vtable> vtable_; // outlives every client
    std::list<client> clients_;
    client *asking_ = nullptr; // whose request is being answered
    bool unfinished_ = false;  // something waits for a client, or one is to be removed
};

} // namespace device

#endif
