// SPDX-License-Identifier: Apache-2.0
//
// json_lines.h: JSON read into a tree in which every value knows the line that it stands on, so
// that whatever is wrong with it can be pointed at. Names keep their order, and none stands twice in
// one object.
#ifndef VARN_DEVICE_JSON_LINES_H
#define VARN_DEVICE_JSON_LINES_H

#include <cstdint>
#include <string>
#include <vector>

namespace device
{

struct json_value {
    enum class kind { null, truth, number, other_number, text, list, object };

    kind what = kind::null;
    std::uint32_t line = 0;
    bool truth = false;
    std::uint64_t number = 0; // other_number: negative, with a fraction, or too large
    std::string text;         // of a text; of any number: its digits
    std::vector<json_value> items;
    std::vector<std::string> names; // of an object's items

    const json_value *find(const std::string &name) const; // null: there is none
    std::string shown() const;                             // on one line, cut where it is long
};

struct json_problem {
    std::uint32_t line = 0; // 0: none
    std::string text;
};

// *out is good where there is no problem.
json_problem read_json(const std::string &text, json_value &out);

} // namespace device

#endif
