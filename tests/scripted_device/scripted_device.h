// SPDX-License-Identifier: Apache-2.0
//
// The scripted device: a hand-written double of every platform function, linked as a shared library
// beside the unmodified product. It records the calls, answers from a small world of interfaces,
// and does what a test tells it to. README.md shows how a test is written with it.
//
// One device per process, no threads. reset() brings everything back: the world empty, no rule, no
// record, every block and table forgotten. The client's own objects (a table's ht_t above all) are
// the client's to clear.
#pragma once

#include "journal.h"        // record, calls, forget, complaints
#include "memory_double.h"  // released, live_blocks, accounts
#include "process_double.h" // history, stack_traces
#include "service.h"        // on(function).of(...).answers(...)
#include "table_double.h"   // name_table, records_in
#include "world.h"          // given(port(7).mtu(9216)), the(7), gone(7)

namespace scripted
{

SCRIPTED_API void reset();

} // namespace scripted
