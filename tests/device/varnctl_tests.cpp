// SPDX-License-Identifier: Apache-2.0
//
// varnctl_tests.cpp: the tool as a person types it: changes, scripts, refusals and exit codes.
#include <csignal>
#include <fstream>

#include "ifsvc.h"
#include "inventory_device.h"
#include "varn_device.h"

namespace
{

constexpr char small_device[] = R"({
  "vrfs": [{"name": "red", "context": 2, "table": 1001}],
  "vlans": [{"id": 10}, {"id": 20, "primary": 10}],
  "interfaces": [
    {"name": "port1", "type": "physical", "mac": "02:00:00:00:00:01"},
    {"name": "port2", "type": "physical", "mode": "access", "vlan": 10},
    {"name": "bundle1", "type": "port-channel", "vrf": "red"},
    {"name": "vlan10", "type": "svi", "vlan": 10}
  ]
})";

struct Varnctl : InventoryDevice {
    finished control(std::vector<std::string> words, const std::string &input = "")
    {
        words.insert(words.begin(), VARNCTL);
        return run(words, input);
    }

    void done(const std::vector<std::string> &words)
    {
        const finished outcome = control(words);
        EXPECT_EQ(outcome.exit_code, 0);
        EXPECT_EQ(outcome.out + outcome.err, "");
    }

    void fails(int code, const std::vector<std::string> &words, const std::string &text)
    {
        const finished outcome = control(words);
        EXPECT_EQ(outcome.exit_code, code);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, text);
    }

    std::string script(const std::string &text)
    {
        const std::string path = folder + "/script";
        std::ofstream(path) << text;
        return path;
    }
};

using VarnctlShow = Varnctl;
using VarnctlScript = Varnctl;

TEST_F(Varnctl, ChangesADeviceWhileItRuns)
{
    start(small_device);
    const uint32_t port = iod_of("port1");
    done({"set", "port1", "link", "down"});
    EXPECT_EQ(ifsvc_is_linkup(port), 0u);
    done({"set", "port1", "mtu", "9000", "link", "up"});
    EXPECT_EQ(ifsvc_get_if_mtu(port), 9000u);
    done({"member", "bundle1", "add", "port1"});
    done({"vlan", "30", "add", "primary", "10"});
    done({"private", "port1", "5", "77", "0a0b"});
    EXPECT_EQ(ifsvc_get_extension(port, 5), 77u);
    done({"add", "lo0", "loopback"});
    EXPECT_NE(iod_of("lo0"), 0u);
    done({"delete", "lo0"});
    EXPECT_EQ(iod_of("lo0"), 0u);
}

TEST_F(Varnctl, TakesTheSocketFromItsCommandLine)
{
    start(small_device);
    setenv("VARN_DEVICE_SOCKET", "/nowhere", 1);
    done({"--socket", socket, "set", "port1", "mtu", "1400"});
    EXPECT_EQ(ifsvc_get_if_mtu(iod_of("port1")), 1400u);
}

TEST_F(Varnctl, EndsWithOneWhenItIsRefused)
{
    start(small_device);
    fails(1, {"set", "port3", "mtu", "9000"},
          "varnctl: there is no interface \"port3\" (did you mean port1?)\n");
    fails(1, {"delete", "vlan11"},
          "varnctl: there is no interface \"vlan11\" (did you mean vlan10?)\n");
    fails(1, {"vlan", "10", "delete"}, "varnctl: VLAN 10 is the primary of 20\n");
}

TEST_F(Varnctl, EndsWithOneWithoutAService)
{
    fails(1, {"set", "port1", "mtu", "9000"},
          "varnctl: no service at " + socket + ": No such file or directory\n");
}

TEST_F(Varnctl, WaitsForAServiceNoLongerThanItIsTold)
{
    start(small_device);
    service->send(SIGSTOP);
    fails(1, {"--timeout", "100", "show"},
          "varnctl: the service at " + socket + " does not answer\n");
    service->send(SIGCONT);
}

TEST_F(Varnctl, EndsWithTwoWhenItDoesNotUnderstand)
{
    fails(2, {"sett", "port1", "mtu", "9000"},
          "varnctl: there is no command \"sett\" (did you mean set?)\n"
          "usage: varnctl [OPTIONS] COMMAND...    (--help lists the commands)\n");
    fails(2, {"histry"},
          "varnctl: there is no command \"histry\" (did you mean history?)\n"
          "usage: varnctl [OPTIONS] COMMAND...    (--help lists the commands)\n");
    fails(2, {"set", "port1", "mut", "9000"},
          "varnctl: there is no field \"mut\" (did you mean mtu?)\n"
          "usage: varnctl set IF FIELD VALUE [FIELD VALUE]...\n");
    fails(2, {"set", "port1", "mtu", "much"},
          "varnctl: mtu: must be a number from 1 to 65535, and is \"much\"\n"
          "usage: varnctl set IF FIELD VALUE [FIELD VALUE]...\n");
    fails(2, {"delete"}, "varnctl: delete: too few words\nusage: varnctl delete IF\n");
    fails(2, {"script"},
          "varnctl: script: too few words\nusage: varnctl script FILE [--keep-going]\n");
    fails(2, {"memory", "a", "b"},
          "varnctl: memory: too many words\nusage: varnctl memory [PROGRAM|PID] [--json]\n");
    fails(2, {"memory", "--last", "3"},
          "varnctl: memory: takes no --level and no --last\n"
          "usage: varnctl memory [PROGRAM|PID] [--json]\n");
    fails(2, {"show", "--last", "3"},
          "varnctl: show: takes no --level and no --last\nusage: varnctl show [IF]\n");
    EXPECT_EQ(control({}).exit_code, 2);
    EXPECT_EQ(control({"--sockt", "x", "show"}).exit_code, 2);
    EXPECT_EQ(control({"--timeout", "soon", "show"}).exit_code, 2);
}

