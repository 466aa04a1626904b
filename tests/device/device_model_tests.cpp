// SPDX-License-Identifier: Apache-2.0
//
// device_model_tests.cpp: identities, and answers that take more than one interface.
#include "device_model.h"

#include <gtest/gtest.h>

#include "device/runtime/if_index_types.h"

namespace
{

using device::device_model;
using device::link_facts;
using device::mastery;

link_facts port(uint32_t key)
{
    link_facts facts;
    facts.key = key;
    facts.name = "port" + std::to_string(key);
    facts.type = IF_INDEX_TYPE_PHYSICAL;
    facts.link = facts.protoup = true;
    return facts;
}

link_facts master(uint32_t key, uint8_t type, mastery masters)
{
    link_facts facts = port(key);
    facts.type = type;
    facts.masters = masters;
    return facts;
}

class DeviceModel : public testing::Test
{
protected:
    const device::interface &of(uint32_t key) const
    {
        const device::interface *found = model.find_key(key);
        EXPECT_NE(found, nullptr) << key;
        static const device::interface none;
        return found == nullptr ? none : *found;
    }

    // What is answered about it once all is told.
    const device::attributes &now(uint32_t key)
    {
        model.settle();
        return of(key).now;
    }

    void put(link_facts facts, uint32_t master_key = 0)
    {
        facts.master_key = master_key;
        ASSERT_TRUE(model.put(facts));
    }

