// SPDX-License-Identifier: Apache-2.0
//
// The ground of the tests of the notification handlers. The journal tells services, messages,
// if-index types and bit tests in one, so that the order of a handler's steps shows in it. An entry
// is watched: what became of it is one text of the fields and dirty bits that changed. Notification
// records are built byte by byte at plain offsets; every byte that nobody names is 0xEE.
#pragma once

#include "log_lines.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

constexpr u32 index_7 = 0x1a000007;
constexpr u32 channel_3 = 0x16000003;
// Every attribute that a handler looks for, and the iod, but for pi and lif.
constexpr u64 everything_told = bits(1, 4, 9, 10, 13, 15, 16, 17, 18, 19, 23, 33);

constexpr const char *asked_name_of_7 = "ifsvc_get_if_name(7) = \"eth7\"";
constexpr const char *asked_type_of_7 = "if_index_get_type(0x1a000007) = 0 -> 26";
// Of an interface whose answers are not 0 or 1: only their low bit counts.
constexpr const char *asked_linkup = "ifsvc_is_linkup(7) = 3";
constexpr const char *asked_protoup = "ifsvc_is_protoup(7) = 2";

// What a handler of states writes when the attribute is cached, and what it asks for it.
struct written_attribute {
    u32 bit, slot;
    const char *change;
    const char *asked;
};

// How a log line shows the address of an entry.
inline std::string address_text(const varn_if_entry_t *entry)
{
    return hex(static_cast<u32>(reinterpret_cast<std::uintptr_t>(entry)));
}

// A notification record, written at offsets.
template <typename Record>
class message
{
public:
    message() { std::memset(static_cast<void *>(&record_), 0xEE, sizeof record_); }

    message &byte(std::size_t at, unsigned value)
    {
        const auto narrow = static_cast<std::uint8_t>(value);
        return put(at, &narrow, 1);
    }
    message &word(std::size_t at, u32 value) { return put(at, &value, sizeof value); }
    message &big_endian(std::size_t at, u32 value)
    {
        byte(at, value >> 24).byte(at + 1, value >> 16 & 0xFF);
        return byte(at + 2, value >> 8 & 0xFF).byte(at + 3, value & 0xFF);
    }
    message &mac(std::size_t at, const mac_address &value) { return put(at, value.data(), 6); }

    Record *get() { return &record_; }

private:
    message &put(std::size_t at, const void *value, std::size_t size)
    {
        EXPECT_LE(at + size, sizeof record_);
        std::memcpy(reinterpret_cast<std::uint8_t *>(&record_) + at, value, size);
        return *this;
    }

    Record record_;
};

using phy_message = message<varn_phy_update_t>;
using l2_message = message<varn_l2_update_t>;
using l3_message = message<varn_l3_update_t>;

constexpr mac_address new_mac{0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f};

inline phy_message phy_of(u32 if_index, u32 iod, unsigned state)
{
    return phy_message().word(0, if_index).word(4, iod).byte(8, state);
}

// An L2 record with a VLAN: A is 20, B is 30 and counts; an MTU of 9000, each in its low 16 bits.
inline l2_message l2_of(u32 if_index, u32 iod, unsigned state)
{
    l2_message made;
    made.word(0, if_index).word(4, iod).byte(8, 0x80).byte(14, 0xEF).mac(16, new_mac);
    return made.byte(22, state).word(24, 0x12328).word(36, 0x30014).word(40, 0x5001E);
}

inline l3_message l3_of(u32 if_index, u32 iod, unsigned state)
{
    return l3_message().word(0, if_index).word(4, iod).byte(8, state).word(12, 0x12328);
}

// Every field of an entry that is not a link, by name.
using entry_fields = std::vector<std::pair<std::string, std::string>>;

inline void add_flags(entry_fields &all, const varn_if_entry_t &e)
{
    const std::pair<const char *, unsigned> flags[] = {{"switchport", e.switchport},
                                                       {"switching", e.switching},
                                                       {"linkup", e.linkup},
                                                       {"protoup", e.protoup},
                                                       {"ethernet", e.ethernet},
                                                       {"is_vlan", e.is_vlan},
                                                       {"ips", e.ips},
                                                       {"null", e.null},
                                                       {"loopback", e.loopback},
                                                       {"p2p", e.p2p},
                                                       {"mvpn", e.mvpn},
                                                       {"unused", e.unused_flags}};
    for (const auto &[name, value] : flags)
        all.emplace_back(name, dec(value));
}

