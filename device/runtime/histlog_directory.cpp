// SPDX-License-Identifier: Apache-2.0
//
// The choice of the directory for history files, and order in it. VARN_HISTORY_DIR decides alone
// where it is set. The last resort lies in a folder in which everybody may make things, so it
// counts only if it is this user's own and closed to all others.
#include "histlog_directory.h"

#include <dirent.h>
#include <signal.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

namespace histlog
{

namespace
{

std::string last_resort() { return "/tmp/varn-history-" + std::to_string(geteuid()); }

bool is_private(const struct stat &status)
{
    return status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool is_usable(const std::string &directory)
{
    if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST)
        return false;
    const bool own_only = directory == last_resort();
    struct stat status {
    };
    const int result =
        own_only ? lstat(directory.c_str(), &status) : stat(directory.c_str(), &status);
    if (result != 0 || !S_ISDIR(status.st_mode) || (own_only && !is_private(status)))
        return false;
    return access(directory.c_str(), W_OK | X_OK) == 0;
}

// Cuts the part behind the last dot off the text and reads it as a number.
template <typename number>
std::optional<number> take_number(std::string_view &text, int base)
{
    const size_t dot = text.rfind('.');
    if (dot == std::string_view::npos)
        return std::nullopt;
    const std::string_view digits = text.substr(dot + 1);
    number value{};
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (error != std::errc{} || end != digits.data() + digits.size())
        return std::nullopt;
    text.remove_suffix(digits.size() + 1);
    return value;
}

std::optional<history_file> parse(const std::string &directory, std::string_view name,
                                  std::string_view suffix)
{
    std::string_view rest = name;
    if (!rest.ends_with(suffix))
        return std::nullopt;
    rest.remove_suffix(suffix.size());
    const auto started = take_number<uint64_t>(rest, 16);
    const auto pid = started ? take_number<uint32_t>(rest, 10) : std::nullopt;
    if (!pid || rest.empty())
        return std::nullopt;
    return history_file{directory + "/" + std::string(name), std::string(rest), *pid, *started};
}

bool is_plain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
}

// A pid that kill would take for a group or for everybody is no process's.
bool is_dead(uint32_t pid)
{
    const auto process = static_cast<pid_t>(pid);
    return process <= 0 || (kill(process, 0) != 0 && errno == ESRCH);
}

} // namespace

std::vector<std::string> directories()
{
    if (const char *named = secure_getenv("VARN_HISTORY_DIR"); named != nullptr && *named != 0)
        return {named};
    std::vector<std::string> found;
    if (const char *runtime = secure_getenv("XDG_RUNTIME_DIR"); runtime != nullptr && *runtime != 0)
        found.push_back(std::string(runtime) + "/varn-history");
    found.emplace_back("/run/varn-history");
    found.push_back(last_resort());
    return found;
}

std::string writing_directory()
{
    for (const std::string &directory : directories()) {
        if (is_usable(directory))
            return directory;
    }
    return {};
}

std::vector<history_file> list(const std::string &directory, std::string_view suffix)
{
    std::vector<history_file> files;
    const std::unique_ptr<DIR, int (*)(DIR *)> open_directory(opendir(directory.c_str()), closedir);
    if (open_directory == nullptr)
        return files;
    while (const dirent *entry = readdir(open_directory.get())) {
        if (auto file = parse(directory, entry->d_name, suffix))
            files.push_back(std::move(*file));
    }
    std::sort(files.begin(), files.end(), [](const history_file &a, const history_file &b) {
        return a.started_ns < b.started_ns;
    });
    return files;
}

void make_room(const std::string &directory)
{
    const std::vector<history_file> files = list(directory);
    size_t left = files.size();
    for (const history_file &file : files) {
        if (left < kept_files)
            return;
        if (is_dead(file.pid) && unlink(file.path.c_str()) == 0)
            --left;
    }
}

std::string file_name(const std::string &program, uint32_t pid, uint64_t started_ns,
                      std::string_view suffix)
{
    char digits[17];
    snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(started_ns));
    return program + "." + std::to_string(pid) + "." + digits + std::string(suffix);
}

std::string program_name(size_t field_size)
{
    std::string name = program_invocation_short_name;
    name.resize(std::min(name.size(), field_size - 1));
    for (char &c : name)
        c = is_plain(c) ? c : '_';
    return name.empty() ? "_" : name;
}

uint64_t now_ns()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
}

} // namespace histlog
