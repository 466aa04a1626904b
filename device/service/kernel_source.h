// SPDX-License-Identifier: Apache-2.0
//
// kernel_source.h: fills the model from this machine's own links, through rtnetlink.
//
// Two sockets: one is told of changes, the other asks. A notification is only a reason to read that
// link again; what it says beyond the link's ordinal is not believed, because a later change may
// already have overtaken it. The one exception is a deletion: the interface that had the ordinal is
// gone even when the ordinal is in use again by the time that we ask. When the kernel had to drop
// notifications, everything is read again.
//
// The VLANs of bridge ports can be had for all ports at once only. They are read again when a batch
// of notifications has been taken in, whatever was in it: several kinds of changes move a port from
// one VLAN to another, and not all of them are told about the port.
//
// The key of an interface is its ordinal in the kernel. It never leaves the service.
#ifndef VARN_DEVICE_KERNEL_SOURCE_H
#define VARN_DEVICE_KERNEL_SOURCE_H

#include <memory>
#include <set>
#include <string>
#include <vector>

#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <systemd/sd-event.h>

#include "device_model.h"
#include "port_vlans.h"

namespace device
{

inline constexpr int default_event_buffer = 1 << 20;

class kernel_source
{
public:
    // With room for so many bytes of notifications that wait to be read.
    explicit kernel_source(device_model &model, int event_buffer = default_event_buffer)
        : model_(model), event_buffer_(event_buffer)
    {
    }
    kernel_source(const kernel_source &) = delete;
    kernel_source &operator=(const kernel_source &) = delete;

    // Reads all links and follows their changes from then on. Gives an empty text, or what failed.
    std::string start(sd_event *loop);

private:
    struct close_socket {
        void operator()(nl_sock *socket) const { nl_socket_free(socket); }
    };
    using socket = std::unique_ptr<nl_sock, close_socket>;

    static int on_readable(sd_event_source *, int, std::uint32_t, void *self);
    static int on_event(nl_msg *message, void *self);

    int open_sockets();
    bool drain_events();
    void recover(int failure);
    int read_links(u32 key, std::vector<link_facts> &links); // key 0: all of them
    void read_again(u32 key);
    int read_all_again();
    void read_all_or_stay_behind();
    void read_port_vlans();
    void keep_vlans(const vlan_set &there);
    void put(link_facts facts);
    void try_unserved_again();
    void drop_impostors(const std::vector<link_facts> &links);

    device_model &model_;
    int event_buffer_; // bytes
    socket events_, queries_;
    std::set<u32> unserved_;       // keys of links that got no number
    bool behind_ = false;          // something could not be read; everything is to be read again
    bool was_bridged_ = false;     // there were bridges when VLANs were read last
    bool told_of_failure_ = false; // to read VLANs; said once until it works again
};

} // namespace device

#endif
