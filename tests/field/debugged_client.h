// SPDX-License-Identifier: Apache-2.0
//
// debugged_client.h: a service with a small inventory, and varnsh as its client, under gdb.
#ifndef TESTS_FIELD_DEBUGGED_CLIENT_H
#define TESTS_FIELD_DEBUGGED_CLIENT_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "process.h"

class DebuggedClient : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // Has varnsh carry out its commands and then hold still, until the test ends. `libraries`: a
    // folder whose libraries it is to use in place of the built ones.
    void start_client(const std::string &commands, const std::string &libraries = "");

    // What gdb prints for these commands, after it has loaded those of the cache. `words`: what it
    // is to look at. Addresses read ADDRESS.
    std::string gdb(const std::vector<std::string> &words,
                    const std::vector<std::string> &commands);

    std::vector<std::string> live() const { return {"-p", std::to_string(client->pid())}; }

    std::filesystem::path folder; // the test's own, removed at its end

private:
    std::unique_ptr<running_process> service, client;
};

#endif
