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

// By rising iod.
bool list_iods(std::vector<u32> &iods)
{
    iods.resize(most_interfaces);
    u32 count = 0;
    varn_device_clear_error();
    if (varn_device_list_iods(iods.data(), most_interfaces, &count) != VARN_DEVICE_OK)
        return false;
    iods.resize(std::min(count, most_interfaces));
    return true;
}

} // namespace

const std::vector<listed> &roster::all()
{
    read_doubtful();
    return known_;
}

std::string roster::scan()
{
    doubt_everything();
    return read_doubtful();
}

std::string roster::read_doubtful()
{
    failure_.clear();
    if (complete_ && doubtful_.empty())
        return {};
    std::vector<u32> iods;
    if (!list_iods(iods))
        return failure_ = varn_device_last_error_text();
    forget_missing(iods);
    return failure_ = read(iods);
}

std::string roster::read(const std::vector<u32> &iods)
{
    std::vector<listed> found;
    for (const u32 iod : iods) {
        const auto entry = std::ranges::lower_bound(known_, iod, {}, &listed::iod);
        if (entry != known_.end() && entry->iod == iod && !is_in_doubt(*entry)) {
            found.push_back(*entry);
            continue;
        }
        attempt asking(iod);
        const std::optional<listed> answer = read_entry(iod);
        std::string reason = asking.failure();
        if (!reason.empty() && varn_device_last_error() != VARN_DEVICE_E_NO_INTERFACE)
            return reason;
        if (answer) // one that went away meanwhile is left out of cache and list
            found.push_back(*answer);
    }
    known_ = std::move(found);
    doubtful_.clear();
    complete_ = true;
    return {};
}

void roster::forget_missing(const std::vector<u32> &iods) const
{
    for (const listed &entry : known_)
        if (!std::ranges::binary_search(iods, entry.iod))
            varn_if_remove_entry_by_iod(entry.iod);
}

void roster::forget(u32 if_index)
{
    std::erase_if(known_, [=](const listed &entry) { return entry.if_index == if_index; });
    doubtful_.erase(if_index);
}

void roster::doubt(u32 if_index)
{
    for (const listed &entry : known_)
        if (entry.if_index == if_index)
            doubtful_.insert(if_index);
}

void roster::doubt_everything()
{
    complete_ = false;
    for (const listed &entry : known_)
        doubtful_.insert(entry.if_index);
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
        expect_more();
        all();
        entry = look_up(word);
    }
    if (entry != nullptr && !is_in_doubt(*entry))
        return *entry;
    reason = failure_.empty() ? "no interface " + std::string(word) + suggestion(word, names())
                              : failure_;
    return std::nullopt;
}

std::string roster::last_name_of(u32 if_index) const
{
    const auto entry = std::ranges::find(known_, if_index, &listed::if_index);
    return entry == known_.end() ? std::string() : entry->name;
}

std::vector<std::string> roster::names() const
{
    std::vector<std::string> all_names;
    for (const listed &entry : known_)
        all_names.push_back(entry.name);
    return all_names;
}

} // namespace shell
