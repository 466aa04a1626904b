// SPDX-License-Identifier: Apache-2.0
//
// inventory_tests.cpp: what a file of an inventory makes of a device, and what is written of one.
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "device/runtime/if_index_types.h"
#include "inventory_file.h"
#include "inventory_writing.h"
#include "slowness.h"

namespace
{

using device::device_model;
using device::interface;
using device::inventory;

using InventoryRanges = InventoryFile;
using InventoryText = InventoryFile;

std::string read(const std::filesystem::path &path)
{
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// ---- What it makes

TEST_F(InventoryFile, MakesAnInterfaceByItsTypesDefaults)
{
    ASSERT_EQ(load(R"({"interfaces": [{"name": "port1", "type": "physical"},
                                      {"name": "tunnel1", "type": "gre"},
                                      {"name": "lo0", "type": "loopback"}]})"),
              "");
    const interface &port = at("port1"), &tunnel = at("tunnel1"), &loopback = at("lo0");
    EXPECT_EQ(port.if_index, uint32_t{IF_INDEX_TYPE_PHYSICAL} << 24 | 1);
    EXPECT_TRUE(port.now.linkup && port.now.protoup && port.now.ethernet);
    EXPECT_FALSE(port.now.p2p || port.now.loopback || port.now.switchport);
    EXPECT_EQ(port.now.mtu, 1500);
    EXPECT_EQ(port.now.encap, 1);
    EXPECT_EQ(port.now.context, 1u);
    EXPECT_EQ(port.now.table, 254u);
    EXPECT_EQ(tunnel.if_index, uint32_t{IF_INDEX_TYPE_GRE} << 24 | 1);
    EXPECT_TRUE(tunnel.now.p2p);
    EXPECT_FALSE(tunnel.now.ethernet);
    EXPECT_EQ(tunnel.now.mtu, 1476);
    EXPECT_EQ(tunnel.now.encap, 4);
    EXPECT_TRUE(loopback.now.loopback);
    EXPECT_EQ(loopback.now.mtu, 65535);
}

TEST_F(InventoryFile, TakesEveryFieldOverADefault)
{
    ASSERT_EQ(load(R"({"vrfs": [{"name": "red", "context": 2, "table": 1001}],
        "interfaces": [{"name": "p", "type": "physical", "ordinal": 7, "link": "up",
        "protocol": "down", "mtu": 9000, "mac": "02:00:00:00:00:a1", "encap": 3, "ethernet": false,
        "p2p": true, "loopback": true, "mode": "trunk", "forwarding": true, "vlan": 10,
        "vrf": "red", "member_of": "b", "private": [{"key": 1, "extension": 7, "block": "0a0B"}]},
        {"name": "b", "type": "port-channel"}]})"),
              "");
    const interface &port = at("p");
    EXPECT_EQ(port.if_index, uint32_t{IF_INDEX_TYPE_PHYSICAL} << 24 | 7);
    EXPECT_TRUE(port.now.linkup && port.now.p2p && port.now.loopback && port.now.switchport);
    EXPECT_FALSE(port.now.protoup || port.now.ethernet);
    EXPECT_TRUE(port.now.switching);
    EXPECT_EQ(port.now.mtu, 9000);
    EXPECT_EQ(port.now.encap, 3);
    EXPECT_EQ(port.now.mac, (std::array<uint8_t, 6>{2, 0, 0, 0, 0, 0xa1}));
    EXPECT_EQ(port.now.port_mode, device::trunk_port);
    EXPECT_EQ(port.now.vlan, 10u);
    EXPECT_EQ(port.now.context, 2u);
    EXPECT_EQ(port.now.table, 1001u);
    EXPECT_EQ(port.now.port_channel, at("b").if_index);
    EXPECT_EQ(port.attachments.at(1), (device::attachment{7, {0x0a, 0x0b}}));
}

TEST_F(InventoryFile, HasNoProtocolWithoutALink)
{
    ASSERT_EQ(load_interface(R"("link": "down", "protocol": "up")"), "");
    EXPECT_FALSE(at("a").now.linkup);
    EXPECT_FALSE(at("a").now.protoup);
}

TEST_F(InventoryFile, NumbersByTheTypeAndASviByItsVlan)
{
    ASSERT_EQ(load(R"({"interfaces": [
        {"name": "p2", "type": "physical"}, {"name": "p1", "type": "physical", "ordinal": 1},
        {"name": "v", "type": "svi", "vlan": 10}, {"name": "m", "type": "mgmt"},
        {"name": "s", "type": "subinterface", "vlan": 10, "parent": "p1"}]})"),
              "");
    EXPECT_EQ(at("p2").if_index, 0x1a000002u) << "1 is asked for by another one";
    EXPECT_EQ(at("v").if_index, 0x0900100au);
    EXPECT_EQ(at("m").if_index, 0x05000001u);
    EXPECT_EQ(at("s").if_index, 0x1b000001u);
    EXPECT_EQ(at("s").now.parent, at("p1").if_index);
    EXPECT_EQ(at("s").now.vlan, 10u);
}

