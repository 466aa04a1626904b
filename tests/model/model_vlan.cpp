// SPDX-License-Identifier: Apache-2.0
//
// The VLAN cache.
#include "model_tables.h"

namespace naive
{

u32 cache::vlan_table_init()
{
    if (!syncs(10) ||
        init_object(vlan_table, 4, varn_vlan_hash, varn_vlan_get_key, varn_vlan_keys_equal))
        return 1;
    report("varn_vlan_table_init", "Couldn't initialize hash table\n");
    clean_table(vlan_table);
    return 0;
}

// ---- the services; a failing one may have written its outputs ----

vlan_key_t cache::key_for(u32 vlan)
{
    return {static_cast<u16>(ask(supvr_vinst_get).result), vlan};
}

u32 cache::ask_bd(vlan_key_t key, u16 *bd)
{
    const event &answer = ask(::vlan_get_bd, u64{key.vinst} << 32 | key.vlan);
    if (answer.written)
        *bd = static_cast<u16>(answer.out[0]);
    return static_cast<u32>(answer.result);
}

u32 cache::ask_primary(vlan_key_t key, u16 *bd, u32 *pvlan)
{
    const event &answer = ask(vlan_get_bd_and_primary_vlan, u64{key.vinst} << 32 | key.vlan);
    if (answer.written) {
        *bd = static_cast<u16>(answer.out[0]);
        *pvlan = static_cast<u32>(answer.out[1]);
    }
    return static_cast<u32>(answer.result);
}

u32 cache::ask_flood(u16 bd, u32 *di)
{
    const event &answer = ask(idxsvc_lib_bd_to_di, bd);
    if (answer.written)
        *di = static_cast<u32>(answer.out[0]);
    return static_cast<u32>(answer.result);
}

// ---- entries ----

u32 cache::vlan_update_entry(vlan_entry *of)
{
    if (of == nullptr)
        return 0;
    const vlan_key_t key = key_for(of->vlan);
    bool has_failed = false;
    if (of->is_dirty(30)) {
        const u32 code = ask_primary(key, &of->bd, &of->pvlan);
        if (code != 0)
            trace("1 vlan_get_bd_and_primary_vlan returned 0x%x for vlan %d\n", code, of->vlan);
        has_failed |= code != 0;
        ++count.pvlan_updates;
    }
    if (of->is_dirty(31)) {
        const u32 code = ask_bd(key, &of->bd);
        if (code != 0)
            trace("1 vlan_get_bd returned bad 0x%x for vlan %d\n", code, of->vlan);
        has_failed |= code != 0;
        ++count.bd_updates;
    }
    if (of->is_dirty(32)) {
        u32 code = ask_bd(key, &of->bd);
        if (code != 0) {
            trace("2 vlan_get_bd returned bad 0x%x for vlan %d\n", code, of->vlan);
        } else {
            code = ask_flood(of->bd, &of->flood_di);
            if (code != 0)
                trace("idxsvc_lib_bd_to_di returned bad 0x%x\n", code);
        }
        has_failed |= code != 0;
        ++count.findex_updates;
    }
    if (!has_failed)
        of->dirty = 0;
    return 1;
}

vlan_entry *cache::vlan_create_entry_by_vlan(u16 vlan)
{
    if (enabled == 0)
        return nullptr;
    vlan_entry *of = vlan_table.find(vlan);
    if (of != nullptr) {
        if (of->dirty != 0)
            vlan_update_entry(of);
        return of;
    }
    of = allocate(vlans_owned_, 2, sizeof(varn_vlan_entry_t), "varn_vlan",
                  "varn_vlan_create_entry_by_vlan");
    if (of == nullptr)
        return nullptr;
    of->dirty = config.sync;
    ++count.vlan_allocs;
    of->vlan = vlan;
    if (vlan_insert_entry(of) == 0) {
        ++count.vlan_frees;
        release(vlans_owned_, dead_vlans_, of);
        return nullptr;
    }
    vlan_update_entry(of);
    return of;
}

u32 cache::vlan_insert_entry(vlan_entry *of)
{
    if (of == nullptr)
        return 0;
    if (file(vlan_table, of))
        return 1;
    report("varn_vlan_insert_entry", "*** Failed to add entry\n");
    return 0;
}

u32 cache::vlan_delete_entry(vlan_entry *of)
{
    if (of == nullptr)
        return 0;
    if (take_out(vlan_table, of)) {
        ++count.vlan_frees;
        release(vlans_owned_, dead_vlans_, of);
        return 1;
    }
    report("varn_vlan_delete_entry", "*** Failed to delete entry: possible leak?\n");
    return 0;
}

void cache::drop_stale_lif(int vlan)
{
    const u64 vinst = ask(supvr_vinst_get).result;
    const u32 iod =
        static_cast<u32>(ask(::ifsvc_get_svi_iod_for_vlan, vinst, static_cast<u32>(vlan)).result);
    entry *of = iod == 0 ? nullptr : iod_table.find(iod);
    if (of == nullptr || of->is_dirty(3) || of->lif == absent)
        return;
    trace("Vlan %d deleted, removing stale lif entry for if-index 0x%x, iod %d, lif 0x%x\n", vlan,
          of->if_index, static_cast<int>(of->iod), of->lif);
    lif_delete_entry(of);
    of->set_dirty_to(3, syncs(3));
}

u32 cache::vlan_remove_entry_by_vlan(int vlan)
{
    if (enabled == 0)
        return 0;
    drop_stale_lif(vlan);
    vlan_entry *of = vlan_table.find(static_cast<u16>(vlan));
    if (of == nullptr)
        return 0;
    vlan_delete_entry(of);
    return 1;
}

u32 cache::vlan_update_vlan(u16 vlan)
{
    vlan_entry *of = enabled == 0 ? nullptr : vlan_table.find(vlan);
    if (of == nullptr)
        return 0;
    of->dirty = config.sync;
    return vlan_update_entry(of);
}

// ---- flushing: the mask takes the place of the old one ----

void cache::flush_vlan_entry(vlan_entry *of, u32 level)
{
    if (of != nullptr)
        of->dirty = flush_mask(level);
}

u32 cache::vlan_flush_vlan(u16 vlan, u32 level)
{
    if (enabled == 0)
        return 0;
    flush_vlan_entry(vlan_create_entry_by_vlan(vlan), level);
    return 1;
}

u32 cache::vlan_flush_all(u32 level)
{
    if (enabled == 0 || !start_walk(vlan_table.object, &vlan_table, "varn_vlan_flush_all"))
        return 0;
    walk_records(&vlan_table, [&](vlan_entry *each) { flush_vlan_entry(each, level); });
    return 1;
}

// ---- queries; the vinst is asked for only where the service is: a clean hit asks nobody ----

u32 cache::vlan_get_bd(vlan_key_t key, u16 *bd)
{
    vlan_entry *of = syncs(31) ? vlan_create_entry_by_vlan(static_cast<u16>(key.vlan)) : nullptr;
    if (of == nullptr) {
        ++count.bd_misses;
        return ask_bd(key, bd);
    }
    if (of->is_dirty(31)) {
        ++count.bd_misses;
        const u32 code = ask_bd(key, &of->bd);
        if (code == 0)
            of->clear_dirty(31);
        else
            trace("varn_vlan_get_bd: bad rv 0x%x for vlan %d\n", code, static_cast<int>(key.vlan));
    } else {
        ++count.bd_hits;
    }
    *bd = of->bd;
    return 0;
}

u32 cache::vlan_to_flood_di(u16 vlan, u32 *di, u16 *bd)
{
    vlan_entry *of = syncs(32) ? vlan_create_entry_by_vlan(vlan) : nullptr;
    if (of == nullptr) {
        ++count.bd_misses;
        vlan_get_bd(key_for(vlan), bd);
        return ask_flood(*bd, di);
    }
    if (of->is_dirty(32)) {
        ++count.bd_misses;
        const u32 first = ask_bd(key_for(vlan), &of->bd);
        const u32 second = ask_flood(of->bd, &of->flood_di);
        if (first == 0 && second == 0)
            of->clear_dirty(32);
        else
            trace("varn_vlan_to_flood_di: Status1 0x%x, Status2 0x%x vlan %d\n", first, second,
                  vlan);
    } else {
        ++count.bd_hits;
    }
    *di = of->flood_di;
    *bd = of->bd;
    return 0;
}

u32 cache::pvlan_get_pvlan(int vlan, u32 *pvlan)
{
    const u32 id = static_cast<u32>(vlan);
    u16 bd = 0;
    if (!syncs(30)) {
        ++count.pvlan_misses;
        if (const u32 code = ask_primary(key_for(id), &bd, pvlan); code != 0)
            trace("2 vlan_get_bd_and_primary_vlan ret0x%x vlan %d\n", code, vlan);
        return 0;
    }
    vlan_entry *of = vlan_create_entry_by_vlan(static_cast<u16>(vlan));
    if (of == nullptr) {
        ++count.pvlan_misses;
        if (const u32 code = ask_primary(key_for(id), &bd, pvlan); code != 0)
            trace("3vlan_get_bd_and_primary_vlan ret 0x%x vlan %d\n", code, vlan);
        return 0;
    }
    if (of->is_dirty(30)) {
        ++count.pvlan_misses;
        if (ask_primary(key_for(id), &of->bd, &of->pvlan) == 0)
            of->clear_dirty(30);
    } else {
        ++count.pvlan_hits;
    }
    *pvlan = of->pvlan;
    return 0;
}

} // namespace naive
