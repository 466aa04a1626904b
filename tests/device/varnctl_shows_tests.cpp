// SPDX-License-Identifier: Apache-2.0
//
// varnctl_shows_tests.cpp: what processes left in their histories and what they hold, as the tool
// shows it. The records are written by this test's own child processes, and by the shell.
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <regex>

#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include "histlog.h"
#include "inventory_device.h"
#include "running_device.h"

namespace
{

using json = nlohmann::json;

struct VarnctlShows : InventoryDevice {
    finished control(std::vector<std::string> words)
    {
        words.insert(words.begin(), VARNCTL);
        return run(words);
    }

    // In a child, whose pid it gives.
    template <typename work>
    static pid_t in_a_child(work act)
    {
        const pid_t child = fork();
        if (child == 0) {
            act();
            _exit(0);
        }
        waitpid(child, nullptr, 0);
        return child;
    }

    static void write_text(uint32_t level, const std::string &text)
    {
        std::string record(4, '\0');
        record[0] = 121;
        record.append(text).push_back('\0');
        histlog_his_log_event_for_uuid_inst(377, 121, level, 0,
                                            static_cast<uint32_t>(record.size()), record.data());
    }

    // Lines with the time and this program's process replaced.
    static std::string without_times(const std::string &text, pid_t child)
    {
        const std::regex time("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{6}");
        std::string lines = std::regex_replace(text, time, "TIME");
        const std::string process =
            std::string(program_invocation_short_name) + "[" + std::to_string(child) + "]";
        for (std::size_t at = 0; (at = lines.find(process, at)) != std::string::npos;)
            lines.replace(at, process.size(), "CHILD");
        return lines;
    }
};

using VarnctlHistory = VarnctlShows;
using VarnctlMemory = VarnctlShows;

TEST_F(VarnctlHistory, IsALineARecordByTime)
{
    const pid_t child = in_a_child([] {
        write_text(1, "[7]: refresh");
        write_text(2, "[7]: bad\x1b[0m");
        histlog_his_log_event_for_uuid_inst(1, 2, 9, 0, 3, "\x01\x02\xff");
        histlog_his_log_event_for_uuid_inst(1, 2, 1, 0, 0, nullptr);
    });
    const finished shown = control({"history"});
    EXPECT_EQ(shown.exit_code, 0);
    EXPECT_EQ(shown.err, "");
    EXPECT_EQ(without_times(shown.out, child), "TIME  CHILD  trace  [7]: refresh\n"
                                               "TIME  CHILD  error  [7]: bad?[0m\n"
                                               "TIME  CHILD  9  bytes 0102ff\n"
                                               "TIME  CHILD  trace  bytes \n");
}

TEST_F(VarnctlHistory, MayBeOfOneProcessOneLevelAndTheLastOnes)
{
    const pid_t first = in_a_child([] {
        write_text(1, "a");
        write_text(2, "b");
        write_text(2, "c");
    });
    in_a_child([] { write_text(2, "other"); });
    const std::string pid = std::to_string(first);
    EXPECT_EQ(without_times(control({"history", pid, "--level", "error"}).out, first),
              "TIME  CHILD  error  b\nTIME  CHILD  error  c\n");
    EXPECT_EQ(without_times(control({"history", pid, "--last", "1"}).out, first),
              "TIME  CHILD  error  c\n");
    EXPECT_EQ(control({"history", program_invocation_short_name, "--last", "0"}).out, "");
    const finished nobody = control({"history", "nobody"});
    EXPECT_EQ(nobody.exit_code, 1);
    EXPECT_EQ(nobody.err, "varnctl: there is no history of nobody\n");
    const finished level = control({"history", "--level", "eror"});
    EXPECT_EQ(level.exit_code, 2);
    EXPECT_EQ(
        level.err,
        "varnctl: --level must be one of trace, error, and is \"eror\" (did you mean error?)\n");
}

TEST_F(VarnctlHistory, AsJsonHasEveryField)
{
    const auto before = static_cast<uint64_t>(std::time(nullptr)) * 1000000000u;
    const pid_t child = in_a_child([] { write_text(2, "b"); });
    json shown = json::parse(control({"history", "--json"}).out);
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_GE(shown[0]["time_ns"].get<uint64_t>(), before);
    shown[0].erase("time_ns");
    EXPECT_EQ(shown[0], json({{"program", program_invocation_short_name},
                              {"pid", child},
                              {"sequence", 1},
                              {"level", "error"},
                              {"uuid", 377},
                              {"event", 121},
                              {"instance", 0},
                              {"text", "b"}}));
}

TEST_F(VarnctlHistory, PassesOverWhatIsNone)
{
    in_a_child([] { write_text(1, "a"); });
    const std::string bad = folder + "/history/x.1.0000000000000001.hist";
    std::ofstream(bad) << "garbage";
    const finished shown = control({"history"});
    EXPECT_EQ(shown.exit_code, 0);
    EXPECT_EQ(shown.err, "varnctl: " + bad + ": no history that can be read\n");
    EXPECT_NE(shown.out.find("trace  a\n"), std::string::npos);
}

TEST_F(VarnctlHistory, HasWhatTheCacheRecorded)
{
    start(R"({"interfaces": [{"name": "port1", "type": "physical"}]})");
    EXPECT_EQ(run({VARNSH, "-c", "query linkup port1"}).exit_code, 0);
    const finished shown = control({"history", "varnsh"});
    EXPECT_EQ(shown.exit_code, 0);
    EXPECT_TRUE(std::regex_search(shown.out, std::regex("varnsh\\[\\d+\\]  trace  \\[\\d+\\]: ")))
        << shown.out;
    EXPECT_EQ(shown.out.find("bytes "), std::string::npos) << shown.out;
}

// A shell that waits for commands, with an entry in its cache.
struct waiting_shell {
    explicit waiting_shell(const std::string &folder)
        : pipe(folder + "/commands"),
          process({"sh", "-c",
                   "mkfifo " + pipe + " && exec 3<>" + pipe + " && exec " + VARNSH + " <" + pipe +
                       " >" + folder + "/out 2>&1"})
    {
        EXPECT_TRUE(eventually([this] { return std::filesystem::exists(pipe); }));
        std::ofstream(pipe) << "query linkup port1\n" << std::flush;
    }

