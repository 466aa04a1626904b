// SPDX-License-Identifier: Apache-2.0
//
// The library over the port: every cached answer equals the direct one, whatever is cached, after
// every change that the port handed to the cache, and after everything was forgotten. What may
// differ stands in port_differences.cpp.
#include "known_world.h"

#include <cstring>
#include <functional>
#include <random>

#include "device/coherence/comparison.h"
#include "idxsvc.h"
#include "ifsvc.h"
#include "lifsvc.h"
#include "varn.h"

using namespace port_contract;

namespace
{

constexpr u32 key = 0x51;
constexpr u64 iod_bit = VARN_MASK(VARN_BIT_IOD);
constexpr u64 everything = VARN_MASK(VARN_BIT_PC + 1) - 1;

void swallow(uintptr_t, const char *, ...) {}
void swallow_report(uintptr_t, const char *, const char *, int, const char *) {}

void start_cache(u64 sync)
{
    varn_config_t config{};
    config.num_buckets = 64;
    config.sync = sync;
    config.crit = sync & ~iod_bit;
    config.uuid = key;
    for (u32 n = 0; n < 3; ++n)
        config.extn_uuid[n] = key + 1 + n;
    for (varn_extn_decode_fn &decode : config.extn_decode)
        decode = coherence::first_word;
    config.debug_print_arg = swallow;
    config.error_cb = swallow_report;
    ASSERT_EQ(varn_init(&config), 1u) << "varn_init over this port";
}

void forget_everything()
{
    ht_iterator_t walk;
    ht_iterator_init(&walk, &varn.if_table, 0, varn.if_table.num_buckets);
    while (void *entry = ht_iterator_next(&walk))
        varn_if_destroy_entry(static_cast<varn_if_entry_t *>(entry));
    ht_iterator_init(&walk, &varn.pc_table, 0, varn.pc_table.num_buckets);
    while (void *entry = ht_iterator_next(&walk))
        varn_pc_remove_entry_by_if_index(static_cast<varn_pc_entry_t *>(entry)->pc_ifindex);
    ht_iterator_init(&walk, &varn.vlan_table, 0, varn.vlan_table.num_buckets);
    while (void *entry = ht_iterator_next(&walk))
        varn_vlan_remove_entry_by_vlan(static_cast<varn_vlan_entry_t *>(entry)->vlan);
}

// The cache is off afterwards, so that notices go past it.
void end_cache()
{
    forget_everything();
    varn_disable_cache();
    varn_cleanup();
    ht_cleanup(&varn.pc_table);
}

// The value that a decoder makes of a block is the extension value: the device says both.
std::string block_of(u32 value)
{
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes + "and more";
}

// The one answer of several numbers that do not explain themselves.
std::string columns_of(const coherence::mismatch &found)
{
    const bool is_vlan_info = std::strcmp(found.of->name, "varn_ifsvc_get_vlan_info") == 0;
    return is_vlan_info ? "  after the code (1 = success): instance, VLAN, port mode\n" : "";
}

struct library : known_world {
    using known_world::add, known_world::attach, known_world::join, known_world::put_vlan,
        known_world::remove, known_world::remove_vlan, known_world::set, known_world::set_bucket,
        known_world::set_first_member, known_world::set_mac;

    face port, other, pc;
    std::vector<face> more;
    coherence::ground over;

