// SPDX-License-Identifier: Apache-2.0
//
// told_client.h: this process as a client that is told of changes, and another client beside it.
//
// Every notice becomes one line: its number (counted from when the test began), its name on the
// wire, what it is about, and then each callback with all bytes of its record. A test says the
// lines that it expects, with records of its own.
#ifndef TESTS_DEVICE_TOLD_CLIENT_H
#define TESTS_DEVICE_TOLD_CLIENT_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <systemd/sd-bus.h>

#include "running_device.h"
#include "varn_device.h"

// All bytes of a record.
std::string bytes_of(const void *record, std::size_t size);

// A callback as it stands in a line.
template <typename Record>
std::string called(const char *callback, const Record &record)
{
    return std::string(": ").append(callback) + " " + bytes_of(&record, sizeof record);
}
std::string called(const char *callback, std::initializer_list<uint32_t> arguments);

// The start of a line: a notice about one interface, and one about a number.
struct port {
    uint32_t iod, if_index;
};
std::string about(uint64_t number, const char *name, const port &which);

// A connection of its own to the service, by nothing but sd-bus.
class other_client
{
public:
    explicit other_client(const std::string &socket);
    ~other_client();
    other_client(const other_client &) = delete;
    other_client &operator=(const other_client &) = delete;

    // Attaches an extension value that no one had before, which is one notice: `Changed`.
    void change(uint32_t iod);
    uint32_t mtu(uint32_t iod);
    uint64_t sequence(); // of the service's last notice

    sd_bus *bus = nullptr;
};

class ToldClient : public RunningDevice
{
protected:
    void SetUp() override;
    void TearDown() override;

    // The callbacks that write the lines.
    varn_device_notices_t callbacks();

    // Subscribes by them; from now on numbers are counted from the service's.
    void subscribe();

    // Starts a service without connecting to it; what it says goes to a file.
    void spawn_service(const std::vector<std::string> &options = {});
    std::string service_log() const;
    void kill_service();

    // Whether the descriptor is readable now.
    static bool is_readable();

    // Dispatches whenever the descriptor says so, until there are that many lines.
    void wait_for(std::size_t lines);

    // What was told since the last call, as soon as `expected` lines are there.
    std::string told(std::size_t expected);

    port port_of(const std::string &name) { return {iod_of(name), if_index_of(name)}; }

    std::vector<std::string> lines;
    uint64_t base = 0;
    uint64_t last = 0; // number of the last notice, not counted from the base
};

// Of a child that fork made.
int exit_code_of(pid_t child);

// How many lines have this name.
std::size_t count_of(const std::vector<std::string> &lines, std::string_view name);

#endif
