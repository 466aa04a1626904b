// SPDX-License-Identifier: Apache-2.0
//
// terminal.cpp: the few control sequences that every terminal of today knows.
#include "terminal.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace shell
{
namespace
{

constexpr char enter_screen[] = "\x1b[?1049h\x1b[?25l";
constexpr char leave_screen[] = "\x1b[?25h\x1b[?1049l";
constexpr char colour_end[] = "\x1b[0m";
constexpr std::size_t no_end = 100000;

bool starts_character(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

sigset_t signals_to_hold()
{
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGWINCH})
        sigaddset(&held, signal);
    return held;
}

} // namespace

bool input_is_terminal() { return isatty(STDIN_FILENO) != 0; }
bool output_is_terminal() { return isatty(STDOUT_FILENO) != 0; }

bool colourful()
{
    const char *refused = std::getenv("NO_COLOR");
    return output_is_terminal() && (refused == nullptr || *refused == '\0');
}

bool knows_utf8() { return std::string_view(nl_langinfo(CODESET)) == "UTF-8"; }

extent screen_size()
{
    winsize size{};
    if (!output_is_terminal() || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return {no_end, no_end};
    return {size.ws_col, size.ws_row};
}

std::string coloured(std::string_view text, int code)
{
    if (!colourful())
        return std::string(text);
    return fmt::format("\x1b[{}m{}{}", code, text, colour_end);
}

std::string cut(std::string_view line, std::size_t columns)
{
    std::string kept;
    std::size_t used = 0;
    bool in_colour = false;
    for (std::size_t at = 0; at < line.size();) {
        if (line[at] == '\x1b') {
            const std::size_t end = std::min(line.find('m', at), line.size() - 1) + 1;
            const std::string_view code = line.substr(at, end - at);
            in_colour = code != colour_end;
            kept.append(code);
            at = end;
            continue;
        }
        if (starts_character(line[at]) && ++used > columns)
            break;
        kept.push_back(line[at++]);
    }
    return in_colour ? kept.append(colour_end) : kept;
}

held_signals::held_signals() : before_(), descriptor_(-1)
{
    const sigset_t held = signals_to_hold();
    sigprocmask(SIG_BLOCK, &held, &before_);
    descriptor_ = signalfd(-1, &held, SFD_CLOEXEC | SFD_NONBLOCK);
}

held_signals::~held_signals()
{
    close(descriptor_);
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

int held_signals::arrived()
{
    sigset_t pending;
    sigpending(&pending);
    for (const int signal : {SIGTERM, SIGHUP, SIGQUIT})
        if (sigismember(&pending, signal) == 1)
            return signal;
    signalfd_siginfo info{};
    if (read(descriptor_, &info, sizeof info) != sizeof info)
        return 0;
    return static_cast<int>(info.ssi_signo);
}

full_screen::full_screen() : with_keys_(input_is_terminal())
{
    if (with_keys_ && tcgetattr(STDIN_FILENO, &before_) == 0) {
        termios keys = before_;
        keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        keys.c_cc[VMIN] = 1;
        keys.c_cc[VTIME] = 0;
        keys.c_cc[VSUSP] = _POSIX_VDISABLE; // a stopped process could not take its screen back
        tcsetattr(STDIN_FILENO, TCSANOW, &keys);
    }
    std::fputs(enter_screen, stdout);
}

full_screen::~full_screen()
{
    std::fputs(leave_screen, stdout);
    std::fflush(stdout);
    if (with_keys_)
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
}

// Written in one piece and over what stands there, so that nothing flickers.
void full_screen::show(const std::string *first, std::size_t count) const
{
    const extent room = screen_size();
    std::string frame = "\x1b[H";
    for (std::size_t row = 0; row < std::min(count, room.rows); ++row) {
        frame.append(row == 0 ? "" : "\r\n");
        frame.append(cut(first[row], room.columns)).append("\x1b[K");
    }
    frame.append("\x1b[J");
    std::fwrite(frame.data(), 1, frame.size(), stdout);
    std::fflush(stdout);
}

} // namespace shell
