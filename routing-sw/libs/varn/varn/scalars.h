// SPDX-License-Identifier: Apache-2.0
//
// One row for each attribute that is one number asked for by iod: which attribute it is, whom to
// ask, how the entry keeps it. The cached queries and the refresh read the same rows. How each of
// them treats a fetched zero is told at the one place where it does so: a query looks at the row's
// when_zero, a refresh has two verbs of its own.
#ifndef VARN_SCALARS_H
#define VARN_SCALARS_H

#include "attributes.h"
#include "ifsvc.h"
#include "vrfsvc.h"

namespace ifcache
{

enum class zero { is_an_answer, asks_again };

struct scalar {
    attribute id;
    u32 (*ask)(u32 iod);
    u32 (*load)(const varn_if_entry_t &entry);
    void (*store)(varn_if_entry_t &entry, u32 answer); // a flag keeps the low bit
    u32 (*pass)(u32 answer); // shapes an answer that does not come from the cache
    zero when_zero;          // what a query makes of a zero that it fetched
};

constexpr u32 unchanged(u32 answer) { return answer; }
constexpr u32 low_16_bits(u32 answer) { return answer & 0xFFFF; }

inline constexpr scalar switchport{
    .id = {VARN_BIT_SWITCHPORT, VARN_SLOT_SWITCHPORT},
    .ask = ifsvc_is_switchport,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.switchport; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.switchport = answer & 1; },
    .pass = unchanged,
    .when_zero = zero::is_an_answer,
};

inline constexpr scalar switching{
    .id = {VARN_BIT_SWITCHING, VARN_SLOT_SWITCHING},
    .ask = ifsvc_is_switching_enabled_on_iod,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.switching; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.switching = answer & 1; },
    .pass = unchanged,
    .when_zero = zero::is_an_answer,
};

inline constexpr scalar linkup{
    .id = {VARN_BIT_LINKUP, VARN_SLOT_LINKUP},
    .ask = ifsvc_is_linkup,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.linkup; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.linkup = answer & 1; },
    .pass = unchanged,
    .when_zero = zero::is_an_answer,
};

inline constexpr scalar protoup{
    .id = {VARN_BIT_PROTOUP, VARN_SLOT_PROTOUP},
    .ask = ifsvc_is_protoup,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.protoup; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.protoup = answer & 1; },
    .pass = unchanged,
    .when_zero = zero::is_an_answer,
};

inline constexpr scalar ethernet{
    .id = {VARN_BIT_ETHERNET, VARN_SLOT_ETHERNET},
    .ask = ifsvc_is_ethernet,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.ethernet; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.ethernet = answer & 1; },
    .pass = unchanged,
    .when_zero = zero::is_an_answer,
};

inline constexpr scalar is_vlan{
    .id = {VARN_BIT_IS_VLAN, VARN_SLOT_IS_VLAN},
    .ask = ifsvc_is_vlan,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.is_vlan; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.is_vlan = answer & 1; },
    .pass = unchanged,
    .when_zero = zero::is_an_answer,
};

inline constexpr scalar null0{
    .id = {VARN_BIT_NULL, VARN_SLOT_NULL},
    .ask = ifsvc_is_null0,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.null; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.null = answer & 1; },
    .pass = unchanged,
    .when_zero = zero::is_an_answer,
};

inline constexpr scalar p2p{
    .id = {VARN_BIT_P2P, VARN_SLOT_P2P},
    .ask = ifsvc_is_native_p2p,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.p2p; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.p2p = answer & 1; },
    .pass = unchanged,
    .when_zero = zero::is_an_answer,
};

inline constexpr scalar loopback{
    .id = {VARN_BIT_LOOPBACK, VARN_SLOT_LOOPBACK},
    .ask = ifsvc_is_loopback,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.loopback; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.loopback = answer & 1; },
    .pass = unchanged,
    .when_zero = zero::is_an_answer,
};

inline constexpr scalar mvpn{
    .id = {VARN_BIT_MVPN, VARN_SLOT_MVPN},
    .ask = ifsvc_is_mvpn_tunnel,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.mvpn; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.mvpn = answer & 1; },
    .pass = unchanged,
    .when_zero = zero::is_an_answer,
};

// Deliberate: a zero MTU that a query fetched is an answer, one that a refresh fetched is not.
inline constexpr scalar mtu{
    .id = {VARN_BIT_MTU, VARN_SLOT_MTU},
    .ask = ifsvc_get_if_mtu,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.mtu; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.mtu = static_cast<uint16_t>(answer); },
    .pass = low_16_bits,
    .when_zero = zero::is_an_answer,
};

inline constexpr scalar encap{
    .id = {VARN_BIT_ENCAP, VARN_SLOT_ENCAP},
    .ask = ifsvc_get_if_encaptype,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.encap; },
    .store = [](varn_if_entry_t &entry,
                u32 answer) { entry.encap = static_cast<uint16_t>(answer); },
    .pass = low_16_bits,
    .when_zero = zero::asks_again,
};

// The last two are fetched by the refresh only.
inline constexpr scalar context{
    .id = {VARN_BIT_CONTEXT, VARN_SLOT_CONTEXT},
    .ask = vrfsvc_if_get_context_id,
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.context_id; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.context_id = answer; },
    .pass = unchanged,
    .when_zero = zero::asks_again,
};

inline constexpr scalar base_tid{
    .id = {VARN_BIT_BASE_TID, VARN_SLOT_BASE_TID},
    .ask = [](u32 iod) -> u32 { return vrfsvc_if_get_table_id(iod, 1, "base"); },
    .load = [](const varn_if_entry_t &entry) -> u32 { return entry.base_tid; },
    .store = [](varn_if_entry_t &entry, u32 answer) { entry.base_tid = answer; },
    .pass = unchanged,
    .when_zero = zero::asks_again,
};

// Asks for the attribute, stores the answer and counts an update. The dirty bit is left alone.
void update(const scalar &row, varn_if_entry_t &entry, u32 iod);

// The same, and the dirty bit is cleared whatever the answer.
void update_and_clean(const scalar &row, varn_if_entry_t &entry, u32 iod);

// What a refresh makes of a dirty attribute: a flag is clean afterwards, a value only when it is
// not zero.
void refresh_flag(const scalar &row, varn_if_entry_t &entry);
void refresh_value(const scalar &row, varn_if_entry_t &entry);

} // namespace ifcache

#endif
