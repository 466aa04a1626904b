// SPDX-License-Identifier: Apache-2.0
//
// A directory of its own for each test of the event history, and children that write into it: a
// process opens its history once, so each way of opening it needs a process.
#ifndef TESTS_DEVICE_RUNTIME_HISTORY_DIRECTORY_H
#define TESTS_DEVICE_RUNTIME_HISTORY_DIRECTORY_H

#include "device/runtime/histlog_read.h"
#include "histlog.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

struct history_directory : testing::Test {
    std::string directory;

    void SetUp() override
    {
        const auto pattern = std::filesystem::temp_directory_path() / "varn-history-test-XXXXXX";
        directory = pattern.string();
        ASSERT_NE(mkdtemp(directory.data()), nullptr);
        setenv("VARN_HISTORY_DIR", directory.c_str(), 1);
    }

    void TearDown() override
    {
        unsetenv("VARN_HISTORY_DIR");
        std::filesystem::remove_all(directory);
    }

    static uint32_t write_text(const std::string &text)
    {
        return histlog_his_log_event_for_uuid_inst(377, 121, 1, 0,
                                                   static_cast<uint32_t>(text.size()), text.data());
    }

    // Runs the work in a child process and gives its pid. The work gives true when all went well.
    static pid_t in_a_child(const std::function<bool()> &work)
    {
        const pid_t child = fork();
        if (child == 0)
            _exit(work() ? 0 : 1);
        int status = 1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        return child;
    }

    // Gives the path of a file with the history of a process that wrote count records and is gone.
    std::string written_history(unsigned count)
    {
        const pid_t writer = in_a_child([count] {
            for (unsigned i = 1; i <= count; ++i) {
                if (write_text("record " + std::to_string(i)) != 0)
                    return false;
            }
            return true;
        });
        return path_of(writer);
    }

    std::string path_of(pid_t pid)
    {
        for (const histlog::history_file &file : histlog::list(directory)) {
            if (file.pid == static_cast<uint32_t>(pid))
                return file.path;
        }
        return {};
    }

    static histlog::history history_at(const std::string &path)
    {
        histlog::history found;
        EXPECT_EQ(histlog::read(path, &found), histlog::read_result::ok) << path;
        return found;
    }

    static std::string text_of(const histlog::record &record)
    {
        return {record.bytes.begin(), record.bytes.end()};
    }
};

#endif
