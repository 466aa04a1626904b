// SPDX-License-Identifier: Apache-2.0
//
// Every block is an allocation of its own, of exactly its size, so that AddressSanitizer and
// valgrind see an overrun; under AddressSanitizer a released block may not even be read.
#include "memory_double.h"

#include "table_double.h"

#include <algorithm>
#include <cstdlib>
#include <map>

#if defined(__SANITIZE_ADDRESS__)
#define SCRIPTED_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SCRIPTED_ASAN 1
#endif
#endif
#ifdef SCRIPTED_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace scripted
{

namespace
{

using u32 = std::uint32_t;
constexpr int fresh_byte = 0xA5;
constexpr int released_byte = 0xDD;
constexpr std::size_t cache_line = 64;

void allow_access(const block &which);

struct memory_state {
    std::map<const void *, block> live;
    std::vector<released_block> released;
    std::vector<account> accounts;

    memory_state() = default;
    memory_state(const memory_state &) = delete;
    memory_state &operator=(const memory_state &) = delete;
    ~memory_state() { drop_all(); }

    void drop_all()
    {
        for (const released_block &each : released) {
            allow_access(each);
            std::free(const_cast<void *>(each.address));
        }
        for (const auto &[address, each] : live)
            std::free(const_cast<void *>(address));
        live.clear();
        released.clear();
        accounts.clear();
    }
};

memory_state &all_memory()
{
    static memory_state kept;
    return kept;
}

void forbid_access([[maybe_unused]] const block &which)
{
#ifdef SCRIPTED_ASAN
    ASAN_POISON_MEMORY_REGION(which.address, which.size);
#endif
}

void allow_access([[maybe_unused]] const block &which)
{
#ifdef SCRIPTED_ASAN
    ASAN_UNPOISON_MEMORY_REGION(which.address, which.size);
#endif
}

u32 open_account(const char *name, u32 id, const char *const *type_names, u32 num_types)
{
    account opened{name, id, {}};
    for (u32 type = 0; type < num_types; ++type)
        opened.type_names.emplace_back(type_names[type]);
    all_memory().accounts.push_back(opened);
    return 0;
}

void *allocate(u32 id, u32 type, std::size_t size)
{
    void *made = nullptr;
    if (posix_memalign(&made, cache_line, std::max<std::size_t>(size, 1)) != 0)
        return nullptr;
    std::memset(made, fresh_byte, size);
    all_memory().live.emplace(made, block{made, id, type, size});
    return made;
}

void quarantine(void *address, const block &was)
{
    const auto *bytes = static_cast<const std::uint8_t *>(address);
    all_memory().released.push_back({was, {bytes, bytes + was.size}});
    std::memset(address, released_byte, was.size);
    forbid_access(was);
}

void release(void *address)
{
    if (address == nullptr)
        return;
    memory_state &all = all_memory();
    const auto found = all.live.find(address);
    if (found == all.live.end()) {
        const bool is_second =
            std::any_of(all.released.begin(), all.released.end(),
                        [&](const auto &each) { return each.address == address; });
        complain(is_second ? "memacct_free: released twice" : "memacct_free: not a block");
        return;
    }
    const block was = found->second;
    if (const std::string names = tables_holding(address, was.size); !names.empty())
        complain(spell("memacct_free: the record still stands in ", names));
    all.live.erase(found);
    quarantine(address, was);
}

std::string account_line(u32 result, const char *name, u32 id, const char *const *type_names,
                         u32 num_types)
{
    std::string names;
    for (u32 type = 0; type < num_types; ++type)
        add_to_list(names, quoted(type_names[type]));
    return spell("memacct_init(", quoted(name), ", ", dec(id), ", [", names, "], ", dec(num_types),
                 ") = ", dec(result));
}

std::string alloc_line(void *const &result, u32 id, u32 type, std::size_t size)
{
    return spell("memacct_alloc(", dec(id), ", ", dec(type), ", ", dec(size),
                 ") = ", result == nullptr ? "null" : "block");
}

std::string free_line(const nothing &, void *address)
{
    const std::vector<released_block> &all = all_memory().released;
    const bool is_last = !all.empty() && all.back().address == address;
    const std::string what = is_last ? spell("type ", dec(all.back().type)) : "?";
    return spell("memacct_free(", address == nullptr ? "null" : what, ")");
}

service do_open{memacct_init, "memacct_init", allocations, account_line, 'c', open_account};
service do_alloc{memacct_alloc, "memacct_alloc", allocations, alloc_line, 'd', allocate};
service do_free{memacct_free, "memacct_free", allocations, free_line, 'd', release};

} // namespace

bool released_block::is_all(std::uint8_t byte) const
{
    return std::all_of(bytes.begin(), bytes.end(), [byte](auto each) { return each == byte; });
}

const std::vector<released_block> &released() { return all_memory().released; }

std::vector<block> live_blocks()
{
    std::vector<block> blocks;
    for (const auto &[address, each] : all_memory().live)
        blocks.push_back(each);
    return blocks;
}

const std::vector<account> &accounts() { return all_memory().accounts; }

void check_released()
{
    for (const released_block &each : all_memory().released) {
        allow_access(each);
        const auto *bytes = static_cast<const std::uint8_t *>(each.address);
        if (!std::all_of(bytes, bytes + each.size, [](auto at) { return at == released_byte; }))
            complain(spell("a block of type ", dec(each.type), " was written after its release"));
        forbid_access(each);
    }
}

void reset_memory() { all_memory().drop_all(); }

} // namespace scripted

using namespace scripted;

std::uint32_t memacct_init(const char *name, std::uint32_t id, const char *const *type_names,
                           std::uint32_t num_types)
{
    return do_open(name, id, type_names, num_types);
}
void *memacct_alloc(std::uint32_t id, std::uint32_t type, std::size_t size)
{
    return do_alloc(id, type, size);
}
void memacct_free(void *block) { do_free(block); }
