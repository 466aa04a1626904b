// SPDX-License-Identifier: Apache-2.0
//
// reference_world.cpp: the hooks over the model of the reference device, in this process. The suite
// is held to a second device by it, which has ideas of its own: values that it computes itself
// cannot be set, and leave tests out.
#include "contract_world.h"

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "device/coherence/in_process_device.h"
#include "shell/follower.h"
#include "varn.h"

using device_words = std::vector<std::string>;

namespace
{

// Made at the first use, and there until the end.
coherence::in_process_device &device_here()
{
    static coherence::in_process_device made(4096);
    return made;
}

uint32_t change(const device_words &words)
{
    const std::string wrong = device_here().change(words);
    if (wrong.empty())
        return CONTRACT_DONE;
    std::printf("the reference device: %s\n", wrong.c_str());
    return CONTRACT_FAILED;
}

// By kind.
constexpr const char *types[CONTRACT_NUM_KINDS] = {
    "physical", "mgmt", "cbus",        "svi",         "port-channel", "gre",        "subinterface",
    "loopback", "null", "mvpn-tunnel", "mpls-tunnel", "6to4",         "dci-tunnel", "dci-overlay"};

// The device names a member by itself: the first that has a link.
uint32_t add(const char *name, contract_kind_t kind, uint32_t vlan, const char *on)
{
    device_words words{"add", name, types[kind]};
    if (vlan != 0)
        words.insert(words.end(), {"vlan", std::to_string(vlan)});
    if (on != nullptr)
        words.insert(words.end(), {"parent", on});
    return change(words);
}

uint32_t if_index_of(const char *name)
{
    for (const uint32_t iod : device_here().iods()) {
        const device::interface *found = device_here().model().find_iod(iod);
        if (found != nullptr && found->now.name == name)
            return found->if_index;
    }
    return 0;
}

uint32_t set(const char *name, contract_value_t value, uint32_t to)
{
    static const std::map<contract_value_t, device_words> fields = {
        {CONTRACT_LINKUP, {"link", "down", "up"}},
        {CONTRACT_PROTOUP, {"protocol", "down", "up"}},
        {CONTRACT_SWITCHPORT, {"mode", "routed", "access"}},
        {CONTRACT_SWITCHING, {"forwarding", "no", "yes"}},
        {CONTRACT_P2P, {"p2p", "no", "yes"}},
        {CONTRACT_MTU, {"mtu"}},
        {CONTRACT_ENCAP, {"encap"}},
        {CONTRACT_VLAN, {"vlan"}}};
    const auto field = fields.find(value);
    if (field == fields.end())
        return CONTRACT_CANNOT;
    const bool is_flag = field->second.size() > 1;
    const std::string text = is_flag                             ? field->second[1 + to]
                             : value == CONTRACT_VLAN && to == 0 ? "none"
                                                                 : std::to_string(to);
    return change({"set", name, field->second[0], text});
}

uint32_t set_mac(const char *name, const uint8_t *mac)
{
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return change({"set", name, "mac", text});
}

uint32_t attach(const char *name, uint32_t key, uint32_t extension, const void *block,
                uint32_t size)
{
    device_words words{"private", name, std::to_string(key), std::to_string(extension)};
    if (extension == 0 && size == 0)
        words.back() = "none";
    std::string digits;
    for (uint32_t n = 0; n < size; ++n) {
        char byte[3];
        std::snprintf(byte, sizeof byte, "%02x", static_cast<const uint8_t *>(block)[n]);
        digits += byte;
    }
    if (size != 0)
        words.push_back(digits);
    return change(words);
}

uint32_t join(const char *port, const char *pc)
{
    return change({"set", port, "member_of", pc == nullptr ? "none" : pc});
}

uint32_t put_vlan(uint32_t vlan, uint32_t bd, uint32_t flood_di, uint32_t primary)
{
    if (bd > 16383)
        return CONTRACT_CANNOT;
    const bool is_there = device_here().model().find_vlan(static_cast<uint16_t>(vlan)) != nullptr;
    return change({"vlan", std::to_string(vlan), is_there ? "set" : "add", "bd", std::to_string(bd),
                   "flood_index", std::to_string(flood_di), "primary", std::to_string(primary)});
}

uint32_t remove_vlan(uint32_t vlan) { return change({"vlan", std::to_string(vlan), "delete"}); }

// What was told while the cache was off is forgotten as a whole when it is on again.
uint32_t dispatch()
{
    static bool was_off = false;
    device_here().dispatch(0);
    const bool is_on = varn_is_enabled() != 0;
    if (is_on && was_off)
        shell::forget_everything();
    was_off = !is_on;
    return CONTRACT_DONE;
}

const contract_world_t world = {
    .add = add,
    .remove =
        [](const char *name) {
            return change({"delete", name});
        },
    .if_index_of = if_index_of,
    .set = set,
    .set_mac = set_mac,
    .attach = attach,
    .join = join,
    .set_first_member = nullptr,
    .set_bucket = nullptr,
    .put_vlan = put_vlan,
    .remove_vlan = remove_vlan,
    .stop = [] { return device_here().disconnect(), CONTRACT_DONE; },
    .start = [] { return device_here().reconnect(), CONTRACT_DONE; },
    .dispatch = dispatch,
    .history_holds = nullptr,
};

} // namespace

// The platform functions answer for the device that was made last.
const contract_world_t *contract_world_hooks(void)
{
    device_here();
    return &world;
}
