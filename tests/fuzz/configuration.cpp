// SPDX-License-Identifier: Apache-2.0
//
// configuration: any configuration, a few operations on it, every dump, and the end. A start that
// fails leaves the cache off; one that succeeds leaves a library whose invariants hold whatever is
// asked of it, which can be switched off and on, and which gives everything back.
//
//   bytes       the configuration
//   then steps: what is done, and its argument
#include "library_ground.h"

namespace
{

using fuzz::input;
using fuzz::u32;
using scripted::dec;
using scripted::hex;
using scripted::spell;

constexpr std::size_t most_steps = 60;

struct deed {
    const char *name;
    void (*act)(input &given);
};

constexpr deed deeds[] = {
    {"query", fuzz::ask_something},
    {"query", fuzz::ask_something},
    {"world", fuzz::change_world},
    {"create by if-index",
     [](input &given) { varn_if_create_entry_by_if(fuzz::some_if_index(given), 0, 0, 0); }},
    {"create by pi", [](input &given) { varn_if_create_entry_by_pi(fuzz::some_pi(given)); }},
    {"create by lif", [](input &given) { varn_if_create_entry_by_lif(fuzz::some_lif(given)); }},
    {"flush", [](input &given) { varn_if_flush_iod(fuzz::some_iod(given), given.below(5)); }},
    {"flush all", [](input &given) { varn_if_flush_all(given.below(5)); }},
    {"update", [](input &given) { varn_if_update_if(fuzz::some_if_index(given)); }},
    {"remove", [](input &given) { varn_if_remove_entry_by_if(fuzz::some_if_index(given)); }},
    {"bucket",
     [](input &given) {
         u32 member = 0;
         varn_aggsvc_get_pc_mbr_ifidx_from_rbh(fuzz::some_channel(given),
                                               static_cast<fuzz::u8>(given.below(16)), &member);
     }},
    {"flood index",
     [](input &given) {
         u32 index = 0;
         fuzz::u16 bd = 0;
         varn_vlan_to_flood_di(fuzz::some_vlan(given), &index, &bd);
     }},
    {"primary VLAN",
     [](input &given) {
         u32 primary = 0;
         varn_pvlan_get_pvlan(fuzz::some_vlan(given), &primary);
     }},
    {"flush a VLAN",
     [](input &given) { varn_vlan_flush_vlan(fuzz::some_vlan(given), given.below(5)); }},
    {"first member",
     [](input &given) {
         u32 member = 0;
         varn_aggsvc_get_fop(fuzz::some_channel(given), &member);
     }},
    {"private data",
     [](input &given) {
         u32 size = 0;
         varn_ifsvc_get_private_data(fuzz::some_iod(given), given.byte(), &size);
     }},
    {"error callbacks", [](input &given) { varn_error_cb = given.below(3); }},
    {"disable", [](input &) { varn_disable_cache(); }},
    {"restore", [](input &) { varn_restore_cache(); }},
    {"statistics of a table", [](input &given) { varn_print_stats(given.byte(), &varn.pi_table); }},
};

void dump_all(std::uintptr_t arg)
{
    varn_dump(arg);
    varn_if_dump(arg);
    varn_pc_dump(arg);
    varn_vlan_dump(arg);
    varn_if_print_iod(arg, 1);
    varn_pc_print(arg, 0x16000001);
    varn_vlan_print(arg, 20);
    varn_dump_iod_bmp(arg);
}

void run_steps(input &given)
{
    for (std::size_t steps = 0; !given.is_over() && steps < most_steps; ++steps) {
        const deed &next = deeds[given.below(std::size(deeds))];
        fuzz::note_step(next.name);
        next.act(given);
        fuzz::check_library();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    input given(data, size);
    fuzz::begin_library();
    fuzz::give_world();
    const varn_config_t config = fuzz::some_config(given);
    const u32 started = varn_init(&config);
    fuzz::note_step(spell("varn_init: sync ", hex(config.sync), ", buckets ",
                          dec(config.num_buckets), " gives ", dec(started)));
    fuzz::expect(started <= 1 && varn_is_enabled() == started, "a start says whether it succeeded");
    if (started == 0)
        return 0;
    run_steps(given);
    dump_all(given.byte());
    fuzz::check_library();
    fuzz::end_library();
    return 0;
}
