// SPDX-License-Identifier: Apache-2.0
//
// notice_queue.cpp: waiting, dropping, and the signal that a notice travels as.
#include "notice_queue.h"

#include "wire.h"

namespace device
{
namespace
{

int send(sd_bus *bus, std::uint64_t epoch, std::uint64_t sequence, const wire::notice &told)
{
    sd_bus_message *signal = nullptr;
    const char *name = wire::notice_names[static_cast<std::size_t>(told.kind)];
    const auto &mac = told.mac;
    int result =
        sd_bus_message_new_signal(bus, &signal, wire::object_path, wire::interface_name, name);
    if (result >= 0)
        result = sd_bus_message_append(
            signal, wire::notice_signature, epoch, sequence, told.if_index, told.iod, told.state,
            told.mtu, static_cast<unsigned>(mac.size()), mac[0], mac[1], mac[2], mac[3], mac[4],
            mac[5], told.vlan, told.old_member, told.new_member, told.key, told.parameters);
    if (result >= 0)
        result = sd_bus_send(bus, signal, nullptr);
    sd_bus_message_unref(signal);
    return result;
}

} // namespace

std::uint64_t unwritten(sd_bus *bus)
{
    std::uint64_t count = 0;
    return sd_bus_get_n_queued_write(bus, &count) < 0 ? 0 : count;
}

void notice_queue::unsubscribe()
{
    subscribed_ = false;
    waiting_.clear();
    lost_through_ = 0;
}

void notice_queue::add(const stream_position &at, const wire::notice &told)
{
    if (!subscribed_)
        return;
    if (lost_through_ == 0 && waiting_.size() < longest_) {
        waiting_.push_back({at.sequence, told});
        return;
    }
    waiting_.clear();
    lost_through_ = at.sequence;
}

int notice_queue::pump(sd_bus *bus, std::uint64_t epoch, std::uint64_t room)
{
    while (!is_empty() && unwritten(bus) < room) {
        const numbered next = waiting_.empty() ? numbered{lost_through_, {}} : waiting_.front();
        if (const int result = hand_over(bus, epoch, next); result < 0)
            return result;
    }
    return 0;
}

int notice_queue::hand_over(sd_bus *bus, std::uint64_t epoch, const numbered &next)
{
    const int result = send(bus, epoch, next.sequence, next.told);
    if (waiting_.empty())
        lost_through_ = 0;
    else
        waiting_.pop_front();
    ++handed_over_;
    return result;
}

} // namespace device
