// SPDX-License-Identifier: Apache-2.0
//
// Library against model, between two steps: every exported object, every counter, every field of
// every entry of all tables. Throws a difference.
#pragma once

#include "model.h"

namespace naive
{

void compare_state(const cache &model);

} // namespace naive
