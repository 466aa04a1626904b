// SPDX-License-Identifier: Apache-2.0
//
// The watcher's second half: what the process itself provides. A table, the allocator and the log
// are working doubles; an answer that the step spoiled is marked, so that the model knows that it
// was not the double's.
#include "mischief.h"
#include "scripted_device.h"

#include <algorithm>
#include <bit>
#include <cerrno>

namespace naive
{

namespace
{

u64 address(const void *of) { return reinterpret_cast<std::uintptr_t>(of); }

template <typename Result, typename... Args>
const char *name_of(Result (*function)(Args...))
{
    return scripted::find_service(reinterpret_cast<scripted::function_address>(function)).name();
}

// Answers of the double, as if nobody watched.
template <typename Result, typename... Args>
auto usual(Result (*function)(Args...), std::type_identity_t<Args>... args)
{
    return scripted::on(function).by_default(args...);
}

u32 answered(event &heard, u32 result)
{
    heard.result = result;
    return result;
}

// ---- tables ----

u32 init_table(ht_t *table, u32 flags, u32 link_position, u32 num_buckets, double growth_factor,
               ht_hash_fn hash, ht_get_key_fn get_key, ht_keys_equal_fn keys_equal)
{
    event &heard = the_log().add(name_of(ht_init));
    for (const u64 number : {address(table), u64{flags}, u64{link_position}, u64{num_buckets},
                             std::bit_cast<u64>(growth_factor)})
        heard.give(number);
    heard.give(reinterpret_cast<std::uintptr_t>(hash));
    heard.give(reinterpret_cast<std::uintptr_t>(get_key));
    heard.give(reinterpret_cast<std::uintptr_t>(keys_equal));
    heard.spoiled = the_mischief().strikes(the_mischief().table_inits);
    if (heard.spoiled)
        return 0;
    return answered(heard, usual(ht_init, table, flags, link_position, num_buckets, growth_factor,
                                 hash, get_key, keys_equal));
}

u32 clean_table(ht_t *table)
{
    event &heard = the_log().add(name_of(ht_cleanup));
    heard.give(address(table));
    return answered(heard, usual(ht_cleanup, table));
}

u32 insert_record(ht_t *table, void *record, u32 flags)
{
    event &heard = the_log().add(name_of(ht_insert));
    heard.give(address(table));
    heard.give(address(record));
    heard.give(flags);
    heard.spoiled = the_mischief().strikes(the_mischief().inserts);
    return answered(heard, heard.spoiled ? 0 : usual(ht_insert, table, record, flags));
}

u32 remove_record(ht_t *table, void *record)
{
    event &heard = the_log().add(name_of(ht_remove_entry));
    heard.give(address(table));
    heard.give(address(record));
    heard.spoiled = the_mischief().strikes(the_mischief().removals);
    return answered(heard, heard.spoiled ? 0 : usual(ht_remove_entry, table, record));
}

u32 start_walk(ht_iterator_t *walk, ht_t *table, u32 start, unsigned long num_buckets)
{
    event &heard = the_log().add(name_of(ht_iterator_init));
    heard.give(address(table));
    heard.give(start);
    heard.give(num_buckets);
    heard.spoiled = the_mischief().strikes(the_mischief().walks);
    return answered(heard,
                    heard.spoiled ? 0 : usual(ht_iterator_init, walk, table, start, num_buckets));
}

void *step_walk(ht_iterator_t *walk)
{
    event &heard = the_log().add(name_of(ht_iterator_next));
    void *record = usual(ht_iterator_next, walk);
    heard.result = address(record);
    return record;
}

u32 table_statistics(ht_t *table, ht_stats_t *stats)
{
    event &heard = the_log().add(name_of(ht_get_stats));
    heard.give(address(table));
    heard.spoiled = the_mischief().strikes(the_mischief().statistics);
    heard.result = heard.spoiled ? 0 : usual(ht_get_stats, table, stats);
    heard.written = heard.result != 0;
    if (heard.written) {
        heard.tell(stats->size_hwm);
        heard.tell(stats->worst_lookup);
        heard.tell(std::bit_cast<u64>(stats->average_lookup));
    }
    return static_cast<u32>(heard.result);
}

// ---- the allocator ----

u32 open_account(const char *name, u32 id, const char *const *type_names, u32 num_types)
{
    event &heard = the_log().add(name_of(memacct_init));
    heard.give(id);
    heard.give(num_types);
    heard.text = name;
    for (u32 type = 0; type < num_types; ++type)
        heard.text += scripted::spell(",", type_names[type]);
    heard.result = the_mischief().strikes(the_mischief().services);
    return static_cast<u32>(heard.result);
}

void *allocate(u32 id, u32 type, std::size_t size)
{
    event &heard = the_log().add(name_of(memacct_alloc));
    heard.give(id);
    heard.give(type);
    heard.give(size);
    heard.spoiled = the_mischief().strikes(the_mischief().allocations);
    void *block = heard.spoiled ? nullptr : usual(memacct_alloc, id, type, size);
    heard.result = address(block);
    return block;
}

// The byte that the whole block holds, or 0x100 when there is none such.
u32 byte_all_over(const scripted::released_block &block)
{
    const u8 first = block.bytes.front();
    return block.is_all(first) ? first : 0x100;
}

void release(void *block)
{
    const std::size_t at = the_log().size();
    the_log().add(name_of(memacct_free)).give(address(block));
    usual(memacct_free, block);
    const auto &all = scripted::released();
    const bool is_known = !all.empty() && all.back().address == block;
    the_log()[at].tell(is_known ? byte_all_over(all.back()) : 0x101);
    the_log()[at].written = true;
}

// ---- the log and the thread ----

u32 write_history(u32 uuid, u32 event_id, u32 level, u32 inst, u32 length, const void *record)
{
    const int errno_before = errno;
    event &heard = the_log().add(name_of(histlog_his_log_event_for_uuid_inst));
    for (const u32 number : {uuid, event_id, level, inst, length})
        heard.give(number);
    const auto *bytes = static_cast<const char *>(record);
    u32 code = 0;
    std::memcpy(&code, bytes, sizeof code);
    heard.give(code);
    heard.text.assign(bytes + sizeof code, bytes + length);
    heard.result = the_mischief().strikes(the_mischief().log_failures);
    errno = errno_before;
    return static_cast<u32>(heard.result);
}

u32 thread_id()
{
    event &heard = the_log().add(name_of(thrsvc_get_thread_pid));
    const bool is_odd = the_mischief().strikes(the_mischief().log_failures);
    heard.result = is_odd ? the_mischief().chance.number() | 0x80000000 : 77;
    return static_cast<u32>(heard.result);
}

void write_backtrace(const char *function, u32 priority)
{
    event &heard = the_log().add(name_of(syslog_backtrace));
    heard.give(priority);
    heard.text = function;
}

} // namespace

void watch_the_process()
{
    scripted::on(ht_init).does(init_table);
    scripted::on(ht_cleanup).does(clean_table);
    scripted::on(ht_insert).does(insert_record);
    scripted::on(ht_remove_entry).does(remove_record);
    scripted::on(ht_iterator_init).does(start_walk);
    scripted::on(ht_iterator_next).does(step_walk);
    scripted::on(ht_get_stats).does(table_statistics);
    scripted::on(memacct_init).does(open_account);
    scripted::on(memacct_alloc).does(allocate);
    scripted::on(memacct_free).does(release);
    scripted::on(histlog_his_log_event_for_uuid_inst).does(write_history);
    scripted::on(thrsvc_get_thread_pid).does(thread_id);
    scripted::on(syslog_backtrace).does(write_backtrace);
}

mischief &the_mischief()
{
    static mischief now;
    return now;
}

mischief draw_mischief(dice &chance, bool rough)
{
    mischief drawn;
    drawn.chance = dice(chance.word());
    if (chance.one_in(3))
        drawn.services = chance.one_of({2, 4, 10, 25});
    if (chance.one_in(12))
        drawn.types = chance.one_of({2, 4, 10});
    if (chance.one_in(10))
        drawn.inserts = chance.one_of({1, 2, 5});
    if (rough && chance.one_in(8))
        drawn.removals = chance.one_of({1, 2, 4});
    if (chance.one_in(10))
        drawn.table_inits = chance.one_of({1, 3, 6});
    if (chance.one_in(8))
        drawn.walks = drawn.statistics = 2;
    if (chance.one_in(10))
        drawn.allocations = chance.one_of({1, 2});
    if (chance.one_in(10))
        drawn.log_failures = 2;
    return drawn;
}

} // namespace naive
