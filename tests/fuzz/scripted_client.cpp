// SPDX-License-Identifier: Apache-2.0
//
// The platform functions that are asked first about an interface fail while the device is silent;
// the others then never come to be asked, or answer 0 as those of a client library do.
#include "scripted_client.h"

#include "device/client/records.h"
#include "scripted_device.h"
#include "varn_device.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <deque>
#include <vector>

#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using u32 = std::uint32_t;
using u64 = std::uint64_t;

struct client_state {
    std::deque<wire::notice> waiting;
    varn_device_notices_t callbacks{};
    u64 sequence = 0, requests = 0;
    u32 error = 0;
    bool is_silent = false;
    unsigned looks = 0;   // at the descriptor
    std::size_t kept = 0; // commands for the system
    bool is_kept = false;
};

client_state &the_client()
{
    static client_state kept;
    return kept;
}

std::chrono::nanoseconds &the_time()
{
    static std::chrono::nanoseconds kept{};
    return kept;
}

// Requests are counted, and fail where the device is silent.
template <auto function, typename Result, typename... Args>
void watch(Result (*)(Args...))
{
    scripted::on(function).does([](Args... args) -> Result {
        auto &service =
            scripted::find_service(reinterpret_cast<scripted::function_address>(function));
        auto &asked = static_cast<scripted::service<Result(Args...)> &>(service);
        ++the_client().requests;
        if (!the_client().is_silent)
            return asked.by_default(args...);
        the_client().error = VARN_DEVICE_E_NO_SERVICE;
        return asked.failure();
    });
}

template <auto... functions>
void watch_all()
{
    (watch<functions>(functions), ...);
}

bool holds_interrupts()
{
    sigset_t held;
    sigprocmask(SIG_BLOCK, nullptr, &held);
    return sigismember(&held, SIGINT) == 1;
}

} // namespace

// ---- what would wait, or leave the process

std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept
{
    return time_point(the_time() += std::chrono::milliseconds(5));
}

// In place of the system's while a command of the shell runs; one that begins with f fails. Otherwise
// it is libFuzzer that calls, to run itself again.
extern "C" int system(const char *command)
{
    if (the_client().is_kept) {
        ++the_client().kept;
        return command != nullptr && command[0] == 'f';
    }
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/sh", "sh", "-c", command, nullptr);
        _exit(127);
    }
    int status = -1;
    return child < 0 || waitpid(child, &status, 0) != child ? -1 : status;
}

// ---- varn_device.h

std::uint64_t varn_device_requests() { return the_client().requests; }

std::uint32_t varn_device_last_error() { return the_client().error; }

const char *varn_device_last_error_text()
{
    return the_client().error == 0 ? "" : "the service is not running";
}

void varn_device_clear_error() { the_client().error = 0; }

std::uint32_t varn_device_list_iods(std::uint32_t *iods, std::uint32_t capacity,
                                    std::uint32_t *count)
{
    ++the_client().requests;
    if (the_client().is_silent)
        return the_client().error = VARN_DEVICE_E_NO_SERVICE;
    *count = 0;
    for (u32 iod = 1; iod < 64; ++iod)
        if (scripted::by_iod(iod) != nullptr && *count < capacity)
            iods[(*count)++] = iod;
    return VARN_DEVICE_OK;
}

std::uint32_t varn_device_subscribe(const varn_device_notices_t *callbacks)
{
    the_client().callbacks = callbacks == nullptr ? varn_device_notices_t{} : *callbacks;
    return VARN_DEVICE_OK;
}

int varn_device_descriptor()
{
    static const int descriptor = eventfd(1, EFD_CLOEXEC);
    if (holds_interrupts() && ++the_client().looks % 3 == 0)
        std::raise(SIGINT);
    return descriptor;
}

std::uint32_t varn_device_dispatch(std::uint32_t most)
{
    client_state &client = the_client();
    u32 handed = 0;
    for (; !client.waiting.empty() && (most == 0 || handed < most); ++handed) {
        const wire::notice next = client.waiting.front();
        client.waiting.pop_front();
        client::deliver(next, ++client.sequence, "it was told to", client.callbacks);
    }
    return handed;
}

std::uint32_t varn_device_is_connected() { return the_client().is_silent ? 0 : 1; }

namespace fuzz
{

void reset_client()
{
    the_client() = {};
    the_time() = {};
    watch_all<ifsvc_is_linkup, ifsvc_is_protoup, ifsvc_is_switchport, ifsvc_is_ethernet,
              ifsvc_get_if_mtu, ifsvc_get_ifindex_frm_iod, ifsvc_get_iod_frm_ifindex,
              ifsvc_get_ifindex_name, ifsvc_get_if_name, vlan_get_bd, vlan_get_bd_and_primary_vlan,
              aggsvc_get_pc_info, aggsvc_get_pc_mbr_ifidx_from_rbh>();
}

void tell(const wire::notice &notice) { the_client().waiting.push_back(notice); }

void fall_silent(bool silent) { the_client().is_silent = silent; }

std::size_t kept_commands() { return the_client().kept; }

kept_from_system::kept_from_system() { the_client().is_kept = true; }

kept_from_system::~kept_from_system() { the_client().is_kept = false; }

} // namespace fuzz
