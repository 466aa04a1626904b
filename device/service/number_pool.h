// SPDX-License-Identifier: Apache-2.0
//
// number_pool.h: gives out numbers of a range, each to one owner at a time. Numbers that were never
// used go first, then those that have been free the longest, so that a number that was given back
// stays out of use for as long as there are others.
#ifndef VARN_DEVICE_NUMBER_POOL_H
#define VARN_DEVICE_NUMBER_POOL_H

#include <deque>
#include <unordered_set>

#include "facts.h"

namespace device
{

class number_pool
{
public:
    number_pool(u32 first, u32 last) : fresh_(first), last_(last) {}

    // 0: none is left.
    u32 next()
    {
        while (fresh_ <= last_) {
            const u32 number = fresh_++;
            if (used_.insert(number).second)
                return number;
        }
        while (!freed_.empty()) {
            const u32 number = freed_.front();
            freed_.pop_front();
            if (used_.insert(number).second)
                return number;
        }
        return 0;
    }

    // A number of the owner's choice. False: another one has it.
    bool take(u32 number) { return used_.insert(number).second; }

    void give_back(u32 number)
    {
        if (used_.erase(number) != 0 && number < fresh_)
            freed_.push_back(number);
    }

private:
    u32 fresh_, last_;
    std::deque<u32> freed_; // may name numbers that were taken since
    std::unordered_set<u32> used_;
};

} // namespace device

#endif
