// SPDX-License-Identifier: Apache-2.0
//
// Every exported function that looks at who calls it and when, with a call of it that is harmless
// otherwise. The test that holds the list against the library's map is MisuseCalls.
#pragma once

#include "rules.h"
#include "varn_fixture.h"

#include <functional>
#include <vector>

struct exported_call {
    const char *function;
    std::function<void()> call;
};

// A call by name; what it gives is of no matter.
#define CALL(name, ...)                                                                            \
    exported_call                                                                                  \
    {                                                                                              \
#name, [] { static_cast<void>(name(__VA_ARGS__)); }                                        \
    }

inline constexpr u32 port7 = 0x1a000007;
inline constexpr u32 channel3 = 0x16000003;

// Where the calls write.
inline u32 word;
inline std::uint16_t half;
inline std::uint8_t six_bytes[6];
inline varn_vlan_info_t vlan_record;
inline varn_print_arg_fn trace_function;
inline std::uintptr_t trace_argument;
inline varn_phy_update_t phy_record{port7, 7, 1};
inline varn_l2_update_t l2_record{};
inline varn_l3_update_t l3_record{port7, 7, 1, {}, 1500};
inline varn_l3_param_update_t l3_param_record{0, 7};
inline varn_mac_update_t mac_record{port7, {}, {}, 0};
inline varn_fop_update_t fop_record{};

// They start, stop and switch.
std::vector<exported_call> calls_of_the_lifecycle();

// Everything else that can be seen between varn_cleanup and varn_init.
std::vector<exported_call> calls_of_a_running_cache();

// Rule 3: every pointer that may not be null, null in turn.
std::vector<exported_call> calls_with_null();
