// SPDX-License-Identifier: Apache-2.0
//
// number_pool.h: gives out numbers of a range, each to one owner at a time. Numbers that were never
// used go first, then those that have been free the longest, so that a number that was given back
// stays out of use for as long as there are others.
#ifndef VARN_DEVICE_NUMBER_POOL_H
#define VARN_DEVICE_NUMBER_POOL_H

#include <deque>
#include <unordered_map>
#include <unordered_set>

#include "facts.h"

namespace device
{

class number_pool
{
public:
    number_pool(u32 first, u32 last) : first_(first), fresh_(first), last_(last) {}

    // 0: none is left.
    u32 next()
    {
        while (fresh_ <= last_) {
            const u32 number = fresh_++;
            if (!used_.contains(number) && !rests(number))
                return claim(number);
        }
        while (!resting_.empty()) {
            const rest oldest = resting_.front();
            resting_.pop_front();
            if (freed_at_.contains(oldest.number) && freed_at_[oldest.number] == oldest.since)
                return claim(oldest.number);
        }
        return 0;
    }

    // A number of the owner's choice, which may lie outside of the range. False: another one has
    // it.
    bool take(u32 number)
    {
        if (used_.contains(number))
            return false;
        claim(number);
        return true;
    }

    void give_back(u32 number)
    {
        if (used_.erase(number) == 0 || number < first_ || number > last_)
            return;
        freed_at_[number] = ++time_;
        resting_.push_back({number, time_});
    }

private:
    struct rest {
        u32 number;
        u64 since;
    };

    bool rests(u32 number) const { return freed_at_.contains(number); }

    u32 claim(u32 number)
    {
        used_.insert(number);
        freed_at_.erase(number); // its place in the queue then means nothing
        return number;
    }

    u32 first_, fresh_, last_;
    u64 time_ = 0;
    std::deque<rest> resting_; // the one that has been free the longest first
    std::unordered_map<u32, u64> freed_at_;
    std::unordered_set<u32> used_;
};

} // namespace device

#endif
