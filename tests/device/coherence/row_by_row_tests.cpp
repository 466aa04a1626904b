// SPDX-License-Identifier: Apache-2.0
//
// row_by_row_tests.cpp: for each attribute and each kind of interface a change of that attribute and
// as little else as can be, with everything cached and clean before. What the table of notices says
// of such a change is all that the cache hears; afterwards everything is compared.
#include <ostream>

#include <gtest/gtest.h>

#include "attributes.h"
#include "client.h"
#include "comparison.h"
#include "device/runtime/if_index_types.h"
#include "ifsvc.h"
#include "in_process_device.h"
#include "world.h"

namespace coherence
{
namespace
{

using device::attribute;
using device::link_facts;
using device::mastery;

constexpr u32 own_key = 1, first_port = 2, second_port = 3, other_bundle = 4, parent = 5;

struct kind {
    const char *name;
    u8 type;
};

// clang-format off
constexpr kind kinds[] = {
    { "physical", IF_INDEX_TYPE_PHYSICAL }, { "bundle", IF_INDEX_TYPE_PC },
    { "svi", IF_INDEX_TYPE_SVI },           { "subinterface", IF_INDEX_TYPE_VLAN_SUBIF },
    { "mgmt", IF_INDEX_TYPE_MGMT },         { "gre", IF_INDEX_TYPE_GRE },
    { "other", IF_INDEX_TYPE_VIRTUAL },
};
// clang-format on

bool has_own_vlan(const link_facts &of)
{
    return of.type == IF_INDEX_TYPE_SVI || of.type == IF_INDEX_TYPE_VLAN_SUBIF;
}

// A change of the facts, and whether such an interface can have it.
struct change {
    attribute of;
    void (*make)(link_facts &facts);
    bool (*is_possible)(const link_facts &facts);
    bool concerns_port; // of the bundle's second port instead, the first one being down
};

bool always(const link_facts &) { return true; }
bool on_switchport(const link_facts &of) { return of.switchport; }
bool on_access_port(const link_facts &of) { return of.switchport && !has_own_vlan(of); }
bool on_bundle(const link_facts &of) { return of.type == IF_INDEX_TYPE_PC; }
bool on_physical(const link_facts &of) { return of.type == IF_INDEX_TYPE_PHYSICAL; }
bool on_subinterface(const link_facts &of) { return of.type == IF_INDEX_TYPE_VLAN_SUBIF; }

// clang-format off
constexpr change changes[] = {
    { attribute::name, [](link_facts &f) { f.name = "renamed"; }, always, false },
    { attribute::linkup, [](link_facts &f) { f.link = !f.link; }, always, false },
    { attribute::protoup, [](link_facts &f) { f.protoup = !f.protoup; }, always, false },
    { attribute::switchport, [](link_facts &f) { f.switchport = !f.switchport; }, always, false },
    { attribute::switching, [](link_facts &f) { f.forwards = !f.forwards; }, on_switchport, false },
    { attribute::ethernet, [](link_facts &f) { f.ethernet = !f.ethernet; }, always, false },
    { attribute::p2p, [](link_facts &f) { f.p2p = !f.p2p; }, always, false },
    { attribute::loopback, [](link_facts &f) { f.loopback = !f.loopback; }, always, false },
    { attribute::encap, [](link_facts &f) { f.encap = 7; }, always, false },
    { attribute::mtu, [](link_facts &f) { f.mtu = 9000; }, always, false },
    { attribute::mac, [](link_facts &f) { f.mac[0] = 2; f.mac[5] = 99; }, always, false },
    { attribute::vlan, [](link_facts &f) { f.own_vlans.pvid = 77; }, on_access_port, false },
    { attribute::port_mode, [](link_facts &f) { f.own_vlans.trunk = !f.own_vlans.trunk; },
      on_switchport, false },
    { attribute::context, [](link_facts &f) { f.own_context = 9; }, always, false },
    { attribute::table, [](link_facts &f) { f.own_table = 999; }, always, false },
    { attribute::parent, [](link_facts &f) { f.parent_key = parent; }, on_subinterface, false },
    { attribute::port_channel, [](link_facts &f) { f.link = false; f.master_key = other_bundle; },
      on_physical, false },
    { attribute::first_member, [](link_facts &f) { f.protoup = false; }, on_bundle, true },
    { attribute::rbh, [](link_facts &f) { f.protoup = false; }, on_bundle, true },
};
// clang-format on

struct row_case {
    change what;
    kind of;
    bool is_switchport;
};

std::string name_of(const row_case &row)
{
    return std::string(device::name_of(row.what.of))
        .append("_of_")
        .append(row.is_switchport ? "switched_" : "routed_")
        .append(row.of.name);
}

void PrintTo(const row_case &row, std::ostream *to) { *to << name_of(row); }

link_facts facts_of(u32 key, u8 type)
{
    link_facts facts;
    facts.key = key;
    facts.name = "if" + std::to_string(key);
    facts.type = type;
    facts.masters = type == IF_INDEX_TYPE_PC ? mastery::port_channel : mastery::none;
    facts.link = facts.protoup = true;
    facts.mtu = 1500;
    facts.encap = 1;
    facts.mac = {0, 0, 0, 0, 0, static_cast<u8>(key)};
    facts.own_context = 5;
    facts.own_table = 500;
    if (has_own_vlan(facts))
        facts.vlan = 10;
    return facts;
}

link_facts own_facts(const row_case &row)
{
    link_facts facts = facts_of(own_key, row.of.type);
    facts.switchport = row.is_switchport;
    facts.own_vlans.pvid = 10;
    if (facts.type == IF_INDEX_TYPE_VLAN_SUBIF)
        facts.parent_key = first_port;
    return facts;
}

std::vector<row_case> all_cases()
{
    std::vector<row_case> all;
    for (const change &what : changes)
        for (const kind &of : kinds)
            for (const bool is_switchport : {false, true})
                if (const row_case row{what, of, is_switchport}; what.is_possible(own_facts(row)))
                    all.push_back(row);
    return all;
}

class EachChange : public testing::TestWithParam<row_case>
{
protected:
    EachChange()
    {
        start_client(full_configuration());
        put(own_facts(GetParam()));
        const bool has_ports = GetParam().of.type == IF_INDEX_TYPE_PC;
        for (const u32 key : {first_port, second_port}) {
            link_facts port = facts_of(key, IF_INDEX_TYPE_PHYSICAL);
            port.master_key = has_ports ? own_key : 0;
            put(port);
        }
        put(facts_of(other_bundle, IF_INDEX_TYPE_PC));
        put(facts_of(parent, IF_INDEX_TYPE_PHYSICAL));
        device.model().put_vlan(10, {});
        device.model().settle();
        people.meet(device.iods());
    }

