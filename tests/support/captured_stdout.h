// SPDX-License-Identifier: Apache-2.0
//
// What an act writes on the process's standard output, by whatever road.
#pragma once

#include <functional>
#include <string>

std::string captured_stdout(const std::function<void()> &act);
