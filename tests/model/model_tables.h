// SPDX-License-Identifier: Apache-2.0
//
// What the model does with any table and any record: made once here as templates, used by the files
// of the model alone. A table answers as the double does, unless it was told to fail.
#pragma once

#include "model.h"

#include <bit>

namespace naive
{

inline u64 address(const void *of) { return reinterpret_cast<std::uintptr_t>(of); }
inline u64 address(ht_hash_fn of) { return reinterpret_cast<std::uintptr_t>(of); }
inline u64 address(ht_get_key_fn of) { return reinterpret_cast<std::uintptr_t>(of); }
inline u64 address(ht_keys_equal_fn of) { return reinterpret_cast<std::uintptr_t>(of); }

inline bool granted(const event &answer, bool expected)
{
    if (!answer.spoiled && (answer.result != 0) != expected)
        throw difference("the table double and the model's disagree: " + told(answer));
    return answer.result != 0;
}

template <typename Record>
bool cache::init_object(table<Record> &of, std::size_t link_position, ht_hash_fn hash,
                        ht_get_key_fn get_key, ht_keys_equal_fn keys_equal)
{
    const event &answer =
        ask(ht_init, address(of.object), 0, link_position, config.num_buckets,
            std::bit_cast<u64>(0.0), address(hash), address(get_key), address(keys_equal));
    if (!granted(answer, true))
        return false;
    of.forget();
    of.exists = true;
    of.buckets = config.num_buckets;
    return true;
}

template <typename Record>
void cache::clean_table(table<Record> &of)
{
    ask(ht_cleanup, address(of.object));
    of.forget();
}

template <typename Record>
bool cache::file(table<Record> &in, Record *record)
{
    const u32 key = in.key_of(*record);
    const bool fits = in.exists && !in.holds(record) && in.find(key) == nullptr;
    if (!granted(ask(ht_insert, address(in.object), address(record->at), 0), fits))
        return false;
    in.filed.emplace_back(in.bucket_of(key), record);
    return true;
}

template <typename Record>
bool cache::take_out(table<Record> &of, Record *record)
{
    const event &answer = ask(ht_remove_entry, address(of.object), address(record->at));
    if (!granted(answer, of.holds(record)))
        return false;
    of.drop(record);
    return true;
}

// Null when memory is wanting.
template <typename Record>
Record *cache::allocate(std::map<const void *, std::unique_ptr<Record>> &owned, u32 type,
                        std::size_t size, const char *path, const char *function)
{
    const event &answer = ask(memacct_alloc, 544, type, size);
    auto *block = reinterpret_cast<void *>(static_cast<std::uintptr_t>(answer.result));
    if (block != nullptr) {
        auto made = std::make_unique<Record>();
        made->at = block;
        return (owned[block] = std::move(made)).get();
    }
    expect_memory_warning(path, size);
    trace("%s: Malloc failure\n", function);
    memory_was_wanting = true;
    return nullptr;
}

// Gives a side cache's record back, whatever it holds.
template <typename Record>
void cache::release(std::map<const void *, std::unique_ptr<Record>> &owned,
                    std::vector<std::unique_ptr<Record>> &dead, Record *record)
{
    ask(memacct_free, address(record->at));
    const auto found = owned.find(record->at);
    dead.push_back(std::move(found->second));
    owned.erase(found);
}

// Every record that the table yields, in the order of the log.
template <typename Record, typename Each>
void cache::walk_records(table<Record> *over, Each each)
{
    std::vector<Record *> left;
    if (over != nullptr)
        for (const auto &[bucket, record] : over->filed)
            left.push_back(record);
    for (;;) {
        const u64 yielded = ask(ht_iterator_next).result;
        if (yielded == 0)
            break;
        const auto found = std::find_if(left.begin(), left.end(), [&](const Record *record) {
            return address(record->at) == yielded;
        });
        if (found == left.end())
            throw difference("a walk yields a record that the model does not have in the table");
        Record *record = *found;
        left.erase(found);
        each(record);
    }
    if (!left.empty())
        throw difference("a walk leaves out a record that the model has in the table");
}

template <typename Record>
bool cache::start_walk(ht_t *object, const table<Record> *over, const char *function)
{
    const u64 buckets = over == nullptr || !over->exists ? 0 : over->buckets;
    if (ask(ht_iterator_init, address(object), 0, buckets).result != 0)
        return true;
    report(function, "Couldn't init iterator\n");
    return false;
}

} // namespace naive
