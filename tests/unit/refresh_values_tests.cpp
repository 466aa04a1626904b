// SPDX-License-Identifier: Apache-2.0
//
// The attributes that a refresh fills by one question each: what is asked, what is stored, which
// counter moves, and whether the dirty bit is clear afterwards. The rows are written a second time
// by hand. The attributes with a rule of their own are in refresh_deviants_tests.cpp.
#include "entry_tests.h"

namespace
{

// An entry of port 7 that is clean until a test makes one attribute dirty.
class value_refresh : public entry_test
{
protected:
    void SetUp() override
    {
        given(port(7));
        start_caching(bits(1));
        refreshed = created(7);
        for (const family each : {messages, types, tables})
            record(each, false);
    }

    u32 refresh(u64 dirty)
    {
        refreshed->dirty = dirty;
        return varn_if_update_entry(refreshed, 0);
    }

    varn_if_entry_t *refreshed = nullptr;
};

// ---- yes or no ----

struct flag {
    const char *name;
    unsigned bit;
    unsigned slot;
    u32 (*ask)(u32 iod);
    const char *question;
    u32 (*read)(const varn_if_entry_t &);
};

class RefreshOfAFlag : public value_refresh, public testing::WithParamInterface<flag>
{
};

const flag flags[] = {
    {"switchport", 15, 13, ifsvc_is_switchport,
     "ifsvc_is_switchport(7) = ", [](const varn_if_entry_t &e) -> u32 { return e.switchport; }},
    {"linkup", 17, 15, ifsvc_is_linkup,
     "ifsvc_is_linkup(7) = ", [](const varn_if_entry_t &e) -> u32 { return e.linkup; }},
    {"protoup", 18, 16, ifsvc_is_protoup,
     "ifsvc_is_protoup(7) = ", [](const varn_if_entry_t &e) -> u32 { return e.protoup; }},
    {"switching", 16, 14, ifsvc_is_switching_enabled_on_iod,
     "ifsvc_is_switching_enabled_on_iod(7) = ",
     [](const varn_if_entry_t &e) -> u32 { return e.switching; }},
    {"ethernet", 19, 17, ifsvc_is_ethernet,
     "ifsvc_is_ethernet(7) = ", [](const varn_if_entry_t &e) -> u32 { return e.ethernet; }},
    {"loopback", 24, 26, ifsvc_is_loopback,
     "ifsvc_is_loopback(7) = ", [](const varn_if_entry_t &e) -> u32 { return e.loopback; }},
    {"p2p", 23, 27, ifsvc_is_native_p2p,
     "ifsvc_is_native_p2p(7) = ", [](const varn_if_entry_t &e) -> u32 { return e.p2p; }},
    {"null", 22, 21, ifsvc_is_null0,
     "ifsvc_is_null0(7) = ", [](const varn_if_entry_t &e) -> u32 { return e.null; }},
};

INSTANTIATE_TEST_SUITE_P(Flags, RefreshOfAFlag, testing::ValuesIn(flags),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_P(RefreshOfAFlag, StoresTheLowBitOfTheAnswerAndClearsTheBitForEveryAnswer)
{
    const flag &tested = GetParam();
    for (const u32 answer : {1u, 0u, 3u, 2u, 0xFFFFFFFFu, 0xFFFFFFFEu}) {
        SCOPED_TRACE("answer " + dec(answer));
        on(tested.ask).answers(answer);
        EXPECT_EQ(refresh(bits(tested.bit)), 1u);
        EXPECT_EQ(seen(), tested.question + dec(answer));
        EXPECT_EQ(tested.read(*refreshed), answer & 1);
        EXPECT_EQ(dirty_of(refreshed), 0u);
        EXPECT_EQ(counters_moved(), spell("updates[", dec(tested.slot), "] +1"));
    }
}

TEST_P(RefreshOfAFlag, LeavesTheOtherFlagsAlone)
{
    const flag &tested = GetParam();
    for (const u32 answer : {1u, 0u}) {
        SCOPED_TRACE("answer " + dec(answer));
        for (const flag &other : flags) {
            on(other.ask).answers(1 - answer);
            refresh(bits(other.bit));
        }
        on(tested.ask).answers(answer);
        refresh(bits(tested.bit));
        for (const flag &each : flags)
            EXPECT_EQ(each.read(*refreshed), each.bit == tested.bit ? answer : 1 - answer)
                << each.name;
    }
}

TEST_P(RefreshOfAFlag, DoesNotConsultTheSyncMask)
{
    const flag &tested = GetParam();
    varn.config.sync = 0;
    on(tested.ask).answers(1);
    EXPECT_EQ(refresh(bits(tested.bit)), 1u);
    EXPECT_EQ(tested.read(*refreshed), 1u);
}

// ---- values of which a zero is asked again ----

struct value {
    const char *name;
    unsigned bit;
    unsigned slot;
    void (*answer)(u32);
    const char *question;
    bool in_hex;
    u32 width; // the greatest value that the field holds
    u32 (*read)(const varn_if_entry_t &);
};

class RefreshOfAValue : public value_refresh, public testing::WithParamInterface<value>
{
};

const value values[] = {
    {"encap", 4, 5, [](u32 is) { on(ifsvc_get_if_encaptype).answers(is); },
     "ifsvc_get_if_encaptype(7) = ", false, 0xFFFF,
     [](const varn_if_entry_t &e) -> u32 { return e.encap; }},
    {"context", 11, 10, [](u32 is) { on(vrfsvc_if_get_context_id).answers(is); },
     "vrfsvc_if_get_context_id(7) = ", true, 0xFFFFFFFF,
     [](const varn_if_entry_t &e) -> u32 { return e.context_id; }},
    {"base_tid", 12, 11, [](u32 is) { on(vrfsvc_if_get_table_id).answers(is); },
     "vrfsvc_if_get_table_id(7, 1, \"base\") = ", true, 0xFFFFFFFF,
     [](const varn_if_entry_t &e) -> u32 { return e.base_tid; }},
    {"mtu", 13, 12, [](u32 is) { on(ifsvc_get_if_mtu).answers(is); }, "ifsvc_get_if_mtu(7) = ",
     false, 0xFFFF, [](const varn_if_entry_t &e) -> u32 { return e.mtu; }},
};

INSTANTIATE_TEST_SUITE_P(Values, RefreshOfAValue, testing::ValuesIn(values),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_P(RefreshOfAValue, StoresTheAnswerAndKeepsTheBitWhenWhatIsStoredIsZero)
{
    const value &tested = GetParam();
    for (const u32 answer : {1u, 0u, 0xFFFFu, 0x10000u, 0x10001u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE("answer " + hex(answer));
        const u32 stored = answer & tested.width;
        tested.answer(answer);
        EXPECT_EQ(refresh(bits(tested.bit)), 1u);
        EXPECT_EQ(seen(), tested.question + (tested.in_hex ? hex(answer) : dec(answer)));
        EXPECT_EQ(tested.read(*refreshed), stored);
        EXPECT_EQ(dirty_of(refreshed), stored == 0 ? bits(tested.bit) : 0);
        EXPECT_EQ(counters_moved(), spell("updates[", dec(tested.slot), "] +1"));
    }
}

TEST_P(RefreshOfAValue, DoesNotConsultTheSyncMask)
{
    varn.config.sync = 0;
    GetParam().answer(0x1234);
    EXPECT_EQ(refresh(bits(GetParam().bit)), 1u);
    EXPECT_EQ(GetParam().read(*refreshed), 0x1234u);
}

// ---- extensions ----

u32 seen_size = 0;
u32 decode_to_0x55(const void *, u32 size) { return seen_size = size, 0x55; }

// The slot and its key.
class RefreshOfAnExtension : public entry_test, public testing::WithParamInterface<u32>
{
protected:
    u32 slot() const { return GetParam(); }
    unsigned bit() const { return 5 + GetParam(); }
    std::string key() const { return hex(0x11 * (1 + u64{GetParam()})); } // 0x11 is the uuid
    std::string counted() const { return spell("updates[", dec(6 + GetParam()), "] +1"); }

    void start_with_slot(config with)
    {
        given(port(7));
        start_with(with.extn_uuid(1, 0x22).extn_uuid(2, 0x33).extn_uuid(3, 0x44));
        refreshed = created(7);
        for (const family each : {messages, types, tables})
            record(each, false);
    }

    config cached() const { return config().sync(bits(1, bit())); }

    void refresh()
    {
        refreshed->extn[slot()] = 0x99;
        refreshed->extn_size[slot()] = 77;
        refreshed->dirty = bits(bit());
        EXPECT_EQ(varn_if_update_entry(refreshed, 0), 1u);
    }

    varn_if_entry_t *refreshed = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Slots, RefreshOfAnExtension, testing::Range(0u, 4u));

TEST_P(RefreshOfAnExtension, WithoutADecoderAsksForTheValueUnderTheSlotsKey)
{
    start_with_slot(cached());
    on(ifsvc_get_extension).answers(0x123);
    refresh();
    EXPECT_EQ(seen(), spell("ifsvc_get_extension(7, ", key(), ") = 0x123"));
    EXPECT_EQ(refreshed->extn[slot()], 0x123u);
    EXPECT_EQ(refreshed->extn_size[slot()], 77u) << "only the private data has a size";
    EXPECT_EQ(dirty_of(refreshed), 0u);
    EXPECT_EQ(counters_moved(), counted());
}

TEST_P(RefreshOfAnExtension, WithoutADecoderKeepsTheBitForZero)
{
    start_with_slot(cached());
    refresh();
    EXPECT_EQ(seen(), spell("ifsvc_get_extension(7, ", key(), ") = 0x0"));
    EXPECT_EQ(refreshed->extn[slot()], 0u);
    EXPECT_EQ(dirty_of(refreshed), bits(bit()));
    EXPECT_EQ(counters_moved(), counted());
}

TEST_P(RefreshOfAnExtension, WithADecoderDecodesThePrivateDataAndKeepsItsSize)
{
    start_with_slot(cached().extn_decode(slot()));
    the(7).private_data(0x11 * (1 + slot()), {1, 2, 4});
    refresh();
    EXPECT_EQ(seen(), lines(spell("ifsvc_get_private_data(7, ", key(), ") = block -> 3"),
                            spell("extn_decode", dec(slot()), "(3 bytes) = 0x7")));
    EXPECT_EQ(refreshed->extn[slot()], 7u);
    EXPECT_EQ(refreshed->extn_size[slot()], 3u);
    EXPECT_EQ(dirty_of(refreshed), 0u);
    EXPECT_EQ(counters_moved(), counted());
}

TEST_P(RefreshOfAnExtension, WithADecoderKeepsTheBitWhenItDecodesToZero)
{
    start_with_slot(cached().extn_decode(slot()));
    the(7).private_data(0x11 * (1 + slot()), {0, 0});
    refresh();
    EXPECT_EQ(refreshed->extn[slot()], 0u);
    EXPECT_EQ(refreshed->extn_size[slot()], 2u);
    EXPECT_EQ(dirty_of(refreshed), bits(bit()));
}

TEST_P(RefreshOfAnExtension, GivesTheDecoderAlsoDataThatIsNotThere)
{
    config with = cached();
    start_with_slot(with);
    varn.config.extn_decode[slot()] = decode_to_0x55;
    seen_size = 77;
    refresh();
    EXPECT_EQ(seen(), spell("ifsvc_get_private_data(7, ", key(), ") = 0 -> 0"));
    EXPECT_EQ(seen_size, 0u);
    EXPECT_EQ(refreshed->extn[slot()], 0x55u);
    EXPECT_EQ(refreshed->extn_size[slot()], 0u);
    EXPECT_EQ(dirty_of(refreshed), 0u);
}

TEST_P(RefreshOfAnExtension, UsesNoOtherSlotsDecoder)
{
    config with = cached();
    for (const u32 other : {0u, 1u, 2u, 3u})
        if (other != slot())
            with.extn_decode(other);
    start_with_slot(with);
    refresh();
    EXPECT_EQ(seen(), spell("ifsvc_get_extension(7, ", key(), ") = 0x0"));
}

TEST_P(RefreshOfAnExtension, ThatIsNotCachedIsNotAskedForAndStaysDirty)
{
    start_with_slot(config().sync(all_entry_bits & ~bits(bit())).extn_decode(slot()));
    refresh();
    EXPECT_EQ(seen(), "");
    EXPECT_EQ(refreshed->extn[slot()], 0x99u);
    EXPECT_EQ(dirty_of(refreshed), bits(bit()));
    EXPECT_EQ(counters_moved(), "");
}

} // namespace
