// SPDX-License-Identifier: Apache-2.0
//
// The notification handlers told a second time: for each of them, how a notification of each kind
// (its variant) is made, and the deed that it is expected to be, with its result. The order of the
// lines is the order of the steps.
#pragma once

#include "handler_matrix.h"

// ---- physical state: the variant is the state ----

inline std::int64_t notify_phy(u32 index, unsigned state)
{
    return varn_update_phy_state(phy_of(index, 7, state).get());
}

inline std::int64_t tell_phy(deed &all, unsigned state)
{
    all.count("phy_updates");
    if (all.caches(33)) {
        all.ask_type();
        if (all.type == 26) {
            all.ask("aggsvc_get_pc_for_port(0x1a000007) = 0 -> 0x16000003");
            all.say("PC Varn invalidated for 0x16000003\n");
            all.count("pc_updates");
        }
    }
    all.ask_name();
    all.say(spell("Interface eth7 (iod 7): entry ", all.address, ", state ", dec(state), "\n"));
    if (state == 2) {
        if (!all.has_entry)
            return 0;
        all.say("Deleting varn entry for if-iod 7 on phy-change.\n");
        all.destroy();
    } else if (all.has_entry) {
        all.entry.linkup = 1;
    } else {
        all.say("Creating varn entry for if-iod 7 on phy-change.\n");
        all.ask(spell("ifsvc_get_ifindex_frm_iod(7) = 0 -> ", hex(all.index)));
        all.ask_type();
        all.create();
    }
    return 1;
}

// ---- L2 state: down, up without VLAN, with VLAN A, with VLAN B ----

constexpr unsigned down = 0, vlan_a = 2, vlan_b = 3;

inline l2_message l2_variant(u32 index, unsigned variant)
{
    l2_message update = l2_of(index, 7, variant == down ? 2 : 1);
    return update.byte(8, variant >= vlan_a).byte(14, variant == vlan_a ? 0x10 : 0);
}

inline void tell_l2_record(deed &all, unsigned variant)
{
    if (all.caches(9))
        std::memcpy(all.entry.mac, new_mac.data(), 6), all.update(4);
    if (all.caches(13))
        all.entry.mtu = 9000, all.update(12);
    if (variant >= vlan_a && all.caches(10))
        all.entry.vlan = variant == vlan_a ? 20 : 30, all.update(19);
    if (all.caches(15))
        all.take_switchport();
    if (all.caches(16))
        all.take_switching();
}

// What the L2 and the L3 handler do last.
inline void tell_identities(deed &all)
{
    if (all.type == 9 || all.type == 22)
        all.fetch_identities();
    if (all.type == 22 && all.caches(33)) {
        all.say("PC Varn invalidated for 0x16000007\n");
        all.count("pc_updates");
    }
}

inline std::int64_t notify_l2(u32 index, unsigned variant)
{
    return varn_update_l2_state(l2_variant(index, variant).get());
}

inline std::int64_t tell_l2(deed &all, unsigned variant)
{
    all.count("l2_updates");
    all.ask_type();
    all.ask_name();
    all.say("L2 protocol-change update for interface eth7 (iod 7)\n");
    if (!all.has_entry)
        return -1;
    if (variant == down) {
        all.entry.linkup = all.entry.protoup = 0;
        all.clean(17), all.clean(18);
        return 0;
    }
    if (all.type != 26)
        all.take_linkup(), all.clean(17);
    all.take_protoup(), all.clean(18);
    tell_l2_record(all, variant);
    tell_identities(all);
    return 0;
}

// ---- L3 state: 2 and 1, and both again while L3 is tracked ----

inline std::int64_t notify_l3(u32 index, unsigned variant)
{
    varn.config.track_l3 = variant / 2;
    return varn_update_l3_state(l3_of(index, 7, variant % 2 == 1 ? 1 : 2).get());
}

inline void tell_l3_up(deed &all)
{
    if (all.type == 5)
        all.soil(9);
    all.query(9, 4, [&] { all.take_mac(); });
    all.query(4, 5, [&] { all.take_encap(); });
    all.soil(19);
    all.query(19, 17, [&] { all.take_ethernet(); });
}

inline std::int64_t tell_l3_without_entry(deed &all, bool is_up, bool tracked)
{
    if (is_up && tracked) {
        all.say("Creating varn entry for if-iod 7 on l3-change.\n");
        all.ask(spell("ifsvc_get_ifindex_frm_iod(7) = 0 -> ", hex(all.index)));
        all.ask_type();
        all.create();
        return 0;
    }
    all.say(spell("Not creating cache entry for if-iod 7 on l3-change, ", tracked ? "1" : "0",
                  ", state: ", is_up ? "1" : "2", "\n"));
    return -1;
}

