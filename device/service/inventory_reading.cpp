// SPDX-License-Identifier: Apache-2.0
//
// inventory_reading.cpp: from JSON to a told device. An entry may have a range: it then stands for
// as many entries as the range has numbers, in whose texts {} is replaced by the number; a field
// that takes a number may be the text "{}" there. What is wrong first is told, by its line.
#include "inventory_reading.h"

#include <algorithm>

#include <fmt/format.h>

#include "device_model.h"
#include "nearest.h"

namespace device
{
namespace
{

constexpr char number_mark[] = "{}";

struct number_range {
    u64 first = 0, last = 0;
};

// In a copy of an entry: each text with the number in place of the mark.
void replace_marks(json_value &in, const std::string &number)
{
    for (json_value &item : in.items)
        replace_marks(item, number);
    if (in.what != json_value::kind::text)
        return;
    for (std::size_t at = 0; (at = in.text.find(number_mark, at)) != std::string::npos;)
        in.text.replace(at, sizeof number_mark - 1, number), at += number.size();
}

bool is_mark(const json_value &value)
{
    return value.what == json_value::kind::text && value.text == number_mark;
}

bool takes_number(form written)
{
    return written == form::number || written == form::number_or_none;
}

class reader
{
public:
    reader(const std::string &file_name, told_inventory &out) : file_name_(file_name), out_(out) {}

    std::string read(const std::string &text)
    {
        json_value root;
        if (const json_problem wrong = read_json(text, root); !wrong.text.empty())
            fail(wrong.line, "JSON", wrong.text);
        else
            read_root(root);
        return error_;
    }

private:
    // One entry, or one of those that a range stands for.
    struct entry {
        const json_value &given; // on its lines
        json_value filled_in;    // what it says, marks replaced
        bool in_range = false;
        u64 distance = 0; // from the first of the range

        bool is_number_of_range(std::size_t place) const
        {
            return in_range && is_mark(given.items[place]);
        }
    };

    bool failed() const { return !error_.empty(); }

    // The field may be whatever stands in the file; the line stays one line.
    void fail(u32 line, const std::string &field, const std::string &text)
    {
        const std::string safe = in_quotes(field);
        const bool is_plain = safe.size() == field.size() + 2 && !field.empty();
        if (!failed())
            error_ = fmt::format("{}:{}: {}: {}", file_name_, line, is_plain ? field : safe, text);
    }

    // Points at the field if the entry has it, else at the entry.
    void fail(const json_value &given, const problem &wrong, const char *entries)
    {
        const json_value *at = given.find(wrong.field);
        fail(at == nullptr ? given.line : at->line, wrong.field.empty() ? entries : wrong.field,
             wrong.text);
    }

    void read_root(const json_value &root)
    {
        static const std::vector<std::string> known = {"interfaces", "vlans", "vrfs"};
        if (root.what != json_value::kind::object)
            return fail(root.line, "inventory", "must be an object, and is " + root.shown());
        for (std::size_t n = 0; n < root.names.size(); ++n) {
            const bool is_known = std::ranges::find(known, root.names[n]) != known.end();
            if (!is_known && root.names[n] != "$schema")
                fail(root.items[n].line, root.names[n], unknown_field(root.names[n], known));
        }
        for_each_entry(root, "vrfs", [this](const entry &each) { read_vrf(each); });
        for_each_entry(root, "vlans", [this](const entry &each) { read_vlan(each); });
        check_vlans();
        for_each_entry(root, "interfaces", [this](const entry &each) { read_interface(each); });
        admit_interfaces();
    }

    template <typename action>
    void for_each_entry(const json_value &root, const char *list_name, action act)
    {
        const json_value *list = root.find(list_name);
        if (list == nullptr || failed())
            return;
        if (list->what != json_value::kind::list)
            return fail(list->line, list_name, "must be a list, and is " + list->shown());
        for (const json_value &item : list->items) {
            if (item.what != json_value::kind::object)
                fail(item.line, list_name, "must have objects only, and has " + item.shown());
            else
                expand(item, act);
            if (failed())
                return;
        }
    }

    template <typename action>
    void expand(const json_value &item, action act)
    {
        const json_value *range = item.find("range");
        if (range == nullptr)
            return act(entry{item, item});
        const number_range numbers = read_range(*range);
        for (u64 n = numbers.first; n <= numbers.last && !failed(); ++n)
            act(entry{item, filled_in(item, n), true, n - numbers.first});
    }

    static json_value filled_in(const json_value &item, u64 number)
    {
        json_value filled = item;
        const std::string digits = std::to_string(number);
        for (json_value &value : filled.items) {
            value.number = is_mark(value) ? number : value.number;
            replace_marks(value, digits);
        }
        return filled;
    }

    number_range read_range(const json_value &given)
    {
        number_range range;
        const json_value *first = given.find("first"), *last = given.find("last");
        const auto is_number = [](const json_value *value) {
            return value != nullptr && value->what == json_value::kind::number;
        };
        const bool has_form = given.names.size() == 2 && is_number(first) && is_number(last);
        if (has_form)
            range = {first->number, last->number};
        if (!has_form || range.last > 0xFFFFFFFF || range.first > range.last ||
            range.last - range.first >= max_iod)
            fail(
                given.line, "range",
                fmt::format("must be a first and a last number, with at most {} numbers", max_iod));
        return range;
    }

