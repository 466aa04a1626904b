// SPDX-License-Identifier: Apache-2.0
//
// inventory_device.cpp: files, a process and a connection. What cannot be set up fails the test.
#include "inventory_device.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <unistd.h>

#include "ifsvc.h"
#include "running_device.h"
#include "varn_device.h"

namespace
{

std::string new_folder()
{
    static int count = 0;
    const std::string name = "varn-inventory-" + std::to_string(getpid()) + "-";
    const auto path = std::filesystem::temp_directory_path() / (name + std::to_string(++count));
    EXPECT_TRUE(std::filesystem::create_directory(path)) << path;
    return path;
}

uint32_t send(const std::vector<std::string> &words, const char **answer)
{
    std::vector<const char *> pointers;
    for (const std::string &word : words)
        pointers.push_back(word.c_str());
    return varn_device_change(pointers.data(), static_cast<uint32_t>(pointers.size()), answer);
}

} // namespace

void InventoryDevice::SetUp()
{
    folder = new_folder();
    socket = folder + "/deviced.sock";
    file = folder + "/device.json";
    setenv("VARN_HISTORY_DIR", (folder + "/history").c_str(), 1);
    setenv("VARN_DEVICE_SOCKET", socket.c_str(), 1);
}

void InventoryDevice::TearDown()
{
    varn_device_disconnect();
    varn_device_set_timeout(0);
    service.reset();
    std::filesystem::remove_all(folder);
}

void InventoryDevice::start(const std::string &json, const std::vector<std::string> &options)
{
    service.reset();
    std::ofstream(file) << json;
    std::vector<std::string> words = {DEVICED, "--source", file, "--socket", socket};
    words.insert(words.end(), options.begin(), options.end());
    service = std::make_unique<running_process>(words);
    ASSERT_TRUE(eventually([this] { return varn_device_connect(socket.c_str()) == 0; }))
        << varn_device_last_error_text();
    varn_device_clear_error();
}

void InventoryDevice::kill()
{
    service->send(SIGKILL);
    service->wait();
    service.reset();
}

std::string InventoryDevice::change(const std::vector<std::string> &words)
{
    const char *answer = "";
    EXPECT_EQ(send(words, &answer), 0u) << varn_device_last_error_text();
    return answer;
}

std::string InventoryDevice::refusal(const std::vector<std::string> &words)
{
    EXPECT_EQ(send(words, nullptr), VARN_DEVICE_E_CHANGE);
    return varn_device_last_error_text();
}

uint32_t InventoryDevice::iod_of(const std::string &name)
{
    uint32_t count = 0;
    EXPECT_EQ(varn_device_list_iods(nullptr, 0, &count), 0u);
    std::vector<uint32_t> iods(count);
    EXPECT_EQ(varn_device_list_iods(iods.data(), count, &count), 0u);
    for (const uint32_t iod : iods)
        if (name == ifsvc_get_if_name(iod))
            return iod;
    return 0;
}
