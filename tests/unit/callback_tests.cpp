// SPDX-License-Identifier: Apache-2.0
//
// What a callback may call back (the list in varn.h): each callback asks queries and changes other
// interfaces, and the call that it came from goes on as if nothing had been.
#include "callback_ground.h"

#include <array>

namespace
{

// Asks about both interfaces, makes one, refreshes one and removes one, none of them port 7.
void ask_and_change_others()
{
    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 1500u);
    EXPECT_EQ(varn_ifsvc_is_linkup(8), 1u);
    EXPECT_NE(varn_if_create_entry_by_iod(9), nullptr);
    EXPECT_EQ(varn_if_update_if(0x1a000009), 1u);
    EXPECT_EQ(varn_if_remove_entry_by_iod(9), 1u);
    EXPECT_EQ(varn_if_flush_all(1), 1u);
    const varn_phy_update_t gone{0x1a000008, 8, 2};
    EXPECT_EQ(varn_update_phy_state(&gone), 1u);
}

using Callback = callback_test;

TEST_F(Callback, OnCreateMayCallBack)
{
    start_with_traps();
    at("on_create", ask_and_change_others);
    EXPECT_NE(varn_if_create_entry_by_iod(7), nullptr);
    EXPECT_TRUE(is_sprung());
    EXPECT_NE(entry(7), nullptr);
    EXPECT_EQ(entry(8), nullptr);
    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 1500u);
}

TEST_F(Callback, OnCreateMaySwitchTheCacheOffAndOnAgain)
{
    start_with_traps();
    at("on_create", [] {
        varn_disable_cache();
        varn_restore_cache();
    });
    EXPECT_NE(varn_if_create_entry_by_iod(7), nullptr);
    EXPECT_TRUE(is_sprung());
    EXPECT_NE(entry(7), nullptr);
}

TEST_F(Callback, ADecoderMayCallBackFromARefresh)
{
    start_with_traps();
    at("decoder", ask_and_change_others);
    EXPECT_NE(varn_if_create_entry_by_iod(7), nullptr);
    EXPECT_TRUE(is_sprung());
    ASSERT_NE(entry(7), nullptr);
    EXPECT_EQ(entry(7)->extn[0], 0x53u);
}

TEST_F(Callback, ADecoderMayCallBackFromEachQueryThatDecodes)
{
    start_with_traps();
    varn_if_entry_t *made = varn_if_create_entry_by_iod(7);
    u32 size = 0, word = 0;
    std::uint16_t half = 0;
    const std::array<std::function<u32()>, 3> queries{
        [] { return varn_ifsvc_is_extension_set(7, 0x11) + 0x52; },
        [&] { return static_cast<u32>(varn_ifsvc_get_private_data(7, 0x11, &size)); },
        [&] {
            u32 data = 0;
            varn_get_if_l2_info_by_pi(0x107, &word, &word, &word, &half, &word, &word, &word,
                                      &data);
            return data;
        }};
    for (const auto &query : queries) {
        made->dirty |= bits(5);
        at("decoder", ask_and_change_others);
        EXPECT_EQ(query(), 0x53u);
        EXPECT_TRUE(is_sprung());
        EXPECT_EQ(entry(7), made);
    }
}

TEST_F(Callback, ExtnFreeMayCallBack)
{
    start_with_traps();
    varn_if_create_entry_by_iod(7);
    at("extn_free", [] {
        EXPECT_EQ(varn_ifsvc_is_linkup(8), 1u);
        EXPECT_EQ(varn_if_remove_entry_by_iod(8), 1u);
    });
    EXPECT_EQ(varn_if_remove_entry_by_iod(7), 1u);
    EXPECT_TRUE(is_sprung());
    EXPECT_EQ(entry(7), nullptr);
}

TEST_F(Callback, ExtnFreeThatAsksAboutTheInterfaceMakesItAnew)
{
    start_with_traps();
    varn_if_create_entry_by_iod(7);
    at("extn_free", [] { EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u); });
    EXPECT_EQ(varn_if_remove_entry_by_iod(7), 1u);
    EXPECT_TRUE(is_sprung());
    EXPECT_NE(entry(7), nullptr);
}

TEST_F(Callback, ATraceSinkMayCallBackFromARefresh)
{
    start_with_traps();
    varn_if_create_entry_by_iod(7);
    for (const bool with_argument : {true, false}) {
        varn.config.debug_print_arg = with_argument ? springing_debug_print_arg : nullptr;
        varn.config.debug_print = with_argument ? nullptr : springing_debug_print;
        at("Varn-update for", ask_and_change_others);
        EXPECT_EQ(varn_if_update_if(port7), 1u);
        EXPECT_TRUE(is_sprung());
        EXPECT_NE(entry(7), nullptr);
    }
}

