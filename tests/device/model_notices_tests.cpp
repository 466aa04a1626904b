// SPDX-License-Identifier: Apache-2.0
//
// model_notices_tests.cpp: what the model tells of each change, compared whole. A notice is written
// as its name and the fields that are not zero.
#include <fstream>
#include <iterator>
#include <set>

#include <gtest/gtest.h>

#include "device/runtime/if_index_types.h"
#include "device_model.h"
#include "notice_table.h"

namespace
{

using device::link_facts;
using device::mastery;

std::string hex(uint64_t number)
{
    char text[20];
    std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(number));
    return text;
}

std::string text_of(const wire::notice &told)
{
    std::string text = wire::notice_names[static_cast<std::size_t>(told.kind)];
    const auto add = [&text](const char *name, const std::string &value) {
        text.append(" ").append(name).append("=").append(value);
    };
    if (told.if_index != 0)
        add("if", hex(told.if_index));
    if (told.iod != 0)
        add("iod", std::to_string(told.iod));
    if (told.state != 0)
        add("state", std::to_string(told.state));
    if (told.mtu != 0)
        add("mtu", std::to_string(told.mtu));
    if (told.mac != std::array<uint8_t, 6>{})
        add("mac", std::to_string(told.mac[5]));
    if (told.vlan != 0)
        add("vlan", std::to_string(told.vlan));
    if (told.old_member != 0)
        add("old", hex(told.old_member));
    if (told.new_member != 0)
        add("new", hex(told.new_member));
    if (told.key != 0)
        add("key", std::to_string(told.key));
    if (told.parameters != 0)
        add("parameters", hex(told.parameters));
    return text + "\n";
}

link_facts interface_of_type(uint32_t key, uint8_t type)
{
    link_facts facts;
    facts.key = key;
    facts.name = "if" + std::to_string(key);
    facts.type = type;
    facts.link = facts.protoup = true;
    facts.mtu = 1500;
    facts.mac[5] = static_cast<uint8_t>(key);
    return facts;
}

link_facts port(uint32_t key) { return interface_of_type(key, IF_INDEX_TYPE_PHYSICAL); }

link_facts channel(uint32_t key)
{
    link_facts facts = interface_of_type(key, IF_INDEX_TYPE_PC);
    facts.masters = mastery::port_channel;
    return facts;
}

class Notices : public testing::Test
{
protected:
    Notices()
    {
        model.tell([this](const wire::notice &told) { journal += text_of(told); });
    }

    // Brings interfaces up to date and gives what was told of it.
    std::string put(const std::vector<link_facts> &all)
    {
        for (const link_facts &facts : all)
            EXPECT_TRUE(model.put(facts));
        return told();
    }

    std::string told()
    {
        model.settle();
        return std::exchange(journal, "");
    }

    device::device_model model;
    std::string journal;
};

TEST_F(Notices, AnnounceANewInterfaceAndNothingElse)
{
    EXPECT_EQ(put({port(1)}), "Added if=0x1a000001 iod=1\n");
    EXPECT_EQ(told(), "");
}

TEST_F(Notices, AreNotSentForWhatChangedNothing)
{
    put({port(1)});
    EXPECT_EQ(put({port(1)}), "");
    link_facts admin = port(1);
    admin.admin_up = true;
    EXPECT_EQ(put({admin}), "") << "nothing answered depends on it";
}

TEST_F(Notices, WaitForTheEndOfTheTurn)
{
    put({port(1)});
    link_facts down = port(1);
    down.link = false;
    model.put(down);
    EXPECT_EQ(journal, "");
    EXPECT_TRUE(model.find_key(1)->now.linkup) << "the answer is the old one";
    model.put(port(1));
    EXPECT_EQ(told(), "") << "down and up again within one turn";
}

TEST_F(Notices, OfAPhysicalPortThatLosesItsLink)
{
    put({port(1)});
    link_facts down = port(1);
    down.link = false;
    EXPECT_EQ(put({down}), "PhysicalState if=0x1a000001 iod=1 state=2\n"
                           "L3State if=0x1a000001 iod=1 state=2 mtu=1500\n");
    EXPECT_EQ(put({port(1)}), "PhysicalState if=0x1a000001 iod=1 state=1\n"
                              "L3State if=0x1a000001 iod=1 state=1 mtu=1500\n");
}

TEST_F(Notices, OfASwitchportWhoseProtocolGoesDownAskForTheLinkToo)
{
    link_facts access = port(1);
    access.switchport = true;
    access.own_vlans = {10, false};
    put({access});
    access.protoup = false;
    EXPECT_EQ(put({access}), "L2State if=0x1a000001 iod=1 state=2 mtu=1500 mac=1 vlan=10\n"
                             "Linkup if=0x1a000001 iod=1\n");
}

