// SPDX-License-Identifier: Apache-2.0
//
// shell_terminal_tests.cpp: the shell at a terminal: typing, completion, history, and screens that
// leave the terminal as they found it.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <sys/stat.h>

#include "running_device.h"
#include "typed_shell.h"

namespace
{

constexpr char control_c[] = "\x03", control_d[] = "\x04", up[] = "\x1b[A";
constexpr char enters_screen[] = "\x1b[?1049h", leaves_screen[] = "\x1b[?1049l";

class ShellAtATerminal : public RunningDevice
{
protected:
    void SetUp() override
    {
        RunningDevice::SetUp();
        setenv("XDG_STATE_HOME", (folder + "/state").c_str(), 1);
        unsetenv("NO_COLOR");
    }

    std::string history_file() const { return folder + "/state/varnsh/history"; }
};

std::string contents(const std::string &path)
{
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool same(const termios &a, const termios &b)
{
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_lflag == b.c_lflag &&
           std::equal(std::begin(a.c_cc), std::end(a.c_cc), std::begin(b.c_cc));
}

TEST_F(ShellAtATerminal, CompletesCommandsAttributesAndInterfaces)
{
    typed_shell shell;
    shell.read_until_prompt();
    EXPECT_EQ(shell.answer_to("que\tmt\tport0"), "query mtu port0\n1500\nvarnsh> ");
    EXPECT_EQ(shell.answer_to("query mtu le\t0"), "query mtu leaf0\n1500\nvarnsh> ");
    EXPECT_EQ(shell.answer_to("flush port0 c\t"), "flush port0 crit \nvarnsh> ");
}

TEST_F(ShellAtATerminal, ListsTheCandidatesWhereThereIsMoreThanOne)
{
    typed_shell shell;
    shell.read_until_prompt();
    shell.type("query mtu po\t");
    shell.see("query mtu port");
    shell.type("\t");
    EXPECT_NE(shell.see("varnsh> query mtu port").find("\nport0  port1\n"), std::string::npos);
    shell.type("1\r");
    EXPECT_NE(plain(shell.read_until_prompt()).find("\n1500\n"), std::string::npos);
}

TEST_F(ShellAtATerminal, EditsALine)
{
    typed_shell shell;
    shell.read_until_prompt();
    shell.type("mtu port0\x01query \x05\r"); // Ctrl-A goes to the beginning, Ctrl-E to the end
    EXPECT_NE(plain(shell.read_until("1500\r\n")), "");
}

TEST_F(ShellAtATerminal, KeepsAHistoryThatOnlyItsOwnerCanRead)
{
    umask(0);
    {
        typed_shell shell;
        shell.read_until_prompt();
        shell.answer_to("query mtu port0");
        shell.type(control_d);
        EXPECT_EQ(shell.wait(), 0);
    }
    umask(022);
    EXPECT_EQ(contents(history_file()), "_HiStOrY_V2_\nquery\\040mtu\\040port0\\012\n");
    struct stat status {
    };
    ASSERT_EQ(stat(history_file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
    ASSERT_EQ(stat((folder + "/state/varnsh").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0700u);

    typed_shell later;
    later.read_until_prompt();
    later.type(std::string(up) + "\r");
    EXPECT_EQ(plain(later.read_until("1500\r\n")), "query mtu port0\n1500\n");
}

TEST_F(ShellAtATerminal, KeepsNoHistoryOfWhatIsNotTyped)
{
    EXPECT_EQ(run({VARNSH}, "query mtu port0\n").out, "1500\n");
    EXPECT_EQ(run({VARNSH, "-c", "query mtu port0"}).out, "1500\n");
    EXPECT_FALSE(std::filesystem::exists(history_file()));
}

TEST_F(ShellAtATerminal, GivesUpALineOnControlCAndEndsOnControlD)
{
    typed_shell shell;
    shell.read_until_prompt();
    shell.type(std::string("query nonsense") + control_c);
    shell.read_until("^C");
    shell.read_until_prompt();
    EXPECT_EQ(shell.answer_to("query mtu port0"), "query mtu port0\n1500\nvarnsh> ");
    shell.type(control_d);
    EXPECT_EQ(shell.wait(), 0);
}

TEST_F(ShellAtATerminal, EndsByASignalWithTheTerminalAsItWas)
{
    typed_shell shell;
    const termios before = shell.settings();
    shell.read_until_prompt();
    ASSERT_TRUE(eventually([&] { return !same(before, shell.settings()); }));
    kill(shell.pid(), SIGTERM);
    EXPECT_TRUE(eventually([&] { return same(before, shell.settings()); }));
    EXPECT_EQ(shell.wait(), 128 + SIGTERM);
}

TEST_F(ShellAtATerminal, ShowsColoursUnlessTheyAreNotWanted)
{
    {
        typed_shell shell({"-c", "show interfaces"});
        EXPECT_NE(shell.read_until("\x1b[32mup  \x1b[0m"), "");
    }
    setenv("NO_COLOR", "1", 1);
    typed_shell shell({"-c", "show interfaces; echo end"});
    EXPECT_EQ(shell.read_until("end").find('\x1b'), std::string::npos);
}

TEST_F(ShellAtATerminal, LeavesOutColumnsThatDoNotFit)
{
    typed_shell shell({"-c", "show interfaces; echo end"}, 50);
    std::istringstream in(plain(shell.read_until("end")));
    std::string line, first;
    std::getline(in, first);
    EXPECT_EQ(first, "NAME     IOD  IF-INDEX    TYPE      LINK  PROTO");
    std::string last = first;
    for (int rows = 0; rows < 7 && std::getline(in, line); ++rows) {
        EXPECT_LE(line.size(), 50u) << line;
        last = line;
    }
    EXPECT_EQ(last, "left out for want of room: MTU MAC ENCAP L VLAN");
}

TEST_F(ShellAtATerminal, ShowsTopOnAScreenOfItsOwnUntilQ)
{
    typed_shell shell({}, 80, 24);
    shell.read_until_prompt();
    const termios before = shell.settings();
    shell.type("top\r");
    shell.read_until(enters_screen);
    const std::string frame = plain(shell.read_until("linkup"));
    EXPECT_EQ(frame.find("varnsh top  "), 0u) << frame;
    for (const char *piece : {"q leaves", "hit rate", "hits/s", "requests/s", "notices/s",
                              "6 interfaces", "ATTRIBUTE    HIT RATE"})
        EXPECT_NE(frame.find(piece), std::string::npos) << piece << "\n" << frame;
    shell.type("q");
    shell.read_until(leaves_screen);
    shell.read_until_prompt();
    EXPECT_TRUE(same(before, shell.settings()));
    EXPECT_EQ(shell.answer_to("query mtu port0"), "query mtu port0\n1500\nvarnsh> ");
}

TEST_F(ShellAtATerminal, FitsTopIntoASmallerScreen)
{
    typed_shell shell({"-c", "top"}, 80, 24);
    shell.read_until("\x1b[J");
    shell.resize(40, 9);
    std::string frame;
    ASSERT_TRUE(eventually([&] { // one that was drawn before the change may still come
        frame = plain(shell.read_until("\x1b[J"));
        return std::count(frame.begin(), frame.end(), '\n') == 8;
    }));
    std::istringstream in(frame);
    for (std::string line; std::getline(in, line);)
        EXPECT_LE(
            std::count_if(line.begin(), line.end(), [](char c) { return (c & 0xC0) != 0x80; }), 40)
            << line;
    shell.type("q");
    EXPECT_EQ(shell.wait(), 0);
}

TEST_F(ShellAtATerminal, LeavesTopOnControlCAndGivesTheScreenBackWhenItIsEnded)
{
    {
        typed_shell shell({"-c", "top; echo end"});
        shell.read_until("linkup");
        shell.type(control_c);
        shell.read_until(leaves_screen);
        shell.read_until("end");
        EXPECT_EQ(shell.wait(), 0);
    }
    typed_shell shell({"-c", "top; echo end"});
    const termios before = shell.settings();
    shell.read_until("linkup");
    kill(shell.pid(), SIGTERM);
    shell.read_until(leaves_screen);
    EXPECT_TRUE(eventually([&] { return same(before, shell.settings()); }));
    EXPECT_EQ(shell.wait(), 128 + SIGTERM);
}

TEST_F(ShellAtATerminal, WatchesUntilEnterOrControlC)
{
    typed_shell shell;
    shell.read_until_prompt();
    const auto watch_until = [&](const char *end, const char *mtu) {
        shell.type("watch\r");
        shell.read_until("MICROSEC");
        sh(std::string("ip link set port0 mtu ") + mtu);
        shell.read_until("L3Parameters      port0");
        shell.type(end);
        shell.read_until_prompt();
    };
    watch_until("\r", "9000");
    watch_until(control_c, "1500");
    EXPECT_EQ(shell.answer_to("query mtu port0"), "query mtu port0\n1500\nvarnsh> ");
}

} // namespace
