// SPDX-License-Identifier: Apache-2.0
//
// The allocator's figures as other processes see them. A process makes its file once, so each way of
// making it needs a process.
#include "device/runtime/memacct_figures.h"
#include "device/runtime/memacct_file.h"
#include "device/runtime/memacct_read.h"
#include "history_directory.h"
#include "memacct.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

#include <cstddef>
#include <sstream>
#include <thread>
#include <vector>

namespace
{

const char *const type_names[] = {"Leaf", "Twig"};

// A child that does its work and then stays until it is told to end.
class staying_child
{
public:
    explicit staying_child(const std::function<bool()> &work)
    {
        int told[2], asked[2];
        EXPECT_EQ(pipe(told), 0);
        EXPECT_EQ(pipe(asked), 0);
        pid_ = fork();
        if (pid_ == 0) {
            close(asked[1]);
            const char outcome = work() ? 'y' : 'n';
            char end = 0;
            if (write(told[1], &outcome, 1) == 1 && read(asked[0], &end, 1) == 0)
                _exit(0);
            _exit(1);
        }
        close(told[1]);
        close(asked[0]);
        char outcome = 0;
        EXPECT_EQ(read(told[0], &outcome, 1), 1);
        EXPECT_EQ(outcome, 'y');
        close(told[0]);
        end_ = asked[1];
    }

    ~staying_child()
    {
        close(end_);
        waitpid(pid_, nullptr, 0);
    }

    pid_t pid() const { return pid_; }

private:
    pid_t pid_ = -1;
    int end_ = -1;
};

struct memacct_file : history_directory {
    // The figures of account 900 in the process's only file; other tests have others.
    std::string shown(pid_t pid) const
    {
        std::ostringstream text;
        for (const auto &file : histlog::list(directory, memacct::file_suffix)) {
            if (file.pid != static_cast<uint32_t>(pid))
                continue;
            memacct::shown_process found;
            EXPECT_EQ(memacct::read_figures(file.path, &found), memacct::figures_result::ok);
            EXPECT_EQ(found.program, program_invocation_short_name);
            EXPECT_EQ(found.pid, static_cast<uint32_t>(pid));
            EXPECT_EQ(found.started_ns, file.started_ns);
            for (const auto &type : found.types)
                if (type.id == 900)
                    text << type.id << '/' << type.type << ' ' << type.account_name << '/'
                         << type.type_name << ' ' << type.live_blocks << ' ' << type.live_bytes
                         << ' ' << type.total_allocations << ' ' << type.peak_bytes << '\n';
        }
        return text.str();
    }

    std::string file_of(pid_t pid) const
    {
        for (const auto &file : histlog::list(directory, memacct::file_suffix))
            if (file.pid == static_cast<uint32_t>(pid))
                return file.path;
        return {};
    }

    size_t files() const { return histlog::list(directory, memacct::file_suffix).size(); }
};

bool open_account() { return memacct_init("Tree", 900, type_names, 2) == 0; }

} // namespace

TEST_F(memacct_file, ShowsWhatALivingProcessHolds)
{
    const staying_child child([] {
        void *before = memacct_alloc(900, 0, 10); // counted before anybody can see it
        const bool opened = open_account();
        void *gone = memacct_alloc(900, 1, 100);
        memacct_free(gone);
        return opened && before != nullptr && memacct_alloc(900, 1, 30) != nullptr;
    });
    EXPECT_EQ(shown(child.pid()), "900/0 Tree/Leaf 1 10 1 10\n"
                                  "900/1 Tree/Twig 1 30 2 100\n");
}

TEST_F(memacct_file, AgreesWithTheFiguresInTheProcess)
{
    const staying_child child([] {
        memacct_figures_t read{};
        return open_account() && memacct_alloc(900, 1, 77) != nullptr &&
               memacct_figures_get(900, 1, &read) == 0 && read.live_bytes == 77 &&
               std::string(read.type_name) == "Twig" && std::string(read.account_name) == "Tree";
    });
    EXPECT_EQ(shown(child.pid()), "900/0 Tree/Leaf 0 0 0 0\n"
                                  "900/1 Tree/Twig 1 77 1 77\n");
}

TEST_F(memacct_file, LosesNothingOfManyThreads)
{
    const staying_child child([] {
        if (!open_account())
            return false;
        std::vector<std::thread> threads;
        for (int n = 0; n < 4; ++n)
            threads.emplace_back([] {
                for (int i = 0; i < 1000; ++i)
                    memacct_free(memacct_alloc(900, 0, 8));
            });
        for (std::thread &thread : threads)
            thread.join();
        return memacct_alloc(900, 0, 1) != nullptr;
    });
    EXPECT_EQ(shown(child.pid()).substr(0, 25), "900/0 Tree/Leaf 1 1 4001 ");
}

TEST_F(memacct_file, AForkedChildCountsForItselfFromItsFirstAllocationOn)
{
    const staying_child parent([this] {
        if (!open_account() || memacct_alloc(900, 0, 5) == nullptr)
            return false;
        const staying_child child([] { return memacct_alloc(900, 0, 7) != nullptr; });
        memacct_alloc(900, 1, 1);
        return shown(child.pid()) == "900/0 Tree/Leaf 2 12 2 12\n900/1 Tree/Twig 0 0 0 0\n" &&
               shown(getpid()) == "900/0 Tree/Leaf 1 5 1 5\n900/1 Tree/Twig 1 1 1 1\n";
    });
}

