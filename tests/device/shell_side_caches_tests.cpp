// SPDX-License-Identifier: Apache-2.0
//
// shell_side_caches_tests.cpp: port-channels and VLANs in the shell, over an inventory.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "running_device.h"
#include "typed_shell.h"
#include "varn_device.h"

namespace
{

constexpr char inventory[] = R"({
  "interfaces": [
    {"name": "port1", "type": "physical", "link": "up", "protocol": "up"},
    {"name": "port2", "type": "physical", "link": "up", "protocol": "up", "member_of": "bundle1"},
    {"name": "port3", "type": "physical", "link": "up", "protocol": "up", "member_of": "bundle1"},
    {"name": "bundle1", "type": "port-channel", "link": "up", "protocol": "up"}
  ],
  "vlans": [{"id": 10}, {"id": 20, "primary": 10}]
})";

class ShellSideCaches : public testing::Test
{
protected:
    void SetUp() override
    {
        folder =
            std::filesystem::temp_directory_path() / ("varn-shell-" + std::to_string(getpid()));
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "device.json") << inventory;
        const std::string socket = folder / "deviced.sock";
        setenv("VARN_HISTORY_DIR", (folder / "history").c_str(), 1);
        setenv("VARN_DEVICE_SOCKET", socket.c_str(), 1);
        service = std::make_unique<running_process>(std::vector<std::string>{
            DEVICED, "--source", folder / "device.json", "--socket", socket});
        ASSERT_TRUE(eventually([&] { return varn_device_connect(socket.c_str()) == 0; }));
    }

    void TearDown() override
    {
        varn_device_disconnect();
        service.reset();
        std::filesystem::remove_all(folder);
    }

    finished varnsh(const std::string &commands) { return run({VARNSH, "-c", commands}); }

    static void change(const std::vector<const char *> &words)
    {
        EXPECT_EQ(varn_device_change(words.data(), static_cast<uint32_t>(words.size()), nullptr),
                  0u)
            << varn_device_last_error_text();
    }

    std::filesystem::path folder;
    std::unique_ptr<running_process> service;
};

std::string buckets(const std::string &even, const std::string &odd)
{
    std::string rows = "BUCKET        MEMBER\n";
    for (int rbh = 0; rbh < 16; ++rbh) {
        const std::string number = std::to_string(rbh);
        rows += number + std::string(14 - number.size(), ' ') + (rbh % 2 == 0 ? even : odd) + "\n";
    }
    return rows;
}

TEST_F(ShellSideCaches, ShowTheMembersOfAPortChannelFromTheCacheAndFromTheService)
{
    const std::string both = "first member  port2\n" + buckets("port2", "port3");
    const finished shown = varnsh("pc bundle1; pc --direct bundle1");
    EXPECT_EQ(shown.out, both + both) << shown.err;
    EXPECT_EQ(shown.exit_code, 0);
    EXPECT_EQ(varnsh("pc port1").err, "varnsh: port1 is no port-channel\n");
    EXPECT_EQ(varnsh("pc port1").exit_code, 1);
}

TEST_F(ShellSideCaches, FollowAMemberThatLeavesAndAVlanThatGoes)
{
    typed_shell shell;
    shell.read_until_prompt();
    EXPECT_EQ(shell.answer_to("pc bundle1"),
              "pc bundle1\nfirst member  port2\n" + buckets("port2", "port3") + "varnsh> ");
    change({"member", "bundle1", "remove", "port2"});
    EXPECT_EQ(shell.answer_to("pc bundle1"),
              "pc bundle1\nfirst member  port3\n" + buckets("port3", "port3") + "varnsh> ");
    EXPECT_NE(shell.answer_to("vlan 20").find("primary VLAN   10\n"), std::string::npos);
    change({"vlan", "20", "set", "primary", "20"});
    EXPECT_NE(shell.answer_to("vlan 20").find("primary VLAN   20\n"), std::string::npos);
    change({"vlan", "20", "delete"});
    EXPECT_EQ(shell.answer_to("vlan 20"), "vlan 20\nvarnsh: no VLAN 20 of instance 1\nvarnsh> ");
}

TEST_F(ShellSideCaches, ShowAVlanFromTheCacheAndFromTheService)
{
    const finished shown = varnsh("vlan 20; vlan --direct 20; vlan 10");
    ASSERT_EQ(shown.exit_code, 0) << shown.err;
    const std::size_t length = shown.out.find("bridge", 1);
    const std::string cached = shown.out.substr(0, length);
    EXPECT_EQ(shown.out.substr(length, length), cached);
    EXPECT_TRUE(cached.ends_with("primary VLAN   10\n")) << cached;
    const finished unknown = varnsh("vlan 30; vlan --direct 30");
    EXPECT_EQ(unknown.out, "");
    EXPECT_EQ(unknown.err, "varnsh: no VLAN 30 of instance 1\nvarnsh: no VLAN 30 of instance 1\n");
    EXPECT_EQ(unknown.exit_code, 1);
}

TEST_F(ShellSideCaches, CostNothingTheSecondTimeAndAreAskedAgainAfterAFlush)
{
    const auto cost = [this](const std::string &between) {
        const std::string out =
            varnsh("vlan 20; pc bundle1;" + between + "; requests; vlan 20; pc bundle1; requests")
                .out;
        return out.substr(out.rfind('\n', out.size() - 2) + 1);
    };
    // The member's name is asked every time: the cache keeps no names.
    EXPECT_EQ(cost("echo -n"), "1 requests to the service\n");
    EXPECT_EQ(cost("flush med"), "2 requests to the service\n"); // the first member
    // And 16 buckets, and bridge domain, flood index and primary VLAN in two or three requests.
    EXPECT_GE(std::stoi(cost("flush")), 2 + 16 + 2);
}

} // namespace
