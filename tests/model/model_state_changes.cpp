// SPDX-License-Identifier: Apache-2.0
//
// The handlers of state changes, and of the first operational member.
#include "model.h"

#include <endian.h>

namespace naive
{

bool cache::type_of(u32 if_index, const char *function, u8 *type, u32 *error)
{
    const event &typed = ask(if_index_get_type, if_index);
    *error = static_cast<u32>(typed.result);
    *type = static_cast<u8>(typed.out[0]);
    if (typed.result == 0)
        return true;
    report(function, " Invalid interface index 0x%x\n", if_index);
    return false;
}

u32 cache::update_phy_state(const varn_phy_update_t *u)
{
    if (enabled == 0)
        return 0;
    ++count.phy;
    if (syncs(33))
        pc_invalidate_entry_by_phy_if(u->if_index);
    entry *of = iod_table.find(u->iod);
    const std::string name = name_of(u->iod);
    trace("Interface %s (iod %d): entry 0x%x, state %d\n", name.c_str(), static_cast<int>(u->iod),
          of == nullptr ? 0 : static_cast<u32>(reinterpret_cast<std::uintptr_t>(of->at)), u->state);
    if (u->state == 2 && of == nullptr)
        return 0;
    if (u->state == 2) {
        trace("Deleting varn entry for if-iod %d on phy-change.\n", static_cast<int>(u->iod));
        if_remove_entry_by_iod(u->iod);
    } else if (of == nullptr) {
        trace("Creating varn entry for if-iod %d on phy-change.\n", static_cast<int>(u->iod));
        if_create_entry_by_iod(u->iod);
    } else {
        of->linkup = true; // trusted; the dirty bit stays
    }
    return 1;
}

void cache::update_link_and_protocol(entry *of, u32 iod)
{
    of->linkup = flag(::ifsvc_is_linkup, iod);
    of->clear_dirty(17);
    ++count.updates[15];
    of->protoup = flag(::ifsvc_is_protoup, iod);
    of->clear_dirty(18);
    ++count.updates[16];
}

// What an L2 record says, and what it makes ask; no dirty bit is touched.
void cache::take_l2_values(entry *of, const varn_l2_update_t *u)
{
    if (syncs(9)) {
        ++count.updates[4];
        std::copy_n(u->mac, 6, of->mac.begin());
    }
    if (syncs(13)) {
        ++count.updates[12];
        of->mtu = static_cast<u16>(u->mtu);
    }
    if (u->vlan_present != 0 && syncs(10)) {
        ++count.updates[19];
        of->vlan = static_cast<u16>((u->flags & 0x10) != 0 ? u->vlan_a : u->vlan_b);
    }
    if (syncs(15)) {
        ++count.updates[13];
        of->switchport = flag(::ifsvc_is_switchport, u->iod);
    }
    if (syncs(16)) {
        ++count.updates[14];
        of->switching = flag(::ifsvc_is_switching_enabled_on_iod, u->iod);
    }
}

void cache::refetch_pi_and_lif(entry *of)
{
    of->set_dirty_to(2, syncs(2));
    of->set_dirty_to(3, syncs(3));
    if_update_entry(of, 0);
}

i32 cache::update_l2_state(const varn_l2_update_t *u)
{
    if (enabled == 0)
        return -1;
    ++count.l2;
    u8 type = 0;
    u32 error = 0;
    if (!type_of(u->if_index, "varn_update_l2_state", &type, &error))
        return static_cast<i32>(error);
    const std::string name = name_of(u->iod);
    trace("L2 protocol-change update for interface %s (iod %d)\n", name.c_str(),
          static_cast<int>(u->iod));
    entry *of = iod_table.find(u->iod);
    if (of == nullptr)
        return -1;
    if (u->state == 2) {
        of->linkup = of->protoup = false;
        of->clear_dirty(17);
        of->clear_dirty(18);
        return 0;
    }
    if (type == 26) {
        of->protoup = flag(::ifsvc_is_protoup, u->iod);
        of->clear_dirty(18);
        ++count.updates[16];
    } else {
        update_link_and_protocol(of, u->iod);
    }
    take_l2_values(of, u);
    if (type == 9 || type == 22)
        refetch_pi_and_lif(of);
    if (syncs(33) && type == 22)
        pc_invalidate(u->if_index);
    return 0;
}

// The record's iod, filled in where it is not known.
u32 cache::resolve_iod(varn_l3_update_t *u)
{
    if (u->iod != 0)
        return 0;
    const event &answer = ask(::ifsvc_get_iod_frm_ifindex, u->if_index);
    const u32 code = static_cast<u32>(answer.result);
    if (code == 0)
        u->iod = static_cast<u32>(answer.out[0]);
    else
        report("varn_update_l3_state",
               "ifsvc_get_iod_frm_ifindex failed for if-index 0x%x, err: 0x%x\n", u->if_index,
               code);
    return code;
}

i32 cache::update_l3_state(varn_l3_update_t *u)
{
    if (enabled == 0)
        return -1;
    u8 type = 0;
    u32 error = 0;
    if (!type_of(u->if_index, "varn_update_l3_state", &type, &error))
        return static_cast<i32>(error);
    if (error = resolve_iod(u); error != 0)
        return static_cast<i32>(error);
    ++count.l3;
    const std::string name = name_of(u->iod);
    const int iod = static_cast<int>(u->iod);
    trace("L3 Protocol-change update for interface %s (iod %d)\n", name.c_str(), iod);
    entry *of = iod_table.find(u->iod);
    if (of == nullptr)
        return create_on_l3_up(u);
    if (config.track_l3 != 0 && u->state != 1) {
        trace("Removing varn entry for if-iod %d on l3-change.\n", iod);
        if_remove_entry_by_iod(u->iod);
        return 0;
    }
    update_link_and_protocol(of, u->iod);
    take_l3_values(of, u, type);
    if (type == 9 || type == 22)
        refetch_pi_and_lif(of);
    if (syncs(33) && type == 22)
        pc_invalidate(u->if_index);
    return 0;
}

i32 cache::create_on_l3_up(const varn_l3_update_t *u)
{
    const int iod = static_cast<int>(u->iod);
    if (config.track_l3 != 0 && u->state == 1) {
        trace("Creating varn entry for if-iod %d on l3-change.\n", iod);
        if_create_entry_by_iod(u->iod);
        return 0;
    }
    trace("Not creating cache entry for if-iod %d on l3-change, %d, state: %d\n", iod,
          static_cast<int>(config.track_l3), u->state);
    return -1;
}

void cache::take_l3_values(entry *of, const varn_l3_update_t *u, u8 type)
{
    if (syncs(9)) {
        ++count.updates[4];
        get_if_src_mac_addr(u->iod);
        of->mac = mac_buffer;
    }
    if (syncs(15)) {
        ++count.updates[13];
        of->switchport = flag(::ifsvc_is_switchport, u->iod);
    }
    if (syncs(13) && type != 24) {
        of->mtu = static_cast<u16>(u->mtu);
        ++count.updates[12];
    }
    if (u->state != 1)
        return;
    if (type == 5)
        of->set_dirty(9);
    ifsvc_get_if_mac_addr(u->iod);
    ifsvc_get_if_encaptype(u->iod);
    of->set_dirty(19);
    ifsvc_is_ethernet(u->iod);
}

u32 cache::update_aggsvc_fop(const varn_fop_update_t *u)
{
    if (enabled == 0)
        return 0;
    ++count.aggsvc;
    const u32 pc = be32toh(u->pc_ifindex);
    const u32 before = be32toh(u->old_member);
    const u32 now = be32toh(u->new_member);
    const std::string name = ask(ifsvc_get_ifindex_name, pc, 255).answer;
    trace("AGGSVC First-Op-member for interface %s (if 0x%x) From 0x%x to 0x%x\n", name.c_str(), pc,
          before, now);
    entry *of = if_table.find(pc);
    if (of == nullptr)
        return take_first_fop(pc, name, before, now);
    if (now == 0) {
        trace("AGGSVC varn entry removed for interface %s (if 0x%x) during change from 0x%x to "
              "0x%x\n",
              name.c_str(), pc, before, now);
        if_remove_entry_by_if(pc);
        return 1;
    }
    of->set_dirty_to(2, syncs(2));
    of->set_dirty_to(3, syncs(3));
    ++count.updates[22];
    of->aggsvc_if = now;
    of->clear_dirty(27);
    if_update_entry(of, 0);
    return 1;
}

// Without an entry: one is created where there was no member before.
u32 cache::take_first_fop(u32 pc, const std::string &name, u32 before, u32 now)
{
    if (before != 0) {
        trace("AGGSVC varn entry not found for interface %s (if 0x%x) during change from 0x%x to "
              "0x%x\n",
              name.c_str(), pc, before, now);
        return 0;
    }
    trace("Creating varn entry for if-index 0x%x on aggsvc-fop", pc);
    entry *of = if_create_entry_by_if(pc, 0, absent, absent);
    if (of == nullptr)
        return 0;
    ++count.updates[22];
    of->aggsvc_if = now;
    of->clear_dirty(27);
    return 1;
}

} // namespace naive
