// SPDX-License-Identifier: Apache-2.0
//
// The refresh of one entry, in the order of its steps.
#include "model_tables.h"

namespace naive
{

u32 cache::if_update_entry(entry *of, u32 is_new)
{
    if (enabled == 0 || of == nullptr)
        return 0;
    trace("Varn-update for if-index 0x%x, iod %d\n", of->if_index, static_cast<int>(of->iod));
    const event &typed = ask(if_index_get_type, of->if_index);
    if (typed.result != 0) {
        report("varn_if_update_entry", "Invalid interface index 0x%x\n", of->if_index);
        return 0;
    }
    const u8 type = static_cast<u8>(typed.out[0]);
    if (is_new == 0 && of->is_dirty(1) && !iod_still_holds(of))
        return 0;
    if (of->is_dirty(2))
        refresh_pi(of, is_new != 0, type);
    if (of->is_dirty(3))
        refresh_lif(of, is_new != 0);
    refresh_values(of, type);
    for (const unsigned bit : {30u, 31u, 32u})
        of->clear_dirty(bit);
    return 1;
}

bool cache::iod_still_holds(entry *of)
{
    ++count.updates[1];
    const event &answer = ask(::ifsvc_get_iod_frm_ifindex, of->if_index);
    const u32 iod = answer.result == 0 ? static_cast<u32>(answer.out[0]) : 0;
    if (answer.result == 0 && iod == of->iod)
        return true;
    report("varn_if_update_entry",
           "If->iod mapping changed for if-index 0x%x, entry->iod=%d, iod=%d, err: 0x%x\n",
           of->if_index, static_cast<int>(of->iod), static_cast<int>(iod),
           static_cast<u32>(answer.result));
    ++of->iod_remaps;
    if_remove_entry_by_iod(iod);
    ++count.iod_remaps;
    return false;
}

void cache::refresh_pi(entry *of, bool is_new, u8 type)
{
    u32 pi = absent;
    if (type == 9) {
        of->clear_dirty(2);
    } else {
        const event &answer = ask(::idxsvc_lib_ifidx_to_di, of->if_index);
        ++count.updates[2];
        pi = answer.result == 0 ? static_cast<u32>(answer.out[0]) : absent;
    }
    if (!is_new && pi != absent && pi == of->pi) {
        of->clear_dirty(2);
        return;
    }
    if (of->pi == pi)
        return;
    if (!is_new)
        trace("If->pi mapping changed for if-index 0x%x, entry->pi=%d, pi=%d, port_index=%d\n",
              of->if_index, static_cast<int>(of->iod), static_cast<int>(of->pi),
              static_cast<int>(pi));
    refile_pi(of, pi);
}

void cache::refile_pi(entry *of, u32 pi)
{
    const int iod = static_cast<int>(of->iod);
    entry *other = pi == absent ? nullptr : pi_table.find(pi);
    if (other != nullptr && other != of) {
        trace("Removing stale pi entry for if-index 0x%x, iod %d, pi 0x%x  for if-index 0x%x, iod "
              "%d\n",
              other->if_index, static_cast<int>(other->iod), pi, of->if_index, iod);
        pi_delete_entry(other);
        ++count.pi_remaps;
        ++of->pi_remaps;
    }
    if (of->pi != absent) {
        trace("Removing stale entry for if-index 0x%x, iod %d, pi 0x%x  for new port-index 0x%x\n",
              of->if_index, iod, of->pi, pi);
        pi_delete_entry(of);
        ++count.pi_remaps;
        ++of->pi_remaps;
    }
    if (pi == absent)
        return;
    trace("Creating pi entry for if-index 0x%x, iod %d, pi 0x%x\n", of->if_index, iod, pi);
    of->pi = pi;
    if (pi_insert_entry(of) != 0) {
        of->clear_dirty(2);
        return;
    }
    report("varn_if_update_entry", "Pi-insert for if-index 0x%x, iod %d, pi %d failed\n",
           of->if_index, iod, static_cast<int>(pi));
    of->pi = absent;
}

void cache::refresh_lif(entry *of, bool is_new)
{
    const event &answer = ask(::lifsvc_query_ifindex_to_lif, of->if_index);
    ++count.updates[3];
    const u32 lif = answer.result == 0 ? static_cast<u32>(answer.out[0]) : absent;
    if (!is_new && lif == of->lif) { // also when there is none, unlike a pi
        of->clear_dirty(3);
        trace("lif same as lifsvc's value, clear dirty bit\n");
        return;
    }
    if (of->lif == lif)
        return;
    if (!is_new)
        trace("If->lif mapping changed for if-index 0x%x, entry->iod=%d, lif=0x%x\n", of->if_index,
              static_cast<int>(of->iod), lif);
    refile_lif(of, lif);
}

void cache::refile_lif(entry *of, u32 lif)
{
    const int iod = static_cast<int>(of->iod);
    entry *other = lif == absent ? nullptr : lif_table.find(lif);
    if (other != nullptr && other != of) {
        trace("Removing stale lif entry for if-index 0x%x, iod %d, lif 0x%x  for if-index 0x%x, "
              "iod %d\n",
              other->if_index, static_cast<int>(other->iod), lif, of->if_index, iod);
        lif_delete_entry(other);
        ++count.lif_remaps;
        ++of->lif_remaps;
    }
    if (of->lif != absent) {
        trace("Removing stale lif entry for if-index 0x%x, iod %d, lif 0x%x  for new port-index "
              "0x%x\n",
              of->if_index, iod, of->lif, lif);
        lif_delete_entry(of);
        ++count.lif_remaps;
        ++of->lif_remaps;
    }
    if (lif == absent)
        return;
    trace("Creating lif entry for if-index 0x%x, iod %d, lif 0x%x\n", of->if_index, iod, lif);
    of->lif = lif;
    if (lif_insert_entry(of) != 0) {
        of->clear_dirty(3);
        return;
    }
    report("varn_if_update_entry", "Lif-insert for if-index 0x%x, iod %d, lif %d failed\n",
           of->if_index, iod, static_cast<int>(lif));
    of->lif = absent;
}

// ---- the values, in their order; each is asked with the entry's iod ----

void cache::refresh_member(entry *of, u8 type)
{
    u32 member = 0;
    if (type == 22) {
        ++count.updates[22];
        const event &answer = ask(aggsvc_get_pc_info, of->if_index);
        member = answer.result == 0 ? static_cast<u32>(answer.out[0]) : 0;
    }
    if (member != 0)
        of->aggsvc_if = member;
    if (member != 0 || type != 22)
        of->clear_dirty(27);
}

void cache::refresh_values(entry *of, u8 type)
{
    const u32 iod = of->iod;
    if (of->is_dirty(27))
        refresh_member(of, type);
    if (of->is_dirty(15)) {
        of->switchport = flag(::ifsvc_is_switchport, iod);
        of->clear_dirty(15);
        ++count.updates[13];
    }
    if (of->is_dirty(17)) {
        of->linkup = flag(::ifsvc_is_linkup, iod);
        of->clear_dirty(17);
        ++count.updates[15];
    }
    if (of->is_dirty(18)) {
        of->protoup = flag(::ifsvc_is_protoup, iod);
        of->clear_dirty(18);
        ++count.updates[16];
    }
    if (of->is_dirty(4)) {
        of->encap = static_cast<u16>(fact(::ifsvc_get_if_encaptype, iod));
        of->set_dirty_to(4, of->encap == 0);
        ++count.updates[5];
    }
    if (of->is_dirty(16)) {
        of->switching = flag(::ifsvc_is_switching_enabled_on_iod, iod);
        of->clear_dirty(16);
        ++count.updates[14];
    }
    refresh_extensions(of);
    refresh_rest(of, type);
}

void cache::refresh_extensions(entry *of)
{
    for (unsigned slot = 0; slot < 4; ++slot) {
        if (!of->is_dirty(5 + slot) || !syncs(5 + slot))
            continue;
        of->extn[slot] = fetch_extension(of, slot);
        of->set_dirty_to(5 + slot, of->extn[slot] == 0);
        ++count.updates[6 + slot];
    }
}

// With the slot's own key: decoded private data, or the value as the service has it.
u32 cache::fetch_extension(entry *of, unsigned slot)
{
    const u32 key = slot == 0 ? config.uuid : config.extn_uuid[slot - 1];
    if (config.extn_decode[slot] == nullptr)
        return static_cast<u32>(ask(::ifsvc_get_extension, of->iod, key).result);
    const uintptr_t data = private_data(of->iod, key, &of->extn_size[slot]);
    return decoded(slot, data, of->extn_size[slot]);
}

void cache::refresh_mac(entry *of)
{
    if (!of->is_dirty(9))
        return;
    get_if_src_mac_addr(of->iod);
    of->mac = mac_buffer;
    of->set_dirty_to(9, of->mac == mac_bytes{});
    ++count.updates[4];
}

void cache::refresh_context(entry *of)
{
    if (of->is_dirty(11)) {
        of->context_id = static_cast<u32>(ask(vrfsvc_if_get_context_id, of->iod).result);
        of->set_dirty_to(11, of->context_id == 0);
        ++count.updates[10];
    }
    if (of->is_dirty(12)) {
        of->base_tid =
            static_cast<u32>(ask_about(vrfsvc_if_get_table_id, "base", of->iod, 1).result);
        of->set_dirty_to(12, of->base_tid == 0);
        ++count.updates[11];
    }
}

void cache::refresh_rest(entry *of, u8 type)
{
    const u32 iod = of->iod;
    refresh_mac(of);
    const auto refresh_flag = [&](unsigned bit, unsigned slot, u32 (*service)(u32), bool &value) {
        if (!of->is_dirty(bit))
            return;
        value = flag(service, iod);
        of->clear_dirty(bit);
        ++count.updates[slot];
    };
    refresh_flag(19, 17, ::ifsvc_is_ethernet, of->ethernet);
    refresh_flag(24, 26, ::ifsvc_is_loopback, of->loopback);
    refresh_flag(23, 27, ::ifsvc_is_native_p2p, of->p2p);
    refresh_flag(22, 21, ::ifsvc_is_null0, of->null);
    refresh_context(of);
    if (of->is_dirty(21) && type == 26) {
        ask(ifsvc_get_ifindex_port_mode_list, of->if_index, 1, 1);
        of->ips = true;
        of->clear_dirty(21);
        ++count.updates[20];
    }
    if (of->is_dirty(10))
        refresh_vlan(of);
    if (of->is_dirty(13)) {
        of->mtu = static_cast<u16>(fact(::ifsvc_get_if_mtu, iod));
        of->set_dirty_to(13, of->mtu == 0);
        ++count.updates[12];
    }
}

// The service is asked twice whether this is a VLAN: once for the flag, once for the road to take.
void cache::refresh_vlan(entry *of)
{
    of->is_vlan = flag(::ifsvc_is_vlan, of->iod);
    if (fact(::ifsvc_is_vlan, of->iod) != 0) {
        of->vlan = static_cast<u16>(fact(::ifsvc_get_if_vlanid, of->iod));
        if (of->is_dirty(29))
            of->aggsvc_if = fact(ifsvc_get_sub_interface_parent, of->iod);
    } else if (fact(::ifsvc_is_switchport, of->iod) != 0) {
        const event &answer = ask(::ifsvc_get_vlan_info, of->iod);
        if (answer.result == 1) {
            of->vlan = static_cast<u16>(answer.out[0]);
            of->port_mode = static_cast<u32>(answer.out[1]);
        }
    }
    of->clear_dirty(10);
    ++count.updates[19];
}

const u8 *cache::get_if_src_mac_addr(u32 iod)
{
    mac_buffer = {};
    const event &answer = ask(ifsvc_get_if_src_mac_addr, iod);
    if (answer.written)
        for (unsigned at = 0; at < 6; ++at)
            mac_buffer[at] = static_cast<u8>(answer.out[0] >> (8 * at));
    return mac_buffer.data();
}

u32 cache::if_update_if(u32 if_index)
{
    entry *found = enabled == 0 ? nullptr : if_table.find(if_index);
    if (found == nullptr)
        return 0;
    ++count.if_refreshes;
    return if_update_entry(found, 0);
}

u32 cache::ifsvc_get_iod_frm_ifindex(u32 if_index, u32 *iod)
{
    entry *found = syncs(1) ? if_table.find(if_index) : nullptr;
    if (found == nullptr) {
        ++count.misses[1];
        const event &answer = ask(::ifsvc_get_iod_frm_ifindex, if_index);
        if (answer.written)
            *iod = static_cast<u32>(answer.out[0]);
        return static_cast<u32>(answer.result);
    }
    if (found->is_dirty(1)) {
        ++count.misses[1];
        ++count.iod_refreshes;
        if (if_update_entry(found, 0) == 0)
            return 0x40E30001;
    } else {
        ++count.hits[1];
    }
    *iod = found->iod;
    return 0;
}

} // namespace naive
