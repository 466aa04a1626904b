// SPDX-License-Identifier: Apache-2.0
//
// port_vlans.cpp: libnl-route decodes the list of VLANs; only whether a message is about the switch
// inside of a network card, which speaks in the same words, is taken from the raw attributes.
#include "port_vlans.h"

#include <bit>

#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/errno.h>
#include <netlink/object.h>
#include <netlink/route/link.h>
#include <netlink/route/link/bridge.h>

namespace device
{
namespace
{

struct port {
    u32 key = 0; // 0 = the message names none, or no VLANs
    port_vlans vlans;
};

bool is_about_a_card(nl_msg *message)
{
    const nlattr *spec = nlmsg_find_attr(nlmsg_hdr(message), sizeof(ifinfomsg), IFLA_AF_SPEC);
    if (spec == nullptr)
        return false;
    const nlattr *flags =
        nla_find(static_cast<nlattr *>(nla_data(spec)), nla_len(spec), IFLA_BRIDGE_FLAGS);
    return flags != nullptr && (nla_get_u16(flags) & BRIDGE_FLAGS_SELF) != 0;
}

port_vlans summary_of(const rtnl_link_bridge_vlan &list)
{
    int carried = 0;
    bool tagged = false;
    for (std::size_t n = 0; n < std::size(list.vlan_bitmap); ++n) {
        carried += std::popcount(list.vlan_bitmap[n]);
        tagged = tagged || (list.vlan_bitmap[n] & ~list.untagged_bitmap[n]) != 0;
    }
    return {list.pvid, carried > 1 || tagged};
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
                                      summary_of(*list)};
}

int collect(nl_msg *message, void *argument)
{
    u32 key = 0;
    port_vlans vlans;
    if (read_port_vlans(message, key, vlans))
        (*static_cast<std::map<u32, port_vlans> *>(argument))[key] = vlans;
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

} // namespace

bool read_port_vlans(nl_msg *message, u32 &key, port_vlans &vlans)
{
    port found;
    if (nlmsg_hdr(message)->nlmsg_type != RTM_NEWLINK || is_about_a_card(message) ||
        nl_msg_parse(message, on_object, &found) < 0 || found.key == 0)
        return false;
    key = found.key;
    vlans = found.vlans;
    return true;
}

int ask_port_vlans(nl_sock *socket, std::map<u32, port_vlans> &ports)
{
    const int result = send_question(socket);
    if (result < 0)
        return result;
    nl_socket_modify_cb(socket, NL_CB_VALID, NL_CB_CUSTOM, collect, &ports);
    return nl_recvmsgs_default(socket);
}

} // namespace device
