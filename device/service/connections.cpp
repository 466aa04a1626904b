// SPDX-License-Identifier: Apache-2.0
//
// connections.cpp: publishes the table of requests and the notices over sd-bus.
//
// Notices that find no room in a connection are handed over at the end of a turn of the event loop,
// when the connection may have been written to. Clients that are dropped go then as well: never
// while a message of theirs is being handled.
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

// sd-bus has a queue of its own in front of the socket, which cannot be taken back. It is kept
// short, but for what has to go out before an answer.
constexpr std::uint64_t usual_room = 64;
constexpr std::uint64_t any_room = 2 * longest_queue;
constexpr std::uint64_t most_unread = 256; // answers

// sd-bus asks the kernel for 8 MB in front of a client. This is some hundred notices, which the
// kernel doubles; the rest waits where it can still be dropped.
constexpr int socket_buffer = 128 * 1024;

#define NAMED(x) x "\0"
constexpr char notice_fields[] = NAMED("epoch") NAMED("sequence") NAMED("if_index") NAMED("iod")
    NAMED("state") NAMED("mtu") NAMED("mac") NAMED("vlan") NAMED("old_member") NAMED("new_member")
        NAMED("key") NAMED("parameters");

std::uint64_t new_epoch()
{
    sd_id128_t random{};
    while (random.qwords[0] == 0)
        if (sd_id128_randomize(&random) < 0)
            random.qwords[0] = static_cast<std::uint64_t>(getpid());
    return random.qwords[0];
}

ucred peer_of(int fd)
{
    ucred peer = {0, static_cast<uid_t>(-1), static_cast<gid_t>(-1)};
    socklen_t size = sizeof peer;
    getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size);
    return peer;
}

bool may_change_device(const ucred &peer) { return peer.uid == 0 || peer.uid == geteuid(); }

} // namespace

connections::connections(device_model &model, sd_event *loop, std::size_t queue)
    : model_(model), loop_(loop), queue_(queue)
{
    position_.epoch = new_epoch();
    build_vtable();
    sd_event_add_post(loop, &turn_, on_turn, this);
}

connections::~connections()
{
    clients_.clear();
    sd_event_source_disable_unref(turn_);
}

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
    for (const char *name : wire::notice_names) {
        sd_bus_vtable signal = SD_BUS_SIGNAL("", "", 0);
        signal.x.signal.member = name;
        signal.x.signal.signature = wire::notice_signature;
        signal.x.signal.names = notice_fields;
        vtable_.push_back(signal);
    }
    vtable_.push_back(SD_BUS_VTABLE_END);
}

// ---- Clients

void connections::add(int fd)
{
    if (clients_.size() >= max_clients) {
        std::fprintf(stderr, "varn-deviced: too many clients; one was turned away\n");
        close(fd);
        return;
    }
    client &added = clients_.emplace_back(*this, queue_);
    added.peer = peer_of(fd);
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
    // From here on the bus owns the descriptor. Trusted: sd-bus leaves it to this file who may do
    // what.
    if ((result = sd_bus_set_server(added.bus, 1, id)) < 0 ||
        (result = sd_bus_set_trusted(added.bus, 1)) < 0 || (result = sd_bus_start(added.bus)) < 0 ||
        (result = publish(added)) < 0)
        return result;
    setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &socket_buffer, sizeof socket_buffer);
    return sd_bus_attach_event(added.bus, loop_, SD_EVENT_PRIORITY_NORMAL);
}

