// SPDX-License-Identifier: Apache-2.0
//
// process.h: other programs, run to their end or kept running while a test goes on.
#ifndef TESTS_DEVICE_PROCESS_H
#define TESTS_DEVICE_PROCESS_H

#include <string>
#include <vector>

#include <sys/types.h>

struct finished {
    int exit_code; // 128 + the signal for one that was killed
    std::string out;
    std::string err;
};

// Runs a program with its words to its end.
finished run(const std::vector<std::string> &command, const std::string &input = "");

// The same through the system's shell; fails the test when the command does.
std::string sh(const std::string &command);

class running_process
{
public:
    explicit running_process(const std::vector<std::string> &command);
    ~running_process();
    running_process(const running_process &) = delete;
    running_process &operator=(const running_process &) = delete;

    void send(int signal) const;
    int wait(); // its exit code
    bool alive() const;
    pid_t pid() const { return pid_; }

private:
    pid_t pid_;
};

#endif
