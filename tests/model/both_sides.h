// SPDX-License-Identifier: Apache-2.0
//
// One call, made on both sides. An argument is drawn once; what the callee may write is held twice,
// poisoned, and compared afterwards, so that an output which one side leaves alone shows.
#pragma once

#include "client.h"
#include "mischief.h"
#include "operations.h"

#include <cerrno>
#include <cstring>
#include <tuple>

namespace naive
{

// How a number is drawn, or which record is meant.
enum class a { number, iod, if_index, pi, lif, key, vlan, rbh, option, yes, sink, channel, record };

u32 draw_number(act &on, a what);

// The same bytes from a history to the next run of it.
void fill_by_chance(dice &chance, void *record, std::size_t size);
void draw_record(act &on, varn_phy_update_t &record);
void draw_record(act &on, varn_l2_update_t &record);
void draw_record(act &on, varn_l3_update_t &record);
void draw_record(act &on, varn_l3_param_update_t &record);
void draw_record(act &on, varn_mac_update_t &record);
void draw_record(act &on, varn_fop_update_t &record);
void draw_record(act &on, bitset_t &record);
std::string told_record(const void *record, std::size_t size);

ht_t *draw_table(act &on);

template <typename Type>
class argument;

// A number.
template <typename Number>
requires std::is_integral_v<Number>
class argument<Number>
{
public:
    argument(act &on, a what) : value_(static_cast<Number>(draw_number(on, what))) {}
    Number library() { return value_; }
    Number model() { return value_; }
    bool same() const { return true; }
    std::string told() const { return scripted::hex(static_cast<u64>(value_)); }

private:
    Number value_;
};

// An output.
template <typename Output>
requires std::is_same_v<Output, u32> || std::is_same_v<Output, u16> ||
    std::is_same_v<Output, varn_vlan_info_t>
class argument<Output *>
{
public:
    argument(act &on, a)
    {
        fill_by_chance(on.chance, &library_, sizeof library_);
        std::memcpy(&model_, &library_, sizeof model_);
    }
    Output *library() { return &library_; }
    Output *model() { return &model_; }
    bool same() const { return std::memcmp(&library_, &model_, sizeof library_) == 0; }
    std::string told() const { return told_record(&library_, sizeof library_); }

private:
    Output library_, model_;
};

template <typename Record>
constexpr bool is_notice =
    std::is_same_v<Record, varn_phy_update_t> || std::is_same_v<Record, varn_l2_update_t> ||
    std::is_same_v<Record, varn_l3_update_t> || std::is_same_v<Record, varn_l3_param_update_t> ||
    std::is_same_v<Record, varn_mac_update_t> || std::is_same_v<Record, varn_fop_update_t> ||
    std::is_same_v<Record, bitset_t>;

// A notification; one handler writes into it.
template <typename Record>
requires is_notice<std::remove_const_t<Record>>
class argument<Record *>
{
public:
    argument(act &on, a)
    {
        draw_record(on, library_);
        std::memcpy(&model_, &library_, sizeof model_);
        is_null_ = std::is_same_v<std::remove_const_t<Record>, bitset_t> && on.chance.one_in(4);
    }
    Record *library() { return is_null_ ? nullptr : &library_; }
    // The bit tests are told with the address of their set: it is the library's.
    Record *model()
    {
        const bool is_library_s = std::is_same_v<std::remove_const_t<Record>, bitset_t>;
        return is_null_ ? nullptr : is_library_s ? &library_ : &model_;
    }
    bool same() const { return std::memcmp(&library_, &model_, sizeof library_) == 0; }
    std::string told() const { return is_null_ ? "null" : told_record(&library_, sizeof library_); }

private:
    std::remove_const_t<Record> library_, model_;
    bool is_null_;
};

template <>
class argument<vlan_key_t>
{
public:
    argument(act &on, a) : value_{1, draw_number(on, a::vlan)}
    {
        if (on.chance.one_in(4))
            value_.vinst = static_cast<u16>(on.chance.odd_number());
        if (on.chance.one_in(8))
            value_.vlan |= 0x10000;
    }
    vlan_key_t library() { return value_; }
    vlan_key_t model() { return value_; }
    bool same() const { return true; }
    std::string told() const { return scripted::key_text(value_); }

private:
    vlan_key_t value_;
};

template <>
class argument<const u8 *>
{
public:
    argument(act &on, a) : mac_{0x02, 0, 0, 0, 0, static_cast<u8>(on.chance.below(4))}
    {
        if (on.chance.one_in(4))
            mac_ = {};
        const std::vector<entry *> known = on.model.entries();
        if (!known.empty() && on.chance.one_in(2))
            mac_ = on.chance.one_of(known)->mac;
    }
    const u8 *library() { return mac_.data(); }
    const u8 *model() { return mac_.data(); }
    bool same() const { return true; }
    std::string told() const { return scripted::mac_text(mac_.data()); }

private:
    mac_bytes mac_;
};

template <>
class argument<ht_t *>
{
public:
    argument(act &on, a) : table_(draw_table(on)) {}
    ht_t *library() { return table_; }
    ht_t *model() { return table_; }
    bool same() const { return true; }
    std::string told() const { return table_ == nullptr ? "null" : scripted::table_name(table_); }

private:
    ht_t *table_;
};

// A record of the cache: the library is given its own, the model its twin.
entry *draw_entry(act &on, entry *);
vlan_entry *draw_entry(act &on, vlan_entry *);
pc_entry *draw_entry(act &on, pc_entry *);

template <typename Library, typename Model>
class record_argument
{
public:
    record_argument(act &on, a) : twin_(draw_entry(on, static_cast<Model *>(nullptr))) {}
    Library *library() { return twin_ == nullptr ? nullptr : static_cast<Library *>(twin_->at); }
    Model *model() { return twin_; }
    bool same() const { return true; }
    std::string told() const { return twin_ == nullptr ? "null" : "record"; }

private:
    Model *twin_;
};
template <>
class argument<varn_if_entry_t *> : public record_argument<varn_if_entry_t, entry>
{
    using record_argument::record_argument;
};
template <>
class argument<const varn_if_entry_t *> : public record_argument<varn_if_entry_t, entry>
{
    using record_argument::record_argument;
};
template <>
class argument<varn_vlan_entry_t *> : public record_argument<varn_vlan_entry_t, vlan_entry>
{
    using record_argument::record_argument;
};
template <>
class argument<const varn_vlan_entry_t *> : public record_argument<varn_vlan_entry_t, vlan_entry>
{
    using record_argument::record_argument;
};
template <>
class argument<varn_pc_entry_t *> : public record_argument<varn_pc_entry_t, pc_entry>
{
    using record_argument::record_argument;
};
template <>
class argument<const varn_pc_entry_t *> : public record_argument<varn_pc_entry_t, pc_entry>
{
    using record_argument::record_argument;
};

// ---- results ----

constexpr int errno_before = EXDEV; // no function sets it

void begin_library();
void end_library();
// errno is what the model says, and nothing is left in the log.
void settle(act &on, int errno_now);

// The library's act, with its standard output and errno watched; the model comes next. Gives errno.
template <typename Act>
int on_library(act &on, Act run)
{
    begin_library();
    errno = errno_before;
    run();
    const int errno_now = errno;
    end_library();
    on.model.begin_step();
    return errno_now;
}

inline u64 comparable(const void *pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }
template <typename Number>
requires std::is_integral_v<Number> u64 comparable(Number number)
{
    return static_cast<u64>(number);
}
inline u64 comparable(const entry *of) { return of == nullptr ? 0 : comparable(of->at); }
inline u64 comparable(const vlan_entry *of) { return of == nullptr ? 0 : comparable(of->at); }
inline u64 comparable(const pc_entry *of) { return of == nullptr ? 0 : comparable(of->at); }

void expect_same(const char *what, u64 library, u64 model);

template <typename Argument>
void expect_same_output(const char *name, unsigned at, const Argument &each)
{
    if (!each.same())
        throw difference(scripted::spell(name, ": output ", std::to_string(at),
                                         " differs, the library's is ", each.told()));
}

template <typename... Types, std::size_t... At>
auto draw_arguments([[maybe_unused]] act &on,
                    [[maybe_unused]] const std::array<a, sizeof...(Types)> &kinds,
                    std::index_sequence<At...>)
{
    return std::tuple<argument<Types>...>{argument<Types>(on, kinds[At])...};
}

template <typename Result, typename... Types, typename ModelResult, typename... ModelTypes>
void on_both_sides(act &on, const char *name, Result (*library)(Types...),
                   ModelResult (cache::*model)(ModelTypes...),
                   const std::array<a, sizeof...(Types)> &kinds)
{
    auto arguments = draw_arguments<Types...>(on, kinds, std::index_sequence_for<Types...>{});
    std::string given;
    std::apply([&](const auto &...each) { (scripted::add_to_list(given, each.told()), ...); },
               arguments);
    on.told = scripted::spell(name, "(", given, ")");
    u64 result = 0, expected = 0;
    const int errno_now = on_library(on, [&] {
        std::apply(
            [&](auto &...each) {
                if constexpr (std::is_void_v<Result>)
                    library(each.library()...);
                else
                    result = comparable(library(each.library()...));
            },
            arguments);
    });
    std::apply(
        [&](auto &...each) {
            if constexpr (std::is_void_v<Result>)
                (on.model.*model)(each.model()...);
            else
                expected = comparable((on.model.*model)(each.model()...));
        },
        arguments);
    settle(on, errno_now);
    expect_same(name, result, expected);
    unsigned at = 0;
    std::apply([&](const auto &...each) { (expect_same_output(name, at++, each), ...); },
               arguments);
}

// A row of the list: the library's function and the model's of the same name.
template <typename Result, typename... Types, typename ModelResult, typename... ModelTypes,
          typename... Kinds>
operation row(u32 weight, const char *name, Result (*library)(Types...),
              ModelResult (cache::*model)(ModelTypes...), Kinds... kinds)
{
    static_assert(sizeof...(Types) == sizeof...(Kinds), "a kind for each argument");
    const std::array<a, sizeof...(Types)> all{kinds...};
    return {name, weight, [=](act &on) { on_both_sides(on, name, library, model, all); }};
}

} // namespace naive
