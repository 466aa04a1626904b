// SPDX-License-Identifier: Apache-2.0
//
// The groups of benchmarks that need no service. Each registers its own; all of them work on the
// population that main.cpp makes before.
#pragma once

#include <cstdint>
#include <vector>

#include "subjects.h"

namespace bench
{

// `order` is random_iods(count).
void register_hits(const std::vector<subject> &subjects, uint32_t count, const uint16_t *order);
void register_upkeep(uint32_t count);
void register_notices(const uint16_t *order);
void register_requests();

// Prints the memory that each subject takes beside its records, as JSON. Nothing may be filled yet.
int print_memory(const std::vector<subject> &subjects, uint32_t count);

} // namespace bench
