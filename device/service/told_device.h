// SPDX-License-Identifier: Apache-2.0
//
// told_device.h: a whole device as an inventory tells it, and what must hold in it. Nothing here
// knows the model; interfaces refer to each other, and to VRFs, by name.
//
// Each function that changes something either does it or gives what is wrong with it, and then
// nothing has changed.
#ifndef VARN_DEVICE_TOLD_DEVICE_H
#define VARN_DEVICE_TOLD_DEVICE_H

#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "inventory_fields.h"

namespace device
{

// What is wrong, and with which field; without a text nothing is.
struct problem {
    std::string field;
    std::string text;

    explicit operator bool() const { return !text.empty(); }
    std::string shown() const { return field.empty() ? text : field + ": " + text; }
};

class told_device
{
public:
    explicit told_device(u32 first_key = 1) : next_key_(first_key) {}

    const std::map<u32, told_interface> &interfaces() const { return by_key_; }
    const std::map<u32, told_vlan> &vlans() const { return vlans_; }
    const std::map<std::string, told_vrf> &vrfs() const { return vrfs_; }
    const told_interface *find(const std::string &name) const; // null: there is none
    std::vector<std::string> interface_names() const;
    u32 next_key() const { return next_key_; }

    problem add_vrf(const told_vrf &vrf);

    // Numbers that are 0 are left open, and told later by the second function.
    problem add_vlan(const told_vlan &vlan);
    problem change_vlan(const told_vlan &vlan);
    void set_vlan_numbers(u32 id, u32 bd, u32 flood_index);
    problem remove_vlan(u32 id);
    problem check_primary(u32 id) const;
    void number_vlans(); // chooses all that are open

    // An ordinal that no interface gets which does not ask for it.
    void reserve(const told_interface &wanted);

    // A new interface. What is open (its key, its ordinal) is chosen and written to `wanted`.
    problem add(told_interface &wanted);
    problem check_references(const told_interface &wanted) const;

    // The interface of that key in another shape. What refers to its name follows.
    problem change(told_interface &wanted);
    problem remove(const std::string &name);

    std::vector<std::string> members_of(const std::string &name) const;
    std::vector<std::string> children_of(const std::string &name) const;

private:
    problem check_identity(told_interface &wanted);
    problem check_dependents(const told_interface &held, const char *field) const;
    problem check_vlan_numbers(const told_vlan &vlan) const;
    problem check_secondaries(u32 id) const;
    u32 choose_ordinal(u8 type);
    void enter(const told_interface &entry);
    void leave(const told_interface &entry);
    void enter(const told_vlan &vlan);
    void leave(const told_vlan &vlan);

    std::map<u32, told_interface> by_key_;
    std::unordered_map<std::string, u32> by_name_;  // to a key
    std::unordered_map<u32, u32> by_number_;        // type and ordinal or VLAN, to a key
    std::unordered_set<u32> reserved_;              // such numbers
    std::map<u8, u32> last_ordinal_;                // that was chosen, by type
    std::map<u32, told_vlan> vlans_;                // by id
    std::unordered_map<u32, u32> by_bd_, by_flood_; // to a VLAN
    std::map<std::string, told_vrf> vrfs_;
    u32 next_key_;
};

// Sets fields of an interface, the type first: a new type takes its own defaults, and keeps what
// does not follow from the type.
struct assignment {
    const field<told_interface> *what = nullptr;
    field_value value;
};

problem assign(told_interface &to, const std::vector<assignment> &what);

} // namespace device

#endif
