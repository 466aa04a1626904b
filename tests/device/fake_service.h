// SPDX-License-Identifier: Apache-2.0
//
// fake_service.h: a service that grants a subscription and then says what a test wants, right or
// wrong; or that answers every request with something that nobody asked for. It runs on a thread of
// its own and serves one client.
#ifndef TESTS_DEVICE_FAKE_SERVICE_H
#define TESTS_DEVICE_FAKE_SERVICE_H

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include <systemd/sd-bus.h>

struct fake_notice {
    uint64_t sequence;
    std::string name;
    std::string oddity = {}; // "wrong form", "other interface"
    uint64_t epoch = 7;
};

class fake_service
{
public:
    // Epoch 7, and no notice so far.
    fake_service(const std::string &socket, std::vector<fake_notice> script);

    // Answers each request with an array of that type and so many elements, all of them 0, or with
    // a single boolean for the type 0.
    fake_service(const std::string &socket, char type, std::size_t elements);
    ~fake_service();
    fake_service(const fake_service &) = delete;
    fake_service &operator=(const fake_service &) = delete;

private:
    static int on_subscribe(sd_bus_message *request, void *self, sd_bus_error *);
    static int on_any_message(sd_bus_message *message, void *self, sd_bus_error *);
    static int say(sd_bus *bus, const fake_notice &what);
    void serve();

    std::vector<fake_notice> script_;
    bool answers_all_ = false;
    char type_ = 0;
    std::size_t elements_ = 0;
    int listening_ = -1;
    std::atomic<bool> ending_ = false;
    std::thread thread_;
};

#endif
