// SPDX-License-Identifier: Apache-2.0
//
// debugged_client.cpp: the processes, and gdb in batch mode. gdb says much on its own, other things on
// each machine; what the commands print stands behind a mark.
#include "debugged_client.h"

#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include <unistd.h>

namespace
{

constexpr char inventory[] = R"({
  "interfaces": [
    {"name": "port1", "type": "physical", "link": "up", "protocol": "up", "mac": "02:00:00:00:00:01"},
    {"name": "port2", "type": "physical", "link": "up", "protocol": "up", "mac": "02:00:00:00:00:02",
     "member_of": "bundle1"},
    {"name": "bundle1", "type": "port-channel", "link": "up", "protocol": "up", "mtu": 9000}
  ],
  "vlans": [{"id": 10}, {"id": 20, "primary": 10}]
})";

constexpr char mark[] = "---- the commands";

void wait_for(const std::filesystem::path &path)
{
    for (int tries = 0; tries < 1000 && !std::filesystem::exists(path); ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_TRUE(std::filesystem::exists(path)) << path;
}

// What the commands themselves find fault with.
std::string complaints(const std::string &err)
{
    std::string own;
    std::istringstream lines(err);
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("varn: ") || line.starts_with("usage: varn"))
            own += line + "\n";
    return own;
}

} // namespace

void DebuggedClient::SetUp()
{
    folder = std::filesystem::temp_directory_path() / ("varn-field-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "device.json") << inventory;
    const std::string socket = folder / "deviced.sock";
    setenv("VARN_HISTORY_DIR", (folder / "history").c_str(), 1);
    setenv("VARN_DEVICE_SOCKET", socket.c_str(), 1);
    service = std::make_unique<running_process>(
        std::vector<std::string>{DEVICED, "--source", folder / "device.json", "--socket", socket});
    wait_for(socket);
}

// The client's last command waits for the folder to go.
void DebuggedClient::TearDown()
{
    std::filesystem::remove_all(folder);
    client.reset();
    service.reset();
}

void DebuggedClient::start_client(const std::string &commands, const std::string &libraries)
{
    const std::filesystem::path ready = folder / "ready";
    const std::string rest = "\n! touch " + ready.string() + "; while test -d " + folder.string() +
                             "; do sleep 0.1; done\n";
    client = std::make_unique<running_process>(std::vector<std::string>{
        "env", "LD_LIBRARY_PATH=" + libraries, "sh", "-c", "exec \"$0\" -c \"$1\" >\"$2\"", VARNSH,
        commands + rest, (folder / "said").string()});
    wait_for(ready);
}

std::string DebuggedClient::gdb(const std::vector<std::string> &words,
                                const std::vector<std::string> &commands)
{
    std::vector<std::string> command{"gdb", "-q",          "-nx",  "-batch",
                                     "-ex", "set width 0", "-iex", "set debuginfod enabled off"};
    command.insert(command.end(), words.begin(), words.end());
    command.insert(command.end(), {"-x", COMMANDS, "-ex", std::string("echo ") + mark + "\\n"});
    for (const std::string &each : commands)
        command.insert(command.end(), {"-ex", each});
    const finished done = run(command);
    const std::size_t begin = done.out.find(mark);
    EXPECT_NE(begin, std::string::npos) << done.out << done.err;
    if (begin == std::string::npos)
        return done.out;
    const std::string told = done.out.substr(begin + sizeof mark);
    return std::regex_replace(told.substr(0, told.find("[Inferior 1 (process")) +
                                  complaints(done.err),
                              std::regex(" at 0x[0-9a-f]+"), " at ADDRESS");
}
