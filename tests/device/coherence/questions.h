// SPDX-License-Identifier: Apache-2.0
//
// questions.h: everything that a client of the cache can ask, once through the cache and once of the
// services. A row is one query of varn.h; a field of a cache entry that a client may read is a row
// as well. Both halves of a row give an answer of one form, so that whether they agree needs no
// knowledge of the query.
#ifndef TESTS_COHERENCE_QUESTIONS_H
#define TESTS_COHERENCE_QUESTIONS_H

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "device_under_test.h"

namespace coherence
{

// What an interface is called by.
struct identity {
    u32 iod = 0;
    u32 if_index = 0;
    u32 pi = 0xFFFFFFFF;
    u32 lif = 0xFFFFFFFF;

    bool operator==(const identity &) const = default;
};

struct asked {
    identity about; // of questions about an interface
    u16 vlan = 0;   // of questions about a VLAN
    u32 variant = 0;
};

// What an output holds that nobody wrote.
inline constexpr u32 untouched = 0xDEADBEEF;

struct answer {
    bool is_known = true; // false: the cache has nothing to say
    u32 code = 0;
    u32 size = 0; // of the values
    std::array<u32, 9> values{};
    std::string text;

    bool operator==(const answer &) const = default;
};

answer number(u32 value);
answer code_and(u32 code, u32 value);
std::string text_of(const answer &what);

enum class subject : u8 { interface, vlan };

struct query {
    const char *name; // as varn.h has it, or entry.FIELD
    subject about;
    u32 variants; // hash buckets, MAC addresses to compare with
    answer (*cached)(const asked &what);
    answer (*direct)(const asked &what);
};

std::span<const query> exported_queries();
std::span<const query> entry_fields();

// Both.
std::span<const query> all_queries();
const query &find_query(const std::string &name); // must be one

// A decoder of private data: the first four bytes are the value. Null and short blocks are 0.
u32 first_word(const void *block, u32 size);

} // namespace coherence

#endif
