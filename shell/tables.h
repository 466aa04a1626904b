// SPDX-License-Identifier: Apache-2.0
//
// tables.h: what is shown as a table, on at most 100 columns.
#ifndef VARNSH_TABLES_H
#define VARNSH_TABLES_H

#include "roster.h"

namespace shell
{

// One row an interface, from cached queries alone. The last reason why a row could not be
// answered, or empty.
std::string show_interfaces(const std::vector<listed> &interfaces);

// Hits, misses and updates of every attribute that was asked for.
void show_stats();

} // namespace shell

#endif
