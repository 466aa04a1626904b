// SPDX-License-Identifier: Apache-2.0
//
// The iod directory stands in front of the Iod table and may never say anything else than the table
// would. It cannot be seen from outside, so it is watched by what comes of it: after every step each
// query by iod answers from the entry that the table gives, and from the service where it gives
// none.
#include "varn_fixture.h"

#include <array>
#include <functional>
#include <vector>

namespace
{

// The first and the last that the directory covers, the first beyond it, neighbours, and iods that
// are alike in their low bits.
constexpr std::array watched_iods{u32{1},     u32{2},     u32{7},         u32{8},
                                  u32{31},    u32{32},    u32{16391},     u32{32766},
                                  u32{32767}, u32{32768}, u32{65536} + 7, u32{0xFFFFFFFF}};

u32 is_any_mac(u32 iod)
{
    const std::uint8_t mac[6]{};
    return varn_ifsvc_is_if_mac_addr(iod, mac);
}

u32 mac_byte(u32 iod) { return *varn_ifsvc_get_if_mac_addr(iod); }

u32 vlan_of_info(u32 iod)
{
    varn_vlan_info_t info{};
    u32 mode = 0;
    varn_ifsvc_get_vlan_info(iod, &info, &mode);
    return info.vlan;
}

u32 if_index_of(u32 iod)
{
    u32 if_index = 0;
    varn_ifsvc_get_ifindex_frm_iod(iod, &if_index);
    return if_index;
}

u32 extension_of(u32 iod) { return varn_ifsvc_get_extension(iod, 0x11); }
u32 has_extension(u32 iod) { return varn_ifsvc_is_extension1_set(iod, 0x12); }

constexpr std::array queries_by_iod{varn_ifsvc_is_linkup,
                                    varn_ifsvc_is_protoup,
                                    varn_ifsvc_is_switchport,
                                    varn_ifsvc_is_switching_enabled_on_iod,
                                    varn_ifsvc_is_ethernet,
                                    varn_ifsvc_is_vlan,
                                    varn_ifsvc_is_null0,
                                    varn_ifsvc_is_native_p2p,
                                    varn_ifsvc_is_loopback,
                                    varn_ifsvc_is_mvpn_tunnel,
                                    varn_ifsvc_get_if_mtu,
                                    varn_ifsvc_get_if_encaptype,
                                    varn_ifsvc_get_if_vlanid,
                                    varn_ifsvc_is_gre_tunnel,
                                    varn_ifsvc_is_cbus,
                                    mac_byte,
                                    is_any_mac,
                                    vlan_of_info,
                                    if_index_of,
                                    extension_of,
                                    has_extension};

constexpr u32 mtu_of_service = 999;

varn_if_entry_t *in_table(u32 iod)
{
    return static_cast<varn_if_entry_t *>(on(ht_lookup).by_default(&varn.iod_table, &iod));
}

class IodDirectory : public varn_test
{
protected:
    IodDirectory() { begin(); }

    // Nothing is created on a miss, so that a query finds an entry or none.
    void begin()
    {
        start(config().sync(all_entry_bits).uuid(0x11));
        varn.config.create_on_miss = 0;
        on(ifsvc_get_if_mtu).answers(mtu_of_service);
    }

    // Filed under if-index and iod by hand; all of it clean, the extensions set.
    varn_if_entry_t *unfiled(u32 iod)
    {
        varn_if_entry_t *made = loose_entry(++last_if_index_, iod);
        varn_if_insert_entry(made);
        made->mtu = static_cast<std::uint16_t>(2000 + last_if_index_ % 1000);
        made->extn[0] = made->extn[1] = 5;
        return made;
    }
    varn_if_entry_t *filed(u32 iod)
    {
        varn_if_entry_t *made = unfiled(iod);
        EXPECT_EQ(varn_iod_insert_entry(made), 1u);
        return made;
    }

