// SPDX-License-Identifier: Apache-2.0
//
// link_kinds_tests.cpp: what each kind of link becomes, written a second time.
#include "link_kinds.h"

#include <map>
#include <tuple>

#include <gtest/gtest.h>

namespace
{

using device::mastery;
using meaning = std::tuple<unsigned, mastery>;

constexpr unsigned ethernet = 1, loopback = 772;

TEST(LinkKinds, GiveTypeAndMasteryRowByRow)
{
    const std::map<std::string_view, meaning> expected = {
        {"veth", {26, mastery::none}},         {"dummy", {26, mastery::none}},
        {"bond", {22, mastery::port_channel}}, {"team", {22, mastery::port_channel}},
        {"bridge", {30, mastery::bridge}},     {"vrf", {30, mastery::vrf}},
        {"vlan", {27, mastery::none}},         {"gre", {24, mastery::none}},
        {"gretap", {24, mastery::none}},       {"ip6gre", {24, mastery::none}},
        {"ip6gretap", {24, mastery::none}},    {"sit", {28, mastery::none}},
    };
    std::map<std::string_view, meaning> found;
    for (const device::link_kind &row : device::link_kinds()) {
        EXPECT_TRUE(found.emplace(row.kind, meaning{row.type, row.masters}).second) << row.kind;
        EXPECT_EQ(device::kind_of_link(row.kind, ethernet).type, row.type);
    }
    EXPECT_EQ(found, expected);
}

TEST(LinkKinds, TellALinkWithoutAKindByItsHardware)
{
    EXPECT_EQ(device::kind_of_link("", ethernet).type, 26);
    EXPECT_EQ(device::kind_of_link("", loopback).type, 20);
}

TEST(LinkKinds, TakeAKindThatTheyDoNotKnowForAnotherVirtualInterface)
{
    EXPECT_EQ(device::kind_of_link("macvlan", ethernet).type, 30);
    EXPECT_EQ(device::kind_of_link("Veth", ethernet).type, 30);
    EXPECT_EQ(device::kind_of_link("macvlan", ethernet).masters, mastery::none);
}

TEST(LinkKinds, NumberEncapsulationsByHardware)
{
    const std::map<unsigned, unsigned> expected = {{1, 1},   {772, 2},   {512, 3}, {778, 4},
                                                   {823, 4}, {776, 5},   {768, 6}, {769, 6},
                                                   {32, 7},  {65534, 8}, {519, 8}};
    std::map<unsigned, unsigned> found;
    for (const device::encapsulation &row : device::encapsulations())
        found[row.hardware_type] = row.encap;
    EXPECT_EQ(found, expected);
    EXPECT_EQ(device::encap_of(24), 0);
}

} // namespace