inline entry_fields fields_of(const varn_if_entry_t &e)
{
    entry_fields all{
        {"if_index", hex(e.if_index)}, {"iod", dec(e.iod)},      {"pi", hex(e.pi)},
        {"lif", hex(e.lif)},           {"mac", mac_text(e.mac)}, {"encap", dec(e.encap)}};
    for (u32 slot = 0; slot < 4; ++slot) {
        all.emplace_back("extn" + dec(slot), hex(e.extn[slot]));
        all.emplace_back("extn_size" + dec(slot), dec(e.extn_size[slot]));
    }
    const std::pair<const char *, u64> numbers[] = {{"context_id", e.context_id},
                                                    {"base_tid", e.base_tid},
                                                    {"vlan", e.vlan},
                                                    {"mtu", e.mtu},
                                                    {"port_mode", e.port_mode},
                                                    {"valid", u64{e.valid}},
                                                    {"if_type", e.if_type},
                                                    {"ref_count", e.ref_count},
                                                    {"iod_remaps", e.iod_remaps},
                                                    {"pi_remaps", e.pi_remaps},
                                                    {"lif_remaps", e.lif_remaps},
                                                    {"aggsvc_if", e.aggsvc_if}};
    add_flags(all, e);
    for (const auto &[name, value] : numbers)
        all.emplace_back(name, dec(value));
    return all;
}

// "linkup 0 -> 1, dirty -17": what became of an entry.
inline std::string changes_between(const varn_if_entry_t &was, const varn_if_entry_t &is)
{
    std::string all;
    const entry_fields before = fields_of(was), after = fields_of(is);
    for (std::size_t at = 0; at < before.size(); ++at)
        if (before[at].second != after[at].second)
            add_to_list(all,
                        spell(before[at].first, " ", before[at].second, " -> ", after[at].second));
    for (u32 bit = 0; bit < 64; ++bit)
        if (((was.dirty ^ is.dirty) >> bit & 1) != 0)
            add_to_list(all, spell("dirty ", (is.dirty >> bit & 1) != 0 ? "+" : "-", dec(bit)));
    return all;
}

class handler_test : public varn_test
{
protected:
    handler_test() { given(port(7)); }

    // A running cache that keeps these attributes, whose client hears errors.
    void start_caching(u64 sync) { start_client(config().sync(sync)); }
    void start_client(config with)
    {
        start(with.uuid(0x11).error_cb(6));
        varn_error_cb = 1;
        for (const family each : {messages, types, bit_tests})
            record(each);
    }

    // The entry of an iod, created where it is missing, and watched from now on.
    varn_if_entry_t &watched(u32 iod) { return watch(*varn_if_create_entry_by_iod(iod)); }
    varn_if_entry_t &watch(varn_if_entry_t &entry)
    {
        watched_ = &entry;
        was_ = entry;
        forget_all();
        return entry;
    }
    // What became of the watched entry since.
    std::string changes()
    {
        const varn_if_entry_t before = was_;
        was_ = *watched_;
        return changes_between(before, *watched_);
    }

    // The port-channel of the world asked for bucket 5, so that its members are cached.
    void cache_members(u32 pc_if_index)
    {
        u32 member = 0;
        EXPECT_EQ(varn_aggsvc_get_pc_mbr_ifidx_from_rbh(pc_if_index, 5, &member), 0u);
        forget_all();
    }
    // Whether bucket 5 of the one port-channel that is cached is to be asked again.
    static bool members_are_dirty()
    {
        const auto held = records_in(&varn.pc_table);
        EXPECT_EQ(held.size(), 1u);
        return static_cast<varn_pc_entry_t *>(held.at(0))->rbh_dirty[5] == 1;
    }

    // Nothing at all has happened since the watch began.
    void expect_untouched()
    {
        EXPECT_EQ(calls(), "");
        EXPECT_EQ(counters_moved(), "");
        EXPECT_EQ(changes(), "");
    }

    // Every record of the log is the client's, and has its true length.
    void TearDown() override
    {
        for (const history_record &each : history()) {
            SCOPED_TRACE(each.text);
            EXPECT_EQ(each.uuid, 0x11u);
            EXPECT_EQ(each.event_id, 0x730000u);
            EXPECT_EQ(each.inst, 0u);
            EXPECT_EQ(each.length, each.text.size() + 5);
        }
        varn_test::TearDown();
    }

private:
    const varn_if_entry_t *watched_ = nullptr;
    varn_if_entry_t was_{};
};
