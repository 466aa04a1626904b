// SPDX-License-Identifier: Apache-2.0
//
// roster.cpp: the list and its renewal.
#include "roster.h"

#include <algorithm>

#include "varn_device.h"
#include "words.h"

namespace shell
{
namespace
{

constexpr u32 most_interfaces = 32767; // iods beyond it are not given out

std::optional<listed> read_entry(u32 iod)
{
    listed entry = {iod, 0, {}};
    if (varn_ifsvc_get_ifindex_frm_iod(iod, &entry.if_index) != 0)
        return std::nullopt;
    entry.name = varn_ifsvc_get_if_name(iod);
    if (entry.name.empty())
        return std::nullopt;
    return entry;
}

} // namespace

const std::vector<listed> &roster::all()
{
    if (!scanned_)
        scan();
    return known_;
}

std::string roster::scan()
{
    std::vector<u32> iods(most_interfaces);
    u32 count = 0;
    varn_device_clear_error();
    if (varn_device_list_iods(iods.data(), most_interfaces, &count) != VARN_DEVICE_OK)
        return failure_ = varn_device_last_error_text();
    iods.resize(std::min(count, most_interfaces));
    forget_missing(iods);

    std::vector<listed> found;
    for (const u32 iod : iods) {
        attempt asking(iod);
        const std::optional<listed> entry = read_entry(iod);
        asking.failure(); // one that went away meanwhile is left out of cache and list
        if (entry)
            found.push_back(*entry);
    }
    if (found.empty() && !iods.empty())
        return failure_ = varn_device_last_error_text();
    known_ = std::move(found);
    scanned_ = true;
    failure_.clear();
    return failure_;
}

void roster::forget_missing(const std::vector<u32> &iods) const
{
    for (const listed &entry : known_)
        if (!std::ranges::binary_search(iods, entry.iod))
            varn_if_remove_entry_by_iod(entry.iod);
}

const listed *roster::look_up(std::string_view word) const
{
    const std::optional<u32> number = read_number(word);
    const bool hexadecimal = word.starts_with("0x");
    for (const listed &entry : known_)
        if (entry.name == word || (number && *number == (hexadecimal ? entry.if_index : entry.iod)))
            return &entry;
    return nullptr;
}

std::optional<listed> roster::find(std::string_view word, std::string &reason)
{
    all();
    const listed *entry = look_up(word);
    if (entry == nullptr && failure_.empty()) {
        scan();
        entry = look_up(word);
    }
    if (entry != nullptr)
        return *entry;
    reason = failure_.empty() ? "no interface " + std::string(word) + suggestion(word, names())
                              : failure_;
    return std::nullopt;
}

std::vector<std::string> roster::names() const
{
    std::vector<std::string> all_names;
    for (const listed &entry : known_)
        all_names.push_back(entry.name);
    return all_names;
}

} // namespace shell
