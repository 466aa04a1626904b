// SPDX-License-Identifier: Apache-2.0
//
// inventory_errors_tests.cpp: every way in which a file of an inventory can be wrong: the whole line
// is compared.
#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include "inventory_file.h"

namespace
{

using InventoryValues = InventoryFile;
using InventoryReferences = InventoryFile;
using InventoryBytes = InventoryFile;

// ---- What is wrong with a value

TEST_F(InventoryValues, OfTheWrongKindAreRefusedByTheirField)
{
    const std::pair<const char *, const char *> cases[] = {
        {R"("ordinal": 0)", "ordinal: must be a number from 1 to 32767, and is 0"},
        {R"("ordinal": 32768)", "ordinal: must be a number from 1 to 32767, and is 32768"},
        {R"("ordinal": "1")", "ordinal: must be a number from 1 to 32767, and is \"1\""},
        {R"("ordinal": null)", "ordinal: must be a number from 1 to 32767, and is null"},
        {R"("link": true)", "link: must be one of down, up, and is true"},
        {R"("link": "upp")", "link: must be one of down, up, and is \"upp\" (did you mean up?)"},
        {R"("protocol": 1)", "protocol: must be one of down, up, and is 1"},
        {R"("mtu": 0)", "mtu: must be a number from 1 to 65535, and is 0"},
        {R"("mtu": 65536)", "mtu: must be a number from 1 to 65535, and is 65536"},
        {R"("mtu": -1)", "mtu: must be a number from 1 to 65535, and is -1"},
        {R"("mtu": 1500.5)", "mtu: must be a number from 1 to 65535, and is 1500.5"},
        {R"("mtu": 1e3)", "mtu: must be a number from 1 to 65535, and is 1e3"},
        {R"("mtu": 99999999999999999999)",
         "mtu: must be a number from 1 to 65535, and is 99999999999999999999"},
        {R"("mac": "02:00:00:00:00")",
         "mac: must be a MAC address such as 02:00:00:00:00:01, and is \"02:00:00:00:00\""},
        {R"("mac": "02-00-00-00-00-01")",
         "mac: must be a MAC address such as 02:00:00:00:00:01, and is \"02-00-00-00-00-01\""},
        {R"("mac": "02:00:00:00:00:0g")",
         "mac: must be a MAC address such as 02:00:00:00:00:01, and is \"02:00:00:00:00:0g\""},
        {R"("encap": 65536)", "encap: must be a number from 0 to 65535, and is 65536"},
        {R"("ethernet": "yes")", "ethernet: must be true or false, and is \"yes\""},
        {R"("p2p": 1)", "p2p: must be true or false, and is 1"},
        {R"("loopback": [])", "loopback: must be true or false, and is a list"},
        {R"("mode": "acess")",
         "mode: must be one of routed, access, trunk, and is \"acess\" (did you mean access?)"},
        {R"("forwarding": {})", "forwarding: must be true or false, and is an object"},
        {R"("vlan": 0)", "vlan: must be a number from 1 to 4094, or null, and is 0"},
        {R"("vlan": 4095)", "vlan: must be a number from 1 to 4094, or null, and is 4095"},
        {R"("vlan": "{}")", "vlan: must be a number from 1 to 4094, or null, and is \"{}\""},
        {R"("vrf": 1)", "vrf: must be a name of up to 63 letters, digits and -._:/@+ that begins "
                        "with a letter or digit, and is 1"},
        {R"("member_of": "none")",
         "member_of: must be a name of up to 63 letters, digits and -._:/@+ that begins with a "
         "letter or digit, and is \"none\""},
    };
    for (const auto &[field, text] : cases)
        EXPECT_EQ(load_interface(field), std::string("f.json:2: ") + text);
}

TEST_F(InventoryValues, AtTheEndOfALineStandOnThatLine)
{
    EXPECT_EQ(load_interface("\"mtu\":\n0\n"),
              "f.json:3: mtu: must be a number from 1 to 65535, and is 0");
    EXPECT_EQ(load_interface("\"p2p\":\nnull\n"),
              "f.json:3: p2p: must be true or false, and is null");
}

TEST_F(InventoryValues, ThatAreNoNamesAreRefused)
{
    const std::string wrong = "f.json:1: name: must be a name of up to 63 letters, digits and "
                              "-._:/@+ that begins with a letter or digit, and is ";
    const std::pair<std::string, std::string> cases[] = {
        {R"("")", R"("")"},
        {R"("a b")", R"("a b")"},
        {R"("-a")", R"("-a")"},
        {R"("none")", R"("none")"},
        {R"("a\nb")", R"("a\nb")"},
        {R"("\u0000")", R"("\u0000")"},
        {R"("\u00e9")", R"("\u00e9")"},
        {'"' + std::string(64, 'x') + '"', '"' + std::string(60, 'x') + "...\""},
    };
    for (const auto &[name, shown] : cases)
        EXPECT_EQ(load("{\"interfaces\": [{\"type\": \"null\", \"name\": " + name + "}]}"),
                  wrong + shown);
    EXPECT_EQ(load("{\"interfaces\": [{\"type\": \"null\", \"name\": \"" + std::string(63, 'x') +
                   "\"}]}"),
              "");
}

TEST_F(InventoryValues, OfPrivateDataAreChecked)
{
    const std::pair<const char *, const char *> cases[] = {
        {R"("private": {})", "private: must be a list, and is an object"},
        {R"("private": [1])", "private: must have objects only, and has 1"},
        {R"("private": [{"extension": 1}])", "key: is missing"},
        {R"("private": [{"key": 1}])", "private: has neither an extension nor a block"},
        {R"("private": [{"key": 1, "extension": 4294967296}])",
         "extension: must be a number from 0 to 4294967295, and is 4294967296"},
        {R"("private": [{"key": 1, "block": "012"}])",
         "block: must be up to 4096 bytes of two hexadecimal digits each, and is \"012\""},
        {R"("private": [{"key": 1, "block": "0x12"}])",
         "block: must be up to 4096 bytes of two hexadecimal digits each, and is \"0x12\""},
        {R"("private": [{"key": 1, "blok": "12"}])",
         "blok: there is no field \"blok\" (did you mean block?)"},
        {R"("private": [{"key": 1, "extension": 1}, {"key": 1, "extension": 2}])",
         "key: 1 stands twice"},
    };
    for (const auto &[field, text] : cases)
        EXPECT_EQ(load_interface(field), std::string("f.json:2: ") + text);
}

TEST_F(InventoryValues, ThatTheTypeHasNotAreRefused)
{
    EXPECT_EQ(load(R"({"interfaces": [{"name": "lo", "type": "loopback",
                       "mode": "access"}]})"),
              "f.json:2: mode: an interface of type loopback has no mode");
    EXPECT_EQ(load(R"({"interfaces": [{"name": "v", "type": "svi", "vlan": 5, "ordinal": 1}]})"),
              "f.json:1: ordinal: an interface of type svi has no ordinal");
    EXPECT_EQ(load_interface(R"("parent": "a")"),
              "f.json:2: parent: an interface of type physical has no parent");
}

