// SPDX-License-Identifier: Apache-2.0
//
// connection.cpp: connecting, waiting, failing, and trying again.
//
// Every wait is bounded by the deadline of the request that causes it, connecting included. A
// connection on which an answer did not come in time is closed, because the answer may still come
// and nobody would take it. While a pause lasts, requests fail with the code of the failure that
// began it. That is for requests; the attempts that dispatching makes have their own pause besides,
// so that a service that breaks each connection at once is not connected to without end.
#include "connection.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include "device/service/wire.h"
#include "notices.h"
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
    u64 opened_at;
    u64 broke_until; // pause of those attempts that no request makes
    u64 closed_until;
    u32 closed_code;
    char closed_text[256];
    u64 requests;
    u32 error;
    char error_text[256];
};

state self;

u64 timeout()
{
    return self.timeout != 0 ? self.timeout : VARN_DEVICE_DEFAULT_TIMEOUT_MS * usec_per_msec;
}

void forget_answer() { self.answer = sd_bus_message_unref(self.answer); }

void close_bus()
{
    if (self.bus != nullptr)
        before_closing();
    self.bus = sd_bus_close_unref(self.bus);
}

void open_gate()
{
    self.pause = 0;
    self.closed_until = 0;
    self.broke_until = 0;
}

void lengthen_pause() { self.pause = std::clamp(2 * self.pause, first_pause, longest_pause); }

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

// Closes the gate for a while, and keeps why.
void close_gate(int negative_errno)
{
    const bool silent = negative_errno == -ETIMEDOUT;
    std::snprintf(self.closed_text, sizeof self.closed_text,
                  silent ? "the service at %s does not answer" : "no service at %s: %s", self.path,
                  std::strerror(-negative_errno));
    close_bus();
    lengthen_pause();
    self.closed_until = now() + self.pause;
    self.closed_code = silent ? VARN_DEVICE_E_TIMEOUT : VARN_DEVICE_E_NO_SERVICE;
}

u32 fail(int negative_errno)
{
    close_gate(negative_errno);
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
    int result = start_bus();
    if (result >= 0)
        result = wait_until_ready(deadline);
    self.opened_at = now();
    return result < 0 ? result : join_stream(deadline);
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

int build(const char *name, const arguments &with, sd_bus_message *&request)
{
    const int result = sd_bus_message_new_method_call(
        self.bus, &request, nullptr, wire::object_path, wire::interface_name, name);
    return result < 0 ? result : with.append_to(request);
}

u32 ask_service(const char *name, const arguments &with)
{
    const u64 deadline = deadline_from_now();
    if (self.bus == nullptr && now() < self.closed_until)
        return note(self.closed_code, self.closed_text);

    for (bool was_open = self.bus != nullptr;; was_open = false) {
        int result = was_open ? 0 : open_bus(deadline);
        if (result >= 0) {
            ++self.requests;
            const outcome out = call(name, with, deadline, self.answer);
            if (out.result >= 0) {
                open_gate();
                return out.code;
            }
            result = out.result;
        }
        if (!was_open || result == -ETIMEDOUT)
            return fail(result);
        close_bus(); // it broke since the last request: once more, over a new connection
    }
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
    const u32 code = ask_service(name, with);
    answer = self.answer;
    if (code == VARN_DEVICE_E_NO_SERVICE || code == VARN_DEVICE_E_TIMEOUT)
        note_failed_request();
    look_after_notices();
    return code;
}

outcome call(const char *name, const arguments &with, u64 deadline, sd_bus_message *&answer)
{
    sd_bus_message *request = nullptr;
    sd_bus_error error{};
    const u64 at = now();
    outcome out = {build(name, with, request), VARN_DEVICE_OK};
    if (out.result >= 0)
        out.result = at < deadline ? sd_bus_call(self.bus, request, deadline - at, &error, &answer)
                                   : -ETIMEDOUT;
    if (out.result < 0)
        out.code = code_of_refusal(error);
    if (out.code != VARN_DEVICE_OK)
        out = {0, note(out.code, error.message == nullptr ? name : error.message)};
    sd_bus_error_free(&error);
    sd_bus_message_unref(request);
    return out;
}

sd_bus *connection() { return self.bus; }

u64 now()
{
    timespec at{};
    clock_gettime(CLOCK_MONOTONIC, &at);
    return static_cast<u64>(at.tv_sec) * 1000000 + static_cast<u64>(at.tv_nsec) / 1000;
}

u64 deadline_from_now() { return now() + timeout(); }

// One that held for long broke because the service ended: a new one may be there already.
void give_up_connection(int negative_errno)
{
    if (negative_errno == -ETIMEDOUT)
        return close_gate(negative_errno);
    const bool held_for_long = now() - self.opened_at >= longest_pause;
    close_bus();
    if (held_for_long)
        return open_gate();
    lengthen_pause();
    self.broke_until = now() + self.pause;
}

u64 attempts_allowed_from() { return std::max({self.closed_until, self.broke_until, u64{1}}); }

void connect_again()
{
    if (self.path[0] == '\0' && choose_path(nullptr) != VARN_DEVICE_OK)
        return;
    const int result = open_bus(deadline_from_now());
    if (result < 0)
        close_gate(result);
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
    u32 code = choose_path(path);
    if (code == VARN_DEVICE_OK) {
        const int result = open_bus(deadline_from_now());
        code = result < 0 ? fail(result) : VARN_DEVICE_OK;
    }
    look_after_notices();
    return code;
}

void varn_device_disconnect(void)
{
    forget_answer();
    close_bus();
    look_after_notices();
}

void varn_device_set_timeout(uint32_t milliseconds) { self.timeout = milliseconds * usec_per_msec; }

uint64_t varn_device_requests(void) { return self.requests; }

uint32_t varn_device_last_error(void) { return self.error; }

const char *varn_device_last_error_text(void) { return self.error_text; }

void varn_device_clear_error(void)
{
    self.error = VARN_DEVICE_OK;
    self.error_text[0] = '\0';
}