    static void expect_agreement()
    {
        for (const u32 iod : watched_iods) {
            SCOPED_TRACE(iod);
            const varn_if_entry_t *entry = in_table(iod);
            EXPECT_EQ(varn_find_entry_by_iod(iod), entry);
            const bool from_cache = entry && sync_mask();
            EXPECT_EQ(varn_ifsvc_get_if_mtu(iod), from_cache ? entry->mtu : mtu_of_service);
            expect_requests_only_without(from_cache, iod);
        }
    }

    // Between varn_cleanup and varn_init nothing may be called while the cache is on.
    static void expect_no_entry()
    {
        varn_enabled = 0;
        for (const u32 iod : watched_iods)
            EXPECT_EQ(varn_find_entry_by_iod(iod), nullptr) << iod;
    }

    static void expect_requests_only_without(bool from_cache, u32 iod)
    {
        for (std::size_t each = 0; each < queries_by_iod.size(); ++each) {
            forget();
            queries_by_iod[each](iod);
            const std::string asked = calls();
            EXPECT_EQ(asked.find("ifsvc_") == std::string::npos, from_cache)
                << "query " << each << ": " << asked;
        }
    }

private:
    u32 last_if_index_ = 0x1a000000;
};

TEST_F(IodDirectory, AnswersAHitWithoutTheTable)
{
    const varn_if_entry_t *entry = filed(7);
    const unsigned long before = on(ht_lookup).of("Iod").asked();
    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), entry->mtu);
    EXPECT_EQ(varn_find_entry_by_iod(7), entry);
    EXPECT_EQ(on(ht_lookup).of("Iod").asked(), before);
}

// As far as the bitmap of forbidden iods, and no further.
TEST_F(IodDirectory, ReachesToTheLastIodOfTheBitmap)
{
    constexpr u32 last = VARN_IODBMP_WORDS * 32 - 1;
    for (const u32 iod : {last, last + 1}) {
        SCOPED_TRACE(iod);
        const varn_if_entry_t *entry = filed(iod);
        const unsigned long before = on(ht_lookup).of("Iod").asked();
        EXPECT_EQ(varn_find_entry_by_iod(iod), entry);
        EXPECT_EQ(on(ht_lookup).of("Iod").asked() - before, iod == last ? 0u : 1u);
    }
}

TEST_F(IodDirectory, OfAnEmptyTableIsEmpty) { expect_agreement(); }

TEST_F(IodDirectory, AgreesAfterEachInsert)
{
    for (const u32 iod : watched_iods) {
        filed(iod);
        expect_agreement();
    }
}

TEST_F(IodDirectory, AgreesAfterEachDelete)
{
    std::vector<varn_if_entry_t *> entries;
    for (const u32 iod : watched_iods)
        entries.push_back(filed(iod));
    for (varn_if_entry_t *entry : entries) {
        EXPECT_EQ(varn_iod_delete_entry(entry), 1u);
        expect_agreement();
    }
}

TEST_F(IodDirectory, AgreesAfterAnInsertThatFailed)
{
    on(ht_insert).of("Iod").fails_once();
    varn_if_entry_t *entry = unfiled(7);
    EXPECT_EQ(varn_iod_insert_entry(entry), 0u);
    expect_agreement();
    EXPECT_EQ(varn_iod_insert_entry(entry), 1u);
    expect_agreement();
}

TEST_F(IodDirectory, AgreesAfterAnInsertThatWasRefusedAsADuplicate)
{
    const varn_if_entry_t *holder = filed(7);
    varn_if_entry_t *late = unfiled(7);
    EXPECT_EQ(varn_iod_insert_entry(late), 0u);
    EXPECT_EQ(varn_find_entry_by_iod(7), holder);
    expect_agreement();
}

