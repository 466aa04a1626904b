// SPDX-License-Identifier: Apache-2.0
//
// The first operational member of a port-channel, kept in the port-channel's interface entry. A
// member of 0 means that none is known, and is never answered from the cache.
#include "entries.h"
#include "fetches.h"
#include "ifsvc.h"
#include "messages.h"
#include "misuse.h"
#include "state_changes.h"

using namespace ifcache;

namespace
{

constexpr u32 name_size = 255;
char pc_name[name_size];

// The words of the notification are big-endian on every host.
u32 from_network_order(const u32 &word)
{
    const uint8_t *byte = reinterpret_cast<const uint8_t *>(&word);
    return u32{byte[0]} << 24 | u32{byte[1]} << 16 | u32{byte[2]} << 8 | u32{byte[3]};
}

void store_member(varn_if_entry_t &entry, u32 member)
{
    count_update(aggsvc_if_attribute);
    entry.aggsvc_if = member;
    mark_clean(entry, aggsvc_if_attribute);
}

u32 remove_without_member(u32 pc_ifindex, u32 old_member)
{
    TRACE("AGGSVC varn entry removed for interface %s (if 0x%x) during change from 0x%x to 0x%x\n",
          pc_name, pc_ifindex, old_member, 0);
    varn_if_remove_entry_by_if(pc_ifindex);
    return 1;
}

u32 change_member(varn_if_entry_t *entry, u32 new_member)
{
    store_member(*entry, new_member);
    refetch_identity(entry);
    return 1;
}

// Deliberate: also with a member of 0, which is kept as clean and never answered.
u32 create_with_member(u32 pc_ifindex, u32 new_member)
{
    // Deliberate: no line feed.
    TRACE("Creating varn entry for if-index 0x%x on aggsvc-fop", pc_ifindex);
    varn_if_entry_t *entry =
        varn_if_create_entry_by_if(pc_ifindex, VARN_NO_IOD, VARN_NO_PI, VARN_NO_LIF);
    if (!entry)
        return 0;
    store_member(*entry, new_member);
    return 1;
}

} // namespace

uint32_t varn_update_aggsvc_fop(const varn_fop_update_t *record)
{
    VISIT();
    MUST(RULE_NULL, record);
    if (!varn_enabled)
        return 0;
    ++varn.aggsvc_updates;
    const u32 pc_ifindex = from_network_order(record->pc_ifindex);
    const u32 old_member = from_network_order(record->old_member);
    const u32 new_member = from_network_order(record->new_member);
    PROBE_NOTIFICATION("varn_update_aggsvc_fop", VARN_NO_IOD, pc_ifindex);
    ifsvc_get_ifindex_name(pc_ifindex, pc_name, name_size);
    TRACE("AGGSVC First-Op-member for interface %s (if 0x%x) From 0x%x to 0x%x\n", pc_name,
          pc_ifindex, old_member, new_member);
    varn_if_entry_t *entry = find_by_if(pc_ifindex);
    if (entry)
        return new_member ? change_member(entry, new_member)
                          : remove_without_member(pc_ifindex, old_member);
    if (old_member) {
        // Deliberate: who was not caching this port-channel does not start to because its member
        // moved.
        TRACE(
            "AGGSVC varn entry not found for interface %s (if 0x%x) during change from 0x%x to 0x%x\n",
            pc_name, pc_ifindex, old_member, new_member);
        return 0;
    }
    return create_with_member(pc_ifindex, new_member);
}

// Deliberate: varn_enabled is not asked here, though the creator of entries asks it.
uint32_t varn_aggsvc_get_fop(uint32_t pc_ifindex, uint32_t *member)
{
    VISIT();
    MUST(RULE_NULL, member);
    varn_if_entry_t *entry = is_cached(aggsvc_if_attribute) ? entry_of_if(pc_ifindex) : nullptr;
    if (entry && !is_dirty(*entry, aggsvc_if_attribute) && entry->aggsvc_if) {
        *member = entry->aggsvc_if;
        count_hit(aggsvc_if_attribute, pc_ifindex, entry);
        return 0;
    }
    count_miss(aggsvc_if_attribute, pc_ifindex, entry);
    u32 answer = 0;
    if (const u32 code = ask_first_member(pc_ifindex, answer))
        return code;
    if (entry) {
        entry->aggsvc_if = answer;
        mark_clean(*entry, aggsvc_if_attribute);
    }
    *member = answer;
    return 0;
}
