// SPDX-License-Identifier: Apache-2.0
//
// What the files of rows share: the platform functions on which a result hangs, results that
// several operations have in common, and what a call gave as a text.
#pragma once

#include "operations.h"

#include "service_text.h"
#include "varn.h"
#include "world.h"

#include <cstdint>
#include <type_traits>

using scripted::dec;
using scripted::hex;
using scripted::none;
using scripted::spell;

using u32 = std::uint32_t;
using names = std::set<std::string>;

constexpr u32 port7 = 0x1a000007;
constexpr u32 channel = 0x16000003;

inline const names same;
inline const names zero_or_one{"0", "1"};
inline const names entry_or_null{"entry", "null"};

// What stands between a key and the entry that it leads to.
inline const names identity{"ht_lookup",
                            "ht_insert",
                            "ht_remove_entry",
                            "if_index_get_type",
                            "ifsvc_get_iod_frm_ifindex",
                            "ifsvc_get_ifindex_frm_iod"};

inline names identity_and(const names &more)
{
    names all = identity;
    all.insert(more.begin(), more.end());
    return all;
}

inline std::string given(const void *entry) { return entry != nullptr ? "entry" : "null"; }

// A call that gives a code, and writes one number on success.
template <typename Call>
std::string code_and(Call call)
{
    u32 output = 0;
    const u32 code = call(&output);
    return spell(hex(code), " -> ", hex(output));
}

template <typename... Args>
std::string silent(void (*call)(Args...), std::type_identity_t<Args>... args)
{
    call(args...);
    return "";
}

std::vector<operation> queries();
std::vector<operation> translations();
std::vector<operation> handlers();
