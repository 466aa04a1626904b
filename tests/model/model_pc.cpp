// SPDX-License-Identifier: Apache-2.0
//
// The port-channel cache.
#include "model_tables.h"

namespace naive
{

u32 cache::pc_table_init()
{
    if (!syncs(33) || init_object(pc_table, 4, varn_pc_hash, varn_pc_get_key, varn_pc_keys_equal))
        return 1;
    report("varn_pc_table_init", "Couldn't initialize pc hash table\n");
    clean_table(pc_table);
    return 0;
}

pc_entry *cache::pc_create_entry(u32 pc_ifindex, int create)
{
    if (enabled == 0)
        return nullptr;
    pc_entry *found = pc_table.find(pc_ifindex);
    if (found != nullptr || create == 0)
        return found;
    pc_entry *made =
        allocate(pcs_owned_, 3, sizeof(varn_pc_entry_t), "varn_pc", "varn_pc_create_entry");
    if (made == nullptr)
        return nullptr;
    ++count.pc_allocs;
    made->rbh_dirty.fill(1);
    made->pc_ifindex = pc_ifindex;
    if (pc_insert_entry(made) != 0)
        return made;
    ++count.pc_frees;
    release(pcs_owned_, dead_pcs_, made);
    return nullptr;
}

u32 cache::pc_insert_entry(pc_entry *of)
{
    if (of == nullptr)
        return 0;
    if (file(pc_table, of))
        return 1;
    report("varn_pc_insert_entry", "*** Failed to add pc entry\n");
    return 0;
}

u32 cache::pc_delete_entry(pc_entry *of)
{
    if (of == nullptr)
        return 0;
    if (take_out(pc_table, of)) {
        ++count.pc_frees;
        release(pcs_owned_, dead_pcs_, of);
        return 1;
    }
    report("varn_pc_delete_entry", "*** Failed to delete pc entry: possible leak?\n");
    return 0;
}

u32 cache::pc_remove_entry_by_if_index(u32 pc_ifindex)
{
    pc_entry *found = enabled == 0 ? nullptr : pc_table.find(pc_ifindex);
    if (found == nullptr)
        return 0;
    pc_delete_entry(found);
    return 1;
}

// 0 or 1, never the service's code.
u32 cache::ask_member(u32 pc_ifindex, u8 rbh, u32 *member)
{
    const event &answer = ask(::aggsvc_get_pc_mbr_ifidx_from_rbh, pc_ifindex, rbh);
    if (answer.written)
        *member = static_cast<u32>(answer.out[0]);
    if (answer.result == 0)
        return 0;
    report("varn_aggsvc_get_pc_mbr_ifidx_from_rbh",
           "get_pc_mbr_ifidx_for_all_rbh bad for ifindex 0x%x, bndl_port %d, retval 0x%x\n",
           pc_ifindex, rbh, static_cast<u32>(answer.result));
    return 1;
}

u32 cache::aggsvc_get_pc_mbr_ifidx_from_rbh(u32 pc_ifindex, u8 rbh, u32 *member)
{
    *member = 0;
    if (!syncs(33)) {
        ++count.pc_misses;
        return ask_member(pc_ifindex, rbh, member);
    }
    pc_entry *of = pc_create_entry(pc_ifindex, 1);
    if (of == nullptr) {
        report("varn_aggsvc_get_pc_mbr_ifidx_from_rbh",
               "No Memory available for aggsvc entry ifindex 0x%x\n", pc_ifindex);
        return 1;
    }
    if (of->rbh_dirty[rbh] == 0) {
        ++count.pc_hits;
        *member = of->rbh_mbr_ifindex[rbh];
        return 0;
    }
    ++count.pc_misses;
    if (ask_member(pc_ifindex, rbh, member) != 0)
        return 1;
    of->rbh_mbr_ifindex[rbh] = *member;
    of->rbh_dirty[rbh] = 0;
    trace("Varn PC ifindex: 0x%x, rbh: %d, phy: 0x%x\n", pc_ifindex, rbh, *member);
    return 0;
}

u32 cache::pc_invalidate(u32 pc_ifindex)
{
    if (enabled == 0 || !syncs(33))
        return 0;
    pc_entry *of = pc_create_entry(pc_ifindex, 0);
    if (of == nullptr) {
        report("varn_pc_invalidate", "No Memory available for aggsvc entry ifindex 0x%x\n",
               pc_ifindex);
        return 0;
    }
    ++count.pc_updates;
    of->rbh_dirty.fill(1);
    trace("PC Varn invalidated for 0x%x\n", pc_ifindex);
    return 1;
}

u32 cache::pc_invalidate_entry_by_phy_if(u32 port_ifindex)
{
    if (!syncs(33))
        return 0;
    const event &typed = ask(if_index_get_type, port_ifindex);
    if (typed.result != 0) {
        report("varn_pc_invalidate_entry_by_phy_if", "Invalid interface index 0x%x\n",
               port_ifindex);
        return 0;
    }
    if (typed.out[0] != 26)
        return 0;
    const event &answer = ask(aggsvc_get_pc_for_port, port_ifindex);
    if (answer.result != 0) {
        report("varn_pc_invalidate_entry_by_phy_if",
               "aggsvc_get_pc_for_port failed with 0x%x for 0x%x\n",
               static_cast<u32>(answer.result), port_ifindex);
        return 0;
    }
    const u32 pc = static_cast<u32>(answer.out[0]);
    if (pc != 0)
        pc_invalidate(pc);
    return pc;
}

} // namespace naive