TEST_F(Notices, OfAnInterfaceThatIsNoPort)
{
    link_facts loop = interface_of_type(1, IF_INDEX_TYPE_LOOPBACK);
    put({loop});
    loop.link = false;
    EXPECT_EQ(put({loop}), "L3State if=0x14000001 iod=1 state=2 mtu=1500\n");
}

TEST_F(Notices, OfAPortChannelTellItsLinkAndItsProtocolInOne)
{
    link_facts bundle = channel(1);
    put({bundle});
    bundle.protoup = false;
    EXPECT_EQ(put({bundle}), "L3BundleState if=0x16000001 iod=1 state=16 mtu=1500\n");
    bundle.link = false;
    EXPECT_EQ(put({bundle}), "L3BundleState if=0x16000001 iod=1 state=2 mtu=1500\n");
    bundle.link = bundle.protoup = true;
    EXPECT_EQ(put({bundle}), "L3BundleState if=0x16000001 iod=1 state=1 mtu=1500\n");
    bundle.switchport = true;
    bundle.protoup = false;
    EXPECT_EQ(put({bundle}), "L2BundleState if=0x16000001 iod=1 state=2 mtu=1500 mac=1\n"
                             "Switchport if=0x16000001 iod=1\n"
                             "Changed if=0x16000001 iod=1\n");
}

TEST_F(Notices, OfAnMtuNameTheParameter)
{
    put({port(1)});
    link_facts jumbo = port(1);
    jumbo.mtu = 9000;
    EXPECT_EQ(put({jumbo}), "L3Parameters if=0x1a000001 iod=1 parameters=0x1000\n");
    jumbo.p2p = true;
    EXPECT_EQ(put({jumbo}), "L3Parameters if=0x1a000001 iod=1\n");
}

TEST_F(Notices, OfAnAddress)
{
    put({port(1)});
    link_facts other = port(1);
    other.mac[5] = 77;
    EXPECT_EQ(put({other}), "RouterMac if=0x1a000001 iod=1 mac=77\n");
}

TEST_F(Notices, OfAPortThatEntersAndLeavesABridge)
{
    link_facts bridge = interface_of_type(1, IF_INDEX_TYPE_VIRTUAL);
    bridge.masters = mastery::bridge;
    bridge.filters_vlans = true;
    put({bridge, port(2)});
    link_facts member = port(2);
    member.master_key = 1;
    model.set_bridge_vlans({{2, {10, false}}});
    EXPECT_EQ(put({member}), "Switchport if=0x1a000001 iod=2\n"
                             "Changed if=0x1a000001 iod=2\n"
                             "Vlan if=0x1a000001 iod=2\n");
    bridge.filters_vlans = false;
    EXPECT_EQ(put({bridge}), "Vlan if=0x1a000001 iod=2\n") << "of its port";
    EXPECT_EQ(put({port(2)}), "Switchport if=0x1a000001 iod=2\n"
                              "Changed if=0x1a000001 iod=2\n");
}

TEST_F(Notices, OfAMemberThatComesAndGoes)
{
    put({channel(1), port(2), port(3)});
    link_facts member = port(2);
    member.master_key = 1;
    EXPECT_EQ(put({member}), "FirstMember if=0x16000001 iod=1 new=0x1a000001\n"
                             "Members if=0x16000001\n"
                             "Members if=0x16000001\n");
    link_facts second = port(3);
    second.master_key = 1;
    EXPECT_EQ(put({second}), "Members if=0x16000001\n"
                             "Members if=0x16000001\n");
    EXPECT_EQ(put({port(2)}), "FirstMember if=0x16000001 iod=1 old=0x1a000001 new=0x1a000002\n"
                              "Members if=0x16000001\n"
                              "Members if=0x16000001\n");
}

TEST_F(Notices, OfAMemberThatGoesFromOneToTheOtherAreAboutBoth)
{
    link_facts member = port(3);
    member.link = false;
    member.master_key = 1;
    put({channel(1), channel(2), member});
    member.master_key = 2;
    EXPECT_EQ(put({member}), "Members if=0x16000001\nMembers if=0x16000002\n");
}

TEST_F(Notices, OfAContextGoToEveryMember)
{
    link_facts red = interface_of_type(1, IF_INDEX_TYPE_VIRTUAL);
    red.masters = mastery::vrf;
    red.table = 1001;
    link_facts member = port(2);
    member.master_key = 1;
    put({red, member});
    red.table = 1002;
    EXPECT_EQ(put({red}), "Changed if=0x1e000001 iod=1\nChanged if=0x1a000001 iod=2\n");
    model.remove(1);
    EXPECT_EQ(told(), "Removed if=0x1e000001 iod=1\nChanged if=0x1a000001 iod=2\n");
}

TEST_F(Notices, OfARemovalComeBeforeThoseOfTheSuccessor)
{
    link_facts svi = interface_of_type(1, IF_INDEX_TYPE_SVI);
    svi.vlan = 10;
    put({svi});
    model.remove(1);
    svi.key = 2;
    EXPECT_EQ(put({svi}), "Removed if=0x900100a iod=1\nAdded if=0x900100a iod=2\n");
}

