// SPDX-License-Identifier: Apache-2.0
//
// What a target is given, read as decisions from front to back, and how it says that something does
// not hold. Behind the end there are zeros, so that every input means something; a target stops at
// the end by asking is_over().
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace fuzz
{

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

class input
{
public:
    input(const u8 *bytes, std::size_t size) : left_(bytes, size) {}

    bool is_over() const { return left_.empty(); }

    u8 byte()
    {
        if (left_.empty())
            return 0;
        const u8 first = left_.front();
        left_ = left_.subspan(1);
        return first;
    }
    // The lowest byte first, on every machine.
    u16 half() { return static_cast<u16>(byte() | byte() << 8); }
    u32 word() { return half() | u32{half()} << 16; }
    u64 long_word() { return word() | u64{word()} << 32; }

    u32 below(std::size_t limit) { return static_cast<u32>(byte() % limit); }

    template <typename List>
    auto one_of(const List &list)
    {
        return *(std::begin(list) + below(std::size(list)));
    }
    u32 one_of(std::initializer_list<u32> list) { return *(list.begin() + below(list.size())); }

    // So many bytes as they are, as far as there are any.
    void fill(void *record, std::size_t size)
    {
        auto *bytes = static_cast<u8 *>(record);
        for (std::size_t at = 0; at < size; ++at)
            bytes[at] = byte();
    }
    std::vector<u8> bytes(std::size_t most)
    {
        std::vector<u8> taken;
        while (!is_over() && taken.size() < most)
            taken.push_back(byte());
        return taken;
    }

    // Up to the end of the line.
    std::string line()
    {
        std::string text;
        while (!is_over()) {
            const char letter = static_cast<char>(byte());
            if (letter == '\n')
                break;
            text.push_back(letter);
        }
        return text;
    }

private:
    std::span<const u8> left_;
};

// What was done so far, for whoever reads about a failure; told by broken().
inline std::vector<std::string> &the_steps()
{
    static std::vector<std::string> kept;
    return kept;
}

// Ends the process as a crash does, so that the input is kept. Written past the streams, which a
// target may have led elsewhere.
[[noreturn]] inline void broken(const std::string &what)
{
    for (const std::string &step : the_steps())
        dprintf(STDERR_FILENO, "  %s\n", step.c_str());
    dprintf(STDERR_FILENO, "does not hold: %s\n", what.c_str());
    std::abort();
}

inline void expect(bool holds, std::string_view what)
{
    if (!holds)
        broken(std::string(what));
}

} // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
