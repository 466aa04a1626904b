// SPDX-License-Identifier: Apache-2.0
//
// shell_typing_tests.cpp: what somebody at a terminal may do besides typing a command that is
// right: odd keys, a screen that changes, no place for a history, a service that ends while it is
// watched. Over an inventory; needs no privilege.
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "inventory_device.h"
#include "running_device.h"
#include "typed_shell.h"

namespace
{

namespace fs = std::filesystem;

constexpr char inventory[] = R"({
  "vlans": [{"id": 10}],
  "interfaces": [
    {"name": "port1", "type": "physical", "ordinal": 1},
    {"name": "port2", "type": "physical", "ordinal": 2}
  ]
})";

class ShellTyping : public InventoryDevice
{
protected:
    void SetUp() override
    {
        InventoryDevice::SetUp();
        ASSERT_NO_FATAL_FAILURE(start(inventory));
        setenv("XDG_STATE_HOME", (folder + "/state").c_str(), 1);
    }

    void TearDown() override
    {
        unsetenv("XDG_STATE_HOME");
        InventoryDevice::TearDown();
    }

    // Types a command and leaves.
    static void use_a_shell()
    {
        typed_shell shell;
        shell.read_until_prompt();
        EXPECT_EQ(shell.answer_to("query mtu port1"), "query mtu port1\n1500\nvarnsh> ");
        shell.type("\x04");
        EXPECT_EQ(shell.wait(), 0);
    }
};

TEST_F(ShellTyping, IsRememberedBelowTheHomeWhereNoPlaceForStateIsNamed)
{
    const std::string home = std::getenv("HOME") == nullptr ? "" : std::getenv("HOME");
    unsetenv("XDG_STATE_HOME");
    setenv("HOME", folder.c_str(), 1);
    use_a_shell();
    EXPECT_TRUE(fs::is_regular_file(folder + "/.local/state/varnsh/history"));
    setenv("HOME", home.c_str(), 1);
}

TEST_F(ShellTyping, IsNotRememberedWithoutAPlaceForIt)
{
    const std::string home = std::getenv("HOME") == nullptr ? "" : std::getenv("HOME");
    setenv("XDG_STATE_HOME", "relative", 1);
    for (const char *nowhere : {"", "relative"}) {
        setenv("HOME", nowhere, 1);
        use_a_shell();
    }
    unsetenv("HOME");
    use_a_shell();
    setenv("HOME", home.c_str(), 1);
    EXPECT_FALSE(fs::exists("relative"));
}

TEST_F(ShellTyping, IsNotRememberedWhereAFileIsInTheWay)
{
    std::ofstream(folder + "/state") << "precious";
    use_a_shell();
    EXPECT_EQ(fs::file_size(folder + "/state"), 8u);
    fs::remove(folder + "/state");
    fs::create_directories(folder + "/state/varnsh/history");
    use_a_shell();
    EXPECT_TRUE(fs::is_directory(folder + "/state/varnsh/history"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder + "/state/varnsh"), {}), 1)
        << "a file that could not take its place is left";
}

TEST_F(ShellTyping, GoesOnWhenTheScreenChangesItsSize)
{
    typed_shell shell;
    shell.read_until_prompt();
    shell.type("query mtu po");
    shell.read_until("po");
    shell.resize(60, 20);
    ::kill(shell.pid(), SIGWINCH);
    EXPECT_NE(shell.answer_to("rt1").find("\n1500\n"), std::string::npos);
}

TEST_F(ShellTyping, OfACharacterInSeveralBytesIsOneAndOfAWrongByteNone)
{
    typed_shell shell;
    shell.read_until_prompt();
    EXPECT_EQ(shell.answer_to("echo a\u00e9\u20acb"),
              "echo a\u00e9\u20acb\na\u00e9\u20acb\nvarnsh> ");
    EXPECT_EQ(shell.answer_to("echo \xff"
                              "c"),
              "echo c\nc\nvarnsh> ");
    EXPECT_EQ(shell.answer_to("echo \xc3"
                              "cd"),
              "echo d\nd\nvarnsh> ")
        << "half a character takes the byte behind it along";
    const std::string echoed = shell.answer_to("echo x\u00e9\x7f"
                                               "y");
    EXPECT_NE(echoed.find("\nxy\n"), std::string::npos) << "one key takes both bytes back";
}

TEST_F(ShellTyping, IsCompletedWhereThereIsSomethingToComplete)
{
    typed_shell shell;
    shell.read_until_prompt();
    EXPECT_EQ(shell.answer_to("show iod\t"), "show iodmap \nIOD Bitmap Dump:\n\nvarnsh> ");
    EXPECT_EQ(shell.answer_to("query --d\tmtu port1"), "query --direct mtu port1\n1500\nvarnsh> ");
    for (const char *line : {"nonsen\t", "nonsense po\t", "vlan 1\t", "query foo\t"}) {
        shell.type(line);
        shell.read_until("\a");
        shell.type("\x03");
        shell.read_until("^C");
        shell.read_until_prompt();
    }
}

TEST_F(ShellTyping, WatchesVlansAndInterfacesThatAreRemoved)
{
    typed_shell shell;
    shell.read_until_prompt();
    shell.answer_to("show interfaces");
    shell.type("watch\r");
    shell.read_until("MICROSEC");
    change({"vlan", "10", "set", "bd", "77"});
    EXPECT_NE(plain(shell.read_until("vlan 10  ")).find("VlanChanged"), std::string::npos);
    change({"delete", "port2"});
    const std::string seen = plain(shell.read_until("Removed           port2"));
    EXPECT_NE(plain(shell.read_until("\n")).find("-           -"), std::string::npos) << seen;
    shell.type("\r");
    shell.read_until_prompt();
}

TEST_F(ShellTyping, ShowsOnTopWhatIsWrong)
{
    typed_shell shell({}, 100, 24);
    shell.read_until_prompt();
    shell.answer_to("disable");
    shell.type("top\r");
    EXPECT_NE(plain(shell.read_until("q leaves")).find("the cache is off"), std::string::npos);
    shell.type("q");
    shell.read_until_prompt();
    shell.answer_to("restore");
    shell.type("top\r");
    shell.read_until("q leaves");
    kill();
    EXPECT_NE(shell.see("not connected"), "");
    EXPECT_NE(shell.see("no service at " + socket + ": Connection refused"), "");
    shell.type("q");
    shell.read_until_prompt();
}

TEST_F(ShellTyping, ShowsTopInAsciiWhereTheTerminalKnowsNothingElse)
{
    typed_shell shell({}, 100, 24);
    shell.read_until_prompt();
    shell.type("! LC_ALL=C " VARNSH " --socket " + socket + " -c 'top 0.2'\r");
    const std::string frame = plain(shell.read_until("MISSES"));
    EXPECT_NE(frame.find("####################.."), std::string::npos) << frame;
    EXPECT_EQ(frame.find("\u2591"), std::string::npos) << frame;
    shell.read_until_prompt();
}

} // namespace
