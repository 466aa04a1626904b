// SPDX-License-Identifier: Apache-2.0
//
// history_last_resort_tests.cpp: the directory of event histories of a user who has no other, in a
// place where anybody may have put something before. The children change to a user that nobody else
// is; needs root, and fails without.
#include <filesystem>
#include <functional>

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "histlog.h"

namespace
{

namespace fs = std::filesystem;

class HistoryLastResort : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(geteuid(), 0u) << "needs root, to become another user";
        fs::remove_all(place());
    }

    void TearDown() override { fs::remove_all(place()); }

    static uid_t user() { return 100000 + static_cast<uid_t>(getpid() % 50000); }
    static std::string place() { return "/tmp/varn-history-" + std::to_string(user()); }

    // A record of that user's, without any other directory: 0, or why it was dropped.
    static int result_of_a_record()
    {
        const uid_t other = user();
        const pid_t child = fork();
        if (child == 0) {
            unsetenv("VARN_HISTORY_DIR");
            unsetenv("XDG_RUNTIME_DIR");
            if (setgroups(0, nullptr) != 0 || setgid(other) != 0 || setuid(other) != 0)
                _exit(99);
            _exit(static_cast<int>(histlog_his_log_event_for_uuid_inst(377, 121, 1, 0, 5, "text")));
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    static std::size_t files()
    {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(place()), fs::directory_iterator()));
    }

    static void make_place(mode_t mode, uid_t owner)
    {
        ASSERT_TRUE(fs::create_directory(place()));
        ASSERT_EQ(chown(place().c_str(), owner, owner), 0);
        ASSERT_EQ(chmod(place().c_str(), mode), 0);
    }
};

constexpr int dropped = 1;

TEST_F(HistoryLastResort, IsMadeForItsUserAlone)
{
    EXPECT_EQ(result_of_a_record(), 0);
    struct stat found = {};
    ASSERT_EQ(stat(place().c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 07777, 0700u);
    EXPECT_EQ(found.st_uid, user());
    EXPECT_EQ(files(), 1u);
}

TEST_F(HistoryLastResort, IsNotUsedWhereOthersCanWriteIntoIt)
{
    make_place(0777, user());
    EXPECT_EQ(result_of_a_record(), dropped);
    EXPECT_EQ(files(), 0u);
}

TEST_F(HistoryLastResort, IsNotUsedWhereItIsSomebodyElses)
{
    make_place(0755, 65534);
    EXPECT_EQ(result_of_a_record(), dropped);
    EXPECT_EQ(files(), 0u);
}

TEST_F(HistoryLastResort, IsNotUsedWhereItOnlyPointsToAnotherPlace)
{
    const std::string elsewhere = place() + "-elsewhere";
    ASSERT_TRUE(fs::create_directory(elsewhere));
    ASSERT_EQ(chown(elsewhere.c_str(), user(), user()), 0);
    ASSERT_EQ(symlink(elsewhere.c_str(), place().c_str()), 0);
    EXPECT_EQ(result_of_a_record(), dropped);
    EXPECT_EQ(files(), 0u);
    fs::remove_all(elsewhere);
}

TEST_F(HistoryLastResort, IsNotUsedWhereItCannotBeWrittenInto)
{
    make_place(0500, user());
    EXPECT_EQ(result_of_a_record(), dropped);
    EXPECT_EQ(files(), 0u);
}

} // namespace
