// SPDX-License-Identifier: Apache-2.0
//
// device_under_test.h: the device that a history goes over, be it a model in this process or a
// service behind a socket. What is asked of it goes through the platform functions, whoever
// supplies them; here is only what happens to it and to the way to it.
#ifndef TESTS_COHERENCE_DEVICE_UNDER_TEST_H
#define TESTS_COHERENCE_DEVICE_UNDER_TEST_H

#include <cstdint>
#include <string>
#include <vector>

namespace coherence
{

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

class device_under_test
{
public:
    device_under_test() = default;
    device_under_test(const device_under_test &) = delete;
    device_under_test &operator=(const device_under_test &) = delete;
    virtual ~device_under_test() = default;

    // One change, by the words of a command. Empty, or why it was refused.
    virtual std::string change(const std::vector<std::string> &words) = 0;

    // Hands notices to the cache, at most so many of those that wait (0: all that there are).
    virtual void dispatch(u32 most) = 0;

    // From one to the other no request is answered and no notice arrives.
    virtual void disconnect() = 0;
    virtual void reconnect() = 0;

    // Notices are lost for want of room.
    virtual void overflow() = 0;

    // Another service, with the inventory of this text.
    virtual void restart(const std::string &inventory) = 0;

    virtual std::vector<u32> iods() = 0;
};

} // namespace coherence

#endif
