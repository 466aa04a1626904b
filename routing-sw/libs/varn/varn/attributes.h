// SPDX-License-Identifier: Apache-2.0
//
// What an attribute is to the cache: a bit, the same in every mask, and a counter slot. An
// entry's bits are tested, set and cleared by the verbs below.
//
// A value field of an entry counts only while its attribute is cached (set in the configuration's
// sync mask) and not dirty. Whoever stores a service's answer marks the attribute clean, unless the
// answer is one that must be asked again; where a notification handler does otherwise, it says so.
#ifndef VARN_ATTRIBUTES_H
#define VARN_ATTRIBUTES_H

#include <cstdint>

#include "../varn.h"
#include "probes.h"

namespace ifcache
{

using u32 = uint32_t;

struct attribute {
    unsigned bit, slot;
};

inline constexpr attribute iod_attribute{VARN_BIT_IOD, VARN_SLOT_IOD};
inline constexpr attribute pi_attribute{VARN_BIT_PI, VARN_SLOT_PI};
inline constexpr attribute lif_attribute{VARN_BIT_LIF, VARN_SLOT_LIF};
inline constexpr attribute mac_attribute{VARN_BIT_MAC, VARN_SLOT_MAC};
inline constexpr attribute vlan_attribute{VARN_BIT_VLAN, VARN_SLOT_VLAN};
inline constexpr attribute name_attribute{VARN_BIT_NAME, VARN_SLOT_NAME};
inline constexpr attribute ips_attribute{VARN_BIT_IPS, VARN_SLOT_IPS};
inline constexpr attribute if_type_attribute{VARN_BIT_IF_TYPE, VARN_SLOT_IF_TYPE};
inline constexpr attribute aggsvc_if_attribute{VARN_BIT_AGGSVC_IF, VARN_SLOT_AGGSVC_IF};
inline constexpr attribute subif_attribute{VARN_BIT_SUBIF, VARN_SLOT_SUBIF};

// Extensions 0 to 3 stand side by side in bits and slots.
constexpr attribute extn_attribute(unsigned k) { return {VARN_BIT_EXTN + k, VARN_SLOT_EXTN + k}; }

inline bool is_cached(unsigned bit) { return varn.config.sync & VARN_MASK(bit); }
inline bool is_cached(attribute a) { return is_cached(a.bit); }

// Both gates of a query: entries are found by iod, so the iod must be cached as well.
inline bool is_answered_by_iod(attribute a)
{
    const uint64_t gates = VARN_MASK(VARN_BIT_IOD) | VARN_MASK(a.bit);
    return (varn.config.sync & gates) == gates;
}

inline bool is_dirty(const varn_if_entry_t &entry, attribute a)
{
    return entry.dirty & VARN_MASK(a.bit);
}

inline void mark_dirty(varn_if_entry_t &entry, attribute a) { entry.dirty |= VARN_MASK(a.bit); }
inline void mark_clean(varn_if_entry_t &entry, unsigned bit) { entry.dirty &= ~VARN_MASK(bit); }
inline void mark_clean(varn_if_entry_t &entry, attribute a) { mark_clean(entry, a.bit); }

// Dirty where the attribute is cached at all, else clean.
inline void mark_as_cached(varn_if_entry_t &entry, attribute a)
{
    is_cached(a) ? mark_dirty(entry, a) : mark_clean(entry, a);
}

// The set of attributes that a flush with this option concerns.
inline uint64_t flush_mask(u32 option)
{
    switch (option) {
    case 1:
        return varn.config.med;
    case 2:
        return varn.config.crit;
    case 3:
        return varn.config.sync;
    default:
        return varn.config.low;
    }
}

// What was asked about: an iod, or where that is not known the number that was asked with. A miss
// without an entry has a null one.
inline void count_miss(attribute a, const u32 &of, const varn_if_entry_t *entry)
{
    ++varn.misses[a.slot];
    PROBE_MISS(a.bit, of, entry);
}

inline void count_hit(attribute a, const u32 &of, const varn_if_entry_t *entry)
{
    ++varn.hits[a.slot];
    PROBE_HIT(a.bit, of, entry);
}

inline void count_update(attribute a) { ++varn.updates[a.slot]; }

// The counters of one entry are one byte wide and wrap.
inline void count_up(uint8_t &counter) { counter = static_cast<uint8_t>(counter + 1); }
inline void count_down(uint8_t &counter) { counter = static_cast<uint8_t>(counter - 1); }

} // namespace ifcache

#endif