    void SetUp() override
    {
        GIVEN(add(port, "port1", CONTRACT_PHYSICAL));
        GIVEN(add(other, "port2", CONTRACT_PHYSICAL));
        if (add(pc, "pc1", CONTRACT_PC).result != CONTRACT_DONE)
            pc = other;
        put_vlan(1209, 309, 0x9309, 1209);
        put_vlan(1210, 310, 0x9310, 1210);
        add_if_possible("vlan1210", CONTRACT_SVI, 1210, nullptr);
        add_if_possible("port2.1210", CONTRACT_SUBIF, 1210, &other);
        add_if_possible("gre1", CONTRACT_GRE, 0, nullptr);
        add_if_possible("loopback1", CONTRACT_LOOPBACK, 0, nullptr);
        set(port, CONTRACT_SWITCHPORT, 1);
        set(port, CONTRACT_VLAN, 100);
        set(port, CONTRACT_LINKUP, 1);
        set_mac(port, {2, 0, 0, 0, 0, 1});
        attach(port, key, 0x1234, block_of(0x1234));
        join(other, &pc);
        set_first_member(pc, &other);
        for (u32 rbh = 0; rbh < 16; ++rbh)
            set_bucket(pc, rbh, other);
        learn_ground();
        start_cache(everything);
        hear_what_is_old();
    }

    void TearDown() override
    {
        known_world::TearDown();
        if (varn_is_enabled() != 0)
            end_cache();
    }

    // A port may owe the cache a "forget everything" from the time before there was one, which would
    // hide that a test's own change is never told. It is told to an empty cache, and leaves one.
    void hear_what_is_old()
    {
        if (hooks().dispatch == nullptr)
            return;
        GIVEN(dispatch());
        forget_everything();
    }

    void add_if_possible(const char *name, contract_kind_t kind, u32 vlan, const face *on)
    {
        face made;
        if (add(made, name, kind, vlan, on).result == CONTRACT_DONE)
            more.push_back(made);
    }

    void learn(u32 iod, u32 if_index)
    {
        coherence::identity known{iod, if_index, VARN_NO_PI, VARN_NO_LIF};
        idxsvc_lib_ifidx_to_di(static_cast<int32_t>(if_index), &known.pi);
        lifsvc_query_ifindex_to_lif(static_cast<int32_t>(if_index), &known.lif);
        over.interfaces.push_back(known);
    }

    void learn_ground()
    {
        std::vector<face> all = more;
        all.insert(all.end(), {port, other, pc});
        for (const face &each : all)
            learn(each.iod, each.if_index);
        over.interfaces.push_back({});
        over.interfaces.push_back({unknown_iods()[1], unknown_if_indexes()[1], 0x77777777, 0x777});
        over.vlans = {1209, 1210, 100, 4093};
    }

