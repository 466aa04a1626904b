// SPDX-License-Identifier: Apache-2.0
//
// inventory_reading.h: a file of an inventory, read whole and checked whole before anything is made
// of it.
#ifndef VARN_DEVICE_INVENTORY_READING_H
#define VARN_DEVICE_INVENTORY_READING_H

#include <string>
#include <utility>
#include <vector>

#include "told_device.h"

namespace device
{

struct told_inventory {
    told_device device;
    std::vector<std::pair<u32, told_private>> attachments; // with the interface's key
};

// Both give nothing, or one line that says where and what is wrong.
std::string read_file(const std::string &path, std::string &text);
std::string read_inventory(const std::string &file_name, const std::string &text,
                           told_inventory &out);

} // namespace device

#endif
