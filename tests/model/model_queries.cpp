// SPDX-License-Identifier: Apache-2.0
//
// The cached queries.
#include "model.h"

namespace naive
{

// ---- yes or no ----

u32 cache::cached_flag(u32 iod, unsigned bit, unsigned slot, u32 (*service)(u32),
                       bool entry::*field)
{
    entry *of = syncs(1) && syncs(bit) ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[slot];
        return fact(service, iod);
    }
    if (of->is_dirty(bit)) {
        ++count.misses[slot];
        of->*field = flag(service, iod);
        of->clear_dirty(bit);
    } else {
        ++count.hits[slot];
    }
    return of->*field;
}

u32 cache::ifsvc_is_linkup(u32 iod)
{
    return cached_flag(iod, 17, 15, ::ifsvc_is_linkup, &entry::linkup);
}
u32 cache::ifsvc_is_protoup(u32 iod)
{
    return cached_flag(iod, 18, 16, ::ifsvc_is_protoup, &entry::protoup);
}
u32 cache::ifsvc_is_switchport(u32 iod)
{
    return cached_flag(iod, 15, 13, ::ifsvc_is_switchport, &entry::switchport);
}
u32 cache::ifsvc_is_switching_enabled_on_iod(u32 iod)
{
    return cached_flag(iod, 16, 14, ::ifsvc_is_switching_enabled_on_iod, &entry::switching);
}
u32 cache::ifsvc_is_ethernet(u32 iod)
{
    return cached_flag(iod, 19, 17, ::ifsvc_is_ethernet, &entry::ethernet);
}
u32 cache::ifsvc_is_vlan(u32 iod)
{
    return cached_flag(iod, 20, 18, ::ifsvc_is_vlan, &entry::is_vlan);
}
u32 cache::ifsvc_is_null0(u32 iod)
{
    return cached_flag(iod, 22, 21, ::ifsvc_is_null0, &entry::null);
}
u32 cache::ifsvc_is_native_p2p(u32 iod)
{
    return cached_flag(iod, 23, 27, ::ifsvc_is_native_p2p, &entry::p2p);
}
u32 cache::ifsvc_is_loopback(u32 iod)
{
    return cached_flag(iod, 24, 26, ::ifsvc_is_loopback, &entry::loopback);
}
u32 cache::ifsvc_is_mvpn_tunnel(u32 iod)
{
    return cached_flag(iod, 26, 31, ::ifsvc_is_mvpn_tunnel, &entry::mvpn);
}

u32 cache::is_of_type(u32 iod, u8 type, u32 (*service)(u32))
{
    const entry *of = syncs(1) && syncs(25) ? find_entry_by_iod(iod) : nullptr;
    if (of != nullptr)
        return of->if_type == type;
    ++count.misses[28];
    return fact(service, iod);
}

u32 cache::ifsvc_is_gre_tunnel(u32 iod) { return is_of_type(iod, 24, ::ifsvc_is_gre_tunnel); }
u32 cache::ifsvc_is_super_802_3ad(u32 iod) { return is_of_type(iod, 22, ::ifsvc_is_super_802_3ad); }
u32 cache::ifsvc_is_cbus(u32 iod) { return is_of_type(iod, 7, ::ifsvc_is_cbus); }
u32 cache::ifsvc_is_mgmtether(u32 iod) { return is_of_type(iod, 5, ::ifsvc_is_mgmtether); }

u32 cache::ifsvc_is_dci_tunnel(u32 iod)
{
    ++count.misses[29];
    return fact(::ifsvc_is_dci_tunnel, iod);
}
u32 cache::ifsvc_is_dci_overlay(u32 iod)
{
    ++count.misses[30];
    return fact(::ifsvc_is_dci_overlay, iod);
}
u32 cache::ifsvc_is_6to4_tunnel(u32 iod) { return fact(::ifsvc_is_6to4_tunnel, iod); }
u32 cache::ifsvc_is_mpls_tunnel(u32 iod) { return fact(::ifsvc_is_mpls_tunnel, iod); }

// ---- values ----

u32 cache::ifsvc_get_if_mtu(u32 iod)
{
    entry *of = syncs(1) && syncs(13) ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[12];
        return static_cast<u16>(fact(::ifsvc_get_if_mtu, iod));
    }
    if (of->is_dirty(13)) {
        ++count.misses[12];
        of->mtu = static_cast<u16>(fact(::ifsvc_get_if_mtu, iod));
        of->clear_dirty(13);
    } else {
        ++count.hits[12];
    }
    return of->mtu;
}

u32 cache::ifsvc_get_if_encaptype(u32 iod)
{
    entry *of = syncs(1) && syncs(4) ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[5];
        return static_cast<u16>(fact(::ifsvc_get_if_encaptype, iod));
    }
    if (of->is_dirty(4)) {
        ++count.misses[5];
        of->encap = static_cast<u16>(fact(::ifsvc_get_if_encaptype, iod));
        if (of->encap != 0)
            of->clear_dirty(4);
    } else {
        ++count.hits[5];
    }
    return of->encap;
}

