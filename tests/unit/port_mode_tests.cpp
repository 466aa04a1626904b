// SPDX-License-Identifier: Apache-2.0
//
// The port mode of an if-index: the request record, the two modes that the cache knows, and the
// types that are never asked about.
#include "varn_fixture.h"

#include <array>
#include <cstring>

namespace
{

constexpr u32 unwritten_port_mode = 0xABCD;
constexpr const char *asked_7 = "ifsvc_get_ifindex_port_mode_list(0x1a000007, 1) = 0 -> 0x200";

class PortMode : public varn_test
{
protected:
    PortMode() { given(port(7)); }

    varn_if_entry_t &standing(u32 iod = 7)
    {
        varn_if_entry_t *made = varn_if_create_entry_by_iod(iod);
        made->dirty = 0;
        forget_all();
        return *made;
    }

    u32 ask(u32 if_index = 0x1a000007)
    {
        return varn_portsvc_gldb_get_ifindex_port_mode(if_index, &mode);
    }

    u32 mode = unwritten_port_mode;
};

// The 536 bytes that the service was sent.
using request = std::array<unsigned char, 536>;

void keep_request(request &sent)
{
    on(ifsvc_get_ifindex_port_mode_list).does([&sent](ifsvc_port_mode_t *list, u32) {
        std::memcpy(sent.data(), list, sent.size());
        return 0u;
    });
}

request request_of_7()
{
    request expected{};
    const u32 if_index = 0x1a000007;
    std::memcpy(expected.data(), &if_index, sizeof if_index);
    return expected;
}

TEST_F(PortMode, WithPortModesNotCachedAsksAndGivesWhatTheServiceSays)
{
    start(config().sync(bits(1)));
    standing();
    the(7).list_port_mode(0x77);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(mode, 0x77u);
    EXPECT_EQ(calls(), "ifsvc_get_ifindex_port_mode_list(0x1a000007, 1) = 0 -> 0x77");
    EXPECT_EQ(counters_moved(), "misses[20] +1");
}

TEST_F(PortMode, WithPortModesNotCachedReturnsTheServicesOwnCodeAndWhatItWrote)
{
    start(config().sync(bits(1)));
    on(ifsvc_get_ifindex_port_mode_list).answers(0x41, 0x78);
    EXPECT_EQ(ask(), 0x41u);
    EXPECT_EQ(mode, 0x78u);
}

TEST_F(PortMode, OfAFailingServiceThatWroteNothingIs0)
{
    start(config().sync(bits(1)));
    on(ifsvc_get_ifindex_port_mode_list).fails(0x41);
    EXPECT_EQ(ask(), 0x41u);
    EXPECT_EQ(mode, 0u);
    EXPECT_EQ(counters_moved(), "misses[20] +1");
}

TEST_F(PortMode, AsksWithARecordThatIsZeroButForTheIfIndex)
{
    request sent;
    sent.fill(0xFF);
    keep_request(sent);

    start(config().sync(bits(1)));
    ask();
    EXPECT_EQ(sent, request_of_7()) << "not cached";

    start(config().sync(bits(1, 21)));
    standing().dirty = bits(21);
    sent.fill(0xFF);
    ask();
    EXPECT_EQ(sent, request_of_7()) << "dirty";

    varn_if_remove_entry_by_iod(7);
    varn_iodbmp[0] = 0;
    sent.fill(0xFF);
    ask();
    EXPECT_EQ(sent, request_of_7()) << "without entry";
}

TEST_F(PortMode, WithoutAnEntryGivesTheServicesAnswer)
{
    start(config().sync(bits(1, 21)));
    varn_iodbmp[0] = 0;
    the(7).list_port_mode(0x77);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(mode, 0x77u);
    EXPECT_EQ(calls(), lines("ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7",
                             "ifsvc_get_ifindex_port_mode_list(0x1a000007, 1) = 0 -> 0x77"));
    EXPECT_EQ(counters_moved(), "misses[20] +1");
}

TEST_F(PortMode, OfAnUnknownInterfaceReturnsTheServicesOwnCode)
{
    start(config().sync(bits(1, 21)));
    gone(7);
    EXPECT_EQ(ask(), 0x40040004u);
    EXPECT_EQ(mode, 0u);
    EXPECT_EQ(counters_moved(), "misses[20] +1");
}

TEST_F(PortMode, WithEnabledAtZeroGivesTheServicesAnswer)
{
    start(config().sync(bits(1, 21)));
    standing();
    varn_enabled = 0;
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(mode, 0x200u);
    EXPECT_EQ(calls(), asked_7);
    EXPECT_EQ(counters_moved(), "misses[20] +1");
}

TEST_F(PortMode, WithoutCreateOnMissOnlyLooksUp)
{
    start(config().sync(bits(1, 21)));
    varn.config.create_on_miss = 0;
    record(tables);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(calls(), lines("ht_lookup(If, 0x1a000007) = null", asked_7));
    EXPECT_EQ(counters_moved(), "misses[20] +1");
}

TEST_F(PortMode, WithoutCreateOnMissFindsAStandingEntry)
{
    start(config().sync(bits(1, 21)));
    standing();
    varn.config.create_on_miss = 0;
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(mode, 0x200u);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[20] +1");
}

TEST_F(PortMode, OfACleanEntryAsksNobody)
{
    start(config().sync(bits(1, 21)));
    varn_if_entry_t &entry = standing();
    entry.dirty = ~bits(21);
    for (const u32 ips : {1u, 0u}) {
        entry.ips = ips & 1;
        EXPECT_EQ(ask(), 0u);
        EXPECT_EQ(mode, ips == 1 ? 0x200u : 0u);
    }
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(counters_moved(), "hits[20] +2");
    EXPECT_EQ(dirty(&entry), ~bits(21));
}

TEST_F(PortMode, OfAStalePhysicalPortAsksAndDeliberatelyKnowsOneModeOnly)
{
    start(config().sync(bits(1, 21)));
    varn_if_entry_t &entry = standing();
    entry.ips = 0;
    entry.dirty = ~u64{0};
    the(7).list_port_mode(0x77);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(mode, 0x200u);
    EXPECT_EQ(calls(), "ifsvc_get_ifindex_port_mode_list(0x1a000007, 1) = 0 -> 0x77");
    EXPECT_EQ(counters_moved(), "misses[20] +1");
    EXPECT_EQ(entry.ips, 1u);
    EXPECT_EQ(dirty(&entry), ~bits(21));
}

TEST_F(PortMode, OfAStalePhysicalPortDeliberatelyIs0x200AlsoWhenTheServiceFails)
{
    start(config().sync(bits(1, 21)));
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(21);
    on(ifsvc_get_ifindex_port_mode_list).fails(0x41);
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(mode, 0x200u);
    EXPECT_EQ(dirty(&entry), 0u);
}

TEST_F(PortMode, OfTheFirstQueryOfAPhysicalPortIsAHit)
{
    start(config().sync(bits(1, 21)));
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(mode, 0x200u);
    EXPECT_EQ(calls(), lines("ifsvc_get_iod_frm_ifindex(0x1a000007) = 0 -> 7",
                             "ifsvc_get_if_mtu(7) = 1500", asked_7));
    EXPECT_EQ(counters_moved(), "hits[20] +1, updates[20] +1, if_allocs +1, if_index.inserts +1, "
                                "iod_index.inserts +1");
}

// No refresh cleans the bit of such an interface; its first query does.
TEST_F(PortMode, OfAnyOtherTypeIs0AndAsksNobody)
{
    start(config().sync(bits(1, 21)));
    const std::uint8_t other_types[] = {5, 7, 9, 22, 24, 25, 27};
    for (const std::uint8_t type : other_types) {
        SCOPED_TRACE(int{type});
        given(port(8).of_type(type));
        const u32 if_index = u32{type} << 24 | 8;
        ASSERT_NE(varn_if_create_entry_by_iod(8), nullptr);
        entry(8)->ips = 1;
        forget_all();

        mode = unwritten_port_mode;
        EXPECT_EQ(ask(if_index), 0u);
        EXPECT_EQ(mode, 0u);
        EXPECT_EQ(calls(), "");
        EXPECT_EQ(counters_moved(), "misses[20] +1");
        EXPECT_EQ(entry(8)->ips, 0u);
        EXPECT_EQ(dirty(entry(8)), 0u);

        EXPECT_EQ(ask(if_index), 0u);
        EXPECT_EQ(calls(), "");
        EXPECT_EQ(counters_moved(), "hits[20] +1");
        varn_if_remove_entry_by_iod(8);
        gone(8);
    }
}

TEST_F(PortMode, WhoseTypeCannotBeToldReportsItAndStaysStale)
{
    start(config().uuid(0x11).sync(bits(1, 21)).error_cb(6));
    varn_error_cb = 1;
    varn_if_entry_t &entry = standing();
    entry.dirty = bits(21);
    on(if_index_get_type).fails_call(2); // the creator asks first
    record(types);

    EXPECT_EQ(ask(), 0x40290000u);

    EXPECT_EQ(mode, unwritten_port_mode);
    EXPECT_EQ(calls(), lines("if_index_get_type(0x1a000007) = 0 -> 26",
                             "if_index_get_type(0x1a000007) = 0x41",
                             "error_cb(0x6, \"%s:%d: %s\\n\", "
                             "varn_portsvc_gldb_get_ifindex_port_mode, line, \" Invalid interface "
                             "index 0x1a000007\\n\")"));
    EXPECT_EQ(counters_moved(), "misses[20] +1");
    EXPECT_EQ(entry.ips, 1u);
    EXPECT_EQ(dirty(&entry), bits(21));
    ASSERT_EQ(history().size(), 1u);
    const std::string text = "[77]:  Invalid interface index 0x1a000007\n";
    EXPECT_EQ(history()[0].text, text);
    EXPECT_EQ(history()[0].level, 2u);
    EXPECT_EQ(history()[0].code, 122u);
    EXPECT_EQ(history()[0].event_id, 0x730000u);
    EXPECT_EQ(history()[0].uuid, 0x11u);
    EXPECT_EQ(history()[0].length, text.size() + 5);
    EXPECT_EQ(std::string(varn_print_str), " Invalid interface index 0x1a000007\n");
}

// The creator says so first, and the query falls back to the service.
TEST_F(PortMode, OfAnIfIndexThatTheCreatorRejectsGivesTheServicesAnswer)
{
    start(config().sync(bits(1, 21)));
    standing().dirty = bits(21);
    on(if_index_get_type).fails_once();
    EXPECT_EQ(ask(), 0u);
    EXPECT_EQ(mode, 0x200u);
    EXPECT_EQ(calls(), asked_7);
    EXPECT_EQ(counters_moved(), "misses[20] +1");
    EXPECT_EQ(dirty(entry(7)), bits(21));
}

} // namespace
