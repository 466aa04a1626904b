// SPDX-License-Identifier: Apache-2.0
//
// client.h: the cache of this process, as a client sets it up.
#ifndef TESTS_COHERENCE_CLIENT_H
#define TESTS_COHERENCE_CLIENT_H

#include "varn.h"

#include "device_under_test.h"

namespace coherence
{

inline constexpr u64 everything = VARN_MASK(VARN_BIT_PC + 1) - 1;

// Everything cached, a decoder in every slot.
varn_config_t full_configuration();

// Some seeds give that, some follow L3 states, some cache only a part.
varn_config_t random_configuration(u64 seed);

std::string text_of(const varn_config_t &config);

// Starts the cache, and ends it with nothing left of it.
void start_client(varn_config_t config);
void end_client();

} // namespace coherence

#endif
