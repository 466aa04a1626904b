// SPDX-License-Identifier: Apache-2.0
//
// inventory_changes_tests.cpp: one command at a time on a small device: what it does, that it is
// told of, and every refusal with its whole text and nothing changed.
#include <sstream>

#include <gtest/gtest.h>

#include "device/runtime/if_index_types.h"
#include "inventory.h"

namespace
{

using device::device_model;
using device::interface;
using device::inventory;

constexpr char small_device[] = R"({
  "vrfs": [{"name": "red", "context": 2, "table": 1001}],
  "vlans": [{"id": 10}, {"id": 20, "primary": 10}],
  "interfaces": [
    {"name": "p1", "type": "physical", "member_of": "b1"},
    {"name": "p2", "type": "physical"},
    {"name": "b1", "type": "port-channel"},
    {"name": "b2", "type": "port-channel"},
    {"name": "p2.5", "type": "subinterface", "vlan": 5, "parent": "p2"},
    {"name": "v10", "type": "svi", "vlan": 10},
    {"name": "lo", "type": "loopback"}
  ]
})";

struct InventoryChange : testing::Test {
    device_model model;
    inventory device{model};
    std::string told; // names of the notices, one a word

    void SetUp() override
    {
        ASSERT_EQ(device.load_text("f", small_device), "");
        model.tell([this](const wire::notice &made) {
            told += std::string(told.empty() ? "" : " ") +
                    wire::notice_names[static_cast<std::size_t>(made.kind)];
        });
    }

    inventory::outcome run(const std::string &command)
    {
        std::istringstream text(command);
        std::vector<std::string> words;
        for (std::string word; text >> word;)
            words.push_back(word);
        return device.change(words);
    }

    void done(const std::string &command, const std::string &answer = "")
    {
        const auto outcome = run(command);
        EXPECT_TRUE(outcome.done) << command << ": " << outcome.text;
        EXPECT_EQ(outcome.text, answer) << command;
    }

    // What is wrong with a command, which then did nothing at all.
    std::string refused(const std::string &command)
    {
        const std::string before = device.text(), told_before = told;
        const auto outcome = run(command);
        EXPECT_FALSE(outcome.done) << command;
        EXPECT_EQ(device.text(), before) << command;
        EXPECT_EQ(told, told_before) << command;
        return outcome.text;
    }

    const interface *find(const std::string &name)
    {
        for (const auto &[iod, entry] : model.interfaces())
            if (entry.name == name)
                return &entry;
        return nullptr;
    }

    const device::attributes &now(const std::string &name) { return find(name)->now; }
};

using InventorySet = InventoryChange;
using InventoryAdd = InventoryChange;
using InventoryDelete = InventoryChange;
using InventoryMember = InventoryChange;
using InventoryVlan = InventoryChange;
using InventoryPrivate = InventoryChange;
using InventoryShow = InventoryChange;

// ---- set

TEST_F(InventorySet, ChangesWhatIsAnswered)
{
    done("set p2 link down");
    EXPECT_FALSE(now("p2").linkup || now("p2").protoup);
    done("set p2 link up");
    done("set p2 protocol down");
    EXPECT_TRUE(now("p2").linkup);
    EXPECT_FALSE(now("p2").protoup);
    done("set p2 mtu 0x2328");
    EXPECT_EQ(now("p2").mtu, 9000);
    done("set p2 mac 02:00:00:00:00:Ff");
    EXPECT_EQ(now("p2").mac, (std::array<uint8_t, 6>{2, 0, 0, 0, 0, 0xff}));
    done("set p2 encap 8 ethernet no p2p yes loopback yes");
    EXPECT_EQ(now("p2").encap, 8);
    EXPECT_TRUE(!now("p2").ethernet && now("p2").p2p && now("p2").loopback);
    done("set p2 mode access vlan 10");
    EXPECT_TRUE(now("p2").switchport && now("p2").switching);
    EXPECT_EQ(now("p2").vlan, 10u);
    EXPECT_EQ(now("p2").port_mode, device::access_port);
    done("set p2 forwarding no");
    EXPECT_FALSE(now("p2").switching);
    done("set p2 mode trunk vlan none");
    EXPECT_EQ(now("p2").vlan, 0u);
    EXPECT_EQ(now("p2").port_mode, device::trunk_port);
    done("set p2 vrf red");
    EXPECT_EQ(now("p2").context, 2u);
    EXPECT_EQ(now("p2").table, 1001u);
    done("set p2 vrf none");
    EXPECT_EQ(now("p2").context, 1u);
    EXPECT_EQ(now("p2").table, 254u);
    done("set p2.5 parent b1");
    EXPECT_EQ(now("p2.5").parent, find("b1")->if_index);
    done("set p2.5 parent none");
    EXPECT_EQ(now("p2.5").parent, 0u);
    done("set p2 member_of b2 protocol up");
    EXPECT_EQ(now("p2").port_channel, find("b2")->if_index);
    EXPECT_EQ(now("b2").first_member, find("p2")->if_index);
}

