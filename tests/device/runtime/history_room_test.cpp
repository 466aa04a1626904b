// SPDX-License-Identifier: Apache-2.0
//
// Processes that may not write what the event history and the allocator's figures need: they live
// on without, and leave no half a file.
#include "device/runtime/histlog_errors.h"
#include "device/runtime/memacct_figures.h"
#include "history_directory.h"
#include "memacct.h"

#include <sys/resource.h>

#include <csignal>

namespace
{

using histlog_room = history_directory;

size_t files_in(const std::string &directory)
{
    const std::filesystem::directory_iterator files(directory);
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

// A file of this process may have so many bytes.
void limit_files_to(rlim_t bytes)
{
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

TEST_F(histlog_room, WithoutItRecordsAreDroppedAndNoHalfAFileIsLeft)
{
    in_a_child([] {
        limit_files_to(4096);
        return write_text("lost") == histlog::no_store && write_text("too") == histlog::no_store;
    });
    EXPECT_EQ(files_in(directory), 0u);
}

TEST_F(histlog_room, WithoutItTheAllocatorCountsOnWithoutAFile)
{
    in_a_child([] {
        limit_files_to(4096);
        const char *const types[] = {"Leaf"};
        memacct_figures_t figures{};
        if (memacct_init("Tree", 900, types, 1) != 0)
            return false;
        void *block = memacct_alloc(900, 0, 100);
        const bool counted =
            memacct_figures_get(900, 0, &figures) == 0 && figures.live_bytes == 100;
        memacct_free(block);
        return counted;
    });
    EXPECT_EQ(files_in(directory), 0u);
}

TEST_F(histlog_room, IsNotInTheRuntimeDirectoryOfAUserWhoHasNone)
{
    unsetenv("VARN_HISTORY_DIR");
    setenv("XDG_RUNTIME_DIR", "", 1);
    const std::vector<std::string> places = histlog::directories();
    unsetenv("XDG_RUNTIME_DIR");
    const std::string last = "/tmp/varn-history-" + std::to_string(geteuid());
    EXPECT_EQ(places, (std::vector<std::string>{"/run/varn-history", last}));
}

// The next smaller one is asked of the system, which may end a process that is looked at closely.
TEST_F(histlog_room, RefusesAnAllocationOfMoreThanHalfTheAddresses)
{
    EXPECT_EQ(memacct_alloc(900, 0, SIZE_MAX), nullptr);
    EXPECT_EQ(memacct_alloc(900, 0, SIZE_MAX / 2 + 1), nullptr);
}
