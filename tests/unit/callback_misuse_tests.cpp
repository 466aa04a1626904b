// SPDX-License-Identifier: Apache-2.0
//
// What a callback may not call back (rules 6 to 8 of varn.h): a debug build stops.
#include "callback_ground.h"

#ifndef NDEBUG

#include <vector>

namespace
{

using act = std::function<void()>;

class CallbackMisuse : public callback_test
{
protected:
    CallbackMisuse() { start_with_traps(); }

    // Springs the deed at a message of the act, and expects the stop. In the child alone.
    static void expect_stop(const act &run, const char *message, const act &deed,
                            const std::string &words)
    {
        SCOPED_TRACE(spell(message, " ... ", words));
        at(message, deed);
        EXPECT_DEATH(run(), words);
        the_trap() = {};
    }

    static void make() { varn_if_create_entry_by_iod(7); }
    static void refresh() { varn_if_update_if(port7); }
    static void remove() { varn_if_remove_entry_by_iod(7); }
};

// ---- Rule 6

std::vector<act> removals()
{
    static varn_if_entry_t *held;
    held = varn_find_entry_by_iod(7);
    return {[] { varn_if_destroy_entry(held); }, [] { varn_if_remove_entry_by_if(0x1a000007); },
            [] { varn_if_remove_entry_by_iod(7); }, [] { varn_if_remove_entry_by_pi(0x107); },
            [] { varn_if_remove_entry_by_lif(0x2007); },
            [] { varn_if_remove_entry_by_if_ext(0x1a000007, 7, 1); },
            [] {
                const varn_phy_update_t gone{0x1a000007, 7, 2};
                varn_update_phy_state(&gone);
            },
            [] {
                varn_l3_update_t down{0x1a000007, 7, 2, {}, 1500};
                varn_update_l3_state(&down);
            },
            // Another interface claims the iod.
            [] { varn_if_create_entry_by_if(0x1a000009, 7, none, none); },
            // A refresh that fails: the service has another iod for the if-index, an error with it.
            [] {
                on(ifsvc_get_iod_frm_ifindex).does([](u32, u32 *iod) -> u32 {
                    *iod = 7;
                    return 0x41;
                });
                held->dirty |= bits(1);
                varn_if_update_entry(held, 0);
            }};
}

TEST_F(CallbackMisuse, ThatRemovesTheEntryInAnyWayStops)
{
    make();
    for (const act &removal : removals())
        expect_stop(refresh, "Varn-update", removal, stop_of("varn_if_destroy_entry", 6));
    varn_if_entry_t *held = entry(7);
    expect_stop(
        refresh, "Varn-update", [held] { varn_if_delete_entry(held); },
        stop_of("varn_if_delete_entry", 6));
}

TEST_F(CallbackMisuse, ThatRemovesTheEntryStopsInOnCreate)
{
    expect_stop(make, "on_create", remove, stop_of("varn_if_destroy_entry", 6));
}

TEST_F(CallbackMisuse, ThatRemovesTheEntryStopsInADecoder)
{
    expect_stop(make, "decoder", remove, stop_of("varn_if_destroy_entry", 6));
    make();
    u32 word = 0;
    std::uint16_t half = 0;
    const std::vector<act> queries{[] { varn_ifsvc_is_extension_set(7, 0x11); },
                                   [&] { varn_ifsvc_get_private_data(7, 0x11, &word); },
                                   [&] {
                                       varn_get_if_l2_info_by_pi(0x107, &word, &word, &word, &half,
                                                                 &word, &word, &word, &word);
                                   }};
    entry(7)->dirty |= bits(5);
    for (const act &query : queries)
        expect_stop(query, "decoder", remove, stop_of("varn_if_destroy_entry", 6));
}

TEST_F(CallbackMisuse, ThatRemovesTheEntryStopsInExtnFree)
{
    make();
    varn_if_entry_t *held = entry(7);
    expect_stop(
        remove, "extn_free", [held] { varn_if_destroy_entry(held); },
        stop_of("varn_if_destroy_entry", 6));
    expect_stop(
        remove, "extn_free", [held] { varn_if_delete_entry(held); },
        stop_of("varn_if_delete_entry", 6));
}

// Released by hand: nothing but the If table held it.
TEST_F(CallbackMisuse, ThatReleasesTheReleasedEntryStops)
{
    varn_if_entry_t *loose = loose_entry(0x1a000009);
    loose->extn[0] = 5;
    varn_if_insert_entry(loose);
    expect_stop([=] { varn_if_delete_entry(loose); }, "extn_free",
                [=] { varn_if_delete_entry(loose); }, stop_of("varn_if_delete_entry", 6));
}

TEST_F(CallbackMisuse, ThatRemovesTheEntryStopsInATraceSink)
{
    make();
    varn_if_entry_t *held = entry(7);
    const varn_phy_update_t up{port7, 7, 1};
    const varn_mac_update_t mac{port7, {1, 2, 3, 4, 5, 6}, {}, 1};
    const varn_l3_param_update_t param{0, 7};
    const bitset_t mtu_changed{{1u << VARN_L3_PARAM_MTU, 0}};
    expect_stop(remove, "If-destroy", remove, stop_of("varn_if_destroy_entry", 6));
    expect_stop([held] { varn_flush_if_entry(held, 1); }, "Flushing", remove,
                stop_of("varn_if_destroy_entry", 6));
    expect_stop([&] { varn_update_phy_state(&up); }, "Interface", remove,
                stop_of("varn_if_destroy_entry", 6));
    expect_stop([&] { varn_update_router_mac(&mac); }, "Updated old_mac", remove,
                stop_of("varn_if_destroy_entry", 6));
    expect_stop([&] { varn_update_l3_param(&param, &mtu_changed); }, "MTU change", remove,
                stop_of("varn_if_destroy_entry", 6));
    varn.config.debug_print_arg = nullptr;
    varn.config.debug_print = springing_debug_print;
    expect_stop(refresh, "Varn-update", remove, stop_of("varn_if_destroy_entry", 6));
}

TEST_F(CallbackMisuse, ThatRemovesTheEntryWhosePlaceIsTakenStops)
{
    make();
    varn_if_create_entry_by_iod(8);
    the(8).pi(0x107).lif(0x2007);
    entry(8)->dirty |= bits(2, 3);
    for (const char *line : {"Removing stale pi entry", "Removing stale lif entry"})
        expect_stop([] { varn_if_update_if(0x1a000008); }, line, remove,
                    stop_of("varn_if_destroy_entry", 6));
}

TEST_F(CallbackMisuse, ThatRemovesTheEntryStopsInAnErrorSink)
{
    make();
    the(7).pi(0x999);
    entry(7)->dirty |= bits(2);
    const act refused = [] {
        on(ht_insert).of("Pi").fails();
        refresh();
    };
    expect_stop(refused, "Failed to add pi entry", remove, stop_of("varn_if_destroy_entry", 6));
    varn.config.error_cb = nullptr;
    varn.config.error_print = springing_error_print;
    expect_stop(refused, "Failed to add pi entry", remove, stop_of("varn_if_destroy_entry", 6));
}

TEST_F(CallbackMisuse, ThatRemovesTheEntryStopsInAPrintSink)
{
    make();
    expect_stop([] { varn_if_print_iod(5, 7); }, "Entry (", remove,
                stop_of("varn_if_destroy_entry", 6));
}

TEST_F(CallbackMisuse, ThatRemovesAnEntryOfASideCacheStops)
{
    u32 member = 0;
    varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel3, 1, &member);
    expect_stop([] { varn_pc_print(5, channel3); }, "Member Bundle",
                [] { varn_pc_remove_entry_by_if_index(channel3); },
                stop_of("varn_pc_delete_entry", 6));
    varn_vlan_create_entry_by_vlan(20);
    const act drop = [] { varn_vlan_remove_entry_by_vlan(20); };
    expect_stop(
        [] {
            on(vlan_get_bd).fails();
            varn_vlan_update_vlan(20);
        },
        "1 vlan_get_bd", drop, stop_of("varn_vlan_delete_entry", 6));
}