TEST_F(IodDirectory, AgreesAfterADeleteThatFailed)
{
    varn_if_entry_t *entry = filed(7);
    on(ht_remove_entry).of("Iod").fails_once();
    EXPECT_EQ(varn_iod_delete_entry(entry), 0u);
    const unsigned long before = on(ht_lookup).of("Iod").asked();
    EXPECT_EQ(varn_find_entry_by_iod(7), entry);
    EXPECT_EQ(on(ht_lookup).of("Iod").asked(), before);
    expect_agreement();
    EXPECT_EQ(varn_iod_delete_entry(entry), 1u);
    expect_agreement();
}

TEST_F(IodDirectory, AgreesAfterTheDeleteOfAnEntryThatNeverStoodInTheTable)
{
    filed(7);
    varn_if_entry_t *other = unfiled(7);
    EXPECT_EQ(varn_iod_delete_entry(other), 0u);
    expect_agreement();
}

TEST_F(IodDirectory, AgreesAfterADeleteWithTheIodNotCached)
{
    varn_if_entry_t *entry = filed(7);
    varn.config.sync &= ~bits(1);
    EXPECT_EQ(varn_iod_delete_entry(entry), 0u);
    varn.config.sync |= bits(1);
    EXPECT_EQ(varn_find_entry_by_iod(7), entry);
    expect_agreement();
}

TEST_F(IodDirectory, AgreesWhileTheCacheIsOffAndWhenItIsOnAgain)
{
    varn_if_entry_t *entry = filed(7);
    filed(8);
    varn_disable_cache();
    expect_agreement();
    varn_iod_delete_entry(entry);
    expect_agreement();
    varn_restore_cache();
    expect_agreement();
    EXPECT_EQ(varn_iod_delete_entry(entry), 1u);
    expect_agreement();
}

TEST_F(IodDirectory, AgreesAfterEntriesCameAndWentOnTheirOwn)
{
    varn.config.create_on_miss = 1;
    given(port(7), port(8));
    const varn_if_entry_t *seven = varn_find_entry_by_iod(7);
    const varn_if_entry_t *eight = varn_find_entry_by_iod(8);
    ASSERT_NE(seven, nullptr);
    EXPECT_EQ(in_table(7), seven);
    EXPECT_EQ(in_table(8), eight);
    EXPECT_EQ(varn_if_remove_entry_by_iod(7), 1u);
    varn.config.create_on_miss = 0;
    EXPECT_EQ(varn_find_entry_by_iod(7), nullptr);
    EXPECT_EQ(varn_find_entry_by_iod(8), eight);
}

TEST_F(IodDirectory, HoldsTheNewestCreatorOfAnIod)
{
    given(port(7), port(8));
    ASSERT_NE(varn_if_create_entry_by_iod(7), nullptr);
    const varn_if_entry_t *late = varn_if_create_entry_by_if(0x1a000008, 7, none, none);
    ASSERT_NE(late, nullptr);
    EXPECT_EQ(in_table(7), late);
    EXPECT_EQ(varn_find_entry_by_iod(7), late);
}

TEST_F(IodDirectory, AgreesWhenTheIodOfAnEntryBecameForbidden)
{
    const varn_if_entry_t *entry = filed(7);
    varn_iodbmp[0] = 0;
    EXPECT_EQ(varn_find_entry_by_iod(7), entry);
    expect_agreement();
    EXPECT_EQ(varn_if_remove_entry_by_if_ext(entry->if_index, 7, 0), 1u);
    expect_agreement();
}

TEST_F(IodDirectory, IsEmptyAfterTheNextStart)
{
    for (const u32 iod : watched_iods)
        filed(iod);
    begin(); // without varn_cleanup: the entries of the last life are nobody's
    expect_agreement();
    filed(8);
    expect_agreement();
}

TEST_F(IodDirectory, IsEmptyAfterTheNextStartWhicheverWasFiledFirst)
{
    for (auto iod = watched_iods.rbegin(); iod != watched_iods.rend(); ++iod)
        filed(*iod);
    begin();
    expect_agreement();
}

