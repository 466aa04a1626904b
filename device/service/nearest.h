// SPDX-License-Identifier: Apache-2.0
//
// nearest.h: slips of the pen, met with the nearest thing that exists.
#ifndef VARN_DEVICE_NEAREST_H
#define VARN_DEVICE_NEAREST_H

#include <string>
#include <string_view>
#include <vector>

namespace device
{

// " (did you mean NAME?)" for the candidate that is close enough, else empty.
std::string nearest(std::string_view typed, const std::vector<std::string> &candidates);

// A text in quotes, on one line whatever is in it, and cut where it is long.
std::string in_quotes(std::string_view text);

} // namespace device

#endif
