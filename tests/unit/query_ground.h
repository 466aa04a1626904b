// SPDX-License-Identifier: Apache-2.0
//
// The ground of the tests of the cached queries: port(7) in the world, a cache that is started with
// a set of attributes, and entries that stand filled before the story begins. Bits and slots are
// plain numbers in these tests, written down a second time.
#pragma once

#include "varn_fixture.h"

#include <string>

constexpr u64 everything = 0x3FFFFFFFF; // bits 0 to 33

// What the creation of port(7)'s entry asks before its first refresh, and what it counts when only
// the If and Iod tables exist.
constexpr const char *asked_if_index = "ifsvc_get_ifindex_frm_iod(7) = 0 -> 0x1a000007";
constexpr const char *asked_first_mtu = "ifsvc_get_if_mtu(7) = 1500";
constexpr const char *asked_unknown_iod = "ifsvc_get_ifindex_frm_iod(7) = 0x40040004";
constexpr const char *counted_creation = "if_allocs +1, if_index.inserts +1, iod_index.inserts +1";
constexpr mac_address mac_of_7{2, 0, 0, 0, 0, 7};

// "misses[15] +1": a counter of a slot that has moved by one.
inline std::string one(const char *array, unsigned slot)
{
    return std::string(array) + "[" + std::to_string(slot) + "] +1";
}

class query_test : public varn_test
{
protected:
    query_test() { given(port(7)); }

    // Starts the cache with these attributes and four extension keys; the story begins here.
    void start_with(u64 sync)
    {
        const config keys = config().uuid(0x11).extn_uuid(1, 0x12).extn_uuid(2, 0x13);
        start(config(keys).extn_uuid(3, 0x14).sync(sync));
    }

    // The entry of an iod, created where it is missing; how it came about is forgotten.
    varn_if_entry_t &filled(u32 iod)
    {
        varn_if_entry_t *found = varn_if_create_entry_by_iod(iod);
        forget_all();
        return *found;
    }

    static std::size_t entries() { return records_in(&varn.if_table).size(); }
};
