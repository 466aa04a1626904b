// SPDX-License-Identifier: Apache-2.0
//
// questions_tests.cpp: the table of queries is complete. A query is known by how its name begins.
#include <algorithm>
#include <fstream>
#include <set>

#include <gtest/gtest.h>

#include "differences.h"
#include "questions.h"

namespace
{

using names = std::set<std::string>;

bool is_query(const std::string &name)
{
    constexpr const char *beginnings[] = {
        "varn_ifsvc_get_", "varn_ifsvc_is_",       "varn_lifsvc_", "varn_idxsvc_",
        "varn_aggsvc_",    "varn_portsvc_",        "varn_get_if_", "varn_vlan_get_bd",
        "varn_pvlan_",     "varn_vlan_to_flood_di"};
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [&name](const char *beginning) { return name.starts_with(beginning); });
}

names exported_queries_by_the_map()
{
    names found;
    std::ifstream map(VARN_MAP);
    for (std::string name; map >> name;)
        if (name.ends_with(";") && is_query(name))
            found.insert(name.substr(0, name.size() - 1));
    return found;
}

TEST(Questions, AreAllQueriesThatTheLibraryExports)
{
    names asked;
    for (const coherence::query &each : coherence::exported_queries())
        EXPECT_TRUE(asked.insert(each.name).second) << each.name;
    EXPECT_EQ(asked, exported_queries_by_the_map());
    EXPECT_GE(asked.size(), 50u);
}

TEST(Questions, AreWhatTheDifferencesAreAbout)
{
    for (const coherence::difference &each : coherence::differences())
        EXPECT_NO_THROW(coherence::find_query(each.query)) << each.query;
}

} // namespace
