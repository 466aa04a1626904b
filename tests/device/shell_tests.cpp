// SPDX-License-Identifier: Apache-2.0
//
// shell_tests.cpp: the shell as a person and as a script meet it.
#include <algorithm>
#include <sstream>

#include <nlohmann/json.hpp>

#include "ifsvc.h"
#include "running_device.h"

namespace
{

using nlohmann::json;

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

TEST_F(Shell, ServesWhatItHasUntilTheInterfaceIsMarkedStale)
{
    const finished shown = varnsh("query linkup port0; requests; query linkup port0; requests;"
                                  "stale port0; query linkup port0; requests");
    const auto rows = lines(shown.out);
    ASSERT_EQ(rows.size(), 6u) << shown.out;
    EXPECT_EQ(rows[3], "0 requests to the service");
    EXPECT_EQ(rows[5], "1 requests to the service");
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

struct misuse {
    const char *command;
    const char *said;
};

TEST_F(Shell, SaysWhatItDoesNotUnderstandAndWhatComesNearest)
{
    const misuse misuses[] = {
        {"shwo interfaces", "varnsh: no command shwo (did you mean show?); help lists them\n"},
        {"xyzzy", "varnsh: no command xyzzy; help lists them\n"},
        {"query linkupp port0", "varnsh: no attribute linkupp (did you mean linkup?)\n"
                                "varnsh: usage: query [--direct] [--json] ATTRIBUTE IF\n"},
        {"query --jsn mtu port0", "varnsh: no option --jsn (did you mean --json?)\n"
                                  "varnsh: usage: query [--direct] [--json] ATTRIBUTE IF\n"},
        {"query mtu", "varnsh: usage: query [--direct] [--json] ATTRIBUTE IF\n"},
        {"show tabels", "varnsh: nothing to show under tabels (did you mean tables?)\n"
                        "varnsh: usage: show [--json] WHAT [IF]\n"},
        {"show --json stats", "varnsh: only interfaces can be shown as JSON\n"
                              "varnsh: usage: show [--json] WHAT [IF]\n"},
        {"flush port0 crti", "varnsh: no level crti (did you mean crit?)\n"
                             "varnsh: usage: flush [IF] [low|med|crit|all]\n"},
        {"flush crti", "varnsh: no interface and no level crti (did you mean crit?)\n"
                       "varnsh: usage: flush [IF] [low|med|crit|all]\n"},
        {"disable now", "varnsh: usage: disable\n"},
        {"restore now", "varnsh: usage: restore\n"},
        {"metrics --json", "varnsh: no option --json\nvarnsh: usage: metrics\n"},
        {"stats --jason", "varnsh: no option --jason (did you mean --json?)\n"
                          "varnsh: usage: stats [--json]\n"},
        {"bench --json a b", "varnsh: usage: bench [--json] [IF]\n"},
        {"await linkup port0", "varnsh: usage: await ATTRIBUTE IF ANSWER\n"},
        {"watch soon", "varnsh: not a number of seconds: soon\nvarnsh: usage: watch [SECONDS]\n"},
        {"watch 0", "varnsh: not a number of seconds: 0\nvarnsh: usage: watch [SECONDS]\n"},
        {"top -1", "varnsh: not a number of seconds: -1\nvarnsh: usage: top [SECONDS]\n"},
        {"top nan", "varnsh: not a number of seconds: nan\nvarnsh: usage: top [SECONDS]\n"},
        {"vlan 4095", "varnsh: no VLAN 4095: VLANs are 1 to 4094\n"
                      "varnsh: usage: vlan [--direct] VLAN\n"},
        {"vlan ten", "varnsh: no VLAN ten: VLANs are 1 to 4094\n"
                     "varnsh: usage: vlan [--direct] VLAN\n"},
        {"pc", "varnsh: usage: pc [--direct] IF\n"},
    };
    for (const misuse &wrong : misuses) {
        const finished said = varnsh(wrong.command);
        EXPECT_EQ(said.exit_code, 2) << wrong.command;
        EXPECT_EQ(said.err, wrong.said) << wrong.command;
        EXPECT_EQ(said.out, "") << wrong.command;
    }
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

TEST_F(Shell, WritesTheTableAsJson)
{
    const finished shown = varnsh("show --json interfaces");
    EXPECT_EQ(shown.exit_code, 0) << shown.err;
    const json all = json::parse(shown.out);
    ASSERT_EQ(all.size(), 6u);
    const auto port0 = std::find_if(all.begin(), all.end(),
                                    [](const json &row) { return row["name"] == "port0"; });
    ASSERT_NE(port0, all.end());
    char if_index[16];
    std::snprintf(if_index, sizeof if_index, "0x%08x", if_index_of("port0"));
    json expected = {{"name", "port0"},     {"iod", iod_of("port0")}, {"if_index", if_index},
                     {"type", "physical"},  {"link", true},           {"protocol", true},
                     {"mtu", 1500},         {"mac", (*port0)["mac"]}, {"encap", 1},
                     {"switchport", false}, {"vlan", nullptr}};
    EXPECT_EQ(*port0, expected);
    EXPECT_EQ((*port0)["mac"].get<std::string>() + "\n", varnsh("query mac port0").out);
}

TEST_F(Shell, WritesAnAnswerAsJsonWithItsTypeAndItsCost)
{
    EXPECT_EQ(
        varnsh("query mtu port0; query --json mtu port0; query --json linkup port0;"
               "query --direct --json linkup port0")
            .out,
        "1500\n"
        "{\"interface\":\"port0\",\"attribute\":\"mtu\",\"answer\":1500,\"requests\":0}\n"
        "{\"interface\":\"port0\",\"attribute\":\"linkup\",\"answer\":true,\"requests\":0}\n"
        "{\"interface\":\"port0\",\"attribute\":\"linkup\",\"answer\":true,\"requests\":1}\n");
    EXPECT_EQ(varnsh("query first_member lo; query --json vlan_info lo").out.substr(0, 5),
              "none\n");
}

TEST_F(Shell, WritesStatisticsAndMeasurementsAsJson)
{
    const json stats = json::parse(
        varnsh("! true\nquery mtu port0; query mtu port0; stats --json").out.substr(10));
    EXPECT_EQ(stats["attributes"]["mtu"], (json{{"hits", 2}, {"misses", 0}, {"updates", 6}}));
    EXPECT_EQ(stats["enabled"], true);
    EXPECT_EQ(stats["connected"], true);
    EXPECT_EQ(stats["tables"]["interface"], 6);

    const json measured = json::parse(varnsh("bench --json port0").out);
    EXPECT_EQ(measured["interface"], "port0");
    ASSERT_EQ(measured["attributes"].size(), 5u);
    for (const auto &[name, row] : measured["attributes"].items())
        EXPECT_GT(row["direct_ns"].get<double>(), 10 * row["cached_ns"].get<double>()) << name;
}

// The default and each level, by what has to be asked again.
TEST_F(Shell, FlushesWhatTheLevelCovers)
{
    const char *const asking = "query mtu port0; query linkup port0; query extension port0;";
    const auto requests_after = [&](const std::string &flush) {
        const auto rows = lines(varnsh(std::string(asking) + "query mtu port1;" + flush +
                                       "; requests;" + asking + "requests")
                                    .out);
        EXPECT_EQ(rows.size(), 9u);
        return rows.empty() ? "" : rows.back();
    };
    // An extension that is not set is asked every time.
    EXPECT_EQ(requests_after("echo -n"), "1 requests to the service");
    EXPECT_EQ(requests_after("flush low"), "1 requests to the service");
    EXPECT_EQ(requests_after("flush med"), "2 requests to the service");
    EXPECT_EQ(requests_after("flush port0 med"), "2 requests to the service");
    EXPECT_EQ(requests_after("flush"), "3 requests to the service");
    EXPECT_EQ(requests_after("flush port0"), "3 requests to the service");
    EXPECT_EQ(requests_after("flush port1"), "1 requests to the service");
}

TEST_F(Shell, FlushesTheIdentityWithEverythingOnly)
{
    const auto requests_after = [&](const std::string &flush) {
        const std::string out =
            varnsh("query ifindex port0; " + flush + "; requests; query ifindex port0; requests")
                .out;
        return std::stoi(lines(out).back());
    };
    EXPECT_EQ(requests_after("flush"), 0);
    EXPECT_EQ(requests_after("flush crit"), 0);
    EXPECT_GT(requests_after("flush all"), 10); // what names an entry brings the rest with it
    EXPECT_GT(requests_after("flush port0 all"), 10);
}

TEST_F(Shell, AsksForEverythingWhileTheCacheIsOffAndStartsEmptyAfterwards)
{
    const finished shown = varnsh("query mtu port0; disable; requests; query mtu port0; requests;"
                                  "flush; restore; restore; requests; query mtu port0; requests;"
                                  "query mtu port0; requests");
    const auto rows = lines(shown.out);
    ASSERT_EQ(rows.size(), 10u) << shown.out;
    EXPECT_EQ(rows[3], "1 requests to the service");
    EXPECT_EQ(rows[4], "the cache is on and empty; flood indexes and port-channels are no longer "
                       "cached");
    EXPECT_EQ(rows[5], "0 requests to the service");
    EXPECT_GT(std::stoi(rows[7]), 20) << rows[7];
    EXPECT_EQ(rows[9], "0 requests to the service");
    EXPECT_EQ(shown.err, "varnsh: the cache is off\nvarnsh: the cache is on\n");
    EXPECT_EQ(shown.exit_code, 1);
}

// An independent parser reads it, and finds in it what the statistics say.
TEST_F(Shell, WritesMetricsThatAStrictParserReads)
{
    const finished shown =
        varnsh("! true\nquery mtu port0; query mtu port0; query linkup port0; metrics");
    const std::string text = shown.out.substr(std::string("1500\n1500\nyes\n").size());
    const finished parsed = run(
        {"/usr/bin/python3", "-c",
         "import sys\n"
         "from prometheus_client.openmetrics.parser import text_string_to_metric_families as read\n"
         "for family in read(sys.stdin.read()):\n"
         "    print(family.name, family.type, family.unit or '-', len(family.samples))\n"
         "    for s in family.samples:\n"
         "        if s.labels.get('attribute') in ('mtu', 'linkup'):\n"
         "            print('  ', s.labels['attribute'], int(s.value))\n"
         "        if 'socket' in s.labels: print('  ', s.labels['socket'])\n"},
        text);
    EXPECT_EQ(parsed.exit_code, 0) << parsed.err << text;
    EXPECT_EQ(parsed.out, "varn_client info - 1\n   " + socket + "\n" +
                              "varn_cache_enabled gauge - 1\n"
                              "varn_connected gauge - 1\n"
                              "varn_cache_hits counter - 36\n   mtu 2\n   linkup 1\n"
                              "varn_cache_misses counter - 36\n   mtu 0\n   linkup 0\n"
                              "varn_cache_updates counter - 36\n   mtu 6\n   linkup 6\n"
                              "varn_cache_entries gauge - 6\n"
                              "varn_cache_records_bytes gauge bytes 3\n"
                              "varn_cache_entries_made counter - 3\n"
                              "varn_cache_entries_removed counter - 3\n"
                              "varn_notices counter - 0\n"
                              "varn_notices_handled counter - 7\n"
                              "varn_requests counter - 1\n");
    EXPECT_TRUE(text.ends_with("\n# EOF\n"));
}

// Each number that the metrics have in common with the statistics, told by both at one moment; and
// each family says what it is.
TEST_F(Shell, WritesInItsMetricsWhatItsStatisticsSay)
{
    const finished shown = varnsh("! true\nquery mtu port0; query linkup leaf0; stale port0 mtu\n"
                                  "query mtu port0; disable; query mtu port0; restore\n"
                                  "query protoup port1; stats --json; metrics");
    const finished compared = run(
        {"/usr/bin/python3", "-c",
         "import json, sys\n"
         "from prometheus_client.openmetrics.parser import text_string_to_metric_families as read\n"
         "text = sys.stdin.read()\n"
         "stats, end = json.JSONDecoder().raw_decode(text, text.index('{'))\n"
         "families = {f.name: f for f in read(text[end:].lstrip())}\n"
         "print('untold:', [f.name for f in families.values() if not f.documentation])\n"
         "def values(name, label):\n"
         "    return {s.labels[label]: int(s.value) for s in families[name].samples}\n"
         "for kind in ('hits', 'misses', 'updates'):\n"
         "    said = {name: row[kind] for name, row in stats['attributes'].items()}\n"
         "    print(kind, values('varn_cache_' + kind, 'attribute') == said, sum(said.values()) > 0)\n"
         "print('tables', values('varn_cache_entries', 'table') == stats['tables'])\n"
         "for kind in ('made', 'removed'):\n"
         "    said = {name: row[kind] for name, row in stats['entries'].items()}\n"
         "    print(kind, values('varn_cache_entries_' + kind, 'kind') == said)\n"
         "print('notices', values('varn_notices', 'notice') == stats['notices'])\n"
         "print('requests', families['varn_requests'].samples[0].value == stats['requests'])\n"},
        shown.out);
    EXPECT_EQ(compared.out, "untold: []\nhits True True\nmisses True True\nupdates True True\n"
                            "tables True\nmade True\nremoved True\nnotices True\nrequests True\n")
        << compared.err << shown.out;
}

TEST_F(Shell, EscapesWhatHasAMeaningInMetrics)
{
    const std::string odd = folder + "/a\"b\\c";
    const finished shown = run({VARNSH, "--socket", odd, "-c", "metrics"});
    EXPECT_NE(shown.out.find("varn_client_info{socket=\"" + folder + "/a\\\"b\\\\c\"} 1\n"),
              std::string::npos)
        << shown.out;
    EXPECT_NE(shown.out.find("\nvarn_connected 0\n"), std::string::npos);
}

} // namespace
