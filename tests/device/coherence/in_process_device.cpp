// SPDX-License-Identifier: Apache-2.0
//
// in_process_device.cpp: the rules by which a client's connection loses notices, without a
// connection. A lost notice takes the place of everything that waits.
#include "in_process_device.h"

#include <stdexcept>

#include "device/client/records.h"
#include "device/runtime/if_index_types.h"
#include "shell/follower.h"

namespace coherence
{
namespace
{

in_process_device *serving;

// Far from the keys that an inventory gives.
constexpr u32 first_bystander = 0x80000000;

} // namespace

in_process_device::in_process_device(std::size_t room_for_notices, u32 bystanders)
    : room_(room_for_notices), bystanders_(bystanders), callbacks_(shell::follower_notices())
{
    serving = this;
    begin();
}

in_process_device::~in_process_device() { serving = nullptr; }

void in_process_device::begin()
{
    model_ = std::make_unique<device::device_model>();
    inventory_ = std::make_unique<device::inventory>(*model_);
    model_->tell([this](const wire::notice &told) { take(told); });
}

device::device_model *in_process_device::answering()
{
    if (serving->is_connected_)
        return serving->model_.get();
    serving->has_missed_ = true;
    return nullptr;
}

void in_process_device::take(const wire::notice &told)
{
    ++sequence_;
    if (!is_connected_)
        has_missed_ = true;
    else if (waiting_.size() == room_)
        lose("an overflow");
    else
        waiting_.push_back(told);
}

void in_process_device::lose(const char *why)
{
    why_lost_ = why;
    waiting_.assign(1, wire::notice{});
}

std::string in_process_device::change(const std::vector<std::string> &words)
{
    const device::inventory::outcome outcome = inventory_->change(words);
    return outcome.done ? "" : outcome.text;
}

void in_process_device::dispatch(u32 most)
{
    for (u32 n = 0; (most == 0 || n < most) && !waiting_.empty(); ++n) {
        const wire::notice next = waiting_.front();
        waiting_.pop_front();
        client::deliver(next, sequence_ - waiting_.size(), why_lost_, callbacks_);
    }
}

void in_process_device::reconnect()
{
    is_connected_ = true;
    if (has_missed_)
        lose("a lost connection");
    has_missed_ = false;
}

void in_process_device::restart(const std::string &inventory)
{
    begin();
    const std::string wrong = inventory_->load_text("inventory", inventory);
    if (!wrong.empty())
        throw std::runtime_error(wrong);
    add_bystanders();
    model_->settle();
    lose("another service");
}

void in_process_device::add_bystanders()
{
    device::link_facts facts;
    facts.type = IF_INDEX_TYPE_VIRTUAL;
    for (u32 n = 0; n < bystanders_; ++n) {
        facts.key = first_bystander + n;
        facts.ordinal = 1000 + n;
        model_->put(facts);
    }
}

std::vector<u32> in_process_device::iods()
{
    std::vector<u32> all;
    for (const auto &[iod, known] : model_->interfaces())
        if (known.key < first_bystander)
            all.push_back(iod);
    return all;
}

} // namespace coherence
