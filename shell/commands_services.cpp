// SPDX-License-Identifier: Apache-2.0
//
// commands_services.cpp: what the side caches answer, of port-channels and of VLANs.
#include <fmt/format.h>

#include "aggsvc.h"
#include "attributes.h"
#include "commands.h"
#include "idxsvc.h"
#include "if_index.h"
#include "supvr.h"
#include "varn_device.h"
#include "vlansvc.h"

namespace shell
{
namespace
{

constexpr u32 last_vlan = 4094;

bool is_port_channel(u32 if_index)
{
    std::uint8_t type = 0;
    return if_index_get_type(if_index, &type) == 0 && type == IF_INDEX_TYPE_PC;
}

// The if-index of the member behind a bucket; 0: none.
u32 member_of(u32 pc, std::uint8_t rbh, bool direct)
{
    u32 member = 0;
    const u32 code = direct ? aggsvc_get_pc_mbr_ifidx_from_rbh(pc, rbh, &member)
                            : varn_aggsvc_get_pc_mbr_ifidx_from_rbh(pc, rbh, &member);
    return code == 0 ? member : 0;
}

struct vlan_answers {
    std::uint16_t bd = 0;
    u32 flood_di = 0, primary = 0;
};

vlan_answers ask_vlan(std::uint16_t number, bool direct)
{
    vlan_answers got;
    const vlan_key_t key = {supvr_vinst_get(), number};
    if (!direct) {
        varn_vlan_get_bd(key, &got.bd);
        varn_vlan_to_flood_di(number, &got.flood_di, &got.bd);
        varn_pvlan_get_pvlan(number, &got.primary);
        return got;
    }
    // The bridge domain decides about the flood index: without one the other is not asked.
    std::uint16_t same_bd = 0;
    if (vlan_get_bd(key, &got.bd) == 0 && idxsvc_lib_bd_to_di(got.bd, &got.flood_di) == 0)
        vlan_get_bd_and_primary_vlan(key, &same_bd, &got.primary);
    return got;
}

// The cache's answers say nothing of a failure; the client library does.
std::string failure_so_far()
{
    const u32 code = varn_device_last_error();
    const bool answered = code == VARN_DEVICE_OK || code == VARN_DEVICE_E_NO_VALUE;
    return answered ? std::string() : varn_device_last_error_text();
}

} // namespace

verdict interpreter::pc(const order &what)
{
    listed subject;
    if (const verdict outcome = find(what.given[0], subject); outcome != done)
        return outcome;
    if (!is_port_channel(subject.if_index))
        return say(unanswered, subject.name + " is no port-channel");
    attempt asking(subject.iod);
    const std::string first = ask_attribute("first_member", subject.iod, what.direct);
    std::string rows;
    for (std::uint8_t rbh = 0; rbh < VARN_NUM_RBH; ++rbh) {
        const u32 member = member_of(subject.if_index, rbh, what.direct);
        const std::string name = interfaces_.last_name_of(member);
        rows += fmt::format("{:<12}  {}\n", rbh,
                            member == 0    ? "none"
                            : name.empty() ? fmt::format("0x{:08x}", member)
                                           : name);
    }
    const std::string reason = asking.failure();
    if (!reason.empty())
        return say(unanswered, reason);
    fmt::print("first member  {}\n{:<12}  MEMBER\n{}", first, "BUCKET", rows);
    return done;
}

verdict interpreter::vlan(const order &what)
{
    const std::optional<u32> number = read_number(what.given[0]);
    if (!number || *number == 0 || *number > last_vlan)
        return misused(fmt::format("no VLAN {}: VLANs are 1 to {}", what.given[0], last_vlan));
    varn_device_clear_error();
    const vlan_answers got = ask_vlan(static_cast<std::uint16_t>(*number), what.direct);
    const std::string reason = failure_so_far();
    if (!reason.empty())
        return say(unanswered, reason);
    fmt::print("bridge domain  {}\nflood index    {}\nprimary VLAN   {}\n", got.bd, got.flood_di,
               got.primary);
    return done;
}

} // namespace shell
