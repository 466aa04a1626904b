// SPDX-License-Identifier: Apache-2.0
//
// board.h: where the processes of a soak tell each other how far they are: one page of shared
// memory, a row for each client, written by that client alone.
#ifndef TESTS_SOAK_BOARD_H
#define TESTS_SOAK_BOARD_H

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

namespace soak
{

inline constexpr std::uint32_t most_clients = 64;

enum class phase : std::uint32_t { going, resting, ending };

struct client_row {
    std::atomic<std::uint64_t> asked, compared, undecided, stale, notices, lost;
    std::atomic<std::uint32_t> has_rested; // the comparison at rest is done
    std::array<char, 512> first_stale;     // the first mismatch, in words
};

struct board {
    std::atomic<phase> now;
    std::array<client_row, most_clients> clients;
};

// Makes the board in a file, or opens the one that is there. Null: it cannot be had.
board *open_board(const std::string &path);

// Is a client of the service at the socket until the board says otherwise. Gives an exit code.
int be_client(const std::string &socket, board &of, std::uint32_t number);

} // namespace soak

#endif
