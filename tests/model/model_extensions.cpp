// SPDX-License-Identifier: Apache-2.0
//
// Extension values and private data.
#include "model.h"

namespace naive
{

// ---- the client's decoder and the service behind it ----

u32 cache::decoded(unsigned slot, uintptr_t data, u32 size)
{
    return static_cast<u32>(next(heard_decoder, {slot, data, size}).result);
}

uintptr_t cache::private_data(u32 iod, u32 key, u32 *size)
{
    const event &answer = ask(::ifsvc_get_private_data, iod, key);
    *size = static_cast<u32>(answer.out[0]);
    return static_cast<uintptr_t>(answer.result);
}

// A value of 0 is never clean.
void cache::apply_reading_rule(entry *of, unsigned slot)
{
    of->set_dirty_to(5 + slot, of->extn[slot] == 0);
}

u32 cache::get_extension(unsigned slot, u32 iod, u32 key)
{
    entry *of = syncs(1) && syncs(5 + slot) ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[6 + slot];
        return static_cast<u32>(ask(::ifsvc_get_extension, iod, key).result);
    }
    if (of->is_dirty(5 + slot)) {
        ++count.misses[6 + slot];
        of->extn[slot] = static_cast<u32>(ask(::ifsvc_get_extension, iod, key).result);
    } else {
        ++count.hits[6 + slot];
    }
    apply_reading_rule(of, slot);
    return of->extn[slot];
}

u32 cache::is_extension_set(unsigned slot, u32 iod, u32 key)
{
    entry *of = syncs(1) && syncs(5 + slot) ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[6 + slot];
        return static_cast<u32>(ask(::ifsvc_is_extension_set, iod, key).result);
    }
    if (!of->is_dirty(5 + slot)) {
        ++count.hits[6 + slot];
    } else if (config.extn_decode[slot] == nullptr) {
        ++count.misses[6 + slot];
        of->extn[slot] = static_cast<u32>(ask(::ifsvc_get_extension, iod, key).result);
    } else {
        ++count.misses[6 + slot];
        const uintptr_t data = private_data(iod, key, &of->extn_size[slot]);
        of->extn[slot] = decoded(slot, data, of->extn_size[slot]);
    }
    apply_reading_rule(of, slot);
    return of->extn[slot] != 0;
}

u32 cache::set_extension(unsigned slot, u32 iod, u32 value)
{
    entry *of = find_entry_by_iod(iod);
    if (of == nullptr)
        return 1;
    ++count.updates[6 + slot];
    of->extn[slot] = value;
    of->clear_dirty(5 + slot);
    return 1;
}

u32 cache::ifsvc_update_private_data(u32 iod, u32, u32 value, u32 size)
{
    if (!syncs(1) || !syncs(5) || config.extn_decode[0] == nullptr)
        return 1;
    entry *of = find_entry_by_iod(iod);
    if (of == nullptr)
        return 0;
    ++count.updates[6];
    of->extn[0] = value;
    of->extn_size[0] = size;
    of->clear_dirty(5);
    return 1;
}

uintptr_t cache::ifsvc_get_private_data(u32 iod, u32 key, u32 *size)
{
    const bool has_decoder = config.extn_decode[0] != nullptr;
    const bool is_cached = syncs(1) && syncs(5) && has_decoder;
    entry *of = is_cached ? find_entry_by_iod(iod) : nullptr;
    if (of == nullptr) {
        ++count.misses[6];
        const uintptr_t data = private_data(iod, key, size);
        return has_decoder ? decoded(0, data, *size) : data;
    }
    if (of->is_dirty(5)) {
        ++count.misses[6];
        const uintptr_t data = private_data(iod, config.uuid, &of->extn_size[0]);
        of->extn[0] = decoded(0, data, of->extn_size[0]);
    } else {
        ++count.hits[6];
    }
    apply_reading_rule(of, 0);
    *size = of->extn_size[0];
    return of->extn[0];
}

} // namespace naive
