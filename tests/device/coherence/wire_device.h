// SPDX-License-Identifier: Apache-2.0
//
// wire_device.h: a device behind a socket. This process is the client whose cache is looked at;
// another one (varnctl) changes the device where this one must not be on the wire.
#ifndef TESTS_COHERENCE_WIRE_DEVICE_H
#define TESTS_COHERENCE_WIRE_DEVICE_H

#include <memory>

#include "device_under_test.h"
#include "random.h"
#include "tests/device/process.h"

namespace coherence
{

class wire_device final : public device_under_test
{
public:
    // The service keeps so many notices for a client that does not read.
    wire_device(u32 queue, u64 seed);
    ~wire_device() override;

    std::string change(const std::vector<std::string> &words) override;
    void dispatch(u32 most) override;
    void disconnect() override;
    void reconnect() override;
    void overflow() override;
    void restart(const std::string &inventory) override;
    std::vector<u32> iods() override;

    // Since the program began.
    static u64 notices, lost;

private:
    enum class outage : u8 { none, stopped, killed, closed };

    void start();
    void change_elsewhere(u32 changes);

    random_numbers random_;
    std::string folder_, socket_, file_;
    std::string queue_;
    std::unique_ptr<running_process> service_;
    outage why_ = outage::none;
};

} // namespace coherence

#endif
