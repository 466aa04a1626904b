// SPDX-License-Identifier: Apache-2.0
//
// connections.cpp: publishes the request table over sd-bus.
#include "connections.h"

#include <cstdio>
#include <cstring>

#include <unistd.h>

#include "wire.h"

namespace device
{
namespace
{

constexpr std::size_t max_clients = 512; // well below the usual limit of open files

} // namespace

connections::connections(device_model &model, sd_event *loop) : model_(model), loop_(loop)
{
    build_vtable();
}

connections::~connections() { clients_.clear(); }

// sd-bus hands a handler the address userdata + offset, which leads to the bound row.
void connections::build_vtable()
{
    vtable_.push_back(SD_BUS_VTABLE_START(0));
    for (const request &row : requests()) {
        sd_bus_vtable method = SD_BUS_METHOD("", "", "", on_request, 0);
        method.x.method.member = row.name;
        method.x.method.signature = row.takes;
        method.x.method.result = row.gives;
        method.x.method.names = row.parameters;
        method.x.method.offset = (vtable_.size() - 1) * sizeof(bound_request);
        vtable_.push_back(method);
    }
    vtable_.push_back(SD_BUS_VTABLE_END);
}

void connections::add(int fd)
{
    if (clients_.size() >= max_clients) {
        std::fprintf(stderr, "varn-deviced: too many clients; one was turned away\n");
        close(fd);
        return;
    }
    client &added = clients_.emplace_back();
    added.owner = this;
    for (const request &row : requests())
        added.bound.push_back({&added, &row});
    const int result = serve(added, fd);
    if (result < 0) {
        std::fprintf(stderr, "varn-deviced: cannot serve a client: %s\n", std::strerror(-result));
        clients_.pop_back();
    }
}

int connections::serve(client &added, int fd)
{
    static const sd_bus_vtable hello[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Hello", "", "s", on_hello, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    };
    sd_id128_t id;
    int result = sd_id128_randomize(&id);
    if (result >= 0)
        result = sd_bus_new(&added.bus);
    if (result >= 0)
        result = sd_bus_set_fd(added.bus, fd, fd);
    if (result < 0) {
        close(fd);
        return result;
    }
    // From here on the bus owns the descriptor. The socket's mode says who may connect; who is
    // connected may ask everything.
    if ((result = sd_bus_set_server(added.bus, 1, id)) < 0 ||
        (result = sd_bus_set_trusted(added.bus, 1)) < 0 || (result = sd_bus_start(added.bus)) < 0 ||
        (result =
             sd_bus_add_object_vtable(added.bus, nullptr, wire::object_path, wire::interface_name,
                                      vtable_.data(), added.bound.data())) < 0 ||
        (result = sd_bus_add_object_vtable(added.bus, nullptr, "/org/freedesktop/DBus",
                                           "org.freedesktop.DBus", hello, nullptr)) < 0 ||
        (result = sd_bus_match_signal_async(
             added.bus, nullptr, "org.freedesktop.DBus.Local", "/org/freedesktop/DBus/Local",
             "org.freedesktop.DBus.Local", "Disconnected", on_disconnect, nullptr, &added)) < 0)
        return result;
    return sd_bus_attach_event(added.bus, loop_, SD_EVENT_PRIORITY_NORMAL);
}

int connections::on_request(sd_bus_message *message, void *userdata, sd_bus_error *error)
{
    const auto *bound = static_cast<const bound_request *>(userdata);
    client &from = *bound->from;
    connections &owner = *from.owner;
    if (bound->row->counted) {
        ++from.count.answered;
        ++owner.count_.answered;
    }
    return bound->row->answer({owner.model_, owner.count_, from.count, message, error});
}

// Tools that are made for a bus greet it first; there is no bus here, so the greeting is answered.
int connections::on_hello(sd_bus_message *request, void *, sd_bus_error *)
{
    return sd_bus_reply_method_return(request, "s", ":1.1");
}

int connections::on_disconnect(sd_bus_message *, void *userdata, sd_bus_error *)
{
    client *gone = static_cast<client *>(userdata);
    gone->owner->clients_.remove_if([gone](const client &c) { return &c == gone; });
    return 0;
}

} // namespace device
