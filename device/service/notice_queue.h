// SPDX-License-Identifier: Apache-2.0
//
// notice_queue.h: what one client is still to be told, in its order.
//
// A notice goes to the connection as soon as there is room in it; what finds no room waits here. A
// client that does not read must neither hold up the service nor fill its memory: when more would
// wait than may, all that waits is dropped, and once the client reads again, one `Lost` notice says
// so. It bears the number of the last notice that it stands for, so that the next one follows it.
#ifndef VARN_DEVICE_NOTICE_QUEUE_H
#define VARN_DEVICE_NOTICE_QUEUE_H

#include <cstdint>
#include <deque>

#include <systemd/sd-bus.h>

#include "notice.h"

namespace device
{

inline constexpr std::size_t default_queue = 4096; // notices that may wait for one client
inline constexpr std::size_t longest_queue = 16384;

// Where the service is in its stream of notices, which is the same for all clients.
struct stream_position {
    std::uint64_t epoch = 0;    // random, one for each start of the service; never 0
    std::uint64_t sequence = 0; // of the last notice; 0 = none yet
};

class notice_queue
{
public:
    explicit notice_queue(std::size_t longest) : longest_(longest) {}

    void subscribe() { subscribed_ = true; }
    void unsubscribe();
    bool is_empty() const { return waiting_.empty() && lost_through_ == 0; }

    // Takes in the notice that stands at this position, if the client wants any.
    void add(const stream_position &at, const wire::notice &told);

    // Hands over what waits while the connection holds less than `room` messages that are not
    // written yet. Negative: the connection is of no more use.
    int pump(sd_bus *bus, std::uint64_t epoch, std::uint64_t room);

    // Notices handed over so far.
    std::uint64_t handed_over() const { return handed_over_; }

private:
    struct numbered {
        std::uint64_t sequence;
        wire::notice told;
    };

    int hand_over(sd_bus *bus, std::uint64_t epoch, const numbered &next);

    std::size_t longest_;
    bool subscribed_ = false;
    std::deque<numbered> waiting_;   // empty while anything is lost
    std::uint64_t lost_through_ = 0; // the last one that was dropped; 0 = nothing is lost
    std::uint64_t handed_over_ = 0;
};

// Messages that were given to a connection and are not written yet.
std::uint64_t unwritten(sd_bus *bus);

} // namespace device

#endif
