// SPDX-License-Identifier: Apache-2.0
//
// inventory_file.h: a device without a process, and texts of inventories that it is given as the
// file f.json.
#ifndef TESTS_DEVICE_INVENTORY_FILE_H
#define TESTS_DEVICE_INVENTORY_FILE_H

#include <string>

#include <gtest/gtest.h>

#include "inventory.h"

struct InventoryFile : testing::Test {
    device::device_model model;
    device::inventory device{model};

    std::string load(const std::string &text) { return device.load_text("f.json", text); }

    // One interface after a line with the list's beginning.
    std::string load_interface(const std::string &fields)
    {
        return load("{\"interfaces\": [\n{\"name\": \"a\", \"type\": \"physical\", " + fields +
                    "}\n]}");
    }

    std::string load_vlans(const std::string &vlans)
    {
        return load("{\"vlans\": [\n" + vlans + "]}");
    }

    const device::interface &at(const std::string &name)
    {
        for (const auto &[iod, entry] : model.interfaces())
            if (entry.name == name)
                return entry;
        ADD_FAILURE() << "no interface " << name;
        return model.interfaces().begin()->second;
    }
};

#endif
