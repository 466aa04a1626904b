// SPDX-License-Identifier: Apache-2.0
//
// Reading a history file. It is copied with read(2), not mapped, so that a file that is cut short
// meanwhile cannot hurt the reader; sizes and counts come from here, and those in the file must
// agree with them.
#include "histlog_read.h"

#include "histlog_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

namespace histlog
{

namespace
{

// Gives as many bytes of the file as there are, up to the size of a whole one. Only a regular file
// is read: opening another kind must not hang.
std::optional<std::vector<unsigned char>> contents(const std::string &path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return std::nullopt;
    struct stat status {
    };
    std::vector<unsigned char> bytes(file_size);
    size_t have = 0;
    ssize_t got = fstat(file, &status) == 0 && S_ISREG(status.st_mode) ? 1 : -1;
    while (got > 0 && have < bytes.size()) {
        got = ::read(file, bytes.data() + have, bytes.size() - have);
        have += got > 0 ? static_cast<size_t>(got) : 0;
    }
    close(file);
    if (got < 0)
        return std::nullopt;
    bytes.resize(have);
    return bytes;
}

bool holds_together(const file_header &header)
{
    return header.magic == file_magic && header.version == file_version &&
           header.slot_size == slot_size && header.slot_count == slot_count &&
           memchr(header.program, 0, sizeof header.program) != nullptr;
}

bool holds_together(const file_slot &slot, size_t number)
{
    return (slot.sequence - 1) % slot_count == number && slot.length <= record_max &&
           slot.checksum == checksum_of(slot);
}

record record_of(const file_slot &slot)
{
    return {slot.sequence,
            slot.time_ns,
            slot.uuid,
            slot.event_id,
            slot.level,
            slot.inst,
            std::vector<unsigned char>(slot.bytes, slot.bytes + slot.length)};
}

void read_slot(const unsigned char *bytes, size_t number, history *out)
{
    file_slot slot;
    memcpy(&slot, bytes, sizeof slot);
    if (slot.sequence == 0)
        return; // never used, or being written just now
    if (holds_together(slot, number))
        out->records.push_back(record_of(slot));
    else
        ++out->damaged;
}

} // namespace

read_result read(const std::string &path, history *out)
{
    const auto bytes = contents(path);
    if (!bytes)
        return read_result::cannot_read;
    file_header header{};
    if (bytes->size() < sizeof header)
        return read_result::not_a_history;
    memcpy(&header, bytes->data(), sizeof header);
    if (!holds_together(header))
        return read_result::not_a_history;
    history found;
    found.program = header.program;
    found.pid = header.pid;
    found.started_ns = header.started_ns;
    const size_t whole_slots = bytes->size() / slot_size - 1;
    for (size_t number = 0; number < whole_slots; ++number)
        read_slot(bytes->data() + (number + 1) * slot_size, number, &found);
    std::sort(found.records.begin(), found.records.end(),
              [](const record &a, const record &b) { return a.sequence < b.sequence; });
    *out = std::move(found);
    return read_result::ok;
}

} // namespace histlog
