// SPDX-License-Identifier: Apache-2.0
//
// The ground of the fault sweeps: the world, the configuration with every attribute and every
// callback, the three situations, and what must hold afterwards.
#include "operations.h"

#include "scripted_device.h"
#include "varn.h"
#include "varn_config.h"
#include "varn_invariants.h"

#include <cstring>
#include <sstream>

using namespace scripted;

namespace
{

using u32 = std::uint32_t;
using u64 = std::uint64_t;

void make_world()
{
    reset();
    reset_callbacks();
    given(port(7)
              .access(20)
              .mtu(9216)
              .encap(3)
              .in_channel(0x16000003)
              .extension(0x11, 0x5a)
              .private_data(0x11, {1, 2, 3}),
          port(8).in_channel(0x16000003), port(9).sub_interface(0x1a000007, 30),
          port_channel(3).members({0x1a000007, 0x1a000008}), svi(20), vlan(20));
}

// Reads nothing: what the service gave may be no address at all.
u32 decode(const void *data, u32 size)
{
    return static_cast<u32>(reinterpret_cast<std::uintptr_t>(data) != 0) + size;
}

void start_cache()
{
    constexpr u64 every_bit = (u64{1} << 34) - 1;
    varn_cleanup();
    std::memset(static_cast<void *>(&varn), 0, sizeof varn);
    varn_enabled = 0;
    varn_error_cb = 1;
    varn_config_t record = config()
                               .sync(every_bit)
                               .crit(every_bit)
                               .med(every_bit)
                               .low(every_bit)
                               .num_buckets(16)
                               .uuid(0x11)
                               .error_cb(6)
                               .debug_print()
                               .print()
                               .extn_free()
                               .on_create()
                               .track_l3(1)
                               .record();
    record.extn_decode[0] = decode;
    varn_init(&record);
}

void fill_cache()
{
    for (const u32 if_index : {0x1a000007u, 0x1a000009u, 0x16000003u, 0x09000014u})
        varn_if_create_entry_by_if(if_index, 0, none, none);
    varn_vlan_create_entry_by_vlan(20);
    u32 member = 0;
    varn_aggsvc_get_pc_mbr_ifidx_from_rbh(0x16000003, 1, &member);
    // The queries fetch what a refresh leaves out.
    varn_ifsvc_is_mvpn_tunnel(7);
    varn_ifsvc_is_vlan(7);
}

void make_stale()
{
    varn_if_flush_all(3);
    varn_vlan_flush_all(3);
    varn_pc_invalidate(0x16000003);
}

bool is_about_memory(const std::string &line)
{
    return line.find("table") == std::string::npos && line.find(", but ") == std::string::npos;
}

} // namespace

const char *name_of(situation which)
{
    switch (which) {
    case situation::missing:
        return "missing";
    case situation::stale:
        return "stale";
    case situation::clean:
        return "clean";
    }
    return "?";
}

void prepare(situation which)
{
    make_world();
    start_cache();
    if (which != situation::missing)
        fill_cache();
    if (which == situation::stale)
        make_stale();
    forget();
    forget_history();
    heard();
}

void empty_the_cache()
{
    varn_restore_cache();
    for (void *each : records_in(&varn.if_table))
        varn_if_destroy_entry(static_cast<varn_if_entry_t *>(each));
    for (void *each : records_in(&varn.vlan_table))
        varn_vlan_remove_entry_by_vlan(static_cast<varn_vlan_entry_t *>(each)->vlan);
    for (void *each : records_in(&varn.pc_table))
        varn_pc_remove_entry_by_if_index(static_cast<varn_pc_entry_t *>(each)->pc_ifindex);
}

std::string broken_after_faults(bool tables_lied)
{
    std::istringstream all(broken_invariants({}, {}));
    std::string broken;
    for (std::string line; std::getline(all, line);)
        if (!tables_lied || is_about_memory(line))
            broken += line + '\n';
    return broken;
}
