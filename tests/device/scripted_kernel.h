// SPDX-License-Identifier: Apache-2.0
//
// scripted_kernel.h: a kernel of a test's own under the kernel source. It stands in for those
// functions of libnl that reach a socket; everything that reads or builds messages is libnl's.
// Questions are answered from the links that the test put there, notifications are those that it
// queued, and both fail when it says so. A question is answered at once and never waits.
#ifndef TESTS_DEVICE_SCRIPTED_KERNEL_H
#define TESTS_DEVICE_SCRIPTED_KERNEL_H

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include <linux/if_bridge.h>
#include <netlink/msg.h>
#include <netlink/socket.h>

struct scripted_link {
    std::string name;
    std::string kind = "";
    int master = 0;
    int parent = 0;                             // of a VLAN link
    uint16_t vlan = 0;                          // of a VLAN link
    bool filters = false;                       // VLANs, as a bridge
    uint8_t mac = 0;                            // its last byte
    std::vector<bridge_vlan_info> carries = {}; // as a port of a bridge, or as a bridge
};

class scripted_kernel
{
public:
    scripted_kernel();
    ~scripted_kernel();
    scripted_kernel(const scripted_kernel &) = delete;
    scripted_kernel &operator=(const scripted_kernel &) = delete;

    std::map<int, scripted_link> links; // by ordinal

    // A notification that waits to be read: RTM_NEWLINK and the like, of a link.
    void tell(uint16_t type, int ordinal, uint8_t family = 0);
    void overrun() { lose(-1); } // the socket's buffer
    void lose(int failure);      // reading notifications fails once; -1: as with an overrun
    std::size_t waiting() const { return events_.size(); }

    // The next answers to questions, each used once: libnl's negative numbers, 0 = answered.
    std::deque<int> failures;
    std::deque<int> vlan_failures; // to those about VLANs
    std::deque<int> set_up;        // results of setting up the sockets

    std::string asked; // one word a question, since it was last cleared: all, vlans or the ordinal

    // What libnl's functions come to.
    int next_of(std::deque<int> &script);
    int descriptor() const { return descriptor_; }
    void use_callback(const nl_sock *socket, nl_recvmsg_msg_cb_t callback, void *argument);
    void ask(const std::string &what)
    {
        asked.append(asked.empty() ? "" : " ").append(question_ = what);
    }
    int receive(const nl_sock *socket);

private:
    struct event {
        uint16_t type;
        int ordinal;
        uint8_t family;
        int failure;
    };
    struct listener {
        nl_recvmsg_msg_cb_t callback;
        void *argument;
    };

    int receive_event(const listener &to);
    int answer(const listener &to);
    void wake(bool readable) const;

    int descriptor_; // readable while a notification waits
    std::deque<event> events_;
    std::string question_;
    std::map<const nl_sock *, listener> listeners_;
    const nl_sock *told_ = nullptr; // the socket of notifications
};

#endif