void cache::fetch_mac_if_dirty(entry *of, u32 iod)
{
    if (!of->is_dirty(9)) {
        ++count.hits[4];
        return;
    }
    ++count.misses[4];
    get_if_src_mac_addr(iod);
    of->mac = mac_buffer;
    if (of->mac != mac_bytes{})
        of->clear_dirty(9);
}

const u8 *cache::ifsvc_get_if_mac_addr(u32 iod)
{
    entry *of = syncs(1) && syncs(9) ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[4];
        return get_if_src_mac_addr(iod);
    }
    fetch_mac_if_dirty(of, iod);
    return of->mac.data();
}

u32 cache::ifsvc_is_if_mac_addr(u32 iod, const u8 *mac)
{
    entry *of = syncs(1) && syncs(9) ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[4];
        u64 packed = 0;
        for (unsigned at = 0; at < 6; ++at)
            packed |= u64{mac[at]} << (8 * at);
        return static_cast<u32>(ask(::ifsvc_is_if_mac_addr, iod, packed).result);
    }
    fetch_mac_if_dirty(of, iod);
    return std::equal(of->mac.begin(), of->mac.end(), mac);
}

u32 cache::ifsvc_get_if_vlanid(u32 iod)
{
    entry *of = syncs(1) && syncs(10) ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[19];
        return static_cast<u16>(fact(::ifsvc_get_if_vlanid, iod));
    }
    if (!of->is_dirty(10)) {
        ++count.hits[19];
        return of->vlan;
    }
    ++count.misses[19];
    if (fact(::ifsvc_is_vlan, iod) != 0) {
        of->vlan = static_cast<u16>(fact(::ifsvc_get_if_vlanid, iod));
    } else if (fact(::ifsvc_is_switchport, iod) != 0) {
        const event &answer = ask(::ifsvc_get_vlan_info, iod);
        if (answer.result == 1) {
            of->vlan = static_cast<u16>(answer.out[0]);
            of->port_mode = static_cast<u32>(answer.out[1]);
        }
    }
    of->clear_dirty(10);
    return of->vlan;
}

// The scripted device answers with vinst 1, always.
u32 cache::ifsvc_get_vlan_info(u32 iod, varn_vlan_info_t *info, u32 *port_mode)
{
    entry *of = syncs(1) && syncs(10) ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[19];
        const event &answer = ask(::ifsvc_get_vlan_info, iod);
        if (answer.written) {
            *info = {1, static_cast<u32>(answer.out[0])};
            *port_mode = static_cast<u32>(answer.out[1]);
        }
        return static_cast<u32>(answer.result);
    }
    if (of->is_dirty(10)) {
        ++count.misses[19];
        of->vlan = 0;
        const event &answer = ask(::ifsvc_get_vlan_info, iod);
        if (answer.result == 1) {
            of->vlan = static_cast<u16>(answer.out[0]);
            of->port_mode = static_cast<u32>(answer.out[1]);
        }
        of->clear_dirty(10);
    } else {
        ++count.hits[19];
    }
    *info = {static_cast<u16>(ask(supvr_vinst_get).result), of->vlan};
    *port_mode = of->port_mode;
    return 1;
}

std::string cache::ifsvc_get_if_name(u32 iod, bool *from_ring)
{
    const entry *of = syncs(1) && syncs(14) ? find_entry_by_iod(iod) : nullptr;
    *from_ring = of != nullptr;
    if (of == nullptr) {
        ++count.misses[25];
        return name_of(iod);
    }
    names.push_back(ask(ifsvc_get_ifindex_name, of->if_index, 255).answer);
    ++count.hits[25];
    return names.back();
}

// ---- identity ----

u32 cache::ifsvc_get_ifindex_frm_iod(u32 iod, u32 *if_index)
{
    if (iod == 0) {
        *if_index = 0;
        return 0;
    }
    entry *of = syncs(1) ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[1];
        const event &answer = ask(::ifsvc_get_ifindex_frm_iod, iod);
        if (answer.written)
            *if_index = static_cast<u32>(answer.out[0]);
        return static_cast<u32>(answer.result);
    }
    if (of->is_dirty(1)) {
        ++count.misses[1];
        ++count.iod_refreshes;
        if (if_update_entry(of, 0) == 0)
            return 0x40E30001;
    } else {
        ++count.hits[1];
    }
    *if_index = of->if_index;
    return 0;
}

u32 cache::ifsvc_is_iod_svi(u32 iod)
{
    u32 if_index = 0;
    if (iod == 0 || ifsvc_get_ifindex_frm_iod(iod, &if_index) != 0)
        return 0;
    return fact(ifsvc_is_ifindex_svi, if_index);
}

u32 cache::ifsvc_get_svi_iod_for_vlan(u16 vlan, u32 arg)
{
    const event &built = ask(if_index_vlan_port_init, vlan, arg);
    u32 iod = 0;
    if (built.result != 0 || ifsvc_get_iod_frm_ifindex(static_cast<u32>(built.out[0]), &iod) != 0)
        return 0;
    return iod;
}

} // namespace naive
