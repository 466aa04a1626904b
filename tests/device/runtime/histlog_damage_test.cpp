// SPDX-License-Identifier: Apache-2.0
//
// Reading history files that are torn, cut, overwritten or no history files at all. What is sound
// is read, what is not is counted, and nothing is believed.
#include "history_directory.h"

#include <signal.h>
#include <sys/stat.h>

#include <iostream>
#include <iterator>
#include <random>
#include <vector>

namespace
{

constexpr size_t slot_size = 256;
constexpr size_t length_offset = 32; // of a slot
constexpr size_t bytes_offset = 40;

using bytes_t = std::vector<char>;

struct histlog_read : history_directory {
    bytes_t bytes;
    std::string path;

    void SetUp() override
    {
        history_directory::SetUp();
        path = written_history(20);
        std::ifstream file(path, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(file), {});
        ASSERT_EQ(bytes.size(), 524544u);
    }

    // The slot of record n, counted from 1, lies behind the header's slot.
    static size_t slot(size_t n) { return n * slot_size; }

    histlog::read_result read_with(const bytes_t &contents, histlog::history *out)
    {
        std::ofstream(path, std::ios::binary | std::ios::trunc)
            .write(contents.data(), static_cast<std::streamsize>(contents.size()));
        return histlog::read(path, out);
    }

    void expect_all_but(size_t lost, const bytes_t &contents)
    {
        histlog::history found;
        ASSERT_EQ(read_with(contents, &found), histlog::read_result::ok);
        EXPECT_EQ(found.records.size(), 19u);
        EXPECT_EQ(found.damaged, 1u);
        for (const histlog::record &record : found.records) {
            EXPECT_NE(record.sequence, lost);
            EXPECT_EQ(text_of(record), "record " + std::to_string(record.sequence));
        }
    }
};

} // namespace

TEST_F(histlog_read, AnyChangedByteOfASlotThatCountsLosesThatRecordOnly)
{
    const size_t counting = bytes_offset + strlen("record 7");
    for (size_t offset = 0; offset < counting; ++offset) {
        SCOPED_TRACE(offset);
        bytes_t damaged = bytes;
        damaged[slot(7) + offset] = static_cast<char>(damaged[slot(7) + offset] ^ 0x10);
        expect_all_but(7, damaged);
    }
}

TEST_F(histlog_read, ALengthBeyondTheSlotIsNotBelieved)
{
    for (const uint32_t length : {217u, 256u, 0x7fffffffu, 0xffffffffu}) {
        bytes_t damaged = bytes;
        memcpy(&damaged[slot(3) + length_offset], &length, sizeof length);
        expect_all_but(3, damaged);
    }
}

TEST_F(histlog_read, ASlotOfAnotherPlaceIsNoRecord)
{
    bytes_t damaged = bytes;
    memcpy(&damaged[slot(5)], &bytes[slot(6)], slot_size);
    expect_all_but(5, damaged);
}

TEST_F(histlog_read, ASlotBeingWrittenIsLeftOut)
{
    bytes_t unfinished = bytes;
    memset(&unfinished[slot(20)], 0, 8);
    histlog::history found;
    ASSERT_EQ(read_with(unfinished, &found), histlog::read_result::ok);
    EXPECT_EQ(found.records.size(), 19u);
    EXPECT_EQ(found.damaged, 0u);
}

TEST_F(histlog_read, AFileThatWasCutGivesItsWholeSlots)
{
    histlog::history found;
    bytes_t cut(bytes.begin(), bytes.begin() + static_cast<long>(slot(11) + 100));
    ASSERT_EQ(read_with(cut, &found), histlog::read_result::ok);
    EXPECT_EQ(found.records.size(), 10u);
    cut.resize(slot_size);
    ASSERT_EQ(read_with(cut, &found), histlog::read_result::ok);
    EXPECT_TRUE(found.records.empty());
    cut.resize(slot_size - 1);
    EXPECT_EQ(read_with(cut, &found), histlog::read_result::not_a_history);
    EXPECT_EQ(read_with({}, &found), histlog::read_result::not_a_history);
}

TEST_F(histlog_read, WhatFollowsTheLastSlotIsNotRead)
{
    bytes_t longer = bytes;
    longer.insert(longer.end(), bytes.begin() + static_cast<long>(slot(1)), bytes.end());
    histlog::history found;
    ASSERT_EQ(read_with(longer, &found), histlog::read_result::ok);
    EXPECT_EQ(found.records.size(), 20u);
}

TEST_F(histlog_read, AHeaderWithAnotherMagicVersionOrShapeIsNoHistory)
{
    for (const size_t offset : {0u, 4u, 8u, 12u}) {
        bytes_t damaged = bytes;
        damaged[offset] = static_cast<char>(damaged[offset] ^ 1);
        histlog::history found;
        found.pid = 4711;
        EXPECT_EQ(read_with(damaged, &found), histlog::read_result::not_a_history) << offset;
        EXPECT_EQ(found.pid, 4711u);
    }
}

TEST_F(histlog_read, AProgramNameWithoutAnEndIsNoHistory)
{
    bytes_t damaged = bytes;
    memset(&damaged[28], 'x', 64);
    histlog::history found;
    EXPECT_EQ(read_with(damaged, &found), histlog::read_result::not_a_history);
}

TEST_F(histlog_read, WhatIsNoRegularFileCannotBeRead)
{
    histlog::history found;
    EXPECT_EQ(histlog::read(directory + "/none", &found), histlog::read_result::cannot_read);
    EXPECT_EQ(histlog::read(directory, &found), histlog::read_result::cannot_read);
    const std::string fifo = directory + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(histlog::read(fifo, &found), histlog::read_result::cannot_read);
}

TEST_F(histlog_read, RandomDamageNeverGivesARecordThatWasNotWritten)
{
    const uint32_t seed = std::random_device{}();
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int round = 0; round < 100; ++round) {
        bytes_t damaged = bytes;
        for (int hits = 0; hits < 40; ++hits)
            damaged[slot_size + random() % (20 * slot_size)] = static_cast<char>(random());
        histlog::history found;
        ASSERT_EQ(read_with(damaged, &found), histlog::read_result::ok);
        EXPECT_LE(found.records.size() + found.damaged, 20u);
        for (const histlog::record &record : found.records)
            EXPECT_EQ(text_of(record), "record " + std::to_string(record.sequence));
    }
}

TEST_F(histlog_read, AHistoryCanBeReadWhileItIsWritten)
{
    const pid_t writer = fork();
    if (writer == 0) {
        for (;;)
            write_text(std::string(200, 'y'));
    }
    unsigned read_well = 0;
    unsigned spoiled = 0;
    for (int tries = 0; tries < 10000 && read_well < 50; ++tries) {
        histlog::history found;
        if (histlog::read(path_of(writer), &found) != histlog::read_result::ok)
            continue;
        ++read_well;
        for (const histlog::record &record : found.records)
            spoiled += text_of(record) == std::string(200, 'y') ? 0 : 1;
    }
    EXPECT_EQ(kill(writer, SIGKILL), 0);
    waitpid(writer, nullptr, 0);
    EXPECT_EQ(read_well, 50u);
    EXPECT_EQ(spoiled, 0u);
}
