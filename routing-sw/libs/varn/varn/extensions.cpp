// SPDX-License-Identifier: Apache-2.0
//
// The extension values and the private data behind them. The four slots differ in bit, counter,
// field, decoder and key, all of which follow from the slot's number; an exported function is one
// slot of one operation. After every read a value of 0 has its dirty bit set, even one that a
// setter put there.
#include "extensions.h"

#include "entries.h"
#include "ifsvc.h"
#include "misuse.h"

using namespace ifcache;

namespace
{

// The client's own identity is the key of extension 0.
u32 key_of(unsigned k) { return k == 0 ? varn.config.uuid : varn.config.extn_uuid[k - 1]; }

u32 decoded(unsigned k, uintptr_t data, u32 size)
{
    CALL_OUT();
    return varn.config.extn_decode[k](reinterpret_cast<const void *>(data), size);
}

// The call that writes the size comes before the size is read.
u32 ask_decoded(unsigned k, u32 iod, u32 key, u32 &size)
{
    const uintptr_t data = ifsvc_get_private_data(iod, key, &size);
    return decoded(k, data, size);
}

u32 ask_decoded_or_extension(varn_if_entry_t &entry, unsigned k, u32 iod, u32 key)
{
    return varn.config.extn_decode[k] ? ask_decoded(k, iod, key, entry.extn_size[k])
                                      : ifsvc_get_extension(iod, key);
}

// A value of 0 is asked again after every read; any other is clean already.
const varn_if_entry_t *extension_at_hand(u32 iod, unsigned k)
{
    varn_if_entry_t *entry = hit_at_hand(iod, extn_attribute(k));
    if (entry && !entry->extn[k])
        mark_dirty(*entry, extn_attribute(k));
    return entry;
}

// The way to a value that is not at hand. Null: the service is to be asked.
template <class asker>
varn_if_entry_t *read(u32 iod, unsigned k, asker ask)
{
    const attribute extn = extn_attribute(k);
    varn_if_entry_t *entry = entry_if_cached(iod, extn);
    if (!entry) {
        count_miss(extn, iod, nullptr);
        return nullptr;
    }
    if (is_dirty(*entry, extn)) {
        WORK_ON(entry);
        count_miss(extn, iod, entry);
        entry->extn[k] = ask(*entry);
    } else {
        count_hit(extn, iod, entry);
    }
    mark_by_value(*entry, k);
    return entry;
}

// Deliberate: a getter never asks the decoder, a tester does.
COLD u32 get_not_at_hand(u32 iod, u32 key, unsigned k)
{
    const varn_if_entry_t *entry =
        read(iod, k, [=](varn_if_entry_t &) { return ifsvc_get_extension(iod, key); });
    return entry ? entry->extn[k] : ifsvc_get_extension(iod, key);
}

u32 get(u32 iod, u32 key, unsigned k)
{
    const varn_if_entry_t *entry = extension_at_hand(iod, k);
    return entry ? entry->extn[k] : get_not_at_hand(iod, key, k);
}

COLD u32 is_set_not_at_hand(u32 iod, u32 key, unsigned k)
{
    const varn_if_entry_t *entry = read(iod, k, [=](varn_if_entry_t &dirty) {
        return ask_decoded_or_extension(dirty, k, iod, key);
    });
    return entry ? entry->extn[k] != 0 : ifsvc_is_extension_set(iod, key);
}

u32 is_set(u32 iod, u32 key, unsigned k)
{
    const varn_if_entry_t *entry = extension_at_hand(iod, k);
    return entry ? entry->extn[k] != 0 : is_set_not_at_hand(iod, key, k);
}

// Deliberate: clean also with a 0, which is read once as a hit and then asked again.
void store(varn_if_entry_t &entry, unsigned k, u32 value)
{
    count_update(extn_attribute(k));
    entry.extn[k] = value;
    mark_clean(entry, extn_attribute(k));
}

// Deliberate: 1 also when no entry can be had, and sync is not asked.
u32 set(u32 iod, unsigned k, u32 value)
{
    if (varn_if_entry_t *entry = entry_of_iod(iod))
        store(*entry, k, value);
    return 1;
}

COLD uintptr_t private_data_not_at_hand(u32 iod, u32 key, u32 *size)
{
    // Deliberate: a stale value is asked under the configured key, whatever key the caller gave.
    const varn_if_entry_t *entry = read(iod, 0, [iod](varn_if_entry_t &dirty) {
        return ask_decoded(0, iod, key_of(0), dirty.extn_size[0]);
    });
    if (!entry)
        return ask_decoded(0, iod, key, *size);
    *size = entry->extn_size[0];
    return entry->extn[0];
}

} // namespace

