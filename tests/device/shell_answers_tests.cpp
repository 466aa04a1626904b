// SPDX-License-Identifier: Apache-2.0
//
// shell_answers_tests.cpp: what the shell answers of interfaces of every type, from the cache and
// from the service, and what it says where there is no answer. Over an inventory; needs no
// privilege.
#include <csignal>
#include <regex>

#include <nlohmann/json.hpp>

#include "inventory_device.h"
#include "running_device.h"

namespace
{

constexpr char inventory[] = R"({
  "vrfs": [{"name": "red", "context": 2, "table": 1001}],
  "vlans": [{"id": 10}],
  "interfaces": [
    {"name": "lo0", "type": "loopback"},
    {"name": "mgmt0", "type": "mgmt", "mac": "02:00:00:00:00:01"},
    {"name": "port1", "type": "physical", "mac": "02:00:00:00:00:02", "mode": "access", "vlan": 10},
    {"name": "port2", "type": "physical", "mac": "02:00:00:00:00:03", "member_of": "bundle1"},
    {"name": "bundle1", "type": "port-channel", "mac": "02:00:00:00:00:04", "link": "down",
     "protocol": "down"},
    {"name": "port3", "type": "physical", "mac": "02:00:00:00:00:05"},
    {"name": "port3.5", "type": "subinterface", "parent": "port3", "vlan": 5, "vrf": "red"},
    {"name": "vlan10", "type": "svi", "vlan": 10, "mac": "02:00:00:00:00:06"},
    {"name": "tunnel1", "type": "gre", "private": [{"key": 1, "extension": 9}]},
    {"name": "tunnel2", "type": "6to4"},
    {"name": "null0", "type": "null"},
    {"name": "cbus0", "type": "cbus"}
  ]
})";

class ShellAnswers : public InventoryDevice
{
protected:
    void SetUp() override
    {
        InventoryDevice::SetUp();
        ASSERT_NO_FATAL_FAILURE(start(inventory));
    }

    finished varnsh(const std::string &commands)
    {
        return run({VARNSH, "--socket", socket, "-c", commands});
    }

    // A command of the shell that ends the service and waits until it is gone.
    std::string end_service()
    {
        const std::string pid = std::to_string(service->pid());
        return "!kill -KILL " + pid + "; until grep -q '^State:.Z' /proc/" + pid +
               "/status; do sleep 0.01; done\n";
    }
};

TEST_F(ShellAnswers, NameTheTypeOfEveryInterface)
{
    // clang-format off
    const std::string table =
    "NAME       IOD  IF-INDEX    TYPE      LINK  PROTO    MTU  MAC             ENCAP  L   VLAN\n"
    "lo0          1  0x14000001  loopback  up    up     65535  -                   2  L3     -\n"
    "mgmt0        2  0x05000001  mgmt      up    up      1500  0200.0000.0001      1  L3     -\n"
    "port1        3  0x1a000001  physical  up    up      1500  0200.0000.0002      1  L2    10\n"
    "port2        4  0x1a000002  physical  up    up      1500  0200.0000.0003      1  L3     -\n"
    "bundle1      5  0x16000001  channel   down  down    1500  0200.0000.0004      1  L3     -\n"
    "port3        6  0x1a000003  physical  up    up      1500  0200.0000.0005      1  L3     -\n"
    "port3.5      7  0x1b000001  vlan      up    up      1500  0000.0000.0000      1  L3     5\n"
    "vlan10       8  0x0900100a  svi       up    up      1500  0200.0000.0006      1  L3    10\n"
    "tunnel1      9  0x18000001  gre       up    up      1476  -                   4  L3     -\n"
    "tunnel2     10  0x1c000001  other     up    up      1480  -                   5  L3     -\n"
    "null0       11  0x1d000001  null      up    up      1500  -                   8  L3     -\n"
    "cbus0       12  0x07000001  cbus      up    up      1500  0000.0000.0000      1  L3     -\n";
    // clang-format on
    EXPECT_EQ(varnsh("show interfaces").out, table);
}

// One answer a line: mac, VLAN, if-index, port index, first member, is it an SVI, own extension.
TEST_F(ShellAnswers, ComeFromTheCacheAndFromTheServiceForEveryAttribute)
{
    const auto answers = [this](const std::string &name, const std::string &option) {
        std::string commands, told;
        for (const char *attribute :
             {"mac", "vlan_info", "ifindex", "pi", "first_member", "iod_svi", "extension"})
            commands.append("query " + option + " " + attribute + " " + name + ";");
        told = varnsh(commands).out;
        return std::regex_replace(told, std::regex("\n"), " | ");
    };
    EXPECT_EQ(answers("port1", ""), "0200.0000.0002 | vinst 1 vlan 10 mode 0x1 | 0x1a000001 | "
                                    "65539 | none | no | 0 | ");
    EXPECT_EQ(answers("port1", "--direct"), answers("port1", ""));
    EXPECT_EQ(answers("bundle1", "--direct"),
              "0200.0000.0004 | none | 0x16000001 | 65541 | port2 | no | 0 | ");
    EXPECT_EQ(
        answers("vlan10", "--direct"),
        "0200.0000.0006 | vinst 1 vlan 10 mode 0x200 | 0x0900100a | none | none | yes | 0 | ");
    EXPECT_EQ(answers("tunnel1", "--direct"),
              "0000.0000.0000 | none | 0x18000001 | 65545 | none | no | 9 | ");
}

