// SPDX-License-Identifier: Apache-2.0
//
// Event histories of whole processes: written, left behind, read back, and bounded in number.
#include "history_directory.h"

#include "device/runtime/histlog_errors.h"

#include <signal.h>
#include <sys/stat.h>
#include <time.h>

#include <cerrno>
#include <set>
#include <thread>
#include <vector>

namespace
{

constexpr unsigned ring_records = 2048;
constexpr size_t longest = 216;

using histlog_store = history_directory;
using histlog_place = history_directory;
using histlog_bound = history_directory;

bool log_many(unsigned from, unsigned count)
{
    for (unsigned i = from; i < from + count; ++i) {
        if (histlog_his_log_event_for_uuid_inst(i, 0, 1, 0, sizeof i, &i) != 0)
            return false;
    }
    return true;
}

} // namespace

TEST_F(histlog_store, ARecordIsReadBackWholeAfterItsProcessEnded)
{
    const auto before = static_cast<uint64_t>(time(nullptr)) * 1000000000u;
    const pid_t writer = in_a_child(
        [] { return histlog_his_log_event_for_uuid_inst(377, 122, 2, 5, 6, "hello") == 0; });
    const histlog::history found = history_at(path_of(writer));
    EXPECT_EQ(found.program, program_invocation_short_name);
    EXPECT_EQ(found.pid, static_cast<uint32_t>(writer));
    EXPECT_EQ(found.damaged, 0u);
    ASSERT_EQ(found.records.size(), 1u);
    const histlog::record &record = found.records[0];
    EXPECT_EQ(record.sequence, 1u);
    EXPECT_EQ(record.uuid, 377u);
    EXPECT_EQ(record.event_id, 122u);
    EXPECT_EQ(record.level, 2u);
    EXPECT_EQ(record.inst, 5u);
    EXPECT_EQ(text_of(record), std::string("hello\0", 6));
    EXPECT_GE(record.time_ns, before);
    EXPECT_LE(record.time_ns, before + 60u * 1000000000u);
    EXPECT_GE(record.time_ns, found.started_ns);
}

TEST_F(histlog_store, AProcessThatIsKilledLeavesItsRecords)
{
    const pid_t writer = fork();
    if (writer == 0) {
        write_text("last words");
        raise(SIGKILL);
    }
    int status = 0;
    waitpid(writer, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    const histlog::history found = history_at(path_of(writer));
    ASSERT_EQ(found.records.size(), 1u);
    EXPECT_EQ(text_of(found.records[0]), "last words");
}

TEST_F(histlog_store, TheRingKeepsTheNewestRecordsOldestFirst)
{
    const histlog::history found = history_at(written_history(ring_records + 100));
    ASSERT_EQ(found.records.size(), ring_records);
    for (unsigned i = 0; i < ring_records; ++i) {
        ASSERT_EQ(found.records[i].sequence, i + 101);
        ASSERT_EQ(text_of(found.records[i]), "record " + std::to_string(i + 101));
    }
    EXPECT_EQ(found.damaged, 0u);
}

TEST_F(histlog_store, AFullRingStaysTheSizeItHad)
{
    const auto size = std::filesystem::file_size(written_history(1));
    EXPECT_EQ(std::filesystem::file_size(written_history(3 * ring_records)), size);
    EXPECT_EQ(size, 524544u);
}

TEST_F(histlog_store, AForkedChildWritesAFileOfItsOwn)
{
    pid_t grandchild = 0;
    int pipe_ends[2];
    ASSERT_EQ(pipe(pipe_ends), 0);
    const pid_t child = in_a_child([&] {
        const bool before = write_text("parent before") == 0;
        const pid_t forked = in_a_child([] { return write_text("child") == 0; });
        const bool told = write(pipe_ends[1], &forked, sizeof forked) == sizeof forked;
        return before && told && write_text("parent after") == 0;
    });
    ASSERT_EQ(read(pipe_ends[0], &grandchild, sizeof grandchild), ssize_t{sizeof grandchild});
    const histlog::history parents = history_at(path_of(child));
    const histlog::history childs = history_at(path_of(grandchild));
    ASSERT_EQ(parents.records.size(), 2u);
    EXPECT_EQ(text_of(parents.records[0]), "parent before");
    EXPECT_EQ(text_of(parents.records[1]), "parent after");
    ASSERT_EQ(childs.records.size(), 1u);
    EXPECT_EQ(text_of(childs.records[0]), "child");
    EXPECT_EQ(childs.records[0].sequence, 1u);
    close(pipe_ends[0]);
    close(pipe_ends[1]);
}

TEST_F(histlog_store, ThreadsLoseNoRecord)
{
    const pid_t writer = in_a_child([] {
        bool went_well[4] = {};
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < 4; ++i)
            threads.emplace_back([&went_well, i] { went_well[i] = log_many(i * 500, 500); });
        for (std::thread &thread : threads)
            thread.join();
        return went_well[0] && went_well[1] && went_well[2] && went_well[3];
    });
    const histlog::history found = history_at(path_of(writer));
    std::set<uint32_t> written;
    for (const histlog::record &record : found.records)
        written.insert(record.uuid);
    EXPECT_EQ(written.size(), 2000u);
    EXPECT_EQ(found.records.size(), 2000u);
    EXPECT_EQ(found.damaged, 0u);
}

