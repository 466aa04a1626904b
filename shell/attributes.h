// SPDX-License-Identifier: Apache-2.0
//
// attributes.h: what can be asked about an interface, each with the cached query, the direct
// request that it stands for, and how the answer is written.
#ifndef VARNSH_ATTRIBUTES_H
#define VARNSH_ATTRIBUTES_H

#include <string>
#include <string_view>
#include <vector>

#include "cache.h"

namespace shell
{

enum class form { yes_no, number, text };

// An attribute whose answer is one number.
struct scalar {
    std::string_view name;
    u32 (*cached)(u32 iod);
    u32 (*direct)(u32 iod);
    unsigned bit; // no_bit: never cached
    form shown_as = form::yes_no;
};

inline constexpr unsigned no_bit = 64;

const scalar *find_scalar(std::string_view name);

// By name, whatever the kind of answer. False for a name that is none.
bool find_attribute(std::string_view name, unsigned &bit);
std::string ask_attribute(std::string_view name, u32 iod, bool direct);
std::vector<std::string> attribute_names();
form form_of(std::string_view name);

std::string mac_text(const std::uint8_t *mac);

} // namespace shell

#endif