    // Asks all of it, cold or hot.
    void expect_coherence(const std::string &when) const
    {
        const auto found = coherence::compare_all(over);
        ASSERT_FALSE(found) << when << ": the cache and the port disagree\n"
                            << (found ? coherence::text_of(*found) + columns_of(*found) : "");
    }
};

// ---- What may change

struct change_row {
    const char *name;
    std::function<deed(library &)> make;
};

void PrintTo(const change_row &row, std::ostream *out) { *out << row.name; }

change_row number(const char *name, contract_value_t value, u32 to)
{
    return {name, [=](library &in) { return in.set(in.port, value, to); }};
}

const change_row changes[] = {
    number("LinkDown", CONTRACT_LINKUP, 0),
    number("ProtocolUp", CONTRACT_PROTOUP, 1),
    number("NoSwitchport", CONTRACT_SWITCHPORT, 0),
    number("Switching", CONTRACT_SWITCHING, 1),
    number("PointToPoint", CONTRACT_P2P, 1),
    number("Mtu", CONTRACT_MTU, 9000),
    number("Encapsulation", CONTRACT_ENCAP, 7),
    number("Vlan", CONTRACT_VLAN, 200),
    number("NoVlan", CONTRACT_VLAN, 0),
    number("PortMode", CONTRACT_PORT_MODE, 0x300),
    number("Context", CONTRACT_CONTEXT, 12),
    number("BaseTable", CONTRACT_BASE_TABLE, 13),
    number("PortIndex", CONTRACT_PI, 0x4242),
    number("NoPortIndex", CONTRACT_PI, no_index),
    number("Lif", CONTRACT_LIF, 0x4343),
    number("NoLif", CONTRACT_LIF, no_index),
    {"MacAddress",
     [](library &in) {
         return in.set_mac(in.port, {2, 9, 9, 9, 9, 9});
     }},
    {"NoMacAddress",
     [](library &in) {
         return in.set_mac(in.port, {0, 0, 0, 0, 0, 0});
     }},
    {"PrivateData", [](library &in) { return in.attach(in.port, key, 99, block_of(99)); }},
    {"NoPrivateData", [](library &in) { return in.attach(in.port, key, 0, ""); }},
    {"FirstMember", [](library &in) { return in.set_first_member(in.pc, &in.port); }},
    {"NoFirstMember", [](library &in) { return in.set_first_member(in.pc, nullptr); }},
    {"Bucket", [](library &in) { return in.set_bucket(in.pc, 5, in.port); }},
    {"BridgeDomain", [](library &in) { return in.put_vlan(1210, 311, 0x9311, 1210); }},
    {"PrimaryVlan", [](library &in) { return in.put_vlan(1210, 310, 0x9310, 1209); }},
    {"VlanGone", [](library &in) { return in.remove_vlan(1209); }},
    {"VlanNew", [](library &in) { return in.put_vlan(100, 400, 0x9400, 100); }},
    {"InterfaceGone", [](library &in) { return in.remove(in.port); }},
    {"MemberLeft", [](library &in) { return in.join(in.other, nullptr); }},
    {"PortChannelGone",
     [](library &in) {
         const deed left = in.join(in.other, nullptr);
         return left.result == CONTRACT_DONE ? in.remove(in.pc) : left;
     }},
    {"InterfaceReplaced",
     [](library &in) {
         const deed gone = in.remove(in.port);
         return gone.result == CONTRACT_DONE ? in.add(in.port, "port9", CONTRACT_PHYSICAL) : gone;
     }},
};

// Flags are 0 or 1, and no two interfaces ever share a port index or a lif.
u32 random_value(contract_value_t of, int step, u32 drawn)
{
    if (of <= CONTRACT_P2P)
        return drawn % 2;
    return of >= CONTRACT_PI ? 5000 + static_cast<u32>(step) : 1 + drawn;
}

struct library_after_change : library, testing::WithParamInterface<change_row> {
};

std::string change_name(const testing::TestParamInfo<change_row> &row) { return row.param.name; }

} // namespace

TEST_F(library, EveryCachedAnswerEqualsTheDirectOneColdAndHot)
{
    expect_coherence("asked for the first time");
    expect_coherence("asked again");
}

TEST_F(library, SoItIsWithEachAttributeCachedAlone)
{
    for (unsigned bit = 0; bit < VARN_BIT_PC; ++bit) {
        end_cache();
        start_cache(iod_bit | VARN_MASK(bit));
        expect_coherence("with bit " + std::to_string(bit) + " cached alone");
        expect_coherence("asked again with bit " + std::to_string(bit) + " cached alone");
    }
}

TEST_F(library, SoItIsWhileTheCacheIsOff)
{
    expect_coherence("before");
    varn_disable_cache();
    expect_coherence("while the cache is off");
    varn_restore_cache();
}

TEST_F(library, AHitAsksNobody)
{
    expect_coherence("before");
    GIVEN(stop());
    EXPECT_EQ(varn_ifsvc_is_linkup(port.iod), 1u) << "from the cache while no service answers";
    u32 if_index = untouched;
    EXPECT_EQ(varn_ifsvc_get_ifindex_frm_iod(port.iod, &if_index), 0u);
    EXPECT_EQ(if_index, port.if_index);
    GIVEN(start());
    forget_everything();
    expect_coherence("after the services came back");
}

