// SPDX-License-Identifier: Apache-2.0
//
// connection.h: the one connection of this process to the service, and the one way to ask over it.
#ifndef VARN_DEVICE_CONNECTION_H
#define VARN_DEVICE_CONNECTION_H

#include <cstddef>
#include <cstdint>

#include <systemd/sd-bus.h>

namespace client
{

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

// The arguments of a request, which sd-bus reads by their signature.
class arguments
{
public:
    virtual int append_to(sd_bus_message *request) const = 0;

protected:
    ~arguments() = default;
};

// Sends a request and waits for its answer. The answer is borrowed: it and all that is read from it
// stay good until the next call. Gives 0 or the code of the failure, which is also noted.
u32 ask(const char *name, const arguments &with, sd_bus_message *&answer);

// The same for scalar arguments and texts, as sd_bus_message_append takes them.
template <typename... Values>
u32 ask(sd_bus_message *&answer, const char *name, const char *types, Values... values);

// The same for a request whose answer is one number.
template <typename... Values>
u32 ask_number(u32 *number, const char *name, const char *types, Values... values);

// Notes a failure for varn_device_last_error and gives its code.
u32 note(u32 code, const char *explanation);

// ---- For the notices, which share the connection ----

sd_bus *connection(); // null: none is open

struct outcome {
    int result; // negative: the connection is of no more use
    u32 code;
};

// One attempt to ask over the open connection. The answer is the caller's.
outcome call(const char *name, const arguments &with, u64 deadline, sd_bus_message *&answer);

// Times are microseconds of the monotonic clock.
u64 now();
u64 deadline_from_now(); // of a request that begins now

// Closes a connection that broke while no request was under way, by the failure that showed it.
void give_up_connection(int negative_errno);

// From when on connect_again may be called.
u64 attempts_allowed_from();

// One attempt to connect, no part of a request: the last error stays what it is.
void connect_again();

// ---- What the templates are made of ----

template <typename Append>
class appended final : public arguments
{
public:
    explicit appended(Append append) : append_(append) {}
    int append_to(sd_bus_message *request) const override { return append_(request); }

private:
    Append append_;
};

u32 read_number(sd_bus_message *answer, u32 *number);

template <typename... Values>
u32 ask(sd_bus_message *&answer, const char *name, const char *types, Values... values)
{
    const appended with(
        [=](sd_bus_message *request) { return sd_bus_message_append(request, types, values...); });
    return ask(name, with, answer);
}

template <typename... Values>
u32 ask_number(u32 *number, const char *name, const char *types, Values... values)
{
    sd_bus_message *answer = nullptr;
    const u32 code = ask(answer, name, types, values...);
    return code == 0 ? read_number(answer, number) : code;
}

} // namespace client

#endif
