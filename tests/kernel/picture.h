// SPDX-License-Identifier: Apache-2.0
//
// picture.h: a device as one side tells it: "port0 mtu" is "1500". Interfaces are called by their
// names, also where one refers to another, because the two sides share no number.
#ifndef TESTS_KERNEL_PICTURE_H
#define TESTS_KERNEL_PICTURE_H

#include <map>
#include <string>
#include <vector>

using picture = std::map<std::string, std::string>;

// What both sides tell differently, a line each; "" when they agree.
std::string difference(const picture &told_by_ip, const picture &answered);

// The words that hold, in their order.
std::string words(const std::vector<std::pair<const char *, bool>> &list);

// Interfaces are put into groups under whatever names a side has for its groups; this gives each
// group the name of its first interface, so that the two sides can be compared.
picture groups(const std::map<std::string, std::string> &group_of_interface);

#endif
