// SPDX-License-Identifier: Apache-2.0
//
// memory.cpp: files of figures, read and shown. Those of processes that are no more are passed over.
#include "memory.h"

#include <cstdio>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "columns.h"
#include "device/runtime/histlog_read.h"
#include "device/runtime/memacct_file.h"
#include "device/runtime/memacct_read.h"

namespace control
{
namespace
{

using json = nlohmann::ordered_json;
using memacct::shown_process;
using memacct::shown_type;

bool is_of(const std::string &whose, const histlog::history_file &file)
{
    return whose.empty() || whose == file.program || whose == std::to_string(file.pid);
}

std::vector<shown_process> running(const std::string &whose)
{
    std::vector<shown_process> found;
    for (const std::string &directory : histlog::directories())
        for (const auto &file : histlog::list(directory, memacct::file_suffix)) {
            shown_process process;
            if (!is_of(whose, file) || !memacct::is_running(file.path, file.pid))
                continue;
            if (memacct::read_figures(file.path, &process) == memacct::figures_result::ok)
                found.push_back(std::move(process));
            else
                std::fprintf(stderr, "varnctl: %s: no figures that can be read\n",
                             file.path.c_str());
        }
    return found;
}

std::string name_or_number(const std::string &name, uint32_t number)
{
    return name.empty() ? std::to_string(number) : printable(name);
}

void show_table(const std::vector<shown_process> &processes)
{
    std::vector<words> rows;
    for (const shown_process &process : processes)
        for (const shown_type &type : process.types)
            rows.push_back({fmt::format("{}[{}]", printable(process.program), process.pid),
                            name_or_number(type.account_name, type.id),
                            name_or_number(type.type_name, type.type),
                            std::to_string(type.live_blocks), std::to_string(type.live_bytes),
                            std::to_string(type.peak_bytes),
                            std::to_string(type.total_allocations)});
    std::fputs(
        in_columns({"process", "account", "type", "blocks", "bytes", "peak", "allocations"}, rows)
            .c_str(),
        stdout);
}

json json_of(const shown_type &type)
{
    return {{"account", type.id},
            {"account_name", type.account_name},
            {"type", type.type},
            {"type_name", type.type_name},
            {"live_blocks", type.live_blocks},
            {"live_bytes", type.live_bytes},
            {"peak_bytes", type.peak_bytes},
            {"total_allocations", type.total_allocations}};
}

void show_json(const std::vector<shown_process> &processes)
{
    json list = json::array();
    for (const shown_process &process : processes) {
        json types = json::array();
        for (const shown_type &type : process.types)
            types.push_back(json_of(type));
        list.push_back({{"program", process.program},
                        {"pid", process.pid},
                        {"started_ns", process.started_ns},
                        {"types", types}});
    }
    std::puts(list.dump(1, ' ', false, json::error_handler_t::replace).c_str());
}

} // namespace

exit_code memory(const std::string &whose, const options &chosen)
{
    const std::vector<shown_process> processes = running(whose);
    if (processes.empty() && !whose.empty()) {
        std::fprintf(stderr, "varnctl: no running process %s shows its memory\n",
                     printable(whose).c_str());
        return refused;
    }
    if (chosen.json)
        show_json(processes);
    else
        show_table(processes);
    return done;
}

} // namespace control
