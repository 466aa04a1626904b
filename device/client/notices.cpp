// SPDX-License-Identifier: Apache-2.0
//
// notices.cpp: subscribing, taking in, handing out.
//
// A notice has three places to wait: the socket, sd-bus's own queue, into which whatever comes
// before the answer of a request is read, and the stream of this process. It goes from one to the
// next only when the next is empty, so that nothing overflows while somebody dispatches; but sd-bus's
// queue is kept short after each request, since a client may ask for long and never dispatch.
// Callbacks are called from varn_device_dispatch alone, and never while sd-bus is at work.
#include "notices.h"

#include <cerrno>
#include <cstring>

#include <sys/epoll.h>

#include "descriptor.h"
#include "device/service/wire.h"
#include "notice_stream.h"
#include "records.h"

namespace client
{
namespace
{

constexpr u64 most_left_to_bus = 1024;

struct state {
    varn_device_notices_t callbacks;
    bool subscribed;
    bool refused; // the service gives no notices
    bool dispatching;
};

state self;
constinit notice_stream stream;
constinit descriptor waited_for;

u64 unread(sd_bus *bus)
{
    u64 count = 0;
    return bus != nullptr && sd_bus_get_n_queued_read(bus, &count) >= 0 ? count : 0;
}

bool find_kind(const char *name, wire::notice_kind &kind)
{
    for (std::size_t n = 0; n < wire::num_notice_kinds; ++n)
        if (name != nullptr && std::strcmp(name, wire::notice_names[n]) == 0) {
            kind = static_cast<wire::notice_kind>(n);
            return true;
        }
    return false;
}

bool read_mac(sd_bus_message *signal, std::array<u8, 6> &mac)
{
    const void *bytes = nullptr;
    std::size_t size = 0;
    if (sd_bus_message_read_array(signal, 'y', &bytes, &size) < 0 || size != mac.size())
        return false;
    std::memcpy(mac.data(), bytes, size);
    return true;
}

// The parts of wire::notice_signature around the array, which is read by itself.
bool read_notice(sd_bus_message *signal, u64 &epoch, u64 &sequence, wire::notice &told)
{
    return find_kind(sd_bus_message_get_member(signal), told.kind) &&
           sd_bus_message_has_signature(signal, wire::notice_signature) > 0 &&
           sd_bus_message_read(signal, "ttuuyq", &epoch, &sequence, &told.if_index, &told.iod,
                               &told.state, &told.mtu) > 0 &&
           read_mac(signal, told.mac) &&
           sd_bus_message_read(signal, "uuuut", &told.vlan, &told.old_member, &told.new_member,
                               &told.key, &told.parameters) > 0;
}

// What cannot be read may have said anything.
void take(sd_bus_message *message)
{
    if (!self.subscribed || sd_bus_message_is_signal(message, wire::interface_name, nullptr) <= 0)
        return;
    u64 epoch = 0, sequence = 0;
    wire::notice told;
    if (read_notice(message, epoch, sequence, told))
        stream.accept(epoch, sequence, told);
    else
        stream.lose("a notice could not be understood");
}

// Lets sd-bus do one thing; false: there was nothing to do.
bool take_in_one()
{
    sd_bus *bus = connection();
    if (bus == nullptr)
        return false;
    sd_bus_message *message = nullptr;
    const int result = sd_bus_process(bus, &message);
    if (message != nullptr)
        take(message);
    sd_bus_message_unref(message);
    if (result < 0 && result != -EINTR)
        give_up_connection(result);
    return result > 0 || result == -EINTR;
}

// Asks for notices, or for no more of them. Negative: the connection is of no use.
int subscribe(bool on, u64 deadline)
{
    const appended with(
        [on](sd_bus_message *request) { return sd_bus_message_append(request, "b", int{on}); });
    sd_bus_message *answer = nullptr;
    const outcome out = call("Subscribe", with, deadline, answer);
    u64 epoch = 0, sequence = 0;
    self.refused = out.result >= 0 && (out.code != VARN_DEVICE_OK ||
                                       sd_bus_message_read(answer, "tt", &epoch, &sequence) <= 0);
    sd_bus_message_unref(answer);
    if (out.result < 0 || !on)
        return out.result;
    if (self.refused)
        stream.lose("the service gives no notices");
    else
        stream.begin(epoch, sequence);
    return 0;
}

// The same over the connection that there is, if it holds.
void subscribe_now(bool on)
{
    const int result = connection() != nullptr ? subscribe(on, deadline_from_now()) : 0;
    if (result < 0)
        give_up_connection(result);
}

// A connection may have broken since it was used last: then over a new one.
u32 begin_subscription()
{
    self.refused = false;
    subscribe_now(true);
    if (connection() == nullptr && now() >= attempts_allowed_from())
        connect_again();
    if (connection() == nullptr)
        stream.note_failed_request();
    if (!self.refused)
        return VARN_DEVICE_OK;
    self.subscribed = false;
    stream.forget();
    return note(VARN_DEVICE_E_REFUSED, "the service gives no notices");
}

// Whatever is still on its way belongs to nobody.
void end_subscription()
{
    if (!self.subscribed)
        return;
    self.subscribed = false;
    subscribe_now(false);
    while (unread(connection()) > 0 && take_in_one())
        ;
    self.refused = false;
    stream.forget();
}

u64 next_attempt()
{
    return connection() == nullptr && self.subscribed ? attempts_allowed_from() : 0;
}

// The next notice, from wherever it waits. One attempt to connect for a call of dispatch: `patient`
// says whether it is still to be made.
bool find_next(notice_stream::queued &next, bool &patient)
{
    while (stream.is_empty()) {
        if (take_in_one())
            continue;
        const u64 at = next_attempt();
        if (!patient || at == 0 || now() < at)
            return false;
        patient = false;
        connect_again();
    }
    return stream.take(next);
}

} // namespace

int join_stream(u64 deadline) { return self.subscribed ? subscribe(true, deadline) : 0; }

void note_failed_request()
{
    if (self.subscribed)
        stream.note_failed_request();
}

void look_after_notices()
{
    while (unread(connection()) > most_left_to_bus && take_in_one())
        ;
    descriptor::reasons why;
    if (sd_bus *bus = connection(); bus != nullptr) {
        const int events = sd_bus_get_events(bus);
        why.connection = sd_bus_get_fd(bus);
        const bool unwritten = events > 0 && (static_cast<u32>(events) & EPOLLOUT) != 0;
        why.events = unwritten ? EPOLLIN | EPOLLOUT : EPOLLIN;
        why.queued = unread(bus) > 0;
    }
    why.queued = why.queued || !stream.is_empty();
    why.connect_at = next_attempt();
    waited_for.set(why);
}

void before_closing() { waited_for.leave_connection(); }

} // namespace client

using namespace client;

uint32_t varn_device_subscribe(const varn_device_notices_t *callbacks)
{
    if (self.dispatching)
        return note(VARN_DEVICE_E_ARGUMENT, "a callback may not change the subscription");
    u32 code = VARN_DEVICE_OK;
    if (callbacks == nullptr) {
        end_subscription();
    } else {
        self.callbacks = *callbacks;
        if (!self.subscribed) {
            self.subscribed = true;
            code = begin_subscription();
        }
    }
    look_after_notices();
    return code;
}

int varn_device_descriptor(void)
{
    const int made = waited_for.get();
    look_after_notices();
    return made;
}

uint32_t varn_device_dispatch(uint32_t most)
{
    if (self.dispatching)
        return 0;
    self.dispatching = true;
    bool patient = true;
    u32 handed_out = 0;
    notice_stream::queued next{};
    while ((most == 0 || handed_out < most) && find_next(next, patient)) {
        ++handed_out;
        deliver(next.told, next.sequence, next.why, self.callbacks);
    }
    self.dispatching = false;
    look_after_notices();
    return handed_out;
}

uint32_t varn_device_is_connected(void) { return connection() != nullptr; }
