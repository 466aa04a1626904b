// SPDX-License-Identifier: Apache-2.0
//
// shell_completion_tests.cpp: what may stand where the cursor is, as the usage of a command says.
#include <gtest/gtest.h>

#include "shell/completion.h"

namespace
{

using shell::words;

words named(std::string_view kind)
{
    if (kind == "ATTRIBUTE")
        return {"linkup", "loopback", "mtu"};
    return kind == "IF" ? words{"port0", "port1"} : words{};
}

words after(std::string_view usage, std::string_view line)
{
    const shell::unfinished_command typed = shell::read_unfinished(line);
    return shell::beginning_with(typed.last, shell::candidates_for(usage, typed, named));
}

constexpr char query[] = "[--direct] [--json] ATTRIBUTE IF";
constexpr char flush[] = "[IF] [low|med|crit|all]";

TEST(Completion, GivesWhatStandsAtThePlace)
{
    EXPECT_EQ(after(query, "query "), (words{"linkup", "loopback", "mtu"}));
    EXPECT_EQ(after(query, "query lo"), (words{"loopback"}));
    EXPECT_EQ(after(query, "query mtu "), (words{"port0", "port1"}));
    EXPECT_EQ(after(query, "query mtu port0 "), (words{}));
}

TEST(Completion, DoesNotCountOptionsAsPlaces)
{
    EXPECT_EQ(after(query, "query --"), (words{"--direct", "--json"}));
    EXPECT_EQ(after(query, "query --json m"), (words{"mtu"}));
    EXPECT_EQ(after(query, "query --json mtu port1"), (words{"port1"}));
}

TEST(Completion, OffersWhatFollowsAWordThatMayBeLeftOut)
{
    EXPECT_EQ(after(flush, "flush "), (words{"all", "crit", "low", "med", "port0", "port1"}));
    EXPECT_EQ(after(flush, "flush port0 "), (words{"all", "crit", "low", "med"}));
    EXPECT_EQ(after("IF [ATTRIBUTE]", "stale "), (words{"port0", "port1"}));
}

TEST(Completion, LooksAtTheLastCommandOfALine)
{
    const shell::unfinished_command typed = shell::read_unfinished("stats; query m");
    EXPECT_EQ(typed.before, (words{"query"}));
    EXPECT_EQ(typed.last, "m");
    EXPECT_EQ(shell::read_unfinished("stats;").before, (words{}));
}

TEST(Completion, FindsWhatAllCandidatesShare)
{
    EXPECT_EQ(shell::shared_beginning({"port10", "port1", "port2"}), "port");
    EXPECT_EQ(shell::shared_beginning({"mtu"}), "mtu");
    EXPECT_EQ(shell::shared_beginning({}), "");
}

TEST(Completion, ListsInColumnsThatFit)
{
    const words five = {"a", "bb", "c", "d", "e"};
    EXPECT_EQ(shell::in_columns(five, 12), "a   c   e\nbb  d");
    EXPECT_EQ(shell::in_columns(five, 11), "a   d\nbb  e\nc");
    EXPECT_EQ(shell::in_columns(five, 1), "a\nbb\nc\nd\ne");
    EXPECT_EQ(shell::in_columns({"a", "b"}, 80), "a  b");
}

} // namespace
