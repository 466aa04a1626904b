// SPDX-License-Identifier: Apache-2.0
//
// What a table holds stands in the register below, under a number that ht_init writes into the
// client's object beside the object's own address. A zeroed, copied or cleaned-up object carries no
// valid number and is as one that was never initialised.
#include "table_double.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace scripted
{

namespace
{

using u32 = std::uint32_t;
using bucket = std::vector<void *>;

struct table_state {
    ht_t *object;
    u32 link_position;
    ht_hash_fn hash;
    ht_get_key_fn get_key;
    ht_keys_equal_fn keys_equal;
    std::map<u32, bucket> buckets;               // the occupied ones
    std::unordered_map<const void *, u32> where; // each record's bucket
    unsigned long size_hwm = 0;
};

struct table_name_and_form {
    std::string name;
    key_form keys;
};

struct tables_register {
    std::unordered_map<std::uintptr_t, table_state> by_number;
    std::uintptr_t last_number = 0;
    std::unordered_map<const ht_t *, table_name_and_form> names;
    u32 garbage = 0x9E3779B9;
};

tables_register &all_tables()
{
    static tables_register kept;
    return kept;
}

table_state *state_of(const ht_t *table)
{
    if (table == nullptr)
        return nullptr;
    std::uintptr_t number = 0;
    std::memcpy(&number, table->state, sizeof number);
    const auto found = all_tables().by_number.find(number);
    const bool is_its_own = found != all_tables().by_number.end() && found->second.object == table;
    return is_its_own ? &found->second : nullptr;
}

u32 bucket_of(const table_state &state, const void *key)
{
    const auto count = static_cast<u32>(state.object->num_buckets);
    return state.hash(key, count) % count;
}

// The place of a record with this key in its chain; the chain's length when there is none.
std::size_t place_in(const table_state &state, const bucket &chain, const void *key)
{
    const auto found = std::find_if(chain.begin(), chain.end(), [&](void *each) {
        return state.keys_equal(key, state.get_key(each)) != 0;
    });
    return static_cast<std::size_t>(found - chain.begin());
}

void scribble_link(const table_state &state, void *record)
{
    u32 &garbage = all_tables().garbage;
    for (std::size_t word = 0; word < 2; ++word) {
        garbage = garbage * 1664525u + 1013904223u;
        auto *link = static_cast<unsigned char *>(record) + state.link_position + 4 * word;
        std::memcpy(link, &garbage, sizeof garbage);
    }
}

// ---- the nine functions ----

u32 make(ht_t *table, u32 flags, u32 link_position, u32 num_buckets, double growth_factor,
         ht_hash_fn hash, ht_get_key_fn get_key, ht_keys_equal_fn keys_equal)
{
    if (table == nullptr)
        return 0;
    std::memset(static_cast<void *>(table), 0, sizeof *table);
    const bool is_in_range = flags == 0 && link_position % 4 == 0 && num_buckets != 0 &&
                             growth_factor == 0.0 && hash && get_key && keys_equal;
    if (!is_in_range)
        return 0;
    const std::uintptr_t number = ++all_tables().last_number;
    all_tables().by_number.insert(
        {number, {table, link_position, hash, get_key, keys_equal, {}, {}}});
    std::memcpy(table->state, &number, sizeof number);
    table->num_buckets = num_buckets;
    return 1;
}

u32 clean_up(ht_t *table)
{
    if (table == nullptr)
        return 0;
    std::uintptr_t number = 0;
    std::memcpy(&number, table->state, sizeof number);
    if (state_of(table) != nullptr)
        all_tables().by_number.erase(number);
    std::memset(static_cast<void *>(table), 0, sizeof *table);
    return 1;
}

u32 insert(ht_t *table, void *record, u32 flags)
{
    table_state *state = state_of(table);
    if (flags != 0)
        complain(spell("ht_insert: flags ", dec(flags)));
    if (state == nullptr || record == nullptr || state->where.contains(record))
        return 0;
    const void *key = state->get_key(record);
    const u32 number = bucket_of(*state, key);
    bucket &chain = state->buckets[number];
    if (place_in(*state, chain, key) != chain.size())
        return 0;
    chain.push_back(record);
    state->where.emplace(record, number);
    state->size_hwm = std::max(state->size_hwm, ++table->num_entries);
    scribble_link(*state, record);
    return 1;
}

void *look_up(ht_t *table, const void *key)
{
    const table_state *state = state_of(table);
    if (state == nullptr)
        return nullptr;
    const auto chain = state->buckets.find(bucket_of(*state, key));
    if (chain == state->buckets.end())
        return nullptr;
    const std::size_t place = place_in(*state, chain->second, key);
    return place == chain->second.size() ? nullptr : chain->second[place];
}

u32 remove(ht_t *table, void *record)
{
    table_state *state = state_of(table);
    if (state == nullptr || record == nullptr)
        return 0;
    const auto stands = state->where.find(record);
    if (stands == state->where.end())
        return 0;
    if (bucket_of(*state, state->get_key(record)) != stands->second)
        complain(spell("ht_remove_entry(", table_name(table), "): the key changed in the table"));
    std::erase(state->buckets[stands->second], record);
    state->where.erase(stands);
    --table->num_entries;
    scribble_link(*state, record);
    return 1;
}

// ---- walking: at[0] is the bucket of the next record, at[1] the end, at[2] the next record ----

void *next_from(const table_state &state, std::uintptr_t &number, std::uintptr_t end, void *after)
{
    for (; number < end; after = nullptr) {
        const auto chain = state.buckets.lower_bound(static_cast<u32>(number));
        if (chain == state.buckets.end() || chain->first >= end)
            return nullptr;
        const bucket &records = chain->second;
        auto place = records.begin();
        if (after != nullptr && chain->first == number)
            place = std::find(records.begin(), records.end(), after) + 1;
        number = chain->first;
        if (place != records.end())
            return *place;
        ++number;
    }
    return nullptr;
}

u32 start_walk(ht_iterator_t *walk, ht_t *table, u32 start, unsigned long num_buckets)
{
    if (walk == nullptr)
        return 0;
    *walk = {table, {start, start + num_buckets, 0}};
    const table_state *state = state_of(table);
    void *first = state == nullptr ? nullptr : next_from(*state, walk->at[0], walk->at[1], nullptr);
    walk->at[2] = reinterpret_cast<std::uintptr_t>(first);
    return 1;
}

void *step(ht_iterator_t *walk)
{
    auto *record = reinterpret_cast<void *>(walk->at[2]);
    const table_state *state = state_of(walk->table);
    if (state == nullptr || record == nullptr)
        return nullptr;
    if (!state->where.contains(record)) {
        complain("ht_iterator_next: the table was changed during the walk");
        return nullptr;
    }
    void *after = next_from(*state, walk->at[0], walk->at[1], record);
    walk->at[2] = reinterpret_cast<std::uintptr_t>(after);
    return record;
}

u32 statistics(ht_t *table, ht_stats_t *stats)
{
    if (stats == nullptr)
        return 0;
    *stats = {0, 0, 0.0};
    if (table == nullptr)
        return 0;
    const table_state *state = state_of(table);
    if (state == nullptr)
        return 1;
    double places = 0;
    for (const auto &[number, chain] : state->buckets) {
        const auto length = static_cast<double>(chain.size());
        places += length * (length + 1) / 2;
        stats->worst_lookup = std::max<unsigned long>(stats->worst_lookup, chain.size());
    }
    stats->size_hwm = state->size_hwm;
    if (table->num_entries != 0)
        stats->average_lookup = places / static_cast<double>(table->num_entries);
    return 1;
}

// ---- telling ----

std::string told_key(const ht_t *table, const void *key)
{
    const auto named = all_tables().names.find(table);
    const key_form form =
        named == all_tables().names.end() ? key_form::hexadecimal : named->second.keys;
    if (form == key_form::decimal_16) {
        std::uint16_t narrow = 0;
        std::memcpy(&narrow, key, sizeof narrow);
        return dec(narrow);
    }
    u32 number = 0;
    std::memcpy(&number, key, sizeof number);
    return form == key_form::decimal ? dec(number) : hex(number);
}

// A record goes by its key. It must be there: a record that was released is not told.
std::string told_record(const ht_t *table, const void *record)
{
    const table_state *state = state_of(table);
    if (record == nullptr)
        return "null";
    return state == nullptr ? "?" : told_key(table, state->get_key(record));
}

std::string line_of(const char *function, const ht_t *table, const std::string &rest = "")
{
    return spell(function, "(", table_name(table), rest.empty() ? "" : ", ", rest, ") = ");
}

std::string init_line(u32 result, ht_t *table, u32 flags, u32 link_position, u32 num_buckets,
                      double growth_factor, ht_hash_fn, ht_get_key_fn, ht_keys_equal_fn)
{
    const std::string growth = growth_factor == 0.0 ? "0.0" : std::to_string(growth_factor);
    return line_of(
               "ht_init", table,
               spell(dec(flags), ", ", dec(link_position), ", ", dec(num_buckets), ", ", growth)) +
           dec(result);
}

std::string cleanup_line(u32 result, ht_t *table)
{
    return line_of("ht_cleanup", table) + dec(result);
}

std::string insert_line(u32 result, ht_t *table, void *record, u32)
{
    return line_of("ht_insert", table, told_record(table, record)) + dec(result);
}

std::string lookup_line(void *const &result, ht_t *table, const void *key)
{
    return line_of("ht_lookup", table, told_key(table, key)) +
           (result == nullptr ? "null" : "found");
}

std::string remove_line(u32 result, ht_t *table, void *record)
{
    return line_of("ht_remove_entry", table, told_record(table, record)) + dec(result);
}

std::string walk_line(u32 result, ht_iterator_t *, ht_t *table, u32 start, unsigned long count)
{
    return line_of("ht_iterator_init", table, spell(dec(start), ", ", dec(count))) + dec(result);
}

std::string step_line(void *const &result, ht_iterator_t *walk)
{
    return line_of("ht_iterator_next", walk->table) + told_record(walk->table, result);
}

std::string stats_line(u32 result, ht_t *table, ht_stats_t *)
{
    return line_of("ht_get_stats", table) + dec(result);
}

service do_init{ht_init, "ht_init", tables, init_line, 'd', make};
service do_cleanup{ht_cleanup, "ht_cleanup", tables, cleanup_line, 'd', clean_up};
service do_insert{ht_insert, "ht_insert", tables, insert_line, 'd', insert};
service do_lookup{ht_lookup, "ht_lookup", tables, lookup_line, 'd', look_up};
service do_remove{ht_remove_entry, "ht_remove_entry", tables, remove_line, 'd', remove};
service do_walk{ht_iterator_init, "ht_iterator_init", tables, walk_line, 'd', start_walk};
service do_step{ht_iterator_next, "ht_iterator_next", tables, step_line, 'd', step};
service do_stats{ht_get_stats, "ht_get_stats", tables, stats_line, 'd', statistics};

} // namespace

void name_table(const ht_t *table, const std::string &name, key_form keys)
{
    all_tables().names.insert_or_assign(table, table_name_and_form{name, keys});
}

std::string table_name(const ht_t *table)
{
    const auto found = all_tables().names.find(table);
    if (table == nullptr)
        return "null";
    return found == all_tables().names.end() ? "?" : found->second.name;
}

std::vector<void *> records_in(const ht_t *table)
{
    std::vector<void *> records;
    if (const table_state *state = state_of(table); state != nullptr)
        for (const auto &[number, chain] : state->buckets)
            records.insert(records.end(), chain.begin(), chain.end());
    return records;
}

bool stands_in(const ht_t *table, const void *record)
{
    const table_state *state = state_of(table);
    return state != nullptr && state->where.contains(record);
}

bool is_initialised(const ht_t *table) { return state_of(table) != nullptr; }

std::string tables_holding(const void *block, std::size_t size)
{
    const auto first = reinterpret_cast<std::uintptr_t>(block);
    std::string names;
    for (const auto &[number, state] : all_tables().by_number)
        for (const auto &[record, in] : state.where)
            if (reinterpret_cast<std::uintptr_t>(record) - first < size)
                add_to_list(names, table_name(state.object));
    return names;
}

// The numbers go on, so that an object from before carries none that is valid again.
void reset_tables()
{
    tables_register &all = all_tables();
    all.by_number.clear();
    all.names.clear();
}

} // namespace scripted

using namespace scripted;

std::uint32_t ht_init(ht_t *table, std::uint32_t flags, std::uint32_t link_position,
                      std::uint32_t num_buckets, double growth_factor, ht_hash_fn hash,
                      ht_get_key_fn get_key, ht_keys_equal_fn keys_equal)
{
    return do_init(table, flags, link_position, num_buckets, growth_factor, hash, get_key,
                   keys_equal);
}
std::uint32_t ht_cleanup(ht_t *table) { return do_cleanup(table); }
std::uint32_t ht_insert(ht_t *table, void *entry, std::uint32_t flags)
{
    return do_insert(table, entry, flags);
}
void *ht_lookup(ht_t *table, const void *key) { return do_lookup(table, key); }
std::uint32_t ht_remove_entry(ht_t *table, void *entry) { return do_remove(table, entry); }
std::uint32_t ht_iterator_init(ht_iterator_t *iterator, ht_t *table, std::uint32_t start,
                               unsigned long num_buckets)
{
    return do_walk(iterator, table, start, num_buckets);
}
void *ht_iterator_next(ht_iterator_t *iterator) { return do_step(iterator); }
std::uint32_t ht_get_stats(ht_t *table, ht_stats_t *stats) { return do_stats(table, stats); }