TEST_F(InventoryValues, ThatMustBeThereAreMissed)
{
    EXPECT_EQ(load("{\"interfaces\": [\n{\"type\": \"mgmt\"}]}"), "f.json:2: name: is missing");
    EXPECT_EQ(load("{\"interfaces\": [\n{\"name\": \"x\"}]}"), "f.json:2: type: is missing");
    EXPECT_EQ(load("{\"interfaces\": [\n{\"name\": \"x\", \"type\": \"svi\"}]}"),
              "f.json:2: vlan: an interface of type svi must have one");
    EXPECT_EQ(load("{\"interfaces\": [\n{\"name\": \"x\", \"type\": \"subinterface\"}]}"),
              "f.json:2: vlan: an interface of type subinterface must have one");
    EXPECT_EQ(load("{\"vlans\": [\n{\"primary\": 5}]}"),
              "f.json:2: id: must be told, or else a range");
    EXPECT_EQ(load("{\"vrfs\": [\n{\"name\": \"a\", \"context\": 2}]}"),
              "f.json:2: table: is missing");
}

TEST_F(InventoryValues, OfUnknownFieldsAreMetWithTheNearest)
{
    EXPECT_EQ(load_interface(R"("mtuu": 5)"),
              "f.json:2: mtuu: there is no field \"mtuu\" (did you mean mtu?)");
    EXPECT_EQ(load_interface(R"("\n": 5)"), "f.json:2: \"\\n\": there is no field \"\\n\"");
    EXPECT_EQ(load(R"({"interface": []})"),
              "f.json:1: interface: there is no field \"interface\" (did you mean interfaces?)");
    EXPECT_EQ(load_vlans(R"({"id": 5, "flood": 5})"),
              "f.json:2: flood: there is no field \"flood\"");
    EXPECT_EQ(
        load(R"({"interfaces": [{"name": "a", "type": "fysical"}]})"),
        "f.json:1: type: must be one of physical, mgmt, cbus, svi, port-channel, gre, loopback, "
        "subinterface, 6to4, null, other, mpls-tunnel, mvpn-tunnel, dci-tunnel, dci-overlay, "
        "and is \"fysical\" (did you mean physical?)");
}

