// SPDX-License-Identifier: Apache-2.0
//
// The library's exported objects are put back to their load-time state by hand. What it keeps
// beside them (what was filed by iod) is emptied by varn_cleanup, after each test.
#include "varn_fixture.h"

#include <cstring>

namespace
{

void clear_exported_objects()
{
    std::memset(static_cast<void *>(&varn), 0, sizeof varn);
    std::memset(varn_iodbmp, 0, sizeof varn_iodbmp);
    std::memset(varn_print_str, 0, sizeof varn_print_str);
    varn_enabled = 0;
    varn_do_sync = 0;
    varn_error_cb = 0;
}

void name_tables()
{
    name_table(&varn.if_table, "If");
    name_table(&varn.iod_table, "Iod", key_form::decimal);
    name_table(&varn.pi_table, "Pi");
    name_table(&varn.lif_table, "Lif");
    name_table(&varn.vlan_table, "Vlan", key_form::decimal_16);
    name_table(&varn.pc_table, "Pc");
}

varn_if_entry_t *entry_with(u32 varn_if_entry_t::*key, u32 value)
{
    for (void *record : records_in(&varn.if_table))
        if (auto *each = static_cast<varn_if_entry_t *>(record); each->*key == value)
            return each;
    return nullptr;
}

} // namespace

varn_test::varn_test()
{
    reset();
    reset_callbacks();
    clear_exported_objects();
    name_tables();
    forget_counters();
}

varn_test::~varn_test()
{
    varn_cleanup();
    clear_exported_objects();
    reset();
    reset_callbacks();
}

void varn_test::TearDown()
{
    if (broken_because_.empty())
        check();
    else
        EXPECT_NE(broken_invariants(before_, loose_), "")
            << "said to break invariants because " << broken_because_ << ", but all of them hold";
}

u32 varn_test::init(const config &with)
{
    before_ = count_live();
    return varn_init(&with.record());
}

void varn_test::start(const config &with)
{
    ASSERT_EQ(init(with), 1u);
    forget_all();
}

void varn_test::forget_all()
{
    forget();
    forget_history();
    heard();
    forget_counters();
}

varn_if_entry_t *varn_test::entry(u32 iod) { return entry_with(&varn_if_entry_t::iod, iod); }

varn_if_entry_t *varn_test::entry_of(u32 if_index)
{
    return entry_with(&varn_if_entry_t::if_index, if_index);
}

varn_if_entry_t *varn_test::loose_entry(u32 if_index, u32 iod, u32 pi, u32 lif)
{
    auto *made = static_cast<varn_if_entry_t *>(
        on(memacct_alloc).by_default(544, 1, sizeof(varn_if_entry_t)));
    std::memset(static_cast<void *>(made), 0, sizeof *made);
    made->if_index = if_index;
    made->iod = iod;
    made->pi = pi;
    made->lif = lif;
    ++varn.if_allocs;
    forget_counters();
    loose_.insert(made);
    return made;
}

void varn_test::check() { EXPECT_EQ(broken_invariants(before_, loose_), ""); }
