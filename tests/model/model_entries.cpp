// SPDX-License-Identifier: Apache-2.0
//
// The four tables over the entries; creation, removal, flushing.
#include "client.h"
#include "model_tables.h"

namespace naive
{

// ---- the tables ----

u32 cache::if_insert_entry(entry *of)
{
    if (of == nullptr)
        return 0;
    if (file(if_table, of)) {
        ++of->ref_count;
        ++count.if_index.inserts;
        return 1;
    }
    report("varn_if_insert_entry", "Failed to add varn entry for if-index 0x%x\n", of->if_index);
    ++count.if_index.insert_fail;
    return 0;
}

u32 cache::iod_insert_entry(entry *of)
{
    if (of == nullptr)
        return 0;
    if (file(iod_table, of)) {
        ++of->ref_count;
        ++count.iod_index.inserts;
        return 1;
    }
    report("varn_iod_insert_entry", "Failed to add iod entry for if 0x%x, iod %d\n", of->if_index,
           static_cast<int>(of->iod));
    ++count.iod_index.insert_fail;
    return 0;
}

u32 cache::pi_insert_entry(entry *of)
{
    if (of == nullptr)
        return 0;
    if (file(pi_table, of)) {
        ++of->ref_count;
        ++count.pi_index.inserts;
        return 1;
    }
    report("varn_pi_insert_entry", "Failed to add pi entry for if 0x%x, iod %d, pi 0x%x\n",
           of->if_index, static_cast<int>(of->iod), of->pi);
    ++count.pi_index.insert_fail;
    return 0;
}

u32 cache::lif_insert_entry(entry *of)
{
    if (of == nullptr)
        return 0;
    if (file(lif_table, of)) {
        ++of->ref_count;
        ++count.lif_index.inserts;
        return 1;
    }
    report("varn_lif_insert_entry", "Failed to add lif entry for if 0x%x, iod %d, lif 0x%x\n",
           of->if_index, static_cast<int>(of->iod), of->lif);
    ++count.lif_index.insert_fail;
    return 0;
}

u32 cache::iod_delete_entry(entry *of)
{
    if (of == nullptr || !syncs(1))
        return 0;
    if (take_out(iod_table, of)) {
        --of->ref_count;
        ++count.iod_index.removes;
        of->iod = 0;
        return 1;
    }
    report("varn_iod_delete_entry", "Failed to del iod entry for if 0x%x, iod %d;possible leak?\n",
           of->if_index, static_cast<int>(of->iod));
    ++count.iod_index.remove_fail;
    return 0;
}

u32 cache::pi_delete_entry(entry *of)
{
    if (of == nullptr || !syncs(2))
        return 0;
    if (take_out(pi_table, of)) {
        --of->ref_count;
        ++count.pi_index.removes;
        of->pi = absent;
        return 1;
    }
    report("varn_pi_delete_entry",
           "Failed to del pi entry for if 0x%x, iod %d, pi 0x%x; possible leak?\n", of->if_index,
           static_cast<int>(of->iod), of->pi);
    ++count.pi_index.remove_fail;
    return 0;
}

u32 cache::lif_delete_entry(entry *of)
{
    if (of == nullptr || !syncs(3))
        return 0;
    if (take_out(lif_table, of)) {
        --of->ref_count;
        ++count.lif_index.removes;
        of->lif = absent;
        return 1;
    }
    report("varn_lif_delete_entry",
           "Failed to del lif entry for if 0x%x, iod %d, lif 0x%x; possible leak?\n", of->if_index,
           static_cast<int>(of->iod), of->lif);
    ++count.lif_index.remove_fail;
    return 0;
}

u32 cache::if_delete_entry(entry *of)
{
    if (of == nullptr)
        return 0;
    if (!take_out(if_table, of)) {
        report("varn_if_delete_entry", "Failed to delete entry for if 0x%x: possible leak?\n",
               of->if_index);
        ++count.if_index.remove_fail;
        return 0;
    }
    --of->ref_count;
    if (of->ref_count != 0) {
        report("varn_if_delete_entry", "Failed to delete entry for if 0x%x: ref-cnt !0?\n",
               of->if_index);
        ask_about(syslog_backtrace, "varn_if_delete_entry", 7);
        ++count.if_index.removes;
        return 1;
    }
    if (config.extn_free != nullptr && of->extn[0] != 0)
        next(heard_extn_free, {of->extn[0]});
    release_entry(of, 0x4C);
    ++count.if_frees;
    ++count.if_index.removes;
    return 1;
}

void cache::release_entry(entry *of, u8 poison)
{
    const event &answer = ask(memacct_free, address(of->at));
    if (answer.out[0] != poison)
        throw difference("the record was not overwritten before its release: " + told(answer));
    const auto found = entries_owned_.find(of->at);
    dead_entries_.push_back(std::move(found->second));
    entries_owned_.erase(found);
}

// ---- creation ----

entry *cache::if_create_entry_by_if(u32 if_index, u32 iod, u32 pi, u32 lif)
{
    if (enabled == 0)
        return nullptr;
    const event &typed = ask(if_index_get_type, if_index);
    if (typed.result != 0) {
        report("varn_if_create_entry_by_if", " Invalid interface index 0x%x\n", if_index);
        return nullptr;
    }
    const u8 type = static_cast<u8>(typed.out[0]);
    if (entry *found = if_table.find(if_index); found != nullptr)
        return found;
    if (!iod_for_creation(if_index, &iod, pi, lif))
        return nullptr;
    trace("If-create for if-index 0x%x, iod %d, pi 0x%x, lif 0x%x\n", if_index,
          static_cast<int>(iod), pi, lif);
    entry *made = new_entry(if_index, iod);
    if (made == nullptr)
        return nullptr;
    made->if_type = type;
    made->clear_dirty(25);
    if (made->is_dirty(1) && !claim_iod(made, iod))
        return nullptr;
    tell_of_creation(iod);
    if (if_update_entry(made, 1) != 0)
        return made;
    if_destroy_entry(made);
    return nullptr;
}

// An iod that may have an entry: the caller's, or the service's where the caller knows none.
bool cache::iod_for_creation(u32 if_index, u32 *iod, u32 pi, u32 lif)
{
    if (*iod == 0) {
        const event &answer = ask(::ifsvc_get_iod_frm_ifindex, if_index);
        if (answer.result != 0) {
            report("varn_if_create_entry_by_if",
                   "ifsvc_get_iod_frm_ifindex failed for if-index 0x%x, err: 0x%x\n", if_index,
                   static_cast<u32>(answer.result));
            return false;
        }
        *iod = static_cast<u32>(answer.out[0]);
    }
    if (may_have_entry(*iod))
        return true;
    report("varn_if_create_entry_by_if",
           "Error: Should not create varn entry for if-index 0x%x, iod %d, pi 0x%x, lif 0x%x\n",
           if_index, static_cast<int>(*iod), pi, lif);
    return false;
}

// The record, filed by its if-index.
entry *cache::new_entry(u32 if_index, u32 iod)
{
    entry *made =
        allocate(entries_owned_, 1, sizeof(varn_if_entry_t), "varn", "varn_if_create_entry_by_if");
    if (made == nullptr) {
        trace("If-create for if-index 0x%x, iod %d failed\n", if_index, static_cast<int>(iod));
        ++count.create_fail;
        return nullptr;
    }
    ++count.if_allocs;
    made->dirty = config.sync & ~u64{1};
    made->if_index = if_index;
    made->pi = absent;
    made->lif = absent;
    made->mtu = static_cast<u16>(fact(::ifsvc_get_if_mtu, iod));
    if (if_insert_entry(made) != 0)
        return made;
    ++count.if_frees;
    release_entry(made, 0x4D);
    report("varn_if_create_entry_by_if", "If-create for if-index 0x%x, iod %d failed\n", if_index,
           static_cast<int>(iod));
    return nullptr;
}

// The newest creator wins the iod.
bool cache::claim_iod(entry *of, u32 iod)
{
    of->iod = iod;
    if (const entry *old = iod_table.find(iod); old != nullptr) {
        report("varn_if_create_entry_by_if",
               "If-create for if-index 0x%x, iod %d exists - deleting existing one (0x%x), PI "
               "0x%x/LIF 0x%x\n",
               of->if_index, static_cast<int>(iod), old->if_index, old->pi, old->lif);
        ask_about(syslog_backtrace, "varn_if_create_entry_by_if", 7);
        if_remove_entry_by_iod(iod);
    }
    if (iod_insert_entry(of) == 0) {
        of->iod = 0;
        report("varn_if_create_entry_by_if", "Iod-create for if-index 0x%x, iod %d failed\n",
               of->if_index, static_cast<int>(iod));
        if_destroy_entry(of);
        return false;
    }
    of->clear_dirty(1);
    return true;
}

// The client's callback may ask a query, which then runs here as well.
void cache::tell_of_creation(u32 iod)
{
    if (config.on_create == nullptr)
        return;
    next(heard_on_create, {iod});
    u32 answer = 0;
    switch (the_nested_query()) {
    case nested_query::none:
        return;
    case nested_query::is_linkup:
        answer = ifsvc_is_linkup(iod);
        break;
    case nested_query::get_if_mtu:
        answer = ifsvc_get_if_mtu(iod);
        break;
    case nested_query::get_if_encaptype:
        answer = ifsvc_get_if_encaptype(iod);
        break;
    }
    next(heard_nested_answer, {answer});
}

entry *cache::if_create_entry_by_iod(u32 iod)
{
    if (entry *found = iod_table.find(iod); found != nullptr)
        return found;
    const event &answer = ask(::ifsvc_get_ifindex_frm_iod, iod);
    if (answer.result != 0)
        return nullptr;
    return if_create_entry_by_if(static_cast<u32>(answer.out[0]), iod, absent, absent);
}

entry *cache::if_create_entry_by_pi(u32 pi)
{
    if (entry *found = pi_table.find(pi); found != nullptr)
        return found;
    const event &answer = ask(::idxsvc_lib_si_to_ifidx, pi);
    if (answer.result != 0 || config.create_on_miss == 0)
        return nullptr;
    return if_create_entry_by_if(static_cast<u32>(answer.out[0]), 0, pi, absent);
}

entry *cache::if_create_entry_by_lif(u32 lif)
{
    if (entry *found = lif_table.find(lif); found != nullptr)
        return found;
    const event &answer = ask(::lifsvc_query_lif_to_ifindex, lif);
    if (answer.result != 0 || config.create_on_miss == 0)
        return nullptr;
    return if_create_entry_by_if(static_cast<u32>(answer.out[0]), 0, absent, lif);
}

entry *cache::find_entry_by_iod(u32 iod)
{
    return config.create_on_miss == 0 ? iod_table.find(iod) : if_create_entry_by_iod(iod);
}

// ---- removal ----

void cache::if_destroy_entry(entry *of)
{
    if (enabled == 0 || of == nullptr)
        return;
    trace("If-destroy for if-index 0x%x, iod %d, pi 0x%x, lif 0x%x\n", of->if_index,
          static_cast<int>(of->iod), of->pi, of->lif);
    if (syncs(3) && of->lif != absent && lif_table.find(of->lif) != nullptr)
        lif_delete_entry(of);
    if (syncs(2) && of->pi != absent && pi_table.find(of->pi) != nullptr)
        pi_delete_entry(of);
    if (syncs(1) && of->iod != 0 && iod_table.find(of->iod) != nullptr)
        iod_delete_entry(of);
    if (if_table.find(of->if_index) != nullptr)
        if_delete_entry(of);
    ++count.if_destroys;
}

u32 cache::if_remove_entry_by_if(u32 if_index)
{
    entry *found = if_table.find(if_index);
    if (found == nullptr)
        return 0;
    if_destroy_entry(found);
    return 1;
}

u32 cache::if_remove_entry_by_pi(u32 pi)
{
    entry *found = pi_table.find(pi);
    if (found == nullptr)
        return 0;
    if_destroy_entry(found);
    return 1;
}

u32 cache::if_remove_entry_by_lif(u32 lif)
{
    entry *found = lif_table.find(lif);
    if (found == nullptr)
        return 0;
    if_destroy_entry(found);
    return 1;
}

u32 cache::if_remove_entry_by_iod(u32 iod)
{
    if (enabled == 0)
        return 0;
    entry *found = iod_table.find(iod);
    if (found == nullptr) {
        trace("Varn remove failed for Interface with iod %d\n", static_cast<int>(iod));
        return 0;
    }
    if_destroy_entry(found);
    return 1;
}

u32 cache::if_remove_entry_by_if_ext(u32 if_index, u32 iod, u32 allow)
{
    const u32 bit = u32{1} << (iod % 32);
    if (iod < 32768 && allow != 0)
        permissions[iod / 32] |= bit;
    else if (iod < 32768)
        permissions[iod / 32] &= ~bit;
    return if_remove_entry_by_if(if_index);
}

// ---- flushing ----

u64 cache::flush_mask(u32 opt) const
{
    return opt == 1 ? config.med : opt == 2 ? config.crit : opt == 3 ? config.sync : config.low;
}

void cache::flush_if_entry(entry *of, u32 opt)
{
    if (of == nullptr)
        return;
    trace("Flushing cache for if-index=0x%x, iod=%d, opt=0x%x\n", of->if_index,
          static_cast<int>(of->iod), opt);
    of->dirty |= flush_mask(opt);
}

u32 cache::if_flush_all(u32 opt)
{
    if (enabled == 0 || !start_walk(if_table.object, &if_table, "varn_if_flush_all"))
        return 0;
    walk_records(&if_table, [&](entry *each) { flush_if_entry(each, opt); });
    return 1;
}

void cache::if_flush_if(u32 if_index, u32 opt)
{
    flush_if_entry(if_create_entry_by_if(if_index, 0, absent, absent), opt);
}
void cache::if_flush_iod(u32 iod, u32 opt) { flush_if_entry(if_create_entry_by_iod(iod), opt); }
void cache::if_flush_pi(u32 pi, u32 opt) { flush_if_entry(if_create_entry_by_pi(pi), opt); }
void cache::if_flush_lif(u32 lif, u32 opt) { flush_if_entry(if_create_entry_by_lif(lif), opt); }

} // namespace naive
