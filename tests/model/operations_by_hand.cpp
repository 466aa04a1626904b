// SPDX-License-Identifier: Apache-2.0
//
// The operations that are no plain row: start and stop, the world and the client's switches, what
// gives a pointer into a buffer of the library's, and the functions that need no cache.
#include "both_sides.h"

namespace naive
{

namespace
{

void start(act &on)
{
    const bool is_null = on.chance.one_in(40);
    const varn_config_t config = draw_config(on.chance);
    on.told = scripted::spell("varn_init(", is_null ? "null" : described(config), ")");
    const nested_query nested[] = {nested_query::none, nested_query::is_linkup,
                                   nested_query::get_if_mtu, nested_query::get_if_encaptype};
    the_nested_query() = on.chance.one_of(nested);
    u32 result = 0;
    const int errno_now = on_library(on, [&] { result = varn_init(is_null ? nullptr : &config); });
    const u32 expected = on.model.init(is_null ? nullptr : &config);
    settle(on, errno_now);
    expect_same("varn_init", result, expected);
}

// The world changes, or the client moves its switch; no call.
void change_the_world(act &on) { on.told = change_world(on.chance, on.all); }

void turn_error_switch(act &on)
{
    varn_error_cb = on.model.error_switch = on.chance.one_of({0, 1, 1, 1, 2, 0xFFFFFFFF});
    on.told = scripted::spell("varn_error_cb = ", scripted::hex(varn_error_cb));
}

// A setter of the trace sink, then what the getter says.
void set_sink(act &on)
{
    const varn_print_arg_fn sink = on.chance.one_in(2) ? trace_sink() : nullptr;
    const auto arg = static_cast<uintptr_t>(on.chance.word());
    const bool is_first = on.chance.one_in(2);
    on.told = scripted::spell(is_first ? "varn_set_print(" : "varn_attr_set_debug_print_arg(",
                              sink == nullptr ? "null)" : "sink)");
    varn_print_arg_fn got = nullptr;
    uintptr_t got_arg = 0;
    const int errno_now = on_library(on, [&] {
        is_first ? varn_set_print(sink, arg) : varn_attr_set_debug_print_arg(sink, arg);
        varn_attr_get_debug_print_arg(&got, &got_arg);
    });
    on.model.set_print(sink, arg);
    settle(on, errno_now);
    expect_same("the trace sink", reinterpret_cast<uintptr_t>(got),
                reinterpret_cast<uintptr_t>(sink));
    expect_same("the trace sink's argument", got_arg, arg);
}

// Beyond the permission bitmap only where nothing is asserted.
void remove_and_permit(act &on)
{
    const u32 if_index = draw_number(on, a::if_index);
    u32 iod = draw_number(on, a::iod);
#ifndef NDEBUG
    iod %= 32768;
#endif
    const u32 allow = draw_number(on, a::yes);
    on.told = scripted::spell("varn_if_remove_entry_by_if_ext(", scripted::hex(if_index), ", ",
                              scripted::dec(iod), ", ", scripted::hex(allow), ")");
    u32 result = 0;
    const int errno_now =
        on_library(on, [&] { result = varn_if_remove_entry_by_if_ext(if_index, iod, allow); });
    const u32 expected = on.model.if_remove_entry_by_if_ext(if_index, iod, allow);
    settle(on, errno_now);
    expect_same("varn_if_remove_entry_by_if_ext", result, expected);
}

// Filing an entry under the absent key makes a later refresh change a key in its table.
template <u32 (*library)(varn_if_entry_t *), u32 (cache::*model)(entry *), u32 entry::*key>
void insert_known(act &on)
{
    entry *of = draw_entry(on, static_cast<entry *>(nullptr));
    on.told = "insert into the Pi or Lif table";
    if (of != nullptr && of->*key == absent && !on.is_rough)
        return;
    u32 result = 0;
    const int errno_now = on_library(on, [&] {
        result = library(of == nullptr ? nullptr : static_cast<varn_if_entry_t *>(of->at));
    });
    const u32 expected = (on.model.*model)(of);
    settle(on, errno_now);
    expect_same("insert", result, expected);
}

// ---- pointers into buffers ----

// The buffers that a ring gives in turn: each is another one, and after a round the first again.
void check_ring(std::vector<const void *> &buffers, std::size_t given, const void *got)
{
    const std::size_t at = (given - 1) % buffers.size();
    if (buffers[at] == nullptr && std::find(buffers.begin(), buffers.end(), got) == buffers.end())
        buffers[at] = got;
    if (buffers[at] != got)
        throw difference("a ring of buffers is out of turn");
}

// What was given last still stands in its buffer.
void check_kept(const std::vector<const void *> &buffers, const std::vector<std::string> &texts)
{
    const std::size_t round = buffers.size();
    const std::size_t first = texts.size() < round ? 0 : texts.size() - round;
    for (std::size_t at = first; at < texts.size(); ++at) {
        const auto *text = static_cast<const char *>(buffers[at % round]);
        if (text != nullptr && !texts[at].empty() && text != texts[at])
            throw difference(scripted::spell("a text that was given has changed to ", text));
    }
}

void ask_name(act &on)
{
    const u32 iod = draw_number(on, a::iod);
    on.told = scripted::spell("varn_ifsvc_get_if_name(", scripted::dec(iod), ")");
    const char *got = nullptr;
    std::string text;
    const int errno_now = on_library(on, [&] {
        got = varn_ifsvc_get_if_name(iod);
        text = got;
    });
    bool from_ring = false;
    const std::string expected = on.model.ifsvc_get_if_name(iod, &from_ring);
    settle(on, errno_now);
    if (text != expected)
        throw difference(scripted::spell("the name is ", text, ", the model's is ", expected));
    if (!from_ring)
        return;
    check_ring(on.model.name_buffers, on.model.names.size(), got);
    check_kept(on.model.name_buffers, on.model.names);
}

void ask_names(act &on)
{
    for (u32 left = 12; left != 0; --left)
        ask_name(on);
}

void format_mac(act &on)
{
    argument<const u8 *> mac(on, a::number);
    on.told = scripted::spell("varn_format_mac(", mac.told(), ")");
    const char *got = nullptr;
    const int errno_now = on_library(on, [&] { got = varn_format_mac(mac.library()); });
    const std::string expected = on.model.format_mac(mac.model());
    settle(on, errno_now);
    if (got != expected)
        throw difference(scripted::spell("varn_format_mac gives ", got));
    on.model.macs.back() = expected;
    check_ring(on.model.mac_buffers, on.model.macs.size(), got);
    check_kept(on.model.mac_buffers, on.model.macs);
}

void check_mac_buffer(act &on, const u8 *got)
{
    const u8 *&buffer = on.model.static_mac;
    if (buffer == nullptr)
        buffer = got;
    expect_same("the static MAC buffer", comparable(got), comparable(buffer));
    expect_same("its bytes", std::memcmp(got, on.model.mac_buffer.data(), 6) == 0, 1);
}

void fetch_mac(act &on)
{
    const u32 iod = draw_number(on, a::iod);
    on.told = scripted::spell("varn_get_if_src_mac_addr(", scripted::dec(iod), ")");
    const u8 *got = nullptr;
    const int errno_now = on_library(on, [&] { got = varn_get_if_src_mac_addr(iod); });
    on.model.get_if_src_mac_addr(iod);
    settle(on, errno_now);
    check_mac_buffer(on, got);
}

// The bytes are the entry's own, or those of the static buffer.
void ask_mac(act &on)
{
    const u32 iod = draw_number(on, a::iod);
    on.told = scripted::spell("varn_ifsvc_get_if_mac_addr(", scripted::dec(iod), ")");
    const u8 *got = nullptr;
    const int errno_now = on_library(on, [&] { got = varn_ifsvc_get_if_mac_addr(iod); });
    const u8 *expected = on.model.ifsvc_get_if_mac_addr(iod);
    settle(on, errno_now);
    if (expected == on.model.mac_buffer.data()) {
        check_mac_buffer(on, got);
        return;
    }
    for (const entry *each : on.model.entries())
        if (each->mac.data() == expected)
            expect_same("the entry's MAC", comparable(got),
                        comparable(static_cast<const varn_if_entry_t *>(each->at)->mac));
}

// ---- functions that need no cache ----

// A record that no table ever held: every field by chance, iods beyond the bitmap included.
varn_if_entry_t draw_made_entry(act &on, entry &twin)
{
    varn_if_entry_t made;
    fill_by_chance(on.chance, &made, sizeof made);
    made.iod = draw_number(on, a::iod);
    if (on.chance.one_in(2))
        made.if_type = 22;
    for (unsigned slot = 1; slot < 4; ++slot)
        made.extn[slot] *= on.chance.below(2);
    twin.if_index = made.if_index = draw_number(on, a::channel);
    twin.iod = made.iod;
    twin.pi = made.pi;
    twin.lif = made.lif;
    std::copy_n(made.mac, 6, twin.mac.begin());
    std::copy_n(made.extn, 4, twin.extn.begin());
    std::copy_n(made.extn_size, 4, twin.extn_size.begin());
    twin.encap = made.encap;
    twin.context_id = made.context_id;
    twin.base_tid = made.base_tid;
    twin.vlan = made.vlan;
    twin.mtu = made.mtu;
    twin.port_mode = made.port_mode;
    twin.valid = made.valid;
    twin.dirty = made.dirty;
    twin.aggsvc_if = made.aggsvc_if;
    twin.if_type = made.if_type;
    twin.ref_count = made.ref_count;
    return made;
}

void copy_flags(const varn_if_entry_t &made, entry &twin)
{
    twin.switchport = made.switchport;
    twin.switching = made.switching;
    twin.linkup = made.linkup;
    twin.protoup = made.protoup;
    twin.ethernet = made.ethernet;
    twin.is_vlan = made.is_vlan;
    twin.ips = made.ips;
    twin.null = made.null;
    twin.loopback = made.loopback;
    twin.p2p = made.p2p;
    twin.mvpn = made.mvpn;
}

void print_made_entry(act &on)
{
    entry twin;
    varn_if_entry_t made = draw_made_entry(on, twin);
    copy_flags(made, twin);
    twin.at = &made;
    const u32 arg = draw_number(on, a::sink);
    on.told = scripted::spell("varn_if_entry_print(", scripted::hex(arg), ", a record of iod ",
                              scripted::dec(made.iod), ")");
    const int errno_now = on_library(on, [&] { varn_if_entry_print(arg, &made); });
    on.model.if_entry_print(arg, &twin);
    settle(on, errno_now);
}

struct key_callbacks {
    ht_hash_fn hash;
    ht_get_key_fn get_key;
    ht_keys_equal_fn equal;
    u32 fixed;          // the hash's divisor, where it has one of its own
    std::size_t key_at; // in the record
    std::size_t key_size;
};

void ask_table_callbacks(act &on)
{
    static const key_callbacks all[] = {
        {varn_if_hash, varn_if_get_key, varn_if_keys_equal, 15991, 0, 4},
        {varn_iod_hash, varn_iod_get_key, varn_iod_keys_equal, 0, 12, 4},
        {varn_pi_hash, varn_pi_get_key, varn_pi_keys_equal, 0, 24, 4},
        {varn_lif_hash, varn_lif_get_key, varn_lif_keys_equal, 0, 36, 4},
        {varn_vlan_hash, varn_vlan_get_key, varn_vlan_keys_equal, 0, 0, 2},
        {varn_pc_hash, varn_pc_get_key, varn_pc_keys_equal, 0, 0, 4}};
    const key_callbacks &of = on.chance.one_of(all);
    const u32 one = on.chance.odd_number();
    const u32 other =
        on.chance.one_in(2) ? one ^ 0x10000u * on.chance.below(2) : on.chance.number();
    const u32 buckets = on.chance.one_of({1, 2, 7, 64, 15991, 16384, 0xFFFFFFFF});
    const u32 mask = of.key_size == 2 ? 0xFFFF : 0xFFFFFFFF;
    const u16 narrow[] = {static_cast<u16>(one), static_cast<u16>(other)};
    const u32 wide[] = {one, other};
    const auto key = [&](unsigned at) -> const void * {
        return mask == 0xFFFF ? static_cast<const void *>(&narrow[at]) : &wide[at];
    };
    on.told = "the callbacks of a table";
    on.model.begin_step();
    the_log().clear();
    expect_same("hash", of.hash(key(0), buckets), (one & mask) % (of.fixed ? of.fixed : buckets));
    expect_same("keys_equal", of.equal(key(0), key(1)), (one & mask) == (other & mask));
    const char record[136] = {};
    expect_same("get_key", comparable(of.get_key(record)), comparable(record + of.key_at));
    on.model.end_step();
}

void ask_memory_types(act &on)
{
    static const char *const names[] = {"VARN_MEM_NONE",
                                        "varn_mem_varn_if_entry_t",
                                        "VARN_MEM_varn_VLAN_entry_t",
                                        "VARN_MEM_varn_pc_entry_t",
                                        "varn_mem_max",
                                        "",
                                        "VARN_MEM_",
                                        "VARN_MEM_MAXX"};
    const u32 value = on.chance.one_in(4) ? on.chance.odd_number() : on.chance.below(6);
    const char *name = on.chance.one_of(names);
    on.told = scripted::spell("the memory types ", scripted::hex(value), " and ", name);
    on.model.begin_step();
    the_log().clear();
    const char *got = __varn_mem_type_t_find(value);
    const char *expected = on.model.mem_type_find(value);
    if (scripted::quoted(got) != scripted::quoted(expected))
        throw difference(scripted::spell("__varn_mem_type_t_find gives ", scripted::quoted(got)));
    expect_same("__varn_mem_type_t_str2enum", __varn_mem_type_t_str2enum(name),
                on.model.mem_type_str2enum(name));
    on.model.end_step();
}

} // namespace

void add_lifecycle(std::vector<operation> &to)
{
    to.insert(to.end(),
              {{"varn_init", 2, start},
               {"world", 70, change_the_world},
               {"varn_error_cb", 4, turn_error_switch},
               {"varn_set_print", 3, set_sink},
               row(1, "varn_cleanup", varn_cleanup, &cache::cleanup),
               row(3, "varn_disable_cache", varn_disable_cache, &cache::disable_cache),
               row(8, "varn_restore_cache", varn_restore_cache, &cache::restore_cache),
               row(1, "varn_is_enabled", varn_is_enabled, &cache::is_enabled),
               {"varn_if_remove_entry_by_if_ext", 4, remove_and_permit},
               {"varn_pi_insert_entry", 1,
                insert_known<varn_pi_insert_entry, &cache::pi_insert_entry, &entry::pi>},
               {"varn_lif_insert_entry", 1,
                insert_known<varn_lif_insert_entry, &cache::lif_insert_entry, &entry::lif>},
               {"varn_ifsvc_get_if_name", 6, ask_name},
               {"varn_ifsvc_get_if_name", 1, ask_names},
               {"varn_format_mac", 3, format_mac},
               {"varn_get_if_src_mac_addr", 3, fetch_mac},
               {"varn_ifsvc_get_if_mac_addr", 6, ask_mac},
               {"varn_if_entry_print", 4, print_made_entry},
               {"callbacks of the tables", 3, ask_table_callbacks},
               {"memory types", 1, ask_memory_types}});
}

} // namespace naive
