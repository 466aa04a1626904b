// SPDX-License-Identifier: Apache-2.0
//
// The check asks the scripted device's tables, which know what they hold without the library.
#include "varn_invariants.h"

#include "scripted_device.h"

#include <algorithm>

using scripted::dec;
using scripted::hex;
using scripted::spell;

namespace
{

using u32 = std::uint32_t;
using entry = varn_if_entry_t;
using entries = std::set<const entry *>;

struct index_table {
    const char *name;
    const ht_t &table;
    const varn_index_counters_t &counters;
    u32 entry::*key;
    u32 absent;
};

const index_table iod_index{"Iod", varn.iod_table, varn.iod_index, &entry::iod, 0};
const index_table pi_index{"Pi", varn.pi_table, varn.pi_index, &entry::pi, 0xFFFFFFFF};
const index_table lif_index{"Lif", varn.lif_table, varn.lif_index, &entry::lif, 0xFFFFFFFF};

std::size_t live_of_type(u32 type)
{
    const auto blocks = scripted::live_blocks();
    return static_cast<std::size_t>(
        std::count_if(blocks.begin(), blocks.end(),
                      [type](const scripted::block &each) { return each.type == type; }));
}

entries entries_in_tables()
{
    entries all;
    for (const ht_t *table : {&varn.if_table, &varn.iod_table, &varn.pi_table, &varn.lif_table})
        for (void *record : scripted::records_in(table))
            all.insert(static_cast<const entry *>(record));
    return all;
}

class check
{
public:
    explicit check(const entries &loose) : loose_(loose) {}

    void say(const std::string &what) { broken_ += what + '\n'; }
    const std::string &broken() const { return broken_; }

    void one_entry(const entry &each)
    {
        const std::string who = spell("entry ", hex(each.if_index), ": ");
        u32 tables = scripted::stands_in(&varn.if_table, &each);
        if (tables == 0)
            say(spell(who, "stands in a table, but not in If"));
        for (const index_table *index : {&iod_index, &pi_index, &lif_index})
            tables += key_and_place(*index, each, who);
        if (each.ref_count != tables)
            say(spell(who, "ref_count ", dec(each.ref_count), ", but in ", dec(tables), " tables"));
        if (each.valid != 0)
            say(spell(who, "valid was written"));
    }

    void table_counters(const char *name, const ht_t &table, const varn_index_counters_t &counted)
    {
        const std::uint64_t filed = counted.inserts - counted.removes;
        if (filed != table.num_entries)
            say(spell(name, " table: ", dec(filed), " entries counted, ", dec(table.num_entries),
                      " held"));
    }

    void life_counters(const char *what, std::uint64_t allocs, std::uint64_t frees,
                       std::size_t before, u32 type)
    {
        const std::size_t live = live_of_type(type) - before;
        if (allocs - frees != live)
            say(spell(what, ": ", dec(allocs), " allocated, ", dec(frees), " freed, ", dec(live),
                      " live"));
    }

private:
    // 1 when the table holds the entry.
    u32 key_and_place(const index_table &index, const entry &each, const std::string &who)
    {
        const bool stands = scripted::stands_in(&index.table, &each);
        const bool has_key = each.*index.key != index.absent;
        if (stands && !has_key)
            say(spell(who, "has no key for ", index.name, ", but stands in it"));
        if (has_key && !stands && !loose_.contains(&each))
            say(spell(who, "has a key for ", index.name, ", but does not stand in it"));
        return stands;
    }

    const entries &loose_;
    std::string broken_;
};

void check_tables(check &checking)
{
    for (const entry *each : entries_in_tables())
        checking.one_entry(*each);
    checking.table_counters("If", varn.if_table, varn.if_index);
    for (const index_table *index : {&iod_index, &pi_index, &lif_index})
        checking.table_counters(index->name, index->table, index->counters);
}

} // namespace

live_before count_live() { return {live_of_type(1), live_of_type(2), live_of_type(3)}; }

std::string broken_invariants(const live_before &before, const entries &loose)
{
    check checking(loose);
    if (scripted::is_initialised(&varn.if_table)) // after varn_cleanup nothing is held any more
        check_tables(checking);
    checking.life_counters("interface entries", varn.if_allocs, varn.if_frees, before.if_entries,
                           1);
    checking.life_counters("VLAN entries", varn.vlan_allocs, varn.vlan_frees, before.vlan_entries,
                           2);
    checking.life_counters("port-channel entries", varn.pc_allocs, varn.pc_frees, before.pc_entries,
                           3);
    scripted::check_released();
    for (const std::string &each : scripted::complaints())
        checking.say(each);
    return checking.broken();
}
