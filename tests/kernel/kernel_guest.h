// SPDX-License-Identifier: Apache-2.0
//
// kernel_guest.h: a network namespace of the test's own, the service over it, and this process as a
// client that keeps its cache from test to test as a client does: by the notices.
//
//   ip("link add bond0 type bond");        an act, through /sbin/ip
//   expect_what_ip_says();                 every answer about every interface, against ip's
//
// The act is compared twice: with what the cache holds and the notices left of it, and after all was
// forgotten.
#ifndef TESTS_KERNEL_KERNEL_GUEST_H
#define TESTS_KERNEL_KERNEL_GUEST_H

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ip_oracle.h"
#include "process.h"

class KernelGuest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts the service again, over the same links.
    void start_service(const std::vector<std::string> &options = {});

    void ip(const std::string &arguments);
    void bridge(const std::string &arguments);

    // Many commands of ip's, a line each.
    void ip_batch(const std::string &lines);

    // Ends when all agrees; a kernel reports operational states up to a second late.
    void expect_what_ip_says();

    std::uint32_t iod_of(const std::string &name); // 0: there is none
    std::uint32_t if_index_of(const std::string &name);
    std::string log() const; // of the service

    std::unique_ptr<running_process> service;
    std::set<std::string> not_served; // that the device is known not to serve
    std::set<std::string> only;       // that are looked at; none: all of them

private:
    void settle();
    bool is_looked_at(const std::string &name) const;
    std::string remaining_difference();

    std::string folder_;
};

// Waits until the condition holds, ten seconds and ten tries at least.
bool eventually(const std::function<bool()> &condition);

#endif
