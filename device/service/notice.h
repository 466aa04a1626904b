// SPDX-License-Identifier: Apache-2.0
//
// notice.h: what the service tells its clients of a change, as both ends of the socket know it.
//
// A notice travels as a D-Bus signal that bears the name of its kind. All kinds have one signature:
// the service's epoch and the notice's sequence number, and then the fields below in their order.
// Which of them a kind fills in stands beside it here; all others are zero.
//
// The order of the kinds is the order in which the notices of one change go out: first what says
// what happened, then what takes back every belief that the first ones did not set right.
#ifndef VARN_DEVICE_NOTICE_H
#define VARN_DEVICE_NOTICE_H

#include <array>
#include <cstdint>

namespace wire
{

// clang-format off
enum class notice_kind : std::uint8_t {
    lost,              // notices up to this one are missing
    removed,           // if_index, iod
    vlan_deleted,      // vlan
    added,             // if_index, iod
    physical_state,    // if_index, iod, state
    l2_state,          // if_index, iod, state, mtu, mac, vlan
    l3_state,          // if_index, iod, state, mtu
    l2_bundle_state,   // as l2_state
    l3_bundle_state,   // as l3_state
    l3_parameters,     // if_index, iod, parameters
    switchport,        // if_index, iod
    router_mac,        // if_index, iod, mac
    first_member,      // if_index, iod, old_member, new_member
    linkup,            // if_index, iod
    extension_removed, // if_index, iod, key
    changed,           // if_index, iod
    vlan,              // if_index, iod
    members,           // if_index: of the port-channel
    vlan_changed,      // vlan
};
// clang-format on
inline constexpr std::size_t num_notice_kinds = 19;

// The names on the wire, by kind.
inline constexpr const char *notice_names[num_notice_kinds] = {
    "Lost",       "Removed",   "VlanDeleted",   "Added",         "PhysicalState",
    "L2State",    "L3State",   "L2BundleState", "L3BundleState", "L3Parameters",
    "Switchport", "RouterMac", "FirstMember",   "Linkup",        "ExtensionRemoved",
    "Changed",    "Vlan",      "Members",       "VlanChanged",
};

inline constexpr char notice_signature[] = "ttuuyqayuuuut";

// States as the notification records have them.
inline constexpr std::uint8_t physical_there = 1, physical_gone = 2;
inline constexpr std::uint8_t l2_up = 1, l2_down = 2;
inline constexpr std::uint8_t l3_up = 1, l3_down = 2,
                              l3_link_up = 16; // 16: a bundle's, no protocol

struct notice {
    notice_kind kind = notice_kind::lost;
    std::uint32_t if_index = 0;
    std::uint32_t iod = 0;
    std::uint8_t state = 0;
    std::uint16_t mtu = 0;
    std::array<std::uint8_t, 6> mac{};
    std::uint32_t vlan = 0;       // 0 = none
    std::uint32_t old_member = 0; // if-index; 0 = none
    std::uint32_t new_member = 0;
    std::uint32_t key = 0;        // of an extension
    std::uint64_t parameters = 0; // bit n: L3 parameter n changed

    bool operator==(const notice &) const = default;
};

} // namespace wire

#endif
