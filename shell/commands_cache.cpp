// SPDX-License-Identifier: Apache-2.0
//
// commands_cache.cpp: the commands that mark, switch and measure the cache.
#include <algorithm>

#include <fmt/format.h>

#include "attributes.h"
#include "bench.h"
#include "commands.h"
#include "follower.h"
#include "if_index.h"
#include "metrics.h"
#include "tables.h"
#include "varn_device.h"

namespace shell
{
namespace
{

constexpr u32 crit = 2, all = 3; // the options that cover what the side caches keep

// The level is written only where the word is the name of one.
bool read_level(std::string_view word, u32 &level)
{
    const auto *found = std::ranges::find(flush_levels, word);
    if (found == std::end(flush_levels))
        return false;
    level = static_cast<u32>(found - std::begin(flush_levels));
    return true;
}

words level_names() { return {std::begin(flush_levels), std::end(flush_levels)}; }

// Every port-channel that has an entry. Nothing is created or removed on the way.
void invalidate_port_channels()
{
    ht_iterator_t walk;
    ht_iterator_init(&walk, &varn.pc_table, 0, varn.pc_table.num_buckets);
    while (void *entry = ht_iterator_next(&walk))
        varn_pc_invalidate(static_cast<varn_pc_entry_t *>(entry)->pc_ifindex);
}

} // namespace

// As a client does that was told of a change: nothing is asked now, the next query asks.
verdict interpreter::stale(const order &what)
{
    unsigned bit = no_bit;
    if (what.given.size() == 2 && !find_attribute(what.given[1], bit))
        return unknown_attribute(what.given[1]);
    listed subject;
    if (const verdict outcome = find(what.given[0], subject); outcome != done)
        return outcome;
    attempt asking(subject.iod);
    varn_if_entry_t *entry =
        varn_if_create_entry_by_if(subject.if_index, 0, VARN_NO_PI, VARN_NO_LIF);
    if (entry == nullptr)
        return say(unanswered, "no entry for " + subject.name + " can be had");
    entry->dirty |= what.given.size() == 1 ? askable() : bit == no_bit ? 0 : VARN_MASK(bit);
    return done;
}

// One word is a level if it is the name of one; an interface of that name needs a level behind it.
verdict interpreter::flush(const order &what)
{
    u32 level = crit;
    const words &given = what.given;
    if (given.empty() || (given.size() == 1 && read_level(given[0], level)))
        return flush_all(level);
    if (given.size() == 2 && !read_level(given[1], level))
        return misused("no level " + given[1] + suggestion(given[1], level_names()));
    return flush_one(given[0], level);
}

// A flush replaces what is dirty in a VLAN's entry, so only levels that cover a VLAN go there.
verdict interpreter::flush_all(u32 level)
{
    if (varn_if_flush_all(level) == 0)
        return say(unanswered, "the cache is off");
    if (level != crit && level != all)
        return done;
    varn_vlan_flush_all(level);
    invalidate_port_channels();
    return done;
}

// A flush by identifier would make an entry first; where there is none there is nothing to flush.
verdict interpreter::flush_one(const std::string &word, u32 level)
{
    std::string reason;
    const std::optional<listed> subject = interfaces_.find(word, reason);
    if (!subject) {
        const std::string nearest = suggestion(word, level_names());
        return nearest.empty() ? say(unanswered, reason)
                               : misused("no interface and no level " + word + nearest);
    }
    if (varn_is_enabled() != 1)
        return say(unanswered, "the cache is off");
    if (entry_at_hand(subject->iod) != nullptr)
        varn_if_flush_if(subject->if_index, level);
    if ((level == crit || level == all) && varn_pc_create_entry(subject->if_index, 0) != nullptr)
        varn_pc_invalidate(subject->if_index);
    return done;
}

verdict interpreter::disable(const order &)
{
    varn_disable_cache();
    return done;
}

// Notices went past the cache while it was off, so nothing of what it held can be believed.
verdict interpreter::restore(const order &)
{
    if (varn_is_enabled() == 1)
        return say(unanswered, "the cache is on");
    varn_restore_cache();
    forget_everything();
    fmt::print("the cache is on and empty; flood indexes and port-channels are no longer cached\n");
    return done;
}

verdict interpreter::stats(const order &what)
{
    show_stats(told_, what.json ? shape::json : shape::text);
    return done;
}

verdict interpreter::metrics(const order &)
{
    fmt::print("{}", metrics_text(read_figures(), told_.counts(), socket_));
    return done;
}

verdict interpreter::requests(const order &)
{
    const u64 sent = varn_device_requests();
    fmt::print("{} requests to the service\n", sent - requests_before_);
    requests_before_ = sent;
    return done;
}

// Without a name: the first interface that is not a loopback.
verdict interpreter::bench(const order &what)
{
    const shape shown_as = what.json ? shape::json : shape::text;
    listed subject;
    if (!what.given.empty()) {
        if (const verdict outcome = find(what.given[0], subject); outcome != done)
            return outcome;
        return unless_empty(shell::bench(subject, shown_as));
    }
    const auto &every = interfaces_.all();
    if (every.empty())
        return say(unanswered,
                   interfaces_.failure().empty() ? "no interfaces" : interfaces_.failure());
    const auto other = std::ranges::find_if(
        every, [](const listed &entry) { return varn_ifsvc_is_loopback(entry.iod) == 0; });
    return unless_empty(shell::bench(other == every.end() ? every.front() : *other, shown_as));
}

} // namespace shell