TEST_F(InventoryValues, OfTheWrongShapeAreRefused)
{
    EXPECT_EQ(load("[]"), "f.json:1: inventory: must be an object, and is a list");
    EXPECT_EQ(load("\n\n\"x\""), "f.json:3: inventory: must be an object, and is \"x\"");
    EXPECT_EQ(load("{\"interfaces\":\n{}}"),
              "f.json:2: interfaces: must be a list, and is an object");
    EXPECT_EQ(load("{\"vlans\": [\n7]}"), "f.json:2: vlans: must have objects only, and has 7");
    EXPECT_EQ(load("{\"vrfs\": null}"), "f.json:1: vrfs: must be a list, and is null");
}

// ---- What is wrong between entries

TEST_F(InventoryReferences, AreUniqueInNamesAndNumbers)
{
    EXPECT_EQ(load("{\"interfaces\": [{\"name\": \"a\", \"type\": \"mgmt\"},\n"
                   "{\"type\": \"null\",\n\"name\": \"a\"}]}"),
              "f.json:3: name: there is an interface a already");
    EXPECT_EQ(load("{\"interfaces\": [{\"name\": \"a\", \"type\": \"mgmt\", \"ordinal\": 4},\n"
                   "{\"name\": \"b\", \"type\": \"mgmt\", \"ordinal\": 4}]}"),
              "f.json:2: ordinal: 4 of type mgmt is that of a already");
    EXPECT_EQ(load("{\"interfaces\": [{\"name\": \"a\", \"type\": \"svi\", \"vlan\": 4},\n"
                   "{\"name\": \"b\", \"type\": \"svi\", \"vlan\": 4}]}"),
              "f.json:2: vlan: 4 of type svi is that of a already");
    EXPECT_EQ(load("{\"interfaces\": [{\"name\": \"a\", \"type\": \"mgmt\", \"ordinal\": 4},\n"
                   "{\"name\": \"b\", \"type\": \"cbus\", \"ordinal\": 4}]}"),
              "");
}

TEST_F(InventoryReferences, OfVlansAreChecked)
{
    EXPECT_EQ(load_vlans("{\"id\": 5},\n{\"id\": 5}"), "f.json:3: id: there is a VLAN 5 already");
    EXPECT_EQ(load_vlans("{\"id\": 5, \"bd\": 9},\n{\"id\": 6, \"bd\": 9}"),
              "f.json:3: bd: 9 is that of VLAN 5 already");
    EXPECT_EQ(load_vlans("{\"id\": 5, \"flood_index\": 9},\n{\"id\": 6, \"flood_index\": 9}"),
              "f.json:3: flood_index: 9 is that of VLAN 5 already");
    EXPECT_EQ(load_vlans("{\"range\": {\"first\": 1, \"last\": 3}},\n{\"id\": 2}"),
              "f.json:3: id: there is a VLAN 2 already");
    EXPECT_EQ(load_vlans("{\"id\": 5,\n\"primary\": 6}"), "f.json:3: primary: there is no VLAN 6");
    EXPECT_EQ(load_vlans("{\"id\": 5, \"primary\": 6}, {\"id\": 6, \"primary\": 7}, {\"id\": 7}"),
              "f.json:2: primary: VLAN 6 is a secondary of 7 itself");
    EXPECT_EQ(load_vlans("{\"id\": 4095}"),
              "f.json:2: id: must be a number from 1 to 4094, and is 4095");
    EXPECT_EQ(load_vlans("{\"id\": 0}"), "f.json:2: id: must be a number from 1 to 4094, and is 0");
    EXPECT_EQ(load_vlans("{\"id\": 5, \"bd\": 16384}"),
              "f.json:2: bd: must be a number from 1 to 16383, and is 16384");
}

TEST_F(InventoryReferences, OfVrfsAreChecked)
{
    EXPECT_EQ(load("{\"vrfs\": [{\"name\": \"a\", \"context\": 2, \"table\": 2},\n"
                   "{\"name\": \"a\", \"context\": 3, \"table\": 2}]}"),
              "f.json:2: name: there is a VRF a already");
    EXPECT_EQ(load("{\"vrfs\": [{\"name\": \"a\", \"context\": 2, \"table\": 2},\n"
                   "{\"name\": \"b\", \"context\": 2, \"table\": 2}]}"),
              "f.json:2: context: 2 is that of VRF a already");
    EXPECT_EQ(load("{\"vrfs\": [{\"name\": \"a\", \"context\": 1, \"table\": 2}]}"),
              "f.json:1: context: must be a number from 2 to 4294967295, and is 1");
}