    device_model model;
};

TEST_F(DeviceModel, GivesOutIdentitiesOfItsOwn)
{
    put(port(100));
    put(port(200));
    EXPECT_EQ(of(100).iod, 1u);
    EXPECT_EQ(of(200).iod, 2u);
    EXPECT_EQ(of(100).if_index, 0x1a000001u);
    EXPECT_EQ(of(200).if_index, 0x1a000002u);
    EXPECT_EQ(model.find_lif(of(200).lif), &of(200));
    EXPECT_EQ(model.find_port_index(of(200).port_index), &of(200));
}

TEST_F(DeviceModel, KeepsAnIdentityWhileTheInterfaceLives)
{
    put(port(100));
    link_facts changed = port(100);
    changed.name = "renamed";
    changed.mtu = 9000;
    put(changed);
    EXPECT_EQ(of(100).iod, 1u);
    EXPECT_EQ(of(100).if_index, 0x1a000001u);
    EXPECT_EQ(of(100).mtu, 9000);
    EXPECT_EQ(model.interfaces().size(), 1u);
}

TEST_F(DeviceModel, NeverHandsAnIdentityOn)
{
    put(port(100));
    model.remove(100);
    put(port(100));
    EXPECT_EQ(of(100).iod, 2u);
    EXPECT_EQ(of(100).if_index, 0x1a000002u);
    EXPECT_EQ(model.find_iod(1), nullptr);
    EXPECT_EQ(model.find_if_index(0x1a000001), nullptr);
}

TEST_F(DeviceModel, UsesEveryIodBeforeOneComesBack)
{
    put(port(1));
    for (uint32_t n = 0; n < device::max_iod - 1; ++n) {
        put(port(2));
        EXPECT_EQ(of(2).iod, n + 2);
        model.remove(2);
    }
    put(port(3));
    EXPECT_EQ(of(3).iod, 2u) << "1 is still in use";
}

TEST_F(DeviceModel, RefusesAnInterfaceForWhichNoIodIsLeft)
{
    for (uint32_t key = 1; key <= device::max_iod; ++key)
        ASSERT_TRUE(model.put(port(key)));
    EXPECT_FALSE(model.put(port(40000)));
    EXPECT_EQ(model.interfaces().size(), device::max_iod);
    model.remove(77);
    EXPECT_TRUE(model.put(port(40000)));
    EXPECT_EQ(of(40000).iod, 77u);
}

TEST_F(DeviceModel, BuildsTheIfIndexOfAVlanInterfaceFromItsVlan)
{
    link_facts svi = port(100);
    svi.type = IF_INDEX_TYPE_SVI;
    svi.vlan = 10;
    put(svi);
    EXPECT_EQ(of(100).if_index, 0x09000000u | 1u << 12 | 10u);
    EXPECT_EQ(of(100).port_index, device::no_index);
    EXPECT_TRUE(of(100).is_vlan());

    svi.key = 200;
    EXPECT_FALSE(model.put(svi)) << "one interface a VLAN";
    EXPECT_EQ(model.interfaces().size(), 1u);
    model.remove(100);
    EXPECT_TRUE(model.put(svi));
}

TEST_F(DeviceModel, TakesAnInterfaceOfAnotherTypeForAnotherInterface)
{
    put(port(100));
    link_facts changed = port(100);
    changed.type = IF_INDEX_TYPE_VIRTUAL;
    put(changed);
    EXPECT_EQ(of(100).iod, 2u);
    EXPECT_EQ(of(100).if_index, 0x1e000001u);
}

TEST_F(DeviceModel, DropsWhatWasAttachedWithTheInterface)
{
    put(port(100));
    model.attach(1, 42, {7, {}});
    put(port(100));
    EXPECT_EQ(of(100).attachments.at(42).extension, 7u);
    model.remove(100);
    put(port(100));
    EXPECT_TRUE(of(100).attachments.empty());
}

TEST_F(DeviceModel, KnowsThePortsOfABridgeForSwitchports)
{
    put(master(1, IF_INDEX_TYPE_VIRTUAL, mastery::bridge));
    link_facts forwarding = port(2);
    forwarding.forwards = true;
    put(forwarding, 1);
    put(port(3), 1);
    put(forwarding = port(4));
    EXPECT_TRUE(now(2).switchport && now(2).switching);
    EXPECT_TRUE(now(3).switchport && !now(3).switching);
    EXPECT_FALSE(now(4).switchport || now(4).switching);
    EXPECT_EQ(now(4).port_mode, 0x200u);
    EXPECT_EQ(now(2).port_mode, 1u);
    model.remove(1);
    EXPECT_FALSE(now(2).switchport);
}

TEST_F(DeviceModel, PutsAPortIntoVlansOnlyWhereItsBridgeFiltersThem)
{
    link_facts bridge = master(1, IF_INDEX_TYPE_VIRTUAL, mastery::bridge);
    bridge.filters_vlans = true;
    put(bridge);
    put(port(2), 1);
    put(port(3), 1);
    put(port(4));
    model.set_bridge_vlans({{2, {10, false}}, {3, {20, true}}, {4, {30, true}}, {99, {40, true}}});
    EXPECT_EQ(now(2).vlan, 10u);
    EXPECT_EQ(now(2).port_mode, 1u);
    EXPECT_EQ(now(3).vlan, 20u);
    EXPECT_EQ(now(3).port_mode, 2u);
    EXPECT_EQ(now(4).vlan, 0u);
    EXPECT_EQ(now(4).port_mode, 0x200u);

    bridge.filters_vlans = false;
    put(bridge);
    EXPECT_EQ(now(2).vlan, 0u);
    EXPECT_EQ(now(3).vlan, 0u);
    EXPECT_EQ(now(3).port_mode, 1u);
}

TEST_F(DeviceModel, KeepsTheVlansOfAPortUntilTheyAreToldAnew)
{
    link_facts bridge = master(1, IF_INDEX_TYPE_VIRTUAL, mastery::bridge);
    bridge.filters_vlans = true;
    put(bridge);
    put(port(2), 1);
    model.set_bridge_vlans({{2, {10, true}}});
    put(port(2), 1);
    EXPECT_EQ(now(2).vlan, 10u);
    model.set_bridge_vlans({});
    EXPECT_EQ(now(2).vlan, 0u);
    EXPECT_EQ(now(2).port_mode, 1u);
}

TEST_F(DeviceModel, FindsTheFirstMemberThatIsOperational)
{
    put(master(1, IF_INDEX_TYPE_PC, mastery::port_channel));
    link_facts down = port(2);
    down.protoup = false;
    put(down, 1);
    put(port(3));
    EXPECT_EQ(now(1).first_member, 0u);
    put(port(4), 1);
    put(port(5), 1);
    EXPECT_EQ(now(1).first_member, of(4).if_index);
    EXPECT_EQ(now(2).port_channel, of(1).if_index);
    EXPECT_EQ(now(3).port_channel, 0u);
}

TEST_F(DeviceModel, GivesAVrfAndItsMembersItsContextAndTable)
{
    put(port(1));
    put(port(3), 2); // reported before its master
    EXPECT_EQ(now(3).context, 1u);
    link_facts red = master(2, IF_INDEX_TYPE_VIRTUAL, mastery::vrf);
    red.table = 1001;
    put(red);
    EXPECT_EQ(now(3).context, now(2).context);
    EXPECT_GT(now(3).context, 1u);
    EXPECT_EQ(now(3).table, 1001u);
    EXPECT_EQ(now(2).table, 1001u);
    EXPECT_EQ(now(1).context, 1u);
    EXPECT_EQ(now(1).table, 254u);
}

TEST_F(DeviceModel, NamesTheParentOfASubInterface)
{
    put(port(1));
    link_facts sub = port(2);
    sub.type = IF_INDEX_TYPE_VLAN_SUBIF;
    sub.vlan = 100;
    sub.parent_key = 1;
    put(sub);
    EXPECT_EQ(now(2).parent, of(1).if_index);
    EXPECT_EQ(now(1).parent, 0u);
    EXPECT_TRUE(of(2).is_vlan());
}

} // namespace
