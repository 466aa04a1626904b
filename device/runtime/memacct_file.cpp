// SPDX-License-Identifier: Apache-2.0
//
// Making the file of the figures. Files of dead processes are of no use to anybody, and each new
// file takes the place of all of them. A process that could not make its file does not try again.
#include "memacct_file.h"

#include "fork_generation.h"
#include "histlog_directory.h"
#include "memacct_read.h"

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace memacct
{

namespace
{

enum phase : uint32_t { closed, opening, settled };

// The phase together with the fork generation that it is true for.
constexpr uint32_t state_word(uint32_t generation, phase p) { return generation << 2 | p; }

constinit std::atomic<uint32_t> state{state_word(0, closed)};
constinit void *mapping =
    nullptr; // of this process, or of the parent until the child makes its own
pthread_once_t watched = PTHREAD_ONCE_INIT;
constinit bool forks_are_watched = false;

// The child must not count in its parent's file. What the parent counts between fork and here is
// not the child's, hence the copy before.
void watch_forks()
{
    forks_are_watched = pthread_atfork(save_cells, nullptr, take_saved_cells) == 0;
}

void remove_dead(const std::string &directory)
{
    for (const histlog::history_file &file : histlog::list(directory, file_suffix))
        if (!is_running(file.path, file.pid))
            unlink(file.path.c_str());
}

void fill_in(file_header &header, const std::string &program, uint64_t started_ns)
{
    header.magic = file_magic;
    header.version = file_version;
    header.cell_size = sizeof(cell);
    header.cell_count = cell_count;
    header.started_ns = started_ns;
    header.pid = static_cast<uint32_t>(getpid());
    header.start_ticks = start_ticks(header.pid);
    program.copy(header.program, sizeof header.program - 1);
}

// The blocks are allocated at once: a full disk shows here, and not as a signal later.
void *map_file(const char *path)
{
    const int file = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0)
        return nullptr;
    void *area = MAP_FAILED;
    if (posix_fallocate(file, 0, file_size) == 0)
        area = mmap(nullptr, file_size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (area != MAP_FAILED)
        return area;
    unlink(path);
    return nullptr;
}

void *make_file()
{
    const std::string directory = histlog::writing_directory();
    if (directory.empty())
        return nullptr;
    remove_dead(directory);
    const std::string program = histlog::program_name(sizeof file_header::program);
    const uint64_t started_ns = histlog::now_ns();
    const std::string name =
        histlog::file_name(program, static_cast<uint32_t>(getpid()), started_ns, file_suffix);
    void *area = map_file((directory + "/" + name).c_str());
    if (area != nullptr)
        fill_in(*static_cast<file_header *>(area), program, started_ns);
    return area;
}

// Runs in one thread of the process. What is mapped before is the parent's, and no longer used.
void open_file(uint32_t generation)
{
    if (mapping != nullptr)
        munmap(mapping, file_size);
    try {
        mapping = make_file();
    } catch (...) { // no memory for the names
        mapping = nullptr;
    }
    if (mapping != nullptr)
        move_cells(static_cast<char *>(mapping) + sizeof(file_header));
    state.store(state_word(generation, settled), std::memory_order_release);
}

} // namespace

void show_cells()
{
    pthread_once(&watched, watch_forks);
    const uint32_t generation = device_runtime::fork_generation();
    if (generation == 0 || !forks_are_watched)
        return;
    const int kept_errno = errno;
    for (;;) {
        uint32_t seen = state.load(std::memory_order_acquire);
        if (seen == state_word(generation, settled))
            break;
        if (seen == state_word(generation, opening))
            sched_yield();
        else if (state.compare_exchange_strong(seen, state_word(generation, opening)))
            open_file(generation);
    }
    errno = kept_errno;
}

void show_cells_of_child()
{
    const uint32_t seen = state.load(std::memory_order_relaxed);
    if (seen != state_word(0, closed) &&
        seen != state_word(device_runtime::fork_generation(), settled))
        show_cells();
}

} // namespace memacct
