// SPDX-License-Identifier: Apache-2.0
//
// The hash-table double: a working table that keeps every promise of ht.h and trusts nobody. The
// records that stand in a table are kept outside of them; the link words are overwritten with
// changing garbage at each insert and removal, so that a client that reads them is found out.
// Breaches of the contract by the client end up in complaints().
//
// The functions are services as all others are: on(ht_insert).of("Pi").fails_once(),
// on(ht_init).of("Lif").fails(), on(ht_lookup).of("Iod", 7)... A lookup goes by its 32-bit key.
#pragma once

#include "service.h"

#include <string>
#include <vector>

namespace scripted
{

enum class key_form { hexadecimal, decimal, decimal_16 }; // of 32 bits, or of 16

// Gives a table its name in the journal, and says how its keys are told.
SCRIPTED_API void name_table(const ht_t *table, const std::string &name,
                             key_form keys = key_form::hexadecimal);

// The records that stand in the table now, in the order of their buckets; none for one that was
// never initialised. Says it without the client's callbacks and without a trace in the journal.
SCRIPTED_API std::vector<void *> records_in(const ht_t *table);
SCRIPTED_API bool stands_in(const ht_t *table, const void *record);
SCRIPTED_API bool is_initialised(const ht_t *table);

// The names of the tables, comma-separated, in which a record stands within [block, block + size).
std::string tables_holding(const void *block, std::size_t size);

SCRIPTED_API void reset_tables();

} // namespace scripted
