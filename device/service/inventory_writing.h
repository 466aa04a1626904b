// SPDX-License-Identifier: Apache-2.0
//
// inventory_writing.h: a told device as a file that loads as the same, and what the file may say.
#ifndef VARN_DEVICE_INVENTORY_WRITING_H
#define VARN_DEVICE_INVENTORY_WRITING_H

#include <string>

#include "told_device.h"

namespace device
{

class device_model;

// What is attached to the interfaces is the model's.
std::string write_inventory(const told_device &told, const device_model &model);
std::string write_interface(const told_interface &told, const device_model &model);
std::string write_vlan(const told_vlan &told);

// The JSON schema of an inventory.
std::string inventory_schema();

} // namespace device

#endif
