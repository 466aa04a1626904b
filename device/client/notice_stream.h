// SPDX-License-Identifier: Apache-2.0
//
// notice_stream.h: the notices that arrived and were not handed out yet, and whether any is missing.
//
// The service counts its notices, and an epoch says which service counts. So whatever went missing
// shows: in a number that does not follow, in another epoch, or in a number that has moved on while
// there was no connection. A request that failed meanwhile counts as well, because whoever asked may
// have kept the failure as an answer. All of it becomes one `lost`, which stands for everything
// before it: nothing older is handed out any more.
//
// Pure: knows no connection. One for a process; its memory is touched as far as it is used.
#ifndef VARN_DEVICE_CLIENT_NOTICE_STREAM_H
#define VARN_DEVICE_CLIENT_NOTICE_STREAM_H

#include <array>
#include <cstdint>

#include "device/service/notice.h"

namespace client
{

class notice_stream
{
public:
    static constexpr std::size_t longest = 4096;

    struct queued {
        wire::notice told;
        std::uint64_t sequence; // 0 = made on this side
        const char *why;        // of a lost notice
    };

    // A subscription was made over a new connection; the last notice before it had this number.
    void begin(std::uint64_t epoch, std::uint64_t sequence);

    // A notice arrived.
    void accept(std::uint64_t epoch, std::uint64_t sequence, const wire::notice &told);

    // Something is missing. `why` must live as long as the process.
    void lose(const char *why, std::uint64_t sequence = 0);

    // A request failed for want of a connection, or of an answer in time.
    void note_failed_request() { failed_ = true; }

    // Hands out the next one; false: there is none.
    bool take(queued &next);
    bool is_empty() const { return count_ == 0; }

    // As it was at first.
    void forget();

private:
    void push(const wire::notice &told, std::uint64_t sequence, const char *why);

    std::array<queued, longest> ring_{};
    std::size_t first_ = 0;
    std::size_t count_ = 0;
    bool begun_ = false;
    bool failed_ = false; // since the connection was lost, or before there was one
    std::uint64_t epoch_ = 0;
    std::uint64_t last_ = 0; // number of the last notice that arrived
};

} // namespace client

#endif
