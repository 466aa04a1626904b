// SPDX-License-Identifier: Apache-2.0
//
// inventory_schema.cpp: the tables of fields as a JSON schema, so that editors and other tools check
// a file as the service does. What refers to other entries cannot be said in a schema.
#include <nlohmann/json.hpp>

#include "inventory_writing.h"

namespace device
{
namespace
{

using json = nlohmann::ordered_json;

constexpr char name_pattern[] = "^[A-Za-z0-9][A-Za-z0-9._:/@+-]*$";
constexpr char ranged_name_pattern[] = "^[A-Za-z0-9{][A-Za-z0-9._:/@+{}-]*$";

json number_of(const field_form &as)
{
    return {{"type", "integer"}, {"minimum", as.least}, {"maximum", as.most}};
}

json name_of(const field_form &as, bool ranged)
{
    json made = {{"type", "string"}, {"pattern", ranged ? ranged_name_pattern : name_pattern}};
    made["maxLength"] = as.most;
    made["not"] = {{"const", "none"}};
    return made;
}

json bytes_of(const field_form &as)
{
    return {{"type", "string"}, {"pattern", "^([0-9A-Fa-f]{2})*$"}, {"maxLength", 2 * as.most}};
}

json or_else(json one, json other) { return {{"anyOf", {std::move(one), std::move(other)}}}; }

json unranged_form(const field_form &as, bool ranged)
{
    const json nothing = {{"type", "null"}};
    switch (as.written) {
    case form::number:
        return number_of(as);
    case form::number_or_none:
        return or_else(number_of(as), nothing);
    case form::choice:
        return {{"enum", as.words}};
    case form::flag:
        return {{"type", "boolean"}};
    case form::mac:
        return {{"type", "string"}, {"pattern", "^([0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}$"}};
    case form::bytes:
        return bytes_of(as);
    case form::name_or_none:
        return or_else(name_of(as, ranged), nothing);
    default:
        return name_of(as, ranged);
    }
}

// In a range, a number may be the range's own.
json form_of(const field_form &as, bool ranged)
{
    const bool is_number = as.written == form::number || as.written == form::number_or_none;
    const json in_range = {{"const", "{}"}};
    json made = unranged_form(as, ranged);
    if (ranged && is_number && made.contains("anyOf"))
        made["anyOf"].push_back(in_range);
    else if (ranged && is_number)
        made = or_else(made, in_range);
    made["description"] = as.doc;
    return made;
}

template <typename record>
json object_of(std::span<const field<record>> fields, bool ranged)
{
    json made = {{"type", "object"}, {"additionalProperties", false}};
    json names = json::array();
    for (const field<record> &each : fields) {
        made["properties"][each.as.name] = form_of(each.as, ranged);
        if (each.required)
            names.push_back(each.as.name);
    }
    made["required"] = names;
    return made;
}

json range_property(const char *doc)
{
    json made = {{"type", "object"}, {"additionalProperties", false}};
    made["properties"]["first"] = {{"type", "integer"}, {"minimum", 0}};
    made["properties"]["last"] = {{"type", "integer"}, {"minimum", 0}};
    made["required"] = {"first", "last"};
    made["description"] = doc;
    return made;
}

// Which types may not have a field, for those fields that not all have.
json rule_of(const field<told_interface> &each)
{
    json types = json::array();
    for (const interface_type &type : interface_types())
        if (each.types[type.number])
            types.push_back(type.name);
    json rule;
    rule["if"] = {{"required", {each.as.name}}};
    rule["then"]["properties"]["type"] = {{"enum", types}};
    return rule;
}

json interface_object()
{
    json made = object_of(interface_fields(), true);
    made["properties"]["range"] =
        range_property("Makes an interface of each number; {} in a text stands for the number.");
    made["properties"]["private"] = {{"type", "array"}, {"items", {{"$ref", "#/$defs/private"}}}};
    made["properties"]["private"]["description"] = "Data attached to it, by key.";
    for (const field<told_interface> &each : interface_fields())
        if (each.types != all_types())
            made["allOf"].push_back(rule_of(each));
    return made;
}

json vlan_object()
{
    json made = object_of(vlan_fields(), true);
    made["properties"]["range"] = range_property("Makes a VLAN of each number.");
    made["oneOf"] = {{{"required", {"id"}}}, {{"required", {"range"}}}};
    made.erase("required");
    return made;
}

json list_of(const char *what, const char *doc)
{
    json made = {{"type", "array"}};
    made["items"]["$ref"] = std::string("#/$defs/").append(what);
    made["description"] = doc;
    return made;
}

} // namespace

std::string inventory_schema()
{
    json made;
    made["$schema"] = "https://json-schema.org/draft/2020-12/schema";
    made["title"] = "Inventory of a device";
    made["description"] =
        "The interfaces, VLANs and VRFs of a device, for varn-deviced --source FILE.";
    made["type"] = "object";
    made["additionalProperties"] = false;
    made["properties"]["$schema"] = {{"type", "string"}};
    made["properties"]["vrfs"] = list_of("vrf", "The VRFs beside the default context.");
    made["properties"]["vlans"] = list_of("vlan", "The VLANs that there are.");
    made["properties"]["interfaces"] = list_of("interface", "The interfaces.");
    made["$defs"]["vrf"] = object_of(vrf_fields(), false);
    made["$defs"]["vlan"] = vlan_object();
    made["$defs"]["private"] = object_of(private_fields(), false);
    made["$defs"]["interface"] = interface_object();
    return made.dump(2).append("\n");
}

} // namespace device
