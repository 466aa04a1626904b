// SPDX-License-Identifier: Apache-2.0
//
// tables.h: what is shown as a table, on at most 100 columns, or as JSON.
#ifndef VARNSH_TABLES_H
#define VARNSH_TABLES_H

#include "notices.h"
#include "roster.h"

namespace shell
{

enum class shape { text, json };

// Asks all that a row of the table needs of an interface. Empty, or why it could not be answered.
std::string ask_about(const listed &subject);

// One row an interface, from cached queries alone. The last reason why a row could not be
// answered, or empty. On a terminal that is too narrow the columns that do not fit are left out.
std::string show_interfaces(const std::vector<listed> &interfaces, shape shown_as);

// Hits, misses and updates of every attribute that was asked for.
void show_stats(const notices &told, shape shown_as);

} // namespace shell

#endif
