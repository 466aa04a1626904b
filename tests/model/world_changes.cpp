// SPDX-License-Identifier: Apache-2.0
//
// Facts are odd on purpose: a yes may be 2 (whose low bit is a no), a value may be wider than the
// field that keeps it, and a name longer than any line of the log.
#include "world_changes.h"

#include "scripted_device.h"

namespace naive
{

namespace
{

using scripted::facts;
using scripted::interface;

constexpr u32 facts::*const yes_or_no[] = {
    &facts::linkup,      &facts::protoup,     &facts::ethernet, &facts::switchport,
    &facts::switching,   &facts::is_vlan,     &facts::null0,    &facts::p2p,
    &facts::loopback,    &facts::mvpn,        &facts::gre,      &facts::port_channel,
    &facts::cbus,        &facts::mgmt,        &facts::svi,      &facts::dci_tunnel,
    &facts::dci_overlay, &facts::tunnel_6to4, &facts::mpls};

constexpr u32 facts::*const values[] = {
    &facts::mtu,         &facts::encap,      &facts::vlanid,         &facts::parent,
    &facts::access_vlan, &facts::port_mode,  &facts::list_port_mode, &facts::context,
    &facts::base_table,  &facts::in_channel, &facts::first_member};

u32 draw_yes(dice &chance) { return chance.one_of({0, 0, 0, 1, 1, 1, 2, 3}); }

u32 draw_value(dice &chance) { return chance.one_in(4) ? 0 : chance.odd_number(); }

std::string draw_name(dice &chance)
{
    const u32 length = chance.one_of({0, 4, 4, 6, 60, 110, 130, 180, 254, 300});
    std::string name;
    while (name.size() < length)
        name += "eth%s" + std::to_string(chance.below(100));
    return name.substr(0, length);
}

void draw_extension(dice &chance, interface &of)
{
    const u32 key = chance.one_of({0, 7, 8, 9, 10});
    of.extension(key, draw_value(chance));
    of.private_data(key, std::vector<u8>(chance.below(20), u8{1}));
}

void draw_fact(dice &chance, interface &of)
{
    switch (chance.below(8)) {
    case 0:
        of.mac({0x02, 0, 0, 0, 0, static_cast<u8>(chance.below(4))});
        break;
    case 1:
        of.mac({});
        break;
    case 2:
        of.name(draw_name(chance));
        break;
    case 3:
        draw_extension(chance, of);
        break;
    case 4:
    case 5:
        of.is.*chance.one_of(values) = draw_value(chance);
        break;
    default:
        of.is.*chance.one_of(yes_or_no) = draw_yes(chance);
    }
}

void draw_members(dice &chance, const universe &all, interface &of)
{
    std::vector<u32> members;
    for (u32 left = chance.below(4); left != 0; --left)
        members.push_back(chance.one_of(all.if_indexes));
    of.members(members);
    of.in_channel(chance.one_in(3) ? 0 : chance.one_of(all.channels));
}

interface *some_interface(dice &chance, const universe &all)
{
    const u32 iod = chance.one_of(all.iods);
    return scripted::by_iod(iod) == nullptr ? nullptr : &scripted::the(iod);
}

std::string move_interface(dice &chance, const universe &all, interface &of)
{
    using scripted::dec, scripted::hex, scripted::spell;
    const std::string who = spell("world: ", hex(of.is.if_index));
    switch (chance.below(3)) {
    case 0:
        of.iod(chance.one_of(all.iods));
        return spell(who, " has iod ", dec(of.is.iod));
    case 1:
        of.pi(chance.one_in(4) ? scripted::none : chance.one_of(all.pis));
        return spell(who, " has pi ", hex(of.is.pi));
    default:
        of.lif(chance.one_in(4) ? scripted::none : chance.one_of(all.lifs));
        return spell(who, " has lif ", hex(of.is.lif));
    }
}

} // namespace

universe draw_universe(dice &chance)
{
    universe all;
    const u32 size = 4 + chance.below(14);
    const u32 types[] = {26, 26, 26, 22, 22, 9, 5, 7, 24, 0, 255};
    for (u32 n = 1; n <= size; ++n) {
        const u32 type = chance.one_of(types);
        const u32 far = chance.one_in(4) ? 15991 : 0; // meets another one in the If table's hash
        all.if_indexes.push_back(type << 24 | (n + far));
        all.iods.push_back(chance.one_in(10) ? 16384 + n : n);
        all.pis.push_back(0x100 + n);
        all.lifs.push_back(0x2000 + n);
        if (type == 22)
            all.channels.push_back(all.if_indexes.back());
    }
    all.if_indexes.push_back(0);
    all.channels.push_back(0x16000099);
    for (const u32 iod : {0u, 31u, 32u, 32767u, 32768u})
        all.iods.push_back(iod);
    all.pis.push_back(0);
    all.lifs.push_back(0);
    all.vlans = {1, 2, 3, 20, 4094};
    if (chance.one_in(2))
        all.vlans.insert(all.vlans.end(), {0, 4095, 0xFFFF});
    return all;
}

std::string put_interface(dice &chance, const universe &all)
{
    interface made = scripted::port(1);
    const u32 if_index = chance.one_of(all.if_indexes);
    made.if_index(if_index).of_type(static_cast<u8>(if_index >> 24));
    made.iod(chance.one_of(all.iods)).pi(chance.one_of(all.pis)).lif(chance.one_of(all.lifs));
    for (u32 facts::*each : yes_or_no)
        if (chance.one_in(2))
            made.is.*each = draw_yes(chance);
    for (u32 left = chance.below(12); left != 0; --left)
        draw_fact(chance, made);
    draw_members(chance, all, made);
    scripted::given(made);
    return scripted::spell("world: given ", scripted::hex(if_index), " with iod ",
                           scripted::dec(made.is.iod));
}

std::string put_vlan(dice &chance, const universe &all)
{
    scripted::vlan made(chance.one_of(all.vlans));
    if (chance.one_in(3))
        made.bd(static_cast<u16>(chance.odd_number()));
    if (chance.one_in(3))
        made.flood_index(chance.odd_number());
    if (chance.one_in(3))
        made.primary(chance.odd_number());
    scripted::given(made);
    return scripted::spell("world: given VLAN ", scripted::dec(made.id));
}

std::string change_world(dice &chance, const universe &all)
{
    switch (chance.below(12)) {
    case 0:
        return put_interface(chance, all);
    case 1:
        return put_vlan(chance, all);
    case 2: {
        const u32 id = chance.one_of(all.vlans);
        scripted::gone(scripted::vlan(id));
        return scripted::spell("world: VLAN ", scripted::dec(id), " is gone");
    }
    case 3: {
        const u32 iod = chance.one_of(all.iods);
        scripted::gone(iod);
        return scripted::spell("world: iod ", scripted::dec(iod), " is gone");
    }
    default:
        break;
    }
    interface *of = some_interface(chance, all);
    if (of == nullptr)
        return put_interface(chance, all);
    if (chance.one_in(3))
        return move_interface(chance, all, *of);
    for (u32 left = 1 + chance.below(6); left != 0; --left)
        draw_fact(chance, *of);
    if (chance.one_in(3))
        draw_members(chance, all, *of);
    return scripted::spell("world: facts of ", scripted::hex(of->is.if_index), " change");
}

} // namespace naive