inline std::int64_t tell_l3(deed &all, unsigned variant)
{
    const bool is_up = variant % 2 == 1, tracked = variant >= 2;
    all.ask_type();
    all.count("l3_updates");
    all.ask_name();
    all.say("L3 Protocol-change update for interface eth7 (iod 7)\n");
    if (!all.has_entry)
        return tell_l3_without_entry(all, is_up, tracked);
    if (tracked && !is_up) {
        all.say("Removing varn entry for if-iod 7 on l3-change.\n");
        all.destroy();
        return 0;
    }
    all.take_linkup(), all.clean(17);
    all.take_protoup(), all.clean(18);
    if (all.caches(9))
        all.take_mac(), all.update(4);
    if (all.caches(15))
        all.take_switchport();
    if (all.caches(13) && all.type != 24)
        all.entry.mtu = 9000, all.update(12);
    if (is_up)
        tell_l3_up(all);
    tell_identities(all);
    return 0;
}

// ---- bundles ----

inline std::int64_t notify_l2_bundle(u32 index, unsigned variant)
{
    return varn_update_l2_bundle_state(l2_variant(index, variant).get());
}

inline std::int64_t tell_l2_bundle(deed &all, unsigned variant)
{
    all.count("l2_bundle_updates");
    all.ask_name();
    all.say("L2 bundle phy state update for interface eth7 (iod 7)\n");
    if (!all.has_entry)
        return 0;
    all.take_linkup(), all.take_protoup();
    all.clean(17), all.clean(18);
    tell_l2_record(all, variant);
    return 1;
}

inline constexpr unsigned l3_bundle_states[] = {0, 1, 2, 16};

inline std::int64_t notify_l3_bundle(u32 index, unsigned variant)
{
    return varn_update_l3_bundle_state(l3_of(index, 7, l3_bundle_states[variant]).get());
}

inline std::int64_t tell_l3_bundle(deed &all, unsigned variant)
{
    all.count("l3_bundle_updates");
    all.ask_name();
    all.say("L3 bundle phy state update for interface eth7 (iod 7)\n");
    if (!all.has_entry)
        return 0;
    all.entry.linkup = variant == 1 || variant == 3;
    all.entry.protoup = variant == 1;
    all.clean(17), all.clean(18);
    all.update(15), all.update(16);
    if (all.caches(13))
        all.entry.mtu = 9000, all.update(12);
    return 1;
}

// ---- single attributes ----

inline std::int64_t notify_switchport(u32, unsigned) { return varn_update_switchport(7); }

inline std::int64_t tell_switchport(deed &all, unsigned)
{
    all.ask_name();
    all.say("switchport update for interface eth7 (iod 7)\n");
    if (!all.has_entry)
        return 0;
    all.take_switchport(), all.clean(15);
    return 1;
}

// Without a bitset, with bit 12 clear, with bit 12 set.
inline std::int64_t notify_l3_param(u32, unsigned variant)
{
    constexpr bitset_t sets[] = {{{0, 0}}, {{0xFFFFEFFF, ~u32{0}}}, {{0x1000, 0}}};
    message<varn_l3_param_update_t> update;
    return varn_update_l3_param(update.word(4, 7).get(), variant == 0 ? nullptr : &sets[variant]);
}

inline std::int64_t tell_l3_param(deed &all, unsigned variant)
{
    all.count("l3_param_updates");
    all.ask_name();
    all.say("Phy state update for interface eth7 (iod 7)\n");
    if (!all.has_entry)
        return 0;
    if (variant != 0)
        all.ask(spell("bitset_is_bit_set(12) = ", variant == 2 ? "1" : "0"));
    if (variant == 2)
        all.say("MTU change for interface iod 7\n"), all.take_mtu();
    all.take_p2p(), all.clean(23);
    return 1;
}

// By iod and by if-index, clearing and setting.
inline std::int64_t notify_dirty_bit(u32 index, unsigned variant)
{
    const int set = variant % 2 == 1 ? 3 : 2;
    return variant < 2 ? varn_update_is_linkup_dirty_bit(7, 0, set)
                       : varn_update_is_linkup_dirty_bit(0, index, set);
}

inline std::int64_t tell_dirty_bit(deed &all, unsigned variant)
{
    const bool by_iod = variant < 2, is_set = variant % 2 == 1;
    const std::string index = by_iod ? "0x0" : hex(all.index);
    const std::string who = by_iod ? ", eth7, (iod 7)\n" : ", (unknown iod 0), (iod 0)\n";
    all.ask(by_iod ? asked_name_of_7 : "ifsvc_get_if_name(0) = \"(unknown iod 0)\"");
    if (!all.has_entry) {
        all.ask(reported("varn_update_is_linkup_dirty_bit",
                         spell(" Entry doesn't exist for interface index ", index, who)));
        return -1;
    }
    all.say(spell("Updated the dirty bit from ", all.is_dirty(17) ? "1" : "0", " to ",
                  is_set ? "1, set 3" : "0, set 2", " for interface index ", index, who));
    is_set ? all.soil(17) : all.clean(17);
    return 0;
}

