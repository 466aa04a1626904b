// SPDX-License-Identifier: Apache-2.0
//
// How an extension value is had from the interface manager. A value of 0 means not set.
#include "extensions.h"

#include "ifsvc.h"

namespace ifcache
{

namespace
{

// The client's own identity is the key of extension 0.
u32 key_of(unsigned k) { return k == 0 ? varn.config.uuid : varn.config.extn_uuid[k - 1]; }

u32 decoded_private_data(varn_if_entry_t &entry, unsigned k, u32 key)
{
    u32 &size = entry.extn_size[k];
    const uintptr_t data = ifsvc_get_private_data(entry.iod, key, &size);
    return varn.config.extn_decode[k](reinterpret_cast<const void *>(data), size);
}

} // namespace

void fetch_extension(varn_if_entry_t &entry, unsigned k)
{
    entry.extn[k] = varn.config.extn_decode[k] ? decoded_private_data(entry, k, key_of(k))
                                               : ifsvc_get_extension(entry.iod, key_of(k));
}

} // namespace ifcache