TEST_F(IodDirectory, IsEmptyAfterAStartThatFailed)
{
    filed(7);
    on(ht_init).of("If").fails_once();
    EXPECT_EQ(init(config().sync(all_entry_bits)), 0u);
    EXPECT_EQ(varn_find_entry_by_iod(7), nullptr);
}

TEST_F(IodDirectory, IsEmptyAfterCleanUp)
{
    for (const u32 iod : watched_iods)
        filed(iod);
    varn_cleanup();
    expect_no_entry();
    begin();
    filed(32767);
    varn_cleanup();
    expect_no_entry();
}

TEST_F(IodDirectory, LeavesTheWordToATableThatAnswersForARemovedEntry)
{
    varn_if_entry_t *entry = filed(7);
    EXPECT_EQ(varn_iod_delete_entry(entry), 1u);
    on(ht_lookup).of("Iod", 7).does([entry](ht_t *, const void *) { return entry; });
    EXPECT_EQ(varn_find_entry_by_iod(7), entry);
    EXPECT_EQ(varn_ifsvc_get_if_mtu(7), entry->mtu);
}

TEST_F(IodDirectory, LeavesTheWordToATableThatTookTheSameIodTwice)
{
    varn_if_entry_t *first = filed(7);
    varn_if_entry_t *second = unfiled(7);
    on(ht_insert).of("Iod").answers_once(1u);
    EXPECT_EQ(varn_iod_insert_entry(second), 1u);
    EXPECT_EQ(varn_find_entry_by_iod(7), first);
    on(ht_lookup).of("Iod", 7).does([second](ht_t *, const void *) { return second; });
    EXPECT_EQ(varn_find_entry_by_iod(7), second);
    breaks_invariants_because("the table says that it holds an entry which it does not hold");
}

TEST_F(IodDirectory, KeepsTheHolderWhenTheTableGivesBackAnother)
{
    const varn_if_entry_t *holder = filed(7);
    varn_if_entry_t *other = unfiled(7);
    on(ht_remove_entry).of("Iod").answers_once(1u);
    EXPECT_EQ(varn_iod_delete_entry(other), 1u);
    const unsigned long before = on(ht_lookup).of("Iod").asked();
    EXPECT_EQ(varn_find_entry_by_iod(7), holder);
    EXPECT_EQ(on(ht_lookup).of("Iod").asked(), before);
    breaks_invariants_because("the table says that it gave back an entry which it did not hold");
}

// Every kind of step in any order. The numbers are the same in every run.
TEST_F(IodDirectory, AgreesAfterAnyHistory)
{
    u32 seed = 20260101;
    const auto below = [&seed](std::size_t end) {
        seed = seed * 1664525 + 1013904223;
        return (seed >> 8) % end;
    };
    std::vector<varn_if_entry_t *> all;
    for (unsigned step = 0; step < 400; ++step) {
        const u32 iod = watched_iods[below(watched_iods.size())];
        switch (below(6)) {
        case 0:
        case 1:
            all.push_back(unfiled(iod));
            varn_iod_insert_entry(all.back());
            break;
        case 2:
            on(ht_insert).of("Iod").fails_once();
            all.push_back(unfiled(iod));
            varn_iod_insert_entry(all.back());
            break;
        case 3:
            if (!all.empty())
                varn_iod_delete_entry(all[below(all.size())]);
            break;
        case 4:
            if (varn_if_entry_t *entry = in_table(iod))
                varn_iod_delete_entry(entry);
            break;
        default:
            on(ht_remove_entry).of("Iod").fails_once();
            if (varn_if_entry_t *entry = in_table(iod))
                varn_iod_delete_entry(entry);
            on(ht_remove_entry).as_usual();
        }
        ASSERT_NO_FATAL_FAILURE(expect_agreement()) << "step " << step;
        if (HasFailure())
            return;
    }
}

} // namespace
