// SPDX-License-Identifier: Apache-2.0
//
// world.cpp: the world as one list of interfaces, the file and the changes as texts.
#include "world.h"

#include <algorithm>
#include <cstdio>

#include "idxsvc.h"
#include "ifsvc.h"
#include "lifsvc.h"

namespace coherence
{
namespace
{

struct made_so {
    const char *name;
    const char *type;
    const char *more; // fields that it must have
};

// clang-format off
constexpr made_so interfaces[] = {
    { "port1", "physical", "" },   { "port2", "physical", "" },
    { "port3", "physical", R"(, "member_of": "bundle1")" },
    { "port4", "physical", R"(, "member_of": "bundle1")" },
    { "port5", "physical", R"(, "member_of": "bundle2")" },
    { "port6", "physical", R"(, "mode": "access", "vlan": 10)" },
    { "port7", "physical", R"(, "mode": "trunk", "vlan": 20)" },
    { "port8", "physical", R"(, "mode": "access")" },
    { "bundle1", "port-channel", "" },
    { "bundle2", "port-channel", R"(, "mode": "trunk", "vlan": 10)" },
    { "bundle3", "port-channel", "" },
    { "vlan10", "svi", R"(, "vlan": 10)" }, { "vlan20", "svi", R"(, "vlan": 20)" },
    { "vlan30", "svi", R"(, "vlan": 30)" },
    { "sub1", "subinterface", R"(, "vlan": 10, "parent": "port1")" },
    { "sub2", "subinterface", R"(, "vlan": 30, "parent": "bundle1")" },
    { "sub3", "subinterface", R"(, "vlan": 40)" },
    { "mgmt1", "mgmt", "" },       { "cbus1", "cbus", "" },
    { "gre1", "gre", "" },         { "gre2", "gre", "" },
    { "lo1", "loopback", "" },     { "tun1", "6to4", "" },
    { "null1", "null", "" },       { "other1", "other", "" },
    { "mpls1", "mpls-tunnel", "" }, { "mvpn1", "mvpn-tunnel", "" },
    { "dci1", "dci-tunnel", "" },  { "overlay1", "dci-overlay", "" },
};
// clang-format on

constexpr const char *types[] = {
    "physical", "mgmt",  "cbus",        "port-channel", "gre",        "loopback",   "6to4",
    "null",     "other", "mpls-tunnel", "mvpn-tunnel",  "dci-tunnel", "dci-overlay"};
constexpr u16 vlans[] = {10, 20, 30, 40, 4094};

std::string text(u64 number) { return std::to_string(number); }

std::string mac(random_numbers &from)
{
    if (from.one_in(8))
        return "00:00:00:00:00:00";
    char shown[18];
    std::snprintf(shown, sizeof shown, "02:00:00:00:00:%02x", from.below(4));
    return shown;
}

std::string vlan_or_none(random_numbers &from)
{
    return from.one_in(4) ? "none" : text(from.pick(vlans));
}

std::string up_or_down(random_numbers &from) { return from.one_in(2) ? "up" : "down"; }
std::string yes_or_no(random_numbers &from) { return from.one_in(2) ? "yes" : "no"; }

std::string mode(random_numbers &from)
{
    constexpr const char *modes[] = {"routed", "access", "trunk"};
    return from.pick(modes);
}

std::string vrf(random_numbers &from)
{
    constexpr const char *vrfs[] = {"none", "red", "blue"};
    return from.pick(vrfs);
}

// ---- Changes

using names_t = std::vector<std::string>;

std::string some_name(random_numbers &from, const names_t &names)
{
    return names.empty() ? "nobody" : from.pick(names);
}

std::string name_like(random_numbers &from, const names_t &names, const char *beginning)
{
    names_t alike;
    std::copy_if(names.begin(), names.end(), std::back_inserter(alike),
                 [beginning](const std::string &name) { return name.starts_with(beginning); });
    return some_name(from, alike);
}

// Those whose state says most are asked for more often than the others.
std::string likely_name(random_numbers &from, const names_t &names)
{
    constexpr const char *beginnings[] = {"port", "bundle", "vlan", "sub"};
    return from.one_in(2) ? some_name(from, names) : name_like(from, names, from.pick(beginnings));
}

struct settable {
    const char *field;
    std::string (*value)(random_numbers &from);
};

std::string mtu(random_numbers &from) { return text(1400 + 100 * from.below(4)); }
std::string encap(random_numbers &from) { return text(from.below(9)); }

constexpr settable everyones[] = {
    {"link", up_or_down}, {"protocol", up_or_down},
    {"link", up_or_down}, {"protocol", up_or_down},
    {"mtu", mtu},         {"mac", mac},
    {"encap", encap},     {"ethernet", yes_or_no},
    {"p2p", yes_or_no},   {"loopback", yes_or_no},
    {"vrf", vrf},
};
constexpr settable ports[] = {
    {"forwarding", yes_or_no}, {"mode", mode}, {"vlan", vlan_or_none}, {"mode", mode}};

words set(random_numbers &from, const names_t &names)
{
    const std::string name = likely_name(from, names);
    const bool is_port = name.starts_with("port") || name.starts_with("bundle");
    const settable &what = is_port && from.one_in(3) ? from.pick(ports) : from.pick(everyones);
    words said = {"set", name, what.field, what.value(from)};
    if (from.one_in(4)) {
        const settable &more = from.pick(everyones);
        if (std::string_view(more.field) != what.field)
            said.insert(said.end(), {more.field, more.value(from)});
    }
    return said;
}

words add(random_numbers &from, const names_t &)
{
    const made_so &what = from.pick(interfaces);
    words said = {"add", what.name, what.type};
    if (std::string_view(what.type) == "svi" || std::string_view(what.type) == "subinterface")
        said.insert(said.end(), {"vlan", text(from.pick(vlans))});
    else if (from.one_in(2))
        said.insert(said.end(), {"ordinal", text(1 + from.below(12))});
    return said;
}

words remove(random_numbers &from, const names_t &names)
{
    return {"delete", likely_name(from, names)};
}

// A name and its other form, so that names are given up and taken again.
words rename(random_numbers &from, const names_t &names)
{
    const std::string name = likely_name(from, names);
    const bool is_other = name.ends_with("x");
    return {"set", name, "name", is_other ? name.substr(0, name.size() - 1) : name + "x"};
}

// Another interface, for the device: what its if-index is made of changes.
words become(random_numbers &from, const names_t &names)
{
    const std::string name = likely_name(from, names);
    if (name.starts_with("vlan") || name.starts_with("sub"))
        return {"set", name, "vlan", text(from.pick(vlans))};
    if (from.one_in(2))
        return {"set", name, "ordinal", text(1 + from.below(12))};
    return {"set", name, "type", from.pick(types)};
}

words member(random_numbers &from, const names_t &names)
{
    return {"member", name_like(from, names, "bundle"), from.one_in(2) ? "add" : "remove",
            name_like(from, names, "port")};
}

words parent(random_numbers &from, const names_t &names)
{
    const std::string on = from.one_in(3)   ? "none"
                           : from.one_in(2) ? name_like(from, names, "bundle")
                                            : name_like(from, names, "port");
    return {"set", name_like(from, names, "sub"), "parent", on};
}

words change_vlan(random_numbers &from, const names_t &)
{
    const std::string id = text(from.pick(vlans));
    switch (from.below(5)) {
    case 0:
        return {"vlan", id, "delete"};
    case 1:
        return {"vlan", id, "set", "bd", text(1 + from.below(8))};
    case 2:
        return {"vlan", id, "set", "primary", text(from.pick(vlans))};
    case 3:
        return {"vlan", id, "set", "flood_index", text(100 + from.below(8))};
    default:
        return {"vlan", id, "add"};
    }
}

words attach(random_numbers &from, const names_t &names)
{
    const std::string name = likely_name(from, names);
    const u32 key = from.pick(slot_keys);
    if (from.one_in(3))
        return {"private", name, text(key), "none"};
    return private_words(name, key, from.below(4), 4 * from.below(4));
}

struct happening {
    u32 weight;
    words (*make)(random_numbers &from, const names_t &names);
};

constexpr happening happenings[] = {{40, set},   {10, add},        {6, remove},
                                    {3, rename}, {4, become},      {10, member},
                                    {4, parent}, {6, change_vlan}, {8, attach}};

u32 sum_of_weights()
{
    u32 sum = 0;
    for (const happening &each : happenings)
        sum += each.weight;
    return sum;
}

} // namespace

words random_change(random_numbers &from, const std::vector<std::string> &names)
{
    static const u32 sum = sum_of_weights();
    u32 drawn = from.below(sum);
    for (const happening &each : happenings) {
        if (drawn < each.weight)
            return each.make(from, names);
        drawn -= each.weight;
    }
    return {};
}

words private_words(const std::string &name, u32 key, u32 value, u32 block_size)
{
    words said = {"private", name, text(key), text(value)};
    std::string block;
    for (u32 n = 0; n < block_size; ++n) {
        char digits[3];
        const u32 byte = n < 4 ? value >> (8 * n) : n;
        std::snprintf(digits, sizeof digits, "%02x", byte & 0xFF);
        block.append(digits);
    }
    // A value without a block would decode to 0: it has at least the value itself.
    if (block.empty() && value != 0)
        return private_words(name, key, value, 4);
    if (!block.empty())
        said.push_back(block);
    return said;
}

std::string world_inventory(u64 seed)
{
    random_numbers from(seed);
    std::string made = R"({"vrfs": [{"name": "red", "context": 2, "table": 1001},
                                    {"name": "blue", "context": 3, "table": 1002}],
                          "vlans": [{"id": 10}, {"id": 20, "primary": 10}, {"id": 30, "bd": 7}],
                          "interfaces": [)";
    const char *separator = "";
    for (const made_so &each : interfaces) {
        made.append(separator).append(R"({"name": ")").append(each.name).append(R"(", "type": ")");
        made.append(each.type).append(R"(", "mac": ")").append(mac(from));
        made.append(R"(", "link": ")").append(up_or_down(from)).append("\"");
        made.append(R"(, "vrf": ")").append(from.one_in(2) ? "red" : "blue").append("\"");
        made.append(each.more).append("}");
        separator = ",\n";
    }
    return made.append("]}");
}