    ~EachChange() override { end_client(); }

    void put(const link_facts &facts) { ASSERT_TRUE(device.model().put(facts)); }

    // Which attributes of the interface differ now that the facts are these.
    device::attribute_set put_and_settle(const link_facts &facts)
    {
        const device::attributes before = device.model().find_key(own_key)->now;
        put(facts);
        device.model().settle();
        return device::difference(before, device.model().find_key(own_key)->now);
    }

    // Everything is asked, twice, since the first answers fill the cache.
    void expect_coherence(const char *when)
    {
        device.dispatch(0);
        for (int n = 0; n < 2; ++n)
            if (const auto found = compare_all(people.everyone()))
                ADD_FAILURE() << when << ": " << text_of(*found);
    }

    // Asking after one attribute alone, so that no other question sets it right.
    void expect_each_field_to_be_coherent()
    {
        device.dispatch(0);
        for (const query &of : entry_fields())
            for (std::size_t n = 0; n < num_questions(people.everyone(), of); ++n)
                if (const auto found = compare(of, question(people.everyone(), of, n)))
                    ADD_FAILURE() << text_of(*found);
    }

    in_process_device device{4096};
    acquaintances people;
};

TEST_P(EachChange, IsSeenByEveryQuery)
{
    const change &what = GetParam().what;
    const link_facts before =
        what.concerns_port
            ? facts_of(what.of == attribute::rbh ? second_port : first_port, IF_INDEX_TYPE_PHYSICAL)
            : own_facts(GetParam());
    link_facts first = before, second = before;
    if (what.concerns_port)
        first.master_key = second.master_key = own_key;
    // The link alone changes only where the protocol is down.
    if (what.of == attribute::linkup)
        first.protoup = second.protoup = false;
    put_and_settle(first);
    what.make(second);
    expect_coherence("before");
    EXPECT_TRUE(put_and_settle(second)[device::bit_of(what.of)]) << "it is the change that it says";
    expect_each_field_to_be_coherent();
    expect_coherence("after the change");
    EXPECT_TRUE(put_and_settle(first)[device::bit_of(what.of)]);
    expect_each_field_to_be_coherent();
    expect_coherence("after it was taken back");
}

INSTANTIATE_TEST_SUITE_P(Coherence, EachChange, testing::ValuesIn(all_cases()),
                         [](const auto &row) { return name_of(row.param); });

// ---- What is attached, and VLANs

class OneChange : public testing::Test
{
protected:
    OneChange()
    {
        start_client(full_configuration());
        device.restart(world_inventory(1));
        device.dispatch(0);
        expect_coherence();
    }
    ~OneChange() override { end_client(); }

