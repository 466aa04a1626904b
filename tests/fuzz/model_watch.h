// SPDX-License-Identifier: Apache-2.0
//
// Watches a device model from outside, as a client would who asks about everything after every
// change: whatever is answered otherwise than before must have been told, and the identities of all
// interfaces must lead to them and to nobody else.
#pragma once

#include "device_model.h"

#include <map>
#include <set>

namespace fuzz
{

class model_watch
{
public:
    // Listens in place of any other, and hands on to `next`.
    explicit model_watch(device::device_model &model, device::device_model::listener next = {});

    // After the model has settled.
    void check();

private:
    struct known {
        device::u32 if_index, lif, port_index;
        device::attributes now;
        std::map<device::u32, device::attachment> attachments;
    };

    void hear(const wire::notice &told);
    void check_identity(const device::interface &entry) const;
    void check_change(const device::interface &entry) const;
    void check_vlans();
    void remember();

    device::device_model &model_;
    std::map<device::u32, known> interfaces_; // by iod
    std::map<device::u16, device::vlan_facts> vlans_;
    std::set<device::u32> told_iods_, told_vlans_, told_channels_;
};

} // namespace fuzz
