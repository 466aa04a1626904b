// SPDX-License-Identifier: Apache-2.0
//
// in_process_device.h: a device in this very process. The platform functions of
// in_process_platform.cpp answer from the model of the one that was made last; its notices stand in
// a bounded queue until they are dispatched, and then take the road that those of the socket take:
// record, callback, handler of the cache.
#ifndef TESTS_COHERENCE_IN_PROCESS_DEVICE_H
#define TESTS_COHERENCE_IN_PROCESS_DEVICE_H

#include <deque>
#include <memory>

#include "device_under_test.h"
#include "inventory.h"
#include "varn_device.h"

namespace coherence
{

class in_process_device final : public device_under_test
{
public:
    // `bystanders` interfaces take so many iods that the few that are left are soon given out anew.
    explicit in_process_device(std::size_t room_for_notices, u32 bystanders = 0);
    ~in_process_device() override;

    std::string change(const std::vector<std::string> &words) override;
    void dispatch(u32 most) override;
    void disconnect() override { is_connected_ = false; }
    void reconnect() override;
    void overflow() override { lose("an overflow"); }
    void restart(const std::string &inventory) override;
    std::vector<u32> iods() override;

    device::device_model &model() { return *model_; }
    std::size_t waiting() const { return waiting_.size(); }
    u64 told() const { return sequence_; }

    // For the platform functions: the model, or null while there is no connection.
    static device::device_model *answering();

private:
    void take(const wire::notice &told);
    void lose(const char *why);
    void begin();
    void add_bystanders();

    const std::size_t room_;
    const u32 bystanders_;
    const varn_device_notices_t callbacks_;
    std::unique_ptr<device::device_model> model_;
    std::unique_ptr<device::inventory> inventory_;
    std::deque<wire::notice> waiting_;
    u64 sequence_ = 0;
    const char *why_lost_ = "";
    bool is_connected_ = true;
    bool has_missed_ = false; // a notice or an answer, for want of a connection
};

} // namespace coherence

#endif
