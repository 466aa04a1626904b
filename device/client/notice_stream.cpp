// SPDX-License-Identifier: Apache-2.0
//
// notice_stream.cpp: a ring, and the comparison of numbers.
#include "notice_stream.h"

namespace client
{

void notice_stream::begin(std::uint64_t epoch, std::uint64_t sequence)
{
    if (begun_ && epoch != epoch_)
        lose("the service was started anew");
    else if (begun_ && sequence != last_)
        lose("notices were missed without a connection");
    else if (failed_)
        lose("requests failed for want of a connection");
    begun_ = true;
    failed_ = false;
    epoch_ = epoch;
    last_ = sequence;
}

void notice_stream::accept(std::uint64_t epoch, std::uint64_t sequence, const wire::notice &told)
{
    const bool follows = epoch == epoch_ && sequence == last_ + 1;
    epoch_ = epoch;
    last_ = sequence;
    if (told.kind == wire::notice_kind::lost) {
        lose("more happened than the service could keep for this client", sequence);
        return;
    }
    if (!follows)
        lose("a notice does not follow the one before it");
    if (count_ == longest)
        lose("more arrived than was dispatched");
    else
        push(told, sequence, nullptr);
}

void notice_stream::lose(const char *why, std::uint64_t sequence)
{
    count_ = 0;
    push({}, sequence, why);
}

void notice_stream::push(const wire::notice &told, std::uint64_t sequence, const char *why)
{
    ring_[(first_ + count_) % longest] = {told, sequence, why};
    ++count_;
}

bool notice_stream::take(queued &next)
{
    if (count_ == 0)
        return false;
    next = ring_[first_];
    first_ = (first_ + 1) % longest;
    --count_;
    return true;
}

void notice_stream::forget()
{
    count_ = 0;
    begun_ = false;
    failed_ = false;
}

} // namespace client
