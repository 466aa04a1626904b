// SPDX-License-Identifier: Apache-2.0
//
// columns.h: rows of texts as a table.
#ifndef VARNCTL_COLUMNS_H
#define VARNCTL_COLUMNS_H

#include <string>
#include <vector>

namespace control
{

// A line of titles and a line for each row, each column as wide as its widest text. Columns in which
// every text is a number or "-" stand to the right.
std::string in_columns(const std::vector<std::string> &titles,
                       const std::vector<std::vector<std::string>> &rows);

// The text with a mark in place of whatever is not printable: it may come from anywhere.
std::string printable(const std::string &text);

} // namespace control

#endif
