// SPDX-License-Identifier: Apache-2.0
//
// shell_live_tests.cpp: the shell as a client that is told. Nobody marks anything as stale here.
#include <csignal>
#include <regex>
#include <sstream>

#include "running_device.h"
#include "typed_shell.h"
#include "varn_device.h"

namespace
{

class LiveShell : public RunningDevice
{
protected:
    finished varnsh(const std::string &commands) { return run({VARNSH, "-c", commands}); }
};

std::vector<std::string> lines(const std::string &text)
{
    std::vector<std::string> all;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        all.push_back(line);
    return all;
}

// The row of an interface without its MAC address, which the kernel makes up.
std::string row_of(const std::string &table, const std::string &name)
{
    static const std::regex mac("[0-9a-f]{4}\\.[0-9a-f]{4}\\.[0-9a-f]{4}");
    for (const std::string &line : lines(table))
        if (line.rfind(name + " ", 0) == 0)
            return std::regex_replace(line, mac, "MAC");
    return {};
}

TEST_F(LiveShell, TakesInWhatChangedBeforeTheNextCommand)
{
    const finished shown = varnsh("query linkup port0; query mtu port0\n"
                                  "! ip link set port0 mtu 9000 down\n"
                                  "await linkup port0 no; query linkup port0; query mtu port0");
    EXPECT_EQ(shown.out, "yes\n1500\nno\n9000\n") << shown.err;
    EXPECT_EQ(shown.exit_code, 0);
}

// Another client waits for the change, so that this one does nothing but run the next command.
TEST_F(LiveShell, TakesInWhatCameWhileAnotherProgramRan)
{
    const std::string other = std::string("\"") + VARNSH + "\" -c 'await mtu port0 9000'";
    const finished shown =
        varnsh("query mtu port0\n! ip link set port0 mtu 9000 && " + other + "\nquery mtu port0");
    EXPECT_EQ(shown.out, "1500\n9000\n") << shown.err;
}

TEST_F(LiveShell, ShowsTheTableAsItIsNowAndAsksOnlyForWhatChanged)
{
    typed_shell shell;
    shell.read_until_prompt();
    const std::string before = shell.answer_to("show interfaces");
    sh("ip link set leaf1 down");
    ASSERT_TRUE(eventually([&] {
        return shell.answer_to("query --direct linkup leaf0").find("no\n") != std::string::npos;
    }));
    const std::string after = shell.answer_to("show interfaces");
    EXPECT_EQ(row_of(after, "port0"), row_of(before, "port0"));
    EXPECT_NE(row_of(before, "leaf1").find("  up    up "), std::string::npos) << before;
    EXPECT_NE(row_of(after, "leaf1").find("  down  down "), std::string::npos) << after;
    shell.answer_to("requests");
    shell.answer_to("show interfaces");
    EXPECT_EQ(shell.answer_to("requests"), "requests\n0 requests to the service\nvarnsh> ");
}

TEST_F(LiveShell, FollowsInterfacesThatComeGoAndTakeAnotherName)
{
    typed_shell shell;
    shell.read_until_prompt();
    EXPECT_EQ(row_of(shell.answer_to("show interfaces"), "new0"), "");

    sh("ip link add new0 type veth peer name new1");
    ASSERT_TRUE(eventually([&] { return iod_of("new0") != 0; }));
    EXPECT_NE(row_of(shell.answer_to("show interfaces"), "new0"), "");

    sh("ip link set new0 name other0");
    ASSERT_TRUE(eventually([&] { return iod_of("other0") != 0; }));
    const std::string renamed = shell.answer_to("show interfaces");
    EXPECT_EQ(row_of(renamed, "new0"), "");
    EXPECT_NE(row_of(renamed, "other0"), "");
    EXPECT_EQ(shell.answer_to("query name other0"), "query name other0\nother0\nvarnsh> ");

    sh("ip link del other0");
    ASSERT_TRUE(eventually([&] { return iod_of("other0") == 0; }));
    const std::string gone = shell.answer_to("show interfaces");
    EXPECT_EQ(row_of(gone, "other0"), "");
    EXPECT_EQ(row_of(gone, "new1"), "");
    EXPECT_EQ(shell.answer_to("query mtu other0").find("query mtu other0\nvarnsh: no interface"),
              0u);
}

// Two interfaces change names: neither keeps the other's answers.
TEST_F(LiveShell, TellsInterfacesApartThatSwapNames)
{
    sh("ip link set port0 mtu 4000");
    typed_shell shell;
    shell.read_until_prompt();
    shell.answer_to("show interfaces");
    sh("for i in port0 port1; do ip link set $i down; done; ip link set port0 name x;"
       "ip link set port1 name port0; ip link set x name port1");
    ASSERT_TRUE(eventually([&] { return iod_of("x") == 0 && iod_of("port1") != 0; }));
    EXPECT_EQ(shell.answer_to("query mtu port1"), "query mtu port1\n4000\nvarnsh> ");
    EXPECT_EQ(shell.answer_to("query mtu port0"), "query mtu port0\n1500\nvarnsh> ");
}

// The handler of a link that came up asks the service; nobody typed anything.
TEST_F(LiveShell, TakesInNoticesWhileItWaitsForAKey)
{
    typed_shell shell;
    shell.read_until_prompt();
    const auto requests_of_others = [] {
        uint64_t all = 0, mine = 0;
        EXPECT_EQ(varn_device_stats(&all, &mine), 0u);
        return all - mine;
    };
    const uint64_t before = requests_of_others();
    sh("ip link set port0 down && ip link set port0 up");
    EXPECT_TRUE(eventually([&] { return requests_of_others() > before + 20; }));
}

TEST_F(LiveShell, ForgetsEverythingWhenTheServiceIsAnotherOne)
{
    typed_shell shell;
    shell.read_until_prompt();
    EXPECT_EQ(shell.answer_to("query mtu port0"), "query mtu port0\n1500\nvarnsh> ");
    service.reset();
    sh("ip link set port0 mtu 9000; ip link set leaf0 name stem0");
    EXPECT_EQ(shell.answer_to("query mtu port0"), "query mtu port0\n1500\nvarnsh> ");
    varn_device_disconnect();
    start_service();
    EXPECT_TRUE(eventually(
        [&] { return shell.answer_to("query mtu port0") == "query mtu port0\n9000\nvarnsh> "; }));
    const std::string table = shell.answer_to("show interfaces");
    EXPECT_NE(row_of(table, "stem0"), "") << table;
    EXPECT_EQ(row_of(table, "leaf0"), "");
    EXPECT_NE(shell.answer_to("metrics").find("varn_notices_total{notice=\"Lost\"} 1\n"),
              std::string::npos);
}

TEST_F(LiveShell, WatchesEachNoticeWithTheCostOfTheNextQuery)
{
    const finished shown = varnsh("show interfaces; echo =\n"
                                  "! (sleep 0.3; ip link set port0 mtu 9000) &\n"
                                  "watch 1.5; query mtu port0; requests");
    const auto rows = lines(shown.out.substr(shown.out.find("=\n") + 2));
    ASSERT_EQ(rows.size(), 4u) << shown.out;
    EXPECT_EQ(rows[0], "TIME            SEQUENCE  NOTICE            INTERFACE         REQUESTS"
                       "    MICROSEC");
    const std::regex row("[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} +[0-9]+  L3Parameters      "
                         "port0                    0 +[0-9]+\\.[0-9]");
    EXPECT_TRUE(std::regex_match(rows[1], row)) << rows[1];
    EXPECT_EQ(rows[2], "9000");
    EXPECT_EQ(shown.exit_code, 0);
}

TEST_F(LiveShell, CountsNoticesInItsMetrics)
{
    const finished shown = varnsh("query mtu port0; ! ip link set port0 mtu 9000\n"
                                  "await mtu port0 9000; metrics");
    EXPECT_NE(shown.out.find("\nvarn_notices_total{notice=\"L3Parameters\"} 1\n"),
              std::string::npos)
        << shown.out;
    EXPECT_NE(shown.out.find("\nvarn_notices_handled_total{handler=\"l3_param\"} 1\n"),
              std::string::npos);
}

TEST_F(LiveShell, PrintsALineASecondOfTopWhereThereIsNoScreen)
{
    const finished shown = varnsh("top 1.5");
    const auto rows = lines(shown.out);
    ASSERT_EQ(rows.size(), 3u) << shown.out;
    EXPECT_EQ(rows[0], "TIME      HIT RATE      HITS/S    MISSES/S   UPDATES/S  REQUESTS/S   "
                       "NOTICES/S   ENTRIES");
    const std::regex row("[0-9]{2}:[0-9]{2}:[0-9]{2}   +[0-9.]+ %( +[0-9-]+){5} +6");
    for (std::size_t n = 1; n < rows.size(); ++n)
        EXPECT_TRUE(std::regex_match(rows[n], row)) << rows[n];
}

TEST_F(LiveShell, SaysThatNothingIsAnsweredAndGoesOnWatching)
{
    service.reset();
    const finished shown = varnsh("watch 0.2; top 0.2");
    EXPECT_EQ(shown.exit_code, 0) << shown.err;
    EXPECT_NE(shown.out.find("\nno service at " + socket + ": "), std::string::npos) << shown.out;
}

} // namespace