    template <typename record>
    field_value read_value(const entry &from, const field<record> &what, std::size_t place)
    {
        json_value given = from.filled_in.items[place];
        if (from.is_number_of_range(place) && takes_number(what.as.written))
            given.what = json_value::kind::number;
        field_value value;
        std::string wrong = read_json_value(what.as, given, value);
        if (what.counts_up && wrong.empty()) {
            value.number += from.is_number_of_range(place) ? 0 : from.distance;
            if (value.number > what.as.most)
                wrong = "counts up too far";
        }
        if (!wrong.empty())
            fail(given.line, what.as.name, wrong);
        return value;
    }

    // Reads each field of an entry but those that are not of the table's kind.
    template <typename record, typename action>
    void read_fields(const entry &from, std::span<const field<record>> fields,
                     const std::vector<std::string> &others, action act)
    {
        const json_value &object = from.filled_in;
        for (std::size_t n = 0; n < object.names.size() && !failed(); ++n) {
            if (std::ranges::find(others, object.names[n]) != others.end())
                continue;
            const field<record> *what = find_field(fields, object.names[n]);
            if (what != nullptr) {
                act(*what, read_value(from, *what, n));
                continue;
            }
            std::vector<std::string> known = names_of(fields);
            known.insert(known.end(), others.begin(), others.end());
            fail(object.items[n].line, object.names[n], unknown_field(object.names[n], known));
        }
        for (const field<record> &each : fields)
            if (each.required && object.find(each.as.name) == nullptr)
                fail(from.given.line, each.as.name, "is missing");
    }

    template <typename record>
    record read_record(const entry &from, std::span<const field<record>> fields,
                       const std::vector<std::string> &others)
    {
        record read;
        read_fields(from, fields, others, [&](const field<record> &what, const field_value &value) {
            what.set(read, value);
        });
        return read;
    }

    void read_vrf(const entry &from)
    {
        const auto vrf = read_record(from, vrf_fields(), {});
        if (failed())
            return;
        if (const problem wrong = out_.device.add_vrf(vrf))
            fail(from.given, wrong, "vrfs");
    }

    // The range of VLANs is that of their ids.
    void read_vlan(const entry &from)
    {
        told_vlan vlan = read_record(from, vlan_fields(), {"range"});
        const json_value *range = from.given.find("range");
        if (range != nullptr)
            vlan.id = static_cast<u32>(range->find("first")->number + from.distance);
        if ((range == nullptr) == (from.given.find("id") == nullptr))
            fail(from.given.line, "id", "must be told, or else a range");
        if (range != nullptr && (vlan.id == 0 || vlan.id > vlan_fields().front().as.most))
            fail(range->line, "range", "must be of VLANs, from 1 to 4094");
        if (failed())
            return;
        if (const problem wrong = out_.device.add_vlan(vlan))
            fail(from.given, wrong, "vlans");
        vlans_.emplace_back(vlan.id, &from.given);
    }

    void check_vlans()
    {
        for (const auto &[id, given] : vlans_)
            if (const problem wrong = failed() ? problem{} : out_.device.check_primary(id))
                fail(*given, wrong, "vlans");
        out_.device.number_vlans();
    }

    void read_interface(const entry &from)
    {
        if (interfaces_.size() == max_iod)
            return fail(
                from.given.line, "interfaces",
                fmt::format("there are {} interfaces already, and no more can be had", max_iod));
        std::vector<assignment> told;
        read_fields(from, interface_fields(), {"range", "private"},
                    [&](const field<told_interface> &what, const field_value &value) {
                        told.push_back({&what, value});
                    });
        if (failed())
            return;
        found added = {default_interface(interface_types().front().number), &from.given, {}};
        if (const problem wrong = assign(added.told, told))
            return fail(from.given, wrong, "interfaces");
        if (const json_value *list = from.filled_in.find("private"))
            read_private(*list, added);
        out_.device.reserve(added.told);
        interfaces_.push_back(std::move(added));
    }

    struct found {
        told_interface told;
        const json_value *given;
        std::vector<told_private> attachments;
    };

    void read_private(const json_value &list, found &added)
    {
        if (list.what != json_value::kind::list)
            return fail(list.line, "private", "must be a list, and is " + list.shown());
        for (const json_value &item : list.items) {
            if (item.what != json_value::kind::object)
                return fail(item.line, "private",
                            "must have objects only, and has " + item.shown());
            const auto told = read_record(entry{item, item}, private_fields(), {});
            for (const told_private &other : added.attachments)
                if (other.key == told.key)
                    fail(item.line, "key", fmt::format("{} stands twice", told.key));
            if (told.extension == 0 && told.block.empty())
                fail(item.line, "private", "has neither an extension nor a block");
            added.attachments.push_back(told);
        }
    }

    // Identities first: they refer to each other in any order.
    void admit_interfaces()
    {
        for (found &each : interfaces_)
            if (const problem wrong = failed() ? problem{} : out_.device.add(each.told))
                fail(*each.given, wrong, "interfaces");
        for (const found &each : interfaces_) {
            if (failed())
                return;
            if (const problem wrong = out_.device.check_references(each.told))
                fail(*each.given, wrong, "interfaces");
            for (const told_private &attached : each.attachments)
                out_.attachments.emplace_back(each.told.key, attached);
        }
    }

    const std::string &file_name_;
    told_inventory &out_;
    std::string error_;
    std::vector<std::pair<u32, const json_value *>> vlans_;
    std::vector<found> interfaces_;
};

} // namespace

std::string read_inventory(const std::string &file_name, const std::string &text,
                           told_inventory &out)
{
    return reader(file_name, out).read(text);
}

} // namespace device