TEST_F(histlog_store, ARecordOfAnyLengthUpToTheLimitIsKeptWhole)
{
    const pid_t writer = in_a_child([] {
        bool written = histlog_his_log_event_for_uuid_inst(1, 2, 1, 0, 0, nullptr) == 0;
        for (size_t length = 1; length <= longest; ++length)
            written = written && write_text(std::string(length, 'x')) == 0;
        return written;
    });
    const histlog::history found = history_at(path_of(writer));
    ASSERT_EQ(found.records.size(), longest + 1);
    for (size_t length = 0; length <= longest; ++length)
        EXPECT_EQ(text_of(found.records[length]), std::string(length, 'x'));
}

TEST_F(histlog_store, ATooLongOrMissingRecordIsRefusedWithItsReason)
{
    in_a_child([] {
        errno = 4711;
        const std::string text(longest + 1, 'x');
        return write_text(text) == histlog::too_long &&
               histlog_his_log_event_for_uuid_inst(1, 2, 1, 0, UINT32_MAX, text.data()) ==
                   histlog::too_long &&
               histlog_his_log_event_for_uuid_inst(1, 2, 1, 0, 4, nullptr) ==
                   histlog::bad_argument &&
               errno == 4711;
    });
}

TEST_F(histlog_place, WithoutAUsableDirectoryRecordsAreDroppedAndErrnoStays)
{
    setenv("VARN_HISTORY_DIR", "/proc/no/such/directory", 1);
    in_a_child([] {
        errno = 4711;
        const bool refused = write_text("lost") == histlog::no_store;
        return refused && write_text("lost too") == histlog::no_store && errno == 4711;
    });
}

TEST_F(histlog_place, AFileInTheDirectorysPlaceIsNoDirectory)
{
    const std::string file = directory + "/file";
    std::ofstream(file) << "text";
    setenv("VARN_HISTORY_DIR", file.c_str(), 1);
    in_a_child([] { return write_text("lost") == histlog::no_store; });
}

TEST_F(histlog_place, AMissingDirectoryIsMadeForThisUserAlone)
{
    directory += "/inner";
    setenv("VARN_HISTORY_DIR", directory.c_str(), 1);
    const std::string path = written_history(1);
    struct stat status {
    };
    ASSERT_EQ(stat(directory.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700u);
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
    directory.resize(directory.size() - strlen("/inner"));
}

TEST_F(histlog_place, TheRuntimeDirectoryOfTheUserComesNext)
{
    unsetenv("VARN_HISTORY_DIR");
    setenv("XDG_RUNTIME_DIR", directory.c_str(), 1);
    const pid_t writer = in_a_child([] { return write_text("here") == 0; });
    const std::vector<std::string> places = histlog::directories();
    unsetenv("XDG_RUNTIME_DIR");
    ASSERT_EQ(places.size(), 3u);
    EXPECT_EQ(places[0], directory + "/varn-history");
    EXPECT_EQ(places[1], "/run/varn-history");
    EXPECT_EQ(places[2], "/tmp/varn-history-" + std::to_string(geteuid()));
    const auto files = histlog::list(places[0]);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].pid, static_cast<uint32_t>(writer));
}

TEST_F(histlog_bound, TheOldestFilesOfDeadProcessesMakeRoom)
{
    const std::string dead = std::to_string(in_a_child([] { return true; }));
    const std::string living = std::to_string(getpid());
    const auto name = [&](const std::string &pid, unsigned started) {
        char digits[17];
        snprintf(digits, sizeof digits, "%016x", started);
        return directory + "/old." + pid + "." + digits + ".hist";
    };
    for (unsigned i = 0; i < 70; ++i)
        std::ofstream(name(i < 3 ? living : dead, 100 + i)) << "old";
    std::ofstream(directory + "/unrelated.txt") << "stays";
    const std::string path = written_history(1);
    EXPECT_EQ(histlog::list(directory).size(), 64u);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_TRUE(std::filesystem::exists(directory + "/unrelated.txt"));
    for (unsigned i = 0; i < 70; ++i) {
        const bool kept = i < 3 || i >= 10; // the living, and the newest sixty of the dead
        EXPECT_EQ(std::filesystem::exists(name(i < 3 ? living : dead, 100 + i)), kept) << i;
    }
}

TEST_F(histlog_bound, FilesAreListedByTheirNamesAlone)
{
    for (const char *name : {"a.1.0000000000000002.hist", "b.c.2.0000000000000001.hist", "x.hist",
                             ".1.01.hist", "a.b.01.hist", "a.1.0z.hist", "a.1.01.txt",
                             "a.99999999999.01.hist", "a..01.hist", "a.1..hist"})
        std::ofstream(directory + "/" + name) << "";
    const auto files = histlog::list(directory);
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[0].program, "b.c");
    EXPECT_EQ(files[0].pid, 2u);
    EXPECT_EQ(files[0].started_ns, 1u);
    EXPECT_EQ(files[1].program, "a");
    EXPECT_TRUE(histlog::list(directory + "/none").empty());
}
