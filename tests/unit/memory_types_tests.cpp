// SPDX-License-Identifier: Apache-2.0
//
// The memory types: the names under which the accounting allocator keeps the library's records, by
// value and back.
#include "varn.h"
#include "varn_fixture.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace
{

struct memory_type {
    uint32_t value;
    const char *name;
};

const memory_type memory_types[] = {{0, "VARN_MEM_NONE"},
                                    {1, "VARN_MEM_varn_if_entry_t"},
                                    {2, "VARN_MEM_varn_vlan_entry_t"},
                                    {3, "VARN_MEM_varn_pc_entry_t"},
                                    {4, "VARN_MEM_MAX"}};

template <typename Change>
std::string changed(std::string text, Change change)
{
    for (char &each : text)
        each = static_cast<char>(change(static_cast<unsigned char>(each)));
    return text;
}

using MemTypeFind = varn_test;
using MemTypeStr2enum = varn_test;

TEST_F(MemTypeFind, GivesTheNameOfEveryType)
{
    for (const memory_type &each : memory_types)
        EXPECT_STREQ(__varn_mem_type_t_find(each.value), each.name);
}

TEST_F(MemTypeFind, OfFourGivesTheNameOfTheEnd)
{
    EXPECT_STREQ(__varn_mem_type_t_find(4), "VARN_MEM_MAX");
}

TEST_F(MemTypeFind, OfAnyOtherValueGivesNull)
{
    for (const uint32_t value : {5u, 6u, 255u, 256u, 257u, 0x80000001u, 0xFFFFFFFFu})
        EXPECT_EQ(__varn_mem_type_t_find(value), nullptr) << value;
}

TEST_F(MemTypeFind, NeedsNoInitialisedCache)
{
    EXPECT_EQ(varn_enabled, 0u);
    EXPECT_STREQ(__varn_mem_type_t_find(3), "VARN_MEM_varn_pc_entry_t");
}

TEST_F(MemTypeStr2enum, GivesTheValueOfEveryName)
{
    for (const memory_type &each : memory_types)
        EXPECT_EQ(__varn_mem_type_t_str2enum(each.name), each.value) << each.name;
}

TEST_F(MemTypeStr2enum, IgnoresTheCaseOfEveryName)
{
    for (const memory_type &each : memory_types) {
        SCOPED_TRACE(each.name);
        const std::string lower =
            changed(each.name, [](int letter) { return std::tolower(letter); });
        const std::string upper =
            changed(each.name, [](int letter) { return std::toupper(letter); });
        EXPECT_EQ(__varn_mem_type_t_str2enum(lower.c_str()), each.value);
        EXPECT_EQ(__varn_mem_type_t_str2enum(upper.c_str()), each.value);
    }
}

TEST_F(MemTypeStr2enum, OfTheFirstRecordAllInLowerCaseGivesOne)
{
    EXPECT_EQ(__varn_mem_type_t_str2enum("varn_mem_varn_if_entry_t"), 1u);
}

TEST_F(MemTypeStr2enum, OfTheNoneTypeGivesZero)
{
    EXPECT_EQ(__varn_mem_type_t_str2enum("VARN_MEM_NONE"), 0u);
}

TEST_F(MemTypeStr2enum, OfAnUnknownNameGivesZero)
{
    for (const char *name : {"", "VARN_MEM_", "VARN_MEM_varn_if_entry", "VARN_MEM_varn_if_entry_t ",
                             "VARN_MEM_varn_xx_entry_t", " VARN_MEM_MAX", "4"})
        EXPECT_EQ(__varn_mem_type_t_str2enum(name), 0u) << name;
}

} // namespace