// ---- Acquaintances

void acquaintances::remember(const identity &gone)
{
    constexpr std::size_t most = 8;
    gone_.push_back(gone);
    if (gone_.size() > most)
        gone_.erase(gone_.begin());
}

void acquaintances::meet(const std::vector<u32> &iods)
{
    std::vector<identity> here;
    names_.clear();
    for (const u32 iod : iods) {
        identity met;
        met.iod = iod;
        names_.emplace_back(ifsvc_get_if_name(iod));
        ifsvc_get_ifindex_frm_iod(iod, &met.if_index);
        idxsvc_lib_ifidx_to_di(static_cast<std::int32_t>(met.if_index), &met.pi);
        lifsvc_query_ifindex_to_lif(static_cast<std::int32_t>(met.if_index), &met.lif);
        by_name_[names_.back()] = met;
        here.push_back(met);
    }
    for (const identity &known : here_)
        if (std::find(here.begin(), here.end(), known) == here.end())
            remember(known);
    here_ = std::move(here);
    // Nobodies: no number at all, and numbers that were never given out.
    everyone_.interfaces = {identity{}, identity{32767, 0x1A00FFFF, 0x1FFFF, 0x1FFFFF},
                            identity{40000, 0xFF000001, 5, 5}};
    for (const auto &some : {here_, gone_})
        everyone_.interfaces.insert(everyone_.interfaces.end(), some.begin(), some.end());
    everyone_.vlans = {0, 1, 10, 20, 30, 40, 4094, 4095};
}

identity acquaintances::find(const std::string &name) const
{
    const auto at = by_name_.find(name);
    return at == by_name_.end() ? identity{} : at->second;
}

} // namespace coherence
