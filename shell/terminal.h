// SPDX-License-Identifier: Apache-2.0
//
// terminal.h: what the shell knows of the terminal in front of it, and the two states that have to
// be taken back whatever happens: held signals and the full screen.
#ifndef VARNSH_TERMINAL_H
#define VARNSH_TERMINAL_H

#include <string>
#include <string_view>

#include <csignal>
#include <termios.h>

namespace shell
{

bool input_is_terminal();
bool output_is_terminal();

// Whether the output may carry colours: a terminal, and NO_COLOR not set.
bool colourful();

// Whether the output can show more than ASCII.
bool knows_utf8();

struct extent {
    std::size_t columns, rows;
};

// Of the output; what is no terminal has no end.
extent screen_size();

// The text in a colour, where colours are welcome. `code` as the terminal has it: 31 red, 32 green.
std::string coloured(std::string_view text, int code);

// The first `columns` places of a line. Colours have no width and are ended where the line is cut.
std::string cut(std::string_view line, std::size_t columns);

// While it lives, Ctrl-C, the signals that end the process and a new screen size become readable on
// a descriptor instead of taking effect. Those that end the process take effect when it goes.
class held_signals
{
public:
    held_signals();
    ~held_signals();
    held_signals(const held_signals &) = delete;
    held_signals &operator=(const held_signals &) = delete;

    int descriptor() const { return descriptor_; }

    // The Ctrl-C or the new size that came, taken away; another signal, left where it is; or 0.
    int arrived();

private:
    sigset_t before_;
    int descriptor_;
};

// While it lives the terminal shows one screen of our own and gives each key at once.
class full_screen
{
public:
    full_screen();
    ~full_screen();
    full_screen(const full_screen &) = delete;
    full_screen &operator=(const full_screen &) = delete;

    // The lines, as many as there is room for; the rest of the screen is empty.
    void show(const std::string *first, std::size_t count) const;

private:
    bool with_keys_;
    termios before_{};
};

} // namespace shell

#endif
