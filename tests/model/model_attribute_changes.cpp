// SPDX-License-Identifier: Apache-2.0
//
// The handlers of changes to single attributes. None creates an entry or deletes one, but for what
// a refresh on their way may do.
#include "model.h"

namespace naive
{

u32 cache::update_switchport(i32 iod)
{
    if (enabled == 0)
        return 0;
    const u32 number = static_cast<u32>(iod);
    const std::string name = name_of(number);
    trace("switchport update for interface %s (iod %d)\n", name.c_str(), iod);
    entry *of = iod_table.find(number);
    if (of == nullptr)
        return 0;
    of->switchport = flag(::ifsvc_is_switchport, number);
    of->clear_dirty(15);
    ++count.updates[13];
    return 1;
}

u32 cache::update_l2_bundle_state(const varn_l2_update_t *u)
{
    if (enabled == 0)
        return 0;
    ++count.l2_bundle;
    const std::string name = name_of(u->iod);
    trace("L2 bundle phy state update for interface %s (iod %d)\n", name.c_str(),
          static_cast<int>(u->iod));
    entry *of = iod_table.find(u->iod);
    if (of == nullptr)
        return 0;
    update_link_and_protocol(of, u->iod);
    take_l2_values(of, u);
    return 1;
}

u32 cache::update_l3_bundle_state(const varn_l3_update_t *u)
{
    if (enabled == 0)
        return 0;
    ++count.l3_bundle;
    const std::string name = name_of(u->iod);
    trace("L3 bundle phy state update for interface %s (iod %d)\n", name.c_str(),
          static_cast<int>(u->iod));
    entry *of = iod_table.find(u->iod);
    if (of == nullptr)
        return 0;
    of->linkup = u->state == 1 || u->state == 16;
    of->protoup = u->state == 1;
    of->clear_dirty(17);
    of->clear_dirty(18);
    ++count.updates[15];
    ++count.updates[16];
    if (syncs(13)) {
        of->mtu = static_cast<u16>(u->mtu);
        ++count.updates[12];
    }
    return 1;
}

u32 cache::update_l3_param(const varn_l3_param_update_t *u, const bitset_t *changed)
{
    if (enabled == 0)
        return 0;
    ++count.l3_param;
    const std::string name = name_of(u->iod);
    const int iod = static_cast<int>(u->iod);
    trace("Phy state update for interface %s (iod %d)\n", name.c_str(), iod);
    entry *of = iod_table.find(u->iod);
    if (of == nullptr)
        return 0;
    if (changed != nullptr &&
        ask(bitset_is_bit_set, reinterpret_cast<std::uintptr_t>(changed), 12).result != 0) {
        trace("MTU change for interface iod %d\n", iod);
        of->mtu = static_cast<u16>(fact(::ifsvc_get_if_mtu, u->iod));
    }
    of->p2p = flag(::ifsvc_is_native_p2p, u->iod);
    ++count.updates[27];
    of->clear_dirty(23);
    return 1;
}

// Where the service fails past the cache, the text tells a VLAN and a mode of 0.
u32 cache::update_vlan(i32 iod)
{
    if (enabled == 0)
        return 0;
    const u32 number = static_cast<u32>(iod);
    const std::string name = name_of(number);
    trace("vlan update for interface %s (iod %d)\n", name.c_str(), iod);
    entry *of = iod_table.find(number);
    if (of == nullptr)
        return 0;
    of->set_dirty(10);
    varn_vlan_info_t info{};
    u32 mode = 0;
    const bool is_done = ifsvc_get_vlan_info(number, &info, &mode) != 0;
    const std::string again = name_of(number);
    if (is_done)
        trace("vlan update for interface %s (iod %d) Succeeded, vlan: %d, mode: 0x%x\n",
              again.c_str(), iod, static_cast<int>(info.vlan), mode);
    else
        trace("vlan update for interface %s (iod %d) FAILED\n", again.c_str(), iod);
    return is_done;
}

u32 cache::remove_extension0(i32 iod)
{
    if (enabled == 0)
        return 0;
    entry *of = iod_table.find(static_cast<u32>(iod));
    if (of == nullptr) {
        trace("Varn remove failed for Interface with iod %d\n", iod);
        return 0;
    }
    of->extn[0] = 0;
    return 1;
}

i32 cache::update_is_linkup_dirty_bit(i32 iod, u32 if_index, i32 set)
{
    if (enabled == 0 || (iod != 0 && if_index != 0))
        return -1;
    entry *of = iod != 0 ? iod_table.find(static_cast<u32>(iod)) : if_table.find(if_index);
    if (of == nullptr) {
        const std::string name = name_of(static_cast<u32>(iod));
        report("varn_update_is_linkup_dirty_bit",
               " Entry doesn't exist for interface index 0x%x, %s, (iod %d)\n", if_index,
               name.c_str(), iod);
        return -1;
    }
    const bool before = of->is_dirty(17);
    const bool now = (set & 1) != 0;
    of->set_dirty_to(17, now);
    const std::string name = name_of(static_cast<u32>(iod));
    trace("Updated the dirty bit from %d to %d, set %d for interface index 0x%x, %s, (iod %d)\n",
          before, now, set, if_index, name.c_str(), iod);
    return 0;
}

i32 cache::update_router_mac(const varn_mac_update_t *u)
{
    if (!syncs(9))
        return -1;
    u32 iod = 0;
    ifsvc_get_iod_frm_ifindex(u->if_index, &iod);
    entry *of = iod_table.find(iod);
    if (of == nullptr)
        return -1;
    const std::string name = name_of(iod);
    trace("Interface %s (iod %d): entry 0x%x, state %d\n", name.c_str(), static_cast<int>(iod),
          static_cast<u32>(reinterpret_cast<std::uintptr_t>(of->at)), static_cast<int>(u->state));
    mac_bytes given{};
    std::copy_n(u->mac, 6, given.begin());
    if (given != mac_bytes{}) {
        const std::string before = format_mac(of->mac.data());
        const std::string after = format_mac(given.data());
        trace("Updated old_mac: %s to new_mac: %s\n", before.c_str(), after.c_str());
    } else {
        const std::string before = format_mac(of->mac.data());
        trace("Removed MAC (Interface Removed) old_mac :%s is reset to : ZERO MAC adress \n",
              before.c_str());
    }
    ++count.updates[4];
    of->mac = given;
    return 0;
}

} // namespace naive
