// SPDX-License-Identifier: Apache-2.0
//
// inventory_values.cpp: how each form of field is read from a word and from JSON, and how it is
// written. What is wrong is told by what would have been right.
#include <algorithm>
#include <charconv>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "inventory_fields.h"
#include "nearest.h"

namespace device
{
namespace
{

constexpr char none[] = "none";

bool may_be_none(form written)
{
    return written == form::number_or_none || written == form::name_or_none;
}

std::string expectation(const field_form &as, bool in_json)
{
    switch (as.written) {
    case form::number:
        return fmt::format("a number from {} to {}", as.least, as.most);
    case form::number_or_none:
        return fmt::format("a number from {} to {}, or {}", as.least, as.most,
                           in_json ? "null" : none);
    case form::choice:
        return fmt::format("one of {}", fmt::join(as.words, ", "));
    case form::flag:
        return in_json ? "true or false" : "yes or no";
    case form::mac:
        return "a MAC address such as 02:00:00:00:00:01";
    case form::bytes:
        return fmt::format("up to {} bytes of two hexadecimal digits each", as.most);
    default:
        return fmt::format(
            "a name of up to {} letters, digits and -._:/@+ that begins with a letter "
            "or digit",
            as.most);
    }
}

bool read_number(const std::string &word, u64 &number)
{
    const bool hexadecimal = word.starts_with("0x") || word.starts_with("0X");
    const char *begin = word.data() + (hexadecimal ? 2 : 0), *end = word.data() + word.size();
    const auto read = std::from_chars(begin, end, number, hexadecimal ? 16 : 10);
    return read.ec == std::errc{} && read.ptr == end;
}

bool is_hexadecimal(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool read_mac(const std::string &word, u64 &mac)
{
    if (word.size() != 17)
        return false;
    std::string digits;
    for (std::size_t n = 0; n < word.size(); ++n) {
        if (n % 3 == 2 ? word[n] != ':' : !is_hexadecimal(word[n]))
            return false;
        if (n % 3 != 2)
            digits.push_back(word[n]);
    }
    return std::from_chars(digits.data(), digits.data() + digits.size(), mac, 16).ec == std::errc{};
}

bool is_letter_or_digit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool is_name(const std::string &word, u64 longest)
{
    return !word.empty() && word.size() <= longest && is_letter_or_digit(word.front()) &&
           word != none && std::ranges::all_of(word, [](char c) {
               return is_letter_or_digit(c) ||
                      std::string_view("-._:/@+").find(c) != std::string_view::npos;
           });
}

bool is_bytes(const std::string &word, u64 most)
{
    return word.size() % 2 == 0 && word.size() / 2 <= most &&
           std::ranges::all_of(word, is_hexadecimal);
}

bool in_range(const field_form &as, u64 number) { return number >= as.least && number <= as.most; }

// A flag's words are no and yes.
bool read_choice(const std::vector<std::string> &words, const std::string &word, u64 &number)
{
    const auto at = std::ranges::find(words, word);
    number = static_cast<u64>(at - words.begin());
    return at != words.end();
}

bool read(const field_form &as, const std::string &word, field_value &value)
{
    if (may_be_none(as.written) && word == none)
        return value = {}, true;
    switch (as.written) {
    case form::number:
    case form::number_or_none:
        return read_number(word, value.number) && in_range(as, value.number);
    case form::choice:
        return read_choice(as.words, word, value.number);
    case form::flag:
        return read_choice({"no", "yes"}, word, value.number);
    case form::mac:
        return read_mac(word, value.number);
    case form::bytes:
        value.text = word;
        return is_bytes(word, as.most);
    default:
        value.text = word;
        return is_name(word, as.most);
    }
}

std::string wrong(const field_form &as, bool in_json, const std::string &shown,
                  const std::string &word)
{
    const std::string guess = as.written == form::choice ? nearest(word, as.words) : std::string();
    return fmt::format("must be {}, and is {}{}", expectation(as, in_json), shown, guess);
}

// What JSON has a kind of its own for is not taken as a text.
bool has_right_kind(form written, json_value::kind what)
{
    if (written == form::number || written == form::number_or_none)
        return what == json_value::kind::number;
    return what == (written == form::flag ? json_value::kind::truth : json_value::kind::text);
}

std::string mac_text(u64 mac)
{
    std::string text;
    for (int shift = 40; shift >= 0; shift -= 8)
        text.append(fmt::format("{}{:02x}", shift == 40 ? "" : ":", mac >> shift & 0xFF));
    return text;
}

} // namespace

std::string read_word(const field_form &as, const std::string &word, field_value &value)
{
    return read(as, word, value) ? "" : wrong(as, false, in_quotes(word), word);
}

std::string read_json_value(const field_form &as, const json_value &given, field_value &value)
{
    if (may_be_none(as.written) && given.what == json_value::kind::null)
        return value = {}, "";
    if (!has_right_kind(as.written, given.what))
        return wrong(as, true, given.shown(), {});
    if (as.written == form::flag)
        return value.number = given.truth ? 1 : 0, "";
    const bool is_word_for_none = may_be_none(as.written) && given.text == none;
    if (is_word_for_none || !read(as, given.text, value))
        return wrong(as, true, given.shown(), given.text);
    return "";
}

nlohmann::ordered_json json_of(const field_form &as, const field_value &value)
{
    switch (as.written) {
    case form::number:
    case form::number_or_none:
        return value.number;
    case form::choice:
        return as.words[value.number];
    case form::flag:
        return value.number != 0;
    case form::mac:
        return mac_text(value.number);
    default:
        return value.text;
    }
}

bool is_none(const field_form &as, const field_value &value)
{
    return (may_be_none(as.written) || as.written == form::number) && value.number == 0 &&
           value.text.empty() && as.least != 0;
}

std::string unknown_field(const std::string &name, const std::vector<std::string> &known)
{
    return fmt::format("there is no field {}{}", in_quotes(name), nearest(name, known));
}

std::vector<u8> bytes_of(const std::string &digits)
{
    std::vector<u8> bytes(digits.size() / 2);
    for (std::size_t n = 0; n < bytes.size(); ++n)
        std::from_chars(digits.data() + 2 * n, digits.data() + 2 * n + 2, bytes[n], 16);
    return bytes;
}

} // namespace device