TEST_F(Notices, OfARemovedPortTakeItsLinkFirst)
{
    put({port(1)});
    model.remove(1);
    EXPECT_EQ(told(), "PhysicalState if=0x1a000001 iod=1 state=2\nRemoved if=0x1a000001 iod=1\n");
}

TEST_F(Notices, AreNotSentForWhatCameAndWentWithinATurn)
{
    model.put(port(1));
    model.remove(1);
    EXPECT_EQ(told(), "");
}

TEST_F(Notices, OfExtensionsNameTheKeyThatIsGone)
{
    put({port(1)});
    model.attach(1, 42, {7, {1, 2}});
    model.attach(1, 43, {8, {}});
    EXPECT_EQ(told(), "Changed if=0x1a000001 iod=1\n");
    model.attach(1, 42, {7, {1, 2}});
    EXPECT_EQ(told(), "") << "nothing new";
    model.attach(1, 42, {});
    model.attach(1, 43, {});
    model.attach(1, 44, {});
    EXPECT_EQ(told(), "ExtensionRemoved if=0x1a000001 iod=1 key=42\n"
                      "ExtensionRemoved if=0x1a000001 iod=1 key=43\n"
                      "Changed if=0x1a000001 iod=1\n");
}

TEST_F(Notices, OfVlans)
{
    EXPECT_TRUE(model.put_vlan(10, {}));
    EXPECT_EQ(told(), "VlanChanged vlan=10\n");
    EXPECT_TRUE(model.put_vlan(10, {}));
    EXPECT_EQ(told(), "") << "it keeps its numbers";
    EXPECT_TRUE(model.put_vlan(10, {10, 77, 0}));
    EXPECT_EQ(told(), "VlanChanged vlan=10\n");
    model.remove_vlan(10);
    EXPECT_EQ(told(), "VlanDeleted vlan=10\n");
    model.remove_vlan(10);
    EXPECT_EQ(told(), "");
}

TEST(NoticeTable, HasARowForEveryAttributeAndEveryInterface)
{
    for (std::size_t n = 0; n < bit_of(device::attribute::count); ++n) {
        const auto which = static_cast<device::attribute>(n);
        const bool only_bundles =
            which == device::attribute::first_member || which == device::attribute::rbh;
        for (const uint8_t what : {device::physical, device::bundle, device::other})
            for (const uint8_t layer : {device::switched, device::routed}) {
                if (only_bundles && what != device::bundle)
                    continue;
                device::attribute_set changed;
                changed.set(n);
                const auto role = static_cast<uint8_t>(what | layer);
                EXPECT_TRUE(device::notices_of(changed, role).any())
                    << device::name_of(which) << " of role " << unsigned{role};
            }
    }
}

std::string roles_of(uint8_t of)
{
    if (of == device::any)
        return "any";
    std::string text;
    const auto add = [&text](const std::string &word, const char *between) {
        text.append(text.empty() ? "" : between).append(word);
    };
    if ((of & device::physical) != 0)
        add("physical", "");
    if ((of & device::bundle) != 0)
        add("bundle", " or ");
    if ((of & device::other) != 0)
        add("other", " or ");
    constexpr uint8_t both = device::switched | device::routed;
    if ((of & both) != both)
        add((of & device::switched) != 0 ? "switched" : "routed", " ");
    return text;
}

TEST(NoticeTable, IsTheOneOfTheDocument)
{
    std::string rows = "| change | of | notice |\n|---|---|---|\n";
    for (const device::notice_row &row : device::notice_table())
        rows.append("| ")
            .append(device::name_of(row.changed))
            .append(" | ")
            .append(roles_of(row.of))
            .append(" | ")
            .append(wire::notice_names[static_cast<std::size_t>(row.sends)])
            .append(" |\n");
    std::ifstream file(NOTICES_DOCUMENT);
    const std::string document{std::istreambuf_iterator<char>(file), {}};
    const std::size_t begin = document.find("| change |");
    ASSERT_NE(begin, std::string::npos);
    EXPECT_EQ(document.substr(begin, document.find("\n\n", begin) + 1 - begin), rows);
    for (const char *name : wire::notice_names)
        EXPECT_NE(document.find(std::string("\n| ").append(name).append(" |")), std::string::npos)
            << name << " has no recipe";
}

TEST(NoticeTable, SaysNothingTwice)
{
    std::set<std::string> rows;
    for (const device::notice_row &row : device::notice_table())
        EXPECT_TRUE(rows.insert(std::to_string(bit_of(row.changed)) + " " + std::to_string(row.of) +
                                " " + std::to_string(static_cast<unsigned>(row.sends)))
                        .second)
            << device::name_of(row.changed);
}

} // namespace
