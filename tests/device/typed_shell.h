// SPDX-License-Identifier: Apache-2.0
//
// typed_shell.h: a shell at a terminal of the test's own, and somebody who types at it and reads.
#ifndef TESTS_DEVICE_TYPED_SHELL_H
#define TESTS_DEVICE_TYPED_SHELL_H

#include <string>
#include <vector>

#include <sys/types.h>
#include <termios.h>

class typed_shell
{
public:
    // With the words behind the program's name and the size of the screen.
    explicit typed_shell(const std::vector<std::string> &words = {}, unsigned short columns = 100,
                         unsigned short rows = 40);
    ~typed_shell();
    typed_shell(const typed_shell &) = delete;
    typed_shell &operator=(const typed_shell &) = delete;

    void type(const std::string &keys) const;

    // Reads until the text has come, up to ten seconds. What came before it and with it, or "" and
    // a failed test.
    std::string read_until(const std::string &text);

    // Reads until the shell waits for a line and echoes keys itself, which is a moment later than
    // the prompt comes.
    std::string read_until_prompt();

    // As read_until, but what only steers the terminal is left out before the text is looked for.
    std::string see(const std::string &text);

    // Types a line and gives all that is printed before the next prompt, the line itself included,
    // with plain line ends.
    std::string answer_to(const std::string &line);

    // Reads on to the end of the process; its exit code, 128 + the signal for one that was killed.
    int wait();

    void resize(unsigned short columns, unsigned short rows) const;
    termios settings() const;
    pid_t pid() const { return pid_; }

private:
    bool read_more(int milliseconds);

    int terminal_ = -1;
    pid_t pid_ = -1;
    std::string unread_;
};

// Without what only steers a terminal.
std::string plain(const std::string &screen);

#endif
