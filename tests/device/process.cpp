// SPDX-License-Identifier: Apache-2.0
//
// process.cpp: fork, exec, and files for what goes in and comes out.
#include "process.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

[[noreturn]] void become(const std::vector<std::string> &command)
{
    std::vector<char *> words;
    for (const std::string &word : command)
        words.push_back(const_cast<char *>(word.c_str()));
    words.push_back(nullptr);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execvp(words[0], words.data());
    _exit(127);
}

int code_of(int status)
{
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string contents(std::FILE *file)
{
    std::string text;
    std::rewind(file);
    for (int c = 0; (c = std::fgetc(file)) != EOF;)
        text.push_back(static_cast<char>(c));
    std::fclose(file);
    return text;
}

} // namespace

finished run(const std::vector<std::string> &command, const std::string &input)
{
    std::FILE *in = std::tmpfile(), *out = std::tmpfile(), *err = std::tmpfile();
    std::fputs(input.c_str(), in);
    std::rewind(in);
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(in), STDIN_FILENO);
        dup2(fileno(out), STDOUT_FILENO);
        dup2(fileno(err), STDERR_FILENO);
        become(command);
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::fclose(in);
    return {code_of(status), contents(out), contents(err)};
}

std::string sh(const std::string &command)
{
    const finished done = run({"sh", "-c", command});
    EXPECT_EQ(done.exit_code, 0) << command << "\n" << done.err;
    return done.out;
}

running_process::running_process(const std::vector<std::string> &command) : pid_(fork())
{
    if (pid_ == 0)
        become(command);
}

running_process::~running_process()
{
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

void running_process::send(int signal) const { kill(pid_, signal); }

int running_process::wait()
{
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return code_of(status);
}

bool running_process::alive() const
{
    siginfo_t info{};
    return pid_ > 0 &&
           waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0;
}
