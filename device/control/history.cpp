// SPDX-License-Identifier: Apache-2.0
//
// history.cpp: history files, read and shown by time. The cache's record is a code and a text, which
// may be cut; a record of any other form is shown as its bytes.
#include "history.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "columns.h"
#include "device/runtime/histlog_read.h"
#include "nearest.h"

namespace control
{
namespace
{

using json = nlohmann::ordered_json;

// Of the cache's records; a larger number is more serious.
const words level_names = {"trace", "error"};
constexpr uint32_t first_level = 1;

struct event {
    std::string program;
    uint32_t pid;
    histlog::record record;
};

std::string level_of(uint32_t level)
{
    const uint32_t place = level - first_level;
    return place < level_names.size() ? level_names[place] : std::to_string(level);
}

// Code, text, and the zero at its end, which stands nowhere else.
bool is_text(const std::vector<unsigned char> &bytes)
{
    constexpr std::size_t code = sizeof(uint32_t);
    return bytes.size() > code &&
           std::find(bytes.begin() + code, bytes.end(), 0) == bytes.end() - 1;
}

std::string text_of(const std::vector<unsigned char> &bytes)
{
    return {bytes.begin() + sizeof(uint32_t), bytes.end() - 1};
}

std::string hexadecimal(const std::vector<unsigned char> &bytes)
{
    return fmt::format("{:02x}", fmt::join(bytes, ""));
}

std::string local_time(uint64_t time_ns)
{
    const auto seconds = static_cast<std::time_t>(time_ns / 1000000000u);
    std::tm parts{};
    char text[32] = "?";
    if (localtime_r(&seconds, &parts) != nullptr)
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return fmt::format("{}.{:06}", text, time_ns % 1000000000u / 1000);
}

std::string line_of(const event &of)
{
    const auto &bytes = of.record.bytes;
    const std::string what =
        is_text(bytes) ? printable(text_of(bytes)) : "bytes " + hexadecimal(bytes);
    return fmt::format("{}  {}[{}]  {}  {}\n", local_time(of.record.time_ns), of.program, of.pid,
                       level_of(of.record.level), what);
}

json json_of(const event &of)
{
    json made = {{"time_ns", of.record.time_ns},
                 {"program", of.program},
                 {"pid", of.pid},
                 {"sequence", of.record.sequence},
                 {"level", level_of(of.record.level)},
                 {"uuid", of.record.uuid},
                 {"event", of.record.event_id},
                 {"instance", of.record.inst}};
    if (is_text(of.record.bytes))
        made["text"] = text_of(of.record.bytes);
    else
        made["bytes"] = hexadecimal(of.record.bytes);
    return made;
}

bool is_of(const std::string &whose, const std::string &program, uint32_t pid)
{
    return whose.empty() || whose == program || whose == std::to_string(pid);
}

void read_into(const histlog::history_file &file, std::vector<event> &events)
{
    histlog::history found;
    if (histlog::read(file.path, &found) != histlog::read_result::ok) {
        std::fprintf(stderr, "varnctl: %s: no history that can be read\n", file.path.c_str());
        return;
    }
    if (found.damaged != 0)
        std::fprintf(stderr, "varnctl: %s: %u damaged records are left out\n", file.path.c_str(),
                     found.damaged);
    for (histlog::record &record : found.records)
        events.push_back({printable(found.program), found.pid, std::move(record)});
}

// The least level that is shown; 0: the word is none.
uint32_t least_level(const options &chosen)
{
    if (!chosen.level)
        return first_level;
    const auto at = std::ranges::find(level_names, *chosen.level);
    return at == level_names.end() ? 0
                                   : first_level + static_cast<uint32_t>(at - level_names.begin());
}

void show(const std::vector<event> &events, const options &chosen)
{
    if (chosen.json) {
        json list = json::array();
        for (const event &each : events)
            list.push_back(json_of(each));
        std::puts(list.dump(1, ' ', false, json::error_handler_t::replace).c_str());
        return;
    }
    for (const event &each : events)
        std::fputs(line_of(each).c_str(), stdout);
}

} // namespace

exit_code history(const std::string &whose, const options &chosen)
{
    const uint32_t least = least_level(chosen);
    if (least == 0) {
        std::fprintf(stderr, "varnctl: --level must be one of %s, and is %s%s\n",
                     fmt::format("{}", fmt::join(level_names, ", ")).c_str(),
                     device::in_quotes(*chosen.level).c_str(),
                     device::nearest(*chosen.level, level_names).c_str());
        return not_understood;
    }
    std::vector<event> events;
    bool any = false;
    for (const std::string &directory : histlog::directories())
        for (const histlog::history_file &file : histlog::list(directory))
            if (is_of(whose, file.program, file.pid)) {
                any = true;
                read_into(file, events);
            }
    if (!any && !whose.empty()) {
        std::fprintf(stderr, "varnctl: there is no history of %s\n", printable(whose).c_str());
        return refused;
    }
    std::erase_if(events, [least](const event &each) { return each.record.level < least; });
    std::ranges::stable_sort(events, {}, [](const event &each) { return each.record.time_ns; });
    if (chosen.last && *chosen.last < events.size())
        events.erase(events.begin(), events.end() - *chosen.last);
    show(events, chosen);
    return done;
}

} // namespace control
