// SPDX-License-Identifier: Apache-2.0
//
// change_words.h: the commands that change an inventory device, as one table, and the reading of
// their words. The service and the tool that sends commands to it read them alike; what needs more
// than the words (whether there is such an interface) is the service's affair.
#ifndef VARN_DEVICE_CHANGE_WORDS_H
#define VARN_DEVICE_CHANGE_WORDS_H

#include <span>
#include <string>
#include <vector>

#include "told_device.h"

namespace device
{

enum class verb : u8 { set, add, remove, member, vlan, attach, show };
enum class vlan_action : u8 { add, set, remove, show };

struct change_command {
    verb what;
    const char *word;
    const char *usage;       // with the word
    std::size_t least, most; // of words behind the first
    const char *doc;
};

std::span<const change_command> change_commands();
const change_command *find_command(const std::string &word); // null: there is none

template <typename record>
struct field_change {
    const field<record> *what = nullptr;
    field_value value;
};

// What one command says. Which members mean something depends on the command.
struct change_request {
    verb what = verb::show;
    std::string name;               // of the interface that it is about; empty = of all
    std::vector<assignment> fields; // of set and add
    bool joins = false;             // of member: else it leaves
    std::string member;
    vlan_action action = vlan_action::show;
    u32 vlan = 0;
    std::vector<field_change<told_vlan>> vlan_changes;
    told_private attached; // of attach
    bool detaches = false;
};

// Gives nothing, or what is not understood.
std::string read_change(const std::vector<std::string> &words, change_request &asked);

} // namespace device

#endif