TEST_F(InventoryFile, DecidesMembersOfABundleByItsMembersAndItsStateByItself)
{
    ASSERT_EQ(load(R"({"interfaces": [
        {"name": "p1", "type": "physical", "member_of": "b", "link": "down"},
        {"name": "p2", "type": "physical", "member_of": "b"},
        {"name": "b", "type": "port-channel", "link": "up", "protocol": "down"}]})"),
              "");
    EXPECT_EQ(at("b").now.first_member, at("p2").if_index);
    EXPECT_EQ(at("b").now.rbh, std::vector<uint32_t>(16, at("p2").if_index));
    EXPECT_TRUE(at("b").now.linkup);
    EXPECT_FALSE(at("b").now.protoup);
}

TEST_F(InventoryFile, NumbersVlansAroundThoseThatAsk)
{
    ASSERT_EQ(load_vlans(R"({"range": {"first": 10, "last": 12}}, {"id": 20, "bd": 1},
                            {"id": 21, "flood_index": 131073, "primary": 10})"),
              "");
    EXPECT_EQ(*model.find_vlan(10), (device::vlan_facts{10, 2, 131074}));
    EXPECT_EQ(*model.find_vlan(12), (device::vlan_facts{12, 4, 131076}));
    EXPECT_EQ(*model.find_vlan(20), (device::vlan_facts{20, 1, 131077}));
    EXPECT_EQ(*model.find_vlan(21), (device::vlan_facts{10, 5, 131073}));
}

TEST_F(InventoryFile, MayBeEmptyAndMayNameItsSchema)
{
    EXPECT_EQ(load("{}"), "");
    EXPECT_EQ(load(R"({"$schema": "inventory.schema.json", "interfaces": []})"), "");
    EXPECT_TRUE(model.interfaces().empty());
}

TEST_F(InventoryFile, TakesThePlaceOfTheOneBefore)
{
    ASSERT_EQ(load(R"({"interfaces": [{"name": "old", "type": "physical"}],
                       "vlans": [{"id": 5}]})"),
              "");
    const uint32_t old_iod = at("old").iod;
    ASSERT_EQ(load(R"({"interfaces": [{"name": "old", "type": "physical"}]})"), "");
    EXPECT_EQ(model.interfaces().size(), 1u);
    EXPECT_NE(at("old").iod, old_iod) << "another interface";
    EXPECT_EQ(model.find_vlan(5), nullptr);
}

TEST_F(InventoryFile, LeavesTheDeviceAloneWhenItIsWrong)
{
    ASSERT_EQ(load(R"({"interfaces": [{"name": "old", "type": "physical"}]})"), "");
    const std::string before = device.text();
    int notices = 0;
    model.tell([&](const wire::notice &) { ++notices; });
    EXPECT_NE(load(R"({"interfaces": [{"name": "new", "type": "physical"}, {}]})"), "");
    EXPECT_EQ(device.text(), before);
    EXPECT_EQ(notices, 0);
}

// ---- Ranges

TEST_F(InventoryRanges, PutTheNumberIntoTextsAndCountUp)
{
    ASSERT_EQ(load(R"({"interfaces": [
        {"range": {"first": 254, "last": 257}, "name": "p{}", "type": "physical", "ordinal": 10,
         "mac": "02:00:00:00:00:fe"},
        {"range": {"first": 254, "last": 255}, "name": "p{}.x", "type": "subinterface",
         "parent": "p{}", "vlan": "{}"}]})"),
              "");
    EXPECT_EQ(model.interfaces().size(), 6u);
    EXPECT_EQ(at("p257").if_index, 0x1a00000du);
    EXPECT_EQ(at("p257").now.mac, (std::array<uint8_t, 6>{2, 0, 0, 0, 1, 1}));
    EXPECT_EQ(at("p255.x").now.parent, at("p255").if_index);
    EXPECT_EQ(at("p255.x").now.vlan, 255u);
}

TEST_F(InventoryRanges, MayTakeTheNumberAsAnOrdinal)
{
    ASSERT_EQ(load(R"({"interfaces": [{"range": {"first": 5, "last": 6}, "name": "p{}",
                       "type": "physical", "ordinal": "{}"}]})"),
              "");
    EXPECT_EQ(at("p6").if_index, 0x1a000006u);
}

TEST_F(InventoryRanges, ThatCountTooFarAreRefused)
{
    EXPECT_EQ(
        load("{\"interfaces\": [{\"range\": {\"first\": 1, \"last\": 3}, \"type\": \"mgmt\",\n"
             "\"name\": \"p{}\", \"ordinal\": 32766}]}"),
        "f.json:2: ordinal: counts up too far");
    EXPECT_EQ(load(R"({"interfaces": [{"range": {"first": 1, "last": 2}, "name": "p{}",
                       "type": "mgmt", "mac": "ff:ff:ff:ff:ff:ff"}]})"),
              "f.json:2: mac: counts up too far");
    EXPECT_EQ(load_vlans("{\"range\": {\"first\": 4090,\n \"last\": 4095}}"),
              "f.json:2: range: must be of VLANs, from 1 to 4094");
    EXPECT_EQ(load_vlans(R"({"range": {"first": 0, "last": 5}})"),
              "f.json:2: range: must be of VLANs, from 1 to 4094");
    EXPECT_EQ(load(R"({"interfaces": [{"range": {"first": 4094, "last": 4095}, "name": "p{}",
                       "type": "svi", "vlan": "{}"}]})"),
              "f.json:2: vlan: must be a number from 1 to 4094, or null, and is 4095");
}

