// SPDX-License-Identifier: Apache-2.0
//
// inventory.h: a device that is told by a file, and changed by commands while it runs.
//
// What was told stands in `device_`, by the words of the file; the model is told what follows from
// it. Both change together or not at all: whatever does not hold together is refused first. Data
// attached to interfaces stand in the model only, since its clients attach them as well.
#ifndef VARN_DEVICE_INVENTORY_H
#define VARN_DEVICE_INVENTORY_H

#include <string>
#include <vector>

#include "device_model.h"
#include "told_device.h"

namespace device
{

struct change_request;

class inventory
{
public:
    explicit inventory(device_model &model);

    // Makes the device what a file says, in place of what it was. Gives nothing, or one line
    // "FILE:LINE: FIELD: what is wrong"; the model is then untouched.
    std::string load(const std::string &path);
    std::string load_text(const std::string &file_name, const std::string &text);

    struct outcome {
        bool done = false;
        std::string text; // the answer, or what was wrong
    };

    // Carries out one change, by the words of one command, and settles the model.
    outcome change(const std::vector<std::string> &words);

    // An inventory that loads as this device is now.
    std::string text() const;

private:
    void clear_model();
    void tell(const told_interface &told);
    void tell(const told_vlan &told);
    void attach(u32 key, const told_private &told);
    link_facts facts_of(const told_interface &told) const;
    u32 key_of(const std::string &name) const; // 0: there is no such interface

    outcome carry_out(const change_request &asked);
    outcome set(const change_request &asked);
    outcome add(const change_request &asked);
    outcome remove(const change_request &asked);
    outcome change_member(const change_request &asked);
    outcome change_vlan(const change_request &asked);
    outcome add_vlan(const change_request &asked);
    outcome set_vlan(const change_request &asked);
    outcome remove_vlan(const change_request &asked);
    outcome show_vlan(const change_request &asked) const;
    outcome change_private(const change_request &asked);
    outcome show(const change_request &asked) const;
    outcome no_interface(const std::string &name) const;
    static outcome no_vlan(u32 id);

    device_model &model_;
    told_device device_;
};

} // namespace device

#endif
