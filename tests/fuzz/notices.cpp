// SPDX-License-Identifier: Apache-2.0
//
// notices: notification records that are bytes, some with the identity of a known interface put in,
// to every handler and every remover. Whatever comes, the invariants of the library hold after it,
// a record that is only read stays as it was, and at the end everything can be given back.
//
//   byte 0      configuration: all cached, or the masks of the next bytes
//   then steps: what is done, and the bytes of its record
#include "library_ground.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace
{

using fuzz::input;
using fuzz::u32;
using fuzz::u8;
using scripted::dec;
using scripted::hex;
using scripted::spell;

constexpr std::size_t most_steps = 200;

u32 big_endian(u32 number)
{
    return std::endian::native == std::endian::big ? number : __builtin_bswap32(number);
}

std::string told_bytes(const void *record, std::size_t size)
{
    std::string text;
    for (std::size_t at = 0; at < size; ++at)
        text += hex(static_cast<const u8 *>(record)[at]) + ' ';
    return text;
}

// Bytes; where they say so, the identity of an interface that is there.
template <typename Record>
Record draw(input &given)
{
    Record made;
    const u8 manner = given.byte();
    given.fill(&made, sizeof made);
    if constexpr (requires { made.if_index; })
        if ((manner & 1) != 0)
            made.if_index = fuzz::some_if_index(given);
    if constexpr (requires { made.iod; })
        if ((manner & 2) != 0)
            made.iod = fuzz::some_iod(given);
    if constexpr (requires { made.state; })
        if ((manner & 4) != 0)
            made.state = static_cast<u8>(given.one_of({1, 2, 16}));
    if constexpr (requires { made.pc_ifindex; })
        if ((manner & 8) != 0) {
            made.pc_ifindex = big_endian(fuzz::some_channel(given));
            made.new_member = big_endian(fuzz::some_if_index(given));
        }
    return made;
}

template <typename Record, typename Handler>
void hand(input &given, const char *name, Handler handler)
{
    Record record = draw<Record>(given);
    Record before;
    std::memcpy(&before, &record, sizeof before);
    fuzz::note_step(spell(name, ": ", told_bytes(&record, sizeof record)));
    handler(&record);
    if constexpr (std::is_same_v<Record, varn_l3_update_t>)
        record.iod = before.iod; // may be filled in
    const auto old_bytes = std::as_bytes(std::span(&before, 1));
    fuzz::expect(std::ranges::equal(old_bytes, std::as_bytes(std::span(&record, 1))),
                 "a record that was read changed");
}

void hand_l3_parameters(input &given)
{
    bitset_t changed{};
    given.fill(&changed, sizeof changed);
    const bool is_null = given.below(4) == 1;
    hand<varn_l3_param_update_t>(given, "l3_param", [&](const auto *record) {
        varn_update_l3_param(record, is_null ? nullptr : &changed);
    });
}

void hand_record(input &given, u32 which)
{
    switch (which) {
    case 0:
        return hand<varn_phy_update_t>(given, "phy_state", varn_update_phy_state);
    case 1:
        return hand<varn_l2_update_t>(given, "l2_state", varn_update_l2_state);
    case 2:
        return hand<varn_l3_update_t>(given, "l3_state", varn_update_l3_state);
    case 3:
        return hand<varn_l2_update_t>(given, "l2_bundle_state", varn_update_l2_bundle_state);
    case 4:
        return hand<varn_l3_update_t>(given, "l3_bundle_state", varn_update_l3_bundle_state);
    case 5:
        return hand_l3_parameters(given);
    case 6:
        return hand<varn_mac_update_t>(given, "router_mac", varn_update_router_mac);
    default:
        return hand<varn_fop_update_t>(given, "aggsvc_fop", varn_update_aggsvc_fop);
    }
}
constexpr u32 num_records = 8;

struct by_number {
    const char *name;
    u32 (*some)(input &);
    void (*hand)(u32);
};

constexpr auto as_signed = [](u32 number) { return static_cast<std::int32_t>(number); };

u32 some_vlan(input &given) { return fuzz::some_vlan(given); }

constexpr by_number numbers[] = {
    {"switchport", fuzz::some_iod, [](u32 n) { varn_update_switchport(as_signed(n)); }},
    {"vlan", fuzz::some_iod, [](u32 n) { varn_update_vlan(as_signed(n)); }},
    {"remove_extension0", fuzz::some_iod, [](u32 n) { varn_remove_extension0(as_signed(n)); }},
    {"linkup dirty by iod", fuzz::some_iod,
     [](u32 n) { varn_update_is_linkup_dirty_bit(as_signed(n), 0, 1); }},
    {"linkup dirty by if-index", fuzz::some_if_index,
     [](u32 n) { varn_update_is_linkup_dirty_bit(0, n, 1); }},
    {"remove by if-index", fuzz::some_if_index, [](u32 n) { varn_if_remove_entry_by_if(n); }},
    {"remove by iod", fuzz::some_iod, [](u32 n) { varn_if_remove_entry_by_iod(n); }},
    {"remove by pi", fuzz::some_pi, [](u32 n) { varn_if_remove_entry_by_pi(n); }},
    {"remove by lif", fuzz::some_lif, [](u32 n) { varn_if_remove_entry_by_lif(n); }},
    {"forbid an iod", fuzz::some_iod,
     [](u32 n) { varn_if_remove_entry_by_if_ext(0x1a000000 | n % 8, n % 32768, 0); }},
    {"allow an iod", fuzz::some_iod,
     [](u32 n) { varn_if_remove_entry_by_if_ext(0x1a000000 | n % 8, n % 32768, 1); }},
    {"remove a port-channel", fuzz::some_channel,
     [](u32 n) { varn_pc_remove_entry_by_if_index(n); }},
    {"invalidate a port-channel", fuzz::some_channel, [](u32 n) { varn_pc_invalidate(n); }},
    {"invalidate the port-channel of", fuzz::some_if_index,
     [](u32 n) { varn_pc_invalidate_entry_by_phy_if(n); }},
    {"remove a VLAN", some_vlan, [](u32 n) { varn_vlan_remove_entry_by_vlan(as_signed(n)); }},
    {"update a VLAN", some_vlan,
     [](u32 n) { varn_vlan_update_vlan(static_cast<std::uint16_t>(n)); }},
    {"ask for a VLAN", some_vlan,
     [](u32 n) { varn_vlan_create_entry_by_vlan(static_cast<std::uint16_t>(n)); }},
    {"ask for a bucket", fuzz::some_channel,
     [](u32 n) {
         u32 member = 0;
         varn_aggsvc_get_pc_mbr_ifidx_from_rbh(n, 3, &member);
     }},
    {"create by if-index", fuzz::some_if_index,
     [](u32 n) { varn_if_create_entry_by_if(n, 0, 0, 0); }},
    {"create by iod", fuzz::some_iod, [](u32 n) { varn_if_create_entry_by_iod(n); }},
    {"flush and update", fuzz::some_if_index,
     [](u32 n) {
         varn_if_flush_if(n, 3);
         varn_if_update_if(n);
     }},
    {"flush all", fuzz::some_iod, [](u32 n) { varn_if_flush_all(n % 4); }},
};

void run_step(input &given)
{
    constexpr u32 num_handlers = num_records + std::size(numbers);
    const u32 which = given.below(num_handlers + 4);
    if (which >= num_handlers + 2)
        return fuzz::ask_something(given);
    if (which >= num_handlers)
        return fuzz::change_world(given);
    if (which < num_records)
        return hand_record(given, which);
    const by_number &row = numbers[which - num_records];
    const u32 number = row.some(given);
    fuzz::note_step(spell(row.name, " ", hex(number)));
    row.hand(number);
}

varn_config_t configuration(input &given)
{
    const u8 manner = given.byte();
    if ((manner & 1) != 0)
        return fuzz::some_config(given);
    varn_config_t all{};
    all.num_buckets = 64;
    all.sync = VARN_MASK(VARN_BIT_PC + 1) - 1;
    all.crit = all.sync & ~VARN_MASK(VARN_BIT_IOD);
    all.create_on_miss = manner >> 1 & 1;
    all.track_l3 = manner >> 2 & 1;
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    input given(data, size);
    fuzz::begin_library();
    fuzz::give_world();
    const varn_config_t config = configuration(given);
    if (varn_init(&config) != 1)
        return 0;
    for (std::size_t steps = 0; !given.is_over() && steps < most_steps; ++steps) {
        run_step(given);
        fuzz::check_library();
    }
    fuzz::end_library();
    return 0;
}
