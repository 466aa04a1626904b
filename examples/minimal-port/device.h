// SPDX-License-Identifier: Apache-2.0
//
// device.h: a whole device in a few hundred lines. Its state lives in the memory of one process:
// interfaces, VLANs, and a queue of what changed. The smallest implementation of the platform
// headers that keeps all their promises, made to be read beside docs/porting.md and to be taken
// apart.
//
//   ht.cpp, process.cpp   what needs no device: hash table, memory, history, threads, if-indexes
//   device.cpp            the state, and what changes it
//   services.cpp          the requests: each reads the state
//   notices.cpp           what changed, handed to the cache; the one file that knows the cache
//   client.cpp            a program that asks the cache
//   contract_world.cpp    the hooks of the contract suite
//
// A real port replaces device.cpp by its own processes, and services.cpp by requests to them.
#ifndef MINIMAL_PORT_DEVICE_H
#define MINIMAL_PORT_DEVICE_H

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace minimal
{

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;

inline constexpr u32 none = 0xFFFFFFFF; // no port index, no lif

// Types of if-indexes beside those of if_index.h: the device's own affair.
enum : u8 { loopback = 40, sub_interface, null0, mvpn, mpls, six_to_four, dci_tunnel, dci_overlay };

// What an interface has as a number, and behind num_values what else can be told as changed.
// clang-format off
enum what : u8 {
    iod, if_index, type, parent, linkup, protoup, switchport, switching, p2p, mtu, encap,
    access_vlan, port_mode, context, base_table, pi, lif,
    port_channel, // if-index of the port's port-channel; 0 = none
    first_member, // if-index of the first operational member; 0 = none
    num_values, mac_address, private_data, members, removed,
    vlan_changed, vlan_deleted, // `after` is the VLAN
    lost // the queue was full: nothing is known of what changed
};
// clang-format on

struct data {
    u32 extension = 0;
    std::string block;
};

struct interface {
    std::string name;
    std::array<u32, num_values> values{};
    std::array<u8, 6> mac{};
    std::array<u32, 16> buckets{};  // if-indexes of the members of a port-channel
    std::map<u32, data> attached{}; // by key
};

struct vlan {
    u32 bd = 0, flood_di = 0, primary = 0;
};

struct change {
    what kind;
    u32 if_index, iod, before, after;
};

// ---- Reading. Null: there is none, or the device is silent

const interface *find(what by, u32 value);
const vlan *find_vlan(u32 number);
const vlan *find_bridge_domain(u32 bd);
u32 num_unanswered(); // questions that the silent device was asked

// ---- Changing

interface *named(const std::string &name);
u32 if_index_of(const char *name); // 0 = none, also for null
bool add(const std::string &name, u8 type, u32 vlan, const char *on);
void take_away(const std::string &name);
void set(interface &of, what which, u32 to);
void set_bucket(interface &pc, u32 rbh, u32 member);
void put_vlan(u32 number, const vlan &to);
void remove_vlan(u32 number);
void be_silent(bool is);

// ---- What changed

void note(const interface &of, what kind, u32 before = 0, u32 after = 0);

// Takes the oldest change off the queue. False: there is none.
bool next_change(change &taken);

// Hands all of them to the cache. A client calls it between its questions, never within one.
void dispatch();

} // namespace minimal

#endif
