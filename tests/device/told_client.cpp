// SPDX-License-Identifier: Apache-2.0
//
// told_client.cpp: the callbacks that write the lines.
#include "told_client.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>

#include <poll.h>
#include <sys/wait.h>

#include "routing-sw/libs/varn/varn.h"

namespace
{

struct written {
    std::vector<std::string> *lines;
    const uint64_t *base;
    uint64_t *last;
};

written &of(uintptr_t arg) { return *reinterpret_cast<written *>(arg); }

void add(uintptr_t arg, const std::string &text) { of(arg).lines->back() += text; }

void any(uintptr_t arg, const char *name, uint64_t sequence, uint32_t if_index, uint32_t iod,
         uint32_t number)
{
    char text[128];
    std::snprintf(text, sizeof text, "%d %s 0x%x/%u %u",
                  sequence == 0 ? 0 : static_cast<int>(sequence - *of(arg).base), name, if_index,
                  iod, number);
    of(arg).lines->emplace_back(text);
    if (sequence != 0)
        *of(arg).last = sequence;
}

void l3_parameters(uintptr_t arg, const varn_l3_param_update_t *record, const bitset_t *changed)
{
    add(arg, called("l3_parameters", *record) + called("of", *changed));
}

varn_device_notices_t line_writers(written &to)
{
    varn_device_notices_t all{};
    all.arg = reinterpret_cast<uintptr_t>(&to);
    all.any = any;
    all.physical_state = [](uintptr_t arg, const varn_phy_update_t *r) {
        add(arg, called("physical_state", *r));
    };
    all.l2_state = [](uintptr_t arg, const varn_l2_update_t *r) {
        add(arg, called("l2_state", *r));
    };
    all.l3_state = [](uintptr_t arg, varn_l3_update_t *r) { add(arg, called("l3_state", *r)); };
    all.l3_parameters = l3_parameters;
    all.switchport = [](uintptr_t arg, uint32_t iod) { add(arg, called("switchport", {iod})); };
    all.vlan = [](uintptr_t arg, uint32_t iod) { add(arg, called("vlan", {iod})); };
    all.router_mac = [](uintptr_t arg, const varn_mac_update_t *r) {
        add(arg, called("router_mac", *r));
    };
    all.linkup = [](uintptr_t arg, uint32_t f, uint32_t i) { add(arg, called("linkup", {f, i})); };
    all.extension_removed = [](uintptr_t arg, uint32_t f, uint32_t i, uint32_t key) {
        add(arg, called("extension_removed", {f, i, key}));
    };
    all.changed = [](uintptr_t arg, uint32_t f, uint32_t i) {
        add(arg, called("changed", {f, i}));
    };
    all.added = [](uintptr_t arg, uint32_t f, uint32_t i) { add(arg, called("added", {f, i})); };
    all.removed = [](uintptr_t arg, uint32_t f, uint32_t i) {
        add(arg, called("removed", {f, i}));
    };
    all.lost = [](uintptr_t arg, const char *why) { add(arg, std::string(": lost, ") + why); };
    return all;
}

std::string joined(const std::vector<std::string> &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text.append(line).append("\n");
    return text;
}

written writing; // of the one subscription that a process has

} // namespace

std::string bytes_of(const void *record, std::size_t size)
{
    std::string text;
    for (std::size_t n = 0; n < size; ++n) {
        char byte[4];
        std::snprintf(byte, sizeof byte, "%02x", static_cast<const uint8_t *>(record)[n]);
        text.append(byte).append(n % 4 == 3 ? " " : "");
    }
    return text;
}

std::string called(const char *callback, std::initializer_list<uint32_t> arguments)
{
    std::string text = std::string(": ").append(callback);
    for (const uint32_t argument : arguments)
        text.append(" ").append(std::to_string(argument));
    return text;
}

std::string about(uint64_t number, const char *name, const port &which)
{
    char text[128];
    std::snprintf(text, sizeof text, "%u %s 0x%x/%u 0", static_cast<unsigned>(number), name,
                  which.if_index, which.iod);
    return text;
}

std::size_t count_of(const std::vector<std::string> &lines, std::string_view name)
{
    const std::string word = " " + std::string(name) + " ";
    return static_cast<std::size_t>(std::ranges::count_if(
        lines, [&](const auto &line) { return line.find(word) != line.npos; }));
}

