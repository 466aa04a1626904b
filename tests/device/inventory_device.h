// SPDX-License-Identifier: Apache-2.0
//
// inventory_device.h: a service that has an inventory, as a process, and this process as its client.
// Needs no privilege and no network.
#ifndef TESTS_DEVICE_INVENTORY_DEVICE_H
#define TESTS_DEVICE_INVENTORY_DEVICE_H

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "process.h"

class InventoryDevice : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts the service on an inventory, with further words on its command line, and connects to
    // it. One that runs is ended first.
    void start(const std::string &json, const std::vector<std::string> &options = {});
    void restart(const std::string &json) { start(json); }
    void kill(); // by SIGKILL, and waits for its end

    // Carries out a command and gives its answer; fails the test when it is refused.
    std::string change(const std::vector<std::string> &words);
    std::string refusal(const std::vector<std::string> &words); // what is wrong with it

    uint32_t iod_of(const std::string &name); // 0: there is none

    std::unique_ptr<running_process> service;
    std::string folder; // the test's own, removed at its end
    std::string socket;
    std::string file; // of the inventory
};

#endif