TEST_F(InventorySet, IsToldOfOnceAndOnlyIfSomethingIsDifferent)
{
    done("set lo mtu 65535");
    EXPECT_EQ(told, "");
    done("set p2 link down");
    EXPECT_EQ(told.substr(0, 13), "PhysicalState");
}

TEST_F(InventorySet, OfANameIsNoOtherInterfaceAndReferencesFollow)
{
    const uint32_t iod = find("b1")->iod, port = find("p2")->iod;
    done("set b1 name bundle");
    EXPECT_EQ(find("bundle")->iod, iod);
    EXPECT_EQ(now("p1").port_channel, find("bundle")->if_index);
    done("set p2 name port2");
    EXPECT_EQ(find("port2")->iod, port);
    done("member bundle remove p1");
    EXPECT_EQ(refused("delete port2"), "port2 is the parent of p2.5");
}

TEST_F(InventorySet, MayGiveAwayANameAndTakeIt)
{
    const uint32_t first = find("p1")->iod, second = find("p2")->iod;
    done("set p1 name x");
    done("set p2 name p1");
    done("set x name p2");
    EXPECT_EQ(find("p2")->iod, first);
    EXPECT_EQ(find("p1")->iod, second);
    EXPECT_EQ(now("p2").port_channel, find("b1")->if_index);
}

TEST_F(InventorySet, OfTypeOrdinalOrOwnVlanMakesAnotherInterface)
{
    for (const char *command : {"set lo type mgmt", "set lo ordinal 9", "set lo type null"}) {
        const uint32_t iod = find("lo")->iod;
        done(command);
        EXPECT_NE(find("lo")->iod, iod) << command;
    }
    const uint32_t sub = find("p2.5")->iod, svi = find("v10")->iod;
    done("set p2.5 vlan 6");
    EXPECT_NE(find("p2.5")->iod, sub);
    EXPECT_EQ(now("p2.5").parent, find("p2")->if_index);
    done("set v10 vlan 11");
    EXPECT_NE(find("v10")->iod, svi);
    EXPECT_EQ(find("v10")->if_index, 0x0900100bu);
    EXPECT_EQ(told, "Removed Added Removed Added Removed Added Removed Added Removed Added");
}

TEST_F(InventorySet, OfATypeTakesItsDefaultsAndKeepsWhatHasNothingToDoWithIt)
{
    done("set lo link down mac 02:00:00:00:00:09 vrf red mtu 1400");
    done("set lo type gre");
    EXPECT_EQ(find("lo")->if_index, uint32_t{IF_INDEX_TYPE_GRE} << 24 | 1);
    EXPECT_TRUE(now("lo").p2p);
    EXPECT_FALSE(now("lo").loopback || now("lo").linkup);
    EXPECT_EQ(now("lo").mtu, 1476);
    EXPECT_EQ(now("lo").context, 2u);
    EXPECT_EQ(now("lo").mac[5], 9);
    done("set lo type svi vlan 99");
    EXPECT_EQ(find("lo")->if_index, 0x09001063u);
    done("set lo type physical");
    EXPECT_FALSE(now("lo").switchport);
}

TEST_F(InventorySet, RefusesWhatDoesNotHoldTogether)
{
    EXPECT_EQ(refused("set p9 mtu 9000"), "there is no interface \"p9\" (did you mean p1?)");
    EXPECT_EQ(refused("set p2 name p1"), "name: there is an interface p1 already");
    EXPECT_EQ(refused("set p2 ordinal 1"), "ordinal: 1 of type physical is that of p1 already");
    EXPECT_EQ(refused("set v10 ordinal 1"), "ordinal: an interface of type svi has no ordinal");
    EXPECT_EQ(refused("set v10 vlan none"), "vlan: an interface of type svi must have one");
    EXPECT_EQ(refused("set lo mode access"), "mode: an interface of type loopback has no mode");
    EXPECT_EQ(refused("set lo type svi"), "vlan: an interface of type svi must have one");
    EXPECT_EQ(refused("set lo type svi vlan 10"), "vlan: 10 of type svi is that of v10 already");
    EXPECT_EQ(refused("set p2 vrf blue"), "vrf: there is no VRF blue");
    EXPECT_EQ(refused("set p2 vrf rde"), "vrf: there is no VRF rde (did you mean red?)");
    EXPECT_EQ(refused("set p2 member_of lo"),
              "member_of: lo is of type loopback and no port-channel");
    EXPECT_EQ(refused("set p2.5 parent lo"),
              "parent: lo is of type loopback, on which nothing can stand");
    EXPECT_EQ(refused("set p2.5 parent b3"), "parent: there is no interface b3 (did you mean b1?)");
    EXPECT_EQ(refused("set b1 type mgmt"), "type: b1 has members: p1");
    EXPECT_EQ(refused("set p2 type mgmt"), "type: p2 is the parent of p2.5");
    EXPECT_EQ(refused("set p1 type mgmt"), "type: p1 has a member_of, b1, which no mgmt has");
}