    void change(const words &said) { EXPECT_EQ(device.change(said), ""); }

    void expect_coherence()
    {
        people.meet(device.iods());
        device.dispatch(0);
        const auto found = compare_all(people.everyone());
        EXPECT_FALSE(found) << text_of(*found);
    }

    u32 iod_of(const std::string &name) const { return people.find(name).iod; }

    in_process_device device{4096};
    acquaintances people;
};

TEST_F(OneChange, OfAttachedDataIsSeenInEachSlot)
{
    for (const u32 key : slot_keys)
        for (const words &said :
             {private_words("port1", key, 7, 4), private_words("port1", key, 7, 12),
              private_words("port1", key, 8, 12), private_words("port1", key, 0, 8),
              words{"private", "port1", std::to_string(key), "none"}}) {
            change(said);
            expect_coherence();
        }
}

TEST_F(OneChange, OfAVlanIsSeen)
{
    for (const words &said :
         {words{"vlan", "30", "set", "bd", "99"}, words{"vlan", "30", "set", "flood_index", "99"},
          words{"vlan", "30", "set", "primary", "10"}, words{"vlan", "30", "delete"},
          words{"vlan", "30", "add"}, words{"vlan", "40", "add"}}) {
        change(said);
        expect_coherence();
    }
}

TEST_F(OneChange, IsSeenOfAnInterfaceThatIsDeletedAndMadeAgain)
{
    const identity former = people.find("gre1");
    change({"delete", "gre1"});
    change({"add", "gre1", "gre", "ordinal", "1", "mtu", "1300"});
    expect_coherence();
    EXPECT_EQ(people.find("gre1").if_index, former.if_index);
    EXPECT_NE(people.find("gre1").iod, former.iod);
    EXPECT_EQ(varn_ifsvc_get_if_mtu(iod_of("gre1")), 1300u);
}

TEST_F(OneChange, IsSeenOfTwoThatSwapTheirNames)
{
    change({"set", "port1", "name", "between"});
    change({"set", "port2", "name", "port1"});
    change({"set", "between", "name", "port2"});
    expect_coherence();
}

// A port-channel that goes together with its members leaves no one behind who would tell of it.
TEST_F(OneChange, IsSeenOfAPortChannelThatGoesWithItsMembers)
{
    for (const char *name : {"bundle1", "port3", "port4"}) {
        change({"set", name, "link", "up", "protocol", "up"});
        expect_coherence();
    }
    for (const char *name : {"bundle1", "port3", "port4"}) {
        const device::interface *gone = device.model().find_iod(iod_of(name));
        device.model().remove(gone->key);
    }
    device.model().settle();
    expect_coherence();
}

// With a decoder the entry would be refreshed for the sake of its private data.
TEST_F(OneChange, OfAParentIsSeenByAClientWithoutADecoder)
{
    end_client();
    varn_config_t config = full_configuration();
    config.sync &= ~VARN_MASK(VARN_BIT_EXTN);
    config.extn_decode[0] = nullptr;
    start_client(config);
    expect_coherence();
    change({"set", "sub1", "parent", "port2"});
    expect_coherence();
}

// The one belief that the cache takes from a notice without asking anyone. It can be wrong only
// while the notice that says so is on its way.
TEST_F(OneChange, ThatWasTakenBackIsTrustedOnlyUntilTheNextNotice)
{
    change({"set", "port1", "link", "down", "protocol", "down"});
    change({"set", "port1", "protocol", "down"});
    expect_coherence();
    change({"set", "port1", "link", "up"});
    change({"set", "port1", "link", "down"});
    const u32 iod = iod_of("port1");
    EXPECT_EQ(varn_ifsvc_is_linkup(iod), 0u);
    device.dispatch(1);
    EXPECT_EQ(varn_ifsvc_is_linkup(iod), 1u) << "the first notice says so";
    EXPECT_EQ(ifsvc_is_linkup(iod), 0u);
    device.dispatch(1);
    EXPECT_EQ(varn_ifsvc_is_linkup(iod), 0u);
    expect_coherence();
}

} // namespace
} // namespace coherence
