// SPDX-License-Identifier: Apache-2.0
//
// One identifier for another; the first operational member of a port-channel.
#include "model.h"

namespace naive
{

entry *cache::entry_for_if(u32 if_index)
{
    return config.create_on_miss != 0 ? if_create_entry_by_if(if_index, 0, absent, absent)
                                      : if_table.find(if_index);
}

u32 cache::lifsvc_query_ifindex_to_lif(i32 if_index, u32 *lif)
{
    const u32 index = static_cast<u32>(if_index);
    entry *of = syncs(3) ? entry_for_if(index) : nullptr;
    if (of == nullptr) {
        ++count.misses[3];
        const event &answer = ask(::lifsvc_query_ifindex_to_lif, index);
        if (answer.written)
            *lif = static_cast<u32>(answer.out[0]);
        return static_cast<u32>(answer.result);
    }
    if (of->is_dirty(3)) {
        ++count.misses[3];
        ++count.lif_refreshes;
        return if_update_entry(of, 0) == 0 ? 0x41080003 : 0;
    }
    ++count.hits[3];
    return 0; // the lif is not written
}

u32 cache::lifsvc_query_lif_to_ifindex(i32 lif, u32 *if_index)
{
    const u32 number = static_cast<u32>(lif);
    entry *of = nullptr;
    if (syncs(3))
        of = config.create_on_miss != 0 ? if_create_entry_by_lif(number) : lif_table.find(number);
    if (of == nullptr) {
        ++count.misses[3];
        const event &answer = ask(::lifsvc_query_lif_to_ifindex, number);
        if (answer.written)
            *if_index = static_cast<u32>(answer.out[0]);
        return static_cast<u32>(answer.result);
    }
    if (of->is_dirty(3)) {
        ++count.misses[3];
        ++count.lif_refreshes;
        if (if_update_entry(of, 0) == 0)
            return 0x41080003;
    } else {
        ++count.hits[3];
    }
    *if_index = of->if_index;
    return 0;
}

u32 cache::idxsvc_lib_ifidx_to_di(i32 if_index, u32 *di)
{
    const u32 index = static_cast<u32>(if_index);
    entry *of = syncs(2) ? entry_for_if(index) : nullptr;
    if (of == nullptr) {
        ++count.misses[2];
        const event &answer = ask(::idxsvc_lib_ifidx_to_di, index);
        if (answer.written)
            *di = static_cast<u32>(answer.out[0]);
        return static_cast<u32>(answer.result);
    }
    if (of->is_dirty(2)) {
        ++count.misses[2];
        ++count.pi_refreshes;
        if (if_update_entry(of, 0) == 0)
            return 0x40e00002;
    } else {
        ++count.hits[2];
    }
    *di = of->pi;
    return 0;
}

u32 cache::idxsvc_lib_si_to_ifidx(i32 si, u32 *if_index)
{
    const u32 number = static_cast<u32>(si);
    entry *of = nullptr;
    if (syncs(2))
        of = config.create_on_miss != 0 ? if_create_entry_by_pi(number) : pi_table.find(number);
    if (of == nullptr) {
        ++count.misses[2];
        const event &answer = ask(::idxsvc_lib_si_to_ifidx, number);
        if (answer.written)
            *if_index = static_cast<u32>(answer.out[0]);
        return static_cast<u32>(answer.result);
    }
    if (of->is_dirty(2)) {
        ++count.misses[2];
        ++count.pi_refreshes;
        if (if_update_entry(of, 0) == 0)
            return 0x40e00002;
    } else {
        ++count.hits[2];
    }
    *if_index = of->if_index;
    return 0;
}

// ---- port mode ----

u32 cache::ask_port_mode(u32 if_index, u32 *mode)
{
    const event &answer = ask(ifsvc_get_ifindex_port_mode_list, if_index, 1, 1);
    *mode = answer.written ? static_cast<u32>(answer.out[0]) : 0;
    return static_cast<u32>(answer.result);
}

u32 cache::portsvc_gldb_get_ifindex_port_mode(u32 if_index, u32 *mode)
{
    entry *of = syncs(21) ? entry_for_if(if_index) : nullptr;
    if (of == nullptr) {
        ++count.misses[20];
        return ask_port_mode(if_index, mode);
    }
    if (of->is_dirty(21)) {
        ++count.misses[20];
        const event &typed = ask(if_index_get_type, if_index);
        if (typed.result != 0) {
            report("varn_portsvc_gldb_get_ifindex_port_mode", " Invalid interface index 0x%x\n",
                   if_index);
            return 0x40290000;
        }
        of->ips = false;
        if (typed.out[0] == 26) {
            ask_port_mode(if_index, mode);
            of->ips = true;
        }
        of->clear_dirty(21);
    } else {
        ++count.hits[20];
    }
    *mode = of->ips ? 0x200 : 0;
    return 0;
}

// ---- everything about a port index ----

void cache::fill_l2_info(u32 if_index, u32 *iod, u32 *linkup, u16 *encap, u32 *switchport,
                         u32 *switching, u32 *protoup, u32 *private_data_out)
{
    ifsvc_get_iod_frm_ifindex(if_index, iod);
    *linkup = ifsvc_is_linkup(*iod);
    *encap = static_cast<u16>(ifsvc_get_if_encaptype(*iod));
    *switchport = ifsvc_is_switchport(*iod);
    *switching = ifsvc_is_switching_enabled_on_iod(*iod);
    *protoup = ifsvc_is_protoup(*iod);
    u32 size = 0;
    *private_data_out = static_cast<u32>(ifsvc_get_private_data(*iod, config.uuid, &size));
}

u32 cache::get_if_l2_info_by_pi(u32 pi, u32 *if_index, u32 *iod, u32 *linkup, u16 *encap,
                                u32 *switchport, u32 *switching, u32 *protoup,
                                u32 *private_data_out)
{
    const auto fill = [&] {
        fill_l2_info(*if_index, iod, linkup, encap, switchport, switching, protoup,
                     private_data_out);
    };
    if (enabled == 0) {
        const u32 code = idxsvc_lib_si_to_ifidx(static_cast<i32>(pi), if_index);
        if (code == 0)
            fill();
        return code;
    }
    entry *of = config.create_on_miss != 0 ? if_create_entry_by_pi(pi) : pi_table.find(pi);
    if (of == nullptr) {
        ++count.misses[2];
        const event &answer = ask(::idxsvc_lib_si_to_ifidx, pi);
        if (answer.result == 0) {
            *if_index = static_cast<u32>(answer.out[0]);
            fill();
        }
        return static_cast<u32>(answer.result);
    }
    ++(of->is_dirty(2) ? count.misses[2] : count.hits[2]);
    if (of->is_dirty(2)) {
        ++count.pi_refreshes;
        if (if_update_entry(of, 0) == 0)
            return 0x40e00002;
    }
    update_l2_values(of);
    *if_index = of->if_index;
    *iod = of->iod;
    *linkup = of->linkup;
    *protoup = of->protoup;
    *encap = of->encap;
    *switchport = of->switchport;
    *switching = of->switching;
    *private_data_out = of->extn[0];
    return 0;
}

// What is dirty is asked again; switchport and switching stay dirty.
void cache::update_l2_values(entry *of)
{
    if (of->is_dirty(17)) {
        of->linkup = flag(::ifsvc_is_linkup, of->iod);
        ++count.updates[15];
        of->clear_dirty(17);
    }
    if (of->is_dirty(18)) {
        of->protoup = flag(::ifsvc_is_protoup, of->iod);
        ++count.updates[16];
        of->clear_dirty(18);
    }
    if (of->is_dirty(4)) {
        of->encap = static_cast<u16>(fact(::ifsvc_get_if_encaptype, of->iod));
        ++count.updates[5];
        of->set_dirty_to(4, of->encap == 0);
    }
    if (of->is_dirty(15)) {
        ++count.updates[13];
        of->switchport = flag(::ifsvc_is_switchport, of->iod);
    }
    if (of->is_dirty(16)) {
        ++count.updates[14];
        of->switching = flag(::ifsvc_is_switching_enabled_on_iod, of->iod);
    }
    if (of->is_dirty(5)) {
        ++count.misses[6];
        const uintptr_t data = private_data(of->iod, config.uuid, &of->extn_size[0]);
        of->extn[0] = config.extn_decode[0] != nullptr ? decoded(0, data, of->extn_size[0])
                                                       : static_cast<u32>(data);
    } else {
        ++count.hits[6];
    }
    apply_reading_rule(of, 0);
}

// ---- first operational member ----

u32 cache::ask_fop(u32 pc_ifindex, u32 *member)
{
    const event &answer = ask(aggsvc_get_pc_info, pc_ifindex);
    if (answer.result != 0)
        return static_cast<u32>(answer.result);
    if (answer.out[0] == 0)
        return 0x40e30001;
    *member = static_cast<u32>(answer.out[0]);
    return 0;
}

u32 cache::aggsvc_get_fop(u32 pc_ifindex, u32 *member)
{
    entry *of = syncs(27) ? entry_for_if(pc_ifindex) : nullptr;
    if (of != nullptr && !of->is_dirty(27) && of->aggsvc_if != 0) {
        ++count.hits[22];
        *member = of->aggsvc_if;
        return 0;
    }
    ++count.misses[22];
    const u32 code = ask_fop(pc_ifindex, member);
    if (code == 0 && of != nullptr) {
        of->aggsvc_if = *member;
        of->clear_dirty(27);
    }
    return code;
}

} // namespace naive
