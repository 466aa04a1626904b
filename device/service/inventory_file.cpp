// SPDX-License-Identifier: Apache-2.0
//
// inventory_file.cpp: the bytes of an inventory's file. Only a regular file of a sane size is read:
// nothing else may hold the service up.
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "inventory_reading.h"

namespace device
{
namespace
{

constexpr std::size_t most_megabytes = 16;
constexpr std::size_t most_bytes = most_megabytes << 20;

std::string read_all(int file, std::string &text)
{
    std::array<char, 1 << 16> bytes{};
    ssize_t got = 0;
    while ((got = read(file, bytes.data(), bytes.size())) > 0) {
        text.append(bytes.data(), static_cast<std::size_t>(got));
        if (text.size() > most_bytes)
            return "is larger than " + std::to_string(most_megabytes) + " MB";
    }
    return got < 0 ? std::string("cannot be read: ") + std::strerror(errno) : std::string();
}

std::string read_regular(int file, std::string &text)
{
    struct stat found = {};
    if (fstat(file, &found) != 0)
        return std::string("cannot be read: ") + std::strerror(errno);
    if (S_ISDIR(found.st_mode))
        return "is a directory";
    if (!S_ISREG(found.st_mode))
        return "is no regular file";
    return read_all(file, text);
}

} // namespace

std::string read_file(const std::string &path, std::string &text)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return path + ": cannot be read: " + std::strerror(errno);
    const std::string wrong = read_regular(file, text);
    close(file);
    return wrong.empty() ? "" : path + ": " + wrong;
}

} // namespace device