TEST_F(Varnctl, ListsItsCommands)
{
    const finished help = control({"--help"});
    EXPECT_EQ(help.exit_code, 0);
    for (const char *usage :
         {"  set IF FIELD VALUE [FIELD VALUE]...\n", "  add IF TYPE [FIELD VALUE]...\n",
          "  delete IF\n", "  member PC add|remove IF\n",
          "  vlan ID add|set|delete|show [FIELD VALUE]...\n",
          "  private IF KEY EXTENSION [HEXBYTES] | private IF KEY none\n", "  show [IF]\n",
          "  script FILE [--keep-going]\n",
          "  history [PROGRAM|PID] [--level LEVEL] [--last N] [--json]\n",
          "  memory [PROGRAM|PID] [--json]\n"})
        EXPECT_NE(help.out.find(usage), std::string::npos) << usage;
}

// ---- show

TEST_F(VarnctlShow, IsATableOfEachList)
{
    start(small_device);
    EXPECT_EQ(
        control({"show"}).out,
        "name  context  table\n"
        "red         2   1001\n"
        "\n"
        "id  primary  bd  flood_index\n"
        "10        -   1       131073\n"
        "20       10   2       131074\n"
        "\n"
        "name     type          ordinal  link  protocol   mtu  mac                mode    vlan"
        "  vrf  member_of  parent\n"
        "port1    physical            1  up    up        1500  02:00:00:00:00:01  routed     -"
        "  -    -          -\n"
        "port2    physical            2  up    up        1500  00:00:00:00:00:00  access    10"
        "  -    -          -\n"
        "bundle1  port-channel        1  up    up        1500  00:00:00:00:00:00  routed     -"
        "  red  -          -\n"
        "vlan10   svi                 -  up    up        1500  00:00:00:00:00:00  -         10"
        "  -    -          -\n");
}

TEST_F(VarnctlShow, MayBeOfOneInterfaceOrVlan)
{
    start(small_device);
    EXPECT_EQ(
        control({"show", "port1"}).out,
        "name   type      ordinal  link  protocol   mtu  mac                mode    vlan  vrf  "
        "member_of  parent\n"
        "port1  physical        1  up    up        1500  02:00:00:00:00:01  routed  -     -    "
        "-          -\n");
    EXPECT_EQ(control({"vlan", "20", "show"}).out, "id  primary  bd  flood_index\n"
                                                   "20       10   2       131074\n");
}

TEST_F(VarnctlShow, AsJsonIsAnInventory)
{
    start(small_device);
    const finished shown = control({"show", "--json"});
    EXPECT_EQ(shown.exit_code, 0);
    restart(shown.out);
    EXPECT_EQ(control({"show", "--json"}).out, shown.out);
}

// ---- script

TEST_F(VarnctlScript, IsOneCommandALineWithComments)
{
    start(small_device);
    done({"script",
          script("# the first\n\n  set  port1 mtu 1400 # for a while\nset port2 mtu 1401\r\n"
                 "delete vlan10")});
    EXPECT_EQ(ifsvc_get_if_mtu(iod_of("port1")), 1400u);
    EXPECT_EQ(ifsvc_get_if_mtu(iod_of("port2")), 1401u);
    EXPECT_EQ(iod_of("vlan10"), 0u);
}

TEST_F(VarnctlScript, StopsAtTheFirstErrorByItsLine)
{
    start(small_device);
    const std::string path = script("set port1 mtu 1400\nset port9 mtu 1\nset port2 mtu 1401\n");
    fails(1, {"script", path},
          "varnctl: " + path + ":2: there is no interface \"port9\" (did you mean port1?)\n");
    EXPECT_EQ(ifsvc_get_if_mtu(iod_of("port1")), 1400u);
    EXPECT_EQ(ifsvc_get_if_mtu(iod_of("port2")), 1500u);
}

TEST_F(VarnctlScript, GoesOnWhereItIsToldAndEndsWithTheFirstFailure)
{
    start(small_device);
    const std::string path = script("set port1 mut 1400\nset port9 mtu 1\nset port2 mtu 1401\n");
    fails(2, {"--keep-going", "script", path},
          "varnctl: " + path + ":1: there is no field \"mut\" (did you mean mtu?)\n" +
              "varnctl: " + path + ":2: there is no interface \"port9\" (did you mean port1?)\n");
    EXPECT_EQ(ifsvc_get_if_mtu(iod_of("port2")), 1401u);
}

TEST_F(VarnctlScript, MayComeFromStandardInput)
{
    start(small_device);
    const finished outcome = control({"script", "-"}, "set port1 mtu 1400\nfrob\n");
    EXPECT_EQ(outcome.exit_code, 2);
    EXPECT_EQ(outcome.err, "varnctl: standard input:2: there is no command \"frob\"\n");
    EXPECT_EQ(ifsvc_get_if_mtu(iod_of("port1")), 1400u);
}

TEST_F(VarnctlScript, MustBeAFile)
{
    fails(1, {"script", folder + "/none"},
          "varnctl: " + folder + "/none: No such file or directory\n");
    fails(1, {"script", folder}, "varnctl: " + folder + ": Is a directory\n");
    done({"script", script("")});
}

} // namespace
