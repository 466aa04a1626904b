// SPDX-License-Identifier: Apache-2.0
//
// metrics.cpp: one family after the other, each with all of its samples together, as the format
// wants it. A counter's sample ends in _total, an info's in _info, and a family with a unit ends
// in it.
#include "metrics.h"

#include <vector>

#include <fmt/format.h>

namespace shell
{
namespace
{

// Backslash, quote and line end are the three that have a meaning within quotes.
std::string escaped(std::string_view text)
{
    std::string out;
    for (const char c : text) {
        if (c == '\n') {
            out.append("\\n");
            continue;
        }
        if (c == '\\' || c == '"')
            out.push_back('\\');
        out.push_back(c);
    }
    return out;
}

class exposition
{
public:
    void family(std::string_view name, std::string_view type, std::string_view help,
                std::string_view unit = {})
    {
        name_ = name;
        suffix_ = type == "counter" ? "_total" : type == "info" ? "_info" : "";
        fmt::format_to(std::back_inserter(text_), "# TYPE {} {}\n", name, type);
        if (!unit.empty())
            fmt::format_to(std::back_inserter(text_), "# UNIT {} {}\n", name, unit);
        fmt::format_to(std::back_inserter(text_), "# HELP {} {}\n", name, escaped(help));
    }

    void sample(u64 value)
    {
        fmt::format_to(std::back_inserter(text_), "{}{} {}\n", name_, suffix_, value);
    }

    void sample(std::string_view label, std::string_view its_value, u64 value)
    {
        fmt::format_to(std::back_inserter(text_), "{}{}{{{}=\"{}\"}} {}\n", name_, suffix_, label,
                       escaped(its_value), value);
    }

    std::string end()
    {
        text_.append("# EOF\n");
        return std::move(text_);
    }

private:
    std::string text_;
    std::string name_, suffix_;
};

template <typename Row>
void samples(exposition &out, std::string_view label, const std::vector<Row> &rows,
             std::string_view Row::*name, u64 Row::*value)
{
    for (const Row &row : rows)
        out.sample(label, row.*name, row.*value);
}

void questions(exposition &out, const figures &now)
{
    using row = question_figures;
    out.family("varn_cache_hits", "counter", "Questions answered from the cache.");
    samples(out, "attribute", now.questions, &row::attribute, &row::hits);
    out.family("varn_cache_misses", "counter", "Questions that the cache could not answer.");
    samples(out, "attribute", now.questions, &row::attribute, &row::misses);
    out.family("varn_cache_updates", "counter",
               "Values taken otherwise: refreshes, notices, setters.");
    samples(out, "attribute", now.questions, &row::attribute, &row::updates);
}

void tables(exposition &out, const figures &now)
{
    out.family("varn_cache_entries", "gauge", "Entries in each table.");
    samples(out, "table", now.tables, &table_figures::table, &table_figures::entries);
    out.family("varn_cache_records_bytes", "gauge", "Memory of the records of each kind.", "bytes");
    for (const table_figures &row : now.tables)
        if (row.table == "interface" || row.table == "vlan" || row.table == "pc")
            out.sample("kind", row.table, row.bytes);
    out.family("varn_cache_entries_made", "counter", "Entries made.");
    samples(out, "kind", now.turnover, &turnover_figures::kind, &turnover_figures::made);
    out.family("varn_cache_entries_removed", "counter", "Entries removed.");
    samples(out, "kind", now.turnover, &turnover_figures::kind, &turnover_figures::removed);
}

} // namespace

std::string metrics_text(const figures &now, const std::map<std::string, u64> &told,
                         const std::string &socket)
{
    exposition out;
    out.family("varn_client", "info", "Where this process asks.");
    out.sample("socket", socket, 1);
    out.family("varn_cache_enabled", "gauge", "1 while the cache is on.");
    out.sample(now.enabled);
    out.family("varn_connected", "gauge", "1 while there is a connection to the service.");
    out.sample(now.connected);
    questions(out, now);
    tables(out, now);
    out.family("varn_notices", "counter", "Notices received, by kind.");
    for (const auto &[kind, count] : told)
        out.sample("notice", kind, count);
    out.family("varn_notices_handled", "counter", "Notices that a handler of the cache took.");
    samples(out, "handler", now.handlers, &handler_figures::handler, &handler_figures::handled);
    out.family("varn_requests", "counter", "Requests sent to the service.");
    out.sample(now.requests);
    return out.end();
}

} // namespace shell
