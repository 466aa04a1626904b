// SPDX-License-Identifier: Apache-2.0
//
// inventory_fields.h: what an inventory says of an interface, a VLAN, a VRF, and of data attached to
// an interface, as one table of fields each. The tables serve the file, the commands, what is shown,
// and the schema alike.
//
// A value is a number or a text, whatever its field makes of it: a choice is the place of its word
// among the field's words, a MAC address its 48 bits, "none" is 0 or "".
#ifndef VARN_DEVICE_INVENTORY_FIELDS_H
#define VARN_DEVICE_INVENTORY_FIELDS_H

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "facts.h"
#include "interface_types.h"
#include "json_lines.h"

namespace device
{

enum class port_role : u8 { routed, access, trunk };

struct told_interface {
    u32 key = 0; // this device's own; never given out twice
    std::string name;
    u8 type = 0;
    u32 ordinal = 0; // 0: to be chosen, and of an SVI, which is numbered by its VLAN
    bool link = true;
    bool protocol = true; // means nothing without link
    u32 mtu = 0;
    u64 mac = 0;
    u32 encap = 0;
    bool ethernet = false;
    bool p2p = false;
    bool loopback = false;
    bool forwarding = true;
    u8 mode = 0;                        // port_role
    u32 vlan = 0;                       // its own, or that of a port's untagged frames; 0 = none
    std::string vrf, member_of, parent; // names; empty = none

    bool owns_vlan() const; // an SVI or a subinterface: the VLAN is its own
};

struct told_vlan {
    u32 id = 0;
    u32 primary = 0; // 0: itself
    u32 bd = 0;      // 0: to be chosen
    u32 flood_index = 0;
};

struct told_vrf {
    std::string name;
    u32 context = 0;
    u32 table = 0;
};

struct told_private {
    u32 key = 0;
    u32 extension = 0;
    std::string block; // two hexadecimal digits a byte
};

// A new interface of a type.
told_interface default_interface(u8 type);

enum class form : u8 { number, number_or_none, choice, flag, mac, name, name_or_none, bytes };

struct field_value {
    u64 number = 0;
    std::string text;
};

// How a field is written.
struct field_form {
    const char *name;
    form written;
    std::vector<std::string> words; // of a choice
    u64 least, most;                // of a number; of bytes: how many
    const char *doc;
};

template <typename record>
struct field {
    field_form as;
    field_value (*get)(const record &);
    void (*set)(record &, const field_value &);
    type_set types = {};       // that may have it; for fields of interfaces
    bool follows_type = false; // begins anew when the type changes
    bool counts_up = false;    // within a range
    bool required = false;
};

std::span<const field<told_interface>> interface_fields();
std::span<const field<told_vlan>> vlan_fields();
std::span<const field<told_vrf>> vrf_fields();
std::span<const field<told_private>> private_fields();

template <typename record>
const field<record> *find_field(std::span<const field<record>> fields, std::string_view name)
{
    for (const field<record> &candidate : fields)
        if (name == candidate.as.name)
            return &candidate;
    return nullptr;
}

template <typename record>
std::vector<std::string> names_of(std::span<const field<record>> fields)
{
    std::vector<std::string> names;
    for (const field<record> &each : fields)
        names.emplace_back(each.as.name);
    return names;
}

// Both give nothing, or what is wrong.
std::string read_word(const field_form &as, const std::string &word, field_value &value);
std::string read_json_value(const field_form &as, const json_value &given, field_value &value);

nlohmann::ordered_json json_of(const field_form &as, const field_value &value);
bool is_none(const field_form &as, const field_value &value);

// "there is no field ...", with the nearest that there is.
std::string unknown_field(const std::string &name, const std::vector<std::string> &known);

std::vector<u8> bytes_of(const std::string &digits);

} // namespace device

#endif
