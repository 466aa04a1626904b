// SPDX-License-Identifier: Apache-2.0
//
// wire_device.cpp: what befalls processes. Three kinds of outage take turns: the service stands
// still, it is killed, or this client hangs up and the device changes meanwhile.
#include "wire_device.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include <unistd.h>

#include "shell/follower.h"
#include "varn_device.h"
#include "world.h"

namespace coherence
{
namespace
{

using steady = std::chrono::steady_clock;

constexpr u32 impatient = 20; // milliseconds
constexpr u32 flood = 4000;   // changes that neither the socket nor a short queue holds

std::string new_folder()
{
    static int count = 0;
    const auto path = std::filesystem::temp_directory_path() / std::string("varn-coherence-")
                                                                   .append(std::to_string(getpid()))
                                                                   .append("-")
                                                                   .append(std::to_string(++count));
    std::filesystem::create_directory(path);
    return path;
}

void count(uintptr_t, const char *name, uint64_t, uint32_t, uint32_t, uint32_t)
{
    ++wire_device::notices;
    if (std::string_view(name) == "Lost")
        ++wire_device::lost;
}

} // namespace

u64 wire_device::notices, wire_device::lost;

wire_device::wire_device(u32 queue, u64 seed)
    : random_(seed), folder_(new_folder()), socket_(folder_ + "/deviced.sock"),
      file_(folder_ + "/device.json"), queue_(std::to_string(queue))
{
    setenv("VARN_DEVICE_SOCKET", socket_.c_str(), 1);
    varn_device_notices_t callbacks = shell::follower_notices();
    callbacks.any = count;
    varn_device_subscribe(&callbacks);
}

wire_device::~wire_device()
{
    varn_device_subscribe(nullptr);
    varn_device_disconnect();
    service_.reset();
    std::filesystem::remove_all(folder_);
}

// A service that does not come up is a failure of the test and not of the cache.
void wire_device::start()
{
    const auto end = steady::now() + std::chrono::seconds(20);
    while (varn_device_connect(socket_.c_str()) != VARN_DEVICE_OK) {
        if (steady::now() > end)
            throw std::runtime_error(varn_device_last_error_text());
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

void wire_device::restart(const std::string &inventory)
{
    service_.reset();
    std::ofstream(file_) << inventory;
    service_ = std::make_unique<running_process>(std::vector<std::string>{
        DEVICED, "--source", file_, "--socket", socket_, "--queue", queue_});
    start();
}

std::string wire_device::change(const words &said)
{
    std::vector<const char *> pointers;
    for (const std::string &word : said)
        pointers.push_back(word.c_str());
    const u32 code =
        varn_device_change(pointers.data(), static_cast<u32>(pointers.size()), nullptr);
    return code == VARN_DEVICE_OK ? "" : varn_device_last_error_text();
}

void wire_device::change_elsewhere(u32 changes)
{
    const std::string script = folder_ + "/script";
    {
        std::ofstream lines(script);
        for (u32 n = 0; n < changes; ++n) {
            const char *separator = "";
            for (const std::string &word : random_change(random_, {"port1", "port3", "bundle1"})) {
                lines << separator << word;
                separator = " ";
            }
            lines << "\n";
        }
    }
    run({VARNCTL, "--socket", socket_, "script", script, "--keep-going"});
}

// Everything that was told before an answer is there once the answer is.
void wire_device::dispatch(u32 most)
{
    if (most != 0) {
        varn_device_dispatch(most);
        return;
    }
    u64 all = 0, own = 0;
    varn_device_stats(&all, &own);
    while (varn_device_dispatch(0) != 0) {
    }
}

void wire_device::disconnect()
{
    why_ = random_.one_in(3)   ? outage::stopped
           : random_.one_in(2) ? outage::killed
                               : outage::closed;
    switch (why_) {
    case outage::stopped:
        varn_device_set_timeout(impatient);
        service_->send(SIGSTOP);
        break;
    case outage::killed:
        service_.reset();
        break;
    default:
        varn_device_disconnect();
        change_elsewhere(random_.below(20));
    }
}

void wire_device::reconnect()
{
    if (why_ == outage::killed)
        return restart(world_inventory(random_.next()));
    if (why_ == outage::stopped)
        service_->send(SIGCONT);
    varn_device_set_timeout(0);
    if (why_ == outage::stopped && random_.one_in(2))
        return start();
    // The way back is the library's to find.
    const auto end = steady::now() + std::chrono::seconds(20);
    while (iods().empty() && steady::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

void wire_device::overflow() { change_elsewhere(flood); }

std::vector<u32> wire_device::iods()
{
    std::vector<u32> all(64);
    u32 count = 0;
    if (varn_device_list_iods(all.data(), static_cast<u32>(all.size()), &count) != VARN_DEVICE_OK)
        count = 0;
    all.resize(count);
    return all;
}

} // namespace coherence
