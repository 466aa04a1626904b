// SPDX-License-Identifier: Apache-2.0
//
// port_vlans.cpp: libnl-route decodes the list of VLANs; only whether a message is about the switch
// inside of a network card, which speaks in the same words, is taken from the raw attributes.
#include "port_vlans.h"

#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/errno.h>
#include <netlink/object.h>
#include <netlink/route/link.h>
#include <netlink/route/link/bridge.h>

#include "if_index.h"
#include "link_facts.h"

namespace device
{
namespace
{

constexpr std::size_t word_bits = 32; // of libnl's bitmap

struct port {
    u32 key = 0; // 0 = the message names none, or no VLANs
    carried_vlans vlans;
};

bool is_about_a_card(nl_msg *message)
{
    const nlattr *spec = nlmsg_find_attr(nlmsg_hdr(message), sizeof(ifinfomsg), IFLA_AF_SPEC);
    if (spec == nullptr)
        return false;
    const nlattr *flags =
        nla_find(static_cast<nlattr *>(nla_data(spec)), nla_len(spec), IFLA_BRIDGE_FLAGS);
    return flags != nullptr && nla_len(flags) >= static_cast<int>(sizeof(u16)) &&
           (nla_get_u16(flags) & BRIDGE_FLAGS_SELF) != 0;
}

carried_vlans read_list(const rtnl_link_bridge_vlan &list)
{
    carried_vlans read;
    bool tagged = false;
    for (std::size_t n = 0; n < std::size(list.vlan_bitmap); ++n) {
        read.all |= vlan_set(list.vlan_bitmap[n]) << (n * word_bits);
        tagged = tagged || (list.vlan_bitmap[n] & ~list.untagged_bitmap[n]) != 0;
    }
    read.summary = {list.pvid, read.all.count() > 1 || tagged};
    return read;
}

void on_object(nl_object *object, void *argument)
{
    auto *link = reinterpret_cast<rtnl_link *>(object);
    if (rtnl_link_get_family(link) != AF_BRIDGE)
        return;
    const rtnl_link_bridge_vlan *list = rtnl_link_bridge_get_port_vlan(link);
    if (list == nullptr)
        return;
    *static_cast<port *>(argument) = {static_cast<u32>(rtnl_link_get_ifindex(link)),
                                      read_list(*list)};
}

int collect(nl_msg *message, void *argument)
{
    u32 key = 0;
    carried_vlans vlans;
    if (read_port_vlans(message, key, vlans))
        (*static_cast<std::map<u32, carried_vlans> *>(argument))[key] = vlans;
    return NL_OK;
}

// Neighbouring VLANs come as ranges: a port with all of them fits into one message.
int send_question(nl_sock *socket)
{
    ifinfomsg header{};
    header.ifi_family = AF_BRIDGE;
    nl_msg *message = nlmsg_alloc_simple(RTM_GETLINK, NLM_F_DUMP);
    if (message == nullptr)
        return -NLE_NOMEM;
    int result = nlmsg_append(message, &header, sizeof header, NLMSG_ALIGNTO);
    if (result >= 0)
        result = nla_put_u32(message, IFLA_EXT_MASK, RTEXT_FILTER_BRVLAN_COMPRESSED);
    if (result >= 0)
        result = nl_send_auto(socket, message);
    nlmsg_free(message);
    return result;
}

// Whether this is a bridge that filters VLANs, or a port of one.
bool filters(const device_model &model, const interface *carrier)
{
    if (carrier == nullptr)
        return false;
    const interface *bridge =
        carrier->masters == mastery::bridge ? carrier : model.find_key(carrier->master_key);
    return bridge != nullptr && bridge->filters_vlans;
}

} // namespace

bool read_port_vlans(nl_msg *message, u32 &key, carried_vlans &vlans)
{
    port found;
    if (!is_description(message) || is_about_a_card(message) ||
        nl_msg_parse(message, on_object, &found) < 0 || found.key == 0)
        return false;
    key = found.key;
    vlans = found.vlans;
    return true;
}

int ask_port_vlans(nl_sock *socket, std::map<u32, carried_vlans> &ports)
{
    const int result = send_question(socket);
    if (result < 0)
        return result;
    nl_socket_modify_cb(socket, NL_CB_VALID, NL_CB_CUSTOM, collect, &ports);
    return nl_recvmsgs_default(socket);
}

vlan_set vlans_of_device(const device_model &model, const std::map<u32, carried_vlans> &ports)
{
    vlan_set there;
    for (const auto &[key, vlans] : ports)
        if (filters(model, model.find_key(key)))
            there |= vlans.all;
    for (const auto &[iod, entry] : model.interfaces())
        if (entry.type == IF_INDEX_TYPE_SVI)
            there.set(entry.vlan);
    return there;
}

} // namespace device