TEST_F(library, ARequestHandsOutNoNotice)
{
    expect_coherence("before");
    GIVEN(set(port, CONTRACT_LINKUP, 0));
    GIVEN(set(port, CONTRACT_MTU, 4000));
    for (u32 n = 0; n < 10; ++n) {
        ifsvc_is_linkup(port.iod);
        ifsvc_get_if_name(port.iod);
    }
    EXPECT_EQ(varn_ifsvc_is_linkup(port.iod), 1u) << "the cache was told within a request";
    GIVEN(dispatch());
    EXPECT_EQ(varn_ifsvc_is_linkup(port.iod), 0u) << "the cache was not told";
    EXPECT_EQ(varn_ifsvc_get_if_mtu(port.iod), 4000u) << "the cache was not told";
}

TEST_P(library_after_change, AgreesOnceTheNoticesAreDispatched)
{
    if (hooks().dispatch == nullptr)
        GTEST_SKIP() << "left out: the port cannot dispatch notices";
    expect_coherence("before the change");
    GIVEN(GetParam().make(*this));
    GIVEN(dispatch());
    expect_coherence(std::string("after ") + GetParam().name + " was told");
    expect_coherence("asked again");
}

TEST_P(library_after_change, AgreesWhenEverythingWasForgotten)
{
    expect_coherence("before the change");
    GIVEN(GetParam().make(*this));
    forget_everything();
    expect_coherence(std::string("after ") + GetParam().name);
}

// Handlers do nothing while the cache is off, and entries stay: what was told then is told again, or
// everything is forgotten.
TEST_P(library_after_change, AgreesWhenItWasToldWhileTheCacheWasOff)
{
    if (hooks().dispatch == nullptr)
        GTEST_SKIP() << "left out: the port cannot dispatch notices";
    expect_coherence("before the change");
    varn_disable_cache();
    GIVEN(GetParam().make(*this));
    GIVEN(dispatch());
    varn_restore_cache();
    GIVEN(dispatch());
    expect_coherence(std::string("after ") + GetParam().name + ", while the cache was off,");
}

// A handler that asks and hears nothing keeps a 0, which must not stay. The second dispatch is for
// a port that learns of a lost connection when it is back.
TEST_P(library_after_change, AgreesWhenNoServiceAnsweredItsHandler)
{
    if (hooks().dispatch == nullptr)
        GTEST_SKIP() << "left out: the port cannot dispatch notices";
    expect_coherence("before the change");
    GIVEN(GetParam().make(*this));
    GIVEN(stop());
    GIVEN(dispatch());
    GIVEN(start());
    GIVEN(dispatch());
    expect_coherence(std::string("after ") + GetParam().name + " was told in a silence");
}

INSTANTIATE_TEST_SUITE_P(All, library_after_change, testing::ValuesIn(changes), change_name);

// What one change does not show, the next may: the seed is fixed, so that a failure comes again.
TEST_F(library, AgreesAfterManyChangesInRandomOrder)
{
    if (hooks().dispatch == nullptr)
        GTEST_SKIP() << "left out: the port cannot dispatch notices";
    std::minstd_rand random(20);
    const auto below = [&](u32 end) { return static_cast<u32>(random() % end); };
    for (int step = 0; step < 200; ++step) {
        const auto value = static_cast<contract_value_t>(below(CONTRACT_NUM_VALUES));
        const face &of = below(2) == 0 ? port : other;
        const deed done = set(of, value, random_value(value, step, below(4000)));
        if (done.result == CONTRACT_CANNOT)
            continue;
        ASSERT_EQ(done.result, CONTRACT_DONE) << done.what;
        GIVEN(dispatch());
        expect_coherence("after step " + std::to_string(step) + ", " + of.name + ", " + done.what);
        if (HasFatalFailure())
            return;
    }
}

// More changes than any queue holds: one that gave up its queue must say so.
TEST_F(library, AgreesAfterMoreChangesThanAreQueued)
{
    expect_coherence("before");
    GIVEN(set(port, CONTRACT_LINKUP, 0));
    GIVEN(set(other, CONTRACT_LINKUP, 1));
    for (u32 n = 0; n < 20000; ++n)
        GIVEN(set(port, CONTRACT_MTU, 1000 + n % 7000));
    GIVEN(dispatch());
    expect_coherence("after the flood of changes was told");
}
