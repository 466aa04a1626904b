// SPDX-License-Identifier: Apache-2.0
//
// kernel_guest.cpp: building it up, acting, comparing.
#include "kernel_guest.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <fmt/format.h>
#include <sched.h>
#include <unistd.h>

#include "follower.h"
#include "library_answers.h"
#include "varn.h"
#include "varn_device.h"

namespace
{

using std::string;

// On a busy machine the guest's clock runs on while the guest does not.
constexpr int fewest_tries = 10;
constexpr char service_program[] = "/guest/varn-deviced";

std::vector<string> split(const string &text)
{
    std::istringstream in(text);
    std::vector<string> list;
    for (string word; in >> word;)
        list.push_back(word);
    return list;
}

void act(const char *program, const string &arguments)
{
    std::vector<string> command = split(arguments);
    command.insert(command.begin(), program);
    const finished done = run(command);
    EXPECT_EQ(done.exit_code, 0) << program << " " << arguments << "\n" << done.out << done.err;
}

string new_folder()
{
    static int count = 0;
    const auto path = std::filesystem::temp_directory_path() /
                      fmt::format("kernel-guest-{}-{}", getpid(), ++count);
    EXPECT_TRUE(std::filesystem::create_directory(path)) << path;
    return path;
}

} // namespace

void KernelGuest::SetUp()
{
    ASSERT_EQ(unshare(CLONE_NEWNET), 0) << "runs as root in the guest";
    folder_ = new_folder();
    setenv("VARN_HISTORY_DIR", (folder_ + "/history").c_str(), 1);
    ASSERT_NO_FATAL_FAILURE(start_library());
    ASSERT_NO_FATAL_FAILURE(start_service());
}

void KernelGuest::TearDown()
{
    end_library();
    varn_device_subscribe(nullptr);
    varn_device_disconnect();
    service.reset();
    if (HasFailure())
        std::fputs(fmt::format("the service said:\n{}", log()).c_str(), stderr);
    if (!folder_.empty())
        std::filesystem::remove_all(folder_);
}

void KernelGuest::start_service(const std::vector<string> &options)
{
    service.reset();
    const string socket = folder_ + "/deviced.sock";
    // exec: the process is the service itself, and signals reach it.
    const string words = fmt::format("exec {} --source kernel --socket {} {} 2>>{}/log",
                                     service_program, socket, fmt::join(options, " "), folder_);
    service = std::make_unique<running_process>(std::vector<string>{"/bin/sh", "-c", words});
    ASSERT_TRUE(eventually([&] { return varn_device_connect(socket.c_str()) == 0; }))
        << varn_device_last_error_text();
    varn_device_clear_error();
    const varn_device_notices_t notices = shell::follower_notices();
    ASSERT_EQ(varn_device_subscribe(&notices), 0U);
}

void KernelGuest::ip(const string &arguments) { act("/sbin/ip", arguments); }

void KernelGuest::bridge(const string &arguments) { act("/sbin/bridge", arguments); }

void KernelGuest::ip_batch(const string &lines)
{
    const finished done = run({"/sbin/ip", "-batch", "-"}, lines);
    EXPECT_EQ(done.exit_code, 0) << done.err;
}

// How the cache hears of what happened: the one place.
void KernelGuest::settle() { varn_device_dispatch(0); }

bool KernelGuest::is_looked_at(const string &name) const
{
    return only.empty() || only.contains(name);
}

string KernelGuest::remaining_difference()
{
    string remains;
    eventually([&] {
        settle();
        const iods interfaces = iods_by_name();
        iods looked_at = interfaces;
        std::erase_if(looked_at, [this](const auto &each) { return !is_looked_at(each.first); });
        const picture answered = answered_by_library(looked_at);
        picture told = told_by_ip(interfaces, not_served);
        std::erase_if(told, [this](const auto &line) {
            return !is_looked_at(line.first.substr(0, line.first.find(' ')));
        });
        remains = difference(told, answered);
        return remains.empty();
    });
    return remains;
}

void KernelGuest::expect_what_ip_says()
{
    EXPECT_EQ(remaining_difference(), "") << "by the notices";
    shell::forget_everything();
    EXPECT_EQ(remaining_difference(), "") << "asked anew";
}

std::uint32_t KernelGuest::iod_of(const string &name)
{
    settle();
    const iods all = iods_by_name();
    return all.contains(name) ? all.at(name) : 0;
}

std::uint32_t KernelGuest::if_index_of(const string &name)
{
    std::uint32_t if_index = 0;
    EXPECT_EQ(varn_ifsvc_get_ifindex_frm_iod(iod_of(name), &if_index), 0U) << name;
    return if_index;
}

string KernelGuest::log() const
{
    std::ifstream file(folder_ + "/log");
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool eventually(const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (int tries = 1; !condition(); ++tries) {
        if (std::chrono::steady_clock::now() > end && tries >= fewest_tries)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}
