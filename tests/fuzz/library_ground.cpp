// SPDX-License-Identifier: Apache-2.0
//
// The numbers of the world are those of the scripted device's ports, port-channels and SVIs, so
// that an input reads alike with every target.
#include "library_ground.h"

#include "varn_config.h"
#include "varn_invariants.h"

#include <cstring>

namespace fuzz
{

namespace
{

using scripted::dec;
using scripted::hex;
using scripted::spell;

constexpr u32 if_indexes[] = {0x1a000001, 0x1a000002, 0x1a000003, 0x1a000004, 0x1a000005,
                              0x1a000006, 0x16000001, 0x16000002, 0x09000014, 0x1b000007,
                              0x1b000008, 0x0,        0x1a0000ff, 0xff000001, 0xffffffff};
constexpr u32 iods[] = {1, 2, 3, 4, 5, 6, 16001, 16002, 20020, 7, 8, 31, 32767, 32768, 0xffffffff};
constexpr u32 vlans[] = {1, 10, 20, 30, 4094, 4095, 0xffff};
constexpr std::size_t num_real = 11; // the first ones are in the world
constexpr std::size_t num_vlans = 5;

live_before &the_live_before()
{
    static live_before kept;
    return kept;
}

scripted::interface interface_of(std::size_t at)
{
    const auto n = static_cast<u32>(at) + 1;
    if (at < 6)
        return scripted::port(n).access(10 * n).in_channel(n > 4 ? 0x16000001 : 0);
    if (at < 8)
        return scripted::port_channel(n - 6).members({0x1a000005, 0x1a000006});
    if (at == 8)
        return scripted::svi(20);
    scripted::interface made = scripted::port(n - 3);
    made.if_index(if_indexes[at]).of_type(0x1b).sub_interface(0x1a000001, 10 * (n - 9));
    return made;
}

void draw_fact(input &given, scripted::interface &of)
{
    using facts = scripted::facts;
    static constexpr u32 facts::*numbers[] = {
        &facts::linkup,     &facts::protoup, &facts::switchport,   &facts::switching,
        &facts::ethernet,   &facts::is_vlan, &facts::p2p,          &facts::loopback,
        &facts::mtu,        &facts::encap,   &facts::vlanid,       &facts::access_vlan,
        &facts::port_mode,  &facts::context, &facts::base_table,   &facts::parent,
        &facts::in_channel, &facts::null0,   &facts::first_member, &facts::mvpn};
    const u32 which = given.below(std::size(numbers) + 4);
    if (which < std::size(numbers))
        of.is.*numbers[which] = given.one_of({0, 1, 2, 20, 1500, 0x10001, 0x1a000002, 0xffffffff});
    else if (which == std::size(numbers))
        of.mac({2, 0, 0, 0, 0, given.byte()});
    else if (which == std::size(numbers) + 1)
        of.name(std::string(given.byte(), 'n') + "%s");
    else if (which == std::size(numbers) + 2)
        of.extension(given.below(5), given.word()).private_data(given.below(5), {1, 2, 3});
    else
        of.members(std::vector<u32>(given.below(4), some_if_index(given)));
}

void move(input &given, scripted::interface &of)
{
    switch (given.below(3)) {
    case 0:
        of.iod(some_iod(given));
        break;
    case 1:
        of.pi(some_pi(given));
        break;
    default:
        of.lif(some_lif(given));
    }
}

varn_if_entry_t *under(u32 iod)
{
    for (void *record : scripted::records_in(&varn.iod_table))
        if (auto *entry = static_cast<varn_if_entry_t *>(record); entry->iod == iod)
            return entry;
    return nullptr;
}

// A missing entry would be made where the configuration says so; that is no question then.
void check_directory()
{
    if (varn_enabled != 1 || (varn.config.sync & VARN_MASK(VARN_BIT_IOD)) == 0)
        return;
    for (const u32 iod : iods) {
        const varn_if_entry_t *standing = under(iod);
        if (standing == nullptr && varn.config.create_on_miss != 0)
            continue;
        if (varn_find_entry_by_iod(iod) != standing)
            broken(spell("what is found under iod ", dec(iod), " is not what stands there"));
    }
}

} // namespace

u32 some_if_index(input &given) { return given.one_of(if_indexes); }
u32 some_iod(input &given) { return given.one_of(iods); }
u32 some_pi(input &given) { return given.one_of({0x101, 0x102, 0x103, 0x8001, 0, 0xffffffff}); }
u32 some_lif(input &given) { return given.one_of({0x2001, 0x2002, 0x8001, 0xa014, 0, 0xffffffff}); }
u16 some_vlan(input &given) { return static_cast<u16>(given.one_of(vlans)); }
u32 some_channel(input &given) { return given.one_of({0x16000001, 0x16000002, 0x16000063, 0}); }

void note_step(const std::string &what) { the_steps().push_back(what); }

void begin_library()
{
    the_steps().clear();
    scripted::reset();
    varn_cleanup();
    std::memset(static_cast<void *>(&varn), 0, sizeof varn);
    std::memset(varn_iodbmp, 0, sizeof varn_iodbmp);
    std::memset(varn_print_str, 0, sizeof varn_print_str);
    varn_enabled = varn_do_sync = varn_error_cb = 0;
    scripted::reset();
    scripted::record(scripted::services, false);
    reset_callbacks();
    the_live_before() = count_live();
}

void give_world()
{
    for (std::size_t at = 0; at < num_real; ++at)
        scripted::put(interface_of(at));
    for (std::size_t at = 0; at < num_vlans; ++at)
        scripted::put(scripted::vlan(vlans[at]));
}

void change_world(input &given)
{
    const std::size_t at = given.below(num_real);
    const u32 what = given.below(6);
    note_step(spell("world: ", hex(if_indexes[at]), " changes in manner ", dec(what)));
    if (what == 0)
        return scripted::put(interface_of(at));
    if (what == 1)
        return scripted::put(
            scripted::vlan(some_vlan(given)).bd(given.half()).primary(given.byte()));
    if (what == 2)
        return scripted::gone(scripted::vlan(some_vlan(given)));
    const scripted::facts *known = scripted::by_if_index(if_indexes[at]);
    if (known == nullptr || scripted::by_iod(known->iod) != known)
        return;
    if (what == 3)
        return scripted::gone(known->iod);
    scripted::interface &of = scripted::the(known->iod);
    what == 4 ? move(given, of) : draw_fact(given, of);
}

varn_config_t some_config(input &given)
{
    config callbacks;
    const u16 chosen = given.half();
    const auto is_chosen = [chosen](unsigned bit) { return (chosen >> bit & 1) != 0; };
    for (u32 slot = 0; slot < 4; ++slot)
        if (is_chosen(slot))
            callbacks.extn_decode(slot);
    if (is_chosen(4))
        callbacks.debug_print();
    if (is_chosen(5))
        callbacks.debug_print_arg(given.byte());
    if (is_chosen(6))
        callbacks.error_print();
    if (is_chosen(7))
        callbacks.error_cb(given.byte());
    if (is_chosen(8))
        callbacks.print();
    if (is_chosen(9))
        callbacks.extn_free();
    if (is_chosen(10))
        callbacks.on_create([](u32 iod) { varn_ifsvc_is_linkup(iod); });
    if (is_chosen(11))
        callbacks.on_create();
    varn_config_t made = callbacks.record();
    made.create_on_miss = is_chosen(12);
    made.track_l3 = is_chosen(13);
    made.num_buckets = given.word();
    made.sync = given.long_word();
    if (is_chosen(14))
        made.sync |= 0x3FFFFFFFF;
    made.crit = given.long_word();
    made.med = given.long_word();
    made.low = given.long_word();
    made.once = given.long_word();
    made.uuid = given.byte();
    for (u32 &key : made.extn_uuid)
        key = given.byte();
    return made;
}

void ask_something(input &given)
{
    using query = u32 (*)(u32);
    static constexpr query queries[] = {
        varn_ifsvc_is_linkup,
        varn_ifsvc_is_protoup,
        varn_ifsvc_is_switchport,
        varn_ifsvc_is_switching_enabled_on_iod,
        varn_ifsvc_is_vlan,
        varn_ifsvc_is_gre_tunnel,
        varn_ifsvc_get_if_mtu,
        varn_ifsvc_get_if_encaptype,
        varn_ifsvc_get_if_vlanid,
        varn_ifsvc_is_iod_svi,
        [](u32 iod) { return varn_ifsvc_get_extension1(iod, 1); },
        [](u32 iod) { return varn_ifsvc_is_extension_set(iod, 1); },
        [](u32 iod) { return static_cast<u32>(std::strlen(varn_ifsvc_get_if_name(iod))); },
        [](u32 iod) { return u32{varn_ifsvc_get_if_mac_addr(iod)[5]}; },
        [](u32 iod) {
            varn_vlan_info_t info{};
            u32 mode = 0;
            return varn_ifsvc_get_vlan_info(iod, &info, &mode);
        },
    };
    const u32 which = given.below(std::size(queries));
    const u32 iod = some_iod(given);
    note_step(spell("query ", dec(which), " of iod ", dec(iod)));
    queries[which](iod);
}

void check_library()
{
    const std::string wrong = broken_invariants(the_live_before(), {});
    if (!wrong.empty())
        broken(wrong);
    check_directory();
}

void end_library()
{
    if (varn_enabled != 1)
        varn_restore_cache();
    for (void *record : scripted::records_in(&varn.if_table))
        varn_if_destroy_entry(static_cast<varn_if_entry_t *>(record));
    for (void *record : scripted::records_in(&varn.vlan_table))
        varn_vlan_delete_entry(static_cast<varn_vlan_entry_t *>(record));
    for (void *record : scripted::records_in(&varn.pc_table))
        varn_pc_delete_entry(static_cast<varn_pc_entry_t *>(record));
    check_library();
    const live_before left = count_live(), before = the_live_before();
    expect(left.if_entries == before.if_entries, "an interface entry is left");
    expect(left.vlan_entries == before.vlan_entries, "a VLAN entry is left");
    expect(left.pc_entries == before.pc_entries, "a port-channel entry is left");
    varn_cleanup();
    expect(scripted::records_in(&varn.if_table).empty(), "a table is left");
}

} // namespace fuzz
