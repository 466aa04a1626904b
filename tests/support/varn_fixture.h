// SPDX-License-Identifier: Apache-2.0
//
// The fixture of all tests of the library. Each test begins with an empty world, a library as it is
// at load time, and ends with the check of the invariants.
//
//   TEST_F(LinkupQuery, OnACleanEntryAsksNobody)
//   {
//       given(port(7).linkup(1));
//       start(config().sync(bits(1, 17)));
//       varn_ifsvc_is_linkup(7);
//       forget_all();
//       EXPECT_EQ(varn_ifsvc_is_linkup(7), 1u);
//       EXPECT_EQ(calls(), "");
//       EXPECT_EQ(counters_moved(), "hits[15] +1");
//   }
#pragma once

#include "captured_stdout.h"
#include "scripted_device.h"
#include "varn.h"
#include "varn_config.h"
#include "varn_counters.h"
#include "varn_invariants.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>

using namespace scripted;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

class varn_test : public testing::Test
{
protected:
    varn_test();
    ~varn_test() override;
    void TearDown() override;

    // varn_init with the journal, the history and the counters as they come.
    u32 init(const config &with);
    // varn_init that must succeed; then the journal, the history and the counters begin anew.
    void start(const config &with);
    // Drops what was recorded so far: journal, history, callbacks, counters.
    void forget_all();

    // The entry in the If table with this iod, or this if-index; null when there is none. Nothing
    // of the library or of the journal is touched.
    static varn_if_entry_t *entry(u32 iod);
    static varn_if_entry_t *entry_of(u32 if_index);

    // Masks by value: one in a record is aligned to 4 bytes, and EXPECT_EQ takes a reference.
    static u64 sync_mask() { return varn.config.sync; }
    static u64 dirty(const varn_if_entry_t *of) { return of->dirty; }

    // An entry that the test files itself: allocated as the library does, and counted, all zero but
    // for its identities.
    varn_if_entry_t *loose_entry(u32 if_index, u32 iod = 0, u32 pi = none, u32 lif = none);

    // The invariants now; also made after each test.
    void check();

    // Says that the test leaves an invariant broken, and why. The test then fails if all hold.
    void breaks_invariants_because(const std::string &reason) { broken_because_ = reason; }

private:
    live_before before_;
    std::set<const varn_if_entry_t *> loose_;
    std::string broken_because_;
};
