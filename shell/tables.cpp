// SPDX-License-Identifier: Apache-2.0
//
// tables.cpp: rows and columns. Widths are fixed but for the name's, so that two tables that are
// shown one after the other can be compared by eye. A row is asked for as a whole, and then shown.
#include "tables.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "attributes.h"
#include "figures.h"
#include "if_index.h"
#include "terminal.h"

namespace shell
{
namespace
{

using json = nlohmann::ordered_json;

struct interface_row {
    listed who;
    std::string failure; // empty: the rest is known
    std::string_view type;
    bool link, protocol, switched;
    u32 mtu, encap, vlan;
    std::string mac;
};

struct column {
    std::string_view title;
    std::size_t width;
    char alignment;
};

// The name's width depends on the names.
constexpr column columns[] = {
    {"NAME", 4, '<'},  {"IOD", 5, '>'},   {"IF-INDEX", 10, '<'}, {"TYPE", 8, '<'},
    {"LINK", 4, '<'},  {"PROTO", 5, '<'}, {"MTU", 5, '>'},       {"MAC", 14, '<'},
    {"ENCAP", 5, '>'}, {"L", 2, '<'},     {"VLAN", 4, '>'},
};
constexpr std::size_t num_columns = std::size(columns);
constexpr std::size_t gap = 2;

using cells = std::array<std::string, num_columns>;

std::string_view type_word(const listed &entry)
{
    std::uint8_t type = 0;
    if (if_index_get_type(entry.if_index, &type) != 0)
        return "?";
    switch (type) {
    case IF_INDEX_TYPE_MGMT:
        return "mgmt";
    case IF_INDEX_TYPE_CBUS:
        return "cbus";
    case IF_INDEX_TYPE_SVI:
        return "svi";
    case IF_INDEX_TYPE_PC:
        return "channel";
    case IF_INDEX_TYPE_GRE:
        return "gre";
    case IF_INDEX_TYPE_PHYSICAL:
        return "physical";
    default:
        break;
    }
    if (varn_ifsvc_is_loopback(entry.iod) != 0)
        return "loopback";
    if (varn_ifsvc_is_vlan(entry.iod) != 0)
        return "vlan";
    return varn_ifsvc_is_null0(entry.iod) != 0 ? "null" : "other";
}

// Only an Ethernet interface has a MAC address worth a request.
interface_row ask_row(const listed &subject)
{
    const u32 iod = subject.iod;
    attempt asking(iod);
    interface_row row{};
    row.who = subject;
    row.type = type_word(subject);
    row.link = varn_ifsvc_is_linkup(iod) != 0;
    row.protocol = varn_ifsvc_is_protoup(iod) != 0;
    row.mtu = varn_ifsvc_get_if_mtu(iod);
    if (varn_ifsvc_is_ethernet(iod) != 0)
        row.mac = mac_text(varn_ifsvc_get_if_mac_addr(iod));
    row.encap = varn_ifsvc_get_if_encaptype(iod);
    row.switched = varn_ifsvc_is_switchport(iod) != 0;
    row.vlan = varn_ifsvc_get_if_vlanid(iod);
    row.failure = asking.failure();
    return row;
}

std::vector<interface_row> ask_rows(const std::vector<listed> &interfaces)
{
    std::vector<interface_row> rows;
    rows.reserve(interfaces.size());
    for (const listed &subject : interfaces)
        rows.push_back(ask_row(subject));
    return rows;
}

// ---- As a table

std::string padded(std::size_t number, std::string_view text, std::size_t name_width)
{
    const column &place = columns[number];
    const std::size_t width = number == 0 ? name_width : place.width;
    return place.alignment == '<' ? fmt::format("{:<{}}", text, width)
                                  : fmt::format("{:>{}}", text, width);
}

// Padded before it is coloured: a terminal's codes have no width.
std::string up_or_down(std::size_t number, bool up)
{
    return coloured(padded(number, up ? "up" : "down", 0), up ? 32 : 31);
}

cells cells_of(const interface_row &row, std::size_t name_width)
{
    const auto text = [=](std::size_t number, const std::string &cell) {
        return padded(number, cell, name_width);
    };
    return {text(0, row.who.name),
            text(1, fmt::format("{}", row.who.iod)),
            text(2, fmt::format("0x{:08x}", row.who.if_index)),
            text(3, std::string(row.type)),
            up_or_down(4, row.link),
            up_or_down(5, row.protocol),
            text(6, fmt::format("{}", row.mtu)),
            text(7, row.mac.empty() ? "-" : row.mac),
            text(8, fmt::format("{}", row.encap)),
            text(9, row.switched ? "L2" : "L3"),
            text(10, row.vlan != 0 ? fmt::format("{}", row.vlan) : "-")};
}

std::size_t widest_name(const std::vector<interface_row> &rows)
{
    std::size_t width = columns[0].width;
    for (const interface_row &row : rows)
        width = std::max(width, row.who.name.size());
    return width;
}

// How many columns there is room for; the name is always shown.
std::size_t fitting(std::size_t name_width)
{
    std::size_t used = name_width;
    for (std::size_t number = 1; number < num_columns; ++number) {
        used += gap + columns[number].width;
        if (used > screen_size().columns)
            return number;
    }
    return num_columns;
}

void print_cells(const cells &row, std::size_t shown)
{
    fmt::print("{}\n",
               fmt::join(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(shown), "  "));
}

void print_table(const std::vector<interface_row> &rows)
{
    const std::size_t name_width = widest_name(rows);
    const std::size_t shown = fitting(name_width);
    cells titles;
    for (std::size_t number = 0; number < num_columns; ++number)
        titles[number] = padded(number, columns[number].title, name_width);
    print_cells(titles, shown);
    for (const interface_row &row : rows)
        if (row.failure.empty())
            print_cells(cells_of(row, name_width), shown);
        else
            fmt::print("{:<{}}  {:>5}  not known: {}\n", row.who.name, name_width, row.who.iod,
                       row.failure);
    if (shown == num_columns)
        return;
    std::vector<std::string_view> left_out;
    for (std::size_t number = shown; number < num_columns; ++number)
        left_out.push_back(columns[number].title);
    fmt::print("left out for want of room: {}\n", fmt::join(left_out, " "));
}

// ---- As JSON

json json_of(const interface_row &row)
{
    json object = {{"name", row.who.name},
                   {"iod", row.who.iod},
                   {"if_index", fmt::format("0x{:08x}", row.who.if_index)}};
    if (!row.failure.empty()) {
        object["error"] = row.failure;
        return object;
    }
    object["type"] = row.type;
    object["link"] = row.link;
    object["protocol"] = row.protocol;
    object["mtu"] = row.mtu;
    object["mac"] = row.mac.empty() ? json() : json(row.mac);
    object["encap"] = row.encap;
    object["switchport"] = row.switched;
    object["vlan"] = row.vlan == 0 ? json() : json(row.vlan);
    return object;
}

// An interface's name need not be UTF-8.
void print_json(const json &value)
{
    fmt::print("{}\n", value.dump(2, ' ', false, json::error_handler_t::replace));
}

} // namespace

std::string ask_about(const listed &subject) { return ask_row(subject).failure; }

std::string show_interfaces(const std::vector<listed> &interfaces, shape shown_as)
{
    const std::vector<interface_row> rows = ask_rows(interfaces);
    if (shown_as == shape::text) {
        print_table(rows);
    } else {
        json all = json::array();
        for (const interface_row &row : rows)
            all.push_back(json_of(row));
        print_json(all);
    }
    std::string failure;
    for (const interface_row &row : rows)
        if (!row.failure.empty())
            failure = row.failure;
    return failure;
}

// ---- Statistics

namespace
{

void print_stats(const figures &now, const notices &told)
{
    fmt::print("{:<12}  {:>12}  {:>12}  {:>12}  {:>8}\n", "ATTRIBUTE", "HITS", "MISSES", "UPDATES",
               "HIT RATE");
    for (const question_figures &row : now.questions)
        if (row.hits + row.misses + row.updates != 0)
            fmt::print("{:<12}  {:>12}  {:>12}  {:>12}  {:>8}\n", row.attribute, row.hits,
                       row.misses, row.updates, hit_rate(row.hits, row.misses));
    fmt::print("entries: {} now, {} made, {} removed; requests sent: {}; notices: {}\n",
               now.tables[0].entries, now.turnover[0].made, now.turnover[0].removed, now.requests,
               told.count());
}

json json_of(const figures &now, const notices &told)
{
    json object;
    object["enabled"] = now.enabled;
    object["connected"] = now.connected;
    object["attributes"] = json::object();
    for (const question_figures &row : now.questions)
        object["attributes"][std::string(row.attribute)] = {
            {"hits", row.hits}, {"misses", row.misses}, {"updates", row.updates}};
    object["tables"] = json::object();
    for (const table_figures &row : now.tables)
        object["tables"][std::string(row.table)] = row.entries;
    object["entries"] = json::object();
    for (const turnover_figures &row : now.turnover)
        object["entries"][std::string(row.kind)] = {{"made", row.made}, {"removed", row.removed}};
    object["notices"] = json::object();
    for (const auto &[kind, count] : told.counts())
        object["notices"][kind] = count;
    object["requests"] = now.requests;
    return object;
}

} // namespace

void show_stats(const notices &told, shape shown_as)
{
    const figures now = read_figures();
    if (shown_as == shape::text)
        print_stats(now, told);
    else
        print_json(json_of(now, told));
}

} // namespace shell
