// SPDX-License-Identifier: Apache-2.0
//
// ip_oracle.h: the device as `ip` and `bridge` tell it, put into the device's words by the tables of
// device/service/README.md, which are written here a second time.
#ifndef TESTS_KERNEL_IP_ORACLE_H
#define TESTS_KERNEL_IP_ORACLE_H

#include <cstdint>
#include <set>
#include <string>

#include "picture.h"

// The kernel has no iods, and the order of a port-channel's members is that of theirs.
using iods = std::map<std::string, std::uint32_t>;

// All interfaces but those that the device is known not to serve.
picture told_by_ip(const iods &order, const std::set<std::string> &not_served);

#endif
