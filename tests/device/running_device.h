// SPDX-License-Identifier: Apache-2.0
//
// running_device.h: a small network in a namespace of the test's own, the service over it, and this
// process as its client.
//
//   port0 -- port1     a pair of links, both up
//   leaf0 -- leaf1     a pair of links, leaf0 is a port of the bridge br0
#ifndef TESTS_DEVICE_RUNNING_DEVICE_H
#define TESTS_DEVICE_RUNNING_DEVICE_H

#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "process.h"

class RunningDevice : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    void start_service();
    std::unique_ptr<running_process> service;
    std::string folder; // the test's own, removed at its end
    std::string socket;

    uint32_t iod_of(const std::string &name); // 0: there is none
    uint32_t if_index_of(const std::string &name);
};

// Waits until the condition holds, up to ten seconds.
bool eventually(const std::function<bool()> &condition);

// How long something took, in milliseconds.
long milliseconds(const std::function<void()> &something);

#endif
