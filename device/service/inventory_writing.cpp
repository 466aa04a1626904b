// SPDX-License-Identifier: Apache-2.0
//
// inventory_writing.cpp: one line for each interface, VLAN and VRF, so that two files can be
// compared by any tool. What is none is left out; everything else is written, defaults too.
#include "inventory_writing.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "device_model.h"

namespace device
{
namespace
{

using json = nlohmann::ordered_json;

template <typename record>
json json_of_record(const record &from, std::span<const field<record>> fields)
{
    json made = json::object();
    for (const field<record> &each : fields) {
        const field_value value = each.get(from);
        if (!is_none(each.as, value))
            made[each.as.name] = json_of(each.as, value);
    }
    return made;
}

std::string hexadecimal(const std::vector<u8> &bytes)
{
    std::string digits;
    for (const u8 byte : bytes)
        digits.append(fmt::format("{:02x}", byte));
    return digits;
}

json json_of_attachments(const interface &entry)
{
    json list = json::array();
    for (const auto &[key, held] : entry.attachments) {
        json made = {{"key", key}};
        if (held.extension != 0)
            made["extension"] = held.extension;
        if (!held.block.empty())
            made["block"] = hexadecimal(held.block);
        list.push_back(std::move(made));
    }
    return list;
}

json json_of_interface(const told_interface &told, const device_model &model)
{
    json made = json::object();
    for (const field<told_interface> &each : interface_fields()) {
        const field_value value = each.get(told);
        if (each.types[told.type] && !is_none(each.as, value))
            made[each.as.name] = json_of(each.as, value);
    }
    const interface *entry = model.find_key(told.key);
    if (entry != nullptr && !entry->attachments.empty())
        made["private"] = json_of_attachments(*entry);
    return made;
}

std::string list_of(const char *name, const std::vector<std::string> &lines)
{
    if (lines.empty())
        return fmt::format("  \"{}\": []", name);
    return fmt::format("  \"{}\": [\n    {}\n  ]", name, fmt::join(lines, ",\n    "));
}

} // namespace

std::string write_interface(const told_interface &told, const device_model &model)
{
    return fmt::format("{{\n{}\n}}\n",
                       list_of("interfaces", {json_of_interface(told, model).dump()}));
}

std::string write_vlan(const told_vlan &told)
{
    return fmt::format("{{\n{}\n}}\n",
                       list_of("vlans", {json_of_record(told, vlan_fields()).dump()}));
}

std::string write_inventory(const told_device &told, const device_model &model)
{
    std::vector<std::string> vrfs, vlans, interfaces;
    for (const auto &[name, vrf] : told.vrfs())
        vrfs.push_back(json_of_record(vrf, vrf_fields()).dump());
    for (const auto &[id, vlan] : told.vlans())
        vlans.push_back(json_of_record(vlan, vlan_fields()).dump());
    for (const auto &[key, entry] : told.interfaces())
        interfaces.push_back(json_of_interface(entry, model).dump());
    return fmt::format("{{\n{},\n{},\n{}\n}}\n", list_of("vrfs", vrfs), list_of("vlans", vlans),
                       list_of("interfaces", interfaces));
}

} // namespace device