// The cache keeps the parent of a sub-interface where it keeps the first member of a port-channel.
TEST_F(ShellAnswers, OfASubInterfaceNameItsParentDeliberatelyFromTheCacheAlone)
{
    EXPECT_EQ(varnsh("query first_member port3.5; query --direct first_member port3.5").out,
              "port3\nnone\n");
}

TEST_F(ShellAnswers, SayWhatIsNotThere)
{
    const struct {
        const char *command, *said;
        int exit_code;
    } rows[] = {
        {"stale nowhere", "varnsh: no interface nowhere\n", 1},
        {"flush nowhere", "varnsh: no interface nowhere\n", 1},
        {"await mtu nowhere 1500", "varnsh: no interface nowhere\n", 1},
        {"bench nowhere", "varnsh: no interface nowhere\n", 1},
        {"pc nowhere", "varnsh: no interface nowhere\n", 1},
        {"disable; show entry port1", "varnsh: nothing is cached of port1\n", 1},
        {"disable; flush port1", "varnsh: the cache is off\n", 1},
        {"disable; stale port1", "varnsh: no entry for port1 can be had\n", 1},
        {"! exit 3", "varnsh: that command failed: exit 3\n", 1},
        {"stale port1 foo", "varnsh: no attribute foo\nvarnsh: usage: stale IF [ATTRIBUTE]\n", 2},
        {"await foo port1 1",
         "varnsh: no attribute foo\nvarnsh: usage: await ATTRIBUTE IF ANSWER\n", 2},
        {"show interfaces port1", "varnsh: usage: show [--json] WHAT [IF]\n", 2},
        {"show --json entry port1", "varnsh: usage: show [--json] WHAT [IF]\n", 2},
        {"vlan 0", "varnsh: no VLAN 0: VLANs are 1 to 4094\nvarnsh: usage: vlan [--direct] VLAN\n",
         2},
        {"watch 2000000",
         "varnsh: not a number of seconds: 2000000\nvarnsh: usage: watch [SECONDS]\n", 2},
        {"watch 1s", "varnsh: not a number of seconds: 1s\nvarnsh: usage: watch [SECONDS]\n", 2},
    };
    for (const auto &row : rows) {
        const finished said = varnsh(row.command);
        EXPECT_EQ(said.err, row.said) << row.command;
        EXPECT_EQ(said.out, "") << row.command;
        EXPECT_EQ(said.exit_code, row.exit_code) << row.command;
    }
}

TEST_F(ShellAnswers, AreWaitedForUntilTheServiceGivesThem)
{
    EXPECT_EQ(varnsh("await mtu port1 1500; query mtu port1").out, "1500\n");
    finished waited;
    EXPECT_GE(milliseconds([&] { waited = varnsh("await mtu port1 9000"); }), 5000);
    EXPECT_EQ(waited.err, "varnsh: the answer stays 1500\n");
    EXPECT_EQ(waited.exit_code, 1);
}

// A command that ran before the service ended has filled the list of interfaces, and nothing else.
TEST_F(ShellAnswers, AreRefusedAfterTheServiceHasEndedButForWhatIsCached)
{
    const std::string gone = "varnsh: no service at " + socket + ": Connection refused\n";
    const std::string bench_titles = "port1, medians of 9 turns\n"
                                     "ATTRIBUTE            CACHED         DIRECT         RATIO\n";
    const struct {
        std::string before, after, out;
    } rows[] = {
        {"rescan", "pc bundle1", ""},
        {"rescan", "vlan 10", ""},
        {"rescan", "vlan --direct 10", ""},
        {"rescan", "bench port1", bench_titles},
        {"rescan", "rescan", ""},
        {"rescan", "query --direct pi port1", ""},
        {"vlan 10; rescan", "query --direct vlan_info port1", ""},
    };
    for (const auto &row : rows) {
        ASSERT_NO_FATAL_FAILURE(start(inventory));
        const finished said =
            varnsh(row.before + "; echo =\n" + end_service() + "echo =;" + row.after);
        const std::string shown = said.out.substr(said.out.rfind("=\n") + 2);
        EXPECT_EQ(said.err, gone) << row.after;
        EXPECT_EQ(said.exit_code, 1) << row.after;
        EXPECT_EQ(shown, row.out) << row.after;
    }
}

