// SPDX-License-Identifier: Apache-2.0
//
// The ground of the tests of the port-channel cache: port-channel 0x16000003, whose even buckets
// are served by 0x1a000001 and whose odd ones by 0x1a000002, and port 0x1a000007 in it.
#pragma once

#include "side_cache_ground.h"

namespace side_cache
{

constexpr u64 pc_bit = u64{1} << 33;

// The journal of a first question: nothing is filed, so an entry is made.
inline std::string pc_creation()
{
    return lines("ht_lookup(Pc, 0x16000003) = null", "memacct_alloc(544, 3, 140) = block",
                 "ht_insert(Pc, 0x16000003) = 1");
}
constexpr const char *pc_found = "ht_lookup(Pc, 0x16000003) = found";
constexpr const char *pc_missing = "ht_lookup(Pc, 0x16000003) = null";
constexpr const char *no_memory_text = "No Memory available for aggsvc entry ifindex 0x16000003\n";

class pc_ground : public ground
{
protected:
    // A query that must give 0; the member.
    static u32 member_of(u8 bucket, u32 pc = channel)
    {
        u32 member = 0xDEAD;
        EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(pc, bucket, &member), 0u);
        return member;
    }

    // The entry of a port-channel, made where it is missing; how it came about is forgotten.
    varn_pc_entry_t &filed(u32 pc = channel)
    {
        varn_pc_entry_t *found = varn_pc_create_entry(pc, 1);
        forget_all();
        return *found;
    }

    varn_pc_entry_t *loose_pc(u32 pc)
    {
        auto *made = loose_record<varn_pc_entry_t>(3, varn.pc_allocs);
        made->pc_ifindex = pc;
        return made;
    }

    // Bucket by bucket: '1' for a dirty one, '0' for one whose member is known.
    static std::string flags(const varn_pc_entry_t &of)
    {
        std::string all;
        for (const u32 flag : of.rbh_dirty)
            all += flag < 10 ? static_cast<char>('0' + flag) : '?';
        return all;
    }

    static std::size_t entries() { return records_in(&varn.pc_table).size(); }
};

constexpr const char *all_dirty = "1111111111111111";

} // namespace side_cache
