// SPDX-License-Identifier: Apache-2.0
//
// listener.cpp: owning the path, binding the socket, accepting clients.
#include "listener.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace device
{
namespace
{

constexpr mode_t not_for_others = 0117; // leaves 0660
constexpr int backlog = 64;
constexpr std::uint64_t pause_length = 100'000; // microseconds between two attempts to accept

std::string because(const std::string &what) { return what + ": " + std::strerror(errno); }

// The folder of the default path does not outlive a reboot; a missing one is made, one level deep.
void make_folder_of(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    if (slash != std::string::npos && slash > 0)
        mkdir(path.substr(0, slash).c_str(), 0755);
}

bool is_socket_or_nothing(const std::string &path)
{
    struct stat found;
    return lstat(path.c_str(), &found) != 0 || S_ISSOCK(found.st_mode);
}

} // namespace

listener::~listener()
{
    sd_event_source_disable_unref(door_);
    sd_event_source_disable_unref(pause_);
    if (socket_ >= 0) {
        unlink(path_.c_str());
        close(socket_);
    }
    if (lock_ >= 0)
        close(lock_);
}

listening listener::start(sd_event *loop, std::string &reason)
{
    if (path_.empty() || path_.size() >= sizeof sockaddr_un::sun_path) {
        reason = "the socket's path is empty or too long: " + path_;
        return listening::failed;
    }
    make_folder_of(path_);
    listening outcome = own_path(reason);
    if (outcome == listening::yes)
        outcome = bind_path(reason);
    if (outcome != listening::yes)
        return outcome;
    if (wait_for_clients(loop) < 0) {
        reason = "cannot wait for clients";
        return listening::failed;
    }
    return listening::yes;
}

listening listener::own_path(std::string &reason)
{
    const std::string lock_path = path_ + ".lock";
    lock_ = open(lock_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lock_ < 0) {
        reason = because("cannot open " + lock_path);
        return listening::failed;
    }
    if (flock(lock_, LOCK_EX | LOCK_NB) == 0)
        return listening::yes;
    if (errno == EWOULDBLOCK) {
        reason = "another service is already serving " + path_;
        return listening::refused_in_use;
    }
    reason = because("cannot lock " + lock_path);
    return listening::failed;
}

listening listener::bind_path(std::string &reason)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (!is_socket_or_nothing(path_)) {
        reason = path_ + " is there already and is no socket";
        return listening::failed;
    }
    std::memcpy(address.sun_path, path_.c_str(), path_.size() + 1);
    unlink(path_.c_str()); // left by a service that died: its lock is ours

    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const mode_t before = umask(not_for_others);
    const bool bound =
        fd >= 0 && bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    umask(before);
    if (bound && listen(fd, backlog) == 0) {
        socket_ = fd;
        return listening::yes;
    }
    reason = because("cannot listen on " + path_);
    close(fd);
    return listening::failed;
}

int listener::wait_for_clients(sd_event *loop)
{
    const int result = sd_event_add_io(loop, &door_, socket_, EPOLLIN, on_readable, this);
    if (result < 0)
        return result;
    return sd_event_add_time_relative(loop, &pause_, CLOCK_MONOTONIC, pause_length, 0,
                                      on_pause_over, this);
}

// Who cannot be accepted stays at the door and keeps it readable: it is not looked at for a while.
int listener::pause(int error)
{
    if (!told_of_failure_)
        std::fprintf(stderr, "varn-deviced: cannot accept a client: %s\n", std::strerror(error));
    told_of_failure_ = true;
    int result = sd_event_source_set_enabled(door_, SD_EVENT_OFF);
    if (result >= 0)
        result = sd_event_source_set_time_relative(pause_, pause_length);
    return result < 0 ? result : sd_event_source_set_enabled(pause_, SD_EVENT_ONESHOT);
}

int listener::on_pause_over(sd_event_source *, std::uint64_t, void *self)
{
    return sd_event_source_set_enabled(static_cast<listener *>(self)->door_, SD_EVENT_ON);
}

int listener::on_readable(sd_event_source *, int fd, std::uint32_t, void *self)
{
    auto *const here = static_cast<listener *>(self);
    const int client = accept4(fd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (client >= 0) {
        here->told_of_failure_ = false;
        here->accept_(client);
        return 0;
    }
    const bool gone_again = errno == EAGAIN || errno == ECONNABORTED || errno == EINTR;
    return gone_again ? 0 : here->pause(errno);
}

} // namespace device
