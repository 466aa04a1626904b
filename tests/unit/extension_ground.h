// SPDX-License-Identifier: Apache-2.0
//
// The four extension slots as the tests of extensions and private data know them, one row a slot,
// and a world in which port(7) has something under the caller's key 0x99 and under the four keys of
// the configuration.
#pragma once

#include "varn_fixture.h"

#include <cstring>
#include <string>

struct extension_slot {
    unsigned number, bit, counter;
    u32 key; // the configured one
    u32 (*get)(u32 iod, u32 key);
    u32 (*is_set)(u32 iod, u32 key);
    u32 (*set)(u32 iod, u32 key, u32 value);
};

inline void PrintTo(const extension_slot &row, std::ostream *out) { *out << "slot " << row.number; }

// clang-format off
constexpr extension_slot extension_slots[] = {
    {0, 5, 6, 0x11, varn_ifsvc_get_extension, varn_ifsvc_is_extension_set, varn_ifsvc_set_extension},
    {1, 6, 7, 0x12, varn_ifsvc_get_extension1, varn_ifsvc_is_extension1_set, varn_ifsvc_set_extension1},
    {2, 7, 8, 0x13, varn_ifsvc_get_extension2, varn_ifsvc_is_extension2_set, varn_ifsvc_set_extension2},
    {3, 8, 9, 0x14, varn_ifsvc_get_extension3, varn_ifsvc_is_extension3_set, varn_ifsvc_set_extension3},
};
// clang-format on

// The iod and the four slots.
constexpr u64 all_slots_cached = bits(1, 5, 6, 7, 8);

class extension_test : public varn_test
{
protected:
    extension_test() { given(port(7)); }

    static config with_keys(u64 sync)
    {
        config made;
        made.uuid(0x11).extn_uuid(1, 0x12).extn_uuid(2, 0x13).extn_uuid(3, 0x14).sync(sync);
        return made;
    }

    // A standing entry of port(7) with a value and a size of its own in each slot, all clean.
    varn_if_entry_t &standing()
    {
        varn_if_entry_t *made = varn_if_create_entry_by_iod(7);
        for (u32 slot = 0; slot < 4; ++slot) {
            made->extn[slot] = 0xE0 + slot;
            made->extn_size[slot] = 40 + slot;
        }
        made->dirty = 0;
        forget_all();
        return *made;
    }

    static std::string counted(const char *array, unsigned slot)
    {
        return spell(array, "[", dec(slot), "] +1");
    }
};
