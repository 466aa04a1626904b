// SPDX-License-Identifier: Apache-2.0
//
// The exported functions of a rival, made from its find, fill, insert and remove.
#pragma once

RIVAL_EXPORT void rival_fill(uint32_t count) { rival::fill(count); }
RIVAL_EXPORT void rival_insert(uint32_t iod) { rival::insert(iod); }
RIVAL_EXPORT void rival_remove(uint32_t iod) { rival::remove(iod); }
RIVAL_EXPORT uint32_t rival_is_linkup(uint32_t iod) { return rival::find(iod)->linkup; }
RIVAL_EXPORT uint32_t rival_is_protoup(uint32_t iod) { return rival::find(iod)->protoup; }
RIVAL_EXPORT uint32_t rival_is_switchport(uint32_t iod) { return rival::find(iod)->switchport; }
RIVAL_EXPORT uint32_t rival_get_if_mtu(uint32_t iod) { return rival::find(iod)->mtu; }
RIVAL_EXPORT uint32_t rival_get_if_encaptype(uint32_t iod) { return rival::find(iod)->encap; }
