// SPDX-License-Identifier: Apache-2.0
//
// change_words_tests.cpp: commands that are not understood, whatever the device is.
#include <sstream>

#include <gtest/gtest.h>

#include "change_words.h"

namespace
{

std::string misread(const std::string &command)
{
    std::istringstream text(command);
    std::vector<std::string> words;
    for (std::string word; text >> word;)
        words.push_back(word);
    device::change_request asked;
    return device::read_change(words, asked);
}

TEST(ChangeWords, OfEveryCommandAreUnderstood)
{
    for (const char *command :
         {"set p mtu 5", "set p mtu 5 link up", "add p physical", "add p svi vlan 5", "delete p",
          "member b add p", "member b remove p", "vlan 5 add", "vlan 5 add bd 7 primary 5",
          "vlan 5 set bd 7", "vlan 5 delete", "vlan 5 show", "private p 1 2", "private p 1 2 ff",
          "private p 1 none", "show", "show p"})
        EXPECT_EQ(misread(command), "") << command;
}

TEST(ChangeWords, ThatAreNoCommandAreMetWithTheNearest)
{
    EXPECT_EQ(misread(""), "there is no command");
    EXPECT_EQ(misread("sett p mtu 5"), "there is no command \"sett\" (did you mean set?)");
    EXPECT_EQ(misread("frobnicate"), "there is no command \"frobnicate\"");
}

TEST(ChangeWords, MayBeTooFewOrTooMany)
{
    EXPECT_EQ(misread("set p mtu"), "set: too few words");
    EXPECT_EQ(misread("set p mtu 5 link"), "link: there is no value behind it");
    EXPECT_EQ(misread("add p"), "add: too few words");
    EXPECT_EQ(misread("delete"), "delete: too few words");
    EXPECT_EQ(misread("delete p q"), "delete: too many words");
    EXPECT_EQ(misread("member b add"), "member: too few words");
    EXPECT_EQ(misread("member b add p q"), "member: too many words");
    EXPECT_EQ(misread("vlan 5"), "vlan: too few words");
    EXPECT_EQ(misread("private p 1"), "private: too few words");
    EXPECT_EQ(misread("private p 1 2 ff x"), "private: too many words");
    EXPECT_EQ(misread("show a b"), "show: too many words");
}

TEST(ChangeWords, NameFieldsOnceAndAsTheyAreCalled)
{
    EXPECT_EQ(misread("set p mut 5"), "there is no field \"mut\" (did you mean mtu?)");
    EXPECT_EQ(misread("set p mtu 5 mtu 6"), "mtu: stands twice");
    EXPECT_EQ(misread("add p physical type svi"), "type: stands twice");
    EXPECT_EQ(misread("add p physical name q"), "name: stands twice");
    EXPECT_EQ(misread("vlan 5 add id 6"), "there is no field \"id\" (did you mean bd?)");
    EXPECT_EQ(misread("vlan 5 delete bd 6"), "vlan: delete takes no fields");
    EXPECT_EQ(misread("vlan 5 show bd 6"), "vlan: show takes no fields");
}

TEST(ChangeWords, GiveValuesThatAreRight)
{
    EXPECT_EQ(misread("set p mtu x"), "mtu: must be a number from 1 to 65535, and is \"x\"");
    EXPECT_EQ(misread("set p mtu -1"), "mtu: must be a number from 1 to 65535, and is \"-1\"");
    EXPECT_EQ(misread("set p mtu 5x"), "mtu: must be a number from 1 to 65535, and is \"5x\"");
    EXPECT_EQ(misread("set p mtu 0x"), "mtu: must be a number from 1 to 65535, and is \"0x\"");
    EXPECT_EQ(misread("set p link yes"), "link: must be one of down, up, and is \"yes\"");
    EXPECT_EQ(misread("set p p2p true"), "p2p: must be yes or no, and is \"true\"");
    EXPECT_EQ(misread("set p vlan 4095"),
              "vlan: must be a number from 1 to 4094, or none, and is \"4095\"");
    EXPECT_EQ(misread("set p mac 1:2:3:4:5:6"),
              "mac: must be a MAC address such as 02:00:00:00:00:01, and is \"1:2:3:4:5:6\"");
    EXPECT_EQ(misread("add p loopbak").substr(0, 26), "type: must be one of physi");
    EXPECT_EQ(misread("member b ad p"),
              "member: must be one of add, remove, and is \"ad\" (did you mean add?)");
    EXPECT_EQ(misread("vlan 5 make"),
              "vlan: must be one of add, set, delete, show, and is \"make\"");
    EXPECT_EQ(misread("vlan 0 add"), "id: must be a number from 1 to 4094, and is \"0\"");
    EXPECT_EQ(misread("vlan 4095 add"), "id: must be a number from 1 to 4094, and is \"4095\"");
    EXPECT_EQ(misread("private p x 2"), "key: must be a number from 0 to 4294967295, and is \"x\"");
    EXPECT_EQ(misread("private p 1 x"),
              "extension: must be a number from 0 to 4294967295, and is \"x\"");
    EXPECT_EQ(misread("private p 1 2 f"),
              "block: must be up to 4096 bytes of two hexadecimal digits each, and is \"f\"");
    EXPECT_EQ(misread("private p 1 0"),
              "private: extension 0 without a block is nothing; none takes data away");
}

} // namespace
