// SPDX-License-Identifier: Apache-2.0
//
// link_facts.cpp: from a netlink message to facts. libnl-route does the decoding; only what it
// keeps to itself (the forwarding state of a bridge port, whether a bridge filters VLANs, whether a
// link's parent lives in another namespace) is taken from the raw attributes.
#include "link_facts.h"

#include <algorithm>
#include <cstring>

#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <netlink/addr.h>
#include <netlink/attr.h>
#include <netlink/object.h>
#include <netlink/route/link.h>
#include <netlink/route/link/vlan.h>
#include <netlink/route/link/vrf.h>

#include "link_kinds.h"

namespace device
{
namespace
{

u32 ordinal(int kernel_index) { return kernel_index > 0 ? static_cast<u32>(kernel_index) : 0; }

// Of one that stands there twice the last counts, as it does for libnl.
nlattr *last_of(nlattr *first, int bytes, int which)
{
    nlattr *found = nullptr;
    for (nlattr *each = first; nla_ok(each, bytes) != 0; each = nla_next(each, &bytes))
        if (nla_type(each) == which)
            found = each;
    return found;
}

nlattr *attribute(nl_msg *message, int which)
{
    const nlmsghdr *header = nlmsg_hdr(message);
    return last_of(nlmsg_attrdata(header, sizeof(ifinfomsg)),
                   nlmsg_attrlen(header, sizeof(ifinfomsg)), which);
}

nlattr *nested(nlattr *outer, int which)
{
    return outer == nullptr
               ? nullptr
               : last_of(static_cast<nlattr *>(nla_data(outer)), nla_len(outer), which);
}

// 0 where it is not there, or has no byte.
u8 byte_of(const nlattr *found)
{
    return found == nullptr || nla_len(found) < 1 ? u8{0} : nla_get_u8(found);
}

bool is_forwarding_bridge_port(nl_msg *message)
{
    nlattr *info = attribute(message, IFLA_LINKINFO);
    const nlattr *kind = nested(info, IFLA_INFO_SLAVE_KIND);
    if (kind == nullptr || nla_strcmp(kind, "bridge") != 0)
        return false;
    return byte_of(nested(nested(info, IFLA_INFO_SLAVE_DATA), IFLA_BRPORT_STATE)) ==
           BR_STATE_FORWARDING;
}

bool is_filtering_bridge(nl_msg *message)
{
    nlattr *data = nested(attribute(message, IFLA_LINKINFO), IFLA_INFO_DATA);
    return byte_of(nested(data, IFLA_BR_VLAN_FILTERING)) != 0;
}

void read_state(rtnl_link *link, link_facts &facts)
{
    const unsigned flags = rtnl_link_get_flags(link);
    const unsigned operstate = rtnl_link_get_operstate(link);
    facts.admin_up = (flags & IFF_UP) != 0;
    facts.link = (flags & IFF_LOWER_UP) != 0;
    facts.protoup =
        facts.admin_up && (operstate == IF_OPER_UP || (operstate == IF_OPER_UNKNOWN && facts.link));
    facts.loopback = (flags & IFF_LOOPBACK) != 0;
    facts.p2p = (flags & IFF_POINTOPOINT) != 0;
}

void read_medium(rtnl_link *link, link_facts &facts)
{
    const unsigned hardware_type = rtnl_link_get_arptype(link);
    facts.ethernet = hardware_type == ARPHRD_ETHER;
    facts.encap = encap_of(hardware_type);
    // An MTU has 16 bits on this device: lo's 65536 reads as 65535.
    facts.mtu = static_cast<u16>(std::min(rtnl_link_get_mtu(link), 0xFFFFu));
    nl_addr *address = rtnl_link_get_addr(link);
    if (address != nullptr && nl_addr_get_len(address) == facts.mac.size())
        std::memcpy(facts.mac.data(), nl_addr_get_binary_addr(address), facts.mac.size());
}

// libnl asks nothing of a link whose message has no data of its kind, and trips over it.
bool has_data_of_kind(nl_msg *message)
{
    return nested(attribute(message, IFLA_LINKINFO), IFLA_INFO_DATA) != nullptr;
}

bool has_statistics_of_kind(nl_msg *message)
{
    return nested(attribute(message, IFLA_LINKINFO), IFLA_INFO_XSTATS) != nullptr;
}

// IFLA_LINK means "stands on" for a VLAN link only: a veth names its peer there.
void read_vlan(rtnl_link *link, nl_msg *message, link_facts &facts)
{
    if (rtnl_link_is_vlan(link) == 0 || !has_data_of_kind(message))
        return;
    facts.vlan = static_cast<u16>(std::max(rtnl_link_vlan_get_id(link), 0));
    if (attribute(message, IFLA_LINK_NETNSID) == nullptr)
        facts.parent_key = ordinal(rtnl_link_get_link(link));
}

void read_link(rtnl_link *link, nl_msg *message, link_facts &facts)
{
    const char *kind = rtnl_link_get_type(link);
    const char *name = rtnl_link_get_name(link);
    facts.key = ordinal(rtnl_link_get_ifindex(link));
    facts.kind = kind == nullptr ? "" : kind;
    facts.name = name == nullptr ? "" : name;
    const link_kind row = kind_of_link(facts.kind, rtnl_link_get_arptype(link));
    facts.type = row.type;
    facts.masters = row.masters;
    facts.master_key = ordinal(rtnl_link_get_master(link));
    facts.forwards = is_forwarding_bridge_port(message);
    read_state(link, facts);
    read_medium(link, facts);
    read_vlan(link, message, facts);
    facts.filters_vlans = row.masters == mastery::bridge && is_filtering_bridge(message);
    if (row.masters == mastery::vrf && has_data_of_kind(message))
        rtnl_link_vrf_get_tableid(link, &facts.table);
}

struct target {
    nl_msg *message;
    link_facts *facts;
};

void on_object(nl_object *object, void *argument)
{
    const auto *to = static_cast<target *>(argument);
    read_link(reinterpret_cast<rtnl_link *>(object), to->message, *to->facts);
}

} // namespace

bool is_description(nl_msg *message)
{
    return nlmsg_hdr(message)->nlmsg_type == RTM_NEWLINK &&
           (has_data_of_kind(message) || !has_statistics_of_kind(message));
}

bool read_link_facts(nl_msg *message, link_facts &facts)
{
    target to = {message, &facts};
    if (!is_description(message))
        return false;
    return nl_msg_parse(message, on_object, &to) >= 0 && facts.key != 0;
}

} // namespace device