    std::string pipe;
    running_process process;
};

TEST_F(VarnctlMemory, IsWhatARunningProcessHolds)
{
    start(R"({"interfaces": [{"name": "port1", "type": "physical"}]})");
    const waiting_shell shell(folder);
    const std::string pid = std::to_string(shell.process.pid());
    json types;
    ASSERT_TRUE(eventually([&] {
        const finished shown = control({"memory", pid, "--json"});
        if (shown.exit_code != 0)
            return false;
        types = json::parse(shown.out)[0]["types"];
        for (const json &type : types)
            if (type["live_blocks"] == 1)
                return true;
        return false;
    }));
    for (const json &type : types) {
        EXPECT_EQ(type["account_name"], "Varn");
        EXPECT_LE(type["live_bytes"].get<uint64_t>(), type["peak_bytes"].get<uint64_t>());
    }
    const finished table = control({"memory", "varnsh"});
    EXPECT_EQ(table.exit_code, 0);
    EXPECT_TRUE(std::regex_search(
        table.out, std::regex("^process +account +type +blocks  bytes  peak  allocations\n"
                              "varnsh\\[" +
                              pid + "\\]  Varn     ")))
        << table.out;
}

TEST_F(VarnctlMemory, IsOfNoProcessThatEnded)
{
    start(R"({"interfaces": [{"name": "port1", "type": "physical"}]})");
    EXPECT_EQ(run({VARNSH, "-c", "query linkup port1"}).exit_code, 0);
    EXPECT_EQ(control({"memory"}).out,
              "process  account  type  blocks  bytes  peak  allocations\n");
    EXPECT_EQ(control({"memory", "--json"}).out, "[]\n");
    const finished ended = control({"memory", "varnsh"});
    EXPECT_EQ(ended.exit_code, 1);
    EXPECT_EQ(ended.err, "varnctl: no running process varnsh shows its memory\n");
}

TEST_F(VarnctlMemory, PassesOverWhatIsNone)
{
    std::filesystem::create_directory(folder + "/history");
    const std::string bad =
        folder + "/history/x." + std::to_string(getpid()) + ".0000000000000001.mem";
    std::ofstream(bad) << "garbage";
    const finished shown = control({"memory"});
    EXPECT_EQ(shown.exit_code, 0);
    EXPECT_EQ(shown.err, "varnctl: " + bad + ": no figures that can be read\n");
}

} // namespace