// ---- add and delete

TEST_F(InventoryAdd, MakesAnInterfaceWithAllThatIsTold)
{
    done("add p3 physical member_of b1 mtu 9000 link down");
    EXPECT_EQ(find("p3")->if_index, 0x1a000003u);
    EXPECT_EQ(now("p3").mtu, 9000);
    EXPECT_FALSE(now("p3").linkup);
    EXPECT_EQ(now("p3").port_channel, find("b1")->if_index);
    EXPECT_EQ(told.substr(0, 5), "Added");
    done("add v20 svi vlan 20 vrf red");
    EXPECT_EQ(find("v20")->if_index, 0x09001014u);
    done("add m mgmt ordinal 7");
    EXPECT_EQ(find("m")->if_index, 0x05000007u);
}

TEST_F(InventoryAdd, OfTheSameNameAndOrdinalIsAnotherInterface)
{
    const uint32_t iod = find("lo")->iod, if_index = find("lo")->if_index;
    const uint32_t key = find("lo")->key;
    done("private lo 1 7");
    done("delete lo");
    done("add lo loopback ordinal 1");
    EXPECT_EQ(find("lo")->if_index, if_index);
    EXPECT_NE(find("lo")->iod, iod);
    EXPECT_NE(find("lo")->key, key);
    EXPECT_TRUE(find("lo")->attachments.empty());
}

TEST_F(InventoryAdd, ChoosesAnOrdinalThatWasNotJustGivenBack)
{
    done("add x null");
    done("delete x");
    done("add x null");
    EXPECT_EQ(find("x")->if_index, uint32_t{IF_INDEX_TYPE_NULL0} << 24 | 2);
}

TEST_F(InventoryAdd, RefusesWhatDoesNotHoldTogether)
{
    EXPECT_EQ(refused("add p1 mgmt"), "name: there is an interface p1 already");
    EXPECT_EQ(refused("add x physical ordinal 1"),
              "ordinal: 1 of type physical is that of p1 already");
    EXPECT_EQ(refused("add x svi"), "vlan: an interface of type svi must have one");
    EXPECT_EQ(refused("add x svi vlan 10"), "vlan: 10 of type svi is that of v10 already");
    EXPECT_EQ(refused("add x subinterface vlan 5 parent y"), "parent: there is no interface y");
    EXPECT_EQ(refused("add x mgmt member_of b1"),
              "member_of: an interface of type mgmt has no member_of");
}

TEST_F(InventoryDelete, RemovesAnInterface)
{
    const uint32_t iod = find("lo")->iod;
    done("delete lo");
    EXPECT_EQ(model.find_iod(iod), nullptr);
    EXPECT_EQ(told, "Removed");
    EXPECT_EQ(refused("set lo mtu 5"), "there is no interface \"lo\"");
}

TEST_F(InventoryDelete, RefusesWhatOthersNeed)
{
    EXPECT_EQ(refused("delete b1"), "b1 has members: p1");
    for (const char *name : {"a", "c", "d", "e"})
        done(std::string("add ") + name + " physical member_of b1");
    EXPECT_EQ(refused("delete b1"), "b1 has members: p1, a, c and 2 more");
    EXPECT_EQ(refused("delete p2"), "p2 is the parent of p2.5");
    EXPECT_EQ(refused("delete q"), "there is no interface \"q\"");
    done("delete p2.5");
    done("delete p2");
}

// ---- member, vlan, private, show

TEST_F(InventoryMember, GoesInAndOut)
{
    done("member b1 add p2");
    EXPECT_EQ(now("p2").port_channel, find("b1")->if_index);
    EXPECT_EQ(now("b1").rbh[1], find("p2")->if_index);
    done("member b1 remove p1");
    EXPECT_EQ(now("p1").port_channel, 0u);
    EXPECT_EQ(now("b1").first_member, find("p2")->if_index);
}

TEST_F(InventoryMember, OfTwoBundlesIsRefused)
{
    EXPECT_EQ(refused("member b2 add p1"), "p1 is in b1 already");
    EXPECT_EQ(refused("member b1 add p1"), "p1 is in b1 already");
}