TEST_F(CallbackMisuse, ThatRemovesTheVlanThatIsAskedAboutStops)
{
    varn_vlan_create_entry_by_vlan(20);
    varn_vlan_flush_vlan(20, 3);
    on(vlan_get_bd).fails();
    const act drop = [] { varn_vlan_remove_entry_by_vlan(20); };
    u32 di = 0;
    std::uint16_t bd = 0;
    expect_stop(
        [&] {
            varn_vlan_get_bd({1, 20}, &bd);
        },
        "varn_vlan_get_bd: bad rv", drop, stop_of("varn_vlan_delete_entry", 6));
    expect_stop([&] { varn_vlan_to_flood_di(20, &di, &bd); }, "varn_vlan_to_flood_di: Status1",
                drop, stop_of("varn_vlan_delete_entry", 6));
}

TEST_F(CallbackMisuse, ThatRemovesTheInterfaceOfAVlanThatGoesStops)
{
    varn_if_create_entry_by_if(0x09000014, 0, none, none);
    expect_stop([] { varn_vlan_remove_entry_by_vlan(20); }, "Vlan %d deleted",
                [] { varn_if_remove_entry_by_if(0x09000014); },
                stop_of("varn_if_destroy_entry", 6));
}

// ---- Rule 7

struct walk {
    const char *message;
    act run;
};

struct change {
    act run;
    const char *stops_in;
};

