// SPDX-License-Identifier: Apache-2.0
//
// Lines are numbered from the start of the process, so that a line that was forgotten while its
// call was still running is told from one that took its place.
#include "journal.h"

namespace scripted
{

namespace
{

constexpr unsigned only_services = 1u << services;

struct journal {
    std::vector<std::string> lines;
    std::size_t first = 0; // number of lines[0]
    unsigned recorded = only_services;
    std::vector<std::string> complaints;
};

journal &the_journal()
{
    static journal kept;
    return kept;
}

} // namespace

void record(family what, bool on)
{
    unsigned &recorded = the_journal().recorded;
    recorded = on ? recorded | (1u << what) : recorded & ~(1u << what);
}

bool is_recorded(family what) { return (the_journal().recorded >> what & 1u) != 0; }

std::string calls()
{
    std::string joined;
    for (const std::string &line : the_journal().lines)
        joined += line + '\n';
    if (!joined.empty())
        joined.pop_back();
    forget();
    return joined;
}

void forget()
{
    journal &kept = the_journal();
    kept.first += kept.lines.size();
    kept.lines.clear();
}

const std::vector<std::string> &complaints() { return the_journal().complaints; }

void complain(const std::string &about) { the_journal().complaints.push_back(about); }

void note(const std::string &line) { the_journal().lines.push_back(line); }

std::size_t open_line(family what)
{
    if (!is_recorded(what))
        return no_line;
    journal &kept = the_journal();
    kept.lines.emplace_back("(not returned)");
    return kept.first + kept.lines.size() - 1;
}

void write_line(std::size_t line, const std::string &text)
{
    journal &kept = the_journal();
    if (line != no_line && line >= kept.first)
        kept.lines[line - kept.first] = text;
}

void reset_journal()
{
    forget();
    the_journal().recorded = only_services;
    the_journal().complaints.clear();
}

} // namespace scripted
