// SPDX-License-Identifier: Apache-2.0
//
// typed_shell.cpp: the master side of a pseudo-terminal.
#include "typed_shell.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <regex>

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr auto patience = std::chrono::seconds(10);
constexpr char prompt[] = "varnsh> ";

[[noreturn]] void become(const std::vector<std::string> &words)
{
    std::vector<char *> given{const_cast<char *>(VARNSH)};
    for (const std::string &word : words)
        given.push_back(const_cast<char *>(word.c_str()));
    given.push_back(nullptr);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setenv("TERM", "xterm", 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    execv(VARNSH, given.data());
    _exit(127);
}

} // namespace

typed_shell::typed_shell(const std::vector<std::string> &words, unsigned short columns,
                         unsigned short rows)
{
    const winsize size = {rows, columns, 0, 0};
    pid_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (pid_ == 0)
        become(words);
}

typed_shell::~typed_shell()
{
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    close(terminal_);
}

void typed_shell::type(const std::string &keys) const
{
    EXPECT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

// The other side's end is an error on this one.
bool typed_shell::read_more(int milliseconds)
{
    pollfd watched = {terminal_, POLLIN, 0};
    char buffer[4096];
    if (poll(&watched, 1, milliseconds) <= 0)
        return true;
    const ssize_t got = read(terminal_, buffer, sizeof buffer);
    if (got > 0)
        unread_.append(buffer, static_cast<std::size_t>(got));
    return got > 0;
}

std::string typed_shell::read_until(const std::string &text)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    for (;;) {
        const std::size_t at = unread_.find(text);
        if (at != unread_.npos) {
            std::string read = unread_.substr(0, at + text.size());
            unread_.erase(0, at + text.size());
            return read;
        }
        if (!read_more(50) || std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "no \"" << text << "\" in: " << unread_;
            return {};
        }
    }
}

std::string typed_shell::read_until_prompt()
{
    std::string read = read_until(prompt);
    const auto end = std::chrono::steady_clock::now() + patience;
    while ((settings().c_lflag & (ICANON | ECHO)) != 0 && std::chrono::steady_clock::now() < end)
        read_more(1);
    return read;
}

std::string typed_shell::see(const std::string &text)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    for (;;) {
        std::string seen = plain(unread_);
        if (seen.find(text) != seen.npos) {
            unread_.clear();
            return seen;
        }
        if (!read_more(50) || std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "no \"" << text << "\" in: " << seen;
            return {};
        }
    }
}

std::string typed_shell::answer_to(const std::string &line)
{
    type(line + "\r");
    return plain(read_until_prompt());
}

int typed_shell::wait()
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (read_more(50))
        if (std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "the shell goes on";
            return -1;
        }
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

void typed_shell::resize(unsigned short columns, unsigned short rows) const
{
    const winsize size = {rows, columns, 0, 0};
    EXPECT_EQ(ioctl(terminal_, TIOCSWINSZ, &size), 0);
}

termios typed_shell::settings() const
{
    termios now{};
    EXPECT_EQ(tcgetattr(terminal_, &now), 0);
    return now;
}

std::string plain(const std::string &screen)
{
    static const std::regex steering("\x1b\\[[0-9;?]*[A-Za-z]|\r|\a");
    return std::regex_replace(screen, steering, "");
}
