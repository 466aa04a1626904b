// SPDX-License-Identifier: Apache-2.0
//
// The form of a history file: a header of one slot's size, then a ring of slots of one size, each
// with one record. Record n (counted from 1) lies in slot (n - 1) mod slot_count. A slot's sequence
// is 0 while its bytes change; a checksum over everything that counts tells a torn slot, whether
// the writer was killed in the middle or is still at it. All numbers are fixed-width in the order
// of the machine, the same for 32-bit and 64-bit processes.
#ifndef DEVICE_RUNTIME_HISTLOG_FILE_H
#define DEVICE_RUNTIME_HISTLOG_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace histlog
{

constexpr uint32_t file_magic = 0x54534948; // a machine of the other byte order finds no magic
constexpr uint32_t file_version = 1;
constexpr uint32_t slot_count = 2048;
constexpr uint32_t slot_size = 256;
constexpr size_t file_size = size_t{slot_size} * (slot_count + 1);
constexpr uint32_t record_max = 216; // bytes of the longest record that is taken

struct file_header {
    uint32_t magic;
    uint32_t version;
    uint32_t slot_size;
    uint32_t slot_count;
    alignas(8) uint64_t started_ns; // real time at which the file was made
    uint32_t pid;
    char program[64]; // zero-terminated
    unsigned char unused[164];
};

struct file_slot {
    alignas(8) uint64_t sequence; // 0: no complete record
    uint64_t time_ns;             // real time
    uint32_t uuid;
    uint32_t event_id;
    uint32_t level;
    uint32_t inst;
    uint32_t length; // bytes that count, at most record_max
    uint32_t checksum;
    unsigned char bytes[record_max]; // zeros behind length up to a multiple of 4
};

static_assert(sizeof(file_header) == slot_size && sizeof(file_slot) == slot_size);
static_assert(offsetof(file_slot, bytes) == 40 && offsetof(file_header, program) == 28);
static_assert(record_max % 4 == 0);

// The length must have been checked. Each step is a bijection, so one changed word always shows. The
// shift brings high bits down: a product alone would leave them where two flips undo each other.
inline uint32_t checksum_of(const file_slot &slot)
{
    uint32_t words[slot_size / 4];
    memcpy(words, &slot, sizeof words);
    words[offsetof(file_slot, checksum) / 4] = 0;
    const size_t count = (offsetof(file_slot, bytes) + slot.length + 3) / 4;
    uint32_t sum = 2166136261u;
    for (size_t i = 0; i < count; ++i) {
        sum = (sum ^ words[i]) * 16777619u;
        sum ^= sum >> 15;
    }
    return sum;
}

} // namespace histlog

#endif
