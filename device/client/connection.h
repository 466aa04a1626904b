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
