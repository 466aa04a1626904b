// SPDX-License-Identifier: Apache-2.0
//
// The texts of single values in the journal.
#include "service_text.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace scripted
{

std::string hex(std::uint64_t number)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%" PRIx64, number);
    return text;
}

std::string dec(std::uint64_t number) { return std::to_string(number); }

std::string quoted(const char *text)
{
    if (text == nullptr)
        return "null";
    std::string out = "\"";
    for (const char *at = text; *at != '\0'; ++at) {
        if (*at == '\n')
            out += "\\n";
        else if (*at == '\t')
            out += "\\t";
        else
            out += *at;
    }
    return out + '"';
}

std::string mac_text(const std::uint8_t *mac)
{
    char text[24];
    std::snprintf(text, sizeof text, "%02x%02x.%02x%02x.%02x%02x", mac[0], mac[1], mac[2], mac[3],
                  mac[4], mac[5]);
    return text;
}

std::string key_text(vlan_key_t key) { return spell(dec(key.vinst), "/", dec(key.vlan)); }

void write_output(char *buffer, const char *text, std::uint32_t room)
{
    if (room == 0)
        return;
    const std::size_t length = std::min<std::size_t>(std::strlen(text), room - 1);
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
}

} // namespace scripted
