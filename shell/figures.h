// SPDX-License-Identifier: Apache-2.0
//
// figures.h: everything that this process counts, read at one moment. What is shown as statistics,
// as metrics or as rates is made of these.
#ifndef VARNSH_FIGURES_H
#define VARNSH_FIGURES_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "cache.h"

namespace shell
{

// One kind of question to the cache.
struct question_figures {
    std::string_view attribute;
    u64 hits, misses, updates;
};

struct table_figures {
    std::string_view table;
    u64 entries;
    u64 bytes; // of the records, each counted in the first table that it stands in
};

// Entries that were made and removed, by kind.
struct turnover_figures {
    std::string_view kind;
    u64 made, removed;
};

// Notices that a handler of the cache took.
struct handler_figures {
    std::string_view handler;
    u64 handled;
};

struct figures {
    std::vector<question_figures> questions;
    std::vector<table_figures> tables;
    std::vector<turnover_figures> turnover;
    std::vector<handler_figures> handlers;
    u64 requests;
    bool enabled, connected;

    u64 hits() const;
    u64 misses() const;
    u64 updates() const;
};

figures read_figures();

// "99.8 %", or "-" where nothing was asked.
std::string hit_rate(u64 hits, u64 misses);

} // namespace shell

#endif