TEST_F(ShellAnswers, ThatAreNotKnownLeaveTheRowOfTheirInterfaceOpen)
{
    start(R"({"interfaces": [{"name": "port1", "type": "physical", "ordinal": 1}]})");
    const std::string reason = "no service at " + socket + ": Connection refused\n";
    const finished table =
        varnsh("show interfaces; stale port1\n" + end_service() + "echo =; show interfaces");
    EXPECT_EQ(
        table.out.substr(table.out.find("=\n")),
        "=\nNAME     IOD  IF-INDEX    TYPE      LINK  PROTO    MTU  MAC             ENCAP  L   VLAN\n"
        "port1      1  not known: " +
            reason);
    EXPECT_EQ(table.err, "varnsh: " + reason);
    EXPECT_EQ(table.exit_code, 1);

    start(R"({"interfaces": [{"name": "port1", "type": "physical", "ordinal": 1}]})");
    const finished written =
        varnsh("! true\nstale port1\n" + end_service() + "show --json interfaces");
    const nlohmann::json expected = {{"name", "port1"},
                                     {"iod", 1},
                                     {"if_index", "0x1a000001"},
                                     {"error", reason.substr(0, reason.size() - 1)}};
    EXPECT_EQ(nlohmann::json::parse(written.out), nlohmann::json::array({expected}));
    EXPECT_EQ(written.exit_code, 1);
}

TEST_F(ShellAnswers, AreNoneAfterQuit)
{
    const finished left = varnsh("query mtu port1; quit; query mtu port1");
    EXPECT_EQ(left.out, "1500\n");
    EXPECT_EQ(left.err, "");
    EXPECT_EQ(left.exit_code, 0);
}

TEST_F(ShellAnswers, OfAPortChannelWithoutMembersAreNoneInEveryBucket)
{
    change({"member", "bundle1", "remove", "port2"});
    std::string none = "first member  none\nBUCKET        MEMBER\n";
    for (int rbh = 0; rbh < 16; ++rbh)
        none.append(std::to_string(rbh)).append(rbh < 10 ? 13 : 12, ' ').append("none\n");
    EXPECT_EQ(varnsh("pc bundle1").out, none);
    EXPECT_EQ(varnsh("pc --direct bundle1").out, none);
}

TEST_F(ShellAnswers, MeasureTheFirstInterfaceThatIsNoLoopbackAndElseALoopback)
{
    EXPECT_TRUE(varnsh("bench").out.starts_with("mgmt0, medians of 9 turns\nATTRIBUTE"));
    start(R"({"interfaces": [{"name": "lo0", "type": "loopback"}]})");
    EXPECT_TRUE(varnsh("bench").out.starts_with("lo0, medians of 9 turns\nATTRIBUTE"));
    start(R"({"interfaces": []})");
    const finished none = varnsh("bench");
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "varnsh: no interfaces\n");
    EXPECT_EQ(none.exit_code, 1);
}

// Entries are found by a hash whose order is nobody's business.
TEST_F(ShellAnswers, AreTracedWhereThatIsAskedFor)
{
    start(R"({"interfaces": [{"name": "port1", "type": "physical", "ordinal": 1}]})");
    const finished shown =
        run({VARNSH, "--socket", socket, "--trace", "-c", "query mtu port1; query mtu port1"});
    EXPECT_EQ(shown.out, "1500\n1500\n");
    EXPECT_EQ(shown.err,
              "trace: If-create for if-index 0x1a000001, iod 1, pi 0xffffffff, lif 0xffffffff\n"
              "trace: Varn-update for if-index 0x1a000001, iod 1\n"
              "trace: Creating pi entry for if-index 0x1a000001, iod 1, pi 0x10001\n"
              "trace: Creating lif entry for if-index 0x1a000001, iod 1, lif 0x100001\n"
              "trace: If-destroy for if-index 0x1a000001, iod 1, pi 0x10001, lif 0x100001\n");
}

TEST_F(ShellAnswers, AreJsonOfTheRightTypeOrNull)
{
    EXPECT_EQ(varnsh("! true\nquery --json first_member port1; query --json mac port1;"
                     "query --json gre_tunnel tunnel1; query --json pi vlan10")
                  .out,
              "{\"interface\":\"port1\",\"attribute\":\"first_member\",\"answer\":null,"
              "\"requests\":1}\n"
              "{\"interface\":\"port1\",\"attribute\":\"mac\",\"answer\":\"0200.0000.0002\","
              "\"requests\":0}\n"
              "{\"interface\":\"tunnel1\",\"attribute\":\"gre_tunnel\",\"answer\":true,"
              "\"requests\":0}\n"
              "{\"interface\":\"vlan10\",\"attribute\":\"pi\",\"answer\":null,"
              "\"requests\":0}\n");
    const auto all = nlohmann::json::parse(varnsh("show --json interfaces").out);
    EXPECT_EQ(all[0]["mac"], nullptr);
    EXPECT_EQ(all[2]["vlan"], 10);
    EXPECT_EQ(all[2]["switchport"], true);
}

TEST_F(ShellAnswers, ThatCannotBeWrittenAreAFailure)
{
    const finished shown =
        run({"sh", "-c", VARNSH " --socket " + socket + " -c 'show interfaces' >/dev/full"});
    EXPECT_EQ(shown.err, "varnsh: not all of the output could be written\n");
    EXPECT_EQ(shown.exit_code, 1);
}

} // namespace
