// SPDX-License-Identifier: Apache-2.0
//
// kernel_source.cpp: the two netlink sockets and what each event leads to.
#include "kernel_source.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <unordered_map>

#include <linux/rtnetlink.h>
#include <netlink/errno.h>
#include <netlink/msg.h>

#include "device/runtime/if_index_types.h"
#include "if_index.h"
#include "link_facts.h"
#include "port_vlans.h"

namespace device
{
namespace
{

constexpr int dump_attempts = 8;
constexpr int most_at_once = 64; // messages of notifications in one turn of the event loop

int collect(nl_msg *message, void *argument)
{
    link_facts facts;
    if (read_link_facts(message, facts))
        static_cast<std::vector<link_facts> *>(argument)->push_back(std::move(facts));
    return NL_OK;
}

bool same_interface(const link_facts &a, const link_facts &b)
{
    return a.name == b.name && a.kind == b.kind && a.mac == b.mac;
}

bool has_bridges(const device_model &model)
{
    return std::ranges::any_of(model.interfaces(), [](const auto &entry) {
        return entry.second.masters == mastery::bridge;
    });
}

// Asks again while a change in the middle of the answer makes it one of two states.
int whole_dump(const std::function<int()> &ask)
{
    int result = -NLE_DUMP_INTR;
    for (int n = 0; n < dump_attempts && result == -NLE_DUMP_INTR; ++n)
        result = ask();
    return result;
}

int send_query(nl_sock *socket, u32 key)
{
    ifinfomsg header{};
    header.ifi_family = AF_UNSPEC;
    header.ifi_index = static_cast<int>(key);
    return nl_send_simple(socket, RTM_GETLINK, key == 0 ? NLM_F_DUMP : 0, &header, sizeof header);
}

} // namespace

// The order matters: changes are noted from before the first reading on, so that none is missed.
std::string kernel_source::start(sd_event *loop)
{
    int failure = open_sockets();
    if (failure >= 0)
        failure = read_all_again();
    if (failure < 0)
        return std::string("cannot read this machine's links: ") + nl_geterror(failure);
    read_port_vlans();
    model_.settle();

    sd_event_source *source = nullptr;
    if (sd_event_add_io(loop, &source, nl_socket_get_fd(events_.get()), EPOLLIN, on_readable,
                        this) < 0)
        return "cannot wait for changes of links";
    // What the kernel has said is taken in before any request is answered, but in a storm.
    sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IMPORTANT);
    sd_event_source_set_floating(source, 1);
    sd_event_source_unref(source);
    return {};
}

int kernel_source::open_sockets()
{
    events_.reset(nl_socket_alloc());
    queries_.reset(nl_socket_alloc());
    if (events_ == nullptr || queries_ == nullptr)
        return -NLE_NOMEM;

    int result = nl_connect(queries_.get(), NETLINK_ROUTE);
    if (result >= 0)
        result = nl_connect(events_.get(), NETLINK_ROUTE);
    if (result >= 0)
        result = nl_socket_add_membership(events_.get(), RTNLGRP_LINK);
    if (result >= 0)
        result = nl_socket_set_nonblocking(events_.get());
    if (result < 0)
        return result;

    // Older kernels have no notices about VLANs alone, and put all of them into those of links.
    nl_socket_add_membership(events_.get(), RTNLGRP_BRVLAN);
    nl_socket_disable_auto_ack(queries_.get());
    nl_socket_enable_msg_peek(queries_.get());
    nl_socket_disable_seq_check(events_.get());
    nl_socket_enable_msg_peek(events_.get());
    nl_socket_set_buffer_size(events_.get(), event_buffer_, 0);
    return nl_socket_modify_cb(events_.get(), NL_CB_VALID, NL_CB_CUSTOM, on_event, this);
}

// While more is waiting than one turn takes in, requests have their turn in between.
int kernel_source::on_readable(sd_event_source *source, int, std::uint32_t, void *self)
{
    const bool storm = !static_cast<kernel_source *>(self)->drain_events();
    return sd_event_source_set_priority(source, storm ? SD_EVENT_PRIORITY_NORMAL
                                                      : SD_EVENT_PRIORITY_IMPORTANT);
}

// False: there is more. Never ends the service: whatever went wrong with the notifications, reading
// all again heals it.
bool kernel_source::drain_events()
{
    int result = 0;
    for (int n = 0; n < most_at_once && result >= 0; ++n)
        result = nl_recvmsgs_default(events_.get());
    if (result < 0 && result != -NLE_AGAIN)
        recover(result);
    else if (behind_)
        read_all_or_stay_behind();
    try_unserved_again();
    read_port_vlans();
    model_.settle();
    return result < 0;
}

void kernel_source::recover(int failure)
{
    const bool overrun = failure == -NLE_NOMEM; // what libnl makes of ENOBUFS
    std::fprintf(stderr, "varn-deviced: notices of links were lost (%s); reading all again\n",
                 overrun ? "too many at once" : nl_geterror(failure));
    read_all_or_stay_behind();
}

