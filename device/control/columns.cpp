// SPDX-License-Identifier: Apache-2.0
//
// columns.cpp: widths, and what may be printed.
#include "columns.h"

#include <algorithm>

#include <fmt/format.h>

namespace control
{
namespace
{

using row = std::vector<std::string>;

bool is_number(const std::string &text)
{
    return text == "-" || std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

struct column {
    std::size_t width;
    bool to_the_right;
};

column measure(const std::string &title, const std::vector<row> &rows, std::size_t place)
{
    column measured = {title.size(), true};
    bool has_number = false;
    for (const row &each : rows) {
        measured.width = std::max(measured.width, each[place].size());
        measured.to_the_right = measured.to_the_right && is_number(each[place]);
        has_number = has_number || each[place] != "-";
    }
    measured.to_the_right = measured.to_the_right && has_number;
    return measured;
}

std::string line_of(const row &texts, const std::vector<column> &columns)
{
    std::string line;
    for (std::size_t n = 0; n < texts.size(); ++n) {
        line.append(n == 0 ? "" : "  ");
        line.append(columns[n].to_the_right ? fmt::format("{:>{}}", texts[n], columns[n].width)
                                            : fmt::format("{:<{}}", texts[n], columns[n].width));
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

} // namespace

std::string in_columns(const std::vector<std::string> &titles, const std::vector<row> &rows)
{
    std::vector<column> columns;
    for (std::size_t n = 0; n < titles.size(); ++n)
        columns.push_back(measure(titles[n], rows, n));
    std::string text = line_of(titles, columns);
    for (const row &each : rows)
        text.append(line_of(each, columns));
    return text;
}

std::string printable(const std::string &text)
{
    std::string shown = text;
    std::ranges::replace_if(
        shown, [](char c) { return c < ' ' || c > '~'; }, '?');
    return shown;
}

} // namespace control
