// SPDX-License-Identifier: Apache-2.0
//
// tables.cpp: rows and columns. Widths are fixed but for the name's, so that two tables that are
// shown one after the other can be compared by eye.
#include "tables.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>
#include <unistd.h>

#include "attributes.h"
#include "if_index.h"
#include "varn_device.h"

namespace shell
{
namespace
{

constexpr char row_format[] =
    "{:<{}}  {:>5}  {:<10}  {:<8}  {}  {}  {:>5}  {:<14}  {:>5}  {:<2}  {:>4}";

bool colourful()
{
    const char *refused = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) != 0 && (refused == nullptr || *refused == '\0');
}

// Padded before it is coloured: a terminal's codes have no width.
std::string up_or_down(u32 up, int width)
{
    std::string word = fmt::format("{:<{}}", up != 0 ? "up" : "down", width);
    if (!colourful())
        return word;
    return fmt::format("\x1b[{}m{}\x1b[0m", up != 0 ? 32 : 31, word);
}

std::string type_word(const listed &entry)
{
    std::uint8_t type = 0;
    if (if_index_get_type(entry.if_index, &type) != 0)
        return "?";
    switch (type) {
    case IF_INDEX_TYPE_MGMT:
        return "mgmt";
    case IF_INDEX_TYPE_CBUS:
        return "cbus";
    case IF_INDEX_TYPE_SVI:
        return "svi";
    case IF_INDEX_TYPE_PC:
        return "channel";
    case IF_INDEX_TYPE_GRE:
        return "gre";
    case IF_INDEX_TYPE_PHYSICAL:
        return "physical";
    default:
        break;
    }
    if (varn_ifsvc_is_loopback(entry.iod) != 0)
        return "loopback";
    if (varn_ifsvc_is_vlan(entry.iod) != 0)
        return "vlan";
    return varn_ifsvc_is_null0(entry.iod) != 0 ? "null" : "other";
}

// Only an Ethernet interface has a MAC address worth a request.
std::string mac_word(u32 iod)
{
    return varn_ifsvc_is_ethernet(iod) != 0 ? mac_text(varn_ifsvc_get_if_mac_addr(iod)) : "-";
}

std::string vlan_word(u32 iod)
{
    const u32 vlan = varn_ifsvc_get_if_vlanid(iod);
    return vlan != 0 ? fmt::format("{}", vlan) : "-";
}

std::string row_of(const listed &entry, std::size_t width)
{
    const u32 iod = entry.iod;
    return fmt::format(row_format, entry.name, width, iod, fmt::format("0x{:08x}", entry.if_index),
                       type_word(entry), up_or_down(varn_ifsvc_is_linkup(iod), 4),
                       up_or_down(varn_ifsvc_is_protoup(iod), 5), varn_ifsvc_get_if_mtu(iod),
                       mac_word(iod), varn_ifsvc_get_if_encaptype(iod),
                       varn_ifsvc_is_switchport(iod) != 0 ? "L2" : "L3", vlan_word(iod));
}

std::size_t widest_name(const std::vector<listed> &interfaces)
{
    std::size_t width = 4;
    for (const listed &entry : interfaces)
        width = std::max(width, entry.name.size());
    return width;
}

// In the order of the counter slots.
constexpr const char *slot_names[] = {
    "if_index",  "iod",        "pi",          "lif",      "mac",      "encap",    "extn",
    "extn1",     "extn2",      "extn3",       "context",  "base_tid", "mtu",      "switchport",
    "switching", "linkup",     "protoup",     "ethernet", "is_vlan",  "vlan",     "ips",
    "null",      "aggsvc_if",  "gre",         "subif",    "name",     "loopback", "p2p",
    "if_type",   "dci_tunnel", "dci_overlay", "mvpn",
};
static_assert(std::size(slot_names) == VARN_NUM_SLOTS);

void show_slot(u32 slot)
{
    const u64 hits = varn.hits[slot];
    const u64 misses = varn.misses[slot];
    if (hits + misses + varn.updates[slot] == 0)
        return;
    const std::string rate = hits + misses == 0
                                 ? "-"
                                 : fmt::format("{:.1f} %", 100.0 * static_cast<double>(hits) /
                                                               static_cast<double>(hits + misses));
    fmt::print("{:<12}  {:>12}  {:>12}  {:>12}  {:>8}\n", slot_names[slot], hits, misses,
               varn.updates[slot], rate);
}

} // namespace

std::string show_interfaces(const std::vector<listed> &interfaces)
{
    std::string failure;
    const std::size_t width = widest_name(interfaces);
    fmt::print("{}\n", fmt::format(row_format, "NAME", width, "IOD", "IF-INDEX", "TYPE", "LINK",
                                   "PROTO", "MTU", "MAC", "ENCAP", "L", "VLAN"));
    for (const listed &entry : interfaces) {
        attempt asking(entry.iod);
        const std::string row = row_of(entry, width);
        const std::string reason = asking.failure();
        if (reason.empty()) {
            fmt::print("{}\n", row);
            continue;
        }
        fmt::print("{:<{}}  {:>5}  not known: {}\n", entry.name, width, entry.iod, reason);
        failure = reason;
    }
    return failure;
}

void show_stats()
{
    fmt::print("{:<12}  {:>12}  {:>12}  {:>12}  {:>8}\n", "ATTRIBUTE", "HITS", "MISSES", "UPDATES",
               "HIT RATE");
    for (u32 slot = 0; slot < VARN_NUM_SLOTS; ++slot)
        show_slot(slot);
    fmt::print("entries: {} now, {} made, {} removed; requests sent: {}\n",
               varn.if_table.num_entries, varn.if_allocs, varn.if_destroys, varn_device_requests());
}

} // namespace shell
