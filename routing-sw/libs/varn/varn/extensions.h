// SPDX-License-Identifier: Apache-2.0
//
// Extension values: four numbers an interface, each with a key of its own and, where the client
// gave one, a decoder that makes the number out of the private data under that key.
#ifndef VARN_EXTENSIONS_H
#define VARN_EXTENSIONS_H

#include "attributes.h"

namespace ifcache
{

inline constexpr unsigned num_extensions = 4;

// Asks for extension k of an interface under its configured key and stores the answer: through
// decoder k, with the size of the private data left in the entry, else as the service has it.
void fetch_extension(varn_if_entry_t &entry, unsigned k);

// A value of 0 means not set, and is asked again.
void mark_by_value(varn_if_entry_t &entry, unsigned k);

} // namespace ifcache

#endif
