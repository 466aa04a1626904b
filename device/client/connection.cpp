// SPDX-License-Identifier: Apache-2.0
//
// connection.cpp: connecting, waiting, failing, and trying again.
//
// Every wait is bounded by the deadline of the request that causes it, connecting included. A
// connection on which an answer did not come in time is closed, because the answer may still come
// and nobody would take it. While a pause lasts, requests fail with the code of the failure that
// began it.
#include "connection.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include "device/service/wire.h"
#include "varn_device.h"

namespace client
{
namespace
{

constexpr u64 usec_per_msec = 1000;
constexpr u64 first_pause = 50 * usec_per_msec;
constexpr u64 longest_pause = 2000 * usec_per_msec;
constexpr std::size_t longest_path = 107; // of a Unix socket
static_assert(std::string_view(VARN_DEVICE_DEFAULT_SOCKET) == wire::default_socket);

struct state {
    sd_bus *bus;
    sd_bus_message *answer; // the last one, which the caller may still read
    char path[longest_path + 1];
    u64 timeout; // microseconds; 0 = the default
    u64 pause;   // length of the next pause; 0 = none was needed yet
    u64 closed_until;
    u32 closed_code;
    char closed_text[256];
    u64 requests;
    u32 error;
    char error_text[256];
};

state self;

u64 now()
{
    timespec at{};
    clock_gettime(CLOCK_MONOTONIC, &at);
    return static_cast<u64>(at.tv_sec) * 1000000 + static_cast<u64>(at.tv_nsec) / 1000;
}

u64 timeout()
{
    return self.timeout != 0 ? self.timeout : VARN_DEVICE_DEFAULT_TIMEOUT_MS * usec_per_msec;
}

void forget_answer() { self.answer = sd_bus_message_unref(self.answer); }

void close_bus()
{
    forget_answer();
    self.bus = sd_bus_close_unref(self.bus);
}

void open_gate()
{
    self.pause = 0;
    self.closed_until = 0;
}

u32 choose_path(const char *path)
{
    const char *from_environment = std::getenv(VARN_DEVICE_SOCKET_VARIABLE);
    if (path == nullptr)
        path = from_environment;
    if (path == nullptr || *path == '\0')
        path = VARN_DEVICE_DEFAULT_SOCKET;
    const std::size_t length = std::strlen(path);
    if (length > longest_path)
        return note(VARN_DEVICE_E_ARGUMENT, "the socket's path is too long");
    std::memcpy(self.path, path, length + 1);
    return VARN_DEVICE_OK;
}

// Says what failed and closes the gate for a while.
u32 fail(int negative_errno)
{
    const bool silent = negative_errno == -ETIMEDOUT;
    std::snprintf(self.closed_text, sizeof self.closed_text,
                  silent ? "the service at %s does not answer" : "no service at %s: %s", self.path,
                  std::strerror(-negative_errno));
    close_bus();
    self.pause = std::clamp(2 * self.pause, first_pause, longest_pause);
    self.closed_until = now() + self.pause;
    self.closed_code = silent ? VARN_DEVICE_E_TIMEOUT : VARN_DEVICE_E_NO_SERVICE;
    return note(self.closed_code, self.closed_text);
}

// sd_bus_call would wait for the greeting as long as it takes; this waits until the deadline.
int wait_until_ready(u64 deadline)
{
    for (;;) {
        int result = sd_bus_is_ready(self.bus);
        if (result != 0)
            return result;
        result = sd_bus_process(self.bus, nullptr);
        if (result != 0 && result != -EINTR) {
            if (result < 0)
                return result;
            continue;
        }
        const u64 at = now();
        if (at >= deadline)
            return -ETIMEDOUT;
        result = sd_bus_wait(self.bus, deadline - at);
        if (result < 0 && result != -EINTR)
            return result;
    }
}

int start_bus()
{
    // Direct to the file: an address text would need escaping.
    char address[sizeof "unix:path=" + 3 * longest_path];
    std::size_t at = static_cast<std::size_t>(std::sprintf(address, "unix:path="));
    for (const char *c = self.path; *c != '\0'; ++c)
        at += static_cast<std::size_t>(
            std::sprintf(address + at, std::strchr("/._-", *c) != nullptr ? "%c" : "%%%02x",
                         static_cast<unsigned char>(*c)));
    int result = sd_bus_new(&self.bus);
    if (result >= 0)
        result = sd_bus_set_address(self.bus, address);
    return result < 0 ? result : sd_bus_start(self.bus);
}

int open_bus(u64 deadline)
{
    const int result = start_bus();
    return result < 0 ? result : wait_until_ready(deadline);
}

// A refusal by the service itself; 0 when the error came about on this side of the socket.
u32 code_of_refusal(const sd_bus_error &error)
{
    static constexpr struct {
        const char *name;
        u32 code;
    } refusals[] = {
        {wire::no_such_interface, VARN_DEVICE_E_NO_INTERFACE},
        {wire::no_such_value, VARN_DEVICE_E_NO_VALUE},
        {wire::not_allowed, VARN_DEVICE_E_NOT_ALLOWED},
        {wire::bad_change, VARN_DEVICE_E_CHANGE},
        {wire::not_permitted, VARN_DEVICE_E_PERMISSION},
        {SD_BUS_ERROR_INVALID_ARGS, VARN_DEVICE_E_REFUSED},
        {SD_BUS_ERROR_UNKNOWN_METHOD, VARN_DEVICE_E_REFUSED},
        {SD_BUS_ERROR_UNKNOWN_OBJECT, VARN_DEVICE_E_REFUSED},
        {SD_BUS_ERROR_UNKNOWN_INTERFACE, VARN_DEVICE_E_REFUSED},
    };
    for (const auto &refusal : refusals)
        if (sd_bus_error_has_name(&error, refusal.name) != 0)
            return refusal.code;
    return 0;
}

struct outcome {
    int result; // negative: the connection is of no more use
    u32 code;
};

int build(const char *name, const arguments &with, sd_bus_message *&request)
{
    const int result = sd_bus_message_new_method_call(
        self.bus, &request, nullptr, wire::object_path, wire::interface_name, name);
    return result < 0 ? result : with.append_to(request);
}

outcome call(const char *name, const arguments &with, u64 deadline)
{
    sd_bus_message *request = nullptr;
    sd_bus_error error{};
    const u64 at = now();
    outcome out = {build(name, with, request), VARN_DEVICE_OK};
    if (out.result >= 0) {
        ++self.requests;
        out.result = at < deadline
                         ? sd_bus_call(self.bus, request, deadline - at, &error, &self.answer)
                         : -ETIMEDOUT;
    }
    if (out.result < 0)
        out.code = code_of_refusal(error);
    if (out.code != VARN_DEVICE_OK)
        out = {0, note(out.code, error.message == nullptr ? name : error.message)};
    sd_bus_error_free(&error);
    sd_bus_message_unref(request);
    return out;
}

} // namespace

u32 note(u32 code, const char *explanation)
{
    self.error = code;
    std::snprintf(self.error_text, sizeof self.error_text, "%s", explanation);
    return code;
}

u32 ask(const char *name, const arguments &with, sd_bus_message *&answer)
{
    forget_answer();
    if (self.path[0] == '\0' && choose_path(nullptr) != VARN_DEVICE_OK)
        return self.error;
    const u64 begun = now();
    const u64 deadline = begun + timeout();
    if (self.bus == nullptr && begun < self.closed_until)
        return note(self.closed_code, self.closed_text);

    for (bool was_open = self.bus != nullptr;; was_open = false) {
        int result = was_open ? 0 : open_bus(deadline);
        if (result >= 0) {
            const outcome out = call(name, with, deadline);
            if (out.result >= 0) {
                open_gate();
                answer = self.answer;
                return out.code;
            }
            result = out.result;
        }
        if (!was_open || result == -ETIMEDOUT)
            return fail(result);
        close_bus(); // it broke since the last request: once more, over a new connection
    }
}

u32 read_number(sd_bus_message *answer, u32 *number)
{
    u32 read = 0;
    if (sd_bus_message_read(answer, "u", &read) <= 0)
        return note(VARN_DEVICE_E_BAD_ANSWER, "the service's answer is no number");
    *number = read;
    return VARN_DEVICE_OK;
}

} // namespace client

using namespace client;

uint32_t varn_device_connect(const char *path)
{
    varn_device_disconnect();
    open_gate();
    const u32 code = choose_path(path);
    if (code != VARN_DEVICE_OK)
        return code;
    const int result = open_bus(now() + timeout());
    return result < 0 ? fail(result) : VARN_DEVICE_OK;
}

void varn_device_disconnect(void) { close_bus(); }

void varn_device_set_timeout(uint32_t milliseconds) { self.timeout = milliseconds * usec_per_msec; }

uint64_t varn_device_requests(void) { return self.requests; }

uint32_t varn_device_last_error(void) { return self.error; }

const char *varn_device_last_error_text(void) { return self.error_text; }

void varn_device_clear_error(void)
{
    self.error = VARN_DEVICE_OK;
    self.error_text[0] = '\0';
}
