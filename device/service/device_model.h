// SPDX-License-Identifier: Apache-2.0
//
// device_model.h: the state of the device, apart from where it comes from and from who asks for it.
//
// A source describes each interface in link_facts, under a key of its own that means nothing to
// anyone else. The model gives every new interface its identity (iod, if-index, lif, port index),
// which stays with it until it is removed. What it answers is worked out from the facts of several
// interfaces (master, parent, members), and stands in `interface::now`.
//
// Nothing that is answered changes silently: only settle() writes `now`, and it tells the listener
// of every difference that it makes. A source calls settle() when it has told all that belongs
// together; until then the answers are the old ones. So the order in which a source reports within
// one turn does not matter.
#ifndef VARN_DEVICE_MODEL_H
#define VARN_DEVICE_MODEL_H

#include <functional>
#include <map>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "attributes.h"
#include "facts.h"
#include "notice.h"
#include "number_pool.h"

namespace device
{

inline constexpr u32 max_iod = 32767;
inline constexpr u32 num_rbh = 16;
inline constexpr u32 default_context = 1;
inline constexpr u32 main_table = 254;
inline constexpr u32 family_ipv4 = 1;
inline constexpr u32 routed_port = 0x200;   // port modes, as the contract numbers them
inline constexpr u32 access_port = 0x1;     // a switchport in one VLAN, untagged
inline constexpr u32 trunk_port = 0x2;      // a switchport in several VLANs, or in a tagged one
inline constexpr u32 no_index = 0xFFFFFFFF; // no lif, no port index

inline constexpr std::size_t max_block = 4096; // bytes of an attachment

// What the owner of a key attached to an interface.
struct attachment {
    u32 extension = 0; // 0 = not set
    std::vector<u8> block;

    bool operator==(const attachment &) const = default;
};

struct interface : link_facts {
    u32 iod = 0;
    u32 if_index = 0;
    u32 lif = no_index;
    u32 port_index = no_index;
    port_vlans bridge_vlans;               // mean nothing unless its bridge filters VLANs
    std::map<u32, attachment> attachments; // by key
    attributes now;                        // what is answered
    bool announced = false;                // its clients know that it is there

    bool is_vlan() const;
};

// A VLAN of the device. Numbers of 0 are given out by the model.
struct vlan_facts {
    u16 primary = 0; // the VLAN itself, or the one that it is a secondary of
    u16 bd = 0;
    u32 flood_index = 0;

    bool operator==(const vlan_facts &) const = default;
};

class device_model
{
public:
    using listener = std::function<void(const wire::notice &)>;

    void tell(listener to) { listener_ = std::move(to); }

    // Makes the interface known under facts.key, or brings it up to date. False when it could not
    // be given an identity: no iod or ordinal is left, or its if-index is taken.
    bool put(const link_facts &facts);
    void remove(u32 key);

    // The VLANs of all ports of bridges, by key; a port that is not in it is in none.
    void set_bridge_vlans(const std::map<u32, port_vlans> &ports);

    // Makes a VLAN known or brings it up to date. False: a number that it asks for is taken, or
    // none is left; nothing is changed then.
    bool put_vlan(u16 vlan, const vlan_facts &facts);
    void remove_vlan(u16 vlan);

    // Attaches under a key, in place of what stood there; an empty attachment takes it away. The
    // iod must be that of an interface.
    void attach(u32 iod, u32 key, attachment what);

    // Works out every answer that may have changed and tells of those that did.
    void settle();

    const std::map<u32, interface> &interfaces() const { return by_iod_; }
    const std::map<u16, vlan_facts> &vlans() const { return vlans_; }
    const interface *find_iod(u32 iod) const;
    const interface *find_if_index(u32 if_index) const;
    const interface *find_lif(u32 lif) const;
    const interface *find_port_index(u32 port_index) const;
    const interface *find_key(u32 key) const;
    const vlan_facts *find_vlan(u16 vlan) const; // null: there is none
    u32 flood_index_of(u16 bd) const;            // 0: no VLAN has that bridge domain

    // The interfaces that have this one as master, by their iods.
    const std::set<u32> &members_of(u32 key) const;

private:
    using index = std::unordered_map<u32, u32>; // to an iod
    using families = std::unordered_map<u32, std::set<u32>>;

    // What attach() did to an interface.
    struct attached_keys {
        bool changed = false;
        std::set<u32> removed; // keys
    };

    const interface *find(const index &from, u32 key) const;
    u32 make_if_index(const link_facts &facts);
    bool admit(const link_facts &facts);
    void join(const interface &entry);
    void leave(const interface &entry);
    void touch(u32 iod) { touched_.insert(iod); }
    void touch_around(const interface &entry);
    void touch_dependents(u32 key);
    bool claim(vlan_facts &wanted, const vlan_facts &held);
    void note_removal(const interface &gone);
    void publish(interface &entry);
    void send(const wire::notice &notice);

    std::map<u32, interface> by_iod_;
    index by_key_, by_if_index_, by_lif_, by_port_index_;
    families members_, children_; // by the key of the master, of the parent
    number_pool iods_{1, max_iod};
    std::array<u32, 256> last_ordinal_{}; // by type

    std::map<u16, vlan_facts> vlans_;
    std::unordered_map<u16, u32> flood_by_bd_;
    number_pool bds_{1, 16383};
    number_pool flood_indexes_{0x00020001, 0x00020001 + 16383};

    // Since settle() last ran.
    std::set<u32> touched_;                 // iods
    std::map<u32, attached_keys> attached_; // by iod
    std::set<u16> changed_vlans_;
    std::vector<wire::notice> gone_;
    listener listener_;
};

} // namespace device

#endif
