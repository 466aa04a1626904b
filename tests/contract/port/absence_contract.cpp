// SPDX-License-Identifier: Apache-2.0
//
// What every request answers about what is not there: never was, is gone, or cannot be asked about
// because no service answers. A value is 0, a code is an error that leaves its output alone, and
// nothing hangs.
#include "requests.h"

#include <chrono>

#include "idxsvc.h"
#include "ifsvc.h"
#include "lifsvc.h"

using namespace port_contract;

namespace
{

constexpr u32 some_vlan = 1207;

// One of each kind that a request may be about, with something to say for every request.
struct populated : known_world {
    face port, pc, svi;

    void SetUp() override
    {
        GIVEN(add(port, "port1", CONTRACT_PHYSICAL));
        GIVEN(set(port, CONTRACT_LINKUP, 1));
        GIVEN(attach(port, 0x51, 77, "private"));
        GIVEN(set_mac(port, {2, 1, 2, 3, 4, 5}));
    }

    deed add_what_is_asked_about(by key)
    {
        if (key == by::vlan)
            return put_vlan(some_vlan, 300, 0x9300, some_vlan);
        if (key != by::port_channel)
            return {};
        deed made = add(pc, "pc1", CONTRACT_PC);
        if (made.result != CONTRACT_DONE)
            return made;
        deed joined = join(port, &pc);
        return joined.result == CONTRACT_DONE ? set_bucket(pc, 3, port) : joined;
    }

    u32 key_of_what_is_there(by key) const
    {
        switch (key) {
        case by::iod:
            return port.iod;
        case by::if_index:
            return port.if_index;
        case by::port_channel:
            return pc.if_index;
        default:
            return some_vlan;
        }
    }

    std::vector<u32> unknown(by key) const
    {
        if (key == by::vlan)
            return {4093};
        return key == by::iod ? unknown_iods() : unknown_if_indexes();
    }

    deed take_away(by key)
    {
        if (key == by::vlan)
            return remove_vlan(some_vlan);
        return remove(key == by::port_channel ? pc : port);
    }
};

struct every_value : populated, testing::WithParamInterface<value_request> {
};

struct every_code : populated, testing::WithParamInterface<code_request> {
    // It must fail, and leave the output as it was.
    void expect_failure(u32 key, const char *when) const
    {
        u32 output = untouched;
        EXPECT_FALSE(GetParam().ask(key, &output))
            << GetParam().name << " succeeds for " << key << ", " << when;
        if (!GetParam().may_write) {
            EXPECT_EQ(output, untouched)
                << GetParam().name << " fails and writes its output, " << when;
        }
    }
};

template <class request>
std::string row_name(const testing::TestParamInfo<request> &row)
{
    return row.param.name;
}

} // namespace

TEST_P(every_value, IsZeroForAnUnknownIod)
{
    for (const u32 iod : unknown_iods())
        EXPECT_EQ(GetParam().ask(iod), 0u) << GetParam().name << " of iod " << iod;
}

TEST_P(every_value, IsZeroForAnInterfaceThatIsGone)
{
    GIVEN(remove(port));
    EXPECT_EQ(GetParam().ask(port.iod), 0u) << GetParam().name;
}

TEST_P(every_value, IsTheSameWhenAskedTwice)
{
    EXPECT_EQ(GetParam().ask(port.iod), GetParam().ask(port.iod)) << GetParam().name;
}

TEST_P(every_value, IsZeroWhileNoServiceAnswersAndRightAfterwards)
{
    const u32 before = GetParam().ask(port.iod);
    GIVEN(stop());
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(GetParam().ask(port.iod), 0u) << GetParam().name;
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(30))
        << GetParam().name << " hangs";
    GIVEN(start());
    EXPECT_EQ(GetParam().ask(port.iod), before) << GetParam().name;
}

INSTANTIATE_TEST_SUITE_P(All, every_value, testing::ValuesIn(value_requests()),
                         row_name<value_request>);

TEST_P(every_code, IsAnErrorForWhatIsUnknown)
{
    GIVEN(add_what_is_asked_about(GetParam().key));
    for (const u32 key : unknown(GetParam().key))
        expect_failure(key, "which was never there");
}

TEST_P(every_code, IsAnErrorForWhatIsGone)
{
    GIVEN(add_what_is_asked_about(GetParam().key));
    const u32 key = key_of_what_is_there(GetParam().key);
    GIVEN(take_away(GetParam().key));
    expect_failure(key, "which was removed");
}

TEST_P(every_code, IsAnErrorWhileNoServiceAnswersAndRightAfterwards)
{
    GIVEN(add_what_is_asked_about(GetParam().key));
    const u32 key = key_of_what_is_there(GetParam().key);
    u32 before = untouched;
    const bool was_good = GetParam().ask(key, &before);
    GIVEN(stop());
    expect_failure(key, "while no service answers");
    GIVEN(start());
    u32 after = untouched;
    EXPECT_EQ(GetParam().ask(key, &after), was_good) << GetParam().name;
    EXPECT_EQ(after, before) << GetParam().name;
}

INSTANTIATE_TEST_SUITE_P(All, every_code, testing::ValuesIn(code_requests()),
                         row_name<code_request>);

// ---- What an identifier of an interface that is gone leads to

struct reverse_translation : populated {
};

TEST_F(reverse_translation, OfAPortIndexThatIsGoneFailsAndWritesNothing)
{
    GIVEN(set(port, CONTRACT_PI, 0x1234));
    GIVEN(remove(port));
    u32 output = untouched;
    EXPECT_NE(idxsvc_lib_si_to_ifidx(0x1234, &output), 0u);
    EXPECT_EQ(output, untouched);
}

TEST_F(reverse_translation, OfALifThatIsGoneFailsAndWritesNothing)
{
    GIVEN(set(port, CONTRACT_LIF, 0x5678));
    GIVEN(remove(port));
    u32 output = untouched;
    EXPECT_NE(lifsvc_query_lif_to_ifindex(0x5678, &output), 0u);
    EXPECT_EQ(output, untouched);
}

TEST_F(reverse_translation, OfTheAbsentNumberFailsAndWritesNothing)
{
    GIVEN(set(port, CONTRACT_PI, no_index));
    GIVEN(set(port, CONTRACT_LIF, no_index));
    u32 output = untouched;
    EXPECT_NE(idxsvc_lib_si_to_ifidx(-1, &output), 0u);
    EXPECT_NE(lifsvc_query_lif_to_ifindex(-1, &output), 0u);
    EXPECT_EQ(output, untouched);
}

TEST_F(reverse_translation, OfABridgeDomainThatIsGoneFailsAndWritesNothing)
{
    GIVEN(put_vlan(some_vlan, 300, 0x9300, some_vlan));
    GIVEN(remove_vlan(some_vlan));
    u32 output = untouched;
    EXPECT_NE(idxsvc_lib_bd_to_di(300, &output), 0u);
    EXPECT_EQ(output, untouched);
}

// ---- Another interface in the place of one that is gone

struct successor : populated {
};

TEST_F(successor, HasNothingOfTheOneBeforeIt)
{
    GIVEN(set(port, CONTRACT_SWITCHPORT, 1));
    GIVEN(remove(port));
    GIVEN(add(port, "port1", CONTRACT_PHYSICAL));
    u32 size = untouched;
    EXPECT_EQ(ifsvc_get_private_data(port.iod, 0x51, &size), 0u) << "the former private data";
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(ifsvc_get_extension(port.iod, 0x51), 0u) << "the former extension value";
    EXPECT_EQ(ifsvc_is_switchport(port.iod), 0u) << "the former switchport";
}
