// SPDX-License-Identifier: Apache-2.0
//
// known_world.cpp: each deed is one hook, with a text that says what was asked of it.
#include "known_world.h"

#include <algorithm>

#include "ifsvc.h"
#include "supvr.h"

namespace port_contract
{
namespace
{

constexpr u32 most_iods = 32767;

constexpr const char *kinds[CONTRACT_NUM_KINDS] = {
    "PHYSICAL", "MGMT",  "CBUS", "SVI",  "PC",   "GRE",        "SUBIF",
    "LOOPBACK", "NULL0", "MVPN", "MPLS", "6TO4", "DCI_TUNNEL", "DCI_OVERLAY"};

constexpr const char *values[CONTRACT_NUM_VALUES] = {
    "LINKUP", "PROTOUP",   "SWITCHPORT", "SWITCHING",  "P2P", "MTU", "ENCAP",
    "VLAN",   "PORT_MODE", "CONTEXT",    "BASE_TABLE", "PI",  "LIF"};

const char *name_or_null(const face *of) { return of == nullptr ? nullptr : of->name.c_str(); }

std::string text(u32 number) { return std::to_string(number); }

template <class hook, class... arguments>
deed call(hook *function, std::string what, arguments... given)
{
    return {function == nullptr ? CONTRACT_CANNOT : function(given...), std::move(what)};
}

bool is_taken(u32 iod)
{
    u32 if_index = 0;
    return ifsvc_get_ifindex_frm_iod(iod, &if_index) == 0;
}

u16 first_vinst;

// The device begins before the first test, whichever that is.
class beginning final : public testing::Environment
{
    void SetUp() override
    {
        ASSERT_NE(contract_world_hooks(), nullptr) << "there are no hooks";
        first_vinst = supvr_vinst_get();
    }
};

// The framework owns its environments.
const testing::Environment *const begun = testing::AddGlobalTestEnvironment(new beginning);

} // namespace

const contract_world_t &hooks() { return *contract_world_hooks(); }

u16 vinst_at_start() { return first_vinst; }

void reuse_freed_memory()
{
    std::vector<std::string> blocks;
    for (std::size_t size = 16; size < 2048; size += 8)
        for (int n = 0; n < 8; ++n)
            blocks.emplace_back(size, '~');
}

const char *name_of(contract_kind_t kind) { return kinds[kind]; }
const char *name_of(contract_value_t value) { return values[value]; }

void known_world::TearDown()
{
    if (is_stopped_)
        start();
    for (const face &member : std::vector<face>(members_))
        EXPECT_EQ(join(member, nullptr).result, CONTRACT_DONE) << "at the end of the test";
    while (!faces_.empty())
        EXPECT_EQ(remove(face(faces_.back())).result, CONTRACT_DONE) << "at the end of the test";
    while (!vlans_.empty())
        EXPECT_EQ(remove_vlan(vlans_.back()).result, CONTRACT_DONE) << "at the end of the test";
    if (hooks().dispatch != nullptr)
        hooks().dispatch();
}

deed known_world::add(face &made, const char *name, contract_kind_t kind, u32 vlan, const face *on)
{
    if (hooks().add != nullptr && (hooks().remove == nullptr || hooks().if_index_of == nullptr))
        return {CONTRACT_FAILED, "the hooks add, remove and if_index_of belong together"};
    deed done = call(hooks().add, std::string("add an interface of kind CONTRACT_") + kinds[kind],
                     name, kind, vlan, name_or_null(on));
    if (done.result != CONTRACT_DONE)
        return done;
    made = {name, hooks().if_index_of(name), 0};
    faces_.push_back(made);
    if (made.if_index == 0)
        return {CONTRACT_FAILED,
                "if_index_of gives 0 for an interface that was added: " + made.name};
    if (ifsvc_get_iod_frm_ifindex(made.if_index, &made.iod) != 0)
        return {CONTRACT_FAILED,
                "ifsvc_get_iod_frm_ifindex fails for an interface that was added: " + made.name};
    faces_.back() = made;
    return done;
}

deed known_world::remove(const face &gone)
{
    const auto same = [&](const face &each) { return each.name == gone.name; };
    const std::string name = gone.name;
    std::erase_if(faces_, same);
    std::erase_if(members_, same);
    return call(hooks().remove, "remove " + name, name.c_str());
}

deed known_world::set(const face &of, contract_value_t value, u32 to)
{
    return call(hooks().set, std::string("set CONTRACT_") + values[value] + " to " + text(to),
                of.name.c_str(), value, to);
}

deed known_world::set_mac(const face &of, const u8 (&mac)[6])
{
    return call(hooks().set_mac, "set_mac", of.name.c_str(), static_cast<const u8 *>(mac));
}

deed known_world::attach(const face &of, u32 key, u32 extension, const std::string &block)
{
    const auto size = static_cast<u32>(block.size());
    return call(hooks().attach, "attach " + text(size) + " bytes of private data", of.name.c_str(),
                key, extension, static_cast<const void *>(block.data()), size);
}

deed known_world::join(const face &port, const face *pc)
{
    deed done =
        call(hooks().join, "join a port to a port-channel", port.name.c_str(), name_or_null(pc));
    if (done.result == CONTRACT_DONE) {
        std::erase_if(members_, [&](const face &each) { return each.name == port.name; });
        if (pc != nullptr)
            members_.push_back(port);
    }
    return done;
}

deed known_world::set_first_member(const face &pc, const face *port)
{
    return call(hooks().set_first_member, "set_first_member", pc.name.c_str(), name_or_null(port));
}

deed known_world::set_bucket(const face &pc, u32 rbh, const face &port)
{
    return call(hooks().set_bucket, "set_bucket " + text(rbh), pc.name.c_str(), rbh,
                port.name.c_str());
}

deed known_world::put_vlan(u32 vlan, u32 bd, u32 flood_di, u32 primary)
{
    deed done = call(hooks().put_vlan, "put_vlan " + text(vlan), vlan, bd, flood_di, primary);
    if (done.result == CONTRACT_DONE && std::ranges::find(vlans_, vlan) == vlans_.end())
        vlans_.push_back(vlan);
    return done;
}

deed known_world::remove_vlan(u32 vlan)
{
    std::erase(vlans_, vlan);
    return call(hooks().remove_vlan, "remove_vlan " + text(vlan), vlan);
}

deed known_world::stop()
{
    is_stopped_ = true;
    return call(hooks().stop, "stop its services");
}

deed known_world::start()
{
    is_stopped_ = false;
    return call(hooks().start, "start its services");
}

deed known_world::dispatch() { return call(hooks().dispatch, "dispatch notices"); }

std::vector<u32> known_world::unknown_iods() const
{
    u32 free = most_iods;
    while (free > 1 && is_taken(free))
        --free;
    std::vector<u32> unknown{0, free, most_iods + 1, 0x7FFFFFFF, 0xFFFFFFFF};
    for (const face &each : faces_)
        unknown.push_back(0x10000 + each.iod);
    return unknown;
}

std::vector<u32> known_world::unknown_if_indexes() const
{
    std::vector<u32> unknown{0, 0xFFFFFFFF};
    for (const face &each : faces_) {
        u32 other = each.if_index;
        u32 iod = 0;
        for (u32 n = 0; n < 4096 && ifsvc_get_iod_frm_ifindex(++other, &iod) == 0; ++n)
            continue;
        unknown.push_back(other);
    }
    return unknown;
}

} // namespace port_contract