TEST_F(memacct_file, AForkedChildThatAllocatesNothingMakesNoFile)
{
    const staying_child parent([this] {
        if (!open_account())
            return false;
        void *block = memacct_alloc(900, 0, 5);
        in_a_child([block] { return memacct_free(block), true; });
        return files() == 1 && shown(getpid()).starts_with("900/0 Tree/Leaf 1 5 1 5\n");
    });
}

TEST_F(memacct_file, IsNotMissedWhereNoneCanBeMade)
{
    std::ofstream(directory + "/file") << "x";
    setenv("VARN_HISTORY_DIR", (directory + "/file").c_str(), 1);
    in_a_child([] {
        memacct_figures_t read{};
        return open_account() && memacct_alloc(900, 0, 3) != nullptr &&
               memacct_figures_get(900, 0, &read) == 0 && read.live_bytes == 3;
    });
    EXPECT_EQ(files(), 0u);
}

TEST_F(memacct_file, IsOpenToItsOwnerOnly)
{
    const staying_child child([] { return open_account(); });
    struct stat found = {};
    ASSERT_EQ(stat(file_of(child.pid()).c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0600u);
    EXPECT_EQ(static_cast<size_t>(found.st_size), memacct::file_size);
}

TEST_F(memacct_file, OfADeadProcessGoesWhenTheNextOneIsMade)
{
    const pid_t dead = in_a_child([] { return open_account(); });
    const std::string left = file_of(dead);
    EXPECT_FALSE(memacct::is_running(left, static_cast<uint32_t>(dead)));
    const staying_child child([] { return open_account(); });
    EXPECT_EQ(files(), 1u);
    EXPECT_TRUE(memacct::is_running(file_of(child.pid()), static_cast<uint32_t>(child.pid())));
}

TEST_F(memacct_file, OfAnEarlierProcessWithTheSameNumberIsNobodys)
{
    const staying_child child([] { return open_account(); });
    const std::string path = file_of(child.pid());
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(offsetof(memacct::file_header, start_ticks));
    const uint64_t earlier = memacct::start_ticks(static_cast<uint32_t>(child.pid())) - 1;
    file.write(reinterpret_cast<const char *>(&earlier), sizeof earlier);
    file.close();
    EXPECT_FALSE(memacct::is_running(path, static_cast<uint32_t>(child.pid())));
}

TEST_F(memacct_file, ThatDoesNotHoldTogetherIsNone)
{
    using memacct::figures_result;
    memacct::shown_process found;
    found.program = "untouched";
    const pid_t dead = in_a_child([] { return open_account(); });
    const std::string good = file_of(dead), bad = directory + "/bad";
    std::filesystem::copy(good, bad);
    std::filesystem::resize_file(bad, memacct::file_size - 1);
    EXPECT_EQ(memacct::read_figures(bad, &found), figures_result::not_figures);
    for (const size_t place :
         {offsetof(memacct::file_header, magic), offsetof(memacct::file_header, version),
          offsetof(memacct::file_header, cell_size), offsetof(memacct::file_header, cell_count)}) {
        std::filesystem::copy(good, bad, std::filesystem::copy_options::overwrite_existing);
        std::fstream file(bad, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(place));
        file.put('\x7f');
        file.close();
        EXPECT_EQ(memacct::read_figures(bad, &found), figures_result::not_figures) << place;
    }
    EXPECT_EQ(memacct::read_figures(directory + "/none", &found), figures_result::cannot_read);
    EXPECT_EQ(memacct::read_figures(directory, &found), figures_result::cannot_read);
    ASSERT_EQ(mkfifo((directory + "/pipe").c_str(), 0600), 0);
    EXPECT_EQ(memacct::read_figures(directory + "/pipe", &found), figures_result::cannot_read);
    EXPECT_EQ(found.program, "untouched");
}

TEST_F(memacct_file, TextsEndWhereTheirPlaceEnds)
{
    const staying_child child([] { return open_account(); });
    const std::string path = file_of(child.pid()), bad = directory + "/bad";
    std::filesystem::copy(path, bad);
    std::fstream file(bad, std::ios::in | std::ios::out | std::ios::binary);
    for (uint32_t number = 0; number <= memacct::cell_count; ++number) {
        file.seekp(static_cast<std::streamoff>(sizeof(memacct::file_header) +
                                               number * sizeof(memacct::cell) +
                                               offsetof(memacct::cell, name)));
        file << std::string(memacct::name_size, 'x');
    }
    file.close();
    memacct::shown_process found;
    ASSERT_EQ(memacct::read_figures(bad, &found), memacct::figures_result::ok);
    ASSERT_FALSE(found.types.empty());
    for (const auto &type : found.types)
        EXPECT_EQ(type.type_name, std::string(memacct::name_size, 'x'));
    EXPECT_EQ(found.types.back().account_name, std::string(memacct::name_size, 'x'));
}