TEST_F(InventoryRanges, OfTheWrongFormAreRefused)
{
    const std::string wrong =
        "f.json:2: range: must be a first and a last number, with at most 32767 numbers";
    for (const char *range :
         {"5", "{}", "[1, 2]", R"({"first": 1})", R"({"first": 2, "last": 1})",
          R"({"first": 1, "last": 32768})", R"({"first": -1, "last": 1})",
          R"({"first": 1, "last": 2, "step": 1})", R"({"first": "1", "last": 2})",
          R"({"first": 0, "last": 18446744073709551615})",
          R"({"first": 18446744073709551614, "last": 18446744073709551615})"})
        EXPECT_EQ(load_interface(std::string("\"range\": ") + range), wrong) << range;
}

TEST_F(InventoryRanges, WithoutAMarkInTheNameGiveItTwice)
{
    EXPECT_EQ(load_interface(R"("range": {"first": 1, "last": 2})"),
              "f.json:2: name: there is an interface a already");
}

TEST_F(InventoryRanges, AreNotForVrfs)
{
    EXPECT_EQ(load(R"({"vrfs": [{"name": "a{}", "context": 2, "table": 2,
                       "range": {"first": 1, "last": 2}}]})"),
              "f.json:2: range: there is no field \"range\"");
}

// ---- What is written

TEST_F(InventoryText, LoadsAsTheDeviceThatItWasWrittenOf)
{
    for (const char *name : {"three-ports", "access-switch", "router", "large"}) {
        const auto path = std::filesystem::path(EXAMPLES) / (std::string(name) + ".json");
        ASSERT_EQ(device.load(path), "");
        const std::string text = device.text();
        device_model other_model;
        inventory other(other_model);
        ASSERT_EQ(other.load_text("again", text), "") << name;
        EXPECT_EQ(other.text(), text) << name;
        ASSERT_EQ(other_model.interfaces().size(), model.interfaces().size());
        auto again = other_model.interfaces().begin();
        for (const auto &[iod, entry] : model.interfaces()) {
            EXPECT_EQ(again->second.if_index, entry.if_index) << entry.name;
            EXPECT_EQ(device::difference(entry.now, again->second.now).to_string(),
                      device::attribute_set().to_string())
                << entry.name;
            EXPECT_EQ(again->second.attachments, entry.attachments);
            ++again;
        }
        EXPECT_EQ(other_model.vlans(), model.vlans());
    }
}

TEST_F(InventoryText, IsALineForEachEntry)
{
    ASSERT_EQ(load(R"({"vrfs": [{"name": "red", "context": 2, "table": 1001}],
        "vlans": [{"id": 10}], "interfaces": [{"name": "v", "type": "svi", "vlan": 10,
        "vrf": "red", "private": [{"key": 3, "block": "0aFF"}]}]})"),
              "");
    EXPECT_EQ(device.text(),
              R"({
  "vrfs": [
    {"name":"red","context":2,"table":1001}
  ],
  "vlans": [
    {"id":10,"bd":1,"flood_index":131073}
  ],
  "interfaces": [
    {"name":"v","type":"svi","link":"up","protocol":"up","mtu":1500,"mac":"00:00:00:00:00:00","encap":1,"ethernet":true,"p2p":false,"loopback":false,"vlan":10,"vrf":"red","private":[{"key":3,"block":"0aff"}]}
  ]
}
)");
}

TEST_F(InventoryText, OfNothingIsThreeEmptyLists)
{
    EXPECT_EQ(device.text(), "{\n  \"vrfs\": [],\n  \"vlans\": [],\n  \"interfaces\": []\n}\n");
}

TEST(InventoryExamples, HaveTheNumberOfInterfacesThatTheySay)
{
    const std::pair<const char *, std::size_t> cases[] = {
        {"three-ports", 3}, {"access-switch", 51}, {"router", 35}, {"large", 4096}};
    for (const auto &[name, count] : cases) {
        device_model model;
        inventory device(model);
        EXPECT_EQ(device.load(std::filesystem::path(EXAMPLES) / (std::string(name) + ".json")), "");
        EXPECT_EQ(model.interfaces().size(), count) << name;
    }
}

TEST(InventoryExamples, OfTheLargestLoadInUnderASecond)
{
    device_model model;
    inventory device(model);
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(device.load(std::filesystem::path(EXAMPLES) / "large.json"), "");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(slowness));
}

TEST(InventorySchema, IsTheDocumentedOne)
{
    EXPECT_EQ(device::inventory_schema(), read(SCHEMA))
        << "write it anew: varn-deviced --schema > docs/inventory.schema.json";
}

} // namespace