// A handler first traces and then looks for the entry.
TEST_F(Callback, ATraceSinkMayRemoveTheEntryBeforeAHandlerFindsIt)
{
    start_with_traps();
    varn.config.track_l3 = 0;
    varn_l2_update_t l2{};
    l2.if_index = port7;
    l2.iod = 7;
    varn_l3_update_t l3{port7, 7, 1, {}, 1500};
    const varn_l3_param_update_t param{0, 7};
    struct handler {
        const char *message;
        std::function<int()> handle;
        int without_entry;
    };
    const std::array<handler, 7> handlers{{
        {"switchport update", [] { return static_cast<int>(varn_update_switchport(7)); }, 0},
        {"vlan update", [] { return static_cast<int>(varn_update_vlan(7)); }, 0},
        {"L2 bundle", [&] { return static_cast<int>(varn_update_l2_bundle_state(&l2)); }, 0},
        {"L3 bundle", [&] { return static_cast<int>(varn_update_l3_bundle_state(&l3)); }, 0},
        {"Phy state", [&] { return static_cast<int>(varn_update_l3_param(&param, nullptr)); }, 0},
        {"L2 protocol", [&] { return varn_update_l2_state(&l2); }, -1},
        {"L3 Protocol", [&] { return varn_update_l3_state(&l3); }, -1},
    }};
    for (const handler &each : handlers) {
        varn_if_create_entry_by_iod(7);
        at(each.message, [] { EXPECT_EQ(varn_if_remove_entry_by_iod(7), 1u); });
        EXPECT_EQ(each.handle(), each.without_entry) << each.message;
        EXPECT_TRUE(is_sprung()) << each.message;
    }
}

TEST_F(Callback, ATraceSinkMayCallBackWhileAnEntryGoes)
{
    start_with_traps();
    varn_if_create_entry_by_iod(7);
    at("If-destroy for", [] { EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 1500u); });
    EXPECT_EQ(varn_if_remove_entry_by_iod(7), 1u);
    EXPECT_TRUE(is_sprung());
    EXPECT_EQ(entry(7), nullptr);
}

// The table refuses the second entry of an if-index.
TEST_F(Callback, ATraceSinkThatMakesTheInterfaceBeingMadeLeavesOneEntry)
{
    start_with_traps();
    at("If-create for", [] { EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u); });
    EXPECT_EQ(varn_if_create_entry_by_iod(7), nullptr);
    EXPECT_TRUE(is_sprung());
    EXPECT_NE(entry(7), nullptr);
    EXPECT_NE(varn_if_create_entry_by_iod(7), nullptr);
}

TEST_F(Callback, AnErrorSinkMayCallBack)
{
    start_with_traps();
    varn_if_entry_t *made = varn_if_create_entry_by_iod(7);
    for (const bool is_cb : {true, false}) {
        varn.config.error_cb = is_cb ? springing_error_cb : nullptr;
        varn.config.error_print = is_cb ? nullptr : springing_error_print;
        the(7).pi(is_cb ? 0x999 : 0x998);
        made->dirty |= bits(2);
        on(ht_insert).of("Pi").fails_once();
        at("Failed to add pi entry", ask_and_change_others);
        EXPECT_EQ(varn_if_update_if(port7), 1u);
        EXPECT_TRUE(is_sprung());
        EXPECT_EQ(entry(7), made);
    }
}

TEST_F(Callback, APrintSinkMayAskWhatIsThere)
{
    start_with_traps();
    varn_if_create_entry_by_iod(7);
    for (const char *piece : {"Hash table", "Entry (", "MAC:"}) {
        at(piece, [] { EXPECT_EQ(varn_ifsvc_get_if_mtu(7), 1500u); });
        varn_if_dump(5);
        EXPECT_TRUE(is_sprung()) << piece;
    }
}

TEST_F(Callback, APrintSinkMayChangeOthersWhereNoTableIsPrinted)
{
    start_with_traps();
    varn_if_create_entry_by_iod(7);
    at("MAC:", ask_and_change_others);
    varn_if_print_iod(5, 7);
    EXPECT_TRUE(is_sprung());
    at("sync ", ask_and_change_others);
    varn_print_global(5);
    EXPECT_TRUE(is_sprung());
}

TEST_F(Callback, ASinkMaySetTheTraceSink)
{
    start_with_traps();
    varn_if_create_entry_by_iod(7);
    at("Flushing", [] { varn_set_print(nullptr, 0); });
    EXPECT_EQ(varn_if_flush_all(1), 1u);
    EXPECT_TRUE(is_sprung());
    EXPECT_EQ(varn.config.debug_print_arg, nullptr);
}

} // namespace
