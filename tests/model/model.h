// SPDX-License-Identifier: Apache-2.0
//
// A second telling of the cache, as naive as can be: plain containers, no table of attributes, no
// speed. An operation bears the name of the library's without varn_ and is written as the rule
// reads. It asks the platform by next(): the library has just run the same operation, and the next
// event of its log must be this very question; the answer is taken from there.
//
// Three things are taken from the log and not predicted: the order in which a walk yields the
// records of a table, the address of a new record, and the statistics of a table.
#pragma once

#include "events.h"
#include "scripted_device.h"
#include "varn.h"

#include <algorithm>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace naive
{

// Library and model do not do the same.
struct difference : std::runtime_error {
    using runtime_error::runtime_error;
};

using mac_bytes = std::array<u8, 6>;

constexpr u32 absent = 0xFFFFFFFF;

// An interface.
struct entry {
    void *at = nullptr; // where the library keeps it
    u32 if_index = 0, iod = 0, pi = 0, lif = 0;
    mac_bytes mac{};
    u16 encap = 0;
    std::array<u32, 4> extn{}, extn_size{};
    u32 context_id = 0, base_tid = 0;
    u16 vlan = 0, mtu = 0;
    u32 port_mode = 0;
    bool switchport = false, switching = false, linkup = false, protoup = false;
    bool ethernet = false, is_vlan = false, ips = false, null = false;
    bool loopback = false, p2p = false, mvpn = false;
    u64 valid = 0, dirty = 0;
    u32 aggsvc_if = 0;
    u8 if_type = 0, ref_count = 0, iod_remaps = 0, pi_remaps = 0, lif_remaps = 0;

    bool is_dirty(unsigned bit) const { return (dirty >> bit & 1) != 0; }
    void set_dirty(unsigned bit) { dirty |= u64{1} << bit; }
    void clear_dirty(unsigned bit) { dirty &= ~(u64{1} << bit); }
    void set_dirty_to(unsigned bit, bool value) { value ? set_dirty(bit) : clear_dirty(bit); }
};

struct vlan_entry {
    void *at = nullptr;
    u16 vlan = 0, bd = 0;
    u32 flood_di = 0, pvlan = 0;
    u64 dirty = 0;

    bool is_dirty(unsigned bit) const { return (dirty >> bit & 1) != 0; }
    void clear_dirty(unsigned bit) { dirty &= ~(u64{1} << bit); }
};

struct pc_entry {
    void *at = nullptr;
    u32 pc_ifindex = 0;
    std::array<u32, 16> rbh_dirty{}, rbh_mbr_ifindex{};
};

// A table as the double keeps one: a record stays in the bucket in which it was filed, and is found
// there by the key that it holds now.
template <typename Record>
struct table {
    ht_t *object = nullptr; // the library's
    bool exists = false;
    u32 buckets = 0;
    u32 (*key_of)(const Record &) = nullptr;
    bool has_fixed_hash = false;
    std::vector<std::pair<u32, Record *>> filed;

    // The bucket that a key belongs to; a hash beyond the count is reduced into it.
    u32 bucket_of(u32 key) const
    {
        return (has_fixed_hash ? key % 15991 : key % buckets) % buckets;
    }
    Record *find(u32 key) const
    {
        if (!exists)
            return nullptr;
        for (const auto &[bucket, record] : filed)
            if (bucket == bucket_of(key) && key_of(*record) == key)
                return record;
        return nullptr;
    }
    bool holds(const Record *wanted) const
    {
        return std::any_of(filed.begin(), filed.end(),
                           [&](const auto &each) { return each.second == wanted; });
    }
    void drop(const Record *wanted)
    {
        std::erase_if(filed, [&](const auto &each) { return each.second == wanted; });
    }
    void forget()
    {
        exists = false;
        buckets = 0;
        filed.clear();
    }
};

struct index_counts {
    u64 inserts = 0, removes = 0, insert_fail = 0, remove_fail = 0;
};

struct counts {
    std::array<u64, 32> misses{}, hits{}, updates{};
    u64 if_allocs = 0, if_frees = 0, if_destroys = 0;
    u64 iod_remaps = 0, pi_remaps = 0, lif_remaps = 0;
    index_counts if_index, iod_index, pi_index, lif_index;
    u64 phy = 0, l2 = 0, l3 = 0, l3_param = 0, l2_bundle = 0, l3_bundle = 0, aggsvc = 0;
    u64 if_refreshes = 0, iod_refreshes = 0, pi_refreshes = 0, lif_refreshes = 0;
    u64 create_fail = 0;
    u64 bd_misses = 0, bd_hits = 0, bd_updates = 0;
    u64 findex_misses = 0, findex_hits = 0, findex_updates = 0;
    u64 pvlan_misses = 0, pvlan_hits = 0, pvlan_updates = 0;
    u64 vlan_allocs = 0, vlan_frees = 0;
    u64 pc_hits = 0, pc_misses = 0, pc_updates = 0, pc_allocs = 0, pc_frees = 0;
};

class cache
{
public:
    cache();

    // ---- state, compared with the library's after each step ----

    table<entry> if_table, iod_table, pi_table, lif_table;
    table<vlan_entry> vlan_table;
    table<pc_entry> pc_table;
    varn_config_t config{};
    counts count;
    u32 enabled = 0, saved_sync = 0, error_switch = 0;
    std::array<u32, 1024> permissions{}; // a bit an iod
    std::string print_str;
    mac_bytes mac_buffer{};         // what varn_get_if_src_mac_addr gives
    std::vector<std::string> names; // given by varn_ifsvc_get_if_name, all of the history
    std::vector<std::string> macs;  // given by varn_format_mac; empty where the library asked
    std::vector<const void *> name_buffers = std::vector<const void *>(10); // the library's
    std::vector<const void *> mac_buffers = std::vector<const void *>(8);
    const u8 *static_mac = nullptr;
    bool memory_was_wanting = false;      // errno is ENOMEM now
    bool is_cleaned_up = false;           // nothing but an init may follow
    std::vector<entry *> entries() const; // all that a table holds, each once, the oldest first

    // ---- a step ----

    void begin_step();
    void end_step(); // nothing may be left over in the log

    // ---- lifecycle ----

    u32 init(const varn_config_t *given);
    u32 cleanup();
    void disable_cache();
    void restore_cache();
    u32 is_enabled() { return enabled; }
    void set_print(varn_print_arg_fn print, uintptr_t arg);
    const char *mem_type_find(u32 value);
    u32 mem_type_str2enum(const char *name);

    // ---- the four tables over the entries ----

    u32 if_insert_entry(entry *of);
    u32 iod_insert_entry(entry *of);
    u32 pi_insert_entry(entry *of);
    u32 lif_insert_entry(entry *of);
    u32 iod_delete_entry(entry *of);
    u32 pi_delete_entry(entry *of);
    u32 lif_delete_entry(entry *of);
    u32 if_delete_entry(entry *of);

    // ---- creation, removal, refresh, flushing ----

    entry *if_create_entry_by_if(u32 if_index, u32 iod, u32 pi, u32 lif);
    entry *if_create_entry_by_iod(u32 iod);
    entry *if_create_entry_by_pi(u32 pi);
    entry *if_create_entry_by_lif(u32 lif);
    entry *find_entry_by_iod(u32 iod);
    void if_destroy_entry(entry *of);
    u32 if_remove_entry_by_if(u32 if_index);
    u32 if_remove_entry_by_iod(u32 iod);
    u32 if_remove_entry_by_pi(u32 pi);
    u32 if_remove_entry_by_lif(u32 lif);
    u32 if_remove_entry_by_if_ext(u32 if_index, u32 iod, u32 allow);
    u32 if_update_entry(entry *of, u32 is_new);
    u32 if_update_if(u32 if_index);
    const u8 *get_if_src_mac_addr(u32 iod);
    void flush_if_entry(entry *of, u32 opt);
    u32 if_flush_all(u32 opt);
    void if_flush_if(u32 if_index, u32 opt);
    void if_flush_iod(u32 iod, u32 opt);
    void if_flush_pi(u32 pi, u32 opt);
    void if_flush_lif(u32 lif, u32 opt);

    // ---- queries ----

    u32 ifsvc_is_linkup(u32 iod);
    u32 ifsvc_is_protoup(u32 iod);
    u32 ifsvc_is_switchport(u32 iod);
    u32 ifsvc_is_switching_enabled_on_iod(u32 iod);
    u32 ifsvc_is_ethernet(u32 iod);
    u32 ifsvc_is_vlan(u32 iod);
    u32 ifsvc_is_null0(u32 iod);
    u32 ifsvc_is_native_p2p(u32 iod);
    u32 ifsvc_is_loopback(u32 iod);
    u32 ifsvc_is_mvpn_tunnel(u32 iod);
    u32 ifsvc_is_gre_tunnel(u32 iod);
    u32 ifsvc_is_super_802_3ad(u32 iod);
    u32 ifsvc_is_cbus(u32 iod);
    u32 ifsvc_is_mgmtether(u32 iod);
    u32 ifsvc_is_dci_tunnel(u32 iod);
    u32 ifsvc_is_dci_overlay(u32 iod);
    u32 ifsvc_is_6to4_tunnel(u32 iod);
    u32 ifsvc_is_mpls_tunnel(u32 iod);
    u32 ifsvc_get_if_mtu(u32 iod);
    u32 ifsvc_get_if_encaptype(u32 iod);
    const u8 *ifsvc_get_if_mac_addr(u32 iod); // into an entry, or mac_buffer
    u32 ifsvc_is_if_mac_addr(u32 iod, const u8 *mac);
    u32 ifsvc_get_if_vlanid(u32 iod);
    u32 ifsvc_get_vlan_info(u32 iod, varn_vlan_info_t *info, u32 *port_mode);
    std::string ifsvc_get_if_name(u32 iod, bool *from_ring);
    u32 ifsvc_get_ifindex_frm_iod(u32 iod, u32 *if_index);
    u32 ifsvc_get_iod_frm_ifindex(u32 if_index, u32 *iod);
    u32 ifsvc_is_iod_svi(u32 iod);
    u32 ifsvc_get_svi_iod_for_vlan(u16 vlan, u32 arg);

    // ---- extensions ----

    u32 ifsvc_get_extension(u32 iod, u32 key) { return get_extension(0, iod, key); }
    u32 ifsvc_get_extension1(u32 iod, u32 key) { return get_extension(1, iod, key); }
    u32 ifsvc_get_extension2(u32 iod, u32 key) { return get_extension(2, iod, key); }
    u32 ifsvc_get_extension3(u32 iod, u32 key) { return get_extension(3, iod, key); }
    u32 ifsvc_is_extension_set(u32 iod, u32 key) { return is_extension_set(0, iod, key); }
    u32 ifsvc_is_extension1_set(u32 iod, u32 key) { return is_extension_set(1, iod, key); }
    u32 ifsvc_is_extension2_set(u32 iod, u32 key) { return is_extension_set(2, iod, key); }
    u32 ifsvc_is_extension3_set(u32 iod, u32 key) { return is_extension_set(3, iod, key); }
    u32 ifsvc_set_extension(u32 iod, u32, u32 value) { return set_extension(0, iod, value); }
    u32 ifsvc_set_extension1(u32 iod, u32, u32 value) { return set_extension(1, iod, value); }
    u32 ifsvc_set_extension2(u32 iod, u32, u32 value) { return set_extension(2, iod, value); }
    u32 ifsvc_set_extension3(u32 iod, u32, u32 value) { return set_extension(3, iod, value); }
    u32 ifsvc_update_private_data(u32 iod, u32 key, u32 value, u32 size);
    uintptr_t ifsvc_get_private_data(u32 iod, u32 key, u32 *size);

    // ---- translations ----

    u32 lifsvc_query_ifindex_to_lif(i32 if_index, u32 *lif);
    u32 lifsvc_query_lif_to_ifindex(i32 lif, u32 *if_index);
    u32 idxsvc_lib_ifidx_to_di(i32 if_index, u32 *di);
    u32 idxsvc_lib_si_to_ifidx(i32 si, u32 *if_index);
    u32 portsvc_gldb_get_ifindex_port_mode(u32 if_index, u32 *mode);
    u32 get_if_l2_info_by_pi(u32 pi, u32 *if_index, u32 *iod, u32 *linkup, u16 *encap,
                             u32 *switchport, u32 *switching, u32 *protoup, u32 *private_data);
    u32 aggsvc_get_fop(u32 pc_ifindex, u32 *member);

    // ---- notifications ----

    u32 update_phy_state(const varn_phy_update_t *u);
    i32 update_l2_state(const varn_l2_update_t *u);
    i32 update_l3_state(varn_l3_update_t *u);
    u32 update_switchport(i32 iod);
    u32 update_l2_bundle_state(const varn_l2_update_t *u);
    u32 update_l3_bundle_state(const varn_l3_update_t *u);
    u32 update_l3_param(const varn_l3_param_update_t *u, const bitset_t *changed);
    u32 update_vlan(i32 iod);
    u32 remove_extension0(i32 iod);
    i32 update_is_linkup_dirty_bit(i32 iod, u32 if_index, i32 set);
    i32 update_router_mac(const varn_mac_update_t *u);
    u32 update_aggsvc_fop(const varn_fop_update_t *u);

    // ---- the port-channel cache ----

    u32 pc_table_init();
    pc_entry *pc_create_entry(u32 pc_ifindex, int create);
    u32 pc_insert_entry(pc_entry *of);
    u32 pc_delete_entry(pc_entry *of);
    u32 pc_remove_entry_by_if_index(u32 pc_ifindex);
    u32 pc_invalidate(u32 pc_ifindex);
    u32 pc_invalidate_entry_by_phy_if(u32 port_ifindex);
    u32 aggsvc_get_pc_mbr_ifidx_from_rbh(u32 pc_ifindex, u8 rbh, u32 *member);

    // ---- the VLAN cache ----

    u32 vlan_table_init();
    vlan_entry *vlan_create_entry_by_vlan(u16 vlan);
    u32 vlan_insert_entry(vlan_entry *of);
    u32 vlan_delete_entry(vlan_entry *of);
    u32 vlan_remove_entry_by_vlan(int vlan);
    u32 vlan_update_entry(vlan_entry *of);
    u32 vlan_update_vlan(u16 vlan);
    void flush_vlan_entry(vlan_entry *of, u32 level);
    u32 vlan_flush_vlan(u16 vlan, u32 level);
    u32 vlan_flush_all(u32 level);
    u32 vlan_get_bd(vlan_key_t key, u16 *bd);
    u32 vlan_to_flood_di(u16 vlan, u32 *di, u16 *bd);
    u32 pvlan_get_pvlan(int vlan, u32 *pvlan);

    // ---- dumps ----

    void print_global(uintptr_t arg);
    void dump(uintptr_t arg);
    void if_dump(uintptr_t arg);
    void pc_dump(uintptr_t arg);
    void vlan_dump(uintptr_t arg);
    void print_stats(uintptr_t arg, ht_t *of);
    void dump_iod_bmp(uintptr_t arg);
    void if_print_table(uintptr_t arg, ht_t *of);
    void iod_print_table(uintptr_t arg, ht_t *of);
    void pi_print_table(uintptr_t arg, ht_t *of);
    void lif_print_table(uintptr_t arg, ht_t *of);
    void pc_print_table(uintptr_t arg, ht_t *of);
    void vlan_print_table(uintptr_t arg, ht_t *of);
    void if_entry_print(uintptr_t arg, const entry *of);
    void if_print_iod(uintptr_t arg, u32 iod);
    void pc_entry_print(uintptr_t arg, const pc_entry *of);
    void pc_print(uintptr_t arg, u32 pc_ifindex);
    void vlan_entry_print(uintptr_t arg, const vlan_entry *of);
    void vlan_print(uintptr_t arg, u16 vlan);
    std::string format_mac(const u8 *mac);

private:
    // ---- asking ----

    const event &next(const char *name, std::initializer_list<u64> given,
                      const std::string *text = nullptr);
    template <typename Result, typename... Args, typename... Given>
    const event &ask(Result (*function)(Args...), Given... given)
    {
        return next(platform_name(reinterpret_cast<scripted::function_address>(function)),
                    {static_cast<u64>(given)...});
    }
    template <typename Result, typename... Args, typename... Given>
    const event &ask_about(Result (*function)(Args...), const std::string &text, Given... given)
    {
        return next(platform_name(reinterpret_cast<scripted::function_address>(function)),
                    {static_cast<u64>(given)...}, &text);
    }
    // A question about an iod that is answered by its result.
    u32 fact(u32 (*service)(u32), u32 iod) { return static_cast<u32>(ask(service, iod).result); }
    bool flag(u32 (*service)(u32), u32 iod) { return (fact(service, iod) & 1) != 0; }
    std::string name_of(u32 iod);
    static const char *platform_name(scripted::function_address function);

    // ---- messages ----

    __attribute__((format(printf, 3, 4))) void report(const char *function, const char *format,
                                                      ...);
    __attribute__((format(printf, 2, 3))) void trace(const char *format, ...);
    __attribute__((format(printf, 3, 4))) void print(uintptr_t arg, const char *format, ...);
    void write_history(u32 code, u32 level, const std::string &text);
    bool can_print(uintptr_t arg) const { return config.print != nullptr && arg != 0; }

    bool syncs(unsigned bit) const { return (config.sync >> bit & 1) != 0; }
    u64 flush_mask(u32 opt) const;

    // ---- tables and memory ----

    template <typename Record>
    bool init_object(table<Record> &of, std::size_t link_position, ht_hash_fn hash,
                     ht_get_key_fn get_key, ht_keys_equal_fn keys_equal);
    template <typename Record>
    bool make_table(table<Record> &of, std::size_t link_position, ht_hash_fn hash,
                    ht_get_key_fn get_key, ht_keys_equal_fn keys_equal);
    template <typename Record>
    void clean_table(table<Record> &of);
    template <typename Record>
    bool file(table<Record> &in, Record *record);
    template <typename Record>
    bool take_out(table<Record> &of, Record *record);
    template <typename Record>
    Record *allocate(std::map<const void *, std::unique_ptr<Record>> &owned, u32 type,
                     std::size_t size, const char *path, const char *function);
    template <typename Record>
    void release(std::map<const void *, std::unique_ptr<Record>> &owned,
                 std::vector<std::unique_ptr<Record>> &dead, Record *record);
    void expect_memory_warning(const char *path, std::size_t size);
    void release_entry(entry *of, u8 poison);
    template <typename Record>
    bool start_walk(ht_t *object, const table<Record> *over, const char *function);
    template <typename Record, typename Each>
    void walk_records(table<Record> *over, Each each);

    bool may_have_entry(u32 iod) const
    {
        return iod < 32768 && (permissions[iod / 32] >> (iod % 32) & 1) != 0;
    }
    bool iod_for_creation(u32 if_index, u32 *iod, u32 pi, u32 lif);
    entry *new_entry(u32 if_index, u32 iod);
    bool claim_iod(entry *of, u32 iod);
    void tell_of_creation(u32 iod);

    // ---- refresh ----

    bool iod_still_holds(entry *of);
    void refresh_pi(entry *of, bool is_new, u8 type);
    void refile_pi(entry *of, u32 pi);
    void refresh_lif(entry *of, bool is_new);
    void refile_lif(entry *of, u32 lif);
    void refresh_member(entry *of, u8 type);
    void refresh_values(entry *of, u8 type);
    void refresh_mac(entry *of);
    void refresh_context(entry *of);
    void refresh_extensions(entry *of);
    void refresh_rest(entry *of, u8 type);
    void refresh_vlan(entry *of);
    u32 fetch_extension(entry *of, unsigned slot);

    // ---- queries ----

    u32 cached_flag(u32 iod, unsigned bit, unsigned slot, u32 (*service)(u32), bool entry::*field);
    u32 is_of_type(u32 iod, u8 type, u32 (*service)(u32));
    void fetch_mac_if_dirty(entry *of, u32 iod);
    u32 decoded(unsigned slot, uintptr_t data, u32 size);
    uintptr_t private_data(u32 iod, u32 key, u32 *size);
    void apply_reading_rule(entry *of, unsigned slot);
    u32 get_extension(unsigned slot, u32 iod, u32 key);
    u32 is_extension_set(unsigned slot, u32 iod, u32 key);
    u32 set_extension(unsigned slot, u32 iod, u32 value);
    entry *entry_for_if(u32 if_index);
    u32 ask_port_mode(u32 if_index, u32 *mode);
    void fill_l2_info(u32 if_index, u32 *iod, u32 *linkup, u16 *encap, u32 *switchport,
                      u32 *switching, u32 *protoup, u32 *private_data);
    void update_l2_values(entry *of);
    u32 ask_fop(u32 pc_ifindex, u32 *member);

    // ---- notifications ----

    bool type_of(u32 if_index, const char *function, u8 *type, u32 *error);
    void update_link_and_protocol(entry *of, u32 iod);
    void take_l2_values(entry *of, const varn_l2_update_t *u);
    void take_l3_values(entry *of, const varn_l3_update_t *u, u8 type);
    void refetch_pi_and_lif(entry *of);
    u32 resolve_iod(varn_l3_update_t *u);
    i32 create_on_l3_up(const varn_l3_update_t *u);
    u32 take_first_fop(u32 pc, const std::string &name, u32 before, u32 now);

    // ---- side caches ----

    u32 ask_member(u32 pc_ifindex, u8 rbh, u32 *member);
    u32 ask_bd(vlan_key_t key, u16 *bd);
    u32 ask_primary(vlan_key_t key, u16 *bd, u32 *pvlan);
    u32 ask_flood(u16 bd, u32 *di);
    vlan_key_t key_for(u32 vlan);
    void drop_stale_lif(int vlan);

    // ---- dumps ----

    void print_index(uintptr_t arg, const char *name, const index_counts &of, const u64 *remaps);
    void print_row(uintptr_t arg, const char *label, u64 hits, u64 misses, u64 updates);
    void print_rows(uintptr_t arg);
    void print_values(uintptr_t arg, const entry *of);
    template <typename Record, typename Each>
    void print_table(uintptr_t arg, ht_t *object, table<Record> *over, const char *function,
                     Each each);
    void print_interfaces(uintptr_t arg, ht_t *object, const char *function);

    std::map<const void *, std::unique_ptr<entry>> entries_owned_;
    std::map<const void *, std::unique_ptr<vlan_entry>> vlans_owned_;
    std::map<const void *, std::unique_ptr<pc_entry>> pcs_owned_;
    std::vector<std::unique_ptr<entry>> dead_entries_; // until the step ends
    std::vector<std::unique_ptr<vlan_entry>> dead_vlans_;
    std::vector<std::unique_ptr<pc_entry>> dead_pcs_;
    std::size_t at_ = 0; // in the log
};

} // namespace naive