TEST_F(InventoryReferences, LeadToWhatIsThere)
{
    EXPECT_EQ(load_interface(R"("vrf": "red")"), "f.json:2: vrf: there is no VRF red");
    EXPECT_EQ(
        load("{\"vrfs\": [{\"name\": \"green\", \"context\": 2, \"table\": 2}], \"interfaces\": "
             "[{\"name\": \"a\", \"type\": \"mgmt\",\n\"vrf\": \"gren\"}]}"),
        "f.json:2: vrf: there is no VRF gren (did you mean green?)");
    EXPECT_EQ(load_interface(R"("member_of": "bundle1")"),
              "f.json:2: member_of: there is no interface bundle1");
    EXPECT_EQ(load_interface(R"("member_of": "a")"),
              "f.json:2: member_of: a is of type physical and no port-channel");
    EXPECT_EQ(load("{\"interfaces\": [{\"name\": \"port1\", \"type\": \"mgmt\"}, {\"name\": \"s\", "
                   "\"type\": \"subinterface\", \"vlan\": 5,\n\"parent\": \"port2\"}]}"),
              "f.json:2: parent: there is no interface port2 (did you mean port1?)");
    EXPECT_EQ(
        load("{\"interfaces\": [{\"name\": \"lo\", \"type\": \"loopback\"}, {\"name\": \"s\", "
             "\"type\": \"subinterface\", \"vlan\": 5,\n\"parent\": \"lo\"}]}"),
        "f.json:2: parent: lo is of type loopback, on which nothing can stand");
}

TEST_F(InventoryReferences, ToTwoBundlesAreOneTooMany)
{
    EXPECT_EQ(load_interface("\"member_of\": \"b1\",\n\"member_of\": \"b2\""),
              "f.json:3: JSON: \"member_of\" stands twice in one object");
}

TEST_F(InventoryReferences, AreMoreThanADeviceCanHave)
{
    EXPECT_EQ(load(R"({"interfaces": [
        {"range": {"first": 1, "last": 32767}, "name": "a{}", "type": "physical"},
        {"name": "b", "type": "mgmt"}]})"),
              "f.json:3: interfaces: there are 32767 interfaces already, and no more can be had");
    EXPECT_TRUE(model.interfaces().empty());
}

// ---- What is wrong with the bytes

TEST_F(InventoryBytes, ThatAreNoJsonAreRefusedByTheirLine)
{
    EXPECT_EQ(load(""),
              "f.json:1: JSON: syntax error while parsing value - unexpected end of input; "
              "expected '[', '{', or a literal");
    EXPECT_EQ(
        load("{\n\n\"interfaces\": [}\n"),
        "f.json:3: JSON: syntax error while parsing value - unexpected '}'; expected '[', '{', "
        "or a literal");
    EXPECT_EQ(load("{} x"),
              "f.json:1: JSON: syntax error while parsing value - invalid literal; last "
              "read: '{} x'; expected end of input");
    EXPECT_EQ(load("{\"\x80\": 1}"),
              "f.json:1: JSON: syntax error while parsing object key - invalid string: ill-formed "
              "UTF-8 byte; last read: '\"\x80'; expected string literal");
}

TEST_F(InventoryBytes, MayNotBeNestedWithoutEndOrHaveEndlessNames)
{
    EXPECT_EQ(load(std::string(1 << 20, '[')),
              "f.json:1: JSON: too many lists and objects within each other");
    std::string names = "{";
    for (int n = 0; n < 100000; ++n)
        names += "\"" + std::to_string(n) + "\": 1,\n";
    EXPECT_EQ(load(names), "f.json:65: JSON: too many names in one object");
}

struct InventoryOnDisk : InventoryFile {
    std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("varn-inventory-" + std::to_string(getpid()));

    void SetUp() override { std::filesystem::create_directory(folder); }
    void TearDown() override { std::filesystem::remove_all(folder); }
};

TEST_F(InventoryOnDisk, ThatCannotBeReadSaysWhy)
{
    const std::string path = folder / "none.json";
    EXPECT_EQ(device.load(path), path + ": cannot be read: No such file or directory");
    EXPECT_EQ(device.load(folder), folder.string() + ": is a directory");
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(device.load(pipe), pipe + ": is no regular file");
}

TEST_F(InventoryOnDisk, ThatIsEndlesslyLongIsNotReadToItsEnd)
{
    const std::string path = folder / "huge.json";
    std::ofstream(path) << "{";
    std::filesystem::resize_file(path, 100u << 20);
    EXPECT_EQ(device.load(path), path + ": is larger than 16 MB");
    std::filesystem::resize_file(path, (16u << 20) + 1);
    EXPECT_EQ(device.load(path), path + ": is larger than 16 MB");
}

} // namespace
