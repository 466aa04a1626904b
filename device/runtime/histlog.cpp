// SPDX-License-Identifier: Apache-2.0
//
// Writing the event history. Each process has a file of its own, mapped into memory at the first
// record; from then on a record is a copy into the mapping, and the system keeps the file when the
// process ends, however it ends. The file's blocks are allocated when it is made: a full disk shows
// then, and not as a signal in the middle of a write.
//
// A forked child gets its own file at its own first record. Threads write at once: each record has
// its own sequence number and with it its own slot. A process that could not make its file does not
// try again; its records are dropped, and the result says so.
#include "histlog.h"

#include "fork_generation.h"
#include "histlog_directory.h"
#include "histlog_errors.h"
#include "histlog_file.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

using histlog::file_header;
using histlog::file_slot;

namespace
{

enum phase : uint32_t { closed, opening, is_open, failed };

// The phase of the store together with the fork generation that it is true for.
constexpr uint32_t state_word(uint32_t generation, phase p) { return generation << 2 | p; }

constinit std::atomic<uint32_t> state{state_word(0, closed)};
constinit std::atomic<uint64_t> records_begun{0};
constinit void *mapping = nullptr; // written by the thread that set the phase to opening

file_header make_header()
{
    file_header header{};
    header.magic = histlog::file_magic;
    header.version = histlog::file_version;
    header.slot_size = histlog::slot_size;
    header.slot_count = histlog::slot_count;
    header.started_ns = histlog::now_ns();
    header.pid = static_cast<uint32_t>(getpid());
    histlog::program_name(sizeof header.program).copy(header.program, sizeof header.program - 1);
    return header;
}

void *map_file(int file)
{
    if (posix_fallocate(file, 0, histlog::file_size) != 0)
        return nullptr;
    void *area = mmap(nullptr, histlog::file_size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    return area == MAP_FAILED ? nullptr : area;
}

void *make_store()
{
    const std::string directory = histlog::writing_directory();
    if (directory.empty())
        return nullptr;
    histlog::make_room(directory);
    const file_header header = make_header();
    const std::string path =
        directory + "/" + histlog::file_name(header.program, header.pid, header.started_ns);
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0)
        return nullptr;
    void *area = map_file(file);
    close(file);
    if (area == nullptr)
        unlink(path.c_str());
    else
        memcpy(area, &header, sizeof header);
    return area;
}

// Runs in one thread of the process. What is mapped before is the parent's.
void open_store(uint32_t generation)
{
    if (mapping != nullptr)
        munmap(mapping, histlog::file_size);
    try {
        mapping = make_store();
    } catch (...) { // no memory for the names
        mapping = nullptr;
    }
    records_begun.store(0, std::memory_order_relaxed);
    state.store(state_word(generation, mapping != nullptr ? is_open : failed),
                std::memory_order_release);
}

bool store_is_open()
{
    const uint32_t generation = device_runtime::fork_generation();
    if (generation == 0)
        return false;
    for (;;) {
        uint32_t seen = state.load(std::memory_order_acquire);
        if (seen == state_word(generation, is_open))
            return true;
        if (seen == state_word(generation, failed))
            return false;
        if (seen == state_word(generation, opening))
            sched_yield();
        else if (state.compare_exchange_strong(seen, state_word(generation, opening)))
            open_store(generation);
    }
}

void set_sequence(file_slot &slot, uint64_t sequence)
{
    std::atomic_ref<uint64_t>(slot.sequence).store(sequence, std::memory_order_release);
}

// Whoever reads meanwhile sees sequence 0, or bytes that the checksum does not fit.
void publish(file_slot record)
{
    const uint64_t number = records_begun.fetch_add(1, std::memory_order_relaxed);
    record.sequence = number + 1;
    record.checksum = histlog::checksum_of(record);
    file_slot &slot = static_cast<file_slot *>(mapping)[1 + number % histlog::slot_count];
    set_sequence(slot, 0);
    std::atomic_thread_fence(std::memory_order_release);
    constexpr size_t behind_sequence = sizeof slot.sequence;
    memcpy(reinterpret_cast<char *>(&slot) + behind_sequence,
           reinterpret_cast<const char *>(&record) + behind_sequence,
           sizeof slot - behind_sequence);
    set_sequence(slot, record.sequence);
}

uint32_t write_record(file_slot &record, const void *bytes)
{
    if (record.length > histlog::record_max)
        return histlog::too_long;
    if (bytes == nullptr && record.length != 0)
        return histlog::bad_argument;
    if (!store_is_open())
        return histlog::no_store;
    record.time_ns = histlog::now_ns();
    if (record.length != 0)
        memcpy(record.bytes, bytes, record.length);
    publish(record);
    return histlog::ok;
}

} // namespace

uint32_t histlog_his_log_event_for_uuid_inst(uint32_t uuid, uint32_t event_id, uint32_t level,
                                             uint32_t inst, uint32_t length, const void *record)
{
    const int kept_errno = errno;
    file_slot slot{};
    slot.uuid = uuid;
    slot.event_id = event_id;
    slot.level = level;
    slot.inst = inst;
    slot.length = length;
    const uint32_t result = write_record(slot, record);
    errno = kept_errno;
    return result;
}