inline std::int64_t notify_vlan(u32, unsigned) { return varn_update_vlan(7); }

inline std::int64_t tell_vlan(deed &all, unsigned)
{
    all.ask_name();
    all.say("vlan update for interface eth7 (iod 7)\n");
    if (!all.has_entry)
        return 0;
    all.soil(10);
    all.query(10, 19, [&] {
        all.ask("ifsvc_get_vlan_info(7) = 1 -> 1/44, 3");
        all.entry.vlan = 44, all.entry.port_mode = 3;
    });
    if (all.caches(10))
        all.ask("supvr_vinst_get() = 1");
    all.ask_name();
    all.say("vlan update for interface eth7 (iod 7) Succeeded, vlan: 44, mode: 0x3\n");
    return 1;
}

inline std::int64_t notify_router_mac(u32 index, unsigned variant)
{
    message<varn_mac_update_t> update;
    update.word(0, index).mac(4, variant == 0 ? mac_address{} : new_mac).word(16, 4);
    return varn_update_router_mac(update.get());
}

inline std::int64_t tell_router_mac(deed &all, unsigned variant)
{
    if (!all.caches(9))
        return -1;
    all.count(all.has_entry ? "hits[1]" : "misses[1]");
    if (!all.has_entry) {
        all.ask(spell("ifsvc_get_iod_frm_ifindex(", hex(all.index), ") = 0 -> 7"));
        return -1;
    }
    all.ask_name();
    all.say(spell("Interface eth7 (iod 7): entry ", all.address, ", state 4\n"));
    all.say(variant == 0 ? "Removed MAC (Interface Removed) old_mac :0200.0000.0007 is reset to : "
                           "ZERO MAC adress \n"
                         : "Updated old_mac: 0200.0000.0007 to new_mac: 0a0b.0c0d.0e0f\n");
    const mac_address stored = variant == 0 ? mac_address{} : new_mac;
    std::memcpy(all.entry.mac, stored.data(), 6), all.update(4);
    return 0;
}

inline std::int64_t notify_extension(u32, unsigned) { return varn_remove_extension0(7); }

inline std::int64_t tell_extension(deed &all, unsigned)
{
    if (!all.has_entry) {
        all.say("Varn remove failed for Interface with iod 7\n");
        return 0;
    }
    all.entry.extn[0] = 0;
    return 1;
}

// ---- the first member: none to none, none to one, one to none, one to another ----

inline std::int64_t notify_fop(u32 index, unsigned variant)
{
    message<varn_fop_update_t> update;
    update.big_endian(0, index).big_endian(8, variant / 2).big_endian(12, variant % 2 * 9);
    return varn_update_aggsvc_fop(update.get());
}

inline std::int64_t tell_fop_without_entry(deed &all, const std::string &who, unsigned variant)
{
    if (variant >= 2) {
        all.say(spell("AGGSVC varn entry not found for interface ", who, "\n"));
        return 0;
    }
    all.say(spell("Creating varn entry for if-index ", hex(all.index), " on aggsvc-fop"));
    all.ask_type();
    all.ask(spell("ifsvc_get_iod_frm_ifindex(", hex(all.index), ") = 0 -> 7"));
    all.create();
    all.update(22);
    all.entry.aggsvc_if = variant * 9, all.clean(27);
    return 1;
}

inline std::int64_t tell_fop(deed &all, unsigned variant)
{
    const std::string old_member = variant >= 2 ? "0x1" : "0x0";
    const std::string fresh = variant % 2 == 1 ? " to 0x9" : " to 0x0";
    const std::string eth7 = spell("eth7 (if ", hex(all.index), ")");
    const std::string who = spell(eth7, " during change from ", old_member, fresh);
    all.count("aggsvc_updates");
    all.ask(spell("ifsvc_get_ifindex_name(", hex(all.index), ", 255) = 0 -> \"eth7\""));
    all.say(
        spell("AGGSVC First-Op-member for interface ", eth7, " From ", old_member, fresh, "\n"));
    if (!all.has_entry)
        return tell_fop_without_entry(all, who, variant);
    if (variant % 2 == 0) {
        all.say(spell("AGGSVC varn entry removed for interface ", who, "\n"));
        all.destroy();
        return 1;
    }
    all.update(22);
    all.entry.aggsvc_if = 9, all.clean(27);
    all.fetch_identities();
    return 1;
}
