// SPDX-License-Identifier: Apache-2.0
//
// What is compared: the library, and each rival that was built, as the same five questions behind
// pointers. Every one of them sits in a shared library of its own, so a question costs all of them
// the same call.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench
{

using question = uint32_t (*)(uint32_t iod);

struct subject {
    std::string name;
    question is_linkup, is_protoup, is_switchport, get_if_mtu, get_if_encaptype;
    void (*fill)(uint32_t count);
    void (*insert)(uint32_t iod); // the record that was removed last
    void (*remove)(uint32_t iod);
};

// The library first, then the rivals in the folder beside this program, by name; none where they
// were not built. Nothing is filled yet.
std::vector<subject> find_subjects();

} // namespace bench