int connections::publish(client &added)
{
    static const sd_bus_vtable hello[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Hello", "", "s", on_hello, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    };
    int result = sd_bus_add_filter(added.bus, nullptr, on_message, &added);
    if (result >= 0)
        result = sd_bus_add_object_vtable(added.bus, nullptr, wire::object_path,
                                          wire::interface_name, vtable_.data(), added.bound.data());
    if (result >= 0)
        result = sd_bus_add_object_vtable(added.bus, nullptr, "/org/freedesktop/DBus",
                                          "org.freedesktop.DBus", hello, nullptr);
    if (result >= 0)
        result = sd_bus_match_signal_async(
            added.bus, nullptr, "org.freedesktop.DBus.Local", "/org/freedesktop/DBus/Local",
            "org.freedesktop.DBus.Local", "Disconnected", on_disconnect, nullptr, &added);
    return result;
}

void connections::drop(client &from)
{
    from.dropped = true;
    unfinished_ = true;
}

int connections::on_disconnect(sd_bus_message *, void *userdata, sd_bus_error *)
{
    client *gone = static_cast<client *>(userdata);
    gone->owner.clients_.remove_if([gone](const client &c) { return &c == gone; });
    return 0;
}

// ---- Requests

// All that are unwritten are notices of after the last request: then its answer has been written.
void connections::note_unread(client &from)
{
    const std::uint64_t told = from.notices.handed_over() - from.told_before_request;
    from.told_before_request = from.notices.handed_over();
    from.unread = unwritten(from.bus) <= told ? 0 : from.unread + 1;
    if (from.unread <= most_unread)
        return;
    std::fprintf(stderr, "varn-deviced: pid %d of uid %u does not read its answers; dropped\n",
                 from.peer.pid, from.peer.uid);
    drop(from);
}

// Sees every message before it is handled, those too that sd-bus answers itself.
int connections::on_message(sd_bus_message *message, void *userdata, sd_bus_error *)
{
    client &from = *static_cast<client *>(userdata);
    if (!from.dropped && sd_bus_message_is_method_call(message, nullptr, nullptr) > 0)
        from.owner.note_unread(from);
    const bool handled = from.dropped && sd_bus_message_is_signal(
                                             message, "org.freedesktop.DBus.Local", nullptr) <= 0;
    return handled ? 1 : 0;
}

int connections::on_request(sd_bus_message *message, void *userdata, sd_bus_error *error)
{
    const auto *bound = static_cast<const bound_request *>(userdata);
    client &from = *bound->from;
    connections &owner = from.owner;
    owner.pump(from, any_room);
    if (bound->row->counted) {
        ++from.count.answered;
        ++owner.count_.answered;
    }
    if (bound->row->changes_device && !may_change_device(from.peer)) {
        std::fprintf(stderr,
                     "varn-deviced: pid %d of uid %u may not change the device: %s was refused\n",
                     from.peer.pid, from.peer.uid, bound->row->name);
        return sd_bus_error_setf(error, wire::not_permitted, "uid %u may not change the device",
                                 from.peer.uid);
    }
    owner.asking_ = &from;
    const int result = bound->row->answer({.model = owner.model_,
                                           .all_clients = owner.count_,
                                           .this_client = from.count,
                                           .notices = from.notices,
                                           .position = owner.position_,
                                           .request = message,
                                           .error = error,
                                           .inventory = owner.inventory_});
    owner.asking_ = nullptr;
    return result;
}

// Tools that are made for a bus greet it first; there is no bus here, so the greeting is answered.
int connections::on_hello(sd_bus_message *request, void *, sd_bus_error *)
{
    return sd_bus_reply_method_return(request, "s", ":1.1");
}

// ---- Notices

// Who changes the device by a request has the notices of it before the answer.
void connections::notify(const wire::notice &told)
{
    ++position_.sequence;
    for (client &to : clients_) {
        to.notices.add(position_, told);
        pump(to, &to == asking_ ? any_room : usual_room);
    }
}

void connections::pump(client &to, std::uint64_t room)
{
    if (to.dropped || to.notices.is_empty())
        return;
    if (to.notices.pump(to.bus, position_.epoch, room) < 0)
        drop(to);
    if (!to.notices.is_empty())
        unfinished_ = true;
}

int connections::on_turn(sd_event_source *, void *userdata)
{
    auto *self = static_cast<connections *>(userdata);
    if (!self->unfinished_)
        return 0;
    self->unfinished_ = false;
    for (client &to : self->clients_)
        self->pump(to, usual_room);
    self->clients_.remove_if([](const client &c) { return c.dropped; });
    return 0;
}

} // namespace device
