// SPDX-License-Identifier: Apache-2.0
//
// shell_tests.cpp: the shell as a person and as a script meet it.
#include <sstream>

#include "ifsvc.h"
#include "running_device.h"

namespace
{

class Shell : public RunningDevice
{
protected:
    finished varnsh(const std::string &commands) { return run({VARNSH, "-c", commands}); }

    // A command of the shell that sends a signal to the service and waits until it is in the state
    // that follows from it.
    std::string signal(const char *name, const char *state)
    {
        const std::string pid = std::to_string(service->pid());
        return std::string("!kill -") + name + " " + pid + "; until grep -q '^State:.[" + state +
               "]' /proc/" + pid + "/status; do sleep 0.01; done\n";
    }
};

std::vector<std::string> lines(const std::string &text)
{
    std::vector<std::string> all;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        all.push_back(line);
    return all;
}

TEST_F(Shell, ShowsEveryInterfaceWithin100Columns)
{
    sh("ip link set port0 down && ip link set port0 name abcdefghijklmno");
    EXPECT_TRUE(eventually([&] { return iod_of("abcdefghijklmno") != 0; }));
    const finished shown = varnsh("show interfaces");
    EXPECT_EQ(shown.exit_code, 0) << shown.err;
    const auto rows = lines(shown.out);
    ASSERT_EQ(rows.size(), 7u);
    for (const std::string &row : rows)
        EXPECT_LE(row.size(), 100u) << row;
    EXPECT_EQ(shown.out.find('\x1b'), std::string::npos);
    EXPECT_NE(shown.out.find("abcdefghijklmno"), std::string::npos);
}

TEST_F(Shell, AsksNothingForWhatItHasShownBefore)
{
    const finished shown =
        varnsh("show interfaces; echo =; requests; echo =; show interfaces; echo =; requests");
    std::vector<std::string> parts(1);
    for (const std::string &line : lines(shown.out))
        line == "=" ? parts.emplace_back() : parts.back() += line + "\n";
    ASSERT_EQ(parts.size(), 4u) << shown.out;
    EXPECT_EQ(parts[0], parts[2]);
    EXPECT_NE(parts[1], "0 requests to the service\n");
    EXPECT_EQ(parts[3], "0 requests to the service\n");
}

TEST_F(Shell, AnswersAQueryByNameByIodAndByIfIndex)
{
    const uint32_t iod = iod_of("port0");
    char if_index[16];
    std::snprintf(if_index, sizeof if_index, "0x%x", if_index_of("port0"));
    EXPECT_EQ(varnsh("query mtu port0").out, "1500\n");
    EXPECT_EQ(varnsh("query linkup " + std::to_string(iod)).out, "yes\n");
    EXPECT_EQ(varnsh("query --direct name " + std::string(if_index)).out, "port0\n");
}

TEST_F(Shell, ServesTheOldAnswerUntilTheInterfaceIsMarkedStale)
{
    const finished shown = varnsh("query linkup port0; ! ip link set port0 down\n"
                                  "await linkup port0 no; query linkup port0; stale port0;"
                                  "query linkup port0; query protoup port0");
    EXPECT_EQ(shown.out, "yes\nyes\nno\nno\n") << shown.err;
    EXPECT_EQ(shown.exit_code, 0);
}

TEST_F(Shell, MarksOneAttributeStaleAndNoOther)
{
    const finished shown = varnsh("query linkup port0; query mtu port0; requests; stale port0 mtu;"
                                  "query linkup port0; requests; query mtu port0; requests");
    const auto rows = lines(shown.out);
    ASSERT_EQ(rows.size(), 7u) << shown.out;
    EXPECT_EQ(rows[4], "0 requests to the service");
    EXPECT_EQ(rows[6], "1 requests to the service");
}

TEST_F(Shell, SaysWhatItDoesNotUnderstandAndWhatComesNearest)
{
    const finished command = varnsh("shwo interfaces");
    EXPECT_EQ(command.exit_code, 2);
    EXPECT_EQ(command.err, "varnsh: no command shwo (did you mean show?)\n");
    const finished attribute = varnsh("query linkupp port0");
    EXPECT_EQ(attribute.exit_code, 2);
    EXPECT_EQ(attribute.err, "varnsh: no attribute linkupp (did you mean linkup?)\n");
    EXPECT_EQ(varnsh("query mtu").err, "varnsh: usage: query [--direct] ATTRIBUTE IF\n");
    EXPECT_EQ(run({VARNSH, "--sokcet", "x"}).exit_code, 2);
}

TEST_F(Shell, ShowsAnEntryAsTheLibraryDumpsIt)
{
    EXPECT_EQ(varnsh("show entry nowhere").exit_code, 1);
    EXPECT_EQ(varnsh("show entry").exit_code, 2);
    const auto rows = lines(varnsh("query linkup port0; show entry port0").out);
    ASSERT_EQ(rows.size(), 8u);
    char identity[64];
    std::snprintf(identity, sizeof identity, " port0 - if_index: 0x%x(26), iod: %u",
                  if_index_of("port0"), iod_of("port0"));
    EXPECT_TRUE(rows[1].ends_with(identity)) << rows[1];
    EXPECT_EQ(rows[7].rfind("IOD Bitmap:- Array Index: 0, Bit Position: ", 0), 0u) << rows[7];
}

TEST_F(Shell, ShowsTheDumpsOfTheLibrary)
{
    const finished shown = varnsh("show interfaces; show stats; show tables; show iodmap");
    EXPECT_EQ(shown.exit_code, 0) << shown.err;
    for (const char *piece :
         {"sync 0x00000003ffffffff, ", "\t\tHits\tMisses\tUpdates\n",
          "If table\nSize hwm: ", "LIF table\nHash table 0x", "IOD Bitmap Dump:\n"})
        EXPECT_NE(shown.out.find(piece), std::string::npos) << piece;
    const finished unknown = varnsh("show tabels");
    EXPECT_EQ(unknown.exit_code, 2);
    EXPECT_NE(unknown.err.find("tables"), std::string::npos) << unknown.err;
}

TEST_F(Shell, SaysWhichInterfaceIsNotThere)
{
    const finished unknown = varnsh("query mtu prot0; query mtu port0");
    EXPECT_EQ(unknown.exit_code, 1);
    EXPECT_EQ(unknown.err, "varnsh: no interface prot0 (did you mean port0?)\n");
    EXPECT_EQ(unknown.out, "1500\n");
    EXPECT_EQ(varnsh("query mtu 4711").exit_code, 1);
    EXPECT_EQ(varnsh("query mtu 0x1affffff").exit_code, 1);
}

TEST_F(Shell, FindsAnInterfaceThatCameLater)
{
    const finished shown = varnsh("show interfaces\n! ip link add new0 type veth peer name new1\n"
                                  "query --direct name new0");
    EXPECT_EQ(shown.exit_code, 0) << shown.err;
    EXPECT_EQ(lines(shown.out).back(), "new0");
}

TEST_F(Shell, ServesWhatItKnowsWhenTheServiceHasDied)
{
    const finished shown = varnsh("show interfaces; echo =\n" + signal("KILL", "Z") +
                                  "show interfaces; query mtu port0; stale port0; query mtu port0;"
                                  "query --direct mtu leaf1; query mtu leaf1");
    EXPECT_EQ(shown.exit_code, 1);
    const std::size_t middle = shown.out.find("=\n");
    ASSERT_NE(middle, std::string::npos);
    EXPECT_EQ(shown.out.substr(middle + 2), shown.out.substr(0, middle) + "1500\n1500\n");
    const std::string line = "varnsh: no service at " + socket + ": Connection refused\n";
    EXPECT_EQ(shown.err, line + line);
}

TEST_F(Shell, NeverTakesSilenceForAnAnswer)
{
    const std::string commands = "query mtu port0; stale port0\n" + signal("STOP", "T") +
                                 "query mtu port0\n" + signal("CONT", "SR") +
                                 "await mtu port0 1500\nquery mtu port0";
    const finished shown = run({VARNSH, "--timeout", "500", "-c", commands});
    EXPECT_EQ(shown.out, "1500\n1500\n");
    EXPECT_EQ(shown.err, "varnsh: the service at " + socket + " does not answer\n");
    EXPECT_EQ(shown.exit_code, 1);
}

TEST_F(Shell, SaysThatThereIsNoService)
{
    const finished none = run({VARNSH, "--socket", folder + "/none.sock", "-c", "show interfaces"});
    EXPECT_EQ(none.exit_code, 1);
    EXPECT_EQ(none.err,
              "varnsh: no service at " + folder + "/none.sock: No such file or directory\n");
    EXPECT_EQ(none.out, "");
}

TEST_F(Shell, ReadsCommandsFromItsInput)
{
    const finished shown = run({VARNSH}, "# a remark\nquery mtu port0\n\nquit\nquery mtu port0\n");
    EXPECT_EQ(shown.out, "1500\n");
    EXPECT_EQ(shown.exit_code, 0);
}

TEST_F(Shell, CountsHitsAndMissesAsTheLibraryDoes)
{
    const finished shown = varnsh("query linkup port0; query linkup port0; stale port0 linkup;"
                                  "query linkup port0; stats");
    bool seen = false;
    for (const std::string &row : lines(shown.out)) {
        std::istringstream in(row);
        std::string name;
        unsigned hits = 0, misses = 0;
        if (in >> name >> hits >> misses && name == "linkup") {
            seen = true;
            EXPECT_EQ(hits, 2u);
            EXPECT_EQ(misses, 1u);
        }
    }
    EXPECT_TRUE(seen) << shown.out;
}

TEST_F(Shell, MeasuresCachedAnswersFasterThanDirectOnes)
{
    const finished shown = varnsh("bench port0");
    EXPECT_EQ(shown.exit_code, 0) << shown.err;
    const auto rows = lines(shown.out);
    ASSERT_EQ(rows.size(), 7u) << shown.out;
    for (std::size_t n = 2; n < rows.size(); ++n) {
        std::istringstream in(rows[n]);
        std::string name, unit;
        double cached = 0, direct = 0;
        in >> name >> cached >> unit >> direct;
        EXPECT_GT(cached, 0.0);
        EXPECT_LT(10 * cached, direct) << rows[n];
    }
}

} // namespace
