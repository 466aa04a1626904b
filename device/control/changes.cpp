// SPDX-License-Identifier: Apache-2.0
//
// changes.cpp: words to the service, its answer to a person.
#include "changes.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "change_words.h"
#include "columns.h"
#include "inventory_fields.h"
#include "varn_device.h"

namespace control
{
namespace
{

using json = nlohmann::ordered_json;

// The columns of each list that an inventory has. The whole of it is shown as JSON.
struct list_columns {
    const char *list;
    words columns;
};

const std::vector<list_columns> &lists()
{
    static const std::vector<list_columns> all = {
        {"vrfs", {"name", "context", "table"}},
        {"vlans", {"id", "primary", "bd", "flood_index"}},
        {"interfaces",
         {"name", "type", "ordinal", "link", "protocol", "mtu", "mac", "mode", "vlan", "vrf",
          "member_of", "parent"}},
    };
    return all;
}

std::string cell_of(const json &entry, const std::string &column)
{
    const auto at = entry.find(column);
    if (at == entry.end())
        return "-";
    return at->is_string() ? at->get<std::string>() : at->dump();
}

void print_list(const list_columns &as, const json &list)
{
    std::vector<words> rows;
    for (const json &entry : list) {
        words row;
        for (const std::string &column : as.columns)
            row.push_back(cell_of(entry, column));
        rows.push_back(std::move(row));
    }
    std::fputs(in_columns(as.columns, rows).c_str(), stdout);
}

void print_tables(const std::string &answer)
{
    const json shown = json::parse(answer, nullptr, false);
    bool first = true;
    for (const list_columns &each : lists()) {
        if (!shown.is_object() || !shown.contains(each.list) || shown[each.list].empty())
            continue;
        if (!first)
            std::puts("");
        first = false;
        print_list(each, shown[each.list]);
    }
}

// What the service said no to, or why there was no answer; empty: done.
std::string send(const words &given, std::string &answer)
{
    std::vector<const char *> pointers;
    for (const std::string &word : given)
        pointers.push_back(word.c_str());
    const char *text = "";
    if (varn_device_change(pointers.data(), static_cast<uint32_t>(pointers.size()), &text) == 0) {
        answer = text;
        return {};
    }
    return varn_device_last_error_text();
}

void print(const std::string &answer, const options &chosen)
{
    if (chosen.json)
        std::fputs(answer.c_str(), stdout);
    else
        print_tables(answer);
}

words words_of(const std::string &line)
{
    words found;
    std::istringstream text(line);
    for (std::string word; text >> word && word.front() != '#';)
        found.push_back(word);
    return found;
}

exit_code run_line(const words &given, const std::string &place, const options &chosen)
{
    device::change_request asked;
    std::string wrong = device::read_change(given, asked), answer;
    const exit_code failure = wrong.empty() ? refused : not_understood;
    if (wrong.empty())
        wrong = send(given, answer);
    if (wrong.empty())
        return print(answer, chosen), done;
    std::fprintf(stderr, "varnctl: %s: %s\n", place.c_str(), wrong.c_str());
    return failure;
}

exit_code run_lines(std::istream &from, const std::string &name, const options &chosen)
{
    exit_code first_failure = done;
    std::string line;
    for (unsigned number = 1; std::getline(from, line); ++number) {
        const words given = words_of(line);
        if (given.empty())
            continue;
        const exit_code code = run_line(given, fmt::format("{}:{}", name, number), chosen);
        if (first_failure == done)
            first_failure = code;
        if (code != done && !chosen.keep_going)
            break;
    }
    return first_failure;
}

} // namespace

exit_code change(const words &given, const options &chosen)
{
    std::string answer;
    const std::string wrong = send(given, answer);
    if (wrong.empty())
        return print(answer, chosen), done;
    std::fprintf(stderr, "varnctl: %s\n", wrong.c_str());
    return refused;
}

exit_code script(const std::string &path, const options &chosen)
{
    if (path == "-")
        return run_lines(std::cin, "standard input", chosen);
    std::ifstream file(path);
    if (file && file.peek() != std::ifstream::traits_type::eof())
        return run_lines(file, path, chosen);
    const bool is_empty = file.is_open() && file.eof() && !file.bad();
    if (is_empty)
        return done;
    std::fprintf(stderr, "varnctl: %s: %s\n", path.c_str(), std::strerror(errno));
    return refused;
}

} // namespace control
