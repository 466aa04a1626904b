// SPDX-License-Identifier: Apache-2.0
//
// Every handler in every situation: each type of interface that matters, each set of the attributes
// that the handler may look for cached and not, clean and dirty, with and without an entry, the
// cache on and off. The handlers are told a second time here, as deeds; each notification has its
// journal, its counters, its result and the entry it leaves compared with its deed.
#include "handler_deeds.h"

#include <bit>
#include <tuple>

namespace
{

struct handler {
    const char *name;
    u64 looked_for;    // attributes that are tried cached and not
    unsigned variants; // kinds of notification
    std::int64_t (*notify)(u32 index, unsigned variant);
    std::int64_t (*tell)(deed &, unsigned variant); // the result
    std::int64_t when_off;
    bool (*removes)(unsigned variant); // such a notification can remove the entry
};

void PrintTo(const handler &row, std::ostream *out) { *out << row.name; }

bool never(unsigned) { return false; }

// clang-format off
const handler handlers[] = {
    {"phy_state", bits(33), 4, notify_phy, tell_phy, 0, [](unsigned v) { return v == 2; }},
    {"l2_state", bits(2, 3, 9, 10, 13, 15, 16, 33), 4, notify_l2, tell_l2, -1, never},
    {"l3_state", bits(2, 3, 4, 9, 13, 15, 19, 33), 4, notify_l3, tell_l3, -1, [](unsigned v) { return v == 2; }},
    {"l2_bundle_state", bits(2, 9, 10, 13, 15, 16, 33), 4, notify_l2_bundle, tell_l2_bundle, 0, never},
    {"l3_bundle_state", bits(2, 9, 13, 15, 33), 4, notify_l3_bundle, tell_l3_bundle, 0, never},
    {"switchport", bits(2, 15, 33), 1, notify_switchport, tell_switchport, 0, never},
    {"l3_param", bits(2, 13, 23, 33), 3, notify_l3_param, tell_l3_param, 0, never},
    {"is_linkup_dirty_bit", bits(2, 17), 4, notify_dirty_bit, tell_dirty_bit, -1, never},
    {"vlan", bits(2, 10, 33), 1, notify_vlan, tell_vlan, 0, never},
    {"router_mac", bits(2, 9, 33), 2, notify_router_mac, tell_router_mac, 0, never},
    {"remove_extension0", bits(2, 5, 33), 1, notify_extension, tell_extension, 0, never},
    {"aggsvc_fop", bits(2, 3, 9, 15, 27, 33), 4, notify_fop, tell_fop, 0, [](unsigned v) { return v % 2 == 0; }},
};
// clang-format on

constexpr u32 matrix_types[] = {5, 9, 22, 24, 26, 1};

// The subsets of a mask that hold at most two of its bits or all but at most two: any two bits are
// tried in every combination.
std::vector<u64> subsets_of(u64 mask)
{
    std::vector<u64> all;
    for (u64 subset = mask;; subset = (subset - 1) & mask) {
        if (std::popcount(subset) <= 2 || std::popcount(mask & ~subset) <= 2)
            all.push_back(subset);
        if (subset == 0)
            return all;
    }
}

// Whether two entries are the same byte for byte; the links are the tables' own.
bool are_alike(varn_if_entry_t expected, const varn_if_entry_t &kept)
{
    expected.if_link = kept.if_link, expected.iod_link = kept.iod_link;
    expected.pi_link = kept.pi_link, expected.lif_link = kept.lif_link;
    return std::memcmp(&expected, &kept, sizeof kept) == 0;
}

class EveryHandler : public handler_test,
                     public testing::WithParamInterface<std::tuple<handler, u32>>
{
protected:
    EveryHandler()
    {
        given(port_channel(3).members({0x1a000008}), interface_in_question());
        start_caching(whole);
        cache_members(channel_3);
        if (type == 22)
            cache_members(0x16000007);
    }

    interface interface_in_question() const
    {
        interface made = port(7).of_type(static_cast<std::uint8_t>(type)).linkup(3).protoup(2);
        made.switchport(5).switching(4).p2p(3).mtu(74537).encap(6).access_vlan(44).port_mode(3);
        made.mac({0x0c, 0x0c, 0x0c, 0x0c, 0x0c, 0x0c}).in_channel(channel_3);
        return made.members({0x1a000008});
    }

    // The opposite of what the services say, clean but for `dirt`.
    void prepare_entry(u64 dirt)
    {
        varn_enabled = 1;
        varn.config.sync = whole;
        varn_if_entry_t &kept = *varn_if_create_entry_by_iod(7);
        std::memcpy(kept.mac, "\x02\0\0\0\0\x07", 6);
        kept.linkup = kept.switchport = kept.p2p = kept.ethernet = 0;
        kept.protoup = kept.switching = 1;
        kept.mtu = 1500, kept.encap = 1, kept.vlan = 5, kept.port_mode = 6;
        kept.extn[0] = 0xAB, kept.extn_size[0] = 4, kept.aggsvc_if = 0xCD;
        kept.dirty = dirt;
    }
    void remove_entry()
    {
        varn_enabled = 1;
        varn.config.sync = whole;
        varn_if_remove_entry_by_if(index);
    }

    // The deed that begins with the entry as it stands.
    deed begin(u64 sync)
    {
        varn.config.sync = sync;
        deed all(type, sync);
        if (const varn_if_entry_t *kept = entry_of(index)) {
            all.has_entry = true;
            all.entry = *kept;
            all.address = address_text(kept);
        }
        forget_all();
        return all;
    }

    void notify_and_compare(const deed &all, std::int64_t result, unsigned variant)
    {
        EXPECT_EQ(row.notify(index, variant), result);
        EXPECT_EQ(calls(), all.journal());
        EXPECT_EQ(counted_set(counters_moved()), all.counters());
        const varn_if_entry_t *kept = entry_of(index);
        ASSERT_EQ(kept != nullptr, all.has_entry);
        if (kept != nullptr) {
            EXPECT_TRUE(are_alike(all.entry, *kept)) << changes_between(all.entry, *kept);
        }
    }

    // Clean and dirty; what is dirty does not matter where there is no entry.
    void try_all(bool with_entry, bool is_on)
    {
        const u64 all_dirty = row.looked_for | bits(4, 9, 15, 17, 18, 19, 23);
        for (const u64 looked_for : subsets_of(row.looked_for))
            for (unsigned variant = 0; variant < row.variants; ++variant)
                for (const u64 dirt : {u64{0}, all_dirty}) {
                    if (dirt != 0 && !with_entry)
                        continue;
                    SCOPED_TRACE(spell("sync ", hex(looked_for), ", variant ", dec(variant),
                                       ", dirty ", hex(dirt)));
                    try_one(with_entry, is_on, variant, looked_for, dirt);
                    ASSERT_FALSE(HasFailure());
                }
    }

    // An entry that is to be removed must find the tables cached in which it stands.
    void try_one(bool with_entry, bool is_on, unsigned variant, u64 looked_for, u64 dirt)
    {
        if (with_entry)
            prepare_entry(dirt);
        else
            remove_entry();
        const bool can_go = with_entry && row.removes(variant);
        deed all = begin(bits(1, 25) | looked_for | (can_go ? bits(2, 3) : 0));
        varn_enabled = is_on;
        const bool does_nothing = !is_on && std::string(row.name) != "router_mac";
        notify_and_compare(all, does_nothing ? row.when_off : row.tell(all, variant), variant);
    }

    void TearDown() override
    {
        varn_enabled = 1;
        varn.config.sync = whole;
        handler_test::TearDown();
    }

    static constexpr u64 whole = bits(1, 2, 3, 10, 25, 33);
    const handler row = std::get<0>(GetParam());
    const u32 type = std::get<1>(GetParam());
    const u32 index = type << 24 | 7;
};

TEST_P(EveryHandler, WithAnEntryDoesExactlyItsDeed) { try_all(true, true); }

TEST_P(EveryHandler, WithoutEntryDoesExactlyItsDeed) { try_all(false, true); }

TEST_P(EveryHandler, WhileTheCacheIsOffAndThereIsAnEntryAllButTheRouterMacDoNothing)
{
    try_all(true, false);
}

TEST_P(EveryHandler, WhileTheCacheIsOffAndThereIsNoEntryAllDoNothing) { try_all(false, false); }

INSTANTIATE_TEST_SUITE_P(OfEveryType, EveryHandler,
                         testing::Combine(testing::ValuesIn(handlers),
                                          testing::ValuesIn(matrix_types)),
                         [](const auto &each) {
                             return spell(std::get<0>(each.param).name, "_of_type_",
                                          dec(std::get<1>(each.param)));
                         });

} // namespace
