// SPDX-License-Identifier: Apache-2.0
//
// Where arguments come from: mostly identifiers that the world or the cache knows, sometimes those
// that nobody has, sometimes the ends of the range.
#include "both_sides.h"

#include <endian.h>
#include <optional>

namespace naive
{

namespace
{

// The field of an entry that the cache holds, or `other` where it holds none.
u32 cached_or(act &on, u32 entry::*field, u32 other)
{
    const std::vector<entry *> known = on.model.entries();
    return known.empty() || !on.chance.one_in(4) ? other : on.chance.one_of(known)->*field;
}

u32 draw_identity(act &on, const std::vector<u32> &pool, u32 entry::*field)
{
    if (on.chance.one_in(25))
        return on.chance.one_of({0, 1, 15991, 32767, 32768, 65535, 0x1000000F, 0xFFFFFFFF});
    return cached_or(on, field, on.chance.one_of(pool));
}

u8 draw_state(act &on) { return static_cast<u8>(on.chance.one_of({0, 1, 1, 1, 2, 2, 3, 16, 255})); }

// Mostly the two identifiers of one interface, as a service would send them.
void draw_identity(act &on, u32 &if_index, u32 &iod)
{
    if_index = draw_number(on, a::if_index);
    iod = draw_number(on, a::iod);
    const std::vector<entry *> known = on.model.entries();
    if (known.empty() || on.chance.one_in(3))
        return;
    const entry *of = on.chance.one_of(known);
    if_index = of->if_index;
    iod = of->iod;
}

std::optional<stdout_watch> &the_stdout_watch()
{
    static std::optional<stdout_watch> now;
    return now;
}

template <typename Record>
Record *draw_of(act &on, const table<Record> &from)
{
    if (from.filed.empty() || on.chance.one_in(20))
        return nullptr;
    return on.chance.one_of(from.filed).second;
}

} // namespace

u32 draw_number(act &on, a what)
{
    switch (what) {
    case a::iod:
        return draw_identity(on, on.all.iods, &entry::iod);
    case a::if_index:
        return draw_identity(on, on.all.if_indexes, &entry::if_index);
    case a::pi:
        return draw_identity(on, on.all.pis, &entry::pi);
    case a::lif:
        return draw_identity(on, on.all.lifs, &entry::lif);
    case a::channel:
        return on.chance.one_in(10) ? draw_number(on, a::if_index)
                                    : on.chance.one_of(on.all.channels);
    case a::key:
        return on.chance.one_of({0, 7, 8, 9, 10, 0xFFFFFFFF});
    case a::vlan:
        return on.chance.one_in(25) ? on.chance.odd_number() : on.chance.one_of(on.all.vlans);
    case a::rbh:
        return on.chance.below(16);
    case a::option:
        return on.chance.one_of({0, 1, 1, 2, 2, 3, 3, 4, 0xFFFFFFFF});
    case a::yes:
        return on.chance.one_of({0, 0, 1, 2, 3, 0xFFFFFFFF});
    case a::sink:
        return on.chance.one_of({0, 1, 1, 1, 5, 0x80000000});
    case a::number:
    case a::record:
        break;
    }
    return on.chance.odd_number();
}

void fill_by_chance(dice &chance, void *record, std::size_t size)
{
    auto *bytes = static_cast<u8 *>(record);
    for (std::size_t at = 0; at < size; ++at)
        bytes[at] = chance.byte();
}

void draw_record(act &on, varn_phy_update_t &record)
{
    fill_by_chance(on.chance, &record, sizeof record);
    draw_identity(on, record.if_index, record.iod);
    record.state = draw_state(on);
}

void draw_record(act &on, varn_l2_update_t &record)
{
    fill_by_chance(on.chance, &record, sizeof record);
    draw_identity(on, record.if_index, record.iod);
    record.state = draw_state(on);
    if (on.chance.one_in(3))
        record.vlan_present = 0;
}

void draw_record(act &on, varn_l3_update_t &record)
{
    fill_by_chance(on.chance, &record, sizeof record);
    draw_identity(on, record.if_index, record.iod);
    record.state = draw_state(on);
    if (on.chance.one_in(4))
        record.iod = 0;
}

void draw_record(act &on, varn_l3_param_update_t &record)
{
    u32 if_index = 0;
    fill_by_chance(on.chance, &record, sizeof record);
    draw_identity(on, if_index, record.iod);
}

void draw_record(act &on, varn_mac_update_t &record)
{
    u32 iod = 0;
    fill_by_chance(on.chance, &record, sizeof record);
    draw_identity(on, record.if_index, iod);
    if (on.chance.one_in(3))
        std::memset(record.mac, 0, sizeof record.mac);
    if (on.chance.one_in(4))
        record.mac[on.chance.below(6)] ^= 1; // a single bit tells it from none
}

void draw_record(act &on, varn_fop_update_t &record)
{
    fill_by_chance(on.chance, &record, sizeof record);
    record.pc_ifindex = htobe32(draw_number(on, a::channel));
    record.old_member = htobe32(on.chance.one_in(2) ? 0 : draw_number(on, a::if_index));
    record.new_member = htobe32(on.chance.one_in(2) ? 0 : draw_number(on, a::if_index));
}

void draw_record(act &on, bitset_t &record) { fill_by_chance(on.chance, &record, sizeof record); }

std::string told_record(const void *record, std::size_t size)
{
    const auto *bytes = static_cast<const u8 *>(record);
    std::string text;
    for (std::size_t at = 0; at < size; ++at) {
        const std::string byte = scripted::hex(bytes[at] + 0x100u);
        text += byte.substr(3);
    }
    return text;
}

ht_t *draw_table(act &on)
{
    ht_t *const all[] = {&varn.if_table, &varn.iod_table, &varn.pi_table, &varn.lif_table};
    return on.chance.one_in(12) ? nullptr : on.chance.one_of(all);
}

entry *draw_entry(act &on, entry *)
{
    const std::vector<entry *> known = on.model.entries();
    return known.empty() || on.chance.one_in(20) ? nullptr : on.chance.one_of(known);
}
vlan_entry *draw_entry(act &on, vlan_entry *) { return draw_of(on, on.model.vlan_table); }
pc_entry *draw_entry(act &on, pc_entry *) { return draw_of(on, on.model.pc_table); }

void begin_library()
{
    the_log().clear();
    the_stdout_watch().emplace();
}

void end_library() { the_stdout_watch().reset(); }

void settle(act &on, int errno_now)
{
    on.model.end_step();
    const int expected = on.model.memory_was_wanting ? ENOMEM : errno_before;
    if (errno_now != expected)
        throw difference(scripted::spell("errno is ", std::to_string(errno_now),
                                         ", the model's is ", std::to_string(expected)));
}

void expect_same(const char *what, u64 library, u64 model)
{
    if (library != model)
        throw difference(scripted::spell(what, " = ", scripted::hex(library),
                                         ", the model's = ", scripted::hex(model)));
}

} // namespace naive
