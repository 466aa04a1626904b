// SPDX-License-Identifier: Apache-2.0
//
// The records on the bytes: every field is written with all its bits and must be seen at its place,
// in its width, and nowhere else. The places are written here a second time, as plain numbers;
// those of records with pointers for both data models.
#include "varn.h"
#include "varn_fixture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace
{

constexpr bool has_wide_pointers = sizeof(void *) == 8;

// "104+2 130+1": the runs of bytes that are not zero, each with its length.
std::string bytes_set(const void *record, std::size_t size)
{
    const auto *bytes = static_cast<const unsigned char *>(record);
    std::string runs;
    for (std::size_t at = 0; at < size;) {
        std::size_t end = at;
        while (end < size && bytes[end] != 0)
            ++end;
        if (end != at)
            runs = spell(runs, runs.empty() ? "" : " ", dec(at), "+", dec(end - at));
        at = end == at ? at + 1 : end;
    }
    return runs;
}

std::string place(std::size_t at, std::size_t width) { return spell(dec(at), "+", dec(width)); }

template <typename Record>
std::string places_written_by(const std::function<void(Record &)> &write)
{
    Record record;
    std::memset(static_cast<void *>(&record), 0, sizeof record);
    write(record);
    return bytes_set(&record, sizeof record);
}

// A field that stands at the same place with every pointer size.
template <typename Record>
struct field {
    const char *name;
    std::size_t at, width;
    std::function<void(Record &)> write;
};

#define FIELD(type, member, at, width)                                                                                  \
    field<type>                                                                                                         \
    {                                                                                                                   \
#member, at, width, [](type & record) { std::memset(static_cast<void *>(&record.member), 0xFF, sizeof record.member); } \
    }

template <typename Record>
void expect_places(const std::vector<field<Record>> &fields)
{
    for (const auto &each : fields)
        EXPECT_EQ(places_written_by(each.write), place(each.at, each.width)) << each.name;
}

// Where a member stands with 32-bit and with 64-bit pointers.
constexpr std::size_t either(std::size_t on_32, std::size_t on_64)
{
    return has_wide_pointers ? on_64 : on_32;
}

constexpr std::size_t pointer_width = sizeof(void *);

TEST(InterfaceEntry, HasEveryFieldAtItsPlaceInItsWidth)
{
    using entry = varn_if_entry_t;
    EXPECT_EQ(sizeof(entry), 136u);
    expect_places<entry>({FIELD(entry, if_index, 0, 4),      FIELD(entry, if_link, 4, 8),
                          FIELD(entry, iod, 12, 4),          FIELD(entry, iod_link, 16, 8),
                          FIELD(entry, pi, 24, 4),           FIELD(entry, pi_link, 28, 8),
                          FIELD(entry, lif, 36, 4),          FIELD(entry, lif_link, 40, 8),
                          FIELD(entry, mac, 48, 6),          FIELD(entry, encap, 54, 2),
                          FIELD(entry, extn[0], 56, 4),      FIELD(entry, extn[1], 60, 4),
                          FIELD(entry, extn[2], 64, 4),      FIELD(entry, extn[3], 68, 4),
                          FIELD(entry, extn_size[0], 72, 4), FIELD(entry, extn_size[1], 76, 4),
                          FIELD(entry, extn_size[2], 80, 4), FIELD(entry, extn_size[3], 84, 4),
                          FIELD(entry, context_id, 88, 4),   FIELD(entry, base_tid, 92, 4),
                          FIELD(entry, vlan, 96, 2),         FIELD(entry, mtu, 98, 2),
                          FIELD(entry, port_mode, 100, 4),   FIELD(entry, valid, 108, 8),
                          FIELD(entry, dirty, 116, 8),       FIELD(entry, aggsvc_if, 124, 4),
                          FIELD(entry, if_type, 128, 1),     FIELD(entry, ref_count, 129, 1),
                          FIELD(entry, iod_remaps, 130, 1),  FIELD(entry, pi_remaps, 131, 1),
                          FIELD(entry, lif_remaps, 132, 1)});
}

TEST(InterfaceEntry, HasItsLinksRightBehindItsKeys)
{
    varn_if_entry_t entry{};
    const auto distance = [](const auto &key, const auto &link) {
        return reinterpret_cast<const char *>(&link) - reinterpret_cast<const char *>(&key);
    };
    EXPECT_EQ(distance(entry.if_index, entry.if_link), 4);
    EXPECT_EQ(distance(entry.iod, entry.iod_link), 4);
    EXPECT_EQ(distance(entry.pi, entry.pi_link), 4);
    EXPECT_EQ(distance(entry.lif, entry.lif_link), 4);
}

TEST(InterfaceEntry, HasUnsignedFields)
{
    varn_if_entry_t entry;
    std::memset(static_cast<void *>(&entry), 0xFF, sizeof entry);
    EXPECT_EQ(entry.if_index, 0xFFFFFFFFu);
    EXPECT_GT(entry.encap, 0);
    EXPECT_GT(entry.vlan, 0);
    EXPECT_GT(entry.mtu, 0);
    EXPECT_GT(entry.if_type, 0);
    EXPECT_GT(entry.ref_count, 0);
    EXPECT_GT(entry.iod_remaps, 0);
    EXPECT_GT(entry.pi_remaps, 0);
    EXPECT_GT(entry.lif_remaps, 0);
    EXPECT_EQ(u64{entry.dirty}, 0xFFFFFFFFFFFFFFFFu);
}

struct flag_field {
    const char *name;
    std::size_t at;
    unsigned bit;
    std::function<void(varn_if_entry_t &)> set;
    std::function<unsigned(const varn_if_entry_t &)> get;
};

#define FLAG(member, at, bit)                                                                      \
    flag_field                                                                                     \
    {                                                                                              \
#member, at, bit,                                                                          \
            [](varn_if_entry_t &                                                                   \
               entry) { entry.member = 1; }, [](const varn_if_entry_t                              \
                                                    &entry) { return unsigned{entry.member}; }     \
    }

const std::vector<flag_field> flag_fields = {
    FLAG(switchport, 104, 0), FLAG(switching, 104, 1), FLAG(linkup, 104, 2), FLAG(protoup, 104, 3),
    FLAG(ethernet, 104, 4),   FLAG(is_vlan, 104, 5),   FLAG(ips, 104, 6),    FLAG(null, 104, 7),
    FLAG(loopback, 105, 0),   FLAG(p2p, 105, 1),       FLAG(mvpn, 105, 2)};

TEST(InterfaceEntry, HasEveryFlagInItsOneBit)
{
    for (const flag_field &each : flag_fields) {
        SCOPED_TRACE(each.name);
        varn_if_entry_t entry;
        std::memset(static_cast<void *>(&entry), 0, sizeof entry);
        each.set(entry);
        unsigned char bytes[sizeof entry];
        std::memcpy(bytes, &entry, sizeof entry);
        EXPECT_EQ(bytes_set(bytes, sizeof bytes), place(each.at, 1));
        EXPECT_EQ(bytes[each.at], 1u << each.bit);
    }
}

TEST(InterfaceEntry, ReadsEveryFlagFromItsOneBit)
{
    for (const flag_field &each : flag_fields) {
        SCOPED_TRACE(each.name);
        unsigned char bytes[sizeof(varn_if_entry_t)];
        std::memset(bytes, 0xFF, sizeof bytes);
        bytes[each.at] = static_cast<unsigned char>(0xFFu & ~(1u << each.bit));
        varn_if_entry_t entry;
        std::memcpy(static_cast<void *>(&entry), bytes, sizeof entry);
        for (const flag_field &other : flag_fields)
            EXPECT_EQ(other.get(entry), other.name == each.name ? 0u : 1u) << other.name;
    }
}

TEST(PortChannelEntry, HasEveryFieldAtItsPlaceInItsWidth)
{
    using entry = varn_pc_entry_t;
    EXPECT_EQ(sizeof(entry), 140u);
    expect_places<entry>({FIELD(entry, pc_ifindex, 0, 4), FIELD(entry, link, 4, 8),
                          FIELD(entry, rbh_dirty, 12, 64), FIELD(entry, rbh_dirty[1], 16, 4),
                          FIELD(entry, rbh_mbr_ifindex, 76, 64),
                          FIELD(entry, rbh_mbr_ifindex[15], 136, 4)});
}

TEST(VlanEntry, HasEveryFieldAtItsPlaceInItsWidth)
{
    using entry = varn_vlan_entry_t;
    EXPECT_EQ(sizeof(entry), 32u);
    expect_places<entry>({FIELD(entry, vlan, 0, 2), FIELD(entry, link, 4, 8),
                          FIELD(entry, bd, 12, 2), FIELD(entry, flood_di, 16, 4),
                          FIELD(entry, pvlan, 20, 4), FIELD(entry, dirty, 24, 8)});
}

TEST(LogRecord, IsACodeWordAndATextOf200Bytes)
{
    EXPECT_EQ(sizeof(varn_log_record_t), 204u);
    expect_places<varn_log_record_t>(
        {FIELD(varn_log_record_t, code, 0, 4), FIELD(varn_log_record_t, text, 4, 200)});
}

TEST(Configuration, HasEveryFieldAtItsPlaceInItsWidth)
{
    using config = varn_config_t;
    EXPECT_EQ(sizeof(config), either(120, 176));
    expect_places<config>({FIELD(config, num_buckets, 0, 4),
                           FIELD(config, sync, 4, 8),
                           FIELD(config, crit, 12, 8),
                           FIELD(config, med, 20, 8),
                           FIELD(config, low, 28, 8),
                           FIELD(config, once, 36, 8),
                           FIELD(config, extn_decode, either(44, 48), 4 * pointer_width),
                           FIELD(config, uuid, either(60, 80), 4),
                           FIELD(config, extn_uuid, either(64, 84), 12),
                           FIELD(config, debug_print, either(76, 96), pointer_width),
                           FIELD(config, error_print, either(80, 104), pointer_width),
                           FIELD(config, debug_print_arg, either(84, 112), pointer_width),
                           FIELD(config, error_cb, either(88, 120), pointer_width),
                           FIELD(config, print, either(92, 128), pointer_width),
                           FIELD(config, debug_arg, either(96, 136), pointer_width),
                           FIELD(config, error_arg, either(100, 144), pointer_width),
                           FIELD(config, create_on_miss, either(104, 152), 4),
                           FIELD(config, track_l3, either(108, 156), 4),
                           FIELD(config, extn_free, either(112, 160), pointer_width),
                           FIELD(config, on_create, either(116, 168), pointer_width)});
}

TEST(GlobalRecord, HasItsTablesItsConfigurationAndItsSlotCountersFirst)
{
    using global = varn_global_t;
    const std::size_t table = 16 * pointer_width;
    EXPECT_EQ(sizeof(global), either(1672, 2112));
    expect_places<global>(
        {FIELD(global, if_table, 0, table), FIELD(global, iod_table, table, table),
         FIELD(global, pi_table, 2 * table, table), FIELD(global, lif_table, 3 * table, table),
         FIELD(global, vlan_table, 4 * table, table), FIELD(global, pc_table, 5 * table, table),
         FIELD(global, config, either(384, 768), either(120, 176)),
         FIELD(global, misses, either(504, 944), 256), FIELD(global, hits, either(760, 1200), 256),
         FIELD(global, updates, either(1016, 1456), 256)});
}

// The counters behind the slot counters, in their order, without a gap.
TEST(GlobalRecord, HasItsOtherCountersInOrderWithoutAGap)
{
    using global = varn_global_t;
    std::size_t at = either(1272, 1712);
    std::vector<field<global>> fields;
    const auto add = [&](field<global> next) {
        next.at = at;
        at += next.width;
        fields.push_back(next);
    };
#define NEXT(member) add(FIELD(global, member, 0, 8))
#define NEXT_INDEX(table)                                                                          \
    NEXT(table.inserts), NEXT(table.removes), NEXT(table.insert_fail), NEXT(table.remove_fail)
#define NEXT_VLAN(kind) NEXT(kind.bd), NEXT(kind.findex), NEXT(kind.pvlan)
    NEXT(if_allocs), NEXT(if_frees), NEXT(if_destroys);
    NEXT(iod_remaps), NEXT(pi_remaps), NEXT(lif_remaps);
    NEXT_INDEX(if_index), NEXT_INDEX(iod_index), NEXT_INDEX(pi_index), NEXT_INDEX(lif_index);
    NEXT(phy_updates), NEXT(l2_updates), NEXT(l3_updates), NEXT(l3_param_updates);
    NEXT(l2_bundle_updates), NEXT(l3_bundle_updates), NEXT(aggsvc_updates);
    NEXT(if_refreshes), NEXT(iod_refreshes), NEXT(pi_refreshes), NEXT(lif_refreshes);
    NEXT(create_fail);
    NEXT_VLAN(vlan_misses), NEXT_VLAN(vlan_hits), NEXT_VLAN(vlan_updates);
    NEXT(vlan_allocs), NEXT(vlan_frees);
    NEXT(pc_hits), NEXT(pc_misses), NEXT(pc_updates), NEXT(pc_allocs), NEXT(pc_frees);
    expect_places<global>(fields);
    EXPECT_EQ(at, sizeof(global));
}

} // namespace
