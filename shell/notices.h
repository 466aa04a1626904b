// SPDX-License-Identifier: Apache-2.0
//
// notices.h: what this process is told of changes, and the waiting for it. The cache's handlers get
// every notice first of all (follower.h); the list of interfaces follows them too, and whoever
// shows or counts notices asks here.
//
// Notices are handed out by take(), take_one() and wait_for() and by nothing else: while a command
// asks its questions nothing changes under it.
#ifndef VARNSH_NOTICES_H
#define VARNSH_NOTICES_H

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "roster.h"

namespace shell
{

struct notice {
    std::string kind;  // its name, as the device gives it
    u64 sequence;      // 0: made on this side of the socket
    u32 if_index, iod; // 0: about no interface
    u32 number;        // a port-channel's if-index or a VLAN; 0: about neither
    std::string about; // the name that the interface had, as far as it was known
};

class notices
{
public:
    explicit notices(roster &interfaces) : interfaces_(interfaces) {}
    notices(const notices &) = delete;
    notices &operator=(const notices &) = delete;

    // Asks for notices from now on. To be called before the first question to the cache.
    void subscribe();

    // Hands out all that is there; waits for nothing.
    void take();

    // Hands out one notice, if there is one.
    std::optional<notice> take_one();

    // Waits until the descriptor can be read or the time is over, and hands out what comes in
    // meanwhile. Whether it can be read. -1 stands for no descriptor; a negative time for ever.
    bool wait_for(int descriptor, std::chrono::milliseconds time);

    // Notices so far, by kind.
    const std::map<std::string, u64> &counts() const { return counts_; }
    u64 count() const;

private:
    static void note(uintptr_t arg, const char *kind, u64 sequence, u32 if_index, u32 iod,
                     u32 number);
    void follow(const notice &told);

    roster &interfaces_;
    std::map<std::string, u64> counts_;
    std::optional<notice> last_;
};

constexpr std::chrono::milliseconds for_ever{-1};

} // namespace shell

#endif
