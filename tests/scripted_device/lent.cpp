// SPDX-License-Identifier: Apache-2.0
//
// The two buffers are never given back to the system, so that a borrower who reads too late sees
// the overwritten bytes and not another fault.
#include "lent.h"

#include <algorithm>

namespace scripted
{

namespace
{

constexpr std::size_t roomy = 4096;

template <typename Byte>
struct loan {
    Byte room[roomy] = {};
    std::size_t used = 0;

    template <typename Source>
    const Byte *lend_copy(const Source &source)
    {
        used = std::min(source.size(), roomy - 1);
        std::copy_n(source.begin(), used, room);
        room[used] = Byte{};
        return room;
    }
    void overwrite()
    {
        std::fill_n(room, used, static_cast<Byte>('?'));
        used = 0;
    }
};

loan<char> lent_text;
loan<std::uint8_t> lent_block;

} // namespace

void take_back()
{
    lent_text.overwrite();
    lent_block.overwrite();
}

const char *lend(const std::string &text) { return lent_text.lend_copy(text); }

const std::uint8_t *lend(const std::vector<std::uint8_t> &bytes)
{
    return lent_block.lend_copy(bytes);
}

} // namespace scripted
