// SPDX-License-Identifier: Apache-2.0
//
// The notification handlers.
#include "operation_rows.h"

#include <cstring>

namespace
{

varn_l2_update_t l2_record(std::uint8_t state)
{
    varn_l2_update_t record{};
    record.if_index = port7;
    record.iod = 7;
    record.state = state;
    record.mtu = 1400;
    return record;
}

template <std::uint8_t state>
std::string phy()
{
    const varn_phy_update_t record{port7, 7, state};
    return dec(varn_update_phy_state(&record));
}

template <std::uint8_t state>
std::string l2()
{
    const varn_l2_update_t record = l2_record(state);
    return std::to_string(varn_update_l2_state(&record));
}

template <std::uint8_t state>
std::string l3()
{
    varn_l3_update_t record{};
    record.if_index = port7;
    record.state = state;
    return std::to_string(varn_update_l3_state(&record));
}

std::string l2_bundle()
{
    const varn_l2_update_t record = l2_record(1);
    return dec(varn_update_l2_bundle_state(&record));
}

std::string l3_bundle()
{
    varn_l3_update_t record{};
    record.iod = 7;
    record.state = 1;
    return dec(varn_update_l3_bundle_state(&record));
}

std::string l3_param()
{
    const varn_l3_param_update_t record{0, 7};
    const bitset_t changed{{1u << VARN_L3_PARAM_MTU, 0}};
    return dec(varn_update_l3_param(&record, &changed));
}

std::string router_mac()
{
    varn_mac_update_t record{};
    record.if_index = port7;
    record.mac[5] = 9;
    return std::to_string(varn_update_router_mac(&record));
}

u32 big_endian(u32 word)
{
    const std::uint8_t parts[4] = {
        static_cast<std::uint8_t>(word >> 24), static_cast<std::uint8_t>(word >> 16),
        static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word)};
    u32 turned = 0;
    std::memcpy(&turned, parts, sizeof turned);
    return turned;
}

std::string first_member(u32 old_member, u32 new_member)
{
    const varn_fop_update_t record{big_endian(channel), 0, big_endian(old_member),
                                   big_endian(new_member)};
    return dec(varn_update_aggsvc_fop(&record));
}

} // namespace

std::vector<operation> handlers()
{
    const names found_by_iod{"ht_lookup"};
    const names l3_needs{"ht_lookup", "if_index_get_type", "ifsvc_get_iod_frm_ifindex"};
    const names l3_stated{"0", "-1", "65"};
    return {
        {"phy_up", phy<1>, same, same},
        {"phy_gone", phy<2>, found_by_iod, zero_or_one},
        {"l2_up", l2<1>, {"ht_lookup", "if_index_get_type"}, {"0", "-1", "65"}},
        {"l2_down", l2<2>, {"ht_lookup", "if_index_get_type"}, {"0", "-1", "65"}},
        {"l3_up", l3<1>, l3_needs, l3_stated},
        {"l3_down", l3<2>, l3_needs, l3_stated},
        {"l2_bundle", l2_bundle, found_by_iod, zero_or_one},
        {"l3_bundle", l3_bundle, found_by_iod, zero_or_one},
        {"l3_param", l3_param, found_by_iod, zero_or_one},
        {"switchport_update", [] { return dec(varn_update_switchport(7)); }, found_by_iod,
         zero_or_one},
        {"vlan_update_notice", [] { return dec(varn_update_vlan(7)); }, found_by_iod, zero_or_one},
        {"remove_extension0", [] { return dec(varn_remove_extension0(7)); }, found_by_iod,
         zero_or_one},
        {"linkup_dirty_bit",
         [] { return std::to_string(varn_update_is_linkup_dirty_bit(7, 0, 1)); },
         found_by_iod,
         {"-1"}},
        {"router_mac", router_mac, identity, {"0", "-1"}},
        {"first_member_moved", [] { return first_member(0, 0x1a000008); },
         identity_and({"memacct_alloc"}), zero_or_one},
        {"first_member_lost", [] { return first_member(port7, 0); }, {"ht_lookup"}, zero_or_one},
    };
}
