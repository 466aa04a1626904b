// SPDX-License-Identifier: Apache-2.0
//
// listener.cpp: owning the path, binding the socket, accepting clients.
#include "listener.h"

#include <cerrno>
#include <cstring>

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
    if (socket_ >= 0) {
        unlink(path_.c_str());
        close(socket_);
    }
    if (lock_ >= 0)
        close(lock_);
}

listening listener::start(sd_event *loop, std::string &reason)
{
    make_folder_of(path_);
    listening outcome = own_path(reason);
    if (outcome == listening::yes)
        outcome = bind_path(reason);
    if (outcome != listening::yes)
        return outcome;
    if (sd_event_add_io(loop, nullptr, socket_, EPOLLIN, on_readable, this) < 0) {
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
    if (path_.empty() || path_.size() >= sizeof address.sun_path) {
        reason = "the socket's path is empty or too long: " + path_;
        return listening::failed;
    }
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

int listener::on_readable(sd_event_source *, int fd, std::uint32_t, void *self)
{
    const int client = accept4(fd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (client >= 0)
        static_cast<listener *>(self)->accept_(client);
    return 0;
}

} // namespace device