// What could not be read is tried again with the next notification.
void kernel_source::read_all_or_stay_behind()
{
    const int result = read_all_again();
    behind_ = result < 0;
    if (behind_)
        std::fprintf(stderr, "varn-deviced: cannot read the links: %s\n", nl_geterror(result));
}

int kernel_source::on_event(nl_msg *message, void *self)
{
    auto *source = static_cast<kernel_source *>(self);
    const nlmsghdr *header = nlmsg_hdr(message);
    if (header->nlmsg_type != RTM_NEWLINK && header->nlmsg_type != RTM_DELLINK)
        return NL_OK;
    const auto *about = static_cast<const ifinfomsg *>(nlmsg_data(header));
    const auto key = static_cast<u32>(about->ifi_index);
    // A bridge says "deleted" of a port that left it; the interface itself lives on.
    if (header->nlmsg_type == RTM_DELLINK && about->ifi_family == AF_UNSPEC)
        source->model_.remove(key);
    source->read_again(key);
    return NL_OK;
}

int kernel_source::read_links(u32 key, std::vector<link_facts> &links)
{
    int result = send_query(queries_.get(), key);
    if (result < 0)
        return result;
    nl_socket_modify_cb(queries_.get(), NL_CB_VALID, NL_CB_CUSTOM, collect, &links);
    return nl_recvmsgs_default(queries_.get());
}

void kernel_source::read_again(u32 key)
{
    std::vector<link_facts> links;
    const int result = read_links(key, links);
    for (link_facts &facts : links)
        put(std::move(facts));
    const bool gone = result == -NLE_NODEV || result == -NLE_OBJ_NOTFOUND;
    if (links.empty() && gone) {
        model_.remove(key);
        unserved_.erase(key);
    }
    if (result < 0 && !gone)
        behind_ = true;
}

int kernel_source::read_all_again()
{
    std::vector<link_facts> links;
    const int result = whole_dump([&] {
        links.clear();
        return read_links(0, links);
    });
    if (result < 0)
        return result;

    drop_impostors(links);
    // VLAN links last: what they are depends on what they stand on.
    std::stable_partition(links.begin(), links.end(),
                          [](const link_facts &f) { return f.parent_key == 0; });
    for (link_facts &facts : links)
        put(std::move(facts));
    return 0;
}

// Without an answer no port is in a VLAN: rather none than one that it has left.
void kernel_source::read_port_vlans()
{
    const bool bridged = has_bridges(model_);
    if (!bridged && !was_bridged_)
        return;
    was_bridged_ = bridged;
    std::map<u32, carried_vlans> ports;
    int result = 0;
    if (bridged)
        result = whole_dump([&] {
            ports.clear();
            return ask_port_vlans(queries_.get(), ports);
        });
    if (result < 0 && !told_of_failure_)
        std::fprintf(stderr, "varn-deviced: cannot read the VLANs of bridge ports: %s\n",
                     nl_geterror(result));
    told_of_failure_ = result < 0;
    if (result < 0)
        ports.clear();
    std::map<u32, port_vlans> summaries;
    for (const auto &[key, vlans] : ports)
        summaries[key] = vlans.summary;
    model_.set_bridge_vlans(summaries);
    if (result >= 0)
        keep_vlans(vlans_of_device(model_, ports));
}

// Their numbers stay as long as they do.
void kernel_source::keep_vlans(const vlan_set &there)
{
    std::vector<u16> gone;
    for (const auto &[vlan, facts] : model_.vlans())
        if (!there[vlan])
            gone.push_back(vlan);
    for (const u16 vlan : gone)
        model_.remove_vlan(vlan);
    for (u16 vlan = 1; vlan <= IF_INDEX_VLAN_MAX; ++vlan)
        if (there[vlan])
            model_.put_vlan(vlan, {});
}

// With notifications lost, an ordinal alone no longer proves that the interface is the same one.
void kernel_source::drop_impostors(const std::vector<link_facts> &links)
{
    std::unordered_map<u32, const link_facts *> by_key;
    for (const link_facts &facts : links)
        by_key[facts.key] = &facts;
    std::vector<u32> gone;
    for (const auto &[iod, known] : model_.interfaces()) {
        const auto now = by_key.find(known.key);
        if (now == by_key.end() || !same_interface(*now->second, known))
            gone.push_back(known.key);
    }
    for (const u32 key : gone)
        model_.remove(key);
}

void kernel_source::put(link_facts facts)
{
    const interface *parent = model_.find_key(facts.parent_key);
    if (facts.type == IF_INDEX_TYPE_VLAN_SUBIF && parent != nullptr &&
        parent->masters == mastery::bridge)
        facts.type = IF_INDEX_TYPE_SVI;
    if (model_.put(facts))
        unserved_.erase(facts.key);
    else if (unserved_.insert(facts.key).second)
        std::fprintf(stderr, "varn-deviced: %s cannot be numbered and is not served\n",
                     facts.name.c_str());
}

// What took their number may be gone: the second interface of a VLAN gets its turn.
void kernel_source::try_unserved_again()
{
    for (const u32 key : std::set<u32>(unserved_))
        read_again(key);
}

} // namespace device
