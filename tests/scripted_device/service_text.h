// SPDX-License-Identifier: Apache-2.0
//
// How one argument or result of a platform function is read, written and told.
//
// Each function carries a letter per argument and one for its result:
//   x d    a number in hexadecimal, in decimal        t  a text, in quotes
//   m      6 bytes of MAC address                     k  a VLAN key, vinst/vlan
//   r      a request record: its question is told before the result, its answer behind
//   X D T M K  the same kinds as outputs: told behind the result, when the call succeeded
//   .      not told
// and for the result
//   d x t  as above      c  a code, 0 is success      o  1 is success
//   b      an address: a block's is told as the word, for it differs from run to run
#pragma once

#include "platform.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace scripted
{

using mac_address = std::array<std::uint8_t, 6>;

// The parts behind each other.
template <typename... Part>
std::string spell(const Part &...parts)
{
    std::string all;
    ((all += parts), ...);
    return all;
}

// The parts in a list: "a, b".
inline void add_to_list(std::string &list, const std::string &part)
{
    if (!list.empty())
        list += ", ";
    list += part;
}

SCRIPTED_API std::string hex(std::uint64_t number);
SCRIPTED_API std::string dec(std::uint64_t number);
SCRIPTED_API std::string quoted(const char *text);
SCRIPTED_API std::string mac_text(const std::uint8_t *mac);
SCRIPTED_API std::string key_text(vlan_key_t key);
SCRIPTED_API std::string table_name(const ht_t *table);

// ---- telling ----

template <typename Number>
std::string number_text(char letter, Number number)
{
    const auto bits = static_cast<std::uint64_t>(std::make_unsigned_t<Number>(number));
    const bool in_hex = letter == 'x' || letter == 'X' || (letter == 'c' && bits != 0);
    return in_hex ? hex(bits) : dec(bits);
}

template <typename Number>
requires std::is_integral_v<Number> std::string input_text(char letter, Number number)
{
    return number_text(letter, number);
}
inline std::string input_text(char, const char *text) { return quoted(text); }
inline std::string input_text(char, const std::uint8_t *mac) { return mac_text(mac); }
inline std::string input_text(char, vlan_key_t key) { return key_text(key); }
inline std::string input_text(char, const aggsvc_pc_info_t *info) { return hex(info->pc_ifindex); }
inline std::string input_text(char, const ifsvc_port_mode_t *list) { return hex(list->if_index); }
template <typename Other>
std::string input_text(char, const Other *)
{
    return "?";
}
template <typename Result, typename... Args>
std::string input_text(char, Result (*)(Args...))
{
    return "function";
}
inline std::string input_text(char, double number) { return dec(static_cast<unsigned>(number)); }

template <typename Number>
requires std::is_integral_v<Number> std::string output_text(char letter, const Number *number)
{
    return number_text(letter, *number);
}
inline std::string output_text(char, const char *text) { return quoted(text); }
inline std::string output_text(char letter, const std::uint8_t *bytes)
{
    return letter == 'M' ? mac_text(bytes) : number_text(letter, *bytes);
}
inline std::string output_text(char, const vlan_key_t *key) { return key_text(*key); }
inline std::string output_text(char, const aggsvc_pc_info_t *info)
{
    return hex(info->first_operational_mbr);
}
inline std::string output_text(char, const aggsvc_pc_for_port_t *membership)
{
    return hex(membership->pc_ifindex);
}
inline std::string output_text(char, const ifsvc_port_mode_t *list) { return hex(list->port_mode); }
inline std::string output_text(char, const void *) { return "?"; }
template <typename Other>
requires(!std::is_pointer_v<Other> || std::is_function_v<std::remove_pointer_t<Other>>) std::string
    output_text(char, Other)
{
    return "?";
}

// ---- writing an output ----

template <typename Argument>
constexpr bool is_output = false;
template <typename Record>
constexpr bool is_output<Record *> =
    !std::is_const_v<Record> && !std::is_void_v<Record> && !std::is_function_v<Record> &&
    !std::is_same_v<Record, ht_t> && !std::is_same_v<Record, ht_iterator_t>;

template <typename Number, typename Value>
requires std::is_integral_v<Number> && std::is_integral_v<Value>
void write_output(Number *output, Value value, std::uint32_t)
{
    *output = static_cast<Number>(value);
}
inline void write_output(std::uint8_t *output, const mac_address &mac, std::uint32_t)
{
    std::memcpy(output, mac.data(), mac.size());
}
SCRIPTED_API void write_output(char *buffer, const char *text, std::uint32_t room);
inline void write_output(vlan_key_t *output, vlan_key_t key, std::uint32_t) { *output = key; }
template <std::integral Value>
void write_output(aggsvc_pc_info_t *info, Value member, std::uint32_t)
{
    info->first_operational_mbr = static_cast<std::uint32_t>(member);
}
template <std::integral Value>
void write_output(aggsvc_pc_for_port_t *membership, Value pc, std::uint32_t)
{
    membership->pc_ifindex = static_cast<std::uint32_t>(pc);
}
template <std::integral Value>
void write_output(ifsvc_port_mode_t *list, Value mode, std::uint32_t)
{
    list->port_mode = static_cast<std::uint32_t>(mode);
}

// What the contract says of an output when the call failed; most are left alone.
inline void fail_output(char, char *buffer) { *buffer = '\0'; }
inline void fail_output(char result, std::uint32_t *number)
{
    if (result == 'b')
        *number = 0;
}
template <typename Other>
void fail_output(char, const Other &)
{
}

// ---- is this the argument that a test named? ----

template <typename Actual, typename Wanted>
requires std::is_integral_v<Actual> && std::is_integral_v<Wanted>
bool is_argument(Actual actual, Wanted wanted) { return actual == static_cast<Actual>(wanted); }
template <std::integral Wanted>
bool is_argument(vlan_key_t actual, Wanted vlan)
{
    return actual.vlan == static_cast<std::uint32_t>(vlan);
}
template <std::integral Wanted>
bool is_argument(const aggsvc_pc_info_t *actual, Wanted pc)
{
    return actual->pc_ifindex == static_cast<std::uint32_t>(pc);
}
template <std::integral Wanted>
bool is_argument(const ifsvc_port_mode_t *actual, Wanted if_index)
{
    return actual->if_index == static_cast<std::uint32_t>(if_index);
}
inline bool is_argument(const char *actual, const char *wanted)
{
    return std::strcmp(actual, wanted) == 0;
}
inline bool is_argument(const ht_t *actual, const char *name) { return table_name(actual) == name; }
// A key of a table: of 16 bits when a uint16_t is named, else of 32 bits.
template <std::integral Wanted>
bool is_argument(const void *key, Wanted wanted)
{
    using key_type = std::conditional_t<sizeof(Wanted) == 2, std::uint16_t, std::uint32_t>;
    const auto number = static_cast<key_type>(wanted);
    return std::memcmp(key, &number, sizeof number) == 0;
}
inline bool is_argument(const void *actual, const void *wanted) { return actual == wanted; }

} // namespace scripted
