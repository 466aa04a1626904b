// SPDX-License-Identifier: Apache-2.0
//
// What is the caller's fault: a debug build stops, and says in which function and against which
// rule of varn.h. A release build does not look, and has the first test only. The rules about
// callbacks have a file of their own.
#include "misuse_calls.h"

#include <fstream>
#include <set>
#include <sstream>
#include <thread>

namespace
{

// Where a call is not looked at, because it touches nothing that changes.
const std::set<std::string> pure{"varn_is_enabled", "__varn_mem_type_t_find",
                                 "__varn_mem_type_t_str2enum"};

bool is_table_callback(const std::string &name)
{
    return name.ends_with("_hash") || name.ends_with("_get_key") || name.ends_with("_keys_equal");
}

// The functions of the library's map; the objects stand before the first of them, in lines of their
// own.
std::set<std::string> exported_functions()
{
    const std::set<std::string> objects{"varn",          "varn_enabled", "varn_do_sync",
                                        "varn_error_cb", "varn_iodbmp",  "varn_print_str"};
    std::ifstream map(VARN_MAP);
    std::set<std::string> names;
    for (std::string word_read; map >> word_read;)
        if (word_read.ends_with(';') && word_read.find("varn") != std::string::npos)
            names.insert(word_read.substr(0, word_read.size() - 1));
    for (const std::string &object : objects)
        EXPECT_EQ(names.erase(object), 1u) << object;
    return names;
}

TEST(MisuseCalls, AreThoseOfEveryExportedFunctionThatLooks)
{
    std::set<std::string> listed;
    for (const auto &part : {calls_of_the_lifecycle(), calls_of_a_running_cache()})
        for (const exported_call &each : part)
            EXPECT_TRUE(listed.insert(each.function).second) << each.function << " stands twice";
    std::set<std::string> looking;
    for (const std::string &name : exported_functions())
        if (!pure.contains(name) && !is_table_callback(name))
            looking.insert(name);
    EXPECT_EQ(listed, looking);
}

#ifndef NDEBUG

// What on_create does, beside being heard.
std::function<void()> &deed()
{
    static std::function<void()> kept;
    return kept;
}

class Misuse : public varn_test
{
protected:
    Misuse() { given(port(7), port(8), port_channel(3).members({0x1a000007}), vlan(20)); }
    ~Misuse() override { deed() = nullptr; }

    void start_with_everything()
    {
        start(config().sync(all_entry_bits | bits(30, 31, 32, 33)).on_create([](u32) {
            if (deed())
                deed()();
        }));
    }
};

TEST_F(Misuse, OfAHashBucketBeyond15Stops)
{
    start_with_everything();
    for (const int rbh : {16, 17, 255})
        EXPECT_DEATH(
            varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel3, static_cast<std::uint8_t>(rbh), &word),
            stop_of("varn_aggsvc_get_pc_mbr_ifidx_from_rbh", 1));
    EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel3, 15, &word), 0u);
}

TEST_F(Misuse, OfAHashBucketBeyond15IsNotSeenWithPortChannelsNotCached)
{
    start(config().sync(all_entry_bits));
    on(aggsvc_get_pc_mbr_ifidx_from_rbh).answers(0, 0x1a000007);
    EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel3, 16, &word), 0u);
}

TEST_F(Misuse, OfAnIodBeyondTheBitmapStops)
{
    start_with_everything();
    for (const u32 iod : {u32{32768}, u32{32769}, u32{0xFFFFFFFF}})
        EXPECT_DEATH(varn_if_remove_entry_by_if_ext(port7, iod, 0),
                     stop_of("varn_if_remove_entry_by_if_ext", 2));
    EXPECT_EQ(varn_if_remove_entry_by_if_ext(port7, 32767, 0), 0u);
}

TEST_F(Misuse, OfANullPointerStops)
{
    start_with_everything();
    for (const exported_call &each : calls_with_null())
        EXPECT_DEATH(each.call(), stop_of(each.function, 3));
}

// The first thread is inside for as long as the callback runs.
TEST_F(Misuse, ByASecondThreadStopsWhileTheFirstIsInside)
{
    start_with_everything();
    for (const auto &part : {calls_of_the_lifecycle(), calls_of_a_running_cache()})
        for (const exported_call &each : part) {
            deed() = [&each] { std::thread(each.call).join(); };
            EXPECT_DEATH(varn_if_create_entry_by_iod(7), stop_of(each.function, 4));
        }
}

TEST_F(Misuse, ByASecondThreadIsSeenOnAHitToo)
{
    start_with_everything();
    varn_if_create_entry_by_iod(7);
    deed() = [] { std::thread([] { varn_ifsvc_is_linkup(7); }).join(); };
    EXPECT_DEATH(varn_if_create_entry_by_iod(8), stop_of("varn_ifsvc_is_linkup", 4));
}

TEST_F(Misuse, IsNotACallOfASecondThreadAfterTheFirstLeft)
{
    start_with_everything();
    varn_if_create_entry_by_iod(7);
    std::thread([] { EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u); }).join();
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
}

TEST_F(Misuse, AfterACleanupStops)
{
    start_with_everything();
    varn_cleanup();
    EXPECT_DEATH(varn_disable_cache(), stop_of("varn_disable_cache", 5));
    EXPECT_DEATH(varn_restore_cache(), stop_of("varn_restore_cache", 5));
    for (const exported_call &each : calls_of_a_running_cache())
        EXPECT_DEATH(each.call(), stop_of(each.function, 5));
}

TEST_F(Misuse, IsNotASecondCleanupNorTheNextStart)
{
    start_with_everything();
    EXPECT_EQ(varn_cleanup(), 1u);
    EXPECT_EQ(varn_cleanup(), 1u);
    EXPECT_EQ(init(config().sync(all_entry_bits)), 1u);
    EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
}

#endif

} // namespace
