// SPDX-License-Identifier: Apache-2.0
//
// operations: a history of library operations, each with the draws that its arguments, and what
// goes wrong under it, are made from. The library and the model (tests/model) must agree on every
// step: results, outputs, counters, every record of every table, every call to the platform.
//
//   byte 0      bit 0: rough; bit 1: the first step is not a start
//   bytes 1, 2  the world
//   then steps: the operation's number, how many bytes of draws follow, the draws
#include "operations.h"
#include "history.h"
#include "input.h"

namespace
{

using fuzz::input;

constexpr std::size_t most_steps = 64;
constexpr std::size_t most_draws = 64; // of one step; behind them the seed goes on

naive::history read_history(input &given)
{
    naive::history read;
    const fuzz::u8 manner = given.byte();
    read.is_rough = (manner & 1) != 0;
    read.seed = given.half();
    while (!given.is_over() && read.steps.size() < most_steps) {
        const fuzz::u64 seed = read.seed << 8 | read.steps.size();
        naive::step next{given.below(naive::number_of_operations()), seed};
        next.tape = given.bytes(given.below(most_draws));
        read.steps.push_back(next);
    }
    if (!read.steps.empty() && (manner & 2) == 0)
        read.steps.front().operation = 0;
    return read;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    input given(data, size);
    const naive::history read = read_history(given);
    if (naive::run(read)) {
        fuzz::the_steps() = {"library and model differ:\n" + naive::told_failure(read)};
        fuzz::broken("the model's rules");
    }
    return 0;
}