int exit_code_of(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// ---- The other client

other_client::other_client(const std::string &socket)
{
    EXPECT_GE(sd_bus_new(&bus), 0);
    EXPECT_GE(sd_bus_set_address(bus, ("unix:path=" + socket).c_str()), 0);
    EXPECT_GE(sd_bus_start(bus), 0);
}

other_client::~other_client() { sd_bus_close_unref(bus); }

void other_client::change(uint32_t iod)
{
    static uint32_t value = 0;
    EXPECT_GE(sd_bus_call_method(bus, nullptr, "/varn/device", "varn.Device1", "Attach", nullptr,
                                 nullptr, "uuuay", iod, 77u, ++value, 0u),
              0);
}

uint32_t other_client::mtu(uint32_t iod)
{
    sd_bus_message *answer = nullptr;
    uint32_t value = 0;
    EXPECT_GE(sd_bus_call_method(bus, nullptr, "/varn/device", "varn.Device1", "GetMtu", nullptr,
                                 &answer, "u", iod),
              0);
    EXPECT_GT(sd_bus_message_read(answer, "u", &value), 0);
    sd_bus_message_unref(answer);
    return value;
}

uint64_t other_client::sequence()
{
    sd_bus_message *answer = nullptr;
    uint64_t epoch = 0, value = 0;
    EXPECT_GE(sd_bus_call_method(bus, nullptr, "/varn/device", "varn.Device1", "Subscribe", nullptr,
                                 &answer, "b", 0),
              0);
    EXPECT_GT(sd_bus_message_read(answer, "tt", &epoch, &value), 0);
    EXPECT_NE(epoch, 0u);
    sd_bus_message_unref(answer);
    return value;
}

// ---- This one

void ToldClient::SetUp()
{
    ASSERT_NO_FATAL_FAILURE(RunningDevice::SetUp());
    // Whatever the kernel still has to say of the links that were made is of no interest.
    ASSERT_TRUE(eventually([] { return sh("ip -br link").find(" DOWN ") == std::string::npos; }));
}

void ToldClient::TearDown()
{
    varn_device_subscribe(nullptr);
    RunningDevice::TearDown();
}

varn_device_notices_t ToldClient::callbacks()
{
    writing = {&lines, &base, &last};
    return line_writers(writing);
}

void ToldClient::subscribe()
{
    base = other_client(socket).sequence();
    const varn_device_notices_t writers = callbacks();
    ASSERT_EQ(varn_device_subscribe(&writers), VARN_DEVICE_OK);
    varn_device_descriptor();
}

void ToldClient::spawn_service(const std::vector<std::string> &options)
{
    std::string command = std::string("exec ") + DEVICED + " --socket " + socket;
    for (const std::string &option : options)
        command.append(" ").append(option);
    command.append(" 2>>").append(folder).append("/log");
    service = std::make_unique<running_process>(std::vector<std::string>{"sh", "-c", command});
    ASSERT_TRUE(eventually([this] {
        sd_bus *bus = nullptr;
        const bool there = sd_bus_new(&bus) >= 0 &&
                           sd_bus_set_address(bus, ("unix:path=" + socket).c_str()) >= 0 &&
                           sd_bus_start(bus) >= 0;
        sd_bus_close_unref(bus);
        return there;
    }));
}

std::string ToldClient::service_log() const
{
    std::ifstream log(folder + "/log");
    return {std::istreambuf_iterator<char>(log), {}};
}

void ToldClient::kill_service()
{
    service->send(SIGKILL);
    service->wait();
}

bool ToldClient::is_readable()
{
    pollfd waited_for = {varn_device_descriptor(), POLLIN, 0};
    return poll(&waited_for, 1, 0) == 1;
}

void ToldClient::wait_for(std::size_t expected)
{
    EXPECT_TRUE(eventually([&] {
        if (lines.size() < expected && is_readable())
            varn_device_dispatch(0);
        return lines.size() >= expected;
    })) << joined(lines);
}

std::string ToldClient::told(std::size_t expected)
{
    wait_for(expected);
    const std::string text = joined(lines);
    lines.clear();
    return text;
}
