// SPDX-License-Identifier: Apache-2.0
//
// scripted_kernel.cpp: messages as the kernel builds them, and libnl's functions of sockets.
#include "scripted_kernel.h"

#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/errno.h>
#include <netlink/netlink.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace
{

scripted_kernel *here = nullptr; // the one of the running test

nl_msg *begin(uint16_t type, int ordinal, uint8_t family)
{
    nl_msg *message = nlmsg_alloc_simple(type, 0);
    nlmsg_set_proto(message, NETLINK_ROUTE);
    ifinfomsg header{};
    header.ifi_family = family;
    header.ifi_type = ARPHRD_ETHER;
    header.ifi_index = ordinal;
    header.ifi_flags = IFF_UP | IFF_LOWER_UP;
    EXPECT_EQ(nlmsg_append(message, &header, sizeof header, NLMSG_ALIGNTO), 0);
    return message;
}

void add_kind(nl_msg *message, const scripted_link &link)
{
    nlattr *info = nla_nest_start(message, IFLA_LINKINFO);
    nla_put_string(message, IFLA_INFO_KIND, link.kind.c_str());
    nlattr *data = nla_nest_start(message, IFLA_INFO_DATA);
    if (link.kind == "vlan")
        nla_put_u16(message, IFLA_VLAN_ID, link.vlan);
    if (link.kind == "bridge")
        nla_put_u8(message, IFLA_BR_VLAN_FILTERING, link.filters ? 1 : 0);
    nla_nest_end(message, data);
    nla_nest_end(message, info);
}

nl_msg *message_of(int ordinal, const scripted_link &link)
{
    nl_msg *message = begin(RTM_NEWLINK, ordinal, AF_UNSPEC);
    const uint8_t mac[6] = {2, 0, 0, 0, 0, link.mac};
    nla_put_string(message, IFLA_IFNAME, link.name.c_str());
    nla_put_u32(message, IFLA_MTU, 1500);
    nla_put_u8(message, IFLA_OPERSTATE, IF_OPER_UP);
    nla_put(message, IFLA_ADDRESS, sizeof mac, mac);
    if (link.master != 0)
        nla_put_u32(message, IFLA_MASTER, static_cast<uint32_t>(link.master));
    if (link.parent != 0)
        nla_put_u32(message, IFLA_LINK, static_cast<uint32_t>(link.parent));
    if (!link.kind.empty())
        add_kind(message, link);
    return message;
}

nl_msg *vlans_of(int ordinal, const scripted_link &link)
{
    nl_msg *message = begin(RTM_NEWLINK, ordinal, AF_BRIDGE);
    nla_put_string(message, IFLA_IFNAME, link.name.c_str());
    nla_put_u32(message, IFLA_MASTER, static_cast<uint32_t>(link.master));
    nlattr *spec = nla_nest_start(message, IFLA_AF_SPEC);
    for (const bridge_vlan_info &vlan : link.carries)
        nla_put(message, IFLA_BRIDGE_VLAN_INFO, sizeof vlan, &vlan);
    nla_nest_end(message, spec);
    return message;
}

} // namespace

scripted_kernel::scripted_kernel() : descriptor_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    here = this;
}

scripted_kernel::~scripted_kernel()
{
    here = nullptr;
    close(descriptor_);
}

void scripted_kernel::tell(uint16_t type, int ordinal, uint8_t family)
{
    events_.push_back({type, ordinal, family, 0});
    wake(true);
}

void scripted_kernel::lose(int failure)
{
    events_.push_back({0, 0, 0, failure == -1 ? -NLE_NOMEM : failure});
    wake(true);
}

void scripted_kernel::wake(bool readable) const
{
    uint64_t count = 1;
    const ssize_t done = readable ? write(descriptor_, &count, sizeof count)
                                  : read(descriptor_, &count, sizeof count);
    EXPECT_EQ(done, static_cast<ssize_t>(sizeof count));
}

int scripted_kernel::next_of(std::deque<int> &script)
{
    if (script.empty())
        return 0;
    const int result = script.front();
    script.pop_front();
    return result;
}

// The first socket with a callback before any question is that of notifications.
void scripted_kernel::use_callback(const nl_sock *socket, nl_recvmsg_msg_cb_t callback,
                                   void *argument)
{
    if (told_ == nullptr)
        told_ = socket;
    listeners_[socket] = {callback, argument};
}

int scripted_kernel::receive(const nl_sock *socket)
{
    const listener &to = listeners_.at(socket);
    return socket == told_ ? receive_event(to) : answer(to);
}

int scripted_kernel::receive_event(const listener &to)
{
    if (events_.empty())
        return -NLE_AGAIN;
    const event first = events_.front();
    events_.pop_front();
    if (events_.empty())
        wake(false);
    if (first.failure != 0)
        return first.failure;
    nl_msg *message = begin(first.type, first.ordinal, first.family);
    to.callback(message, to.argument);
    nlmsg_free(message);
    return 0;
}

// One that fails does so behind what it has said.
int scripted_kernel::answer(const listener &to)
{
    const bool vlans = question_ == "vlans";
    const int failure = next_of(vlans ? vlan_failures : failures);
    bool found = question_ == "all" || vlans;
    for (const auto &[ordinal, link] : links) {
        const bool meant = question_ == "all" || question_ == std::to_string(ordinal);
        if (!(vlans ? !link.carries.empty() : meant))
            continue;
        found = true;
        nl_msg *message = vlans ? vlans_of(ordinal, link) : message_of(ordinal, link);
        to.callback(message, to.argument);
        nlmsg_free(message);
    }
    return failure < 0 || found ? failure : -NLE_NODEV;
}

// ---- What the kernel source calls in place of libnl's own

extern "C" {

int nl_connect(nl_sock *, int) { return here->next_of(here->set_up); }

int nl_socket_add_membership(nl_sock *, int) { return here->next_of(here->set_up); }

int nl_socket_set_nonblocking(const nl_sock *) { return here->next_of(here->set_up); }

int nl_socket_get_fd(const nl_sock *) { return here->descriptor(); }

int nl_socket_modify_cb(nl_sock *socket, nl_cb_type, nl_cb_kind, nl_recvmsg_msg_cb_t callback,
                        void *argument)
{
    here->use_callback(socket, callback, argument);
    return 0;
}

int nl_send_simple(nl_sock *, int, int flags, void *header, size_t)
{
    const int ordinal = static_cast<const ifinfomsg *>(header)->ifi_index;
    here->ask((flags & NLM_F_DUMP) != 0 ? "all" : std::to_string(ordinal));
    return 0;
}

int nl_send_auto(nl_sock *, nl_msg *)
{
    here->ask("vlans");
    return 0;
}

int nl_recvmsgs_default(nl_sock *socket) { return here->receive(socket); }

} // extern "C"
