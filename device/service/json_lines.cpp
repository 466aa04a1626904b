// SPDX-License-Identifier: Apache-2.0
//
// json_lines.cpp: a reader of nlohmann-json's events, over an iterator that counts what it hands
// out. The lexer may be one character ahead (behind a number it is), so that a line end does not
// count before a second character has been taken.
#include "json_lines.h"

#include <algorithm>
#include <iterator>

#include <nlohmann/json.hpp>

#include "nearest.h"

namespace device
{
namespace
{

using json = nlohmann::json;

constexpr std::size_t deepest = 16;    // lists and objects within each other
constexpr std::size_t most_names = 64; // of one object

struct place {
    std::uint32_t line = 1;
    bool line_ended = false; // by the character that was taken last
};

class counting_iterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = const char &;

    counting_iterator(const char *at, place *counted) : at_(at), counted_(counted) {}

    reference operator*() const { return *at_; }
    bool operator==(const counting_iterator &other) const { return at_ == other.at_; }
    bool operator!=(const counting_iterator &other) const { return at_ != other.at_; }

    counting_iterator &operator++()
    {
        counted_->line += counted_->line_ended ? 1 : 0;
        counted_->line_ended = *at_ == '\n';
        ++at_;
        return *this;
    }

private:
    const char *at_;
    place *counted_;
};

class tree_builder
{
public:
    tree_builder(const place &at, json_value &root) : at_(at), root_(root) {}

    bool null() { return add(json_value::kind::null) != nullptr; }

    bool boolean(bool truth)
    {
        json_value *added = add(json_value::kind::truth);
        added->truth = truth;
        return true;
    }

    bool number_unsigned(std::uint64_t number)
    {
        json_value *added = add(json_value::kind::number);
        added->number = number;
        added->text = std::to_string(number);
        return true;
    }

    bool number_integer(std::int64_t number)
    {
        add(json_value::kind::other_number)->text = std::to_string(number);
        return true;
    }

    bool number_float(double, const std::string &digits)
    {
        add(json_value::kind::other_number)->text = digits;
        return true;
    }

    bool string(std::string &text)
    {
        add(json_value::kind::text)->text = text;
        return true;
    }

    bool binary(std::vector<std::uint8_t> &) { return false; } // JSON has none

    bool start_object(std::size_t) { return open(json_value::kind::object); }
    bool start_array(std::size_t) { return open(json_value::kind::list); }
    bool end_object() { return close(); }
    bool end_array() { return close(); }

    bool key(std::string &name)
    {
        json_value &object = *open_.back();
        if (std::ranges::find(object.names, name) != object.names.end())
            return fail(in_quotes(name) + " stands twice in one object");
        if (object.names.size() == most_names)
            return fail("too many names in one object");
        object.names.push_back(name);
        return true;
    }

    bool parse_error(std::size_t, const std::string &, const nlohmann::detail::exception &wrong)
    {
        return fail(explanation(wrong.what()));
    }

    const json_problem &problem() const { return problem_; }

private:
    // Without the library's own number of the error and place.
    static std::string explanation(const std::string &text)
    {
        const std::size_t colon = text.find(": ");
        return colon == text.npos ? text : text.substr(colon + 2);
    }

    bool fail(std::string text)
    {
        problem_ = {at_.line, std::move(text)};
        return false;
    }

    json_value *add(json_value::kind what)
    {
        json_value *added = open_.empty() ? &root_ : &open_.back()->items.emplace_back();
        added->what = what;
        added->line = at_.line;
        return added;
    }

    bool open(json_value::kind what)
    {
        if (open_.size() == deepest)
            return fail("too many lists and objects within each other");
        open_.push_back(add(what)); // its parent takes no other item before it is closed
        return true;
    }

    bool close()
    {
        open_.pop_back();
        return true;
    }

    const place &at_;
    json_value &root_;
    std::vector<json_value *> open_;
    json_problem problem_;
};

} // namespace

const json_value *json_value::find(const std::string &name) const
{
    const auto at = std::ranges::find(names, name);
    return at == names.end() ? nullptr : &items[static_cast<std::size_t>(at - names.begin())];
}

std::string json_value::shown() const
{
    switch (what) {
    case kind::null:
        return "null";
    case kind::truth:
        return truth ? "true" : "false";
    case kind::list:
        return "a list";
    case kind::object:
        return "an object";
    case kind::text:
        return in_quotes(text);
    default:
        return text;
    }
}

json_problem read_json(const std::string &text, json_value &out)
{
    place at;
    tree_builder builder(at, out);
    const counting_iterator begin(text.data(), &at), end(text.data() + text.size(), &at);
    json::sax_parse(begin, end, &builder);
    return builder.problem();
}

} // namespace device
