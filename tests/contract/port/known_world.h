// SPDX-License-Identifier: Apache-2.0
//
// known_world.h: a small device that the suite makes with the hooks of contract_world.h, and that is
// taken down when its test ends. A deed that the port cannot do leaves the test out; one that fails
// fails it:
//
//   GIVEN(add(port, "port1", CONTRACT_PHYSICAL));
#ifndef TESTS_CONTRACT_PORT_KNOWN_WORLD_H
#define TESTS_CONTRACT_PORT_KNOWN_WORLD_H

#include "contract_world.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace port_contract
{

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

// What an output holds that nobody wrote.
inline constexpr u32 untouched = 0xDEADBEEF;
inline constexpr u32 no_index = 0xFFFFFFFF;

struct deed {
    u32 result = CONTRACT_DONE;
    std::string what; // the hook, with what it was told
};

struct face {
    std::string name;
    u32 if_index = 0;
    u32 iod = 0;
};

const contract_world_t &hooks();

// What supvr_vinst_get gave before the first test.
u16 vinst_at_start();

// Fills and gives back blocks of many sizes: what points to freed memory reads something else then.
void reuse_freed_memory();

const char *name_of(contract_kind_t kind);
const char *name_of(contract_value_t value);

class known_world : public testing::Test
{
protected:
    void TearDown() override;

    // Makes an interface and learns what it is called by.
    deed add(face &made, const char *name, contract_kind_t kind, u32 vlan = 0,
             const face *on = nullptr);
    deed remove(const face &gone);
    deed set(const face &of, contract_value_t value, u32 to);
    deed set_mac(const face &of, const u8 (&mac)[6]);
    deed attach(const face &of, u32 key, u32 extension, const std::string &block);
    deed join(const face &port, const face *pc);
    deed set_first_member(const face &pc, const face *port);
    deed set_bucket(const face &pc, u32 rbh, const face &port);
    deed put_vlan(u32 vlan, u32 bd, u32 flood_di, u32 primary);
    deed remove_vlan(u32 vlan);
    deed stop();
    deed start();
    deed dispatch();

    // Iods that no interface has: none, one that is free, and those beyond what is given out, among
    // them one that is a taken one in its low 16 bits.
    std::vector<u32> unknown_iods() const;

    // If-indexes that no interface has.
    std::vector<u32> unknown_if_indexes() const;

private:
    std::vector<face> faces_;
    std::vector<face> members_; // of a port-channel, which may not go before they left it
    std::vector<u32> vlans_;
    bool is_stopped_ = false;
};

} // namespace port_contract

#define GIVEN(act)                                                                                 \
    GTEST_AMBIGUOUS_ELSE_BLOCKER_                                                                  \
    if (const port_contract::deed done_deed = (act); done_deed.result == CONTRACT_CANNOT)          \
        GTEST_SKIP() << "left out: the port cannot " << done_deed.what;                            \
    else                                                                                           \
        ASSERT_EQ(done_deed.result, CONTRACT_DONE) << done_deed.what

#endif
