// SPDX-License-Identifier: Apache-2.0
//
// contract_world.cpp: how the contract suite changes this device.
#include "contract_world.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "device.h"
#include "if_index.h"

using namespace minimal;

namespace
{

// In the order of contract_kind_t and of contract_value_t.
constexpr u8 types[CONTRACT_NUM_KINDS] = {IF_INDEX_TYPE_PHYSICAL,
                                          IF_INDEX_TYPE_MGMT,
                                          IF_INDEX_TYPE_CBUS,
                                          IF_INDEX_TYPE_SVI,
                                          IF_INDEX_TYPE_PC,
                                          IF_INDEX_TYPE_GRE,
                                          sub_interface,
                                          loopback,
                                          null0,
                                          mvpn,
                                          mpls,
                                          six_to_four,
                                          dci_tunnel,
                                          dci_overlay};
constexpr what values[CONTRACT_NUM_VALUES] = {linkup,     protoup, switchport,  switching, p2p,
                                              mtu,        encap,   access_vlan, port_mode, context,
                                              base_table, pi,      lif};

uint32_t done() { return CONTRACT_DONE; }

// A history of this run alone, in the folder that the suite runs in.
const char *const history_path = "minimal-port.history";

bool begin_history()
{
    std::remove(history_path);
    return setenv("MINIMAL_PORT_HISTORY", history_path, 1) == 0;
}

const bool has_history = begin_history();

uint32_t attach_data(const char *name, uint32_t key, uint32_t extension, const void *block,
                     uint32_t size)
{
    interface &of = *named(name);
    const auto *bytes = static_cast<const char *>(block);
    of.attached[key] = {extension, size == 0 ? "" : std::string(bytes, size)};
    return note(of, private_data), done();
}

uint32_t history_holds(uint32_t, const void *record, uint32_t length)
{
    std::ifstream file(has_history ? history_path : "", std::ios::binary);
    const std::string all((std::istreambuf_iterator<char>(file)), {});
    const std::string wanted(static_cast<const char *>(record), length);
    return all.find(wanted) == std::string::npos ? CONTRACT_FAILED : CONTRACT_DONE;
}

const contract_world_t world = {
    .add =
        [](const char *name, contract_kind_t kind, uint32_t vlan, const char *on) {
            return add(name, types[kind], vlan, on) ? done() : CONTRACT_FAILED;
        },
    .remove = [](const char *name) { return take_away(name), done(); },
    .if_index_of = if_index_of,
    .set = [](const char *name, contract_value_t value,
              uint32_t to) { return set(*named(name), values[value], to), done(); },
    .set_mac =
        [](const char *name, const uint8_t *mac) {
            interface &of = *named(name);
            std::copy_n(mac, of.mac.size(), of.mac.begin());
            return note(of, mac_address), done();
        },
    .attach = attach_data,
    .join = [](const char *port,
               const char *pc) { return set(*named(port), port_channel, if_index_of(pc)), done(); },
    .set_first_member =
        [](const char *pc, const char *port) {
            return set(*named(pc), first_member, if_index_of(port)), done();
        },
    .set_bucket =
        [](const char *pc, uint32_t rbh, const char *port) {
            return set_bucket(*named(pc), rbh, if_index_of(port)), done();
        },
    .put_vlan =
        [](uint32_t vlan, uint32_t bd, uint32_t flood_di, uint32_t primary) {
            return put_vlan(vlan, {bd, flood_di, primary}), done();
        },
    .remove_vlan = [](uint32_t vlan) { return remove_vlan(vlan), done(); },
    .stop = [] { return be_silent(true), done(); },
    .start = [] { return be_silent(false), done(); },
    .dispatch = [] { return dispatch(), done(); },
    .history_holds = history_holds,
};

} // namespace

const contract_world_t *contract_world_hooks(void) { return &world; }