TEST_F(InventoryMember, MustBePossible)
{
    EXPECT_EQ(refused("member b2 remove p1"), "p1 is not in b2");
    EXPECT_EQ(refused("member lo add p2"), "member_of: lo is of type loopback and no port-channel");
    EXPECT_EQ(refused("member b1 add lo"),
              "member_of: an interface of type loopback has no member_of");
    EXPECT_EQ(refused("member b1 add b2"),
              "member_of: an interface of type port-channel has no member_of");
    EXPECT_EQ(refused("member b3 add p2"), "there is no interface \"b3\" (did you mean b1?)");
    EXPECT_EQ(refused("member b1 add p3"), "there is no interface \"p3\" (did you mean p1?)");
}

TEST_F(InventoryVlan, IsMadeChangedShownAndRemoved)
{
    done("vlan 30 add primary 10");
    EXPECT_EQ(*model.find_vlan(30), (device::vlan_facts{10, 3, 131075}));
    done("vlan 30 set bd 77 flood_index 88");
    EXPECT_EQ(*model.find_vlan(30), (device::vlan_facts{10, 77, 88}));
    done("vlan 30 show", "{\n  \"vlans\": [\n    "
                         "{\"id\":30,\"primary\":10,\"bd\":77,\"flood_index\":88}\n  ]\n}\n");
    done("vlan 30 set primary 30");
    EXPECT_EQ(model.find_vlan(30)->primary, 30);
    done("vlan 30 delete");
    EXPECT_EQ(model.find_vlan(30), nullptr);
    EXPECT_EQ(told, "VlanChanged VlanChanged VlanChanged VlanDeleted");
}

TEST_F(InventoryVlan, RefusesWhatDoesNotHoldTogether)
{
    EXPECT_EQ(refused("vlan 10 add"), "id: there is a VLAN 10 already");
    EXPECT_EQ(refused("vlan 30 add primary 31"), "primary: there is no VLAN 31");
    EXPECT_EQ(refused("vlan 30 add primary 20"), "primary: VLAN 20 is a secondary of 10 itself");
    EXPECT_EQ(refused("vlan 30 add bd 1"), "bd: 1 is that of VLAN 10 already");
    EXPECT_EQ(refused("vlan 20 set bd 1"), "bd: 1 is that of VLAN 10 already");
    EXPECT_EQ(refused("vlan 20 set flood_index 131073"),
              "flood_index: 131073 is that of VLAN 10 already");
    EXPECT_EQ(refused("vlan 30 set bd 5"), "there is no VLAN 30");
    EXPECT_EQ(refused("vlan 30 delete"), "there is no VLAN 30");
    EXPECT_EQ(refused("vlan 30 show"), "there is no VLAN 30");
    EXPECT_EQ(refused("vlan 10 delete"), "VLAN 10 is the primary of 20");
    done("vlan 30 add");
    EXPECT_EQ(refused("vlan 10 set primary 30"), "VLAN 10 is the primary of 20");
    EXPECT_EQ(refused("vlan 20 set primary 99"), "primary: there is no VLAN 99");
}

TEST_F(InventoryVlan, GivesItsNumbersBack)
{
    done("vlan 30 add bd 77");
    done("vlan 30 delete");
    done("vlan 31 add bd 77");
    EXPECT_EQ(model.find_vlan(31)->bd, 77);
}

TEST_F(InventoryPrivate, IsAttachedAndTakenAway)
{
    done("private lo 377 7 07000000");
    EXPECT_EQ(find("lo")->attachments.at(377), (device::attachment{7, {7, 0, 0, 0}}));
    done("private lo 377 0 ff");
    EXPECT_EQ(find("lo")->attachments.at(377), (device::attachment{0, {0xff}}));
    done("private lo 377 none");
    EXPECT_TRUE(find("lo")->attachments.empty());
    EXPECT_NE(told.find("ExtensionRemoved"), std::string::npos);
    EXPECT_EQ(refused("private loo 1 2"), "there is no interface \"loo\" (did you mean lo?)");
}

TEST_F(InventoryShow, GivesTheWholeOrOne)
{
    done("show", device.text());
    done("show lo", R"({
  "interfaces": [
    {"name":"lo","type":"loopback","ordinal":1,"link":"up","protocol":"up","mtu":65535,"mac":"00:00:00:00:00:00","encap":2,"ethernet":false,"p2p":false,"loopback":true}
  ]
}
)");
    EXPECT_EQ(refused("show lol"), "there is no interface \"lol\" (did you mean lo?)");
}

TEST_F(InventoryShow, LoadsAsTheDeviceAfterAnyChange)
{
    for (const char *command :
         {"set p1 name q", "delete lo", "vlan 30 add primary 10", "set p2 mode trunk vlan 9",
          "private b1 4 5 00", "add g gre vrf red", "set p2.5 vlan 8", "member b1 remove q"}) {
        done(command);
        device_model other_model;
        inventory other(other_model);
        EXPECT_EQ(other.load_text("again", device.text()), "") << command;
        EXPECT_EQ(other.text(), device.text()) << command;
    }
}

} // namespace
