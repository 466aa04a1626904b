// SPDX-License-Identifier: Apache-2.0
//
// listener.h: the socket that clients come to. One service at a time owns a path, by a lock on a
// file beside it that the system gives up when its holder dies: so a socket that was left behind is
// told from one that is served, whatever state its owner is in.
#ifndef VARN_DEVICE_LISTENER_H
#define VARN_DEVICE_LISTENER_H

#include <functional>
#include <string>
#include <utility>

#include <systemd/sd-event.h>

namespace device
{

enum class listening { yes, refused_in_use, failed };

class listener
{
public:
    using on_client = std::function<void(int fd)>;

    listener(std::string path, on_client accept)
        : path_(std::move(path)), accept_(std::move(accept))
    {
    }
    ~listener();
    listener(const listener &) = delete;
    listener &operator=(const listener &) = delete;

    // On anything but `yes`, `reason` says why in a line for a person.
    listening start(sd_event *loop, std::string &reason);

private:
    static int on_readable(sd_event_source *, int fd, std::uint32_t, void *self);
    static int on_pause_over(sd_event_source *, std::uint64_t, void *self);

    listening own_path(std::string &reason);
    listening bind_path(std::string &reason);
    int wait_for_clients(sd_event *loop);
    int pause(int error);

    std::string path_;
    on_client accept_;
    int lock_ = -1;
    int socket_ = -1;
    sd_event_source *door_ = nullptr;  // disabled while a pause lasts
    sd_event_source *pause_ = nullptr; // its end
    bool told_of_failure_ = false;     // to accept; said once until it works again
};

} // namespace device

#endif