std::vector<walk> walks()
{
    return {{"Entry (", [] { varn_if_print_table(5, &varn.if_table); }},
            {"Entry (", [] { varn_iod_print_table(5, &varn.iod_table); }},
            {"Entry (", [] { varn_pi_print_table(5, &varn.pi_table); }},
            {"Entry (", [] { varn_lif_print_table(5, &varn.lif_table); }},
            {"Member Bundle", [] { varn_pc_print_table(5, &varn.pc_table); }},
            {"Entry(", [] { varn_vlan_print_table(5, &varn.vlan_table); }},
            {"Hash table", [] { varn_if_dump(5); }},
            {"Hash table", [] { varn_pc_dump(5); }},
            {"Hash table", [] { varn_vlan_dump(5); }},
            {"Flushing", [] { varn_if_flush_all(1); }}};
}

std::vector<change> changes()
{
    return {{[] { varn_if_create_entry_by_iod(9); }, "varn_if_create_entry_by_if"},
            {[] { varn_ifsvc_is_linkup(9); }, "varn_if_create_entry_by_if"},
            {[] { varn_if_update_if(0x1a000007); }, "varn_if_update_entry"},
            {[] { varn_if_remove_entry_by_iod(8); }, "varn_if_destroy_entry"},
            {[] { varn_pc_create_entry(0x16000004, 1); }, "varn_pc_insert_entry"},
            {[] { varn_pc_remove_entry_by_if_index(0x16000003); }, "varn_pc_delete_entry"},
            {[] { varn_vlan_create_entry_by_vlan(21); }, "varn_vlan_insert_entry"},
            {[] { varn_vlan_remove_entry_by_vlan(20); }, "varn_vlan_delete_entry"}};
}

TEST_F(CallbackMisuse, ThatChangesATableWhileOneIsWalkedStops)
{
    make();
    varn_if_create_entry_by_iod(8);
    varn_vlan_create_entry_by_vlan(20);
    u32 member = 0;
    varn_aggsvc_get_pc_mbr_ifidx_from_rbh(channel3, 1, &member);
    for (const walk &each : walks())
        for (const change &other : changes())
            expect_stop(each.run, each.message, other.run, stop_of(other.stops_in, 7));
}

TEST_F(CallbackMisuse, ThatFilesAnEntryByHandWhileATableIsWalkedStops)
{
    make();
    varn_if_entry_t *loose = loose_entry(0x1a000009, 9, 0x109, 0x2009);
    const std::vector<std::pair<const char *, u32 (*)(varn_if_entry_t *)>> ways{
        {"varn_if_insert_entry", varn_if_insert_entry},
        {"varn_iod_insert_entry", varn_iod_insert_entry},
        {"varn_pi_insert_entry", varn_pi_insert_entry},
        {"varn_lif_insert_entry", varn_lif_insert_entry},
        {"varn_if_delete_entry", varn_if_delete_entry},
        {"varn_iod_delete_entry", varn_iod_delete_entry},
        {"varn_pi_delete_entry", varn_pi_delete_entry},
        {"varn_lif_delete_entry", varn_lif_delete_entry}};
    for (const auto &each : ways)
        expect_stop([] { varn_if_dump(5); }, "Hash table", [=] { each.second(loose); },
                    stop_of(each.first, 7));
}

// ---- Rule 8

TEST_F(CallbackMisuse, ThatStartsStopsOrSwitchesTheCacheStops)
{
    make();
    const std::vector<change> all{{[] { varn_init(&varn.config); }, "varn_init"},
                                  {[] { varn_cleanup(); }, "varn_cleanup"},
                                  {varn_disable_cache, "varn_disable_cache"},
                                  {varn_restore_cache, "varn_restore_cache"}};
    const std::vector<walk> callbacks{
        {"Varn-update", refresh},
        {"decoder",
         [] {
             entry(7)->dirty |= bits(5);
             varn_ifsvc_is_extension_set(7, 0x11);
         }},
        {"extn_free", remove},
        {"Hash table", [] { varn_if_dump(5); }},
        {"If-index:", [] { varn_print_global(5); }},
        {"Invalid",
         [] {
             on(if_index_get_type).fails();
             refresh();
         }},
    };
    for (const walk &each : callbacks)
        for (const change &other : all)
            expect_stop(each.run, each.message, other.run, stop_of(other.stops_in, 8));
}

TEST_F(CallbackMisuse, ThatStartsOrStopsTheCacheStopsInOnCreateToo)
{
    expect_stop(
        make, "on_create", [] { varn_init(&varn.config); }, stop_of("varn_init", 8));
    expect_stop(
        make, "on_create", [] { varn_cleanup(); }, stop_of("varn_cleanup", 8));
}

// The call around it goes on with masks and tables that it read before.
TEST_F(CallbackMisuse, ThatSwitchesTheCacheInAnOnCreateWithinAnotherCallbackStops)
{
    make();
    expect_stop(
        refresh, "Varn-update",
        [] {
            at("on_create", varn_disable_cache);
            varn_if_create_entry_by_iod(8);
        },
        stop_of("varn_disable_cache", 8));
}

} // namespace

#endif
