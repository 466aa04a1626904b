// SPDX-License-Identifier: Apache-2.0
//
// descriptor.h: the one descriptor that a client waits for. It is readable while the connection has
// something to read, while something is queued on this side of it, and when it is time to connect
// again. It stays the same while connections come and go.
//
// Nothing of it exists until it is asked for, and a call that changes nothing costs no system call.
#ifndef VARN_DEVICE_CLIENT_DESCRIPTOR_H
#define VARN_DEVICE_CLIENT_DESCRIPTOR_H

#include <cstdint>

namespace client
{

class descriptor
{
public:
    // What makes it readable.
    struct reasons {
        int connection = -1;          // descriptor of the open connection; -1 = none
        std::uint32_t events = 0;     // what is waited for on it, as epoll names them
        bool queued = false;          // something is there already
        std::uint64_t connect_at = 0; // microseconds of the monotonic clock; 0 = never

        bool operator==(const reasons &) const = default;
    };

    // -1: none can be made. A forked child gets one of its own.
    int get();

    // Before a connection is closed: another one may get its number.
    void leave_connection();

    void set(const reasons &wanted);

private:
    bool make();
    bool is_ours() const;
    void watch(int connection, std::uint32_t events);
    void drop();

    int poll_ = -1;
    int queued_ = -1; // an eventfd
    int timer_ = -1;
    std::uint32_t generation_ = 0; // of the process that made them
    reasons now_;
};

} // namespace client

#endif