void ifcache::fetch_extension(varn_if_entry_t &entry, unsigned k)
{
    entry.extn[k] = ask_decoded_or_extension(entry, k, entry.iod, key_of(k));
}

void ifcache::mark_by_value(varn_if_entry_t &entry, unsigned k)
{
    entry.extn[k] ? mark_clean(entry, extn_attribute(k)) : mark_dirty(entry, extn_attribute(k));
}

uint32_t varn_ifsvc_get_extension(uint32_t iod, uint32_t key)
{
    VISIT();
    return get(iod, key, 0);
}

uint32_t varn_ifsvc_get_extension1(uint32_t iod, uint32_t key)
{
    VISIT();
    return get(iod, key, 1);
}

uint32_t varn_ifsvc_get_extension2(uint32_t iod, uint32_t key)
{
    VISIT();
    return get(iod, key, 2);
}

uint32_t varn_ifsvc_get_extension3(uint32_t iod, uint32_t key)
{
    VISIT();
    return get(iod, key, 3);
}

uint32_t varn_ifsvc_is_extension_set(uint32_t iod, uint32_t key)
{
    VISIT();
    return is_set(iod, key, 0);
}

uint32_t varn_ifsvc_is_extension1_set(uint32_t iod, uint32_t key)
{
    VISIT();
    return is_set(iod, key, 1);
}

uint32_t varn_ifsvc_is_extension2_set(uint32_t iod, uint32_t key)
{
    VISIT();
    return is_set(iod, key, 2);
}

uint32_t varn_ifsvc_is_extension3_set(uint32_t iod, uint32_t key)
{
    VISIT();
    return is_set(iod, key, 3);
}

uint32_t varn_ifsvc_set_extension(uint32_t iod, uint32_t, uint32_t value)
{
    VISIT();
    return set(iod, 0, value);
}

uint32_t varn_ifsvc_set_extension1(uint32_t iod, uint32_t, uint32_t value)
{
    VISIT();
    return set(iod, 1, value);
}

uint32_t varn_ifsvc_set_extension2(uint32_t iod, uint32_t, uint32_t value)
{
    VISIT();
    return set(iod, 2, value);
}

uint32_t varn_ifsvc_set_extension3(uint32_t iod, uint32_t, uint32_t value)
{
    VISIT();
    return set(iod, 3, value);
}

uint32_t varn_ifsvc_update_private_data(uint32_t iod, uint32_t, uint32_t value, uint32_t size)
{
    VISIT();
    if (!is_answered_by_iod(extn_attribute(0)) || !varn.config.extn_decode[0])
        return 1;
    varn_if_entry_t *entry = entry_of_iod(iod);
    if (!entry)
        return 0;
    store(*entry, 0, value);
    entry->extn_size[0] = size;
    return 1;
}

uintptr_t varn_ifsvc_get_private_data(uint32_t iod, uint32_t key, uint32_t *size)
{
    VISIT();
    MUST(RULE_NULL, size);
    const bool has_decoder = varn.config.extn_decode[0];
    if (!has_decoder) {
        count_miss(extn_attribute(0), iod, nullptr);
        return ifsvc_get_private_data(iod, key, size);
    }
    const varn_if_entry_t *entry = extension_at_hand(iod, 0);
    if (!entry)
        return private_data_not_at_hand(iod, key, size);
    *size = entry->extn_size[0];
    return entry->extn[0];
}
