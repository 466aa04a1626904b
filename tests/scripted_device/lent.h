// SPDX-License-Identifier: Apache-2.0
//
// What the interface manager's client lends: a text or a block that is good until its next call.
// The double holds its borrowers to it: the next call of any ifsvc function overwrites what was
// lent before.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace scripted
{

// Overwrites what was lent; called at the beginning of each ifsvc call.
void take_back();

const char *lend(const std::string &text);
const std::uint8_t *lend(const std::vector<std::uint8_t> &bytes);

} // namespace scripted
